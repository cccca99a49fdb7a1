#!/usr/bin/env bats
# The monitor as a process: first start, restart, and everything that can go wrong around it.

load ../support/simulated_host

# One small volume of one path, so that whole logs can be compared.
small_host() {
    cat >"$BATS_TEST_TMPDIR/small.scn" <<'END'
volume mpatha transport=none wwid=3600b5d60001a2b3c0000000000000001
  group prio=50
    path xba 1:0:0:1 8:16
END
    make_host --scenario "$BATS_TEST_TMPDIR/small.scn"
}

LUN='[ path_alias: mpatha, wwid: 3600b5d60001a2b3c0000000000000001 ]'
PATH_XBA='[ path_alias: mpatha, wwid: 3600b5d60001a2b3c0000000000000001, dev_name: xba, path_status: ready, path_group_status: active, dravik_status:running ]'
RECORD='mpatha,3600b5d60001a2b3c0000000000000001,8:16,xba,ready,active,running,'

first_sight() {
    printf 'The lun is created, the properties are %s.\n' "$LUN"
    printf 'The path is created, the properties are %s.\n' "$PATH_XBA"
}

all_gone() {
    printf 'The lun is deleted, the properties are %s.\n' "$LUN"
    printf 'The path is deleted, the properties are %s.\n' "$PATH_XBA"
}

# Lines of the command log but the notes of allocations.
errors() { cli_log | grep -v '^INFO  malloc' || true; }

@test "first start without a snapshot: everything is reported as created, one error line, a snapshot of mode 0600" {
    small_host
    start_monitor
    expect_text change_log < <(first_sight)
    expect_text errors <<'END'
ERROR readLunPathToFile Open file failed. file: /dumps/data.dravik.
INFO  writeLunPathToFile Write lun path infomation to file successfully.
END
    expect_text snapshot <<<"$RECORD"
    same 600 "$(stat -c %a "$HOST/dumps/data.dravik")"
    same 600 "$(stat -c %a "$HOST/dumps/dravik_monitor.log")"
    same 700 "$(stat -c %a "$HOST/dumps")"
}

@test "the monitor prints nothing, and nothing but the multipath tool is run for paths that need no look-up" {
    small_host
    start_monitor
    step 2
    same "" "$(cat "$HOST/sim/monitor.out" "$HOST/sim/monitor.err")"
    expect_text calls <<'END'
velomux -ll
velomux -ll
velomux -ll
END
    expect_text sleeps <<<$'10\n10\n10'
}

@test "an unchanged topology writes nothing and leaves the snapshot alone" {
    small_host
    start_monitor
    forget
    local before
    before=$(stat -c '%i %Y %s' "$HOST/dumps/data.dravik")
    step 3
    expect_text change_log </dev/null
    expect_text cli_log </dev/null
    same "$before" "$(stat -c '%i %Y %s' "$HOST/dumps/data.dravik")"
}

@test "a path that fails is one line and a new snapshot" {
    small_host
    start_monitor
    forget
    sim fail-path xba
    step
    expect_text change_log <<'END'
The path status is changed from [ready] to [faulty] for the path [ dev_name: xba ].
The group status is changed from [active] to [enabled] for the path [ dev_name: xba ].
END
    expect_text snapshot <<<'mpatha,3600b5d60001a2b3c0000000000000001,8:16,xba,faulty,enabled,running,'
}

@test "a restart compares with the snapshot: a volume that went meanwhile is reported, one that stayed is not" {
    small_host
    sim map kept transport=none wwid=3600b5d60001a2b3c0000000000000002 paths=1
    start_monitor
    kill_monitor
    forget
    sim unmap mpatha
    start_monitor
    expect_text change_log < <(all_gone)
    expect_text errors <<'END'
INFO  writeLunPathToFile Write lun path infomation to file successfully.
END
}

@test "a topology that becomes empty is reported, its snapshot kept, and reported again after a restart" {
    small_host
    start_monitor
    forget
    sim unmap mpatha
    step
    expect_text change_log < <(all_gone)
    expect_text snapshot <<<"$RECORD"
    expect_text errors </dev/null
    step
    expect_text change_log < <(all_gone)
    kill_monitor
    forget
    start_monitor
    expect_text change_log < <(all_gone)
    expect_text snapshot <<<"$RECORD"
}

# The two error lines of a cycle whose tool could not be run, behind the runner's own.
failed_query() {
    cat <<'END'
ERROR getLunPath Query Dravik infomation failed. Error message: Error(0003): Execute system command failed..
ERROR oneMonitor Get lun and path information failed. Error message: Error(0003): Execute system command failed..
END
}

@test "while the tool is missing each cycle logs two error lines and no change; afterwards all changes come at once" {
    small_host
    start_monitor
    forget
    sim tool velomux missing
    step 2
    expect_text change_log </dev/null
    expect_text bash -c "$(declare -f cli_log); HOST=$HOST cli_log | grep -E ' (getLunPath|oneMonitor) '" \
        < <(failed_query; failed_query)
    forget
    sim tool velomux ok
    sim fail-path xba
    step
    expect_text change_log <<'END'
The path status is changed from [ready] to [faulty] for the path [ dev_name: xba ].
The group status is changed from [active] to [enabled] for the path [ dev_name: xba ].
END
    expect_text errors <<'END'
INFO  writeLunPathToFile Write lun path infomation to file successfully.
END
}

