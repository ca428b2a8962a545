# Completion of bankimg-map for bash: options, "0" and "1" after -g; files, where nothing is offered
# here, come from readline.
# shellcheck shell=bash

_bankimg_map() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # The last letter of a group decides what follows it, unless the argument is attached.
    if [[ $previous =~ ^-[bhlnpPvwz]*g$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "0 1" -- "$word")
    elif [[ $word == -* && ! $previous =~ ^-[bhlnpPvwz]*[cCx]$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-b -c -C -g -h -l -n -p -P -v -w -x -z" -- "$word")
    fi
}
complete -o default -F _bankimg_map bankimg-map
