#!/usr/bin/env bats
# metrics on the simulated host: the whole text, every state, hostile names, files and what keeps them from being written.
# Every output goes through Prometheus' own check where that is installed.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/session
load ../support/ledger

setup() { export TZ=UTC; }

# The host at 03:12:31 with its monitor, whose cycles are ten seconds apart.
make_watched_host() {
    make_host "$@"
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
}

# metrics [ARGUMENTS]: the output, by a command that has succeeded and said nothing else.
metrics() {
    run --separate-stderr in_host dravik metrics "$@"
    # shellcheck disable=SC2154 # set by run
    same "0 " "$status $stderr"
    [[ $output ]]
    printf '%s\n' "$output"
}

# family NAME [ARGUMENTS]: the samples of one family, without the name.
family() { metrics "${@:2}" | sed -n "s/^$1\([{ ].*\)/\1/p"; }

# volume_states: the state that each volume has, "ALIAS STATE".
volume_states() { metrics | sed -nE 's/^dravik_volume_state\{volume="(.*)",wwid=".*",state="(.*)"\} 1$/\1 \2/p'; }

# refuses MESSAGE [ARGUMENTS]: exit status 1, nothing on standard output, this on standard error.
refuses() {
    run --separate-stderr in_host dravik metrics "${@:2}"
    same "1 dravik metrics: $1" "$status $stderr"
    same "" "$output"
}

# checked FILE: each line is by the format's rules, the text is UTF-8, no series comes twice, and promtool, where it is, has
# nothing to say.
checked() {
    [[ -s $1 ]]
    same "" "$(grep -vE '^(# (HELP|TYPE) [a-z_]+ .+|[a-z_]+(\{[a-z_]+="([^"\\]|\\["\\n])*"(,[a-z_]+="([^"\\]|\\["\\n])*")*\})? -?[0-9]+(\.[0-9]+)?)$' "$1" || true)"
    same "" "$(iconv -f UTF-8 -t UTF-8 "$1" 2>&1 >/dev/null)"
    same "" "$(sort "$1" | sed 's/ [^ ]*$//' | grep -v '^#' | uniq -d)"
    ! type -P promtool >/dev/null || same "" "$(promtool check metrics <"$1" 2>&1)"
}

# What is in the folder of the textfiles, hidden files included.
textfiles() { (cd "$HOST/textfiles" && find . -mindepth 1 | sed 's,^\./,,' | LC_ALL=C sort | tr '\n' ' '); }

make_textfiles() {
    mkdir "$HOST/textfiles"
    echo old >"$HOST/textfiles/dravik.prom"
}

old_stays() { same "old dravik.prom " "$(cat "$HOST/textfiles/dravik.prom") $(textfiles)"; }

