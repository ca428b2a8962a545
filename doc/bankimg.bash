# Completion of bankimg for bash: options, "0" and "1" after -g; files, where nothing is offered
# here, come from readline.
# shellcheck shell=bash

_bankimg() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # The last letter of a group decides what follows it, unless the argument is attached.
    if [[ $previous =~ ^-[bhnpPvwz]*g$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "0 1" -- "$word")
    elif [[ $word == -* && ! $previous =~ ^-[bhnpPvwz]*[cC]$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-b -c -C -g -h -n -p -P -v -w -z" -- "$word")
    fi
}
complete -o default -F _bankimg bankimg
