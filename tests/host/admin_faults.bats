#!/usr/bin/env bats
# Scripts and tools that are missing, fail, hang, print nothing or megabytes, or die: what each command answers.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

A=3600b5d60001a2b3c0000000000000001

# The commands that look at what their script made of it, and the script.
LOOKING="config g2mpiocfg.sh
lspathpolicy policy.sh
setpathpolicy -chooser round-robin-extend policy.sh
setalias -wwid $A -alias backup alias.sh
delalias -wwid $A alias.sh
lsalias alias.sh
port fc_info.sh"

# The commands that run a script and go on, whatever becomes of it.
GOING_ON='setstate -path_alias mpatha -device_name sdb -state online checkdravikd.sh
setstate -path_alias mpatha -device_name sdb -state offline path_state_record.sh
scan g2dravikscan.sh
scan discoverfcnvme.sh
aggregation run_all_offline_path.sh
refresh g2dravikscan.sh
start checklvm.sh
start softlink.sh
status softlink.sh'

setup() { export SIMHOST_SLEEPS=1; }

# each COMMANDS FAULT FUNCTION: breaks each command's script so, calls the function with the command's words, and
# mends it.
each() {
    local words script
    while read -r words; do
        script=${words##* }
        sim tool "$script" "${@:2:$#-2}"
        # shellcheck disable=SC2086 # the words of the command
        "${@: -1}" ${words% *}
        sim tool "$script" ok
    done <<<"$1"
}

is_failed() { dravik 1 "$@" <<<"$FAILED"; }
ends_well() {
    run in_host dravik "$@"
    same 0 "$status"
    same "$DONE" "$(printf '%s\n' "$output" | tail -n 3)"
}

maps() { sim listing | awk '/ dm-/ { print $1 }' | paste -sd ' '; }

configured_host() {
    make_host --scenario "$SMALL"
    succeeds config
    cp "$HOST/etc/velomux.conf" "$BATS_TEST_TMPDIR/conf"
}

@test "a script that fails, is missing or dies is a failed command where its outcome counts" {
    configured_host
    each "$LOOKING" fail 1 is_failed
    each "$LOOKING" missing is_failed
    printf 'kill -KILL $$\n' >"$BATS_TEST_TMPDIR/dies"
    local words script
    while read -r words; do
        script=$HOST/usr/bin/dravik-script/${words##* }
        mv "$script" "$script.kept"
        cp "$BATS_TEST_TMPDIR/dies" "$script"
        # shellcheck disable=SC2086 # the words of the command
        is_failed ${words% *}
        mv "$script.kept" "$script"
    done <<<"$LOOKING"
    # Whatever was begun has been taken back.
    expect_conf <"$BATS_TEST_TMPDIR/conf"
}

@test "a script that fails, is missing or dies does not matter where its outcome does not count" {
    configured_host
    each "$GOING_ON" fail 1 ends_well
    each "$GOING_ON" missing ends_well
    each "$GOING_ON" crash ends_well
}

@test "a script that prints nothing counts as done" {
    configured_host
    each "$LOOKING" silent ends_well
    each "$GOING_ON" silent ends_well
}

@test "a script that prints five megabytes is read to its end" {
    configured_host
    each "$LOOKING" huge ends_well
    each "$GOING_ON" huge ends_well
}

@test "a multipath tool that prints five megabytes of warnings is understood" {
    configured_host
    sim tool velomux huge
    ends_well setstate -path_alias mpatha -device_name sdb -state offline
    ends_well setstate -path_alias mpatha -device_name sdb -state online
    ends_well setalias -wwid "$A" -alias backup
    ends_well delete mpathb
    same 'backup nvmea' "$(maps)"
    ends_well aggregation
    # Still mapped to the host, it is found again.
    ends_well refresh
    sim rescan
    same 'backup mpathb nvmea' "$(maps)"
}

@test "a script that hangs holds its command, and killing that leaves the host usable" {
    configured_host
    # The maker's block is written already when the second script hangs.
    sim tool policy_hw.sh hang
    run timeout -s TERM 3 "$SIMHOST" "$HOST" run dravik setpathpolicy -chooser round-robin-extend
    same 124 "$status"
    sim stop
    sim tool policy_hw.sh ok
    succeeds setpathpolicy -chooser least-queue-depth-extend
    configured multibus queue-length queue-length group_by_prio round-robin | expect_conf
    # The ended command had rolled its change back before it ended: the next one backed up what was there before.
    configured group_by_prio round-robin round-robin group_by_prio round-robin | expect_backup
}

@test "a hanging service tool holds the command until it answers" {
    configured_host
    sim tool systemctl hang
    run timeout -s TERM 2 "$SIMHOST" "$HOST" run dravik status
    same 124 "$status"
    same '' "$output"
}

@test "a host whose disk is full, or whose log folder is read-only, is administered all the same" {
    configured_host
    sim fill-disk
    ends_well setpathpolicy -chooser round-robin-extend
    configured multibus service-time round-robin group_by_prio round-robin | expect_conf
    sim free-disk
    sim read-only-dumps
    ends_well setpathpolicy -chooser least-queue-depth-extend
    configured multibus queue-length queue-length group_by_prio round-robin | expect_conf
}
