# Saves that are cut off, and what must be true after each. Sourced by script/device after
# machine.sh. The program device_saves reports its saves by their numbers; what it finds at its next
# start must be the last one answered, or the one that was then in flight.

# Makes a first save, which nothing cuts off, and begins to count.
Begin() {
    Run "$work/first.log" "on $1 device_saves library 1 1 && sync"
    next=2 begun=1 answered=1      # numbers of saves
    saves=0 cutOff=0 inPlace=0     # saves answered; cut off; of these, found in place
    met=0                          # files that a cut left beside the database until the next save
    torn=0 lost=0 left=0           # what must not be
}

NoteFound() {
    local found=$1
    case $found in
        torn) torn=$((torn + 1)) found=0 ;;
        nothing) lost=$((lost + 1)) found=0 ;;
        "$answered") ;;
        "$begun") inPlace=$((inPlace + 1)) ;;
        *) lost=$((lost + 1)) ;;
    esac
    begun=$found answered=$found
}

# Counts the line that was heard.
Note() {
    local value=${line##* }
    case ${line% *} in
        found) NoteFound "$value" ;;
        met) met=$((met + value)) ;;
        begin) begun=$value next=$((value + 1)) ;;
        answered) answered=$value saves=$((saves + 1)) ;;
        left) left=$((left + value)) ;;
        *) Fail "the machine says \"$line\"; see $work/report.log" ;;
    esac
}

NoteToEnd() {
    while Hear && [[ $line != "end "* ]]; do
        Note
    done
    [[ $line == "end 0" ]] || Fail "the machine says \"$line\"; see $work/report.log"
}

Counts() {
    echo "$saves saves answered, $cutOff cut off ($inPlace of them in place, $met leftovers" \
        "met); $torn torn, $lost lost, $left left over"
}

CheckCounts() {
    ((saves > 0 && torn + lost + left == 0)) || Fail "$1: $(Counts); see $work/report.log"
}

# Kills the saving process, so many times.
KillProcesses() {
    local kind=$1 times=$2
    Begin "$kind"
    for ((; times > 0; --times)); do
        Tell on "$kind" killed "$next" $((RANDOM % 20)) $((RANDOM % 30000))
        NoteToEnd
        cutOff=$((cutOff + (begun != answered)))
    done
    Tell on "$kind" device_saves library "$next" 1
    NoteToEnd
    CheckCounts "killed processes on $kind"
}

# From power on to power off: the file is looked at, one save after the other is made, and the power
# is cut after a random number of lines and some milliseconds; at times that is during the mount.
OneLife() {
    local kind=$1 how=$2 lines=$((RANDOM % 30)) pause
    Resume
    Tell on "$kind" device_saves "$how" "$next"
    for ((; lines > 0; --lines)); do
        Hear || Fail "the machine is silent; see $work/console"
        Note
    done
    printf -v pause '0.%03d' $((RANDOM % 30))
    sleep "$pause"
    Cut
    while Hear 0.05; do
        Note
    done
    cutOff=$((cutOff + (begun != answered)))
}

# Cuts the power so many times while the library saves, or a naive program.
CutPower() {
    local kind=$1 times=$2 how=$3
    Resume
    Begin "$kind"
    Cut
    for ((; times > 0; --times)); do
        OneLife "$kind" "$how"
    done
    Resume
    Tell on "$kind" device_saves "$how" "$next" 1
    NoteToEnd
    Cut
}
