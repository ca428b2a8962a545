# shellcheck shell=sh
# Shared by the tests beside it: sourced, with the built program as $1, in a new directory.
set -eu
top=$(cd "$(dirname "$0")/../.." && pwd)
PATH=$top/tools:$(dirname "$(realpath "$1")"):$PATH
firmware=$top/examples/firmware.elf
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
ulimit -f 20480 # 10 MiB: what goes wrong must not fill the disk
mkdir "$directory/bin" "$directory/run"
cd "$directory/run"

fail() { echo "FAIL: $*"; exit 1; }

# variant FILE OPTION...: the firmware as changed by objcopy.
variant() {
    file=$1 && shift
    objcopy -I elf32-little "$@" "$firmware" "$file" 2>"$directory/log" ||
        fail "$(cat "$directory/log")"
}

# patch FILE OFFSET BYTES: the firmware with these bytes, as printf's %b has them.
patch() {
    cp "$firmware" "$1"
    printf '%b' "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc 2>/dev/null
}

# each_awk COMMAND...: runs the command for every awk that is installed, which `tool` takes then.
each_awk() {
    for awk in awk mawk 'gawk --posix' 'busybox awk' original-awk; do
        program=$(command -v "${awk%% *}") || continue
        printf '#!/bin/sh\nexec %s%s "$@"\n' "$program" "${awk#"${awk%% *}"}" >"$directory/bin/awk"
        chmod +x "$directory/bin/awk"
        "$@"
    done
    rm "$directory/bin/awk"
}

# tool NAME ARGUMENT...: one of the tools, with the awk of each_awk; with busybox awk, in its sh.
tool() (
    name=$1 sh=sh
    shift
    case ${awk:-} in busybox*) sh="busybox sh" ;; esac
    # shellcheck disable=SC2086 # a command and its argument
    PATH=$directory/bin:$PATH exec $sh "$top/tools/$name" "$@"
)
