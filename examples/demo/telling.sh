# How script/demo tells its story, for it to source: it runs the tool, shows what a command changed in a
# file, and ends at the first step that does something else. It has set build, log and before.

Fail() {
    echo "script/demo: $*" >&2
    exit 1
}

Chapter() { printf '\n======== %s\n' "$*"; }
Tell() { printf '\n-- %s\n' "$*"; }
Indented() { sed 's/^/     /'; }

# Tool ARGUMENT...: runs siptrunkctl, which has to succeed; its answer stays in `answer`.
Tool() { Answers 0 "$@"; }

# Answers EXIT_CODE ARGUMENT...: runs siptrunkctl, which has to end so.
Answers() {
    local wanted=$1 code=0
    shift
    local word words=
    for word; do
        [[ $word != *' '* ]] || word="\"$word\""
        words+=" $word"
    done
    echo "   \$ siptrunkctl$words"
    answer=$("$build/siptrunkctl" --log "$log" "$@" 2>&1) || code=$?
    [[ -z $answer ]] || Indented <<<"$answer"
    [[ $code == "$wanted" ]] || Fail "siptrunkctl $1: exit code $code, expected $wanted"
}

# Says TEXT...: the last answer holds each of these.
Says() {
    local text
    for text; do
        [[ $answer == *"$text"* ]] || Fail "the answer does not say: $text"
    done
}

# Changed FILE: shows what the last commands changed in a file. The lines on standard input are all
# that may differ, with DATE and TIME for stamps, since two may be of the same second.
Changed() {
    local file=$1 old=$before/${1##*/} differences
    differences=$(diff -U1 "$old" "$file" | tail -n +3) || true
    echo "   changed in $file:"
    sed -E 's/^@@.*/.../' <<<"${differences:-nothing}" | Indented
    differences=$(diff -U0 <(WithoutClock "$old") <(WithoutClock "$file")) || true
    diff <(sed -n '1,2d; /^[-+]/p' <<<"$differences") - || Fail "$file changed in another way"
    Remember "$file"
}
Unchanged() { Changed "$1" </dev/null; }
Remember() { cp "$1" "$before/"; }
WithoutClock() {
    sed -E 's/^(registration_date=)[0-9/]{10}$/\1DATE/; s/^(registration_time=)[0-9:]{8}$/\1TIME/' "$1"
}

