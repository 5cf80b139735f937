# For scripts in bash that measure; they run in the project's folder with errexit.

# BuildBench PROCESSOR: builds what measures, as released: in the folder `build`, for programs that
# `emulator` runs and that share no lock with the machine's other processes, where this is allowed.
# PROCESSOR  arm, x86_64, x86_64-plain (compiled as if it had no SSE2), or aarch64 (this needs the
#            Debian package g++-aarch64-linux-gnu)
BuildBench() {
    local options=() pkgConfig=${PKG_CONFIG_LIBDIR-}
    apart=()
    ! unshare --ipc true 2>/dev/null || apart=(unshare --ipc)
    build=build/bench-$1
    case $1 in
        x86_64) emulator=("${apart[@]}" qemu-x86_64) ;;
        x86_64-plain)
            emulator=("${apart[@]}" qemu-x86_64)
            options=(-DCMAKE_CXX_FLAGS=-U__SSE2__)
            ;;
        arm)
            emulator=("${apart[@]}" qemu-arm -L /usr/arm-linux-gnueabihf)
            options=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/arm-linux-gnueabihf.cmake")
            pkgConfig=${pkgConfig:-/usr/lib/arm-linux-gnueabihf/pkgconfig}
            ;;
        aarch64)
            emulator=("${apart[@]}" qemu-aarch64 -L /usr/aarch64-linux-gnu)
            options=(-DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64
                -DCMAKE_CXX_COMPILER=aarch64-linux-gnu-g++)
            pkgConfig=${pkgConfig:-/usr/lib/aarch64-linux-gnu/pkgconfig}
            ;;
        *)
            echo "$0: $1: no such processor" >&2
            return 2
            ;;
    esac
    mkdir -p "$build"
    ( [[ -z $pkgConfig ]] || export PKG_CONFIG_LIBDIR=$pkgConfig
        cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DRAIKLAIK_WERROR=ON \
            -DBUILD_TESTING=OFF -DRAIKLAIK_BUILD_TOOL=OFF -DRAIKLAIK_BUILD_BENCH=ON \
            "${options[@]}" &&
            cmake --build "$build" --parallel "$(nproc)" ) >"$build/build.log" 2>&1 || {
        cat "$build/build.log" >&2
        return 1
    }
}

# CountInstructions CONTESTANT JOB TRUNKS FOLDER: what one operation executes in the last BuildBench,
# libc's functions included. Two operations and six are run, so that start and end cancel out.
#
# QEMU emulates this machine's own processor as well, since libc picks its functions by the
# processor. So the counts repeat, whatever the machine and its load.
CountInstructions() {
    local counter=build/instruction_counter.so counts=() times
    [[ $counter -nt bench/instruction_counter.cpp ]] ||
        c++ -std=c++17 -O2 -shared -fPIC bench/instruction_counter.cpp -o "$counter"
    for times in 2 6; do
        "${emulator[@]}" -plugin "$counter" -d plugin -D "$4/count" \
            "$build/raiklaik_instructions" "$1" "$2" "$3" "$times" "$4"
        counts+=("$(<"$4/count")")
    done
    echo $(((counts[1] - counts[0]) / 4))
}
