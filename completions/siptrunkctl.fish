# Completion of siptrunkctl for fish.

# COMMAND:WORDS:OPTIONS, the options of every command first.
set -g __siptrunkctl_table (string trim '
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
' | string split \n)

# Prints the rows of the table that belong to a command.
function __siptrunkctl_row
    for row in $__siptrunkctl_table
        test (string split -f1 : -- $row) = "$argv[1]"; and echo $row
    end
end

# Prints the names of the trunks of a kind.
function __siptrunkctl_names
    siptrunkctl $__siptrunkctl_directory list --names --type $argv[1] 2>/dev/null
end

# Prints the values of an option.
function __siptrunkctl_value
    switch $argv[1]
        case -C --config-dir
            __fish_complete_directories $argv[2]
        case --color
            printf '%s\n' auto always never
        case --type
            printf '%s\n' master slave all
        case --edit
            __siptrunkctl_names all
        case --log --password-file
            __fish_complete_path $argv[2]
    end
end

# Prints what a word of a usage line stands for.
function __siptrunkctl_word
    switch $argv[2]
        case NAME OLD '[NAME]'
            switch $argv[1]
                case add check
                case activate deactivate params snapshot
                    __siptrunkctl_names master
                case '*'
                    __siptrunkctl_names all
            end
        case '*KEY=VALUE*'
            printf '%s\n' type=master type=slave user= ip= port= registration=on registration=off \
                sym_nat=on sym_nat=off
        case 'SWITCH=*'
            printf '%s\n' master=on master=off slave=on slave=off
        case '[on|off]'
            printf '%s\n' on off
        case FILE '[FILE]'
            __fish_complete_path $argv[3]
    end
end

function __siptrunkctl_complete
    set -l words (commandline -opc)
    # as typed, but for quotes and backslashes
    set -l current (commandline -ct | string replace -ra '[\\\\\'"]' '')
    set -g __siptrunkctl_directory
    set -l given
    set -l option
    for word in $words[2..-1]
        if test -n "$option"
            if contains -- $option -C --config-dir
                set -g __siptrunkctl_directory -C (string replace -r '^~(?=/)' $HOME -- $word)
            end
            set option
            continue
        end
        switch $word
            case -C --config-dir --color --log --wait --type --user --edit --password-file
                set option $word
            case '--config-dir=*'
                set -g __siptrunkctl_directory -C (string replace -r '^[^=]*=' '' -- $word)
            case '-*'
            case '*'
                set -a given $word
        end
    end
    if test -n "$option"
        __siptrunkctl_value $option $current
        return
    end

    set -l command $given[1]
    set -l row (__siptrunkctl_row "$given[1] $given[2]")
    if test -n "$row"
        set command "$given[1] $given[2]"
        set given $given[3..-1]
    else
        set row (__siptrunkctl_row "$given[1]")
        set given $given[2..-1]
    end
    if string match -q -- '--*=*' $current
        set option (string split -m 1 = -- $current)
        string replace -r -- '^' "$option[1]=" (__siptrunkctl_value $option[1] $option[2])
    else if string match -q -- '-*' $current
        string split ' ' -- (string split -f3 : -- $__siptrunkctl_table[1] $row)
    else if test -z "$command"
        string split -f1 : -- $__siptrunkctl_table[2..-1] | string split -f1 ' ' | sort -u
    else
        if test (count $given) = 0
            string split -f1 : -- $__siptrunkctl_table | string replace -f -r "^$command " ''
        end
        set -l usage (string split -n ' ' -- (string split -f2 : -- $row))
        set -l place (math (count $given) + 1)
        if test $place -gt (count $usage); and string match -q '*...*' -- $usage[-1]
            set place (count $usage)
        end
        if test $place -le (count $usage)
            __siptrunkctl_word $command $usage[$place] $current
        end
    end
end

complete -c siptrunkctl -f -a '(__siptrunkctl_complete)'
