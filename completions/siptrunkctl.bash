# Completion of siptrunkctl for bash.

# COMMAND:WORDS:OPTIONS, the options of every command first.
_siptrunkctl_table='
siptrunkctl::-h --help -C --config-dir --json -q --quiet --no-legend --color --show-secrets --log --wait --version
list::--type --active --names
show:NAME:
add:NAME KEY=VALUE...:--password-file --ask-password
modify:NAME [KEY=VALUE...]:--password-file --ask-password --reset-registration
rename:OLD NEW:
delete:NAME:
check:NAME:--user --edit
status:[NAME]:--type
activate:NAME:
deactivate:NAME:
unregister-all::
params:NAME:--saved
snapshot:NAME:
slave list::
slave register:USER IP PORT:
slave refresh:USER:
slave move:USER IP PORT:
slave unregister:USER:
accounts master::
accounts slave::--yes
agents::
agents set:SWITCH=on|off...:
service:[on|off]:
validate:[FILE]:
export::
import:FILE:--replace --dry-run
watch::
'

# Prints the row of a command.
_siptrunkctl_row() {
    local row
    while IFS= read -r row; do
        [[ $row != "$1:"* ]] || printf '%s\n' "$row"
    done <<<"$_siptrunkctl_table"
}

# Prints the first words of the commands, or what follows a group's name and a blank.
_siptrunkctl_commands() {
    local row
    while IFS= read -r row; do
        row=${row%%:*}
        if [[ -n $row && $row != siptrunkctl && $row == "$1"* ]]; then
            row=${row#"$1"}
            printf '%s\n' "${row%% *}"
        fi
    done <<<"$_siptrunkctl_table" | sort -u
}

# Prints what a typed word means: without its quotes and backslashes, and with the home folder.
_siptrunkctl_plain() {
    local word=$1
    case $word in
        [\'\"]*) word=${word#?} word=${word%"${1:0:1}"} ;;
        *) word=${word//\\/} word=${word/#~\//$HOME/} ;;
    esac
    printf '%s\n' "$word"
}

# Offers the names of the trunks, which may hold blanks.
_siptrunkctl_names() {
    local name typed
    typed=$(_siptrunkctl_plain "$cur")
    while IFS= read -r name; do
        if [[ $name != "$typed"* ]]; then
            continue
        elif [[ $cur != [\'\"]* ]]; then
            COMPREPLY+=("$(printf '%q' "$name")")
        elif [[ $name != *[\'\"\\\$\`!]* ]]; then
            COMPREPLY+=("$name") # as it is between the quotes
        fi
    done < <("$(_siptrunkctl_plain "${words[0]}")" "${directory[@]}" list --names --type "$1" 2>/dev/null)
}

_siptrunkctl_offer() {
    local word
    for word in $1; do
        [[ $word != "$cur"* ]] || COMPREPLY+=("$word")
    done
}

_siptrunkctl_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$(_siptrunkctl_plain "$cur")")
}

# Offers the values of an option.
_siptrunkctl_value() {
    case $1 in
        -C | --config-dir) _siptrunkctl_files -d ;;
        --color) _siptrunkctl_offer 'auto always never' ;;
        --type) _siptrunkctl_offer 'master slave all' ;;
        --edit) _siptrunkctl_names all ;;
        --log | --password-file) _siptrunkctl_files -f ;;
    esac
}

# Offers what a word of a usage line stands for.
_siptrunkctl_word() {
    case $2 in
        NAME | OLD | '[NAME]')
            case $1 in
                add | check) ;;
                activate | deactivate | params | snapshot) _siptrunkctl_names master ;;
                *) _siptrunkctl_names all ;;
            esac
            ;;
        *KEY=VALUE*)
            case $cur in
                type=*) _siptrunkctl_offer 'type=master type=slave' ;;
                registration=* | sym_nat=*) _siptrunkctl_offer "${cur%%=*}=on ${cur%%=*}=off" ;;
                *=*) ;;
                *)
                    compopt -o nospace 2>/dev/null
                    _siptrunkctl_offer 'type= user= ip= port= registration= sym_nat='
                    ;;
            esac
            ;;
        SWITCH=*) _siptrunkctl_offer 'master=on master=off slave=on slave=off' ;;
        '[on|off]') _siptrunkctl_offer 'on off' ;;
        FILE | '[FILE]') _siptrunkctl_files -f ;;
    esac
}

_siptrunkctl() {
    local cur words=() directory=() given=() command usage row i line rest
    # bash breaks words at "=" and ":", too; what no blank divides is one word here.
    line=${COMP_LINE:0:COMP_POINT}
    for ((i = 0; i <= COMP_CWORD; ++i)); do
        rest=${line#"${line%%[![:blank:]]*}"}
        ((i < COMP_CWORD)) && cur=${COMP_WORDS[i]} || cur=$rest
        if [[ $rest == "$line" && $i != 0 ]]; then
            words[-1]+=$cur
        else
            words+=("$cur")
        fi
        line=${rest#"$cur"}
    done
    cur=${words[-1]}
    COMPREPLY=()
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        case ${words[i]} in
            -C | --config-dir | --color | --log | --wait | --type | --user | --edit | --password-file)
                if ((i == ${#words[@]} - 2)); then
                    _siptrunkctl_value "${words[i]}"
                    return
                fi
                [[ ${words[i]} != -C && ${words[i]} != --config-dir ]] ||
                    directory=(-C "$(_siptrunkctl_plain "${words[i + 1]}")")
                ((++i))
                ;;
            --config-dir=*) directory=(-C "$(_siptrunkctl_plain "${words[i]#*=}")") ;;
            -*) ;;
            *) given+=("${words[i]}") ;;
        esac
    done

    command=${given[0]-}
    row=$(_siptrunkctl_row "${given[0]-} ${given[1]-}")
    if [[ -n ${given[1]-} && -n $row ]]; then
        command="${given[0]} ${given[1]}"
        given=("${given[@]:2}")
    else
        row=$(_siptrunkctl_row "$command")
        given=("${given[@]:1}")
    fi
    if [[ $cur == --*=* ]]; then
        row=${cur%%=*}
        cur=${cur#*=}
        _siptrunkctl_value "$row"
    elif [[ $cur == -* ]]; then
        _siptrunkctl_offer "$(_siptrunkctl_row siptrunkctl | cut -d: -f3) ${row##*:}"
    elif [[ -z $command ]]; then
        _siptrunkctl_offer "$(_siptrunkctl_commands '')"
    else
        ((${#given[@]} > 0)) || _siptrunkctl_offer "$(_siptrunkctl_commands "$command ")"
        row=${row#*:}
        IFS=' ' read -ra usage <<<"${row%%:*}"
        # The last word of a usage line may repeat.
        i=$((${#given[@]} < ${#usage[@]} ? ${#given[@]} : ${#usage[@]} - 1))
        if ((i >= 0)) && [[ $i == "${#given[@]}" || ${usage[i]} == *...* ]]; then
            _siptrunkctl_word "$command" "${usage[i]}"
        fi
    fi

    # What stands before a character at which readline breaks words stays where it is.
    local kept=${cur%"${cur##*[=:]}"}
    for i in "${!COMPREPLY[@]}"; do
        COMPREPLY[i]=${COMPREPLY[i]#"$kept"}
    done
}

complete -F _siptrunkctl siptrunkctl
