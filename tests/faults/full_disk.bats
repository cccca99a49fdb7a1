#!/usr/bin/env bats
# A disk that becomes full at any byte, and file-size limits: no file is lost or cut but a log line and the snapshot, which
# the next write mends.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

setup() { [[ -x $FULL_DISK ]] || skip "full_disk is made for x86_64 only"; }

writer() { "${ENTRY[@]}" file_writers "$@"; }
FULL_DISK=$FAULT_PROGRAMS/full_disk

# bytes FOLDER COMMAND...: how many it writes below the folder.
bytes() { "$FULL_DISK" "$1" count "${@:2}" 2>&1 >/dev/null | tail -n 1; }

# full_while_writing KIND WHAT-MAY-BE-FOUND...
full_while_writing() {
    local kind=$1 last room seen wanted
    shift
    rm -rf "$HOST/dumps"
    mkdir -m 700 "$HOST/dumps"
    writer write "$kind" 1
    cp -a "$HOST/dumps" "$BATS_TEST_TMPDIR/before"
    last=$(bytes "$HOST/dumps" "${ENTRY[@]}" file_writers write "$kind" 2)
    while read -r room; do
        rm -rf "$HOST/dumps"
        cp -a "$BATS_TEST_TMPDIR/before" "$HOST/dumps"
        attempt "$kind, $room bytes" "$FULL_DISK" "$HOST/dumps" "$((room - 1))" "${ENTRY[@]}" file_writers write "$kind" 2
        seen=$(writer look "$kind" || true)
        for wanted in "$@"; do [[ $seen != "$wanted" ]] || seen=; done
        [[ -z $seen ]] || found torn "$kind, $((room - 1)) bytes: $seen"
        writer write "$kind" 3
        seen=$(writer look "$kind" || true)
        [[ $seen == 'whole 3' ]] || found lost "$kind, $((room - 1)) bytes, then free: $seen"
    done < <(points 6 "$((last + 1))" | every "$kind")
    rm -rf "$BATS_TEST_TMPDIR/before"
}

# The ledger's pages are of 4,096 bytes: of those, a byte before, at and behind each eighth of one.
every() {
    if [[ $1 == ledger && $FAULTS == whole ]]; then awk '$1 % 512 < 3'; else cat; fi
}

@test "a disk below /dumps that becomes full at any byte of a file leaves the old file or the new one" {
    make_fault_host
    # The snapshot is truncated and then written: short until the next cycle, which writes it again.
    full_while_writing snapshot 'whole 2' empty cut
    full_while_writing cache 'whole 1' 'whole 2'
    full_while_writing changes 'whole 1' 'whole 2'
    full_while_writing commands 'whole 1' 'whole 2'
    full_while_writing ledger 'whole 1' 'whole 2'
    count "bytes at which /dumps becomes full, file by file"
}

@test "a disk that becomes full under the monitor and is free again costs it no change" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    local last room
    fresh_dumps
    last=$(bytes "$HOST/dumps" "${MONITOR[@]}")
    while read -r room; do
        fresh_dumps
        attempt "monitor, $room bytes" "$FULL_DISK" "$HOST/dumps" "$room" "${MONITOR[@]}"
        ((STATUS == 0)) || found wrong "monitor, $room bytes: exit status $STATUS"
        judge_log "$HOST/dumps/dravik_monitor.log" "monitor, $room bytes"
        judge_log "$HOST/dumps/dravik_cli.log" "monitor, $room bytes"
        # With space again, and the topology as it was last: the snapshot and the ledger are brought up to date.
        ln -f "$HOST/sim/said.1" "$HOST/sim/said"
        "${ENTRY[@]}" LD_PRELOAD=/sim/run_cycles.so RUN_CYCLES=2 /usr/bin/dravik-monitor 3>&-
        text "$HOST/dumps/data.dravik"
        [[ $TEXT == "$LAST_SNAPSHOT" ]] || found lost "monitor, $room bytes: the snapshot"
        [[ $(writer look ledger) == whole* ]] || found torn "monitor, $room bytes: the ledger"
    done < <(points 20 "$last" | if [[ $FAULTS == whole ]]; then awk '$1 % 509 < 1 || $1 > '"$((last - 20))"; else cat; fi)
    count "bytes at which /dumps becomes full under the monitor"
}

# full_etc OLD NEW SAMPLES COMMAND: at every byte of what it writes below /etc.
full_etc() {
    local old=$1 new=$2 samples=$3 command=$4 last room where
    set_conf "$old"
    # shellcheck disable=SC2086 # the words of the command
    last=$(bytes "$HOST/etc" "${ENTRY[@]}" dravik $command)
    ((last > 0))
    while read -r room; do
        set_conf "$old"
        : >"$HOST/sim/calls.log"
        where="$command, $room bytes below /etc"
        # shellcheck disable=SC2086
        attempt "$where" "$FULL_DISK" "$HOST/etc" "$room" "${ENTRY[@]}" dravik $command
        ((STATUS == 0 || STATUS == 1)) || found wrong "$where: exit status $STATUS"
        judge_conf "$where" "$old" "$new"
        judge_backup "$where" "$old"
        [[ ! -e $HOST/etc/velomux.conf.bk.old ]] || found lost "$where: a backup is put aside"
        judge_log "$HOST/dumps/dravik_cli.log" "$where"
        audits "$where" 1
    done < <(points "$samples" "$last")
}

