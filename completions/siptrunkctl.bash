# Completion of siptrunkctl for bash. The tool itself tells what may stand at the cursor.
_siptrunkctl() {
    local text what
    COMPREPLY=()
    while IFS=$'\t' read -r text what; do
        case $text in
            :files) compopt -o default ;;
            :folders) compopt -o dirnames ;;
            *) COMPREPLY+=("$text") ;;
        esac
        [[ $text != *= ]] || compopt -o nospace
    done < <(siptrunkctl __complete bash "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
}

complete -F _siptrunkctl siptrunkctl
