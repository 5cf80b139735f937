#!/usr/bin/env bash
# With -DBUILD_SHARED_LIBS=OFF the library is an archive, which pkg-config and CMake put whole into
# programs, also into those that link nothing at all when they start.
# usage: static_test.sh SOURCE_FOLDER CXX_COMPILER BUILD_FOLDER [EMULATOR [ARGUMENT...]]
# The build folder stays, so that the next run builds only what has changed.
set -euo pipefail

source=$1 compiler=$2 build=$3
emulator=("${@:4}")
source "$(dirname "$0")/consumer/checks.sh"

BuildProject "$source" "$build" -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF \
    -DRAIKLAIK_BUILD_TOOL=OFF -DCMAKE_BUILD_TYPE=Debug
Quietly cmake --install "$build" --prefix "$work/built"
mv "$work/built" "$work/installed"
libraries=$(find "$work/installed" -name '*.a' -o -name '*.so*')
[[ $libraries == */libraiklaik.a ]] || Fail "it installs the libraries $libraries"
export PKG_CONFIG_LIBDIR=${libraries%/*}/pkgconfig

BuildByPkgConfig --static
Check "$work/by_pkg_config"
BuildByCMake "$work/installed"
Check "$work/by_cmake/consumer"
