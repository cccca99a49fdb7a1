# shellcheck shell=bash
# Going into a simulated host: chroot and a clean environment; always by exec, so that signals and exit statuses pass
# through.

# With a real /proc (SIMHOST_REAL_PROC=1, or a product built with sanitizers): in a mount namespace of its own, the
# real one lies over the host's /proc, and the simulated files move to /sim/proc, where the preload library sends
# those who open them. Nothing of that may reach the machine's own namespace. Where this machine is a chroot itself and
# its root no mount point, its mounts can be cut off from the others only from the namespace's own root, to which
# nsenter goes.
# shellcheck disable=SC2016 # the text is run by the shell inside the namespace
MOUNT_PROC='{ mount --make-rprivate / 2>/dev/null || nsenter --mount=/proc/self/ns/mnt mount --make-rprivate /; } &&
    mount --bind "$1/proc" "$1/sim/proc" && mount --rbind /proc "$1/proc" && exec chroot "$@"'

# prepareEntry VAR=VALUE...: fills ENTRY with the words before the command to run; the pairs enter the environment.
prepareEntry() {
    local -a namespace=() inside
    local name
    [[ ! -e $SIM/real_proc ]] || local SIMHOST_REAL_PROC=1
    inside=("$HOST" /usr/bin/env -i PATH=/usr/sbin:/usr/bin HOME=/root TZ=UTC LC_ALL=C)
    for name in TERM DRAVIK_CLI_DEBUG SIMHOST_SLEEPS SIMHOST_REAL_PROC ASAN_OPTIONS UBSAN_OPTIONS; do
        [[ ${!name-} ]] && inside+=("$name=${!name}")
    done
    inside+=("$@")
    ((EUID == 0)) || namespace=(unshare -r)
    if [[ ${SIMHOST_REAL_PROC-} ]]; then
        ((EUID == 0)) && namespace=(unshare)
        ENTRY=("${namespace[@]}" -m --propagation unchanged sh -c "$MOUNT_PROC" enter "${inside[@]}")
    else
        ENTRY=(${namespace[@]+"${namespace[@]}"} chroot "${inside[@]}")
    fi
}

runInHost() {
    (($# > 0)) || die "run: which command?"
    prepareEntry
    exec "${ENTRY[@]}" "$@"
}

shellInHost() {
    prepareEntry "PS1=[$(basename "$HOST")] \\w # "
    exec "${ENTRY[@]}" bash --norc -i
}

# stop: ends everything that runs in the host: the monitor, tools that hang, forgotten shells, the live counters.
stopHost() {
    local process
    stopTicker
    for process in /proc/[0-9]*; do
        if [[ $process/root -ef $HOST ]]; then kill -KILL "${process#/proc/}" 2>/dev/null || true; fi
    done
    rm -f "$SIM/monitor.pid"
}

# The change log as it stands, and as it grows.
showLog() {
    [[ ! -e $HOST/dumps/dravik_monitor.log ]] || cat "$HOST/dumps/dravik_monitor.log"
}

watchLog() {
    exec tail -n +1 -F "$HOST/dumps/dravik_monitor.log" 2>/dev/null
}
