#!/usr/bin/env bats
# What the ledger makes of a multipath tool that lies, beside the change log that believes it.

load ../support/simulated_host
load ../support/ledger

setup() {
    cat >"$BATS_TEST_TMPDIR/two.scn" <<'SCENARIO'
volume mpatha transport=fc paths=2
volume mpathb transport=fc paths=2
SCENARIO
    make_host --scenario "$BATS_TEST_TMPDIR/two.scn"
    start_monitor
    turn_page
}

# What follows stands alone.
turn_page() {
    forget
    PAGE=$(last_event)
}

# The events since the page was turned.
new_events() { events "$PAGE"; }

# The tool prints the listing as "awk PROGRAM" leaves it.
tool_prints() {
    sim tool velomux ok
    awk "$1" "$HOST/sim/listing" >"$BATS_TEST_TMPDIR/says"
    sim tool velomux says "$BATS_TEST_TMPDIR/says" "${2-0}"
}

without_paths_of_mpatha='/^mpath/ { volume = $1 } !(volume == "mpatha" && / sd/)'

# path_line VERB VOLUME NUMBER PATH: the change log's line of a path.
path_line() {
    printf 'The path is %s, the properties are [ path_alias: %s, wwid: 3600b5d60001a2b3c000000000000000%s, dev_name: %s, path_status: ready, path_group_status: active, dravik_status:running ].\n' "$@"
}
lun_line() {
    printf 'The lun is %s, the properties are [ path_alias: %s, wwid: 3600b5d60001a2b3c000000000000000%s ].\n' "$@"
}

# everything VERB: the lines of a topology that went or came as a whole.
everything() {
    lun_line "$1" mpatha 1
    lun_line "$1" mpathb 2
    path_line "$1" mpatha 1 sdb
    path_line "$1" mpatha 1 sdc
    path_line "$1" mpathb 2 sdd
    path_line "$1" mpathb 2 sde
}

all_unseen() {
    cat <<'EVENTS'
doubtful observation_quality  good->doubtful
doubtful volume_unseen mpatha 2/2 fault
doubtful volume_unseen mpathb 2/2 fault
EVENTS
}

all_seen_again() {
    cat <<'EVENTS'
good observation_quality  doubtful->good
good volume_seen_again mpatha 2/2 fault
good volume_seen_again mpathb 2/2 fault
EVENTS
}

