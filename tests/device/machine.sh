# The emulated device. Sourced by script/device; `work` is a folder that holds a kernel, an
# initramfs and the disks' images.

machine=      # the emulator's process
line=         # what the machine reported last
kSilence=600  # seconds; a machine that reports nothing for so long hangs, on a busy host too

# One disk's options. When the kernel flushes the disk, the emulator flushes the image.
Disk() {
    echo "-drive if=none,id=$1,format=raw,file=$1.image,cache=writeback" \
        "-device virtio-blk-device,drive=$1,serial=$1"
}

# Arguments: more options of the emulator's.
SwitchOn() {
    rm -f "$work"/{port,monitor}.{in,out}
    mkfifo "$work"/{port,monitor}.{in,out}
    exec 4<>"$work/port.in" 5<>"$work/port.out" 6<>"$work/monitor.in" 7<>"$work/monitor.out"
    (
        cd "$work"
        exec nice qemu-system-arm -nodefaults -no-user-config -no-reboot -display none \
            -machine virt -cpu cortex-a15 -smp 1 -m 192 -kernel kernel -initrd initramfs \
            -append 'console=ttyAMA0 panic=-1 quiet' -serial file:console \
            -chardev pipe,id=monitor,path=monitor -mon chardev=monitor \
            -chardev pipe,id=port,path=port -device virtio-serial-device \
            -device virtserialport,chardev=port \
            $(Disk ext4) $(Disk f2fs) $(Disk squashfs) "$@"
    ) </dev/null >"$work/emulator.log" 2>&1 4>&- 5>&- 6>&- 7>&- &
    machine=$!
}

# Cuts the power: the emulator is killed, and all that was in the machine's memory is gone with it.
# What the machine had handed to its disks by then stays, since the host goes on.
Cut() {
    kill -KILL "$machine" || Fail "the machine has ended by itself; see $work/console"
    { wait "$machine" || true; } 2>/dev/null
    machine=
}

# Boots the machine until it is ready for commands, keeps its memory in a file, and ends it.
Boot() {
    SwitchOn
    Hear && [[ $line == ready ]] || Fail "the machine does not boot; see $work/console"
    echo 'migrate "exec:cat >memory"' >&6
    until [[ $line == *postmigrate* ]]; do
        echo 'info status' >&6
        IFS= read -r -t "$kSilence" line <&7 || Fail "the machine cannot be stopped"
    done
    Cut
}

# Lets the booted machine go on. It has not looked at its disks yet, so this is as good as a boot.
Resume() {
    SwitchOn -incoming 'exec:cat memory'
}

# Has the machine run a command; what it prints is heard next, and then "end CODE".
Tell() {
    echo "$*" >&4
}

# Reads the next line of the machine's report; fails when there is none in so many seconds.
Hear() {
    IFS= read -r -t "${1:-$kSilence}" line <&5 || return
    echo "$line" >>"$work/report.log"
}

# Runs a command in the machine, keeps what it prints in a file, and fails when it fails.
# usage: Run FILE COMMAND...
Run() {
    local file=$1
    shift
    Tell "$@"
    while Hear && [[ $line != "end "* ]]; do
        echo "$line"
    done >"$file"
    [[ $line == "end 0" ]] || Fail "$*: $line; the end of $file:" "$(tail -n 50 "$file")"
}
