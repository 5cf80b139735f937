# The warnings that every target of this project compiles without. They are errors for developers
# only (the presets set RAIKLAIK_WERROR), so that a newer compiler never breaks a plain build.

option(RAIKLAIK_WERROR "Treat compiler warnings as errors" OFF)

set(warningOptions
    -Wall
    -Wextra
    -Wpedantic
    -Wconversion
    -Wshadow
    -Wnon-virtual-dtor
    # g++ warns in spite of a cast to void; clang looks at the same calls and obeys it.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-unused-result>
    $<$<BOOL:${RAIKLAIK_WERROR}>:-Werror>)
