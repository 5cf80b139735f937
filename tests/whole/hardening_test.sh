#!/usr/bin/env bash
# The library file has its name, and the protections it is linked with.
# usage: hardening_test.sh LIBRARY READELF [fortified]
set -euo pipefail

library=$1 readelf=$2
failures=0
dynamic=$("$readelf" -W --dynamic "$library")
headers=$("$readelf" -W --program-headers "$library")
symbols=$("$readelf" -W --dyn-syms "$library")

Expect() {
    local what=$1
    shift
    if ! "$@"; then
        echo "$library: $what"
        failures=$((failures + 1))
    fi
}
Has() { grep -Eq -- "$2" <<<"$1"; }
HasNot() { ! Has "$@"; }

Expect "the SONAME is not raiklaik.so.1" Has "$dynamic" 'SONAME.*\[raiklaik\.so\.1\]'
Expect "it has text relocations" HasNot "$dynamic" 'TEXTREL'
Expect "symbols are not bound at start" Has "$dynamic" 'BIND_NOW|FLAGS_1.*NOW'
Expect "relocated data stays writable" Has "$headers" 'GNU_RELRO'
Expect "the stack is not marked" Has "$headers" 'GNU_STACK'
Expect "the stack is executable" HasNot "$headers" 'GNU_STACK.* RWE '
Expect "no stack protector" Has "$symbols" ' UND __stack_chk_fail@'
[[ ${3:-} != fortified ]] ||
    Expect "libc calls are not fortified" Has "$symbols" ' UND __vsnprintf_chk@'
Expect "it has a run path" HasNot "$dynamic" 'RPATH|RUNPATH'

exit $((failures > 0))
