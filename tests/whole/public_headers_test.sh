#!/usr/bin/env bash
# A program compiles with the folder of the public headers alone, and with the repository's root
# alone.
# usage: public_headers_test.sh SOURCE_FOLDER CXX_COMPILER
set -euo pipefail

source=$1 compiler=$2
source "$(dirname "$0")/consumer/checks.sh"

# CompilesWith INCLUDE_FOLDER HEADER: the consumer compiles when it asks for the header so.
CompilesWith() {
    sed "s|\"raiklaik.h\"|\"$2\"|" "$consumer/consumer.cpp" >"$work/program.cpp"
    grep -q "^#include \"$2\"\$" "$work/program.cpp" || Fail "the consumer has another include"
    Quietly "$compiler" "${strict[@]}" -I"$1" -fsyntax-only "$work/program.cpp"
}

# A copy, where nothing else of the repository is next to the headers.
cp -r "$source/include" "$work/include"
CompilesWith "$work/include" raiklaik.h
CompilesWith "$source" include/raiklaik.h
