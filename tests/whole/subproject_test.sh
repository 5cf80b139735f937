#!/usr/bin/env bash
# As a part of another project the library is one target, and nothing is installed. The project puts
# several sources into each unit, which the library must stand too.
# usage: subproject_test.sh SOURCE_FOLDER CXX_COMPILER BUILD_FOLDER [EMULATOR [ARGUMENT...]]
# The build folder stays, so that the next run builds only what has changed.
set -euo pipefail

source=$1 compiler=$2 build=$3
emulator=("${@:4}")
source "$(dirname "$0")/consumer/checks.sh"

BuildProject "$(dirname "$0")/parent" "$build" -DRAIKLAIK_SOURCES="$source" -DCMAKE_UNITY_BUILD=ON
Check "$build/consumer"
Quietly cmake --install "$build" --prefix "$work/installed"
[[ ! -e $work/installed ]] || Fail "it installs $(ls "$work/installed")"
