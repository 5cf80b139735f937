#!/usr/bin/env bash
# The program in README.md is the one in examples/, builds against the installed library as README.md
# says, and does what it says; the list that it shows is the one of the database that it shows.
# usage: readme_test.sh SOURCE_FOLDER BUILD_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
set -euo pipefail

source=$1 build=$2 compiler=$3
emulator=("${@:4}")
source "$(dirname "$0")/consumer/checks.sh"

# Block OPENING: prints the first block of README.md that begins with this line.
Block() {
    awk -v opening="$1" '/^```$/ && inside { exit } inside { print } $0 == opening { inside = 1 }' \
        "$source/README.md"
}

if [[ -x $build/siptrunkctl ]]; then
    mkdir -p "$work/first/telephony"
    Block '```' >"$work/first/telephony/siptrunkdb"
    [[ $(wc -l <"$work/first/telephony/siptrunkdb") == 6 ]] || Fail "the database is not there"
    { echo '$ siptrunkctl list' && "${emulator[@]}" "$build/siptrunkctl" -C "$work/first" list; } |
        diff -u <(Block '```console') - || Fail "siptrunkctl list prints something else"
fi

awk '/^```/ { inside = 0 } inside { print } /^```cpp$/ { inside = 1 }' "$source/README.md" \
    >"$work/read_trunk.cpp"
diff -u "$source/examples/read_trunk.cpp" "$work/read_trunk.cpp"

InstallForPrograms "$build"

cd "$work"
read -ra flags <<<"$(pkg-config --cflags --libs raiklaik)"
"$compiler" -std=c++17 read_trunk.cpp -o read_trunk "${flags[@]}"

mkdir -p device/telephony
cat >device/telephony/siptrunkdb <<'END'
section {
trunk_name=office
trunk_type=1
user_name=branch7
password=4pples+pears
master_ip=192.0.2.10
master_port=5060
registration_status=1
registration_date=03/07/2024
registration_time=09:05:31
}
section {
trunk_name=ware house
trunk_type=0
user_name=warehouse
password=f0rklift
sym_nat=0
}
END
export QORV_PATH=$work/device/

# Expect EXIT_CODE OUTPUT [ARGUMENT...]: runs the program; all that it prints is OUTPUT.
Expect() {
    local code=0 output
    output=$(LD_LIBRARY_PATH=$libraries "${emulator[@]}" ./read_trunk "${@:3}" 2>&1) || code=$?
    [[ $code == "$1" && $output == "$2" ]] || Fail "${*:3}: exit code $code, printed: $output"
}
failure="read_trunk: no such trunk, or read_trunk.log tells what failed"
Expect 0 "office, user branch7: registered since 03/07/2024, far end 192.0.2.10:5060" office
Expect 0 "ware house, user warehouse: not registered" "ware house"
Expect 1 "$failure" nowhere
Expect 1 "$failure"
[[ ! -s read_trunk.log ]] || Fail "logged without a failure: $(cat read_trunk.log)"

echo loose >>device/telephony/siptrunkdb
Expect 1 "$failure" office
[[ $(cat read_trunk.log) == *"ERROR: ${QORV_PATH}telephony/siptrunkdb:19: text outside a section "* ]] ||
    Fail "logged: $(cat read_trunk.log)"
