# Compiler and linker protections for everything that is shipped, and the sanitizers that take
# their place in test builds.

set(RAIKLAIK_SANITIZE
    ""
    CACHE STRING "Sanitizers to build with, as -fsanitize= takes them; empty for none")

add_library(raiklaik_hardening INTERFACE)
target_compile_options(raiklaik_hardening INTERFACE -fstack-protector-strong)
target_link_options(raiklaik_hardening INTERFACE LINKER:-z,relro,-z,now LINKER:-z,noexecstack
                    LINKER:-z,text LINKER:--as-needed)

if(RAIKLAIK_SANITIZE)
    target_compile_options(
        raiklaik_hardening INTERFACE -fsanitize=${RAIKLAIK_SANITIZE} -fno-sanitize-recover=all
                                     -fno-omit-frame-pointer)
    target_link_options(raiklaik_hardening INTERFACE -fsanitize=${RAIKLAIK_SANITIZE})
else()
    # Neither goes with a sanitizer: its runtime is found only when the program starts, and its
    # checks of libc calls would not see the fortified variants.
    target_link_options(raiklaik_hardening INTERFACE LINKER:--no-undefined)
    target_compile_options(
        raiklaik_hardening
        INTERFACE $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
