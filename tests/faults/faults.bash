# shellcheck shell=bash
# shellcheck disable=SC2034,SC2154 # the tests use what is set here; bats sets the rest
# What the tests under faults share: which points are taken, one run under a fault, how its outcome is judged, the count.
#
#   FAULTS=sample    (default) a few points of each kind, chosen by DRAVIK_TEST_SEED
#   FAULTS=whole     every point
#   FAULTS_PART=2/3  of the whole, every third point from the second on: the parts may run side by side, on several machines
#   FAULTS_REPORT    a file that each count is appended to
#
# A count has six figures, each of which must be 0: crashes (ended by a signal that nobody sent), hangs, torn files (neither
# the old text nor the new), lost files or lines, false lines of the change log, wrong answers (a result that is none).

load ../support/simulated_host
load ../support/admin_commands

FAULTS=${FAULTS:-sample}
FAULTS_PART=${FAULTS_PART:-1/1}
SEED=${DRAVIK_TEST_SEED:-7}
FAULT_PROGRAMS=$BUILD_DIR/tests/faults
LONGEST=${FAULT_SECONDS:-60}
A=3600b5d60001a2b3c0000000000000001

declare -gA COUNTS

# make_fault_host [SCENARIO]: a host with what injects the faults in it.
make_fault_host() {
    ((EUID == 0)) || skip "a simulated host under faults needs root"
    type -P strace >/dev/null || skip "strace is not installed"
    make_host --scenario "${1:-$SMALL}"
    cp "$FAULT_PROGRAMS"/*.so "$HOST/sim/"
    sim add "$FAULT_PROGRAMS/file_writers"
    RANDOM=$SEED
    ((${COUNTS[points]:-0} > 0)) || COUNTS=([points]=0 [crashes]=0 [hangs]=0 [torn]=0 [lost]=0 [false]=0 [wrong]=0)
    ENTRY=(chroot "$HOST" /usr/bin/env -i PATH=/usr/sbin:/usr/bin HOME=/root TZ=UTC LC_ALL=C SIMHOST_SLEEPS=1)
    TOLD=
    OUT=$BATS_TEST_TMPDIR/out
    ERR=$BATS_TEST_TMPDIR/err
}

# points COUNT LAST: which of the points 1 to LAST are taken, one a line: all, or COUNT of them.
points() {
    if [[ $FAULTS == whole ]]; then
        seq "${FAULTS_PART%/*}" "${FAULTS_PART#*/}" "$2"
        return
    fi
    if (($1 >= $2)); then
        seq 1 "$2"
        return
    fi
    local i
    for ((i = 0; i < $1; i++)); do echo $(((RANDOM * 32768 + RANDOM) % $2 + 1)); done | sort -nu
}

# sampled COUNT < LINES: of the lines all, or COUNT.
sampled() {
    local -a lines
    local line
    mapfile -t lines
    while read -r line; do printf '%s\n' "${lines[line - 1]}"; done < <(points "$1" "${#lines[@]}")
}

# text FILE: its text in TEXT, without a process; empty where there is none.
text() {
    TEXT=
    [[ ! -e $1 ]] || IFS= read -r -d '' TEXT <"$1" || true
}

# found KIND WHAT: one more of that kind, and where.
found() {
    ((++COUNTS[$1]))
    printf '%s: %s\n' "$1" "$2" | tee -a "${FAULTS_FOUND:-/dev/null}"
}

# attempt WHERE COMMAND...: runs it with a limit of time; judges how it ended. Its exit status is in STATUS.
attempt() {
    local where=$1
    STATUS=0
    ((++COUNTS[points]))
    timeout -k 1 "$LONGEST" "${@:2}" >"$OUT" 2>"$ERR" </dev/null 3>&- || STATUS=$?
    case $STATUS in
    124 | 137) [[ ${KILLING-} ]] || found hangs "$where" ;;
    132 | 134 | 135 | 136 | 139 | 159) found crashes "$where: status $STATUS, $(tail -n 1 "$ERR")" ;;
    esac
}

