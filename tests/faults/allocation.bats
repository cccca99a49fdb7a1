#!/usr/bin/env bats
# Memory that is refused once, at every request of a program's: its libraries', SQLite's and the loader's included.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

# allocations COMMAND...: how many times it asks for memory, on standard output.
allocations() {
    head -c 8 /dev/zero >"$HOST/sim/count"
    "${ENTRY[@]}" LD_PRELOAD="$PRELOADED" COUNT_ALLOCATIONS=/sim/count "$@" >/dev/null 2>&1 || true
    od -An -tu8 "$HOST/sim/count" | tr -d ' '
}

# A command answers with a record, its own or that of memory that ran out; devstats may end with its own status 4.
judge_answer() {
    text "$OUT"
    case $STATUS in
    0) [[ $TEXT == *"Command executed successfully."* || $TEXT == *[[:graph:]]* ]] || found wrong "$1: silent" ;;
    1) [[ $TEXT == *Error\([0-9][0-9][0-9][0-9]\):* || $TEXT == *'"code":'[1-9]* ]] || found wrong "$1: exit status 1 without a record" ;;
    4) [[ $1 == devstats* ]] || found wrong "$1: exit status 4" ;;
    124 | 13[0-9]) ;;
    *) found wrong "$1: exit status $STATUS" ;;
    esac
}

# under_short_memory OLD NEW SAMPLES COMMAND...: every request of the command is refused once.
under_short_memory() {
    local old=$1 new=$2 samples=$3 last point
    shift 3
    set_conf "$old"
    last=$(allocations "$@")
    while read -r point; do
        set_conf "$old"
        attempt "$2 $point" "${ENTRY[@]}" LD_PRELOAD="$PRELOADED" FAIL_ALLOCATION="$point" "$@"
        judge_answer "${*:2} (allocation $point)"
        judge_conf "${*:2} (allocation $point)" "$old" "$new"
        judge_backup "${*:2} (allocation $point)" "$old"
        judge_log "$HOST/dumps/dravik_cli.log" "${*:2} (allocation $point)"
    done < <(points "$samples" "$last")
}

@test "the monitor whose request for memory is refused, whichever it is, writes nothing false and catches up" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    PRELOADED=/sim/fail_allocation.so:/sim/run_cycles.so
    fresh_dumps
    local last point
    # The cycle after that shows that it has caught up: no fault comes there.
    last=$(allocations RUN_CYCLES=3 /usr/bin/dravik-monitor)
    while read -r point; do
        fresh_dumps
        attempt "monitor, allocation $point" "${ENTRY[@]}" LD_PRELOAD="$PRELOADED" RUN_CYCLES=4 \
            FAIL_ALLOCATION="$point" /usr/bin/dravik-monitor
        ((STATUS == 0)) || found wrong "monitor, allocation $point: exit status $STATUS"
        judge_cycles "monitor, allocation $point"
    done < <(points 40 "$last")
    count "allocations of the monitor, three cycles"
}

@test "a command whose request for memory is refused, whichever it is, answers with a record and leaves whole files" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    PRELOADED=/sim/fail_allocation.so
    local configured command new
    text "$HOST/etc/velomux.conf"
    local stock=$TEXT
    succeeds config
    text "$HOST/etc/velomux.conf"
    configured=$TEXT
    under_short_memory "$stock" "$configured" 5 dravik config
    for command in 'setpathpolicy -chooser round-robin-extend' "setalias -wwid $A -alias backup" \
        "delalias -wwid $A" '--service mkconfig' config; do
        set_conf "$configured"
        undisturbed "$command"
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        # shellcheck disable=SC2086
        under_short_memory "$configured" "$new" 8 dravik $command
        configured=$new
    done
    for command in query 'query mpatha' lsalias lspathpolicy status port version '--service lsselfstart' \
        aggregation refresh scan restart start stop '--service setselfstart' \
        'setstate -path_alias mpatha -device_name sdb -state offline' \
        'setstate -path_alias mpatha -device_name sdb -state online' 'help query' '--json query'; do
        # shellcheck disable=SC2086 # the words of the command
        under_short_memory "$configured" "$configured" 4 dravik $command
    done
    count "allocations of the commands"
}

@test "devstats whose request for memory is refused ends with a status of its own or goes on" {
    make_fault_host
    PRELOADED=/sim/fail_allocation.so
    local last point
    last=$(allocations timeout -s INT 2 dravik devstats -interval 1)
    while read -r point; do
        attempt "devstats, allocation $point" timeout --preserve-status -s INT 1 \
            "${ENTRY[@]}" LD_PRELOAD="$PRELOADED" FAIL_ALLOCATION="$point" dravik devstats -interval 1
    done < <(points 4 "$last")
    count "allocations of devstats"
}
