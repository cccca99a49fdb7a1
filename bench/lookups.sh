#!/usr/bin/env bash
# What the look-ups of target ports cost on the simulated host, where each path has a link of its own below
# /dev/disk/by-path: processor time of a cycle of the monitor in which nothing changes, the monitor's own and its
# children's, the share of one core that this is of ten seconds, and processor time of "dravik query".
#
#   usage: lookups.sh BUILD_DIR [PATHS...]      (default: 100 1000 1024 4096 32768)
#
# Times are the least of several runs: the machine may have others to serve.
set -euo pipefail

[ $# -ge 1 ] || {
    echo "usage: ${0##*/} BUILD_DIR [PATHS...]" >&2
    exit 2
}
build=$1
shift
[ $# -gt 0 ] || set -- 100 1000 1024 4096 32768
CYCLES=5
simhost=$(cd "$(dirname "${BASH_SOURCE[0]}")/../simhost" && pwd)/simhost
top=$(mktemp -d "${TMPDIR:-/tmp}/dravik-lookups.XXXXXX")
trap '"$simhost" "$top/host" stop >/dev/null 2>&1 || true; rm -rf "$top"' EXIT

# own_us PID, child_us PID: processor time of the process so far, and of the children that it has waited for.
own_us() { awk '{printf "%d", $1 / 1000}' "/proc/$1/schedstat"; }
child_us() { awk -v ticks="$(getconf CLK_TCK)" '{printf "%d", ($16 + $17) * 1e6 / ticks}' "/proc/$1/stat"; }

least() { sort -n | head -n 1; }

# make_host PATHS: a host with so many Fibre Channel paths, eight a volume where that can be.
make_host() {
    local each=8
    (($1 % 8 == 0)) || each=4
    rm -rf "$top/host"
    "$simhost" build "$top/host" --from "$build" \
        --scenario "many volumes=$(($1 / each)) paths=$each transport=fc" >/dev/null
}

# measure_cycles PATHS
measure_cycles() {
    local pid own child i
    "$simhost" "$top/host" monitor start
    "$simhost" "$top/host" step 2
    read -r _ pid < <("$simhost" "$top/host" monitor status)
    child=$(child_us "$pid")
    for ((i = 0; i < CYCLES; i++)); do
        own=$(own_us "$pid")
        "$simhost" "$top/host" step
        echo $(($(own_us "$pid") - own))
    done >"$top/own"
    child=$((($(child_us "$pid") - child) / CYCLES))
    own=$(least <"$top/own")
    awk -v paths="$1" -v own="$own" -v child="$child" -v rss="$(awk '$1 == "VmRSS:" {print $2}' "/proc/$pid/status")" 'BEGIN {
        printf "cycle, %6d paths: %.1f ms of its own, %.0f ms of children; %.2f %% of a core; %.1f MiB resident\n",
            paths, own / 1000, child / 1000, (own + child) / 1e5, rss / 1024 }'
    "$simhost" "$top/host" monitor kill
}

# measure_query PATHS: the times of the command's process, and with its children.
measure_query() {
    local TIMEFORMAT='%U %S' i
    for ((i = 0; i < CYCLES; i++)); do
        { time "$simhost" "$top/host" run dravik query >/dev/null 2>&1; } 2>&1 | awk '{print $1 + $2}'
    done | least >"$top/query"
    for ((i = 0; i < CYCLES; i++)); do
        { time "$simhost" "$top/host" run velomux -ll >/dev/null; } 2>&1 | awk '{print $1 + $2}'
    done | least >"$top/tool"
    printf 'query, %6d paths: %s s with its children; %s s the tool alone; both with entering the host\n' "$1" \
        "$(cat "$top/query")" "$(cat "$top/tool")"
}

for paths; do
    make_host "$paths"
    measure_cycles "$paths"
    measure_query "$paths"
done
