#!/usr/bin/env bats
# The systemd units that write the metrics: that every version of systemd can run them, that this one finds no fault with them,
# that nobody enables them unasked, and that what the service denies is nothing that the program does.

load ../support/simulated_host
load units

SERVICE=$REPO/systemd/dravik-metrics.service
TIMER=$REPO/systemd/dravik-metrics.timer
UNIT=$SERVICE
FOLDER=/var/lib/prometheus/node-exporter
# shellcheck disable=SC2034 # units.bash reads it
KNOWN='
Unit.Description                1 runs  .*
Unit.Documentation            183 runs  man:[a-z-]+\([1-8]\)
Unit.After                      1 runs  [a-z-]+\.(target|service)( [a-z-]+\.(target|service))*
Unit.ConditionPathIsDirectory 189 runs  /[a-z/-]+
Service.Type                    1 runs  oneshot
Service.ExecStart               1 runs  /usr/bin/dravik metrics --textfile /[a-z./-]+
Service.TimeoutStartSec       189 runs  [0-9]+
Service.UMask                   1 runs  0[0-7]{3}
Service.SyslogLevel             1 runs  warning
Service.LogLevelMax           236 takes notice
Service.PrivateTmp              1 takes yes
Service.PrivateNetwork         33 takes yes
Service.CapabilityBoundingSet   1 takes CAP_DAC_OVERRIDE CAP_DAC_READ_SEARCH
Service.NoNewPrivileges       187 takes yes
Service.SystemCallFilter      187 takes (~@[a-z-]+( @[a-z-]+)*|fchown)
Service.SystemCallArchitectures 209 takes native
Service.SystemCallErrorNumber 209 takes E[A-Z]+
Service.PrivateDevices        209 takes yes
Service.RestrictAddressFamilies 211 takes AF_UNIX
Service.ProtectSystem         214 takes (full|strict)
Service.ProtectHome           214 takes yes
Service.ReadWritePaths        231 takes /[a-z/-]+ -/dumps
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
Service.ProtectClock          245 takes yes
Service.ProtectProc           247 takes invisible
Timer.OnBootSec                 1 runs  [0-9]+s
Timer.OnUnitActiveSec           1 runs  [0-9]+s
Timer.AccuracySec             209 runs  [0-9]+s
Install.WantedBy                1 runs  timers\.target
'

@test "no line of service and timer keeps them from running under an old version of systemd" {
    for UNIT in "$SERVICE" "$TIMER"; do
        same "" "$(settings | faults)"
        # Every line that is neither empty nor a remark was looked at.
        same "$(grep -c '^[^#[]' "$UNIT")" "$(settings | wc -l)"
    done
    # Since version 231 strict, which the versions from 214 on pass over.
    UNIT=$SERVICE
    same $'full\nstrict' "$(settings | sed -n 's/^Service.ProtectSystem //p')"
}

@test "systemd finds no fault with service and timer" {
    # A timer is whole with its service only.
    command -v systemd-analyze >/dev/null || skip "systemd-analyze is not here"
    cp "$TIMER" "$BATS_TEST_TMPDIR"
    analyzed verify --man=no "$BATS_TEST_TMPDIR/dravik-metrics.timer"
    same "0: " "$status: $output"
}

@test "a fault in one of them is found" {
    command -v systemd-analyze >/dev/null || skip "systemd-analyze is not here"
    sed 's/^OnBootSec=.*/OnBootSec=soon/' "$TIMER" >"$BATS_TEST_TMPDIR/dravik-metrics.timer"
    analyzed verify --man=no "$BATS_TEST_TMPDIR/dravik-metrics.timer"
    [[ $output == *"dravik-metrics.timer:"*soon* ]]
}

@test "systemd calls the confinement of the service good" {
    analyzed security --offline=true --no-pager --threshold=20
    [[ $output != *"unrecognized option"* ]] || skip "this systemd-analyze cannot judge a unit without systemd"
    echo "$output" | grep -E '^✗|exposure' || true
    same 0 "$status"
}