# count WHAT: the figures of this test; fails unless each is 0.
count() {
    local kind line sum=0
    line="$1: ${COUNTS[points]} points"
    for kind in crashes hangs torn lost false wrong; do
        line+=", ${COUNTS[$kind]} $kind"
        ((sum += COUNTS[$kind])) || true
    done
    printf '# %s (%s, seed %s)\n' "$line" "$FAULTS" "$SEED" >&3
    [[ -z ${FAULTS_REPORT-} ]] || printf '%s\n' "$line" >>"$FAULTS_REPORT"
    ((COUNTS[points] > 0 && sum == 0))
}

# ---- the files

# judge_log FILE WHERE: the log, if it is there, is of whole lines: none without its end, none glued to another.
judge_log() {
    [[ -s $1 ]] || return 0
    text "$1"
    [[ $TEXT == *$'\n' ]] || found torn "$2: half a line in ${1##*/}"
    if [[ $TEXT =~ [^$'\n']\[20[0-9][0-9]-[0-9][0-9]-[0-9][0-9]\ [0-9:]{8}\.[0-9]{3}\] ]]; then
        found torn "$2: two lines in one in ${1##*/}"
    fi
}

# is_mixture OLD NEW: TEXT is of as many lines as both, each as in one of them.
is_mixture() {
    local -a old new now
    local i
    mapfile -t old <<<"$1"
    mapfile -t new <<<"$2"
    mapfile -t now <<<"$TEXT"
    ((${#old[@]} == ${#now[@]} && ${#new[@]} == ${#now[@]})) || return 1
    for i in "${!now[@]}"; do [[ ${now[i]} == "${old[i]}" || ${now[i]} == "${new[i]}" ]] || return 1; done
}

# judge_conf WHERE TEXT...: the configuration file holds one of the texts. Of the three scripts of setpathpolicy, each of
# which replaces the file in one step, two may fail or be missing: that is the contract.
judge_conf() {
    local where=$1 wanted
    shift
    text "$HOST/etc/velomux.conf"
    for wanted in "$@"; do [[ $TEXT != "$wanted" ]] || return 0; done
    [[ ! ${MIXTURE_IS_CONTRACT-} || $where != *setpathpolicy* ]] || ! is_mixture "$@" || return 0
    if [[ $TEXT ]]; then
        found torn "$where: velomux.conf, ${#TEXT} bytes"
    else
        found lost "$where: velomux.conf"
    fi
}

# judge_backup WHERE TEXT...: the backup, if there is one, holds one of the texts.
judge_backup() {
    local where=$1 wanted
    shift
    [[ -e $HOST/etc/velomux.conf.bk ]] || return 0
    text "$HOST/etc/velomux.conf.bk"
    for wanted in "$@"; do [[ $TEXT != "$wanted" ]] || return 0; done
    found torn "$where: velomux.conf.bk, ${#TEXT} bytes"
}

# tell_tool TEXT: the multipath tool goes by velomux.conf, which has this text, whatever a run before has told it.
tell_tool() {
    [[ $TOLD != "$1" || ! $HOST/sim/state -ef $HOST/sim/state.told ]] || return 0
    "${ENTRY[@]}" velomux -r >/dev/null
    ln -f "$HOST/sim/state" "$HOST/sim/state.told"
    TOLD=$1
}

# undisturbed WORDS: the command of these words, without a fault; it succeeds.
undisturbed() {
    # shellcheck disable=SC2086 # the words of the command
    "${ENTRY[@]}" dravik $1 >"$OUT" || {
        echo "dravik $1 fails without a fault:"
        cat "$OUT"
        return 1
    }
}

# set_conf TEXT: the state before a run: this text, which the multipath tool knows, no backup, no leavings, empty logs.
set_conf() {
    local file
    printf '%s' "$1" >"$HOST/etc/velomux.conf"
    tell_tool "$1"
    for file in "$HOST"/etc/velomux.conf.bk* "$HOST"/etc/.velomux.conf.*; do
        [[ ! -e $file ]] || rm -f "$file"
    done
    for file in "$HOST"/dumps/*.log; do [[ ! -e $file ]] || : >"$file"; done
}

# audits WHERE COUNT-PATTERN: how many audit lines there are.
audits() {
    local line number=0
    [[ -e $HOST/dumps/dravik_cli.log ]] || return 0
    while read -r line; do [[ $line != *'] INFO  audit '* ]] || ((++number)); done <"$HOST/dumps/dravik_cli.log"
    ((number == $2)) || found lost "$1: $number audit lines, not $2"
}

# ---- a system call as a point

# begun LOG MARK: the calls of the trace LOG behind the first that holds MARK, each as "NAME NUMBER", its number among those
# of its name in the whole trace.
calls_after() {
    awk -v mark="$2" '
        /^[a-z]/ { name = $0; sub(/\(.*/, "", name); n[name]++
                   if (begun) { if (!index($0, "\"/sim/")) print name, n[name] } # what the simulation does is left out
                   else if (index($0, mark)) begun = 1 }' "$1"
}

# traced TRACE COMMAND...: runs it once under strace; the trace begins at chroot itself.
traced() {
    strace -qq -o "$1" "${@:2}" >"$OUT" 2>"$ERR" </dev/null 3>&- || true
}

# The first call of the programs' own: the standard descriptors.
PROGRAM_BEGINS='openat(AT_FDCWD, "/dev/null", O_RDWR)'

# ---- the monitor, from one topology to the next and on

# Few paths that need a look-up of their port, which would run two programs each in every cycle.
FEW_LOOK_UPS='volume mpatha transport=fc paths=1 wwid=3600b5d60001a2b3c0000000000000001
volume mpathb transport=none paths=2 wwid=3600b5d60001a2b3c0000000000000002'

# The multipath tool says what stands in /sim/said: first the topology of said.0, from the second cycle on that of said.1:
# a path has failed, a volume is gone, one is new.
prepare_cycles() {
    sim listing >"$HOST/sim/said.0"
    sim fail-path sdb
    sim unmap mpathb
    sim map mpathz paths=2 transport=none
    sim listing >"$HOST/sim/said.1"
    # shellcheck disable=SC2016 # the text is a script's
    printf '#!/bin/bash\nIFS= read -r -d "" text </sim/said\nprintf %%s "$text"\n' >"$HOST/usr/sbin/velomux"
    MONITOR=("${ENTRY[@]}" LD_PRELOAD=/sim/run_cycles.so RUN_CYCLES=4 /usr/bin/dravik-monitor)
    fresh_dumps
    "${ENTRY[@]}" LD_PRELOAD=/sim/run_cycles.so RUN_CYCLES=1 /usr/bin/dravik-monitor 3>&-
    text "$HOST/dumps/data.dravik"
    FIRST_SNAPSHOT=$TEXT
    fresh_dumps
    "${MONITOR[@]}" 3>&-
    cp "$HOST/dumps/data.dravik" "$BATS_TEST_TMPDIR/last"
    cp "$HOST/dumps/dravik_monitor.log" "$BATS_TEST_TMPDIR/lines"
    text "$BATS_TEST_TMPDIR/last"
    LAST_SNAPSHOT=$TEXT
    unstamped "$BATS_TEST_TMPDIR/lines"
    WANTED_LINES=("${LINES[@]}")
    replay "$BATS_TEST_TMPDIR/lines" >"$BATS_TEST_TMPDIR/replayed"
    same "" "$(grep -v '^left ' "$BATS_TEST_TMPDIR/replayed")"
}

fresh_dumps() {
    rm -rf "$HOST/dumps"
    ln -f "$HOST/sim/said.0" "$HOST/sim/said"
}

# replay LOG: goes through the change log from a host without volumes: "false LINE" for a line that cannot be true after
# those before it, "again LINE" for one that was there already, "left ..." for the topology at its end.
replay() {
    sed 's/^\[[^]]*\] //' "$1" | awk '
        function field(name,    rest) {
            rest = $0; sub(".*" name ": ?", "", rest); sub(/[,\]].*/, "", rest); sub(/ +$/, "", rest)
            return rest
        }
        function wrong() { print (seen[$0] > 1 ? "again " : "false ") $0 }
        function part(text, i,    parts) { split(text, parts, "|"); return parts[i] }
        function changed(i,    from, to, name, parts) {
            name = field("dev_name"); from = $0; sub(/.* from \[/, "", from); sub(/\].*/, "", from)
            to = $0; sub(/.*\] to \[/, "", to); sub(/\].*/, "", to)
            split(path[name], parts, "|")
            if (!(name in path) || parts[i] != from) wrong()
            parts[i] = to
            path[name] = parts[1] "|" parts[2] "|" parts[3] "|" parts[4] "|" parts[5]
        }
        { seen[$0]++ }
        /^The lun is created/ { if (field("wwid") in lun) wrong(); lun[field("wwid")]; next }
        /^The lun is deleted/ { if (!(field("wwid") in lun)) wrong(); delete lun[field("wwid")]; next }
        /^The path is created/ {
            if (field("dev_name") in path) wrong()
            path[field("dev_name")] = field("path_alias") "|" field("wwid") "|" field("path_status") "|" \
                field("path_group_status") "|" field("dravik_status")
            next
        }
        /^The path is deleted/ { if (!(field("dev_name") in path)) wrong(); delete path[field("dev_name")]; next }
        /^The path alias is changed/ { changed(1); next }
        /^The lun wwid is changed/ { changed(2); next }
        /^The path status is changed/ { changed(3); next }
        /^The group status is changed/ { changed(4); next }
        /^The dravik status is changed/ { changed(5); next }
        { wrong() }
        END {
            for (name in path) print "left " name " " path[name] | "sort"
            close("sort")
        }'
}

