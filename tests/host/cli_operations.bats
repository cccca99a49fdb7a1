#!/usr/bin/env bats
# What our own commands do to the host, in the ledger: as operations, and as the cause of what the monitor sees next.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

# Two volumes of two paths in two groups.
SCENARIO='volume mpatha transport=fc paths=2 groups=2
volume mpathb transport=fc paths=2 groups=2'

# watched_host: a host whose monitor has seen everything once.
watched_host() {
    make_host --scenario "$SCENARIO"
    start_monitor
    SEEN=0
}

# ledger SQL: rows of the ledger.
ledger() { sqlite3 "$HOST/dumps/dravik.db" "$1"; }

# news: the events since the last call: kind, volume/path, change, working/known paths, cause with user and command.
news() {
    ledger "SELECT kind || ' ' || alias || CASE path_name WHEN '' THEN '' ELSE '/' || path_name END
            || CASE WHEN state_from || state_to = '' THEN '' ELSE ' ' || state_from || '->' || state_to END
            || ' ' || paths_working || '/' || paths_known || ' ' || cause
            || CASE user WHEN '' THEN '' ELSE ' ' || user || ': ' || command END
            FROM events WHERE number > $SEEN AND kind NOT IN ('monitor_started') ORDER BY number"
}
seen() { SEEN=$(ledger 'SELECT max(number) FROM events'); }

# offline: each path that does not work, and who took it offline.
offline() { ledger "SELECT name || ' ' || offline_by FROM paths WHERE NOT working ORDER BY id"; }

quietly() { in_host "$@" >"$BATS_TEST_TMPDIR/out"; }

@test "a path that setstate takes offline is an operator's work, in every event, until it is back" {
    watched_host
    seen
    quietly env SUDO_USER=alice SUDO_UID=4294967295 dravik setstate -path_alias mpatha -device_name sdb -state offline
    step
    local command='alice: dravik setstate -path_alias mpatha -device_name sdb -state offline'
    expect_text news <<END
operation mpatha/sdb ->0 0/0 operator $command
path_checker_state mpatha/sdb ready->faulty 1/2 operator $command
path_dm_state mpatha/sdb active->failed 1/2 operator $command
path_group_state mpatha/sdb active->enabled 1/2 operator $command
path_group_state mpatha/sdc enabled->active 1/2 operator $command
volume_state mpatha ok->last_path 1/2 operator $command
END
    expect_text offline <<<'sdb alice'
    seen
    step
    expect_text news </dev/null
    expect_text offline <<<'sdb alice'
    quietly dravik setstate -path_alias mpatha -device_name sdb -state online
    step
    command='root: dravik setstate -path_alias mpatha -device_name sdb -state online'
    expect_text news <<END
operation mpatha/sdb ->0 0/0 operator $command
path_checker_state mpatha/sdb faulty->ready 2/2 operator $command
path_dm_state mpatha/sdb failed->active 2/2 operator $command
path_group_state mpatha/sdb enabled->active 2/2 operator $command
path_group_state mpatha/sdc active->enabled 2/2 operator $command
volume_state mpatha last_path->ok 2/2 operator $command
END
    expect_text offline </dev/null
}

@test "what breaks beside a setstate is a fault, and so is the state of a volume to which both happen" {
    watched_host
    seen
    quietly dravik setstate -path_alias mpatha -device_name sdb -state offline
    sim fail-path sdc
    sim fail-path sdd
    step
    local command='root: dravik setstate -path_alias mpatha -device_name sdb -state offline'
    expect_text news <<END
operation mpatha/sdb ->0 0/0 operator $command
path_checker_state mpatha/sdb ready->faulty 0/2 operator $command
path_dm_state mpatha/sdb active->failed 0/2 operator $command
path_group_state mpatha/sdb active->enabled 0/2 operator $command
path_checker_state mpatha/sdc ready->faulty 0/2 fault
path_dm_state mpatha/sdc active->failed 0/2 fault
volume_state mpatha ok->none 0/2 fault
path_checker_state mpathb/sdd ready->faulty 1/2 fault
path_dm_state mpathb/sdd active->failed 1/2 fault
path_group_state mpathb/sdd active->enabled 1/2 fault
path_group_state mpathb/sde enabled->active 1/2 fault
volume_state mpathb ok->last_path 1/2 fault
END
    expect_text offline <<'END'
sdb root
sdc 
sdd 
END
}

