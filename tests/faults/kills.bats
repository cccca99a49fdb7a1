#!/usr/bin/env bats
# A kill before every system call of each file's writing: the old text or the new one is there, and the next writer works.
#
# The kill of every tool that the scripts run while they write velomux.conf is in tests/scripts/conf_kill.bats.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

KILLING=1 # the status of a kill is what is wanted

writer() { "${ENTRY[@]}" file_writers "$@"; }

# look KIND WANTED...: what it finds is one of these.
looks_like() {
    local kind=$1 seen wanted
    shift
    seen=$(writer look "$kind" || true)
    for wanted in "$@"; do [[ $seen != "$wanted" ]] || return 0; done
    echo "$seen"
    return 1
}

# killed_while_writing KIND WHAT-MAY-BE-FOUND...
killed_while_writing() {
    local kind=$1 name number seen
    shift
    rm -rf "$HOST/dumps"
    mkdir -m 700 "$HOST/dumps"
    writer write "$kind" 1
    cp -a "$HOST/dumps" "$BATS_TEST_TMPDIR/before"
    traced "$BATS_TEST_TMPDIR/trace" "${ENTRY[@]}" file_writers write "$kind" 2
    while read -r name number; do
        rm -rf "$HOST/dumps"
        cp -a "$BATS_TEST_TMPDIR/before" "$HOST/dumps"
        attempt "$kind, killed before $name $number" strace -qq -o /dev/null -e "trace=$name" \
            -e "inject=$name:signal=SIGKILL:when=$number" "${ENTRY[@]}" file_writers write "$kind" 2
        seen=$(looks_like "$kind" "$@") || found torn "$kind, killed before $name $number: $seen"
        writer write "$kind" 3
        seen=$(looks_like "$kind" 'whole 3') || found lost "$kind, killed before $name $number: then $seen"
    done < <(calls_after "$BATS_TEST_TMPDIR/trace" 'access("/write"' | sampled 6)
    rm -rf "$BATS_TEST_TMPDIR/before"
}

@test "a file below /dumps whose writer is killed at any system call is the old one or the new one" {
    make_fault_host
    # The snapshot is truncated and then written: a kill in between leaves it short or empty, which is the contract.
    killed_while_writing snapshot 'whole 1' 'whole 2' empty cut
    killed_while_writing cache 'whole 1' 'whole 2'
    killed_while_writing changes 'whole 1' 'whole 2'
    killed_while_writing commands 'whole 1' 'whole 2'
    killed_while_writing ledger 'whole 1' 'whole 2'
    count "kills before system calls of the writing of snapshot, cache, logs, ledger"
}

wait_for_children() {
    local process waited=0
    for process in /proc/[0-9]*; do
        while [[ $process/root -ef $HOST ]] && ((waited++ < 500)); do sleep 0.02; done
    done
}

@test "a changing command that is killed at any system call leaves the old configuration or the new one" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    local old new command name number
    succeeds config
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    for command in "setalias -wwid $A -alias backup" "delalias -wwid $A" 'setpathpolicy -chooser round-robin-extend'; do
        set_conf "$old"
        # shellcheck disable=SC2086 # the words of the command
        traced "$BATS_TEST_TMPDIR/trace" "${ENTRY[@]}" dravik $command
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        while read -r name number; do
            set_conf "$old"
            # shellcheck disable=SC2086
            attempt "$command, killed before $name $number" strace -qq -o /dev/null -e "trace=$name" \
                -e "inject=$name:signal=SIGKILL:when=$number" "${ENTRY[@]}" dravik $command
            wait_for_children # the script that it had begun goes on to its end
            judge_conf "$command, killed before $name $number" "$old" "$new"
        done < <(calls_after "$BATS_TEST_TMPDIR/trace" "$PROGRAM_BEGINS" | sampled 8)
        old=$new
    done
    count "kills before system calls of the changing commands"
}

@test "a monitor that is killed at any system call loses no change: started again, it catches up" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    # The contract: what was logged and not yet in the snapshot is logged again, and after a kill between the truncation of
    # the snapshot and its writing, everything that it lacks is.
    REPEATED_IS_CONTRACT=1
    local name number
    fresh_dumps
    traced "$BATS_TEST_TMPDIR/trace" "${MONITOR[@]}"
    sed -i '/"\/sim\/said.3"/,$d' "$BATS_TEST_TMPDIR/trace"
    while read -r name number; do
        fresh_dumps
        attempt "monitor, killed before $name $number" strace -qq -o /dev/null -e "trace=$name" \
            -e "inject=$name:signal=SIGKILL:when=$number" "${MONITOR[@]}"
        wait_for_children
        SNAPSHOT_IS_CUT=
        text "$HOST/dumps/data.dravik"
        case $TEXT in "$FIRST_SNAPSHOT" | "$LAST_SNAPSHOT") ;; *) SNAPSHOT_IS_CUT=1 ;; esac
        "${MONITOR[@]}" 3>&-
        judge_cycles "monitor, killed before $name $number"
        [[ $(writer look ledger) == whole* ]] || found torn "monitor, killed before $name $number: the ledger"
    done < <(calls_after "$BATS_TEST_TMPDIR/trace" "$PROGRAM_BEGINS" | sampled 15)
    count "kills before system calls of the monitor"
}
