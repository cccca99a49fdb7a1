#!/usr/bin/env bats
# The systemd unit: that every version of systemd can run it, that this one finds no fault with it, and that what it
# denies is nothing that the monitor and its tools do.

load ../support/simulated_host
load ../support/ledger
load units

UNIT=$BATS_TEST_DIRNAME/../../systemd/dravik-monitor.service
# shellcheck disable=SC2034 # units.bash reads it
KNOWN='
Unit.Description                1 runs  .*
Unit.Documentation            183 runs  man:[a-z-]+\([1-8]\)
Unit.After                      1 runs  [a-z-]+\.(target|service)( [a-z-]+\.(target|service))*
Service.Type                    1 runs  (simple|notify)
Service.NotifyAccess          183 runs  (none|main|all)
Service.WatchdogSec            42 runs  [0-9]+
Service.ExecStart               1 runs  /usr/bin/dravik-monitor
Service.Restart                 1 runs  always
Service.RestartSec              1 runs  [0-9]+
Service.UMask                   1 runs  0[0-7]{3}
Service.LimitNOFILE             1 runs  [0-9]+
Service.PrivateTmp              1 takes yes
Service.CapabilityBoundingSet   1 takes CAP_(SYS_ADMIN|SYS_RAWIO|DAC_OVERRIDE|DAC_READ_SEARCH)( CAP_(SYS_ADMIN|SYS_RAWIO|DAC_OVERRIDE|DAC_READ_SEARCH))*
Service.NoNewPrivileges       187 takes yes
Service.SystemCallFilter      187 takes (~@[a-z-]+( @[a-z-]+)*|fchown)
Service.SystemCallArchitectures 209 takes native
Service.SystemCallErrorNumber 209 takes E[A-Z]+
Service.RestrictAddressFamilies 211 takes AF_UNIX AF_NETLINK
Service.ProtectSystem         214 takes (yes|full)
Service.ProtectHome           214 takes (yes|read-only)
Service.RestrictRealtime      231 takes yes
Service.MemoryDenyWriteExecute 231 takes yes
Service.ProtectKernelTunables 232 takes yes
Service.ProtectKernelModules  232 takes yes
Service.ProtectControlGroups  232 takes yes
Service.RestrictNamespaces    233 takes yes
Service.IPAddressDeny         235 takes any
Service.LockPersonality       235 takes yes
Service.RestrictSUIDSGID      242 takes yes
Service.ProtectHostname       242 takes yes
Service.ProtectKernelLogs     244 takes yes
Service.ProtectProc           247 takes invisible
Install.WantedBy                1 runs  multi-user\.target
'

@test "no line of the unit keeps the monitor from running under an old version of systemd" {
    same "" "$(settings | faults)"
    # Every line that is neither empty nor a remark was looked at.
    same "$(grep -c '^[^#[]' "$UNIT")" "$(settings | wc -l)"
}

@test "the reader itself tells what an old version stumbles over" {
    run faults <<'END'
Service.SystemCallFilter fchown
Service.SystemCallFilter @system-service
Service.SystemCallFilter read write
Service.SystemCallFilter ~@clock
Service.ProtectSystem strict
Service.ProtectHome tmpfs
Service.RestrictSUIDSGID yes
Service.ReadWritePaths /dumps
END
    expect_output <<'END'
Service.SystemCallFilter: fchown allows nothing else
Service.SystemCallFilter: @system-service is no value of its first version
Service.SystemCallFilter: read write is no value of its first version
Service.ProtectSystem: strict is no value of its first version
Service.ProtectHome: tmpfs is no value of its first version
Service.ReadWritePaths: not known
END
}

@test "systemd finds no fault with the unit" {
    analyzed verify --man=no
    same "0: " "$status: $output"
}

@test "systemd calls the confinement of the monitor good" {
    analyzed security --offline=true --no-pager --threshold=27
    [[ $output != *"unrecognized option"* ]] || skip "this systemd-analyze cannot judge a unit without systemd"
    echo "$output" | grep -E '^✗|exposure' || true
    same 0 "$status"
}

# The system calls of the monitor and of all that it runs, in a cycle that asks for every kind of path; those of
# programs that only lead to it are left out.
calls_of_monitor() {
    local trace=$BATS_TEST_TMPDIR/trace tracer
    make_host
    # With the ledger begun by another monitor before: what it finds there, it opens otherwise.
    start_monitor
    kill_monitor
    timeout 60 strace -f -qq -o "$trace" "$SIMHOST" "$HOST" run dravik-monitor 3>&- &
    tracer=$!
    # The ledger is the last that a cycle writes.
    until [[ $(ledger "SELECT count(*) FROM events WHERE kind = 'monitor_started'") == 2 ]] || ! kill -0 "$tracer"; do sleep 0.1; done
    kill "$tracer"
    wait "$tracer" || true
    awk '
        !begun && /execve\("[^"]*dravik-monitor"/ && / = 0$/ { begun = 1; monitor = $1 }
        !begun { before[$1] = 1; next }
        ($1 == monitor || !($1 in before)) && match($2, /^[a-z_0-9]+\(/) { print substr($2, 1, RLENGTH - 1) }' "$trace" | sort -u
}

@test "the unit denies no system call that the monitor or its tools make" {
    local -a groups allowed
    local made
    command -v systemd-analyze >/dev/null || skip "systemd-analyze is not here"
    read -r -a groups < <(settings | sed -n 's/^Service.SystemCallFilter ~//p' | paste -sd' ')
    read -r -a allowed < <(settings | sed -n 's/^Service.SystemCallFilter \([^~]\)/\1/p' | paste -sd' ')
    made=$(calls_of_monitor)
    # What was traced is the monitor at work.
    for call in execve openat pipe2 wait4 write; do
        grep -qx "$call" <<<"$made"
    done
    same "" "$(comm -12 <(calls_of "${groups[@]}" | grep -vxF -f <(printf '%s\n' "${allowed[@]}")) - <<<"$made")"
}
