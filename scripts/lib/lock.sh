# shellcheck shell=bash
# One exclusive lock per subject among all helper scripts of the host, held by one process at a time.
#
# Lock file: LOCK_DIR/dravik-SUBJECT.lock, made when missing and never removed (removing a lock file that
# others wait on would hand the lock to two of them). The kernel gives the lock back when its holder dies.
# Where the host has no flock command the lock is a symbolic link dravik-SUBJECT.pid whose text is the
# holder's process id; the link of a holder that is gone is cleared away by the next to come.

LOCK_DIRS=(/run/lock /var/lock)
LOCK_LINK=''

# lock_take SUBJECT SECONDS: waits at most SECONDS for the lock; fails with a message when it stays taken.
# Descriptor 9 is the lock's from here on.
lock_take() {
    local dir
    for dir in "${LOCK_DIRS[@]}"; do
        [[ -d $dir && -w $dir ]] && break
    done
    [[ -d $dir ]] || mkdir -p -- "$dir" || fail "none of ${LOCK_DIRS[*]} can hold the lock file"
    if have_tool flock; then
        lock_by_flock "$dir/dravik-$1.lock" "$2"
    else
        lock_by_link "$dir/dravik-$1.pid" "$2"
    fi
}

# lock_release: gives the lock back before the end, for example before a tool runs that may start daemons,
# which would otherwise inherit it.
lock_release() {
    if [[ -n $LOCK_LINK ]]; then
        rm -f -- "$LOCK_LINK"
        LOCK_LINK=''
        trap - EXIT
    else
        exec 9>&-
    fi
}

lock_by_flock() {
    local file=$1 seconds=$2 mask
    # The folder may be open to every user: a planted link must not lead us to another file.
    [[ ! -L $file ]] || fail "$file is a symbolic link; remove it"
    mask=$(umask)
    umask 077
    # Appending neither empties nor changes whatever is there.
    exec 9>>"$file" || fail "cannot open the lock file $file"
    umask "$mask"
    flock -w "$seconds" 9 || fail "another process holds $file for $seconds seconds and more; try again later"
}

lock_by_link() {
    local link=$1 seconds=$2 holder tries
    for ((tries = 0; tries <= seconds * 5; tries++)); do
        # Making a symbolic link succeeds whole or finds one there: the file system decides who is first.
        if ln -s "$$" "$link" 2>/dev/null; then
            LOCK_LINK=$link
            trap lock_release EXIT
            return
        fi
        lock_clear_dead "$link"
        sleep 0.2
    done
    holder=$(readlink -- "$link") || holder=unknown
    fail "process $holder holds $link for $seconds seconds and more; remove it if that is none of ours"
}

# Takes away the link of a holder that is gone. Only under a guard: without it two processes that both read
# the dead holder's number could remove each other's fresh link.
lock_clear_dead() {
    local link=$1 holder
    holder=$(readlink -- "$link" 2>/dev/null) || return 0
    [[ $holder =~ ^[0-9]+$ ]] && kill -0 "$holder" 2>/dev/null && return 0
    mkdir -- "$link.guard" 2>/dev/null || return 0
    if [[ $(readlink -- "$link" 2>/dev/null) == "$holder" ]]; then
        rm -f -- "$link"
    fi
    rmdir -- "$link.guard"
}
