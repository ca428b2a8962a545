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
