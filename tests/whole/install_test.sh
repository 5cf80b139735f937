#!/usr/bin/env bash
# The installed tree serves programs through pkg-config and through CMake, also after it was moved.
# usage: install_test.sh BUILD_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
# CMAKE_ARGUMENTS holds what else the consumer's cmake needs; without an emulator nothing special
# runs the programs.
set -euo pipefail

build=$1 compiler=$2
emulator=("${@:3}")
consumer=$(dirname "$0")/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

Fail() {
    echo "install_test: $*" >&2
    exit 1
}
Quietly() {
    "$@" >"$work/output" 2>&1 || {
        cat "$work/output" >&2
        Fail "failed: $*"
    }
}

# The device itself gets the library with the link that programs ask for, and nothing to build with.
Quietly cmake --install "$build" --prefix "$work/device" --component runtime
device=$(cd "$work/device" && find . \( -type f -o -type l \) -printf '%f\n' | LC_ALL=C sort | xargs)
[[ $device == "raiklaik.so.1 raiklaik.so.1.0" ]] || Fail "component runtime installs: $device"

Quietly cmake --install "$build" --prefix "$work/installed"
mv "$work/installed" "$work/moved"
prefix=$work/moved
libraries=$(dirname "$(find "$prefix" -name raiklaik.so)")
for link in raiklaik.so raiklaik.so.1; do
    [[ $(readlink -f "$libraries/$link") == "$libraries/raiklaik.so.1.0" ]] || Fail "no link $link"
done

export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
read -ra compileFlags <<<"$(pkg-config --cflags raiklaik)"
read -ra linkFlags <<<"$(pkg-config --libs raiklaik)"
strict=(-std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

for header in raiklaik.h support/log_stream.h support/thread_mutex.h; do
    printf '#include "%s"\n' "$header" >"$work/alone.cpp"
    Quietly "$compiler" "${strict[@]}" "${compileFlags[@]}" -fsyntax-only "$work/alone.cpp"
done

# Runs a program of the consumer on a base folder of its own.
Check() {
    local program=$1 base=$work/base
    rm -rf "$base"
    mkdir -p "$base/telephony"
    local output
    output=$(QORV_PATH=$base/ "${emulator[@]}" "$program" "$base/log") || Fail "$program failed"
    [[ $output == "master 1, slave 0" ]] || Fail "$program printed: $output"
    grep -q '^siptrunk_master_enabled=1$' "$base/telephony/siptrunkdb" || Fail "nothing was stored"
}

Quietly "$compiler" "${strict[@]}" "${compileFlags[@]}" "$consumer/consumer.cpp" \
    -o "$work/by_pkg_config" "${linkFlags[@]}"
LD_LIBRARY_PATH=$libraries Check "$work/by_pkg_config"

read -ra cmakeArguments <<<"${CMAKE_ARGUMENTS:-}"
Quietly cmake -S "$consumer" -B "$work/by_cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" "${cmakeArguments[@]}"
Quietly cmake --build "$work/by_cmake"
Check "$work/by_cmake/consumer"

# The tool finds the library of its own tree.
tool=$prefix/bin/siptrunkctl
if [[ -e $tool ]]; then
    version=$("${emulator[@]}" "$tool" --version) || Fail "siptrunkctl does not run"
    [[ $version == *"$(pkg-config --modversion raiklaik)"* ]] || Fail "siptrunkctl is $version"
fi
