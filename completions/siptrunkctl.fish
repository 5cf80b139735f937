# Completion of siptrunkctl for fish. The tool itself tells what may stand at the cursor.
function __siptrunkctl_complete
    set -l words (commandline -opc)
    # as typed, but for quotation marks and backslashes
    set -l current (commandline -ct | string replace -ra '[\\\\\'"]' '')
    for line in (command siptrunkctl __complete words $words[2..-1] "$current" 2>/dev/null)
        switch $line
            case :files
                __fish_complete_path (string replace -r '^--[^=]*=' '' -- "$current")
            case :folders
                __fish_complete_directories (string replace -r '^--[^=]*=' '' -- "$current")
            case '*'
                printf '%s\n' $line
        end
    end
end

complete -c siptrunkctl -f -a '(__siptrunkctl_complete)'