# kernel_renames OLD NEW: the block device, its links and what the tool prints; it belongs to the map dm-0.
kernel_renames() {
    local link
    mv "$HOST/sys/block/$1" "$HOST/sys/block/$2"
    rm "$HOST/sys/block/dm-0/slaves/$1"
    ln -s "../../$2" "$HOST/sys/block/dm-0/slaves/$2"
    for link in "$HOST"/dev/disk/by-path/*; do
        [[ $(readlink "$link") != "../../$1" ]] || ln -sfn "../../$2" "$link"
    done
    tool_prints "{ gsub(/$1/, \"$2\"); print }"
}

expect_states() { expect_text states <<<"$1"; }

@test "the first observation: an event a volume, none of the quality, and who reaches what is known" {
    expect_text events 0 <<'EVENTS'
good monitor_started 
good volume_appeared mpatha 2/2 fault
good volume_appeared mpathb 2/2 fault
EVENTS
    expect_text ledger 'SELECT v.alias, p.initiator, p.target_port, p.lun, p.twin, p.name, p.address, p.transport
                        FROM paths p JOIN volumes v ON v.id = p.volume ORDER BY p.id' <<'ROWS'
mpatha|0x21000024ff5d6a11|0x20d0000b5d6a1010|1|0|sdb|1:0:0:1|fc
mpatha|0x21000024ff5d6a12|0x20d0000b5d6a1011|1|0|sdc|2:0:0:1|fc
mpathb|0x21000024ff5d6a11|0x20d0000b5d6a1010|2|0|sdd|1:0:0:2|fc
mpathb|0x21000024ff5d6a12|0x20d0000b5d6a1011|2|0|sde|2:0:0:2|fc
ROWS
    expect_text ledger 'SELECT volume, initiator, target_port, lun, twin, name, accepted_by FROM baseline ORDER BY rowid' <<'ROWS'
1|0x21000024ff5d6a11|0x20d0000b5d6a1010|1|0|sdb|learned
1|0x21000024ff5d6a12|0x20d0000b5d6a1011|1|0|sdc|learned
2|0x21000024ff5d6a11|0x20d0000b5d6a1010|2|0|sdd|learned
2|0x21000024ff5d6a12|0x20d0000b5d6a1011|2|0|sde|learned
ROWS
    same 'good||2|4' "$(observation)"
    same 'good|1' "$(ledger 'SELECT quality, count FROM observation_count')"
    same 600 "$(stat -c %a "$HOST/dumps/dravik.db")"
    same wal "$(ledger 'PRAGMA journal_mode')"
}

@test "a quiet cycle writes the observation alone" {
    step 3
    expect_text new_events </dev/null
    same 'good||2|4' "$(observation)"
    same 'good|4' "$(ledger 'SELECT quality, count FROM observation_count')"
    same 1 "$(ledger 'SELECT count(*) FROM observations')"
}

@test "a tool that exits 1 in silence: the change log says that all is deleted and created, the ledger that it was not seen" {
    sim tool velomux fail 1
    step
    expect_text change_log < <(everything deleted)
    expect_text new_events < <(all_unseen)
    same 'doubtful|not listed, though the kernel has it: mpatha, mpathb; the multipath tool exited with status 1|0|0' \
        "$(observation)"
    expect_states $'mpatha ok unseen\nmpathb ok unseen'
    turn_page
    step 2
    expect_text new_events </dev/null
    sim tool velomux ok
    step
    expect_text change_log < <(everything created)
    expect_text new_events < <(all_seen_again)
    same 'good||2|4' "$(observation)"
    expect_states $'mpatha ok present\nmpathb ok present'
    expect_text ledger 'SELECT quality, reason FROM observations ORDER BY id' <<'ROWS'
good|
doubtful|not listed, though the kernel has it: mpatha, mpathb; the multipath tool exited with status 1
good|
ROWS
}

@test "a tool that prints nothing and exits 0 is believed no more than one that failed" {
    sim tool velomux silent
    step
    expect_text change_log < <(everything deleted)
    expect_text new_events < <(all_unseen)
    same 'doubtful|not listed, though the kernel has it: mpatha, mpathb|0|0' "$(observation)"
}

@test "half a listing with exit status 0: three deletions in the change log, what is missing unseen in the ledger" {
    tool_prints 'NR <= 4'
    step
    expect_text change_log < <(
        lun_line deleted mpathb 2
        path_line deleted mpatha 1 sdc
        path_line deleted mpathb 2 sdd
        path_line deleted mpathb 2 sde
    )
    expect_text new_events <<'EVENTS'
doubtful observation_quality  good->doubtful
doubtful volume_unseen mpathb 2/2 fault
doubtful path_unseen mpatha/sdc 2/2 fault
EVENTS
    same 'doubtful|not listed, though the kernel has it: mpathb, sdc of mpatha|1|1' "$(observation)"
    expect_states $'mpatha ok present\nmpathb ok unseen'
    expect_text presences mpatha <<<$'sdb present working\nsdc unseen working'
    turn_page
    sim clock +61
    step
    expect_text new_events <<'EVENTS'
doubtful volume_state mpathb ok->unknown 2/2 fault
doubtful volume_state mpatha ok->unknown 2/2 fault
EVENTS
    turn_page
    sim tool velomux ok
    step
    expect_text new_events <<'EVENTS'
good observation_quality  doubtful->good
good path_seen_again mpatha/sdc 2/2 fault
good volume_state mpatha unknown->ok 2/2 fault
good volume_seen_again mpathb 2/2 fault
good volume_state mpathb unknown->ok 2/2 fault
EVENTS
}

@test "a path that is not listed and that the kernel has no longer is gone, stays known, and is the same one when it is back" {
    tool_prints '!/sdc/'
    rm -r "$HOST/sys/block/sdc" "$HOST/sys/block/dm-0/slaves/sdc"
    step
    expect_text change_log < <(path_line deleted mpatha 1 sdc)
    expect_text new_events <<'EVENTS'
good path_gone mpatha/sdc ready-> 1/2 fault
good volume_state mpatha ok->last_path 1/2 fault
EVENTS
    expect_text presences mpatha <<<$'sdb present working\nsdc missing failed'
    turn_page
    sim tool velomux ok
    step
    expect_text new_events <<'EVENTS'
good path_appeared mpatha/sdc ->ready 2/2 fault
good volume_state mpatha last_path->ok 2/2 fault
EVENTS
    same '1|2' "$(ledger "SELECT count(*), transitions FROM paths WHERE name = 'sdc'")"
}

@test "a path that stands below its map no more is gone though its block device is there" {
    tool_prints '!/sdc/'
    rm "$HOST/sys/block/dm-0/slaves/sdc"
    step
    expect_text new_events <<'EVENTS'
good path_gone mpatha/sdc ready-> 1/2 fault
good volume_state mpatha ok->last_path 1/2 fault
EVENTS
}

@test "a volume without paths blinds the change log for every volume, and the ledger for none" {
    sim fail-path sdd
    tool_prints "$without_paths_of_mpatha"
    step
    expect_text change_log </dev/null
    expect_text new_events <<'EVENTS'
doubtful observation_quality  good->doubtful
doubtful volume_without_paths mpatha 2/2 fault
doubtful path_unseen mpatha/sdb 2/2 fault
doubtful path_unseen mpatha/sdc 2/2 fault
doubtful path_checker_state mpathb/sdd ready->faulty 1/2 fault
doubtful path_dm_state mpathb/sdd active->failed 1/2 fault
doubtful volume_state mpathb ok->last_path 1/2 fault
EVENTS
    turn_page
    sim restore-path sdd
    rm "$HOST/sys/block/dm-0/slaves/"sd[bc]
    tool_prints "$without_paths_of_mpatha"
    step
    expect_text change_log </dev/null
    expect_text new_events <<'EVENTS'
good observation_quality  doubtful->good
good path_gone mpatha/sdb ready-> 0/2 fault
good path_gone mpatha/sdc ready-> 0/2 fault
good volume_state mpatha ok->none 0/2 fault
good path_checker_state mpathb/sdd faulty->ready 2/2 fault
good path_dm_state mpathb/sdd failed->active 2/2 fault
good volume_state mpathb last_path->ok 2/2 fault
EVENTS
    expect_states $'mpatha none present\nmpathb ok present'
    same 'good||2|2' "$(observation)"
}

@test "a tool that cannot be run, and a listing that is malformed, are failed observations in which nothing is gone" {
    sim tool velomux missing
    step 2
    expect_text change_log </dev/null
    same 'failed|the multipath tool cannot be run|2|4' "$(observation)"
    printf 'mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX' >"$BATS_TEST_TMPDIR/half"
    sim tool velomux ok
    sim tool velomux says "$BATS_TEST_TMPDIR/half"
    step
    expect_text change_log </dev/null
    same 'failed|the listing of the multipath tool is malformed|2|4' "$(observation)"
    sim tool velomux ok
    step
    expect_text new_events <<'EVENTS'
failed observation_quality  good->failed
good observation_quality  failed->good
EVENTS
    expect_states $'mpatha ok present\nmpathb ok present'
    expect_text ledger 'SELECT quality, count FROM observation_count ORDER BY quality' <<<$'failed|3\ngood|2'
}

@test "the time of the last topology stands while observations fail" {
    local seen
    seen=$(ledger 'SELECT seen FROM observation')
    sim tool velomux missing
    step 2
    same "1|$seen" "$(ledger 'SELECT time > seen, seen FROM observation')"
}

@test "a tool that failed and a kernel that cannot be asked make it doubtful; one that ended well is then believed" {
    mv "$HOST/sys/block" "$HOST/sys/hidden"
    sim tool velomux fail 2
    step
    expect_text change_log < <(everything deleted)
    expect_text new_events < <(all_unseen)
    same 'doubtful|not listed, and the kernel cannot be asked: mpatha, mpathb; the multipath tool exited with status 2|0|0' \
        "$(observation)"
    turn_page
    sim tool velomux ok
    sim tool velomux silent
    step
    expect_text new_events <<'EVENTS'
good observation_quality  doubtful->good
good volume_gone mpatha ok-> 0/2 fault
good volume_gone mpathb ok-> 0/2 fault
EVENTS
    same 'good||0|0' "$(observation)"
}

@test "a tool that fails but lists everything makes a good observation, with its exit status in the reason" {
    sim fail-path sdb
    tool_prints 1 3
    step
    expect_text new_events <<'EVENTS'
good path_checker_state mpatha/sdb ready->faulty 1/2 fault
good path_dm_state mpatha/sdb active->failed 1/2 fault
good volume_state mpatha ok->last_path 1/2 fault
EVENTS
    same 'good|the multipath tool exited with status 3|2|4' "$(observation)"
}

@test "a volume that is really unmapped is gone at once, and is the same one when it returns" {
    sim unmap mpathb
    step
    expect_text new_events <<<'good volume_gone mpathb ok-> 0/2 fault'
    expect_states $'mpatha ok present\nmpathb gone'
    turn_page
    sim map mpathb
    step
    expect_text new_events <<<'good volume_appeared mpathb 2/2 fault'
    expect_states $'mpatha ok present\nmpathb ok present'
    same 2 "$(ledger 'SELECT count(*) FROM volumes')"
}

@test "a port that is lost is one incident of all its paths, and its return another" {
    sim fail-port 0x20d0000b5d6a1010
    step
    expect_text ledger "SELECT DISTINCT incident, kind FROM events WHERE number > $PAGE ORDER BY kind" <<'ROWS'
4|path_checker_state
4|path_dm_state
4|volume_state
ROWS
    expect_text ledger "SELECT path_name FROM events WHERE number > $PAGE AND kind = 'path_checker_state'" <<<$'sdb\nsdd'
    sim restore-port 0x20d0000b5d6a1010
    step
    same 5 "$(ledger 'SELECT max(incident) FROM events')"
}

@test "what changed while the host was restarted is told as that, and renumbered paths have moved" {
    kill_monitor
    mkdir -p "$HOST/proc/sys/kernel/random"
    echo 3f0c2a9e-0000-4000-8000-000000000001 >"$HOST/proc/sys/kernel/random/boot_id"
    start_monitor
    kill_monitor
    turn_page
    echo 3f0c2a9e-0000-4000-8000-000000000002 >"$HOST/proc/sys/kernel/random/boot_id"
    kernel_renames sdb sdx
    start_monitor
    expect_text new_events <<'EVENTS'
good monitor_started  host_restart
good path_moved mpatha/sdx sdb->sdx 2/2 host_restart
EVENTS
    same 2 "$(ledger "SELECT count(*) FROM events WHERE number > $PAGE AND boot_id LIKE '%2'")"
}
