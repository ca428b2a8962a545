# Completion of bankimg-words for bash: options, widths after -w; files, where nothing is offered
# here, come from readline.
# shellcheck shell=bash

_bankimg_words() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [[ $previous == -w ]]; then
        mapfile -t COMPREPLY < <(compgen -W "8 16 32 64 128" -- "$word")
    elif [[ $word == -* && $previous != -[lanf] ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-a -f -h -l -n -w" -- "$word")
    fi
}
complete -o default -F _bankimg_words bankimg-words
