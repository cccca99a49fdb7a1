#!/usr/bin/env bats
# Who changed this host: one line of the command log for each changing command.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

@test "a changing command leaves one line with user, command line and result, a reading one leaves none" {
    make_host
    in_host dravik query >"$BATS_TEST_TMPDIR/out"
    in_host dravik status >"$BATS_TEST_TMPDIR/out"
    in_host dravik stop >"$BATS_TEST_TMPDIR/out"
    in_host dravik --service setselfstart >"$BATS_TEST_TMPDIR/out"
    run in_host dravik delete nosuchdevice
    same 1 "$status"
    run in_host dravik setstate -path_alias mpatha -device_name sdzz -state offline
    same 1 "$status"
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik stop]: Command executed successfully.
INFO  audit user root ran [dravik --service setselfstart]: Command executed successfully.
INFO  audit user root ran [dravik delete nosuchdevice]: Error(0133): This device [nosuchdevice] does not exist.
INFO  audit user root ran [dravik setstate -path_alias mpatha -device_name sdzz -state offline]: Error(0116): Path [sdzz] of disk [mpatha] does not exist.
END
}

@test "a refused command leaves its line too" {
    make_host
    run in_host dravik delete
    run in_host dravik scan now
    run in_host dravik delalias -wwid ''
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik delete]: Error(0106): Missing deleted velomux.
INFO  audit user root ran [dravik scan now]: Error(0105): Invalid command parameter [now].
INFO  audit user root ran [dravik delalias -wwid ""]: Error(0126): Wrong format of parameter [-wwid] value.
END
}

@test "the user behind sudo is named" {
    make_host
    in_host env SUDO_USER=alice SUDO_UID=4294967295 dravik stop >"$BATS_TEST_TMPDIR/out"
    expect_text audit_lines <<'END'
INFO  audit user root (login alice) ran [dravik stop]: Command executed successfully.
END
}

@test "no argument can forge a line or run over the end of one" {
    make_host
    local long
    long=$(printf 'x%.0s' {1..2000})
    run in_host dravik delete $'a\n[2026-01-01 00:00:00.000] INFO  audit 1 user root ran [dravik scan]: Command executed successfully.'
    run in_host dravik scan "$long"
    run in_host dravik stop $'\e[2J\r'
    audit_lines >"$BATS_TEST_TMPDIR/lines"
    same 3 "$(wc -l <"$BATS_TEST_TMPDIR/lines")"
    same 'INFO  audit user root ran [dravik delete "a\x0a[2026-01-01 00:00:00.000] INFO  audit 1 user root ran [dravik scan]: Command executed successfully."]: Error(0131): Wrong length of device name.' \
        "$(sed -n 1p "$BATS_TEST_TMPDIR/lines")"
    same "INFO  audit user root ran [dravik scan ${long:0:464}...]: Error(0105): Invalid command parameter [${long:0:64}]." \
        "$(sed -n 2p "$BATS_TEST_TMPDIR/lines")"
    same 'INFO  audit user root ran [dravik stop "\x1b[2J\x0d"]: Error(0105): Invalid command parameter [\x1b[2J\x0d].' \
        "$(sed -n 3p "$BATS_TEST_TMPDIR/lines")"
}

@test "a command that is interrupted ends what it has begun, says so in its line, and dies of the signal" {
    make_host
    sim tool systemctl hang
    in_host dravik stop >"$BATS_TEST_TMPDIR/out" 2>"$BATS_TEST_TMPDIR/err" 3>&- &
    local command=$! waited=0 ended=0 pid children
    until grep -qs '^systemctl stop' "$HOST/sim/calls.log"; do
        sleep 0.05
        ((++waited < 200))
    done
    read -r pid <"$HOST/run/dravik.lock"
    kill -TERM "$pid"
    sleep 0.3
    kill -0 "$pid" # the service tool is still at work
    children=$(descendants "$pid")
    # What was ended with the command is run once more, to its end.
    sim tool systemctl ok
    # shellcheck disable=SC2086 # numbers
    kill $children
    wait "$command" || ended=$?
    same 143 "$ended"
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik stop]: interrupted by signal 15, Command executed successfully.
END
    same "$DONE" "$(cat "$BATS_TEST_TMPDIR/out")"
}

@test "the line is written before the result is printed" {
    make_host
    [[ -c $HOST/dev/full ]] || skip "no /dev/full can be made here"
    in_host bash -c 'dravik stop >/dev/full 2>/dev/null'
    in_host bash -c 'dravik stop | true' || true
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik stop]: Command executed successfully.
INFO  audit user root ran [dravik stop]: Command executed successfully.
END
}
