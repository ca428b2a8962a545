# shellcheck shell=sh
# Shared by the scripts in this directory and .ci/run: sourced, not run. Answers --help with the
# comment at the top of the script, moves to the top of the sources, and offers `say`, `need` and
# `build_preset`.
set -eu
if [ "${1:-}" = --help ]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit
fi
cd "$(dirname "$0")/.."

say() { printf '%s: %s\n' "$(basename "$0")" "$*"; }

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

is_installed() {
    dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q 'ok installed'
}

# need PACKAGE...: installs the Debian packages among them that are missing.
need() {
    if ! command -v apt-get >/dev/null; then
        say "no apt-get: assuming that these are installed: $*"
        return
    fi
    missing=
    for package in "$@"; do
        is_installed "$package" || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    say "installing$missing"
    as_root apt-get update -qq
    # shellcheck disable=SC2086 # a list of names
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends \
        $missing >/dev/null
}

# build_preset PRESET [CMAKE OPTION...]: configures and builds quietly, but shows the log of a
# failure.
build_preset() {
    preset=$1
    shift
    say "building build/$preset"
    mkdir -p build
    if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset" -j "$(nproc)"; } \
        >"build/$preset.log" 2>&1; then
        cat "build/$preset.log"
        exit 1
    fi
}
