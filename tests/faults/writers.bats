#!/usr/bin/env bats
# Sixteen writers of each file at once, with one who looks meanwhile; a rotation among them.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

WRITERS=16

# writes WHOLE SAMPLE: how many writes each writer makes.
writes() { if [[ $FAULTS == whole ]]; then echo "$1"; else echo "$2"; fi; }

# contended KIND WRITES: takes over the figures; those of EMPTY_IS_CONTRACT are no fault.
contended() {
    local looks empty cut foreign lost refused
    "${ENTRY[@]}" file_writers contend "$1" "$WRITERS" "$2" >"$OUT" 3>&-
    read -r _ looks _ empty _ cut _ foreign _ lost _ refused <"$OUT"
    echo "$1: $(<"$OUT")"
    ((COUNTS[points] += WRITERS * $2, COUNTS[looks] += looks))
    if [[ ! ${EMPTY_IS_CONTRACT-} ]]; then ((COUNTS[torn] += empty + cut)); fi || true
    ((COUNTS[torn] += foreign, COUNTS[lost] += lost, COUNTS[wrong] += refused)) || true
}

@test "sixteen writers of the cache of names: whoever looks sees a whole file, and no name is lost" {
    make_fault_host
    contended cache "$(writes 400 20)"
    count "replacements of the cache, ${COUNTS[looks]} looks"
}

@test "sixteen writers of the snapshot: in the end it is one of theirs" {
    make_fault_host
    # It is truncated and then written, by one monitor: whoever looks meanwhile may see it empty, which is the contract.
    EMPTY_IS_CONTRACT=1
    contended snapshot "$(writes 400 20)"
    count "replacements of the snapshot, ${COUNTS[looks]} looks"
}

@test "sixteen writers of each log: every line is there once, whole" {
    make_fault_host
    contended changes "$(writes 400 20)"
    contended commands "$(writes 400 20)"
    count "lines of the logs, ${COUNTS[looks]} looks"
}

# A log a few lines below the size at which it is rotated.
nearly_full() {
    awk 'BEGIN {
        padding = sprintf("%180s", ""); gsub(/ /, "x", padding)
        for (size = 0; size < 10485760 - 1000; size += length(line) + 1) {
            line = "[2026-11-21 03:12:41.047] writer 99 line " sprintf("%08d", ++n) " " padding
            print line
        }
    }' >"$HOST/dumps/$1"
    chmod 600 "$HOST/dumps/$1"
}

@test "a rotation among sixteen writers loses no line, and the backup is the full log" {
    make_fault_host
    local round
    [[ -d $HOST/dumps ]] || mkdir -m 700 "$HOST/dumps"
    for ((round = 0; round < $(writes 20 1); round++)); do
        rm -f "$HOST"/dumps/*.log
        nearly_full dravik_monitor.log
        contended changes 5
        nearly_full dravik_cli.log
        contended commands 5
    done
    count "lines around rotations"
}

@test "sixteen writers of the ledger: every transaction is there, whole" {
    make_fault_host
    contended ledger "$(writes 400 5)"
    count "transactions of the ledger, ${COUNTS[looks]} looks"
}

# As the scripts write velomux.conf: in turn by their lock, each time another text.
write_conf() {
    # shellcheck disable=SC2016 # the text is a script's
    "${ENTRY[@]}" bash -c '
        fail() { echo "$*" >&2; exit 1; }
        cd /usr/bin/dravik-script/lib
        for file in base lock replace_file; do . "./$file.sh"; done
        lock_take velomux.conf 100
        lock_release
        for ((i = 1; i <= $2; i++)); do
            lock_take velomux.conf 100
            replace_file /etc/velomux.conf "$(printf "# writer %s line %s of it\n" "$1" "$i"; printf "# %0400d\n" "$i")" 644
            lock_release
        done' writer "$@"
}

@test "sixteen writers of velomux.conf: whoever looks sees a whole file" {
    make_fault_host
    local writer times first last
    local -a processes=()
    times=$(writes 400 3)
    printf '# writer 0 line 0 of it\n# %0400d' 0 >"$HOST/etc/velomux.conf"
    for ((writer = 1; writer <= WRITERS; writer++)); do
        write_conf "$writer" "$times" 3>&- 2>>"$ERR" &
        processes+=($!)
    done
    while [[ $(jobs -pr) ]]; do
        text "$HOST/etc/velomux.conf"
        first=${TEXT%%$'\n'*}
        last=${TEXT##*$'\n'}
        ((++COUNTS[looks]))
        [[ $first == '# writer '*' line '*' of it' && ${#last} == 402 ]] || found torn "velomux.conf: ${#TEXT} bytes"
    done
    for writer in "${processes[@]}"; do wait "$writer" || found lost "a writer: $(tail -n 1 "$ERR")"; done
    COUNTS[points]=$((WRITERS * times))
    count "replacements of velomux.conf, ${COUNTS[looks]} looks"
}

# Its backup is written by the commands themselves, which take turns.
@test "sixteen commands that change velomux.conf at once: each is done, file and backup are whole" {
    make_fault_host
    local number times texts=()
    local -a processes=() choosers=(round-robin-extend least-queue-depth-extend)
    unset 'ENTRY[-1]' # SIMHOST_SLEEPS: they wait for their turn by the clock
    succeeds config
    for number in 0 1; do
        "${ENTRY[@]}" dravik setpathpolicy -chooser "${choosers[number]}" >/dev/null 3>&-
        text "$HOST/etc/velomux.conf"
        texts+=("$TEXT")
    done
    : >"$HOST/dumps/dravik_cli.log"
    times=$(writes "$WRITERS" 4)
    for ((number = 0; number < times; number++)); do
        "${ENTRY[@]}" dravik setpathpolicy -chooser "${choosers[number % 2]}" >"$OUT.$number" 2>&1 3>&- &
        processes+=($!)
        ((++COUNTS[points]))
    done
    for ((number = 0; number < times; number++)); do
        # The contract: one that has waited for a minute for its turn gives up, and says so.
        wait "${processes[number]}" || [[ $(<"$OUT.$number") == *'nothing was changed'* ]] ||
            found lost "a command: exit status $?, $(<"$OUT.$number")"
    done
    judge_conf "commands at once" "${texts[@]}"
    judge_backup "commands at once" "${texts[@]}"
    audits "commands at once" "$times"
    count "commands at once"
}