@test "the whole text, byte for byte but for how long things took" {
    cat >"$BATS_TEST_TMPDIR/two.scn" <<'END'
volume mpatha transport=fc size=100G wwid=3600b5d60001a2b3c0000000000000001 vdisk=vol_database
  group prio=50
    path sdb 1:0:0:1 8:16 port=0x20d0000b5d6a1010
    path sdc 2:0:0:1 8:32 port=0x20d0000b5d6a1020
volume mpathc transport=iscsi paths=1 ports=192.168.1.10:3260 size=20G wwid=3600b5d60001a2b3c0000000000000002
END
    make_watched_host --scenario "$BATS_TEST_TMPDIR/two.scn"
    in_host dravik query mpatha >/dev/null
    in_host dravik setstate -path_alias mpatha -device_name sdb -state offline >/dev/null
    step
    in_host dravik setstate -path_alias mpatha -device_name sdb -state online >/dev/null
    step
    sim fail-path sdc
    step
    sim clock +4
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    local a='volume="mpatha",wwid="3600b5d60001a2b3c0000000000000001"'
    local c='volume="mpathc",wwid="3600b5d60001a2b3c0000000000000002"'
    local b1 b2 c1
    b1=$a',path="sdb",initiator="0x21000024ff5d6a11",target_port="0x20d0000b5d6a1010",transport="fc"'
    b2=$a',path="sdc",initiator="0x21000024ff5d6a12",target_port="0x20d0000b5d6a1020",transport="fc"'
    c1=$c',path="sdd",initiator="host4",target_port="192.168.1.10:3260",transport="iscsi"'
    sed "s/@VERSION@/$(product_version)/" >"$BATS_TEST_TMPDIR/expected" <<END
# HELP dravik_build_info The version of Dravik that wrote this; always 1.
# TYPE dravik_build_info gauge
dravik_build_info{version="@VERSION@"} 1
# HELP dravik_observation_age_seconds How old the last observation with a topology is, at the time of writing.
# TYPE dravik_observation_age_seconds gauge
dravik_observation_age_seconds 4.000
# HELP dravik_observation_timestamp_seconds When the last observation with a topology was made, in seconds since 1970-01-01 UTC.
# TYPE dravik_observation_timestamp_seconds gauge
dravik_observation_timestamp_seconds 1795230781.000
# HELP dravik_observation_quality 1 for the quality of the last observation, 0 for the others.
# TYPE dravik_observation_quality gauge
dravik_observation_quality{quality="good"} 1
dravik_observation_quality{quality="doubtful"} 0
dravik_observation_quality{quality="failed"} 0
dravik_observation_quality{quality="never"} 0
# HELP dravik_observation_duration_seconds How long the last observation took.
# TYPE dravik_observation_duration_seconds gauge
dravik_observation_duration_seconds SECONDS
# HELP dravik_tool_duration_seconds How long the multipath tool took in the last observation.
# TYPE dravik_tool_duration_seconds gauge
dravik_tool_duration_seconds SECONDS
# HELP dravik_observations_total Observations since the ledger was begun, by their quality.
# TYPE dravik_observations_total counter
dravik_observations_total{quality="good"} 4
dravik_observations_total{quality="doubtful"} 0
dravik_observations_total{quality="failed"} 0
# HELP dravik_volumes Volumes by their state, as "dravik check" judges it.
# TYPE dravik_volumes gauge
dravik_volumes{state="ok"} 1
dravik_volumes{state="degraded"} 0
dravik_volumes{state="last_path"} 1
dravik_volumes{state="none"} 0
dravik_volumes{state="unknown"} 0
# HELP dravik_volume_info What the volume is; always 1.
# TYPE dravik_volume_info gauge
dravik_volume_info{$a,vdisk_name="vol_database",vendor="KORVEL",product="QVX",transport="fc"} 1
dravik_volume_info{$c,vdisk_name="",vendor="KORVEL",product="QVX",transport="iscsi"} 1
# HELP dravik_volume_state 1 for the volume's state, 0 for the others.
# TYPE dravik_volume_state gauge
dravik_volume_state{$a,state="ok"} 0
dravik_volume_state{$a,state="degraded"} 0
dravik_volume_state{$a,state="last_path"} 1
dravik_volume_state{$a,state="none"} 0
dravik_volume_state{$a,state="unknown"} 0
dravik_volume_state{$c,state="ok"} 1
dravik_volume_state{$c,state="degraded"} 0
dravik_volume_state{$c,state="last_path"} 0
dravik_volume_state{$c,state="none"} 0
dravik_volume_state{$c,state="unknown"} 0
# HELP dravik_volume_paths Paths of the volume that are known, missing ones included.
# TYPE dravik_volume_paths gauge
dravik_volume_paths{$a} 2
dravik_volume_paths{$c} 1
# HELP dravik_volume_paths_working Paths of the volume that work.
# TYPE dravik_volume_paths_working gauge
dravik_volume_paths_working{$a} 1
dravik_volume_paths_working{$c} 1
# HELP dravik_volume_survives 1 where the volume keeps a working path after the loss of any one of these.
# TYPE dravik_volume_survives gauge
dravik_volume_survives{$a,loss="path"} 0
dravik_volume_survives{$a,loss="initiator"} 0
dravik_volume_survives{$a,loss="target_port"} 0
dravik_volume_survives{$c,loss="path"} 0
dravik_volume_survives{$c,loss="initiator"} 0
dravik_volume_survives{$c,loss="target_port"} 0
# HELP dravik_path_working 1 where the path works.
# TYPE dravik_path_working gauge
dravik_path_working{$b1} 1
dravik_path_working{$b2} 0
dravik_path_working{$c1} 1
# HELP dravik_path_flapping 1 while the path fails again and again.
# TYPE dravik_path_flapping gauge
dravik_path_flapping{$b1} 0
dravik_path_flapping{$b2} 0
dravik_path_flapping{$c1} 0
# HELP dravik_path_checker_state The path checker's present state of the path; always 1.
# TYPE dravik_path_checker_state gauge
dravik_path_checker_state{$b1,state="ready"} 1
dravik_path_checker_state{$b2,state="faulty"} 1
dravik_path_checker_state{$c1,state="ready"} 1
# HELP dravik_path_transitions_total How often the path has failed or returned.
# TYPE dravik_path_transitions_total counter
dravik_path_transitions_total{$b1} 2
dravik_path_transitions_total{$b2} 1
dravik_path_transitions_total{$c1} 0
# HELP dravik_path_last_failure_timestamp_seconds When the path failed last, in seconds since 1970-01-01 UTC.
# TYPE dravik_path_last_failure_timestamp_seconds gauge
dravik_path_last_failure_timestamp_seconds{$b1} 1795230761.000
dravik_path_last_failure_timestamp_seconds{$b2} 1795230781.000
# HELP dravik_path_last_return_timestamp_seconds When the path returned last, in seconds since 1970-01-01 UTC.
# TYPE dravik_path_last_return_timestamp_seconds gauge
dravik_path_last_return_timestamp_seconds{$b1} 1795230771.000
# HELP dravik_events_total Events since the ledger was begun, by their kind.
# TYPE dravik_events_total counter
dravik_events_total{kind="volume_appeared"} 2
dravik_events_total{kind="volume_gone"} 0
dravik_events_total{kind="volume_unseen"} 0
dravik_events_total{kind="volume_seen_again"} 0
dravik_events_total{kind="volume_renamed"} 0
dravik_events_total{kind="volume_resized"} 0
dravik_events_total{kind="volume_without_paths"} 0
dravik_events_total{kind="path_appeared"} 0
dravik_events_total{kind="path_gone"} 0
dravik_events_total{kind="path_unseen"} 0
dravik_events_total{kind="path_seen_again"} 0
dravik_events_total{kind="path_moved"} 0
dravik_events_total{kind="path_checker_state"} 3
dravik_events_total{kind="path_dm_state"} 3
dravik_events_total{kind="path_online_state"} 0
dravik_events_total{kind="path_group_state"} 0
dravik_events_total{kind="path_flapping"} 0
dravik_events_total{kind="path_steady"} 0
dravik_events_total{kind="volume_state"} 3
dravik_events_total{kind="monitor_started"} 1
dravik_events_total{kind="observation_quality"} 0
dravik_events_total{kind="operation"} 2
# HELP dravik_operations_total Commands that were run to change something, by their name and the code of their result.
# TYPE dravik_operations_total counter
dravik_operations_total{command="setstate",code="0"} 2
END
    same "$(<"$BATS_TEST_TMPDIR/expected")" \
        "$(sed -E 's/^(dravik_(observation|tool)_duration_seconds) [0-9]+\.[0-9]{3}$/\1 SECONDS/' "$BATS_TEST_TMPDIR/printed")"
}

