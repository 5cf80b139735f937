#!/usr/bin/env bash
# As a part of another project the library is one target, and nothing is installed.
# usage: subproject_test.sh SOURCE_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
set -euo pipefail

source=$1 compiler=$2
emulator=("${@:3}")
source "$(dirname "$0")/consumer/checks.sh"

BuildProject "$(dirname "$0")/parent" "$work/build" -DRAIKLAIK_SOURCES="$source"
Check "$work/build/consumer"
Quietly cmake --install "$work/build" --prefix "$work/installed"
[[ ! -e $work/installed ]] || Fail "it installs $(ls "$work/installed")"
