# A small root of its own for each test: bash, the text tools, the scripts, and nothing else of this machine.
#
# setup_file calls make_base once; setup calls make_root, which fills ROOT with hard links to the base's tools
# and with /etc, /run/lock and so on of its own. "inside CMD" runs CMD there with an empty environment.

REPO=$(cd "${BASH_SOURCE[0]%/*}/../.." && pwd)
SCRIPTS_SOURCE=$REPO/scripts
CONF=/etc/velomux.conf
# shellcheck source=../../simhost/lib/base.sh
. "$REPO/simhost/lib/base.sh"
# shellcheck disable=SC2034 # makeBase reads it
# What a script may rely on, and nothing more: coreutils, grep, sed, awk and flock.
BASE_TOOLS=(awk bash cat chmod cp cut date dd dirname env flock grep head ln ls mkdir mv printf readlink rm rmdir
    sed sleep sort stat sync tail timeout touch tr true uname wc)

# copy_program PROGRAM ROOT [NAME]: one program of this machine, with the libraries that it loads.
copy_program() {
    cp -L "$(type -P "$1")" "$2/usr/bin/${3:-$1}"
    addLibraries "$2" "$2/usr/bin/${3:-$1}"
}

make_base() {
    ((EUID == 0)) || skip "a root of one's own needs chroot, and that needs root"
    export BASE=$BATS_FILE_TMPDIR/base
    makeBase "$BASE"
}

make_root() {
    ROOT=$BATS_TEST_TMPDIR/root
    cp -al "$BASE" "$ROOT"
    mkdir -p "$ROOT"/{etc,dev,run/lock,var/lock}
    cp -r "$SCRIPTS_SOURCE" "$ROOT/usr/bin/dravik-script"
    mknod -m 666 "$ROOT/dev/null" c 1 3 2>/dev/null || : >"$ROOT/dev/null"
}

# inside CMD ARGS: the command in ROOT, its standard error mixed into its output as the programs do it.
inside() {
    env -i PATH=/usr/sbin:/usr/bin chroot "$ROOT" "$@" 2>&1
}

# script NAME ARGS: runs one helper script the way the programs run it.
script() {
    local name=$1
    shift
    inside bash "/usr/bin/dravik-script/$name.sh" "$@"
}

# stand_in NAME: a tool of the stack made from standard input, in /usr/sbin.
stand_in() {
    cat >"$ROOT/usr/sbin/$1"
    chmod 755 "$ROOT/usr/sbin/$1"
}

# conf: gives ROOT's configuration file the text from standard input.
conf() {
    cat >"$ROOT$CONF"
}

# same_file EXPECTED ACTUAL: byte for byte; shows the difference when there is one.
same_file() {
    cmp -s "$1" "$2" || {
        diff -u "$1" "$2" | cat -A
        return 1
    }
}

# answers STATUS TEXT: what the last "run" must have returned, whole.
answers() {
    [[ $status == "$1" && $output == "$2" ]] || {
        printf 'expected %s: %s\ngot      %s: %s\n' "$1" "$2" "$status" "$output"
        return 1
    }
}