@test "each state that a volume can have, and how many have it" {
    make_watched_host
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    same '{state="ok"} 11
{state="degraded"} 0
{state="last_path"} 0
{state="none"} 0
{state="unknown"} 0' "$(family dravik_volumes)"
    sim fail-path sdb
    sim fail-path sdf
    sim fail-path sdj
    sim fail-path sdk
    step
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    same 'mpatha degraded
mpathb last_path
3600b5d60001a2b3c0000000000000003 ok
mpathc none
mpathd ok
mpathe ok
nvmea ok
nvmeb ok
nvmec ok
hwdata ok
rldata ok' "$(volume_states)"
    same '{state="ok"} 8
{state="degraded"} 1
{state="last_path"} 1
{state="none"} 1
{state="unknown"} 0' "$(family dravik_volumes)"
    # A state is one of them, whatever it is: five samples a volume, one of them 1.
    same "55 11" "$(family dravik_volume_state | wc -l | tr -d ' ') $(family dravik_volume_state | grep -c ' 1$')"
    same '{volume="mpatha",wwid="3600b5d60001a2b3c0000000000000001",loss="path"} 1
{volume="mpatha",wwid="3600b5d60001a2b3c0000000000000001",loss="initiator"} 1
{volume="mpatha",wwid="3600b5d60001a2b3c0000000000000001",loss="target_port"} 1
{volume="mpathb",wwid="3600b5d60001a2b3c0000000000000002",loss="path"} 0
{volume="mpathb",wwid="3600b5d60001a2b3c0000000000000002",loss="initiator"} 0
{volume="mpathb",wwid="3600b5d60001a2b3c0000000000000002",loss="target_port"} 0' \
        "$(family dravik_volume_survives | grep -E '"mpath[ab]"')"
    sim unmap rldata
    step
    same "10" "$(volume_states | wc -l | tr -d ' ')" # what is gone is left out
}

