#!/usr/bin/env bash
# The story of a host, told by its monitor: a simulated host is built, things happen to its array, and each
# step is printed beside the change-log lines that it caused.
#
#   usage: demo.sh BUILD_DIR
#
# Exit status 0 only if every step caused exactly the lines that it should.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
if [ $# -ne 1 ] || [ ! -x "$1/dravik-monitor" ]; then
    echo "usage: ${0##*/} BUILD_DIR (a folder with dravik-monitor in it)" >&2
    exit 2
fi
build=$(cd "$1" && pwd)

top=$(mktemp -d "${TMPDIR:-/tmp}/dravik-demo.XXXXXX")
host=$top/host
sim() { "$here/simhost" "$host" "$@"; }

cleanup() {
    sim monitor kill >/dev/null 2>&1 || true
    rm -rf "$top"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

bold='' plain=''
if [ -t 1 ]; then
    bold=$'\e[1m' plain=$'\e[0m'
fi
failures=0
seen=0 # lines of the change log that have been shown

# A reader at a terminal gets time to read; a test does not wait.
pause() { [ ! -t 1 ] || sleep "${1:-2}"; }

tell() { printf '\n%s%s%s\n' "$bold" "$*" "$plain"; }

# Prints and runs a command of the simulated host, the way a person would type it.
act() {
    printf '  $ simhost %s %s\n' HOST "$*"
    sim "$@"
}

fail() {
    failures=$((failures + 1))
    printf '  !! %s\n' "$*"
}

change_log() { sed 's/^\[[^]]*\] //' "$host/dumps/dravik_monitor.log" 2>/dev/null || true; }

# The lines that the change log has gained since they were last taken.
new_lines() { change_log | tail -n +$((seen + 1)); }

# Prints what it reads, set in from the left and cut to a line's width.
quote() { cut -c 1-150 | sed 's/^/    | /'; }

# expect < LINES: lets one cycle happen and compares what it wrote, to the letter.
expect() {
    local expected lines
    expected=$(cat)
    [ "${1-}" = "already" ] || sim step
    lines=$(new_lines)
    [ -z "$lines" ] || quote <<<"$lines"
    [ "$lines" = "$expected" ] || fail "this is not what should have been logged; expected:
$expected"
    seen=$(change_log | wc -l)
    pause
}

created() { printf 'The lun is created, the properties are [ path_alias: %s, wwid: %s ].\n' "$1" "$2"; }
deleted() { printf 'The lun is deleted, the properties are [ path_alias: %s, wwid: %s ].\n' "$1" "$2"; }
# path EVENT ALIAS WWID NAME GROUP-STATUS
path() {
    printf 'The path is %s, the properties are [ path_alias: %s, wwid: %s, dev_name: %s, path_status: ready, path_group_status: %s, dravik_status:running ].\n' "$@"
}
status() { printf 'The path status is changed from [%s] to [%s] for the path [ dev_name: %s ].\n' "$2" "$3" "$1"; }

first_sight() {
    tell "A host is built: 12 volumes over Fibre Channel, iSCSI, SAS and NVMe, and the monitor is started."
    "$here/simhost" build "$host" --from "$build" >/dev/null
    printf '  $ simhost HOST monitor start\n'
    sim monitor start
    sim settle
    local luns paths
    luns=$(new_lines | grep -c '^The lun is created') || true
    paths=$(new_lines | grep -c '^The path is created') || true
    new_lines | sed -n 1,3p | quote
    printf '    | ... %s volumes and %s paths in all; the foreign vendor'"'"'s volume is none of ours.\n' "$luns" "$paths"
    [ "$luns $paths" = "11 25" ] || fail "expected 11 volumes and 25 paths"
    seen=$(change_log | wc -l)
    pause 3
}

nothing_happens() {
    tell "Ten quiet seconds: an unchanged topology writes nothing."
    expect </dev/null
}

a_path_fails() {
    tell "A path of mpatha fails ..."
    act fail-path sdb
    expect < <(status sdb ready faulty)
    tell "... and comes back."
    act restore-path sdb
    expect < <(status sdb faulty ready)
}

a_port_is_lost() {
    tell "A whole port of the array is lost: every path that reached it, whichever volume it belongs to."
    act fail-port 0x20d0000b5d6a1010
    expect < <(for name in sdb sdf sdh sdq sds; do status "$name" ready faulty; done)
    act restore-port 0x20d0000b5d6a1010
    expect < <(for name in sdb sdf sdh sdq sds; do status "$name" faulty ready; done)
}

volumes_come_and_go() {
    tell "A volume is unmapped on the array, and another one mapped."
    act unmap mpathb
    act map newdata transport=fc paths=2 wwid=3600b5d60001a2b3c00000000000000aa vdisk=vol_new
    local names
    mapfile -t names < <(sim run velomux -ll newdata | awk '/ active ready running/ {print $(NF - 4)}')
    expect < <(
        deleted mpathb 3600b5d60001a2b3c0000000000000002
        created newdata 3600b5d60001a2b3c00000000000000aa
        path deleted mpathb 3600b5d60001a2b3c0000000000000002 sdf active
        path deleted mpathb 3600b5d60001a2b3c0000000000000002 sdg active
        path created newdata 3600b5d60001a2b3c00000000000000aa "${names[0]}" active
        path created newdata 3600b5d60001a2b3c00000000000000aa "${names[1]}" active
    )
}

an_alias_changes() {
    tell "mpathe is given another name."
    act rename mpathe backup01
    expect < <(
        printf 'The path alias is changed from [mpathe] to [backup01] for the path [ dev_name: %s ].\n' sdm sdn
    )
}

the_monitor_dies() {
    tell "The monitor is killed. While it is away, a volume goes. Started again, it reports what it missed."
    act monitor kill
    act unmap mpathd
    act monitor start
    sim settle
    expect already < <(
        deleted mpathd 3600b5d60001a2b3c0000000000000005
        path deleted mpathd 3600b5d60001a2b3c0000000000000005 sdl active
    )
}

# The administration tool on the same host: one volume as the array and the host see it, then live rates.
the_administrator_looks() {
    [ -x "$build/dravik" ] || return 0
    tell "What does the host know of mpatha?"
    # shellcheck disable=SC2016 # a dollar to be read
    printf '  $ dravik query mpatha\n'
    local shown
    shown=$(sim run dravik query mpatha) || fail "the query failed"
    quote <<<"$shown"
    grep -q '^vdisk_name: vol_database$' <<<"$shown" || fail "the array's name of the volume is missing"
    pause 3

    tell "And how busy is it? A report a second, then Ctrl+C."
    printf '  $ dravik devstats -interval 1 -path_alias mpatha\n'
    sim load mpatha mixed 400
    sim counters advance 60 # a minute since the host was started: the first report shows it
    sim counters start
    local report
    report=$(sim run timeout -s INT 3.4 dravik devstats -interval 1 -path_alias mpatha) || true
    sim counters stop
    quote <<<"$report"
    [ "$(grep -c '^mpatha ' <<<"$report")" -ge 3 ] || fail "expected three reports of mpatha"
    pause 3
}

# What the ledger, the second witness, has of all this.
the_ledger_tells() {
    [ -x "$build/dravik" ] || return 0
    tell "A port is lost once more, and now the ledger is asked: how are the volumes reached?"
    local name
    name=$(sim run velomux -ll newdata | awk '/ active ready running/ {print $(NF - 4); exit}')
    act fail-port 0x20d0000b5d6a1010
    expect < <(for name in sdb sdh sdq sds "$name"; do status "$name" ready faulty; done)
    local shown status
    printf '  $ dravik list\n'
    shown=$(sim run dravik list) || fail "the list failed"
    quote <<<"$shown"
    [ "$(grep -c ' last path  ' <<<"$shown")" = 4 ] || fail "four volumes should be on their last path"
    pause 3
    tell "The verdict, for people and for a monitoring system: exit status 2."
    printf '  $ dravik check\n'
    status=0
    shown=$(sim run dravik check) || status=$?
    quote <<<"$shown"
    [ "$status" = 2 ] || fail "the exit status is $status"
    pause 3
    tell "And what happened, an incident a line, whatever the number of paths."
    printf '  $ dravik events\n'
    shown=$(sim run dravik events) || fail "the events failed"
    tail -n 12 <<<"$shown" | quote
    grep -q 'port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, all volumes keep working (fault)$' \
        <<<"$shown" || fail "the lost port is missing"
    pause 3
}

first_sight
nothing_happens
a_path_fails
a_port_is_lost
volumes_come_and_go
an_alias_changes
the_monitor_dies
the_administrator_looks
the_ledger_tells

if [ "$failures" -gt 0 ]; then
    tell "$failures of the steps above did not go as they should."
    exit 1
fi
tell "That was the whole story; every line was the expected one."
cat <<END
Where to look next:
  simhost/README.md     build such a host, open a shell in it, break it yourself
  ./run test            the proof
  README.md             what the product is made of
END
