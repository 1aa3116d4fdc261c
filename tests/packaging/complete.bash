# complete.bash FILE: for each line of standard input, what bash completes at its end, then a line with an "=".
source "$1"

complete_line() {
    local line=$1
    # Readline takes "=" as a word of its own.
    read -ra COMP_WORDS <<< "${line//=/ = }"
    [[ $line != *' ' ]] || COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    local current=${COMP_WORDS[COMP_CWORD]}
    [[ $current != '=' ]] || current=''
    _vantry vantry "$current" "${COMP_WORDS[COMP_CWORD - 1]}" 2> >(grep -v 'compopt: not currently executing' >&2)
    ((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}"
    echo =
}

while IFS= read -r line; do
    complete_line "$line"
done
