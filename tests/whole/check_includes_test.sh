#!/usr/bin/env bash
# script/check-includes accepts what a room may include and names each breach.
# usage: check_includes_test.sh SOURCE_FOLDER
set -euo pipefail

check=$1/script/check-includes
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
failures=0

# Verdict FILE INCLUDE yes|no: does the check accept a tree whose only file has this include?
Verdict() {
    rm -rf "${tree:?}"/*
    mkdir -p "$tree/$(dirname "$1")"
    printf '#pragma once\n\n#include %s\n' "$2" >"$tree/$1"
    local accepted=yes
    "$check" "$tree" 2>"$tree/report" || accepted=no
    if [[ $accepted != "$3" ]]; then
        echo "$1 with $2: accepted is $accepted, expected $3"
        failures=$((failures + 1))
    elif [[ $3 == no ]] && ! grep -q "^$1:3: may not include " "$tree/report"; then
        echo "$1 with $2: the report does not name the place: $(cat "$tree/report")"
        failures=$((failures + 1))
    fi
}

Verdict support/a.h '<vector>' yes
Verdict support/a.h '<sys/sem.h>' yes
Verdict support/a.h '"support/b.h"' yes
Verdict support/a.h '"b.h"' no
Verdict support/a.h '"include/support/b.h"' yes
Verdict support/a.h '"include/raiklaik.h"' no
Verdict support/a.cpp '"src/foundation/paths.h"' no
Verdict support/a.cpp '<src/foundation/paths.h>' no
Verdict support/a.cpp '<nlohmann/json.hpp>' no

Verdict src/foundation/a.h '"support/b.h"' yes
Verdict src/foundation/a.h '"src/foundation/b.h"' yes
Verdict src/foundation/a.h '"include/raiklaik.h"' yes
Verdict src/foundation/a.h '"include/support/b.h"' no
Verdict src/foundation/a.h '"src/trunks/b.h"' no
Verdict src/foundation/a.h '"tests/fixture/b.h"' no

Verdict src/agent/a.cpp '"support/b.h"' yes
Verdict src/agent/a.cpp '"src/foundation/b.h"' yes
Verdict src/agent/a.cpp '"src/agent/b.h"' yes
Verdict src/agent/a.cpp '"include/raiklaik.h"' yes
Verdict src/agent/a.cpp '"src/trunks/b.h"' no
Verdict src/agent/a.cpp '"../trunks/b.h"' no
Verdict src/agent/a.cpp '<gtest/gtest.h>' no
Verdict src/trunks/a.cpp '"tools/siptrunkctl/b.h"' no

Verdict include/raiklaik.h '<string>' yes
Verdict include/raiklaik.h '"support/log_stream.h"' yes
Verdict include/raiklaik.h '"support/thread_mutex.h"' yes
Verdict include/raiklaik.h '"support/config_file.h"' no
Verdict include/raiklaik.h '"src/foundation/paths.h"' no
Verdict include/support/a.h '<string>' yes
Verdict include/support/a.h '"support/b.h"' no
Verdict include/support/a.h '"include/raiklaik.h"' no

Verdict tools/siptrunkctl/a.cpp '"include/raiklaik.h"' yes
Verdict tools/siptrunkctl/a.cpp '<CLI/CLI.hpp>' yes
Verdict tools/siptrunkctl/a.cpp '"support/line_scanner.h"' yes
Verdict tools/siptrunkctl/device/a.cpp '"src/foundation/paths.h"' yes
Verdict tools/siptrunkctl/file/a.cpp '"src/foundation/key_table.h"' yes
Verdict tools/siptrunkctl/file/a.cpp '"src/foundation/database_syntax.h"' yes
Verdict tools/siptrunkctl/device/a.cpp '"src/foundation/access_frame.h"' no
Verdict tools/siptrunkctl/device/a.cpp '"src/trunks/b.h"' no
Verdict tools/siptrunkctl/main.cpp '"tools/siptrunkctl/words/b.h"' yes
Verdict tools/siptrunkctl/words/a.cpp '"tools/siptrunkctl/commands/b.h"' yes
Verdict tools/siptrunkctl/commands/a.cpp '"tools/siptrunkctl/commands/b.h"' yes
Verdict tools/siptrunkctl/commands/a.cpp '"tools/siptrunkctl/view/b.h"' yes
Verdict tools/siptrunkctl/commands/a.cpp '"tools/siptrunkctl/words/b.h"' no
Verdict tools/siptrunkctl/device/a.cpp '"tools/siptrunkctl/file/b.h"' no
Verdict tools/siptrunkctl/file/a.cpp '"tools/siptrunkctl/device/b.h"' no
Verdict tools/siptrunkctl/view/a.cpp '"tools/siptrunkctl/file/b.h"' no
Verdict tools/siptrunkctl/view/a.cpp '"tools/siptrunkctl/commands/b.h"' no

Verdict examples/a.cpp '"raiklaik.h"' yes
Verdict examples/a.cpp '"support/config_file.h"' no

Verdict tests/agent/a_test.cpp '"src/agent/b.h"' yes
Verdict tests/agent/a_test.cpp '<gtest/gtest.h>' yes

# A file of 330 lines is accepted, one of 331 is not.
rm -rf "${tree:?}"/*
mkdir -p "$tree/support"
printf '// %s\n' {1..330} >"$tree/support/a.cpp"
"$check" "$tree" 2>/dev/null || {
    echo "330 lines: refused"
    failures=$((failures + 1))
}
echo '//' >>"$tree/support/a.cpp"
report=$("$check" "$tree" 2>&1) && accepted=yes || accepted=no
[[ $accepted == no && $report == "support/a.cpp:331: may not have more than 330 lines" ]] || {
    echo "331 lines: accepted is $accepted; report: $report"
    failures=$((failures + 1))
}

exit $((failures > 0))
