# shellcheck shell=bash
# shellcheck disable=SC2154 # startTime is set by startTimeOf of pace.sh
# The kernel's counters: what loads the volumes and paths, and the time that passes for them.

# makeCounters DISKSTATS CPUS: all counters at zero; DISKSTATS empty: a kernel without that file.
makeCounters() {
    local cpu
    [[ $1 ]] || : >"$SIM/no_diskstats"
    echo "$2" >"$SIM/cpus"
    echo 11 >"$SIM/diskstats_columns"
    : >"$SIM/counters"
    : >"$SIM/loads"
    for ((cpu = 0; cpu < $2; cpu++)); do mkdir -p "$HOST/sys/devices/system/cpu/cpu$cpu"; done
    echo "0-$(($2 - 1))" >"$HOST/sys/devices/system/cpu/online"
}

# load VOLUME|PATH KIND [RATE]: a new load takes the place of the old one.
setLoad() {
    local rate=${3-100}
    [[ " idle reading writing mixed slow " == *" ${2-} "* ]] || die "load: idle, reading, writing, mixed or slow"
    [[ $rate =~ ^[0-9]+(\.[0-9]+)?$ ]] || die "load: \"$rate\" is not a rate"
    findVolume "$1" || grep -q "^path $1 " "$SIM/state" || die "there is no volume or path $1"
    lockState
    # A blank in a name is kept as "~", as everywhere in the state.
    awk -v "who=${1// /\~}" '$1 != who' "$SIM/loads" >"$SIM/loads.new"
    [[ $2 == idle ]] || echo "${1// /\~} $2 $rate" >>"$SIM/loads.new"
    mv "$SIM/loads.new" "$SIM/loads"
    unlockState
}

advanceCounters() {
    [[ ${1-} =~ ^[0-9]+(\.[0-9]+)?$ ]] || die "counters advance: SECONDS"
    lockState
    moveCounters "$1"
    unlockState
}

# The live ticker: every second, the counters move by the time that really passed.
tickCounters() {
    local last=${EPOCHREALTIME/./} now
    while [[ -d $SIM ]]; do
        sleep 1
        now=${EPOCHREALTIME/./}
        lockState
        moveCounters "$(((now - last) / 1000000)).$(printf '%06d' $(((now - last) % 1000000)))"
        unlockState
        last=$now
    done
}

startTicker() {
    stopTicker
    (
        closeInherited
        tickCounters
    ) </dev/null >/dev/null 2>&1 &
    startTimeOf $! || die "the counters did not start"
    echo "$! $startTime" >"$SIM/counters.pid"
}

stopTicker() {
    local pid since
    [[ -s $SIM/counters.pid ]] || return 0
    read -r pid since <"$SIM/counters.pid"
    if startTimeOf "$pid" && [[ $since == "$startTime" ]]; then kill "$pid"; fi
    rm -f "$SIM/counters.pid"
}

setColumns() {
    [[ " 11 15 17 " == *" ${1-} "* ]] || die "counters columns: 11, 15 or 17"
    echo "$1" >"$SIM/diskstats_columns"
    lockState
    moveCounters 0 all
    unlockState
}

onCounters() {
    case ${1-} in
    advance) advanceCounters "${2-}" ;;
    start) startTicker ;;
    stop) stopTicker ;;
    columns) setColumns "${2-}" ;;
    *) die "counters: advance SECONDS, start, stop or columns N" ;;
    esac
}