@test "a tool that prints half a listing is an error, not a change" {
    small_host
    start_monitor
    forget
    printf 'mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX' >"$BATS_TEST_TMPDIR/half"
    sim tool velomux says "$BATS_TEST_TMPDIR/half"
    step
    expect_text change_log </dev/null
    expect_text errors <<'END'
ERROR parseQueryCmdResultList Parse 1th line in 'velomux -ll' output failed.
ERROR getLunPath Query Dravik infomation failed. Error message: Error(0110): Parse command output failed..
ERROR oneMonitor Get lun and path information failed. Error message: Error(0110): Parse command output failed..
END
    sim tool velomux ok
    step
    expect_text change_log </dev/null
}

@test "a tool that dies, prints rubbish or prints a huge text does not stop the monitor" {
    small_host
    start_monitor
    for fault in crash rubbish silent huge ok; do
        sim tool velomux "$fault"
        step
    done
    run sim monitor status
    [[ $output == running* ]]
    expect_text snapshot <<<"$RECORD"
}

@test "a snapshot that is damaged gives the records before the damage and one error line" {
    small_host
    sim map kept transport=none wwid=3600b5d60001a2b3c0000000000000002 paths=1
    mkdir -m 700 "$HOST/dumps"
    printf '%s\nmpathx,3600b5d6,8:48,xbz,ready,active\n' "$RECORD" >"$HOST/dumps/data.dravik"
    start_monitor
    expect_text change_log <<'END'
The lun is created, the properties are [ path_alias: kept, wwid: 3600b5d60001a2b3c0000000000000002 ].
The path is created, the properties are [ path_alias: kept, wwid: 3600b5d60001a2b3c0000000000000002, dev_name: xa, path_status: ready, path_group_status: active, dravik_status:running ].
END
    expect_text errors <<'END'
ERROR readFieldFromStr1 Read lunpath field failed form string [active
].
INFO  writeLunPathToFile Write lun path infomation to file successfully.
END
}

@test "a snapshot that is a folder cannot be read nor written, and the monitor goes on" {
    small_host
    mkdir -m 700 "$HOST/dumps" "$HOST/dumps/data.dravik"
    start_monitor
    expect_text change_log < <(first_sight)
    sim fail-path xba
    step
    same 4 "$(change_log | wc -l)"
}

@test "/dumps as a plain file: every line is dropped, the monitor runs, and works once the file is gone" {
    small_host
    : >"$HOST/dumps"
    start_monitor
    step
    same "" "$(cat "$HOST/dumps")"
    rm "$HOST/dumps"
    sim fail-path xba
    step
    expect_text change_log <<'END'
The path status is changed from [ready] to [faulty] for the path [ dev_name: xba ].
The group status is changed from [active] to [enabled] for the path [ dev_name: xba ].
END
    expect_text snapshot <<<'mpatha,3600b5d60001a2b3c0000000000000001,8:16,xba,faulty,enabled,running,'
}

@test "a full disk loses lines but not the monitor; the next change after space returned writes everything again" {
    small_host
    start_monitor
    forget
    sim fill-disk
    sim fail-path xba
    step
    expect_text change_log </dev/null
    sim free-disk
    sim restore-path xba
    step
    expect_text change_log <<'END'
The path status is changed from [faulty] to [ready] for the path [ dev_name: xba ].
The group status is changed from [enabled] to [active] for the path [ dev_name: xba ].
END
    expect_text snapshot <<<"$RECORD"
}

@test "killed in the middle of a snapshot write: the next start reads what is whole and reports the rest" {
    small_host
    sim map second transport=none wwid=3600b5d60001a2b3c0000000000000002 paths=1
    start_monitor
    kill_monitor
    forget
    local whole cut
    whole=$(snapshot)
    # Every place at which a kill can leave the file.
    for ((cut = 0; cut <= ${#whole}; cut += 9)); do
        printf '%s' "${whole:0:cut}" >"$HOST/dumps/data.dravik"
        rm -f "$HOST/dumps/dravik_monitor.log"
        start_monitor
        kill_monitor
        expect_text snapshot <<<"$whole"
    done
}

@test "the pause is what is left of ten seconds, and one second after a cycle of ten or more" {
    small_host
    start_monitor
    : >"$HOST/sim/sleeps"
    local took
    for took in 0 1 9 10 12; do
        sim tool velomux slow "$took"
        step
    done
    expect_text sleeps <<<$'10\n9\n1\n1\n1'
}

@test "killed again and again in its first cycle, the monitor starts each time and ends with the whole snapshot" {
    small_host
    local i
    for i in {1..30}; do
        sim monitor start
        sleep "0.0$((i % 9))$((i % 7))"
        kill_monitor
    done
    start_monitor
    expect_text snapshot <<<"$RECORD"
}