# unstamped FILE: the lines of a change log without their time stamps, in LINES.
unstamped() {
    local line
    LINES=()
    [[ -e $1 ]] || return 0
    while IFS= read -r line; do LINES+=("${line#\[*\] }"); done <"$1"
}

# One line of those wanted is missing, and nothing else is amiss.
is_one_line_short() {
    local i=0 line missing=0
    for line in "${WANTED_LINES[@]}"; do
        if [[ ${LINES[i]-} == "$line" ]]; then ((++i)); else ((++missing)); fi
    done
    ((missing == 1 && i == ${#LINES[@]}))
}

# judge_cycles WHERE: what the monitor has written is whole and true, and it has caught up in the end.
judge_cycles() {
    local kind line
    judge_log "$HOST/dumps/dravik_monitor.log" "$1"
    judge_log "$HOST/dumps/dravik_cli.log" "$1"
    text "$HOST/dumps/data.dravik"
    [[ $TEXT == "$LAST_SNAPSHOT" ]] || found lost "$1: the snapshot is not that of the last topology"
    unstamped "$HOST/dumps/dravik_monitor.log"
    [[ ${LINES[*]} != "${WANTED_LINES[*]}" ]] || return 0
    # A line that cannot be written is lost, which is the contract: there is nobody left to tell.
    [[ ! ${A_LINE_MAY_BE_LOST-} ]] || ! is_one_line_short || return 0
    replay "$HOST/dumps/dravik_monitor.log" >"$BATS_TEST_TMPDIR/now"
    while read -r kind line; do
        case $kind in
        false) [[ ${SNAPSHOT_IS_CUT-} ]] || found false "$1: $line" ;;
        again) [[ ${REPEATED_IS_CONTRACT-} ]] || found false "$1: again: $line" ;;
        esac
    done <"$BATS_TEST_TMPDIR/now"
    same "$(grep '^left' "$BATS_TEST_TMPDIR/replayed")" "$(grep '^left' "$BATS_TEST_TMPDIR/now")" ||
        found lost "$1: the lines do not lead to the last topology"
}
