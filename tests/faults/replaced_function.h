#pragma once

#include <dlfcn.h>

// A function of this program in place of libc's. It has a name of its own here and libc's name as
// its symbol only, since the headers' macros and inline functions (large files, fortified calls)
// stand in the way of the plain names.

#define REPLACEMENT(symbol, result, parameters)                      \
    extern "C" result Replaced_##symbol parameters __asm__(#symbol); \
    result Replaced_##symbol parameters

/// The function of libc that `REPLACEMENT(symbol, ...)` stands in place of.
#define REAL(symbol)                                                                   \
    []() {                                                                             \
        static const auto real =                                                       \
            reinterpret_cast<decltype(&Replaced_##symbol)>(dlsym(RTLD_NEXT, #symbol)); \
        return real;                                                                   \
    }()