@test "a volume that delete takes away is an operator's work, another that goes meanwhile is not" {
    watched_host
    seen
    quietly dravik delete mpatha
    sim unmap mpathb
    step
    expect_text news <<'END'
operation mpatha ->0 0/0 operator root: dravik delete mpatha
volume_gone mpatha ok-> 0/2 operator root: dravik delete mpatha
volume_gone mpathb ok-> 0/2 fault
END
}

@test "a new alias is an operator's work" {
    watched_host
    seen
    local wwid
    wwid=$(ledger "SELECT wwid FROM volumes WHERE alias = 'mpatha'")
    quietly dravik setalias -wwid "$wwid" -alias database
    step
    expect_text news <<END
operation mpatha ->0 0/0 operator root: dravik setalias -wwid $wwid -alias database
volume_renamed database mpatha->database 2/2 operator root: dravik setalias -wwid $wwid -alias database
END
}

@test "a setstate that failed and a command that was refused explain nothing, and stand in the ledger with their codes" {
    watched_host
    seen
    run in_host dravik setstate -path_alias mpatha -device_name sdzz -state offline
    same 1 "$status"
    run in_host dravik stop now
    same 1 "$status"
    sim fail-path sdb
    step
    expect_text news <<'END'
operation mpatha/sdzz ->116 0/0 operator root: dravik setstate -path_alias mpatha -device_name sdzz -state offline
operation  ->105 0/0 operator root: dravik stop now
path_checker_state mpatha/sdb ready->faulty 1/2 fault
path_dm_state mpatha/sdb active->failed 1/2 fault
path_group_state mpatha/sdb active->enabled 1/2 fault
path_group_state mpatha/sdc enabled->active 1/2 fault
volume_state mpatha ok->last_path 1/2 fault
END
    expect_text offline <<<'sdb '
}

@test "an operation is remembered over observations that fail and over a monitor that is away" {
    watched_host
    seen
    quietly dravik setstate -path_alias mpatha -device_name sdb -state offline
    sim tool velomux missing
    step
    sim tool velomux ok
    kill_monitor
    quietly dravik setstate -path_alias mpathb -device_name sdd -state offline
    start_monitor
    same "sdb root
sdd root" "$(offline)"
    same "" "$(news | grep ' fault$' || true)"
}

@test "reading commands leave no operation, each changing one leaves one with what it names" {
    watched_host
    local name
    for name in query status version port lsalias lspathpolicy; do quietly dravik "$name"; done
    quietly dravik scan
    quietly dravik --service setselfstart
    quietly dravik --json setstate -path_alias mpatha -device_name sdb -state online
    quietly dravik aggregation
    same "scan|dravik scan||||0|root
setselfstart|dravik --service setselfstart||||0|root
setstate|dravik --json setstate -path_alias mpatha -device_name sdb -state online|mpatha|sdb|online|0|root
aggregation|dravik aggregation||||0|root" \
        "$(ledger 'SELECT command, line, volume, path, detail, code, user FROM operations ORDER BY id')"
    same 0 "$(ledger 'SELECT count(*) FROM operations WHERE begun = 0 OR ended < begun')"
}

@test "without a ledger a command does its work and says nothing of it" {
    make_host --scenario "$SCENARIO"
    quietly dravik stop
    same "INFO  audit user root ran [dravik stop]: Command executed successfully." "$(cli_log)"
    [[ ! -e $HOST/dumps/dravik.db ]]
}

@test "a ledger that cannot be written costs one line of the log, and the command does its work" {
    make_host --scenario "$SCENARIO"
    mkdir -m 700 "$HOST/dumps"
    printf 'no database %.0s' {1..400} >"$HOST/dumps/dravik.db"
    chmod 600 "$HOST/dumps/dravik.db"
    local before
    before=$(cksum "$HOST/dumps/dravik.db")
    run --separate-stderr in_host dravik stop
    same 0 "$status"
    same "" "$stderr"
    same "ERROR operation Ledger: /dumps/dravik.db cannot be used: file is not a database.
INFO  audit user root ran [dravik stop]: Command executed successfully." "$(cli_log)"
    same "$before" "$(cksum "$HOST/dumps/dravik.db")"
    run in_host dravik status
    [[ $output == *'Service status: inactive'* ]]
}

@test "on a full disk and on a read-only folder a command does its work all the same" {
    watched_host
    stop_monitor
    sim fill-disk
    quietly dravik stop
    sim free-disk
    sim read-only-dumps
    quietly dravik start
    sim writable-dumps
    run in_host dravik status
    [[ $output == *'Service status: active'* ]]
}
