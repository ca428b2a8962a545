# Completion of bankimg and the programs beside it for bash: options, and numbers after -g and -w;
# files, where nothing is offered here, come from readline.
# shellcheck shell=bash

_bankimg() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local plain=bhnpPvwz with_argument=cCg numbers="0 1" number_after=g
    case ${1##*/} in
        bankimg-map) plain+=l with_argument+=x ;;
        bankimg-check) plain+=alu with_argument+=mx ;;
        bankimg-words) plain=h with_argument=aflnw numbers="8 16 32 64 128" number_after=w ;;
    esac
    COMPREPLY=()
    # The last letter of a group decides what follows it, unless the argument is attached.
    if [[ $previous =~ ^-[$plain]*$number_after$ ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$numbers" -- "$word")
    elif [[ $word == -* && ! $previous =~ ^-[$plain]*[$with_argument]$ ]]; then
        local options
        options=$(fold -w 1 <<<"$plain$with_argument" | sed 's/^/-/')
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    fi
}
complete -o default -F _bankimg bankimg bankimg-map bankimg-check bankimg-words
