# shellcheck shell=bash
# One exclusive lock per subject among all helper scripts of the host, held by one process at a time.
#
# Lock file: dravik-SUBJECT.lock in the first folder of LOCK_DIRS that serves, made when missing and never removed
# (removing a lock file that others wait on would hand the lock to two of them). The kernel gives the lock back when
# its holder dies. A shell can neither open a file without following a link nor without waiting for the other end of a
# FIFO. So only a folder serves that is ours and that nobody else may write to: what was found there stays what it is.
# What has the lock file's name and is no regular file of ours with this one name is not touched, and the next folder
# serves.
#
# Where the host has no flock command the lock is a symbolic link dravik-SUBJECT.pid whose text is the holder's process
# id; the link of a holder that is gone is cleared away by the next to come.

readonly LOCK_DIRS=(/run /var/run /var/lock)
LOCK_LINK=''

# lock_take SUBJECT SECONDS: waits at most SECONDS for the lock; fails with a message when it stays taken, or when no
# folder serves. Descriptor 9 is the lock's from here on.
lock_take() {
    local dir reasons=''
    # The last is made on a host that has none of them.
    [[ -d ${LOCK_DIRS[0]} || -d ${LOCK_DIRS[1]} || -d ${LOCK_DIRS[2]} ]] || mkdir -p -- "${LOCK_DIRS[2]}" || true
    for dir in "${LOCK_DIRS[@]}"; do
        if ! private_folder "$dir"; then
            REASON="$dir: no folder that is ours alone"
        elif have_tool flock; then
            ! lock_by_flock "$dir/dravik-$1.lock" "$2" || return 0
        else
            ! lock_by_link "$dir/dravik-$1.pid" "$2" || return 0
        fi
        reasons+=${reasons:+, }$REASON
    done
    fail "no lock can be taken ($reasons)"
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

# private_folder DIR: whether DIR, or the folder that it leads to, is ours and nobody else may write to it. A tool that
# dies ends the script, here as in own_file: it must not go to another place than the others.
private_folder() {
    local mode
    [[ -d $1 && -O $1 && -w $1 ]] || return 1
    mode=$(stat -L -c %a -- "$1") || fail "cannot look at $1"
    (((8#$mode & 8#22) == 0))
}

# lock_by_flock FILE SECONDS: fails, with the REASON, where FILE cannot be used.
lock_by_flock() {
    local file=$1 seconds=$2
    REASON="$file: no regular file of ours with one name"
    if [[ -e $file || -L $file ]]; then
        own_file "$file" || return 1
        # Who may read it may hold it.
        chmod 0600 "$file" || fail "cannot change $file"
    fi
    REASON="$file: cannot be made"
    # Appending changes nothing.
    (umask 077 && : >>"$file") 2>/dev/null && { exec 9>>"$file"; } 2>/dev/null || return 1
    flock -w "$seconds" 9 || fail "another process holds $file for $seconds seconds and more; try again later"
}

# lock_by_link LINK SECONDS: the same without the flock command.
lock_by_link() {
    local link=$1 seconds=$2 tries
    REASON="$link: no symbolic link"
    [[ -L $link || ! -e $link ]] || return 1
    for ((tries = 0; tries <= seconds * 5; tries++)); do
        if link_take "$link"; then
            LOCK_LINK=$link
            trap lock_release EXIT
            return
        fi
        sleep 0.2
    done
    fail "process $(readlink -- "$link" || echo unknown) holds $link for $seconds seconds and more; remove it if that is none of ours"
}

# link_take LINK: makes the link, or fails and takes away that of a holder who is gone. Only under a guard, a link of
# the same kind: without it two processes that both read the dead holder's number could remove each other's fresh link.
link_take() {
    local link=$1 holder
    # Making a symbolic link succeeds whole or finds one there: the file system decides who is first.
    if ln -sn -- "$$" "$link" 2>/dev/null; then
        return 0
    fi
    holder=$(readlink -- "$link" 2>/dev/null) || return 1
    if ! process_lives "$holder" && link_take "$link.guard"; then
        [[ $(readlink -- "$link" 2>/dev/null) != "$holder" ]] || rm -f -- "$link"
        rm -f -- "$link.guard"
    fi
    return 1
}

# process_lives PID: whether this is the number of a process, other than the script's own: that had it before.
process_lives() {
    [[ $1 =~ ^[1-9][0-9]*$ && $1 != "$$" ]] && kill -0 "$1" 2>/dev/null
}
