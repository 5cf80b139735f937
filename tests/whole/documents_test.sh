#!/usr/bin/env bash
# What docs/ and CONTRIBUTING.md show is so: code stands in the sources or compiles, databases are good
# ones, commands run and change what the page shows, scripts are there. (readme_test has README.md.)
# usage: documents_test.sh SOURCE_FOLDER BUILD_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
set -euo pipefail

source=$1 build=$2 compiler=$3
emulator=("${@:4}")
source "$(dirname "$0")/consumer/checks.sh"

# Block PAGE KIND NUMBER: prints the page's block of this number among those of this kind.
Block() {
    awk -v opening="\`\`\`$2" -v wanted="$3" '
        /^```$/ && inside { inside = 0; next }
        /^```/ && !inside { inside = 1; shown = $0 == opening && ++count == wanted; next }
        shown && inside { print }' "$source/$1" | grep . || Fail "$1 has no block \"$2\" $3"
}

# architecture.md
excerpt=$(Block docs/architecture.md cpp 1)
for file in "$source"/src/*/*.cpp; do
    [[ $(<"$file") != *"$excerpt"* ]] || found=$file
done
[[ ${found:-} ]] || Fail "no source file has the operation of docs/architecture.md"

# integrating.md: how a program asks for the version.
condition=$(Block docs/integrating.md cpp 1)
printf '#include "raiklaik.h"\n%s\n#else\n#error no\n#endif\n' "$condition" >"$work/version.cpp"
"$compiler" -std=c++17 -I"$source/include" -fsyntax-only "$work/version.cpp"

# CONTRIBUTING.md
while read -r command _; do
    [[ -x $source/$command ]] || Fail "CONTRIBUTING.md names $command, which is not there"
done < <(Block CONTRIBUTING.md sh 1)

# operations.md, siptrunkctl.md: the tool has a way to every operation.
while read -r operation; do
    grep -qrw "$operation" "$source/tools" || Fail "siptrunkctl does not reach $operation"
done < <(sed -nE 's/^\| `([A-Z]\w+)`.*/\1/p' "$source/docs/operations.md")

[[ -x $build/siptrunkctl ]] || exit 0
mkdir -p "$work/device/telephony"
export QORV_PATH=$work/device/
database=$work/device/telephony/siptrunkdb

siptrunkctl() { "${emulator[@]}" "$build/siptrunkctl" "$@"; }

# Changes: the lines that a difference adds and removes. Sorted, since there is more than one way to tell
# which of two equal lines is new.
Changes() {
    grep '^[-+]' | sort |
        sed -E '/^\+/ { s|[0-9]{2}/[0-9]{2}/[0-9]{4}$|DATE|; s|[0-9]{2}(:[0-9]{2}){2}$|TIME| }'
}

# Expect NUMBER COMMAND...: the command changes the database as database.md's difference of this number
# shows. The time of now stands for the page's.
Expect() {
    cp "$database" "$work/before"
    "${@:2}" >"$work/output"
    diff -u "$work/before" "$database" | tail -n +3 | Changes >"$work/change" || true
    Block docs/database.md diff "$1" | Changes | diff -u - "$work/change" ||
        Fail "docs/database.md, change $1: this came instead"
}

Block docs/database.md '' 1 >"$database"
siptrunkctl validate >"$work/output" || Fail "docs/database.md: $(cat "$work/output")"
Expect 1 siptrunkctl slave register warehouse 192.0.2.77 5062
Expect 2 siptrunkctl deactivate "head office"
printf '%s\n' '# Trunks of the Hamburg branch.' 'section {' 'trunk_name=head office' '}' >"$database"
Expect 3 siptrunkctl agents set master=on slave=off

# siptrunkctl.md: its first steps.
rm "$database"
cd "$work"
echo s3same >secret.txt
while read -r -a words; do
    [[ ${words[0]} == siptrunkctl ]] || Fail "docs/siptrunkctl.md: ${words[*]}"
    "${words[@]}" >"$work/output" || Fail "docs/siptrunkctl.md: ${words[*]}"
done < <(Block docs/siptrunkctl.md '' 1)
siptrunkctl status >"$work/output"
grep -q '^branch .* 198.51.100.7' <(siptrunkctl list --full) || Fail "branch is not registered"
