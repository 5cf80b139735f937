#!/usr/bin/env bash
# The two agents in examples/ build against the installed library and do their work.
# usage: examples_test.sh SOURCE_FOLDER BUILD_FOLDER CXX_COMPILER [EMULATOR [ARGUMENT...]]
set -euo pipefail

source=$1 build=$2 compiler=$3
emulator=("${@:4}")
source "$(dirname "$0")/consumer/checks.sh"

InstallForPrograms "$build"

cd "$work"
read -ra flags <<<"$(pkg-config --cflags --libs raiklaik)"
for agent in slave_agent master_agent; do
    "$compiler" "${strict[@]}" "$source/examples/$agent.cpp" -o "$agent" "${flags[@]}"
done

mkdir -p device/telephony
database=device/telephony/siptrunkdb
export QORV_PATH=$work/device/

# WriteDatabase MASTER_SWITCH SLAVE_SWITCH
WriteDatabase() {
    cat >"$database" <<END
section {
siptrunk_master_enabled=$1
siptrunk_slave_enabled=$2
}
section {
trunk_name=head office
trunk_type=1
user_name=branch7
password=4pples
master_ip=192.0.2.10
master_port=5060
registration_status=1
registration_date=D1
registration_time=T1
}
section {
trunk_name=warehouse
trunk_type=0
user_name=wh
password=f0rklift
sym_nat=0
slave_ip=192.0.2.77
slave_port=5062
registration_date=D2
registration_time=T2
}
section {
trunk_name=yard
trunk_type=0
user_name=yd
password=g4te
sym_nat=0
slave_ip=
}
END
}

# Runs an agent on the messages that standard input holds; shows what it prints, tabs as blanks, and
# then how the database has changed, with stamps of now as DATE and TIME.
Story() {
    cp "$database" before
    LD_LIBRARY_PATH=$libraries "${emulator[@]}" "./$1" agent.log 2>&1 | tr '\t' ' ' || return
    diff before "$database" | grep '^[<>]' |
        sed -E 's/(_date=)[0-9/]{10}$/\1DATE/; s/(_time=)[0-9:]{8}$/\1TIME/' || true
}
# Expect AGENT: its story, on these messages, is the text on descriptor 3.
Expect() {
    Story "$1" >story || Fail "$1 failed: $(cat story)"
    diff -u /dev/fd/3 story || Fail "$1 has another story, see above"
}

WriteDatabase 0 1
printf '%s\n' $'up\thead office' $'edited\thead office' $'down\thead office' |
    Expect slave_agent 3<<'END'
register head office branch7 4pples 192.0.2.10 5060
unregister head office branch7 4pples 192.0.2.10 5060
register head office branch7 4pples 192.0.2.10 5060
< registration_date=D1
< registration_time=T1
> changed_user_name=branch7
> changed_password=4pples
> changed_master_ip=192.0.2.10
> changed_master_port=5060
END
grep -q 'Set active state trunk to master : head office$' agent.log || Fail "no progress in the log"

printf '%s\n' $'what\thead office' | Expect slave_agent 3<<'END'
register head office branch7 4pples 192.0.2.10 5060
slave_agent: message not understood: what
END

printf '' | Expect master_agent 3<<'END'
master_agent: the master agent is switched off
END

WriteDatabase 1 0
printf '' | Expect slave_agent 3<<'END'
slave_agent: the slave agent is switched off
END

printf '%s\n' $'register\tyd\t192.0.2.78\t5070' $'move\tyd\t192.0.2.79\t5071' $'refresh\twh' \
    $'register\tnobody\t192.0.2.1\t1' |
    Expect master_agent 3<<'END'
account wh f0rklift warehouse
account yd g4te yard
registered wh 192.0.2.77 5062
master_agent: no account of that user: nobody
< registration_date=D2
< registration_time=T2
> registration_date=DATE
> registration_time=TIME
< slave_ip=
> slave_ip=192.0.2.79
> slave_port=5071
> registration_date=DATE
> registration_time=TIME
END

printf '%s\n' $'unregister\tyd' $'what\tyd' |
    Expect master_agent 3<<'END'
account wh f0rklift warehouse
account yd g4te yard
registered wh 192.0.2.77 5062
registered yd 192.0.2.79 5071
master_agent: message not understood: what
< slave_ip=192.0.2.79
< slave_port=5071
< registration_date=DATE
< registration_time=TIME
END
