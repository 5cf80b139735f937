#!/usr/bin/env bash
# The manual pages break no word of theirs, above all no option's name, at the end of a line, and fit
# a terminal of 80 columns.
# usage: pages_test.sh BUILD_FOLDER
set -euo pipefail
export LC_ALL=C.UTF-8

failures=0
Fail() {
    echo "$*"
    failures=$((failures + 1))
}

# The lines of the examples, as they are read. They are not filled, so each must be short enough; they
# stand 11 columns from the margin.
Examples() {
    sed -n '/^[.]nf/,/^[.]fi/ { /^[.]/!p }' "$1" | sed 's/\\&//g; s/\\\(.\)/\1/g'
}

for page in "$1"/man/*.[1-8]; do
    [[ $(sed -n '/^[.]TH /{n;p;q}' "$page") == .nh ]] || Fail "$page: hyphenation is on"
    # A bare dash is a hyphen, at which a line may end, and which is no dash when it is copied.
    ! grep -nE '^-|^[^.].*[^\\]-' "$page" || Fail "$page: these dashes are hyphens"
    ! Examples "$page" | grep -E '.{70}' || Fail "$page: these examples are too wide"
    if command -v groff >/dev/null; then
        text=$(groff -man -Tutf8 -rLL=80n -P-cbou "$page")
        ! grep -E '.{81}' <<<"$text" || Fail "$page: these lines are too wide"
    fi
done
exit $((failures > 0))
