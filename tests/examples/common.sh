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

# refused WHAT COMMAND...: whether the command fails and says WHAT.
refused() {
    what=$1
    shift
    if "$@" >"$directory/log" 2>&1 || ! grep -e "$what" "$directory/log"; then
        cat "$directory/log"
        fail "must fail with \"$what\": $*"
    fi
}

# block DOCUMENT LINE [N]: the first or N-th block of code after the line that ends with LINE.
block() {
    awk -v line="$2" -v n="${3:-1}" '
        substr($0, length($0) - length(line) + 1) == line { found = 1 }
        found && /^```/ { fences++; next }
        fences == 2 * n - 1
        END { exit fences < 2 * n }' "$top/$1" || fail "no block: $*" >&2
}

# recipe HEADING N: the N-th block of code under the heading in doc/recipes.md.
recipe() { block doc/recipes.md "## $1" "$2"; }

# run HEADING N: runs the commands of the recipe.
run() {
    recipe "$@" >commands
    cat commands
    sh -eu commands >log 2>&1 || fail "$(cat log)"
}

# words_of FILE: the words of its bytes, one a line.
words_of() { od -An -v -tx4 -w4 "$1" | tr -d ' '; }

# rom: makes fw.elf, whose bank rom.dat holds two sections with a gap between them. The bytes and
# words of the image are in image_bytes and image_words, those of the whole bank in bytes and words.
rom() {
    cp "$examples/banks.cfg" .
    objcopy -I elf32-little --change-section-address .data=0x18440800 \
        "$examples/firmware.elf" fw.elf
    objcopy -I elf32-little -O binary -j .text -j .data fw.elf image_bytes
    truncate -s %16 image_bytes
    cp image_bytes bytes
    truncate -s 16384 bytes
    words_of image_bytes >image_words
    words_of bytes >words
}

# load MEMORY <VERILOG: simulates the lines, and writes what their memory then holds to dump.hex.
load() {
    { echo "module load;" && cat && echo "initial #1 \$writememh(\"dump.hex\", $1);" &&
        echo "endmodule"; } >load.sv
    iverilog -g2012 -o load load.sv
    vvp -n load
}

installed() {
    for program; do command -v "$program" >log || { echo "skipped: no $program"; return 1; }; done
}
