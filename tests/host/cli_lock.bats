#!/usr/bin/env bats
# Commands that change the host take turns; those that only show something never wait.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

LINE=$(printf -- '-%.0s' {1..130})
DONE="$LINE
Command executed successfully.
$LINE"

# hold COMMAND...: starts the command in the background with a service tool that hangs, and waits until it has the
# lock. Its process id is in $HOLDER.
hold() {
    sim tool systemctl hang
    in_host "$@" >"$BATS_TEST_TMPDIR/holder.out" 2>&1 3>&- &
    local waited=0
    until [[ -s $HOST/run/dravik.lock ]]; do
        sleep 0.05
        ((++waited < 200))
    done
    read -r HOLDER <"$HOST/run/dravik.lock"
}

# let_go: the holder's hanging tool ends.
let_go() {
    local child
    for child in $(descendants "$HOLDER"); do
        kill "$child" 2>/dev/null || true
    done
}

teardown() {
    [[ ! ${HOLDER-} ]] || let_go
    [[ ! ${HOLDER-} ]] || kill "$HOLDER" 2>/dev/null || true
    drop_hosts
}

@test "a second changing command waits with a line that says for whom, and runs when the first has ended" {
    make_host
    hold dravik stop
    in_host dravik --service setselfstart >"$BATS_TEST_TMPDIR/out" 2>"$BATS_TEST_TMPDIR/err" 3>&- &
    local second=$!
    sleep 2
    same "dravik: waiting up to 60 seconds for process $HOLDER (user root): dravik stop" "$(cat "$BATS_TEST_TMPDIR/err")"
    same "" "$(shells | grep enable || true)"
    sim tool systemctl ok
    let_go
    wait "$second"
    same "systemctl enable dravikd.service 2>&1" "$(shells | grep enable)"
    same "$DONE" "$(cat "$BATS_TEST_TMPDIR/out")"
    same "dravik: waiting up to 60 seconds for process $HOLDER (user root): dravik stop" "$(cat "$BATS_TEST_TMPDIR/err")"
    same "$DONE" "$(cat "$BATS_TEST_TMPDIR/holder.out")"
}

@test "after sixty seconds it gives up, changes nothing and ends with 1" {
    make_host
    hold dravik --service setselfstart
    # Whole seconds pass at once, and are counted.
    SIMHOST_SLEEPS=now run --separate-stderr in_host dravik delete mpatha
    same "" "$output"
    # shellcheck disable=SC2154 # set by run
    same "dravik: waiting up to 60 seconds for process $HOLDER (user root): dravik --service setselfstart
dravik: gave up after 60 seconds, nothing was changed: still running is process $HOLDER (user root): dravik --service setselfstart" "$stderr"
    same 1 "$status"
    same 59 "$(other_sleeps | grep -c '^dravik 1$')"
    same "" "$(shells | grep -- '-f' || true)"
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik delete mpatha]: not run, another command was still running.
END
}

@test "a command that gave up has a document that says so, and its result no code" {
    make_host
    hold dravik --service setselfstart
    SIMHOST_SLEEPS=now run --separate-stderr in_host dravik --json delete mpatha
    same 1 "$status"
    same '{"format_version":"1.0","host":"HOST","time":"TIME","command":"delete","result":{"code":null,"message":"not run, another command was still running"}}' \
        "$(sed -E 's/("host":")[^"]*(","time":")[^"]*"/\1HOST\2TIME"/' <<<"$output")"
    same "" "$(/usr/bin/python3 "$REPO/tests/support/validate_json.py" "$REPO/schema/result.schema.json" <<<"$output" 2>&1)"
}

@test "reading commands do not wait, nor does a command that is refused" {
    make_host
    in_host dravik query >"$BATS_TEST_TMPDIR/before"
    hold dravik stop
    local name
    for name in query version lsalias lspathpolicy 'query mpatha' help; do
        # shellcheck disable=SC2086 # words
        run --separate-stderr timeout 20 "$SIMHOST" "$HOST" run dravik $name
        same "" "$stderr"
        same 0 "$status"
    done
    same "$(cat "$BATS_TEST_TMPDIR/before")" "$(in_host dravik query)"
    run --separate-stderr in_host dravik delete
    same "" "$stderr"
    same 1 "$status"
}

@test "every changing command takes the lock" {
    make_host
    hold dravik stop
    local line
    while read -r line; do
        # shellcheck disable=SC2086 # words
        SIMHOST_SLEEPS=now run --separate-stderr in_host dravik $line
        same "" "$output"
        same 1 "$status"
        [[ $stderr == "dravik: waiting up to 60 seconds for process $HOLDER (user root): dravik stop"* ]]
    done <<'END'
config
--service mkconfig
setpathpolicy -chooser round-robin-extend
setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias a
delalias -wwid 3600b5d60001a2b3c0000000000000001
setstate -path_alias mpatha -device_name sdb -state offline
delete mpatha
scan
refresh
aggregation
start
stop
restart
--service setselfstart
END
}

@test "a killed command leaves no lock behind, not even where its child lives on" {
    make_host
    hold dravik stop
    local children
    # The lock is taken before the tool is started.
    until children=$(descendants "$HOLDER") && [[ $children ]]; do sleep 0.05; done
    kill -KILL "$HOLDER"
    sim tool systemctl ok
    run --separate-stderr in_host dravik stop
    same "$DONE" "$output"
    same "" "$stderr"
    same 0 "$status"
    # shellcheck disable=SC2086 # numbers
    kill $children
}

@test "a symbolic link or another user's file in its place is not touched, and the next place serves" {
    make_host
    mkdir -p "$HOST/run/lock" "$HOST/var"
    ln -sfn ../run/lock "$HOST/var/lock"
    echo precious >"$HOST/etc/victim"
    ln -s /etc/victim "$HOST/run/dravik.lock"
    run --separate-stderr in_host dravik stop
    same "$DONE" "$output"
    same "" "$stderr"
    same precious "$(cat "$HOST/etc/victim")"
    [[ -f $HOST/run/lock/dravik.lock ]]
}

@test "a host where no lock file can be made is told so, and its command runs" {
    make_host
    rm -rf "$HOST/run" "$HOST/var/run" "$HOST/var/lock"
    run --separate-stderr in_host dravik stop
    same "$DONE" "$output"
    same "dravik: no lock file can be made (/run/dravik.lock: No such file or directory, /var/run/dravik.lock: No such file or directory, /var/lock/dravik.lock: No such file or directory), going on: another command may change the host at the same time" "$stderr"
    same 0 "$status"
}
