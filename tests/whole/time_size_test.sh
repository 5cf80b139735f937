#!/usr/bin/env bash
# A program whose time_t is not the one that the library was built with does not compile, and is told
# why; elsewhere _TIME_BITS=64 changes nothing.
# usage: time_size_test.sh SOURCE_FOLDER CXX_COMPILER
set -euo pipefail

source=$1 compiler=$2
source "$(dirname "$0")/consumer/checks.sh"
wide=(-D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64)

# Compiles [FLAG...]: does a program that includes the header compile?
Compiles() {
    "$compiler" "${strict[@]}" -I"$source/include" "$@" -fsyntax-only "$consumer/consumer.cpp" \
        >"$work/output" 2>&1
}
SizeOfTime() {
    if printf '#include <ctime>\nstatic_assert(sizeof(std::time_t) == 8);\n' |
        "$compiler" "$@" -x c++ -std=c++17 -fsyntax-only - 2>/dev/null; then
        echo 8
    else
        echo 4
    fi
}

# The compiler of this build, and the one for the device where it is installed.
for compiler in "$2" arm-linux-gnueabihf-g++; do
    command -v "$compiler" >/dev/null || continue
    Compiles || Fail "$compiler: $(cat "$work/output")"
    if [[ $(SizeOfTime "${wide[@]}") == "$(SizeOfTime)" ]]; then
        Compiles "${wide[@]}" || Fail "$compiler: $(cat "$work/output")"
        continue
    fi
    ! Compiles "${wide[@]}" || Fail "$compiler: a program with another time_t compiles"
    grep -q 'compile without _TIME_BITS=64, or with -U_TIME_BITS' "$work/output" ||
        Fail "$compiler: no reason is given: $(cat "$work/output")"
    Compiles "${wide[@]}" -U_TIME_BITS || Fail "$compiler: $(cat "$work/output")"
done