@test "a ledger in which nothing has been observed for a minute makes every volume unknown, and its age grows" {
    make_watched_host
    kill_monitor
    sim clock +61
    same 11 "$(volume_states | grep -c ' unknown$')"
    same ' 61.000' "$(family dravik_observation_age_seconds)"
    same ' 1795230751.000' "$(family dravik_observation_timestamp_seconds)"
    same '{quality="good"} 1' "$(family dravik_observation_quality | grep ' 1$')"
    # A tool that does not answer: the monitor looks, and the age goes on growing.
    start_monitor
    sim tool velomux missing
    step 7
    same '{quality="failed"} 1' "$(family dravik_observation_quality | grep ' 1$')"
    same 11 "$(volume_states | grep -c ' unknown$')"
    same ' 70.000' "$(family dravik_observation_age_seconds)"
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
}

@test "a monitor that has never seen a topology: the quality, no age, no volumes" {
    make_host
    sim tool velomux missing
    start_monitor
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    same '{quality="failed"} 1' "$(family dravik_observation_quality | grep ' 1$')"
    same 'dravik_build_info
dravik_observation_quality
dravik_observation_duration_seconds
dravik_tool_duration_seconds
dravik_observations_total
dravik_volumes
dravik_events_total' "$(sed -n 's/^# TYPE \([a-z_]*\) .*/\1/p' "$BATS_TEST_TMPDIR/printed")"
}

@test "--volumes-only is the same text without the families of the paths" {
    make_watched_host
    metrics | sed '/_path_/d; /_duration_/d' >"$BATS_TEST_TMPDIR/expected"
    metrics --volumes-only >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    same "$(<"$BATS_TEST_TMPDIR/expected")" "$(sed '/_duration_/d' "$BATS_TEST_TMPDIR/printed")"
    grep -q '^dravik_volume_paths_working{volume="mpatha",' "$BATS_TEST_TMPDIR/printed"
}

