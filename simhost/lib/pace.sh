# shellcheck shell=bash
# shellcheck disable=SC2154 # dialValue is set by dial of host/lib/dials.sh
# The monitor and its time: start and stop it, let it run cycle by cycle or at any speed, turn the clock.
#
# The preload library turns the monitor's sleep() into a wait: it appends the seconds to sim/sleeps, turns the dial
# "asleep" to 1, writes a byte into the pipe sim/asleep and waits for a byte from the pipe sim/tick.

STEP_LIMIT=${SIMHOST_STEP_LIMIT:-60}

# The pid file holds the process and its start time, so that a number used again is not taken for the monitor.
startTimeOf() {
    local line
    { read -r line <"/proc/$1/stat"; } 2>/dev/null || return 1
    line=${line##*) }
    set -f
    # shellcheck disable=SC2086 # the fields are wanted as words
    set -- $line
    set +f
    [[ $1 != Z ]] && startTime=${20}
}

# True when the monitor runs; its number is then in monitorPid.
monitorRuns() {
    local since
    [[ -s $SIM/monitor.pid ]] || return 1
    read -r monitorPid since <"$SIM/monitor.pid"
    startTimeOf "$monitorPid" && [[ $since == "$startTime" ]]
}

# A background process must not keep the descriptors of the one who started it: a test runner waits for their end.
closeInherited() {
    local fd
    for fd in /proc/self/fd/*; do
        fd=${fd##*/}
        ((fd > 2)) && eval "exec $fd>&-" 2>/dev/null
    done
    return 0
}

startMonitor() {
    local live='' pid
    local -a program=(/usr/bin/dravik-monitor) settings=()
    while (($# > 0)); do
        case $1 in
        --live) live=1 ;;
        --program)
            (($# >= 2)) || die "monitor start: --program needs a command"
            program=("${@:2}")
            break
            ;;
        *=*) settings+=("$1") ;;
        *) die "monitor start: unknown option $1" ;;
        esac
        shift
    done
    ! monitorRuns || die "the monitor runs already (process $monitorPid)"
    : >"$SIM/sleeps"
    drainPipe tick
    drainPipe asleep
    setDial asleep 0
    setDial speed "${live:-0}"
    prepareEntry SIMHOST_PACED=1 ${settings[@]+"${settings[@]}"}
    (
        closeInherited
        exec setsid "${ENTRY[@]}" "${program[@]}" </dev/null >"$SIM/monitor.out" 2>"$SIM/monitor.err"
    ) &
    pid=$!
    startTimeOf "$pid" || die "the monitor did not start: $(<"$SIM/monitor.err")"
    echo "$pid $startTime" >"$SIM/monitor.pid"
}

# endMonitor SIGNAL: sends it and waits until the process is gone.
endMonitor() {
    local waited=0
    monitorRuns || die "the monitor does not run"
    kill "-$1" "$monitorPid" 2>/dev/null || true
    while monitorRuns; do
        ((waited++ < 1000)) || die "the monitor (process $monitorPid) does not end"
        sleep 0.01
    done
    rm -f "$SIM/monitor.pid"
}

showMonitor() {
    if monitorRuns; then
        echo "running $monitorPid"
    else
        echo "stopped"
        return 3
    fi
}

# Holds the pipe NAME open in pipeFd: a byte that is written while nobody holds a pipe is lost with its writer.
holdPipe() { exec {pipeFd}<>"$SIM/$1"; }
dropPipe() { exec {pipeFd}>&-; }

# Empties the pipe that is held.
drainHeldPipe() {
    local _
    while read -r -t 0 -u "$pipeFd"; do LC_ALL=C read -r -N 1 -u "$pipeFd" _; done
}

drainPipe() {
    local pipeFd
    holdPipe "$1"
    drainHeldPipe
    dropPipe
}

# Waits a moment for the bell of the pipe sim/asleep, which is held, while the monitor lives and until STEP_LIMIT
# seconds after waitSince. A bell that is lost (a read that times out can take its byte along) or left over does
# no harm: the callers look at what has happened.
waitForBell() {
    local _
    LC_ALL=C read -r -N 1 -t 0.2 -u "$pipeFd" _ && return
    monitorRuns || die "the monitor ended: $(tail -n 3 "$SIM/monitor.err")"
    ((SECONDS - waitSince < STEP_LIMIT)) || die "the monitor did not finish its cycle within $STEP_LIMIT seconds"
}

# settle: returns when the monitor is in its sleep.
settleMonitor() {
    local pipeFd waitSince=$SECONDS
    monitorRuns || die "the monitor does not run"
    holdPipe asleep
    dial asleep
    while ((dialValue == 0)); do
        waitForBell
        dial asleep
    done
    dropPipe
}

# How many times the monitor has gone to sleep, in sleepCount.
countSleeps() {
    local -a lines
    mapfile -t lines <"$SIM/sleeps"
    sleepCount=${#lines[@]}
}

# step [N]: N times a tick and the whole cycle after it.
stepMonitor() {
    local i pipeFd waitSince sleepCount before
    [[ ${1-1} =~ ^[0-9]+$ ]] || die "step: \"$1\" is not a number"
    for ((i = 0; i < ${1-1}; i++)); do
        settleMonitor
        holdPipe asleep
        drainHeldPipe
        countSleeps
        before=$sleepCount
        waitSince=$SECONDS
        printf . >"$SIM/tick"
        while ((sleepCount == before)); do
            waitForBell
            countSleeps
        done
        dropPipe
    done
}

# speed X: how many times faster than real time cycles follow one another; 0: by step only.
setSpeed() {
    [[ ${1-} =~ ^[0-9]+(\.[0-9]+)?$ ]] || die "speed: a number, for instance 1, 60 or 0.5; 0 waits for step"
    setDial speed "$1"
    # One who waits for a tick gets it, and sees the new speed in its next sleep.
    if [[ $1 != 0 ]] && monitorRuns; then
        dial asleep
        ((dialValue == 0)) || printf . 1<>"$SIM/tick"
    fi
}

# clock [+N|-N | freeze TIME | run]
turnClock() {
    local seconds
    case ${1-} in
    '')
        dial clock_frozen
        seconds=$dialValue
        ((seconds != 0)) || seconds=$(date +%s)
        dial clock_offset
        ((seconds += dialValue))
        dial clock_slept
        date -u -d "@$((seconds + dialValue))" '+%Y-%m-%d %H:%M:%S'
        ;;
    +[0-9]* | -[0-9]*)
        dial clock_offset
        setDial clock_offset $((dialValue + $1))
        ;;
    freeze)
        seconds=$(date -u -d "${2-now}" +%s) || die "clock freeze: \"$2\" is not a time"
        setDial clock_frozen "$seconds"
        setDial clock_offset 0
        setDial clock_slept 0
        ;;
    run) setDial clock_frozen 0 ;;
    *) die "clock: +N, -N, freeze TIME or run" ;;
    esac
}