@test "an /etc that becomes full at any byte leaves velomux.conf as it was or as it was to be" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    local old new command
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    for command in "setalias -wwid $A -alias backup" "delalias -wwid $A" config \
        'setpathpolicy -chooser round-robin-extend' '--service mkconfig'; do
        set_conf "$old"
        undisturbed "$command"
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        full_etc "$old" "$new" 8 "$command"
        old=$new
    done
    count "bytes at which /etc becomes full under the changing commands"
}

@test "an /etc that is a real file system with few pages left leaves velomux.conf whole" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    local old new kib command etc=$HOST/etc
    succeeds config
    # 38 KiB, as on a host with many volumes.
    { cat "$etc/velomux.conf" && awk 'BEGIN { for (i = 0; i < 500; i++) printf "# a remark of the administrator, number %06d, of which there are many\n", i }'; } >"$BATS_TEST_TMPDIR/conf"
    text "$BATS_TEST_TMPDIR/conf"
    old=$TEXT
    cp -a "$etc" "$HOST/etc.kept"
    set_conf "$old"
    for command in "setalias -wwid $A -alias backup" 'setpathpolicy -chooser round-robin-extend' '--service mkconfig'; do
        set_conf "$old"
        undisturbed "$command"
        text "$etc/velomux.conf"
        new=$TEXT
        while read -r kib; do
            mount -t tmpfs -o "size=$((kib * 4 + 60))k" tmpfs "$etc" || skip "no file system can be mounted here"
            cp -a "$HOST/etc.kept/." "$etc/"
            if ! printf '%s' "$old" >"$etc/velomux.conf" 2>/dev/null; then
                umount "$etc"
                continue
            fi
            tell_tool "$old"
            # shellcheck disable=SC2086
            attempt "$command, $kib pages" "${ENTRY[@]}" dravik $command
            judge_conf "$command, $kib pages" "$old" "$new"
            judge_backup "$command, $kib pages" "$old"
            umount "$etc"
        done < <(points 4 40)
    done
    count "pages of a real file system at which /etc is full"
}

@test "a caller's limit of file sizes, which can be lifted, changes nothing" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    local blocks old new command
    for blocks in 0 1 4; do
        fresh_dumps
        attempt "monitor, ulimit -S -f $blocks" \
            bash -c 'ulimit -S -f "$1"; exec "${@:2}"' limited "$blocks" "${MONITOR[@]}"
        ((STATUS == 0)) || found wrong "monitor, ulimit -S -f $blocks: exit status $STATUS"
        judge_cycles "monitor, ulimit -S -f $blocks"
    done
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    for command in config 'setpathpolicy -chooser round-robin-extend' '--service mkconfig'; do
        set_conf "$old"
        undisturbed "$command"
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        for blocks in 0 1 2; do
            set_conf "$old"
            attempt_limited -S "$blocks" "$command"
            judge_conf "$command, ulimit -S -f $blocks" "$new"
            audits "$command, ulimit -S -f $blocks" 1
        done
        old=$new
    done
    count "limits of file sizes that can be lifted"
}

# attempt_limited -S|-H BLOCKS COMMAND: under that limit; what it prints goes through a pipe.
attempt_limited() {
    # shellcheck disable=SC2086 # the words of the command
    attempt "$3, ulimit $1 -f $2" bash -c 'set -o pipefail; (ulimit -S -f "$2"; ulimit "$1" -f "$2"; shift 2; exec "$@") 2>&1 | cat' \
        limited "$1" "$2" "${ENTRY[@]}" dravik $3
}

@test "a limit of file sizes that cannot be lifted is a disk that is full" {
    make_fault_host
    MIXTURE_IS_CONTRACT=1
    setpriv --help 2>/dev/null | grep -q bounding-set || skip "setpriv is not installed"
    local blocks old new command
    local -a entry=("${ENTRY[@]}")
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    for command in config 'setpathpolicy -chooser round-robin-extend' '--service mkconfig'; do
        set_conf "$old"
        undisturbed "$command"
        text "$HOST/etc/velomux.conf"
        new=$TEXT
        ENTRY=(setpriv --bounding-set=-sys_resource --inh-caps=-sys_resource "${entry[@]}")
        for blocks in 0 1 2 3 4; do
            set_conf "$old"
            attempt_limited -H "$blocks" "$command"
            judge_conf "$command, ulimit -H -f $blocks" "$old" "$new"
            judge_backup "$command, ulimit -H -f $blocks" "$old"
            judge_log "$HOST/dumps/dravik_cli.log" "$command, ulimit -H -f $blocks"
        done
        ENTRY=("${entry[@]}")
        old=$new
    done
    count "limits of file sizes that cannot be lifted"
}
