# Sourced by every script: its place and name, its help, its end, and what several of them do.

unset CDPATH # with it cd may go elsewhere, and says where it went
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
script=$(cd "$(dirname "$0")" && pwd)/${0##*/}
script=${script#"$root"/} # as the documents name it

# What takes long to fetch or to make stays here. A user may have no home folder.
cache=${XDG_CACHE_HOME:-${HOME:-}/.cache}/brellix
arm64_sysroot=$cache/arm64-sysroot # where cmake/toolchains/aarch64-linux-gnu.cmake looks, too

# Says what the comment at the script's head says, and ends it.
usage() {
    sed -n '2,${/^#/!q; s/^# \{0,1\}//p}' "$0"
    exit 0
}

fail() {
    echo "$script: $*" >&2
    exit 2
}

step() { printf '\n== %s\n' "$*"; }

# Sets as_root to what a command begins with that needs root. False where this user may not become root.
find_root() {
    as_root=()
    [ "$(id -u)" -eq 0 ] && return
    as_root=(sudo)
    command -v sudo >/dev/null
}

# BRELLIX_NETWORKS as every process finds it, from wherever that looks.
resolve_networks() {
    local networks=${BRELLIX_NETWORKS:-}
    [ -n "$networks" ] || return 0
    BRELLIX_NETWORKS=$(realpath -e -- "$networks") && [ -d "$BRELLIX_NETWORKS" ] ||
        fail "BRELLIX_NETWORKS is '$networks', expected a folder of networks: correct it, or unset it"
    export BRELLIX_NETWORKS
}

# require_own FOLDER STAMP: a folder that the script may make anew is missing, empty, or has its stamp.
require_own() {
    [ ! -e "$1" ] || [ -f "$1/$2" ] || [ -z "$(ls -A "$1")" ] ||
        fail "'$1' holds something else: name a new or an empty folder"
}
