#!/usr/bin/env bash
# The manual pages break no word of theirs, above all no option's name, at the end of a line.
# usage: pages_test.sh BUILD_FOLDER
set -euo pipefail

failures=0
for page in "$1"/man/*.[1-8]; do
    if [[ $(sed -n '/^[.]TH /{n;p;q}' "$page") != .nh ]]; then
        echo "$page: hyphenation is on"
        failures=$((failures + 1))
    fi
done
exit $((failures > 0))
