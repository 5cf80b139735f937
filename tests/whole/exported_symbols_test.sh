#!/usr/bin/env bash
# The library exports exactly the names of the list, all under its version node.
# usage: exported_symbols_test.sh LIBRARY NM LIST
set -euo pipefail

library=$1 nm=$2 list=$3

# One line a name, and the node itself. A constructor is several symbols with one readable name.
exported=$("$nm" -D --defined-only -C "$library" | cut -d' ' -f3- | grep -v '^RAIKLAIK_1$' |
    LC_ALL=C sort -u)
if unversioned=$(grep -v '@@RAIKLAIK_1$' <<<"$exported"); then
    printf 'exported without the version RAIKLAIK_1:\n%s\n' "$unversioned"
    exit 1
fi
diff -u --label "$list" "$list" --label "$library" - <<<"${exported//@@RAIKLAIK_1/}"