@test "the service writes a textfile into the folder that it waits for and may write, every 15 seconds" {
    expect_text settings_of_places <<END
Unit.ConditionPathIsDirectory $FOLDER
Service.ExecStart /usr/bin/dravik metrics --textfile $FOLDER/dravik.prom
Service.ReadWritePaths $FOLDER -/dumps
Timer.OnUnitActiveSec 15s
Install.WantedBy timers.target
END
    # A service that could be enabled by itself would run once a boot.
    same "" "$(sed -n '/^\[Install\]/p' "$SERVICE")"
}

settings_of_places() {
    for UNIT in "$SERVICE" "$TIMER"; do
        settings | grep -E '^(Unit.Condition|Service.ExecStart|Service.ReadWritePaths|Timer.OnUnitActiveSec|Install)'
    done
}

@test "the command line of the service writes the textfile on a host, for everybody to read" {
    local command
    make_host
    start_monitor
    mkdir -p "$HOST$FOLDER"
    read -r -a command < <(settings | sed -n 's,^Service.ExecStart /usr/bin/,,p')
    in_host "${command[@]}"
    same 644 "$(stat -c %a "$HOST$FOLDER/dravik.prom")"
    same dravik.prom "$(ls -A "$HOST$FOLDER")"
    # What the ledger says is the same, but for the age.
    same "$(in_host dravik metrics | grep -v '^dravik_observation_age')" "$(grep -v '^dravik_observation_age' "$HOST$FOLDER/dravik.prom")"
}

@test "the journal keeps what the service says of a fault, and nothing of the thousands of runs that succeed" {
    local command
    # What systemd says of each run is info, and so would be what the program says; that a process was killed is a notice.
    same $'SyslogLevel warning\nLogLevelMax notice' "$(settings | sed -nE 's/^Service\.((Syslog|Log)Level.*)/\1/p')"
    make_host
    mkdir -p "$HOST$FOLDER"
    read -r -a command < <(settings | sed -n 's,^Service.ExecStart /usr/bin/,,p')
    run in_host "${command[@]}"
    same "1: dravik metrics: there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet" "$status: $output"
    start_monitor
    run in_host "${command[@]}"
    same "0: " "$status: $output"
}

# The system calls of the program as the service runs it, with the monitor's ledger in use.
calls_of_metrics() {
    local trace=$BATS_TEST_TMPDIR/trace
    make_host
    start_monitor
    mkdir -p "$HOST$FOLDER"
    timeout 60 strace -f -qq -o "$trace" "$SIMHOST" "$HOST" run dravik metrics --textfile "$FOLDER/dravik.prom" 3>&-
    [[ -s $HOST$FOLDER/dravik.prom ]]
    awk '
        !begun && /execve\("[^"]*dravik"/ && / = 0$/ { begun = 1; program = $1 }
        begun && $1 == program && match($2, /^[a-z_0-9]+\(/) { print substr($2, 1, RLENGTH - 1) }' "$trace" | sort -u
}

@test "the service denies no system call that the program makes" {
    local -a groups allowed
    local made call
    command -v systemd-analyze >/dev/null || skip "systemd-analyze is not here"
    read -r -a groups < <(settings | sed -n 's/^Service.SystemCallFilter ~//p' | paste -sd' ')
    read -r -a allowed < <(settings | sed -n 's/^Service.SystemCallFilter \([^~]\)/\1/p' | paste -sd' ')
    made=$(calls_of_metrics)
    # What was traced is the program at work.
    for call in execve openat fcntl write; do
        grep -qx "$call" <<<"$made"
    done
    grep -qE '^rename(at2?)?$' <<<"$made"
    same "" "$(comm -12 <(calls_of "${groups[@]}" | grep -vxF -f <(printf '%s\n' "${allowed[@]}")) - <<<"$made")"
}
