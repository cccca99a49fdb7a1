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
    answers 1 "script: another process holds /run/dravik-test.lock for 1 seconds and more; try again later"
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

@test "the lock file is for root only, even where it was left open for others to hold" {
    with_lock 1 true
    [[ $(stat -c %a "$ROOT/run/dravik-test.lock") == 600 ]]
    chmod 666 "$ROOT/run/dravik-test.lock"
    with_lock 1 true
    [[ $(stat -c %a "$ROOT/run/dravik-test.lock") == 600 ]]
}

# plant KIND NAME: something in the lock file's place that is none of ours. "victim" is a file that must stay.
plant() {
    echo precious >"$ROOT/etc/victim"
    rm -rf "$2"
    case $1 in
        link) ln -s /etc/victim "$2" ;;
        dangling) ln -s /etc/made "$2" ;;
        device) ln -s /dev/null "$2" ;;
        own_link) : >"$ROOT/run/other" && ln -s other "$2" ;;
        fifo) mkfifo "$2" ;;
        folder) mkdir "$2" ;;
        link_to_folder) ln -s /etc "$2" ;;
        hard_link) ln "$ROOT/etc/victim" "$2" ;;
        foreign) : >"$2" && chown 12345 "$2" ;;
    esac
}

# stands FOLDER: what is there, with type, mode, owner, links and size.
stands() { stat -c '%n %F %a %u %h %s %N' "$1" "$1"/*; }

@test "what stands in the lock file's place and is none of ours is not touched, nor waited for: the next place serves" {
    local kind before
    for kind in link dangling device own_link fifo folder link_to_folder hard_link foreign; do
        plant "$kind" "$ROOT/run/dravik-test.lock"
        before=$(stands "$ROOT/run")
        rm -f "$ROOT/var/lock"/*
        run with_lock 1 'echo got it'
        answers 0 "got it"
        [[ $(stands "$ROOT/run") == "$before" ]]
        [[ -f $ROOT/var/lock/dravik-test.lock ]]
        [[ $(<"$ROOT/etc/victim") == precious && $(ls -A "$ROOT/etc") == victim ]]
    done
}

# Where others may write, a name can change between every look at it and its use.
@test "a folder where others may write is passed over, and nothing is made or opened in it" {
    local mode before
    for mode in 1777 777 775 757 733; do
        chmod "$mode" "$ROOT/run"
        before=$(stands "$ROOT/run")
        rm -f "$ROOT/var/lock"/*
        run with_lock 1 'echo got it'
        answers 0 "got it"
        [[ $(stands "$ROOT/run") == "$before" ]]
        [[ -f $ROOT/var/lock/dravik-test.lock ]]
    done
    chmod 755 "$ROOT/run"
    chown 12345 "$ROOT/run"
    rm -f "$ROOT/var/lock"/*
    with_lock 1 true
    [[ ! -e $ROOT/run/dravik-test.lock && -f $ROOT/var/lock/dravik-test.lock ]]
}

@test "a lock that others hold in a folder where all may write is nobody's hindrance" {
    chmod 1777 "$ROOT/run/lock"
    : >"$ROOT/run/lock/dravik-test.lock"
    exec 8<"$ROOT/run/lock/dravik-test.lock"
    flock 8
    run with_lock 1 'echo got it'
    answers 0 "got it"
    exec 8<&-
}

@test "/run comes before /var/run, and that before /var/lock; the last is made where there is none" {
    mkdir "$ROOT/var/run"
    with_lock 1 true
    [[ $(cd "$ROOT" && find run var -name 'dravik*') == run/dravik-test.lock ]]
    rm -r "$ROOT/run"
    with_lock 1 true
    [[ $(cd "$ROOT" && find var -name 'dravik*') == var/run/dravik-test.lock ]]
    rm -r "$ROOT/var/run"
    with_lock 1 true
    [[ $(cd "$ROOT" && find var -name 'dravik*') == var/lock/dravik-test.lock ]]
    rm -r "$ROOT/var/lock"
    with_lock 1 true
    [[ $(cd "$ROOT" && find var -name 'dravik*') == var/lock/dravik-test.lock ]]
}

@test "where no folder serves the script fails and says of each why" {
    chmod 1777 "$ROOT/run"
    mkdir "$ROOT/var/lock/dravik-test.lock"
    run with_lock 1 'echo got it'
    answers 1 "script: no lock can be taken (/run: no folder that is ours alone, /var/run: no folder that is ours alone, /var/lock/dravik-test.lock: no regular file of ours with one name)"
}

@test "without flock: what stands in the link's place and is no link is passed over" {
    local kind
    without_flock
    for kind in fifo folder hard_link foreign; do
        plant "$kind" "$ROOT/run/dravik-test.pid"
        run with_lock 1 'readlink /var/lock/dravik-test.pid | grep -qx "$$" && echo got it'
        answers 0 "got it"
        [[ -z $(ls -A "$ROOT/var/lock") ]]
    done
}

@test "without flock: a link that leads somewhere is taken away and never followed" {
    local kind
    without_flock
    for kind in link dangling device link_to_folder; do
        plant "$kind" "$ROOT/run/dravik-test.pid"
        run with_lock 1 'readlink /run/dravik-test.pid | grep -qx "$$" && echo got it'
        answers 0 "got it"
        [[ $(ls -A "$ROOT/run") == lock && $(ls -A "$ROOT/etc") == victim && $(<"$ROOT/etc/victim") == precious ]]
    done
}

@test "without flock: one that was killed while it cleared a dead holder away hinders nobody" {
    local dead=4194999
    without_flock
    ln -s "$dead" "$ROOT/run/dravik-test.pid"
    ln -s "$dead" "$ROOT/run/dravik-test.pid.guard"
    ln -s "$dead" "$ROOT/run/dravik-test.pid.guard.guard"
    run with_lock 2 'echo got it'
    answers 0 "got it"
    [[ $(ls -A "$ROOT/run") == lock ]]
}

@test "without flock: waiting ends with a message that names the holder" {
    without_flock
    hold_lock
    run with_lock 1 'echo got it'
    answers 1 "script: process $(<"$ROOT/tmp/holder") holds /run/dravik-test.pid for 1 seconds and more; remove it if that is none of ours"
    release_lock
    run with_lock 1 'echo got it'
    answers 0 "got it"
    [[ $(ls -A "$ROOT/run") == lock ]]
}

@test "without flock: the link of a holder that is gone is cleared away" {
    without_flock
    for holder in 4194999 rubbish; do
        ln -s "$holder" "$ROOT/run/dravik-test.pid"
        run with_lock 1 'echo got it'
        answers 0 "got it"
        [[ $(ls -A "$ROOT/run") == lock ]]
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
