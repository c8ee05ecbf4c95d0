# Sourced by scripts that fetch Debian packages which this machine is not to install: lists, status and cache lie in a
# folder of the script's own, so the machine's package state stays as it is.

# The archives of Debian that this machine's apt is configured with, each once, as "URI SUITE" lines. Suites are called by
# their codenames: another name, stable, say, is another release's one day.
debian_archives() {
    local uri suite
    apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Created-By: Packages' 'Origin: Debian' 'Component: main' |
        while read -r uri suite; do
            echo "$(first_mirror "$uri") $suite"
        done | awk '!seen[$0]++'
}

# first_mirror URI: the archive itself, or the first one of a list in a file, which scratch systems do not have.
first_mirror() {
    case "$1" in
        mirror+file:*) awk '!/^[[:space:]]*(#|$)/ { print $1; exit }' "$(sed 's,^mirror+file:\(//\)\?,,; s,/$,,' <<<"$1")" ;;
        *) echo "$1" ;;
    esac
}

# The archives of another release of Debian, in the same form, from where this machine gets its own.
debian_archives_of() {
    debian_archives | sed "s/ $(. /etc/os-release && echo "$VERSION_CODENAME")\(-\|\$\)/ $1\1/"
}

debian_keyring=/usr/share/keyrings/debian-archive-keyring.gpg

# "URI SUITE" lines from standard input as lines of a sources.list.
apt_lines() { sed "s,.*,deb [signed-by=$debian_keyring] & main,"; }

# own_apt_setup FOLDER ARCH: reads "URI SUITE" lines from standard input and prepares FOLDER for own_apt.
own_apt_setup() {
    own_apt_folder=$1
    own_apt_arch=$2
    mkdir -p "$own_apt_folder/state/lists/partial" "$own_apt_folder/cache/archives/partial"
    : >"$own_apt_folder/state/status" # a file: apt puts its locks beside it
    local uri suite
    [ -f "$debian_keyring" ] || {
        echo "$debian_keyring is missing; scripts/install-packages debian-archive-keyring installs it" >&2
        return 1
    }
    while read -r uri suite; do
        printf 'Types: deb\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n\n' "$uri" "$suite" "$debian_keyring"
    done >"$own_apt_folder/debian.sources"
    [ -s "$own_apt_folder/debian.sources" ] || {
        echo "apt knows no Debian archive on this machine: run apt-get update first" >&2
        return 1
    }
}

# apt-get for the packages of the prepared folder. The status file is empty: to it, nothing is installed. It shows its
# progress on a terminal only.
own_apt() {
    local quiet=2
    [ ! -t 1 ] || quiet=0
    # The folder is this user's alone, so apt's own download user could not write there.
    apt-get -q="$quiet" -o APT::Architecture="$own_apt_arch" -o APT::Architectures="$own_apt_arch" \
        -o APT::Sandbox::User="$(id -un)" -o Acquire::Languages=none -o Acquire::Retries=3 \
        -o Dir::Etc::SourceList="$own_apt_folder/debian.sources" -o Dir::Etc::SourceParts=/dev/null \
        -o Dir::State="$own_apt_folder/state" -o Dir::State::status="$own_apt_folder/state/status" \
        -o Dir::Cache="$own_apt_folder/cache" "$@"
}
