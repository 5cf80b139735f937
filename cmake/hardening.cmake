# Compiler and linker protections for everything that is shipped, and the sanitizers that take
# their place in test builds.

set(RAIKLAIK_SANITIZE
    ""
    CACHE STRING "Sanitizers to build with, as -fsanitize= takes them; empty for none")

set(hardeningCompileOptions -fstack-protector-strong)
set(hardeningLinkOptions LINKER:-z,relro,-z,now LINKER:-z,noexecstack)
# Linkers that do not know these two refuse text relocations and leave out what is not needed anyway.
include(CheckLinkerFlag)
foreach(flag IN ITEMS -z,text --as-needed)
    string(MAKE_C_IDENTIFIER "RAIKLAIK_LINKS_${flag}" links)
    check_linker_flag(CXX LINKER:${flag} ${links})
    if(${links})
        list(APPEND hardeningLinkOptions LINKER:${flag})
    endif()
endforeach()

if(RAIKLAIK_SANITIZE)
    list(APPEND hardeningCompileOptions -fsanitize=${RAIKLAIK_SANITIZE} -fno-sanitize-recover=all
         -fno-omit-frame-pointer)
    list(APPEND hardeningLinkOptions -fsanitize=${RAIKLAIK_SANITIZE})
else()
    # Neither goes with a sanitizer: its runtime is found only when the program starts, and its
    # checks of libc calls would not see the fortified variants.
    list(APPEND hardeningLinkOptions LINKER:--no-undefined)
    list(APPEND hardeningCompileOptions $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
         $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
