# Completion for bash: each tool says itself what may come next. Where it knows nothing, it is the name of a file.
_melvane_tools() {
    mapfile -t COMPREPLY < <("$1" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2> /dev/null)
}
complete -o default -F _melvane_tools ppsd ppsctl ppsfs mcusim mculink eqctl melvane-panel
