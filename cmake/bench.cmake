# What measures the library. script/bench, script/check-instructions and script/check-sizes build and
# run it.

option(RAIKLAIK_BUILD_BENCH "Build the benchmark" OFF)
if(NOT RAIKLAIK_BUILD_BENCH)
    return()
endif()

add_library(raiklaik_bench_jobs OBJECT bench/contestant.cpp bench/files.cpp bench/library.cpp
                                       bench/trunk_data.cpp)
target_link_libraries(raiklaik_bench_jobs PUBLIC raiklaik_flags)

# With what the library is compared: the floor, and other libraries as far as they are there.
add_library(raiklaik_bench_peers OBJECT bench/floor.cpp)
target_link_libraries(raiklaik_bench_peers PUBLIC raiklaik_bench_jobs)
find_package(PkgConfig QUIET)
foreach(peer IN ITEMS "gkeyfile|glib-2.0|libglib2.0-dev" "inih|inih|libinih-dev"
                      "libconfig|libconfig|libconfig-dev" "lmdb|lmdb|liblmdb-dev"
                      "simdjson|simdjson|libsimdjson-dev" "sqlite|sqlite3|libsqlite3-dev")
    string(REPLACE "|" ";" peer "${peer}")
    list(POP_FRONT peer source module package)
    if(PkgConfig_FOUND)
        pkg_check_modules(RAIKLAIK_BENCH_${source} QUIET IMPORTED_TARGET ${module})
    endif()
    if(RAIKLAIK_BENCH_${source}_FOUND)
        target_sources(raiklaik_bench_peers PRIVATE bench/peers/${source}.cpp)
        target_link_libraries(raiklaik_bench_peers PUBLIC PkgConfig::RAIKLAIK_BENCH_${source})
    else()
        message(STATUS "The benchmark goes without ${module} (Debian package ${package})")
    endif()
endforeach()

function(raiklaik_add_bench_program program source)
    add_executable(${program} bench/${source})
    target_link_libraries(${program} PRIVATE raiklaik_bench_jobs raiklaik ${ARGN})
endfunction()

raiklaik_add_bench_program(raiklaik_instructions instructions.cpp raiklaik_bench_peers)
raiklaik_add_bench_program(raiklaik_heap heap.cpp)
add_custom_command(
    TARGET raiklaik_heap
    POST_BUILD
    COMMAND "${CMAKE_STRIP}" -o "${PROJECT_BINARY_DIR}/stripped" "$<TARGET_FILE:raiklaik>")
string(REGEX MATCH "^[0-9]+" compilerMajor "${CMAKE_CXX_COMPILER_VERSION}")
file(WRITE "${PROJECT_BINARY_DIR}/compiler" "${CMAKE_CXX_COMPILER_ID}-${compilerMajor}\n")

# An emulated processor tells nothing of time.
if(CMAKE_CROSSCOMPILING)
    return()
endif()

find_package(benchmark QUIET)
if(NOT benchmark_FOUND)
    message(FATAL_ERROR "Google Benchmark was not found: install the Debian package "
                        "libbenchmark-dev, or build without the benchmark: "
                        "-DRAIKLAIK_BUILD_BENCH=OFF")
endif()
raiklaik_add_bench_program(raiklaik_times times.cpp raiklaik_bench_peers benchmark::benchmark)
