# shellcheck shell=bash
# Those who listen to the monitor: a journal, a syslog, a service manager. Loaded behind simulated_host.

LISTENERS=()

# listen NAME SOCKET: from here on, what comes to the socket of the host (or to an abstract one, "@...") is kept as NAME.
listen() {
    local kept=$BATS_TEST_TMPDIR/heard.$1 socket=$2
    mkdir -p "$kept"
    : >"$kept.state"
    [[ $socket == @* ]] || { socket=$HOST$socket && mkdir -p "${socket%/*}" && rm -f "$socket"; }
    python3 "$REPO/tests/support/listen.py" "$socket" "$kept" >"$kept.state" 3>&- &
    LISTENERS+=($!)
    until grep -q listening "$kept.state"; do sleep 0.05; done
}

# listen_full SOCKET: somebody holds it whose queue is full, and reads nothing.
listen_full() {
    mkdir -p "$HOST${1%/*}"
    rm -f "$HOST$1"
    : >"$BATS_TEST_TMPDIR/full"
    python3 "$REPO/tests/support/listen.py" --full "$HOST$1" >"$BATS_TEST_TMPDIR/full" 3>&- &
    LISTENERS+=($!)
    until grep -q full "$BATS_TEST_TMPDIR/full"; do sleep 0.05; done
}

# stop_listening: all of them, and their sockets stay behind.
stop_listening() {
    local process
    for process in "${LISTENERS[@]}"; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    LISTENERS=()
}

# heard NAME AFTER COUNT: waits for so many datagrams behind the one of that number, and shows these and all others that
# have come meanwhile, each with an empty line behind it.
heard() {
    local number=$(($2 + 1)) kept=$BATS_TEST_TMPDIR/heard.$1
    await "$1" $(($2 + $3)) || true
    while [[ -e $kept/$number ]]; do
        cat "$kept/$number"
        echo
        number=$((number + 1))
    done
}

# count_heard NAME: how many datagrams have come.
count_heard() { find "$BATS_TEST_TMPDIR/heard.$1" -name '[0-9]*' | wc -l; }

# await NAME COUNT: waits until that many datagrams have come.
await() {
    local tries=0
    until (($(count_heard "$1") >= $2)); do
        ((++tries < 200)) || {
            echo "only $(count_heard "$1") datagrams have come to $1, not $2" >&2
            return 1
        }
        sleep 0.05
    done
}
