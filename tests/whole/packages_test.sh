#!/usr/bin/env bash
# The Debian packages are clean, can be installed and removed, and serve programs from where they
# were installed, without more settings than any Debian system has.
# usage: packages_test.sh PACKAGES_FOLDER amd64|armhf
set -euo pipefail

packages=$1 architecture=$2
case $architecture in
    amd64)
        multiarch=x86_64-linux-gnu compiler=g++ qemu=qemu-x86_64
        systemLibraries=/lib/$multiarch
        ;;
    armhf)
        multiarch=arm-linux-gnueabihf compiler=arm-linux-gnueabihf-g++ qemu=qemu-arm
        systemLibraries=/usr/$multiarch/lib
        CMAKE_ARGUMENTS=-DCMAKE_TOOLCHAIN_FILE=$(cd "$(dirname "$0")/../.." && pwd)/cmake/$multiarch.cmake
        ;;
esac
source "$(dirname "$0")/consumer/checks.sh"

# The emulator shows programs the root as if it were the system's, so that the loader looks for
# libraries where it would on a device.
root=$work/root
emulator=("$qemu" -L "$root")
libraries=$root/usr/lib/$multiarch
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig

Dpkg() {
    Quietly dpkg --root="$root" --force-not-root --force-bad-path --force-unsafe-io --no-triggers \
        --log="$work/dpkg.log" "$@"
}
# What is in the root, but for dpkg's own records.
Files() { find "$root" -path "$root/var" -prune -o -print | LC_ALL=C sort; }

files=("$packages"/*"_$architecture.deb")
((${#files[@]} == 3)) || Fail "not three packages: ${files[*]}"
Quietly lintian --allow-root --no-cfg --fail-on error,warning "${files[@]}"

# A system that has nothing but what the packages may depend on.
mkdir -p "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/info" "$root/lib"
printf '%s\n' "$(dpkg --print-architecture)" "$architecture" | uniq >"$root/var/lib/dpkg/arch"
for package in libc6 libgcc-s1 libstdc++6; do
    printf 'Package: %s\nStatus: install ok installed\nMulti-Arch: same\nArchitecture: %s\n' \
        "$package" "$architecture"
    printf 'Version: %s\nMaintainer: none <none@none.invalid>\nDescription: none\n\n' \
        "$(dpkg-query --show --showformat='${Version}' "$package:$(dpkg --print-architecture)")"
done >"$root/var/lib/dpkg/status"
for library in libc.so.6 libgcc_s.so.1 libm.so.6 libstdc++.so.6; do
    cp -L "$systemLibraries/$library" "$root/lib"
done
cp -L "$systemLibraries"/ld-linux*.so.* "$root/lib"
ln -s lib "$root/lib64"
Files >"$work/before"

Dpkg --install "${files[@]}"
CheckLibraries "$libraries"
readelf=$(command -v "$multiarch-readelf")
for binary in "$libraries/raiklaik.so.1.0" "$root/usr/bin/siptrunkctl"; do
    if grep -Eq 'R(UN)?PATH' <<<"$("$readelf" --dynamic "$binary")"; then
        Fail "$binary has a run path"
    fi
done
BuildByPkgConfig
Check "$work/by_pkg_config"
BuildByCMake "$root/usr"
Check "$work/by_cmake/consumer"
# Promised for a small device, where it is a 32-bit program.
[[ $architecture != armhf ]] || (($(stat -c %s "$root/usr/bin/siptrunkctl") <= 380 * 1000)) ||
    Fail "siptrunkctl has more than 380 KB"
CheckTool "$root/usr/bin/siptrunkctl"

Dpkg --purge raiklaik1:"$architecture" raiklaik-dev:"$architecture" siptrunkctl:"$architecture"
Files | diff "$work/before" - || Fail "the packages leave something behind, see above"