@test "names with quotes, backslashes, newlines, control bytes, bytes that are no UTF-8 break nothing" {
    make_watched_host
    kill_monitor
    sqlite3 "$HOST/dumps/dravik.db" "
        UPDATE volumes SET alias = 'a\"b\\c' || char(10) || 'd' WHERE alias = 'mpatha';
        UPDATE volumes SET alias = CAST(x'6dff6e' AS TEXT), vendor = char(27) || '[2J' WHERE alias = 'mpathb';
        UPDATE volumes SET alias = '\"} 1' || char(10) || 'dravik_volume_paths{volume=\"x' WHERE alias = 'mpathc';
        UPDATE volumes SET alias = CAST(x'fe' AS TEXT), wwid = 'same' WHERE alias = 'mpathd';
        UPDATE volumes SET alias = CAST(x'ff' AS TEXT), wwid = CAST(x'73616d65' AS BLOB) WHERE alias = 'mpathe';
        UPDATE paths SET checker_state = 'i/o \"timeout\"' WHERE name = 'sdb';"
    printf '{"disk": [{"wwid": "3600b5d60001a2b3c0000000000000001", "vdisk_name": "v\\"\\\\\\n\\u001b"}]}' \
        >"$HOST/dumps/storage_config.json"
    metrics >"$BATS_TEST_TMPDIR/printed"
    checked "$BATS_TEST_TMPDIR/printed"
    same '{volume="a\"b\\c\nd",wwid="3600b5d60001a2b3c0000000000000001"} 4
{volume="m�n",wwid="3600b5d60001a2b3c0000000000000002"} 2' "$(family dravik_volume_paths | head -n 2)"
    same '{volume="\"} 1\ndravik_volume_paths{volume=\"x",wwid="3600b5d60001a2b3c0000000000000004"} 2' \
        "$(family dravik_volume_paths | sed -n 4p)"
    same '{volume="�",wwid="same"} 1' "$(family dravik_volume_paths | grep same)" # the first of the two
    same '{volume="a\"b\\c\nd",wwid="3600b5d60001a2b3c0000000000000001",vdisk_name="v\"\\\n\\x1b",vendor="KORVEL",product="QVX",transport="fc"} 1
{volume="m�n",wwid="3600b5d60001a2b3c0000000000000002",vdisk_name="",vendor="\\x1b[2J",product="QVX",transport="fc"} 1' \
        "$(family dravik_volume_info | head -n 2)"
    same 'state="i/o \"timeout\""} 1' "$(family dravik_path_checker_state | grep 'path="sdb"' | sed 's/.*,state/state/')"
}

@test "counters never go back over restarts of the monitor" {
    make_watched_host
    counters() { metrics | grep -E '^dravik_[a-z_]+_total[{ ]' | LC_ALL=C sort >"$1"; }
    # None of the counters before is missing or smaller behind it.
    go_on() {
        awk 'NR == FNR { before[substr($0, 1, match($0, / [^ ]*$/))] = $NF; next }
             { now[substr($0, 1, match($0, / [^ ]*$/))] = $NF }
             END { for (name in before) if (!(name in now) || now[name] < before[name]) { print name; bad = 1 } exit bad }' "$1" "$2"
    }
    sim fail-path sdb
    step
    in_host dravik scan >/dev/null
    counters "$BATS_TEST_TMPDIR/first"
    kill_monitor
    counters "$BATS_TEST_TMPDIR/killed"
    same "$(<"$BATS_TEST_TMPDIR/first")" "$(<"$BATS_TEST_TMPDIR/killed")"
    start_monitor
    counters "$BATS_TEST_TMPDIR/again"
    go_on "$BATS_TEST_TMPDIR/first" "$BATS_TEST_TMPDIR/again"
    stop_monitor
    start_monitor
    sim restore-path sdb
    step
    in_host dravik delete nosuch >/dev/null || true
    counters "$BATS_TEST_TMPDIR/last"
    go_on "$BATS_TEST_TMPDIR/again" "$BATS_TEST_TMPDIR/last"
    same '{kind="monitor_started"} 3' "$(family dravik_events_total | grep monitor_started)"
    same '{command="delete",code="133"} 1
{command="scan",code="0"} 1' "$(family dravik_operations_total)"
    same ' 2' "$(family dravik_path_transitions_total | sed -n 's/.*path="sdb".*}//p')"
    same '{quality="good"} 5' "$(family dravik_observations_total | grep good)"
}

@test "a file gets mode 0644 and the same text, from the folder that the command was called in, and nothing is said" {
    make_watched_host
    make_textfiles
    run --separate-stderr in_host sh -c 'cd /textfiles && umask 077 && dravik metrics --textfile dravik.prom'
    same "0  " "$status $output $stderr"
    same "644 0 dravik.prom " "$(stat -c '%a %u' "$HOST/textfiles/dravik.prom") $(textfiles)"
    checked "$HOST/textfiles/dravik.prom"
    same "$(metrics)" "$(<"$HOST/textfiles/dravik.prom")"
    in_host sh -c 'cd /textfiles && dravik metrics --volumes-only --textfile ./new.prom'
    same "$(metrics --volumes-only)" "$(<"$HOST/textfiles/new.prom")"
}

