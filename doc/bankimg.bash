# Completion of the four programs for bash: options, the command of bankimg-check, and numbers after
# -g and -w. Where it offers nothing, readline completes file names.
# shellcheck shell=bash disable=SC2207 # no word has a blank

_bankimg() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} program=${1##*/} each
    if [[ $program == bankimg-check ]]; then # after the command, its options count
        for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
            if [[ ${each##*/} == bankimg?(-map) ]]; then program=${each##*/}; fi
        done
    fi
    local plain=bhnpPvwz with_argument=cCg numbers="0 1" number_after=g
    case $program in
        bankimg-map) plain+=l with_argument+=ox ;;
        bankimg-check) plain=ahqu with_argument=m ;;
        bankimg-words) plain=h with_argument=aceflnw numbers="8 16 32 64 128" number_after=w ;;
    esac
    COMPREPLY=()
    # The last letter of a group decides what follows it, unless the argument is attached.
    if [[ $previous =~ ^-[$plain]*$number_after$ ]]; then
        COMPREPLY=($(compgen -W "$numbers" -- "$word"))
    elif [[ $previous =~ ^-[$plain]*[$with_argument]$ ]]; then
        return
    elif [[ $word == -* ]]; then
        local options
        options=$(fold -w 1 <<<"$plain$with_argument" | sed 's/^/-/')
        COMPREPLY=($(compgen -W "$options" -- "$word"))
    elif [[ $program == bankimg-check ]]; then
        COMPREPLY=($(compgen -W "bankimg bankimg-map" -- "$word"))
    fi
}
complete -o default -F _bankimg bankimg bankimg-map bankimg-check bankimg-words
