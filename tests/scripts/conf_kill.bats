#!/usr/bin/env bats
# An edit that is killed at any of its system calls leaves the old file or the new one, and never a lock.
#
# strace delivers SIGKILL at the entry of a system call, named by its kind and its number among that kind. The
# shell is killed at every call from the taking of the lock to its end; then each tool that it runs, at every
# call of its own. KILL_EVERY=20 takes every twentieth call only, for a quick look.

load ../support/small_root

setup_file() { make_base; }

setup() {
    type -P strace >/dev/null || skip "strace is not installed"
    make_root
    stand_in velomux <<<'#!/bin/bash'
    printf '# head\nmultipaths {\n    multipath {\n        wwid 36001\n        alias one\n    }\n}\n# tail' | conf
    chmod 640 "$ROOT$CONF"
    cp -p "$ROOT$CONF" "$BATS_TEST_TMPDIR/old"
    script alias set 36001 two
    cp -p "$ROOT$CONF" "$BATS_TEST_TMPDIR/new"
    EDIT=(bash /usr/bin/dravik-script/alias.sh set 36001 two)
    TRACE=$BATS_TEST_TMPDIR/trace
    OLD=0 NEW=0 KILLED=0
}

# calls FIRST: the calls of TRACE from its line FIRST on, each as its kind and its number among that kind.
calls() {
    awk -v first="$1" -v every="${KILL_EVERY:-1}" '
        /^[a-z]/ { sub(/\(.*/, ""); n[$0]++; if (NR >= first && NR % every == 0) print $0, n[$0] }' "$TRACE"
}

# judge WHERE: the file is the old one or the new one, with its mode; counts which.
judge() {
    [[ $(stat -c %a "$ROOT$CONF") == 640 ]] || { echo "mode lost: $1"; return 1; }
    if cmp -s "$BATS_TEST_TMPDIR/old" "$ROOT$CONF"; then
        ((++OLD))
    elif cmp -s "$BATS_TEST_TMPDIR/new" "$ROOT$CONF"; then
        ((++NEW))
    else
        echo "neither old nor new: $1"
        cat -A "$ROOT$CONF"
        return 1
    fi
}

old_file() {
    cp -p "$BATS_TEST_TMPDIR/old" "$ROOT$CONF"
}

# Afterwards the next edit works as if nothing had been, and what the killed ones left is gone.
next_edit_works() {
    old_file
    run script alias set 36001 two
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/new" "$ROOT$CONF"
    [[ $(ls -A "$ROOT/etc") == velomux.conf ]]
}

@test "the shell killed at any system call leaves the old file or the new one" {
    local first kind number total=0
    old_file
    PATH=/usr/sbin:/usr/bin strace -qq -o "$TRACE" chroot "$ROOT" "${EDIT[@]}"
    same_file "$BATS_TEST_TMPDIR/new" "$ROOT$CONF"
    first=$(grep -n 'openat.*dravik-velomux.conf.lock' "$TRACE" | head -n 1 | cut -d: -f1)
    calls "$first" >"$BATS_TEST_TMPDIR/calls"
    while read -r kind number; do
        old_file
        run env PATH=/usr/sbin:/usr/bin strace -qq -o /dev/null -e "inject=$kind:signal=KILL:when=$number" \
            chroot "$ROOT" "${EDIT[@]}"
        judge "$kind $number"
        ((++total))
        ((status != 137)) || ((++KILLED))
    done <"$BATS_TEST_TMPDIR/calls"
    echo "calls: $total, killed: $KILLED, old: $OLD, new: $NEW"
    # When a child's end is noticed differs from run to run: a few runs make one call less and live.
    ((KILLED > total * 9 / 10 && OLD > 0 && NEW > 0))
    next_edit_works
}

# wrap TOOL: its KILL_TURN-th call in an edit, as /tmp/plan says, runs under strace.
wrap() {
    mv "$ROOT/usr/bin/$1" "$ROOT/usr/bin/$1.real"
    cat >"$ROOT/usr/bin/$1" <<E
#!/bin/bash
read -r turn options </tmp/plan
echo \$((turn - 1)) "\$options" >/tmp/plan
((turn == 1)) || exec /usr/bin/$1.real "\$@"
exec strace -qq \$options /usr/bin/$1.real "\$@"
E
    chmod 755 "$ROOT/usr/bin/$1"
}

# planned_edit TURN OPTIONS: one edit in which the wrapped tool's TURN-th call runs under strace with OPTIONS.
planned_edit() {
    old_file
    echo "$1 $2" >"$ROOT/tmp/plan"
    run inside "${EDIT[@]}"
}

@test "any tool killed at any system call leaves the old file or the new one" {
    local tool turn kind number total=0
    copy_program strace "$ROOT"
    for tool in awk cat chmod cp dd mv rm stat wc; do
        wrap "$tool"
        for ((turn = 1; turn < 10; turn++)); do
            rm -f "$ROOT/tmp/trace"
            planned_edit "$turn" "-o /tmp/trace"
            same_file "$BATS_TEST_TMPDIR/new" "$ROOT$CONF"
            [[ -e $ROOT/tmp/trace ]] || break
            TRACE=$ROOT/tmp/trace
            # The very first call is the start of the program under strace, which cannot be hit.
            calls 2 >"$BATS_TEST_TMPDIR/calls"
            while read -r kind number; do
                planned_edit "$turn" "-o /dev/null -e inject=$kind:signal=KILL:when=$number"
                judge "$tool $turn: $kind $number"
                ((++total))
                ((status == 0)) || ((++KILLED))
            done <"$BATS_TEST_TMPDIR/calls"
        done
        ((turn > 1 && turn < 10))
        mv "$ROOT/usr/bin/$tool.real" "$ROOT/usr/bin/$tool"
    done
    echo "calls: $total, edits that failed: $KILLED, old: $OLD, new: $NEW"
    ((KILLED > total * 9 / 10 && OLD > 0 && NEW > 0))
    next_edit_works
}
