# Completion of bankimg for bash: options, "0" and "1" after -g, files elsewhere.
# shellcheck shell=bash

_bankimg() {
    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    # The last letter of a group of options decides what follows it: "-zc" takes a file.
    case $previous in
        -*g) mapfile -t COMPREPLY < <(compgen -W "0 1" -- "$word"); return ;;
        -*[cC]) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "-b -c -C -g -h -n -p -P -v -w -z" -- "$word")
    else
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -F _bankimg bankimg
