# shellcheck shell=bash
# A fleet of simulated hosts and the servers that watch it, on loopback, with all that they keep below the test's folder.
# Loaded behind simulated_host. Every server ends by itself after five minutes, whatever becomes of the test.

NODES=(node1 node2 node3)
FLEET=$BATS_TEST_TMPDIR/fleet
TEXTFILES=var/lib/prometheus/node-exporter
SERVER_SECONDS=300
FLEET_TESTS=$REPO/tests/fleet

# need PROGRAM...: the test is skipped where one is missing.
need() {
    local program
    for program in "$@"; do
        command -v "$program" >/dev/null || skip "$program is not here"
    done
}

# ---- the hosts

# The same three volumes on every host: four ways, two ways, and one that no port of the array is known of.
make_fleet() {
    local node
    mkdir -p "$FLEET"
    cat >"$FLEET/array.scn" <<'END'
volume database paths=4 groups=2 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020,0x20d0000b5d6a1011,0x20d0000b5d6a1021 wwid=3600b5d60001a2b3c0000000000000001
volume mail paths=2 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020 wwid=3600b5d60001a2b3c0000000000000002
volume backup transport=sas paths=2 wwid=3600b5d60001a2b3c0000000000000003
END
    for node in "${NODES[@]}"; do
        make_host_at "$node" --scenario "$FLEET/array.scn"
        mkdir -p "$HOST/$TEXTFILES"
        start_monitor
    done
    write_textfiles
}

# on_host NODE COMMAND...: a command of that simulated host.
on_host() { "$SIMHOST" "$BATS_TEST_TMPDIR/$1" "${@:2}"; }

write_textfiles() {
    local node
    for node in "${NODES[@]}"; do
        on_host "$node" run dravik metrics --textfile "/$TEXTFILES/dravik.prom"
    done
}

# A cycle of every monitor, and what it has seen handed to the exporters.
observe() {
    local node
    for node in "${NODES[@]}"; do
        on_host "$node" step
    done
    write_textfiles
}

# ---- the servers

free_ports() {
    /usr/bin/python3 -c 'import socket, sys
sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(int(sys.argv[1]))]
print(*[each.getsockname()[1] for each in sockets])' "$1"
}

# serve NAME COMMAND...: runs it in the background, its output in a file.
serve() {
    GOMEMLIMIT=256MiB GOMAXPROCS=1 timeout "$SERVER_SECONDS" "${@:2}" >"$FLEET/$1.log" 2>&1 3>&- &
    echo $! >>"$FLEET/pids"
}

end_servers() {
    local pid
    [[ ! -e $FLEET/pids ]] || while read -r pid; do
        kill "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done <"$FLEET/pids"
}

# start_exporter NODE PORT: with nothing but the host's textfiles.
start_exporter() {
    serve "$1" prometheus-node-exporter --web.listen-address="127.0.0.1:$2" --web.disable-exporter-metrics \
        --collector.disable-defaults --collector.textfile \
        --collector.textfile.directory="$BATS_TEST_TMPDIR/$1/$TEXTFILES"
}

# The rules as installed, but that an alert waits 2 seconds in place of its minutes: what stands behind "for:" is what
# tests/fleet/rules holds.
quick_rules() { sed -E 's/^( +for: )[0-9]+[smh]$/\12s/' "$REPO/monitoring/dravik-alerts.yml"; }

# A server that scrapes an exporter for each host, once a second.
start_prometheus() {
    local -a ports
    local node
    read -r -a ports < <(free_ports $((${#NODES[@]} + 1)))
    SERVER=http://127.0.0.1:${ports[0]}
    {
        echo "global: {scrape_interval: 1s, scrape_timeout: 1s, evaluation_interval: 1s}"
        echo "rule_files: [dravik-alerts.yml, dravik-recording.yml]"
        echo "scrape_configs: [{job_name: node, static_configs: ["
        for node in "${!NODES[@]}"; do
            start_exporter "${NODES[node]}" "${ports[node + 1]}"
            echo "  {targets: ['127.0.0.1:${ports[node + 1]}'], labels: {instance: ${NODES[node]}}},"
        done
        echo "]}]"
    } >"$FLEET/prometheus.yml"
    quick_rules >"$FLEET/dravik-alerts.yml"
    cp "$REPO/monitoring/dravik-recording.yml" "$FLEET"
    same 0 "$(grep -E '^ +for: ' "$FLEET/dravik-alerts.yml" | grep -cv ': 2s$')"
    serve prometheus prometheus --config.file="$FLEET/prometheus.yml" --storage.tsdb.path="$FLEET/data" \
        --web.listen-address="127.0.0.1:${ports[0]}" --storage.tsdb.retention.time=1h --log.level=warn
    await_server
}

await_server() {
    local try
    for ((try = 0; try < 150; try++)); do
        ! targets >/dev/null 2>&1 || return 0
        sleep 0.2
    done
    cat "$FLEET"/*.log
    return 1
}

# ---- what the server says

alerts() { "$FLEET_TESTS/ask.py" "$SERVER" alerts; }
targets() { "$FLEET_TESTS/ask.py" "$SERVER" targets; }
query() { "$FLEET_TESTS/ask.py" "$SERVER" query "$1"; }
description() { "$FLEET_TESTS/ask.py" "$SERVER" description "$1"; }

# expect_within SECONDS VERB [ARGUMENTS] < EXPECTED: that it says this by then.
expect_within() {
    local expected end=$((SECONDS + $1))
    expected=$(cat)
    until [[ $("${@:2}" 2>&1) == "$expected" ]]; do
        if ((SECONDS >= end)); then
            cat "$FLEET"/*.log
            same "$expected" "$("${@:2}" 2>&1)"
            return
        fi
        sleep 0.3
    done
}

# expect_lasting VERB [ARGUMENTS] < EXPECTED: that it goes on saying this for four seconds, in which every alert that waits
# has fired.
expect_lasting() {
    local expected look
    expected=$(cat)
    for ((look = 0; look < 10; look++)); do
        same "$expected" "$("$@" 2>&1)"
        sleep 0.4
    done
}
