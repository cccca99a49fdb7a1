#!/usr/bin/env bats
# A monitor that is killed at any system call of a cycle leaves a ledger that opens again; the next monitor tells what was
# not told yet, and nothing twice.
#
# strace waits for the monitor's cycle and delivers SIGKILL at the entry of a system call, named by its kind and its number
# among that kind. KILL_EVERY=20 takes every twentieth call only, for a quick look.

load ../support/simulated_host
load ../support/ledger

setup() {
    type -P strace >/dev/null || skip "strace is not installed"
    cat >"$BATS_TEST_TMPDIR/one.scn" <<'SCENARIO'
volume mpatha transport=none wwid=3600b5d60001a2b3c0000000000000001
  group prio=50
    path xba 1:0:0:1 8:16
    path xbb 2:0:0:1 8:32
SCENARIO
    make_host --scenario "$BATS_TEST_TMPDIR/one.scn"
    TRACE=$BATS_TEST_TMPDIR/trace
    STATE=ready
}

monitor_pid() { sim monitor status | cut -d ' ' -f 2; }

# The path fails or returns.
turn_path() {
    if [[ $STATE == ready ]]; then
        sim fail-path xba
        STATE=faulty
    else
        sim restore-path xba
        STATE=ready
    fi
}

# trace_monitor [OPTIONS of strace]: returns when strace has taken hold of the monitor.
trace_monitor() {
    local pid
    pid=$(monitor_pid)
    strace -qq -o "$TRACE" "$@" -p "$pid" 3>&- &
    STRACE=$!
    until grep -q '^TracerPid:[[:space:]]*[1-9]' "/proc/$pid/status"; do sleep 0.005; done
}

# The calls of one cycle with a change, each as its kind and its number among that kind.
cycle_calls() {
    turn_path
    trace_monitor
    step
    kill "$STRACE"
    wait "$STRACE" || true
    # The first is the end of the wait in which the monitor was found, the last the wait for the next cycle.
    awk -v every="${KILL_EVERY:-1}" '
        /^restart_syscall/ { next }
        /^[a-z]/ { sub(/\(.*/, ""); n[$0]++; if (NR % every == 0) print $0, n[$0] }' "$TRACE"
}

# kill_at KIND NUMBER: in the next cycle, which has a change to tell. False when the cycle had no such call.
kill_at() {
    local pid
    pid=$(monitor_pid)
    trace_monitor -e trace="$1" -e inject="$1:signal=KILL:when=$2"
    printf . >"$HOST/sim/tick"
    local waited
    for ((waited = 0; waited < 400; ++waited)); do
        if [[ ! -e /proc/$pid || $(cut -d ' ' -f 3 "/proc/$pid/stat" 2>/dev/null) == Z ]]; then
            wait "$STRACE" || true
            return 0
        fi
        sleep 0.01
    done
    kill "$STRACE"
    wait "$STRACE" || true
    return 1
}

# What each turn of the path must have left, and nothing else of its kinds: TURNS of them.
expected_changes() {
    local turn from=ready to=faulty swap
    for ((turn = 0; turn < TURNS; ++turn)); do
        echo "path_checker_state $from->$to"
        if [[ $to == faulty ]]; then
            printf '%s\n' 'path_dm_state active->failed' 'volume_state ok->last_path'
        else
            printf '%s\n' 'path_dm_state failed->active' 'volume_state last_path->ok'
        fi
        swap=$from from=$to to=$swap
    done
}

told_changes() {
    ledger "SELECT kind || ' ' || state_from || '->' || state_to FROM events
            WHERE kind IN ('path_checker_state', 'path_dm_state', 'volume_state', 'volume_appeared', 'path_appeared') AND
                kind <> 'volume_appeared' ORDER BY number"
}

@test "killed at any system call of a cycle, the ledger opens again and each change is told once" {
    local kind number
    TURNS=1
    start_monitor
    cycle_calls >"$BATS_TEST_TMPDIR/calls"
    # The sweep is one over real work: the ledger's own writes are among the calls.
    grep -q '^pwrite64 ' "$BATS_TEST_TMPDIR/calls"
    local killed=0
    while read -r kind number; do
        turn_path
        ((++TURNS))
        if kill_at "$kind" "$number"; then
            ((++killed))
            start_monitor
        else
            sim settle
        fi
        same ok "$(ledger 'PRAGMA integrity_check')" || { echo "killed at $kind $number"; return 1; }
        expect_text told_changes < <(expected_changes) || { echo "killed at $kind $number"; return 1; }
    done <"$BATS_TEST_TMPDIR/calls"
    echo "killed at $killed calls" >&3
    ((killed * 10 >= $(wc -l <"$BATS_TEST_TMPDIR/calls") * 9))
    same 1 "$(ledger "SELECT count(*) FROM events WHERE kind = 'volume_appeared'")"
    same $((killed + 1)) "$(ledger "SELECT count(*) FROM events WHERE kind = 'monitor_started'")"
    same "0" "$(ledger 'SELECT count(*) FROM (SELECT number FROM events GROUP BY number HAVING count(*) > 1)')"
    expect_text ledger_complaints </dev/null
}
