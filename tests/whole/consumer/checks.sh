# A folder $work of a test's own, failures, and what every installed tree must give to programs; for
# tests to source. They set the arrays compiler and emulator, the second empty when nothing special
# runs the programs. CMAKE_ARGUMENTS holds what else the consumer's cmake needs.

consumer=$(dirname "${BASH_SOURCE[0]}")
strict=(-std=c++17 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

Fail() {
    echo "$(basename "$0" .sh): $*" >&2
    exit 1
}
Quietly() {
    "$@" >"$work/output" 2>&1 || {
        cat "$work/output" >&2
        Fail "failed: $*"
    }
}

# CheckLibraries FOLDER: all links lead to the library.
CheckLibraries() {
    local link
    for link in raiklaik.so raiklaik.so.1; do
        [[ $(readlink -f "$1/$link") == "$1/raiklaik.so.1.0" ]] || Fail "no link $link"
    done
}

# InstallForPrograms BUILD_FOLDER: installs what programs build and run with, their libraries in the
# folder $libraries; pkg-config finds it.
InstallForPrograms() {
    local component
    for component in runtime dev; do
        Quietly cmake --install "$1" --prefix "$work/prefix" --component "$component"
    done
    libraries=$(dirname "$(find "$work/prefix" -name raiklaik.so)")
    export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
}

# Builds programs with what pkg-config says, which PKG_CONFIG_LIBDIR leads: $work/by_pkg_config, and
# one for each header alone. With --static the program has all libraries in it.
BuildByPkgConfig() {
    local compileFlags linkFlags header
    read -ra compileFlags <<<"$(pkg-config --cflags raiklaik)"
    read -ra linkFlags <<<"${1:+-static }$(pkg-config "$@" --libs raiklaik)"
    for header in raiklaik.h support/log_stream.h support/thread_mutex.h; do
        printf '#include "%s"\n' "$header" >"$work/alone.cpp"
        Quietly "$compiler" "${strict[@]}" "${compileFlags[@]}" -fsyntax-only "$work/alone.cpp"
    done
    Quietly "$compiler" "${strict[@]}" "${compileFlags[@]}" "$consumer/consumer.cpp" \
        -o "$work/by_pkg_config" "${linkFlags[@]}"
}

# BuildProject SOURCE_FOLDER BUILD_FOLDER [OPTION...]
BuildProject() {
    local arguments
    read -ra arguments <<<"${CMAKE_ARGUMENTS:-}"
    Quietly cmake -S "$1" -B "$2" -DCMAKE_CXX_COMPILER="$compiler" "${arguments[@]}" "${@:3}"
    Quietly cmake --build "$2"
}

# BuildByCMake PREFIX: builds $work/by_cmake/consumer with what find_package finds there.
BuildByCMake() { BuildProject "$consumer" "$work/by_cmake" -DCMAKE_PREFIX_PATH="$1"; }

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

# CheckTool PROGRAM: the tool finds its library, and is of the library's version.
CheckTool() {
    local version
    version=$("${emulator[@]}" "$1" --version) || Fail "siptrunkctl does not run"
    [[ $version == *"$(pkg-config --modversion raiklaik)"* ]] || Fail "siptrunkctl is $version"
}
