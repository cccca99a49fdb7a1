#!/usr/bin/env bats
# A change for which there is no space, however little is missing, leaves the file as it was and says so.

load ../support/small_root

MESSAGE="cannot write $CONF (is the disk full or read-only?); it is left as it was"
SET=(/usr/bin/dravik-script/alias.sh set 36001 data1)

setup_file() { make_base; }

setup() {
    make_root
    stand_in velomux <<<'#!/bin/bash'
    OLD=$BATS_TEST_TMPDIR/old NEW=$BATS_TEST_TMPDIR/new
    seq -f '# line %g of a file that fills more than one page of the disk' 150 | tee "$OLD" | conf
    script alias set 36001 data1
    cp "$ROOT$CONF" "$NEW"
    cp "$OLD" "$ROOT$CONF"
}

# judge WHERE: the change has failed and the file is the old one, or it has succeeded and the file is the new one;
# nothing else is in its folder. Counts which.
judge() {
    printf '%s: %s: %s\n' "$1" "$status" "$output"
    if ((status == 0)); then
        ((++CHANGED))
        [[ -z $output ]]
        same_file "$NEW" "$ROOT$CONF"
    else
        ((++REFUSED))
        # In front of it stands what the tool said that failed.
        [[ $status == 1 && $output =~ (^|$'\n')"alias.sh: $MESSAGE"$ ]]
        same_file "$OLD" "$ROOT$CONF"
    fi
    [[ $(ls -A "$ROOT/etc") == velomux.conf ]]
}

# with_limit BYTES COMMAND...: no file may become larger than that, whatever writes it.
with_limit() {
    type -P prlimit >/dev/null || skip "prlimit is not installed"
    PATH=/usr/sbin:/usr/bin run env -i PATH=/usr/sbin:/usr/bin prlimit --fsize="$1" chroot "$ROOT" "${@:2}"
}

@test "a limit of the file's size, at any byte, leaves the old file or the new one" {
    local bytes size
    size=$(wc -c <"$NEW")
    CHANGED=0 REFUSED=0
    for bytes in $(seq 0 389 "$((size - 120))") $(seq "$((size - 119))" 7 "$size") "$((size - 1))" "$size"; do
        cp "$OLD" "$ROOT$CONF"
        with_limit "$bytes" "${SET[@]}"
        judge "$bytes bytes"
    done
    echo "changed: $CHANGED, refused: $REFUSED"
    ((CHANGED >= 1 && REFUSED > 30))
}

@test "where there is no file yet, a limit of the file's size leaves none or the new one" {
    local bytes
    for ((bytes = 0; bytes <= 130; bytes += 3)); do
        rm -f "$ROOT$CONF"
        with_limit "$bytes" "${SET[@]}"
        [[ $status == 0 || $output == *"alias.sh: $MESSAGE" ]]
        if ((status == 0)); then
            [[ $(<"$ROOT$CONF") == multipaths*alias*data1*'}' ]]
        else
            [[ -z $(ls -A "$ROOT/etc") ]]
        fi
    done
    ((status == 0))
}

# on_disk OPTIONS COMMAND: the edit with /etc on a disk of its own, which holds the old file, in a mount namespace;
# COMMAND is run there before it. Fills what judge looks at.
on_disk() {
    unshare -m true 2>/dev/null || skip "no mount namespace can be made"
    # shellcheck disable=SC2016 # run by the shell inside
    PATH=/usr/sbin:/usr/bin run unshare -m bash -c '
        root=$1 old=$2 options=$3 command=$4
        shift 4
        mount -t tmpfs -o "$options" disk "$root/mnt"
        cp "$old" "$root/mnt/velomux.conf"
        mount --move "$root/mnt" "$root/etc"
        eval "$command"
        status=0
        env -i PATH=/usr/sbin:/usr/bin chroot "$root" "$@" 2>&1 || status=$?
        rm -rf "$root/after"
        cp -a "$root/etc" "$root/after"
        exit "$status"' on_disk "$ROOT" "$OLD" "$1" "$2" "${SET[@]}"
    rm -rf "${ROOT:?}/etc"
    mv "$ROOT/after" "$ROOT/etc"
}

@test "a disk with any number of free pages leaves the old file or the new one" {
    local pages
    mkdir "$ROOT/mnt"
    CHANGED=0 REFUSED=0
    for pages in {0..6}; do
        on_disk "size=$((12288 + pages * 4096))" ''
        judge "$pages pages"
    done
    echo "changed: $CHANGED, refused: $REFUSED"
    ((CHANGED > 2 && REFUSED > 2))
}

@test "a disk without a free inode, or that is read-only, leaves the old file" {
    mkdir "$ROOT/mnt"
    CHANGED=0 REFUSED=0
    on_disk size=1m,nr_inodes=2 ''
    judge "no inode"
    # shellcheck disable=SC2016 # run by the shell inside
    on_disk size=1m 'mount -o remount,ro "$root/etc"'
    judge "read-only"
    ((CHANGED == 0 && REFUSED == 2))
}

@test "a backup of lvm.conf that was cut would replace none that is whole" {
    local bytes
    mkdir "$ROOT/etc/lvm"
    cp "$OLD" "$ROOT/etc/lvm/lvm.conf.dravik.bk"
    { cat "$OLD" && echo 'multipath_component_detection = 0'; } >"$ROOT/etc/lvm/lvm.conf"
    cp "$ROOT/etc/lvm/lvm.conf" "$BATS_TEST_TMPDIR/lvm"
    for bytes in 0 1 4096 5000 9000; do
        with_limit "$bytes" /usr/bin/dravik-script/checklvm.sh
        [[ $status == 1 ]]
        [[ $output == *"checklvm.sh: cannot write /etc/lvm/lvm.conf.dravik.bk (is the disk full or read-only?); it is left as it was" ]]
        same_file "$OLD" "$ROOT/etc/lvm/lvm.conf.dravik.bk"
        same_file "$BATS_TEST_TMPDIR/lvm" "$ROOT/etc/lvm/lvm.conf"
        [[ $(ls -A "$ROOT/etc/lvm") == $'lvm.conf\nlvm.conf.dravik.bk' ]]
    done
    with_limit unlimited /usr/bin/dravik-script/checklvm.sh
    [[ $status == 0 ]]
    same_file "$BATS_TEST_TMPDIR/lvm" "$ROOT/etc/lvm/lvm.conf.dravik.bk"
    [[ $(stat -c '%a %u' "$ROOT/etc/lvm/lvm.conf.dravik.bk") == "600 0" ]]
}
