#!/usr/bin/env bash
# What "dravik metrics" costs at 4,096 volumes of 8 paths, whole and with --volumes-only: wall clock and processor time of
# the whole process, entering the simulated host left out, and the size of what it writes.
#
#   usage: metrics.sh BUILD_DIR [VOLUMES]      (default: 4096)
#
# Times are the least of several runs: the machine may have others to serve.
set -euo pipefail

[ $# -ge 1 ] || {
    echo "usage: ${0##*/} BUILD_DIR [VOLUMES]" >&2
    exit 2
}
build=$1
volumes=${2:-4096}
RUNS=30
simhost=$(cd "$(dirname "${BASH_SOURCE[0]}")/../simhost" && pwd)/simhost
top=$(mktemp -d "${TMPDIR:-/tmp}/dravik-metrics.XXXXXX")
trap '"$simhost" "$top/host" monitor kill >/dev/null 2>&1 || true; rm -rf "$top"' EXIT

"$simhost" build "$top/host" --from "$build" \
    --scenario "many volumes=$volumes paths=8 transport=fc" >/dev/null
"$simhost" "$top/host" monitor start
"$simhost" "$top/host" step
"$simhost" "$top/host" monitor kill

# Every run is timed inside: the shell's time keyword in the host.
cat >"$top/host/measure" <<'END'
TIMEFORMAT='%R %U %S'
for ((i = 0; i < $1; i++)); do
    time dravik "${@:2}" >/metrics.out
done
END

# measure ARGUMENTS...: the least wall clock and the least processor time, in milliseconds.
measure() {
    "$simhost" "$top/host" run bash /measure "$RUNS" "$@" 2>&1 | awk '
        { wall = $1 * 1000; cpu = ($2 + $3) * 1000 }
        NR == 1 || wall < least_wall { least_wall = wall }
        NR == 1 || cpu < least_cpu { least_cpu = cpu }
        END { printf "%d ms, %d ms of processor time", least_wall, least_cpu }'
}

for arguments in check metrics "metrics --volumes-only"; do
    # shellcheck disable=SC2086 # the words of a command line
    printf '%s, %d paths: %s; ' "$arguments" $((volumes * 8)) "$(measure $arguments)"
    awk '!/^#/ { samples++ } { bytes += length($0) + 1 } END { printf "%.1f MB, %d samples\n", bytes / 1e6, samples }' \
        "$top/host/metrics.out"
done
