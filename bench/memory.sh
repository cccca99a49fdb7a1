#!/usr/bin/env bash
# The memory of the monitor after a few cycles, at 1,024 and at 32,768 paths, and of "dravik devstats" at the larger
# size, on the simulated host. The paths need no look-up of their target port, so that a cycle is one child process.
#
#   usage: memory.sh BUILD_DIR
set -euo pipefail

[ $# -eq 1 ] || {
    echo "usage: ${0##*/} BUILD_DIR" >&2
    exit 2
}
build=$1
simhost=$(cd "$(dirname "${BASH_SOURCE[0]}")/../simhost" && pwd)/simhost
top=$(mktemp -d "${TMPDIR:-/tmp}/dravik-memory.XXXXXX")
trap '"$simhost" "$top/host" monitor kill >/dev/null 2>&1 || true; rm -rf "$top"' EXIT

field() { awk -v name="$1:" '$1 == name {printf "%.1f MiB", $2 / 1024}' "/proc/$2/status"; }

for volumes in 128 4096; do
    echo "many volumes=$volumes paths=8 transport=none" >"$top/many.scn"
    rm -rf "$top/host"
    "$simhost" build "$top/host" --scenario "$top/many.scn" --from "$build" >/dev/null
    "$simhost" "$top/host" monitor start
    "$simhost" "$top/host" step 3
    read -r _ pid < <("$simhost" "$top/host" monitor status)
    printf 'monitor, %6d paths: %s resident, %s at most\n' $((volumes * 8)) "$(field VmRSS "$pid")" \
        "$(field VmHWM "$pid")"
    "$simhost" "$top/host" monitor kill
done

# simhost replaces itself with the program, so the number of the background job is the program's.
touch "$top/report"
"$simhost" "$top/host" run dravik devstats -interval 1 >"$top/report" &
pid=$!
until grep -c "^Device " "$top/report" | grep -qv "^[01]$"; do sleep 0.1; done
printf 'devstats, %5d paths: %s resident, %s at most\n' $((volumes * 8)) "$(field VmRSS "$pid")" \
    "$(field VmHWM "$pid")"
kill -INT "$pid" 2>/dev/null || true
kill "$pid" 2>/dev/null || true
