#!/usr/bin/env bats
# The lock of the helper scripts: bounded waiting, and the way without the flock command.

load ../support/small_root

setup_file() { make_base; }
setup() { make_root; }

# with_lock SECONDS COMMAND: what a script does that takes the lock and then runs COMMAND.
with_lock() {
    inside bash -c "set -euo pipefail; source /usr/bin/dravik-script/lib/base.sh
        source /usr/bin/dravik-script/lib/lock.sh; SCRIPT_NAME=script; lock_take test $1; $2"
}

# hold_lock: another process holds it until release_lock.
hold_lock() {
    with_lock 5 'echo $$ >/tmp/holder; while [[ -e /tmp/holder ]]; do sleep 0.1; done' &
    until [[ -s $ROOT/tmp/holder ]]; do sleep 0.05; done
}

release_lock() {
    rm "$ROOT/tmp/holder"
    wait
}

without_flock() { rm "$ROOT/usr/bin/flock"; }

@test "waiting for the lock ends with a message" {
    hold_lock
    run with_lock 1 'echo got it'
    answers 1 "script: another process holds /run/lock/dravik-test.lock for 1 seconds and more; try again later"
    release_lock
}

@test "a holder that was killed holds the lock no more" {
    hold_lock
    kill -9 "$(<"$ROOT/tmp/holder")"
    sleep 0.3 # the holder's own sleep still has the descriptor
    run with_lock 1 'echo got it'
    answers 0 "got it"
    release_lock
}

@test "the lock goes to the next one as soon as it is given back" {
    hold_lock
    (sleep 0.3; rm "$ROOT/tmp/holder") &
    run with_lock 5 'echo got it'
    answers 0 "got it"
    wait
}

@test "the lock file is for root only, and a link in its place is not followed" {
    with_lock 1 true
    [[ $(stat -c %a "$ROOT/run/lock/dravik-test.lock") == 600 ]]
    ln -sf /etc/target "$ROOT/run/lock/dravik-test.lock"
    run with_lock 1 'echo got it'
    answers 1 "script: /run/lock/dravik-test.lock is a symbolic link; remove it"
    [[ ! -e $ROOT/etc/target ]]
}

@test "the lock is in /var/lock where there is no /run/lock, and its folder is made where there is neither" {
    rmdir "$ROOT/run/lock"
    with_lock 1 true
    [[ -f $ROOT/var/lock/dravik-test.lock ]]
    rm -r "$ROOT/var/lock"
    with_lock 1 true
    [[ -f $ROOT/var/lock/dravik-test.lock ]]
}

@test "without flock: waiting ends with a message that names the holder" {
    without_flock
    hold_lock
    run with_lock 1 'echo got it'
    answers 1 "script: process $(<"$ROOT/tmp/holder") holds /run/lock/dravik-test.pid for 1 seconds and more; remove it if that is none of ours"
    release_lock
    run with_lock 1 'echo got it'
    answers 0 "got it"
    [[ -z $(ls -A "$ROOT/run/lock") ]]
}

@test "without flock: the link of a holder that is gone is cleared away" {
    without_flock
    for holder in 4194999 rubbish; do
        ln -s "$holder" "$ROOT/run/lock/dravik-test.pid"
        run with_lock 1 'echo got it'
        answers 0 "got it"
        [[ -z $(ls -A "$ROOT/run/lock") ]]
    done
}

@test "without flock: twelve edits at once lose nothing" {
    without_flock
    stand_in velomux <<<'#!/bin/bash'
    for i in {1..12}; do script alias set "360$i" "data$i" & done
    wait
    run script alias query
    for i in {1..12}; do echo "360$i data$i"; done | sort >"$BATS_TEST_TMPDIR/expected"
    sort <<<"$output" >"$BATS_TEST_TMPDIR/got"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/got"
}
