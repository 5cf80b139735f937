#pragma once

#include <cstdlib>

#include "tests/below/recorder.h"

/// Stands in for the lock: records each call.
class Semaphore {
  public:
    Semaphore(int number, const char* path) {
        below::Recording().Record("Semaphore(" + std::to_string(number) + "," + path + ")");
    }
    ~Semaphore() { below::Recording().Note("~Semaphore"); }
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Changes the base directory too, so that a path made without the lock is a wrong one.
    void Lock(bool wait) {
        below::Recording().Record(std::string("Lock") + below::MarkUnless(wait));
        (void)setenv("QORV_PATH", "/below/", 1);
    }
    void Unlock() noexcept { below::Recording().Note("Unlock"); }
};
