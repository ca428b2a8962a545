# shellcheck shell=sh
# Shared by the tests in this directory and tests/documents: sourced, with the built bankimg as $1.
# Makes a new directory the current one.
set -eu
top=$(cd "$(dirname "$0")" && while [ ! -e LICENSE ]; do cd ..; done && pwd)
examples=$top/examples
PATH=$(dirname "$(realpath "$1")"):$PATH
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
ulimit -f 204800 # 100 MiB: what goes wrong must not fill the disk
cd "$directory"

fail() { echo "FAIL: $*"; exit 1; }

# recipe HEADING N: the N-th block of code under the heading in doc/recipes.md.
recipe() {
    awk -v heading="## $1" -v n="$2" '/^## / { here = $0 == heading }
        here && /^```/ { fence++; next }
        here && fence == 2 * n - 1 { found = 1; print }
        END { exit !found }' "$top/doc/recipes.md" || fail "no recipe: $*"
}

# run HEADING N: runs the commands of the block.
run() {
    recipe "$@" >commands
    cat commands
    sh -eu commands >log 2>&1 || fail "$(cat log)"
}

# rom WORDS: makes fw.elf, whose bank rom.dat holds two sections with a gap between them, and files
# with the bytes of the bank up to the end of the image, and with this many words of it.
rom() {
    cp "$examples/banks.cfg" .
    objcopy -I elf32-little --change-section-address .data=0x18440800 \
        "$examples/firmware.elf" fw.elf
    objcopy -I elf32-little -O binary -j .text -j .data fw.elf sections
    dd if=sections bs=16 conv=sync of=bytes
    dd if=bytes bs=$((4 * $1)) conv=sync | od -An -v -tx4 -w4 | tr -d ' ' >words
} 2>log

installed() {
    for program; do command -v "$program" >log || { echo "skipped: no $program"; return 1; }; done
}