@test "a link in the file's place is replaced, and what it points to stays" {
    make_watched_host
    make_textfiles
    echo precious >"$HOST/textfiles/precious"
    ln -sf precious "$HOST/textfiles/dravik.prom"
    in_host dravik metrics --textfile /textfiles/dravik.prom
    same "precious" "$(<"$HOST/textfiles/precious")"
    same "regular file" "$(stat -c %F "$HOST/textfiles/dravik.prom")"
    checked "$HOST/textfiles/dravik.prom"
}

@test "a file that cannot be written is named with the reason and the remedy, and the old one stays" {
    make_watched_host
    make_textfiles
    mkdir "$HOST/textfiles.d"
    refuses '/nosuch/dravik.prom cannot be written: No such file or directory; make its folder first' --textfile /nosuch/dravik.prom
    refuses '/textfiles/dravik.prom/x.prom cannot be written: Not a directory; make its folder first' --textfile /textfiles/dravik.prom/x.prom
    refuses '/textfiles.d cannot be written: it is a folder; name a file in that folder' --textfile /textfiles.d
    refuses '/textfiles.d/ cannot be written: it is a folder; name a file in that folder' --textfile /textfiles.d/
    mkfifo "$HOST/textfiles.d/pipe.prom"
    refuses '/textfiles.d/pipe.prom cannot be written: it is a device, a pipe or a socket; name a regular file, or none for standard output' \
        --textfile /textfiles.d/pipe.prom
    refuses "/textfiles/$(printf '%0300d' 0) cannot be written: File name too long; choose a shorter name" --textfile "/textfiles/$(printf '%0300d' 0)"
    refuses '/nosuch/\x1b[2J cannot be written: No such file or directory; make its folder first' --textfile $'/nosuch/\e[2J'
    old_stays
    same "pipe.prom" "$(ls -A "$HOST/textfiles.d")"
}

@test "on a full disk the old file stays whole, and nothing is left beside it" {
    make_watched_host
    kill_monitor
    in_host dravik metrics --textfile /dumps/dravik.prom
    local before
    before=$(md5sum "$HOST/dumps/dravik.prom")
    sim fill-disk --after 5000
    refuses '/dumps/dravik.prom cannot be written: No space left on device; make space there' --textfile /dumps/dravik.prom
    same "$before" "$(md5sum "$HOST/dumps/dravik.prom")"
    same "" "$(find "$HOST/dumps" -name '.dravik-new-*')"
    sim free-disk
    [[ -c $HOST/dev/full ]] || return 0
    run --separate-stderr in_host bash -c 'dravik metrics >/dev/full'
    same "1 dravik: the output could not be written: No space left on device" "$status $stderr"
}

@test "writers that are killed leave no pile, and writers at once leave a whole file each time" {
    make_watched_host
    make_textfiles
    local i
    for i in 1 2 3 4 5 6; do
        in_host sh -c 'dravik metrics --textfile /textfiles/dravik.prom & sleep 0.00'$i'; kill -9 $!; wait' 2>/dev/null || true
    done
    echo half >"$HOST/textfiles/.dravik-new-aB3xYz"
    for i in 1 2 3 4 5 6 7 8; do
        in_host dravik metrics --textfile /textfiles/dravik.prom &
    done
    for i in 1 2 3 4 5 6 7 8 9; do
        # What stands there while they write is one text or the other.
        [[ $(<"$HOST/textfiles/dravik.prom") == old ]] || tail -n 1 "$HOST/textfiles/dravik.prom" | grep -q '^dravik_events_total{kind="operation"} '
    done
    wait
    same "dravik.prom " "$(textfiles)"
    checked "$HOST/textfiles/dravik.prom"
}

