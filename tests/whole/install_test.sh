#!/usr/bin/env bash
# The installed tree serves programs through pkg-config and through CMake, also after it was moved.
# usage: install_test.sh BUILD_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
set -euo pipefail

build=$1 compiler=$2
emulator=("${@:3}")
source "$(dirname "$0")/consumer/checks.sh"

# The device itself gets the library with the link that programs ask for, and nothing to build with.
Quietly cmake --install "$build" --prefix "$work/device" --component runtime
device=$(cd "$work/device" && find . \( -type f -o -type l \) -printf '%f\n' | LC_ALL=C sort | xargs)
[[ $device == "raiklaik.so.1 raiklaik.so.1.0" ]] || Fail "component runtime installs: $device"

Quietly cmake --install "$build" --prefix "$work/installed"
mv "$work/installed" "$work/moved"
prefix=$work/moved
libraries=$(dirname "$(find "$prefix" -name raiklaik.so)")
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig

diff -r "$(dirname "$0")/../../include" "$prefix/include/raiklaik" || Fail "other headers"
CheckLibraries "$libraries"
BuildByPkgConfig
LD_LIBRARY_PATH=$libraries Check "$work/by_pkg_config"
BuildByCMake "$prefix"
Check "$work/by_cmake/consumer"
# The tool finds the library of its own tree.
[[ ! -e $prefix/bin/siptrunkctl ]] || CheckTool "$prefix/bin/siptrunkctl"
