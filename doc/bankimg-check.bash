# Completion of bankimg-check for bash: options, "0" and "1" after -g; files, where nothing is
# offered here, come from readline.
# shellcheck shell=bash

_bankimg_check() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    # The last letter of a group decides what follows it, unless the argument is attached.
    if [[ $previous =~ ^-[abhlnpPuvwz]*g$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "0 1" -- "$word")
    elif [[ $word == -* && ! $previous =~ ^-[abhlnpPuvwz]*[cCmx]$ ]]; then
        mapfile -t COMPREPLY < <(
            compgen -W "-a -b -c -C -g -h -l -m -n -p -P -u -v -w -x -z" -- "$word"
        )
    fi
}
complete -o default -F _bankimg_check bankimg-check