@test "without a ledger, or with one that cannot be read, it says so, and an old file stays" {
    make_host
    make_textfiles
    local why='there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet'
    refuses "$why"
    refuses "$why" --textfile /textfiles/dravik.prom
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
    kill_monitor

    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 99'
    why='/dumps/dravik.db has been written by a newer dravik (its version 99, this one knows 3): use that one'
    refuses "$why"
    refuses "$why" --textfile /textfiles/dravik.prom
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 3'

    coproc LOCK { exec sqlite3 "$HOST/dumps/dravik.db"; }
    printf "PRAGMA locking_mode = EXCLUSIVE;\nBEGIN EXCLUSIVE;\nSELECT 'locked';\n" >&"${LOCK[1]}"
    local answer
    until [[ $answer == locked ]]; do read -r answer <&"${LOCK[0]}"; done
    run --separate-stderr in_host dravik metrics --textfile /textfiles/dravik.prom
    same "1 dravik metrics: /dumps/dravik.db cannot be used: database is locked" "$status $stderr"
    eval "exec ${LOCK[1]}>&-"
    wait "$LOCK_PID" || true
    in_host dravik metrics >/dev/null

    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA wal_checkpoint(TRUNCATE)' >/dev/null
    printf '%08192d' 0 | dd of="$HOST/dumps/dravik.db" conv=notrunc bs=4096 seek=1 status=none
    run --separate-stderr in_host dravik metrics --textfile /textfiles/dravik.prom
    same "1 dravik metrics: /dumps/dravik.db cannot be read: database disk image is malformed" "$status $stderr"
    printf 'nonsense%08192d' 0 >"$HOST/dumps/dravik.db"
    run --separate-stderr in_host dravik metrics --textfile /textfiles/dravik.prom
    same "1 dravik metrics: /dumps/dravik.db cannot be used: file is not a database" "$status $stderr"
    old_stays
}

@test "another user than root is told that the ledger is root's, and writes nothing" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_watched_host
    make_textfiles
    chmod 777 "$HOST/textfiles"
    cp "$(command -v chroot)" "$HOST/usr/bin/chroot"
    run --separate-stderr in_host chroot --userspec=12345:12345 / dravik metrics --textfile /textfiles/dravik.prom
    same "1 dravik metrics: /dumps/dravik.db is root's alone: run it as root" "$status $stderr"
    old_stays
}

@test "a line that cannot be understood, and --json, are answered with an error" {
    make_watched_host
    refuses 'there is no option "--nope"; see "dravik help metrics"' --nope
    refuses '"mpatha" is one word too many; see "dravik help metrics"' mpatha
    refuses 'a value is missing behind "--textfile"; see "dravik help metrics"' --textfile
    refuses '--textfile takes the name of a file' --textfile ''
    local arguments
    # An error is the same document whatever the command.
    sed 's/"const": "list"/"const": "metrics"/' "$REPO/schema/list.schema.json" >"$BATS_TEST_TMPDIR/schema.json"
    for arguments in "--json metrics" "metrics --json" "metrics --json --textfile /textfile.prom"; do
        # shellcheck disable=SC2086 # the words of a command line
        run --separate-stderr in_host dravik $arguments
        same '1 dravik metrics: metrics are text: for JSON use "dravik --json list"' "$status $stderr"
        same '"command":"metrics","error":"metrics are text: for JSON use \"dravik --json list\""}' "${output#*Z\",}"
        same "" "$(/usr/bin/python3 "$REPO/tests/support/validate_json.py" "$BATS_TEST_TMPDIR/schema.json" <<<"$output" 2>&1)"
    done
    [[ ! -e $HOST/textfile.prom ]]
}

@test "Prometheus' own check accepts what is written" {
    type -P promtool >/dev/null || skip "promtool is not here (Debian: apt-get install --no-install-recommends prometheus)"
    make_watched_host
    metrics >"$BATS_TEST_TMPDIR/printed"
    promtool check metrics <"$BATS_TEST_TMPDIR/printed"
    # And it is a check: of a text that is none it has something to say.
    run promtool check metrics <<<'dravik_volumes{state="ok} 1'
    [[ $status -ne 0 && $output ]]
}
