# What the emulated device is made of. Sourced by script/device; all goes to the folder `work`.

source tests/device/armhf.sh

kDebian=$work/debian           # Debian's packages, and what is in them
kSystem=$kDebian/system
kLibraries=lib/arm-linux-gnueabihf

# Debian's packages for the device.
Download() {
    [[ ! -e $kDebian/complete ]] || return 0
    UseArmhf "$kDebian"
    local kernel package
    kernel=$(apt-cache depends linux-image-armmp | awk '$1 == "Depends:" { print $2; exit }')
    (cd "$kDebian" && apt-get download -q "${kernel:-linux-image-armmp}" busybox-static libc6 \
        libgcc-s1 libstdc++6 mtd-utils)
    for package in "$kDebian"/*.deb; do
        dpkg-deb -x "$package" "$kSystem"
    done
    touch "$kDebian/complete"
}

BuildPrograms() {
    script/package armhf
    cmake --preset arm --log-level=WARNING
    cmake --build --preset arm --target raiklaik_tests device_saves device_clock
}

# Copies a module of the kernel, and those that it depends on, into a folder.
AddModule() {
    local folder=$1 path
    path=$(find "$kSystem/lib/modules" -name "$2.ko" -o -name "${2//_/-}.ko")
    [[ -n $path ]] || Fail "the kernel has no module $2"
    [[ ! -e $folder/${path##*/} ]] || return 0
    cp "$path" "$folder"
    local module needed
    needed=$(arm-linux-gnueabihf-objcopy -O binary -j .modinfo "$path" /dev/stdout | tr '\0' '\n' |
        sed -n 's/^depends=//p')
    for module in ${needed//,/ }; do
        AddModule "$folder" "$module"
    done
}

AddModules() {
    local folder=$1/lib/modules/$(ls "$kSystem/lib/modules") module
    mkdir -p "$folder"
    cp "$kSystem/lib/modules/"*/modules.{builtin,order} "$folder"
    for module in virtio_mmio virtio_console virtio_blk ext4 crc32c_generic f2fs crc32_generic \
        nandsim ubi ubifs deflate zstd squashfs overlay; do
        AddModule "$folder" "$module"
    done
}

# The machine's root, in memory: busybox, the C and C++ libraries, our packages, the tests.
BuildInitramfs() {
    local root=$work/root program
    rm -rf "$root"
    mkdir -p "$root"/{bin,dev,device,lib,proc,sbin,sys,usr/bin,usr/sbin,"usr/$kLibraries"}
    cp "$kSystem/bin/busybox" "$root/bin"
    cp "$kSystem/usr/sbin/ubimkvol" "$root/usr/sbin"
    cp -a "$kSystem/lib/ld-linux-armhf.so.3" "$kSystem/$kLibraries" "$root/lib"
    cp -a "$kSystem/usr/$kLibraries"/libstdc++.so* "$root/usr/$kLibraries"
    for program in build/packages/{raiklaik1,siptrunkctl}_*_armhf.deb; do
        dpkg-deb -x "$program" "$root"
    done
    for program in raiklaik_tests device_saves device_clock; do
        arm-linux-gnueabihf-strip -o "$root/device/$program" "build/arm/tests/$program"
    done
    AddModules "$root"
    cp -a tests/device/guest/* tests/device/factory "$root/device"
    mv "$root/device/init" "$root/init"
    (cd "$root" && find . -print0 | LC_ALL=C sort -z | cpio --quiet -0 -o -H newc -R 0:0) |
        gzip -1 >"$work/initramfs"
    cp "$kSystem"/boot/vmlinuz-* "$work/kernel"
}

# Blocks of 4 KiB, as on devices.
MakeDisks() {
    rm -f "$work"/*.image
    truncate -s 64M "$work"/{ext4,f2fs}.image
    mkfs.ext4 -q -F -b 4096 "$work/ext4.image"
    mkfs.f2fs -q -f "$work/f2fs.image"
    mksquashfs tests/device/factory "$work/squashfs.image" -all-root -no-progress
}
