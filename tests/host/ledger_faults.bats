#!/usr/bin/env bats
# The ledger on bad days: damaged, locked, removed, on a full disk, of another version, read by many. The contract's work
# goes on, the log has a line a minute at most, and the ledger catches up by itself.

load ../support/simulated_host
load ../support/ledger

setup() {
    cat >"$BATS_TEST_TMPDIR/one.scn" <<'SCENARIO'
volume mpatha transport=fc paths=2
SCENARIO
    make_host --scenario "$BATS_TEST_TMPDIR/one.scn"
    DB=$HOST/dumps/dravik.db
    start_monitor
    forget
    PAGE=$(last_event)
}

new_events() { events "$PAGE"; }

sdb_failed() {
    cat <<'EVENTS'
good path_checker_state mpatha/sdb ready->faulty 1/2 fault
good path_dm_state mpatha/sdb active->failed 1/2 fault
good volume_state mpatha ok->last_path 1/2 fault
EVENTS
}

begun_anew() {
    cat <<'EVENTS'
good volume_appeared mpatha 1/2 fault
EVENTS
}

# Lines of the contract's change log: its work goes on whatever the ledger does.
path_changes() { change_log | grep -c '^The path status is changed' || true; }

# The folder's names that begin with the ledger's, times cut.
ledger_files() { (cd "$HOST/dumps" && printf '%s\n' dravik.db*) | sed -E 's/[0-9]{8}T[0-9]{6}Z/TIME/'; }

# lock_ledger: another process keeps the right to write until unlock_ledger.
lock_ledger() {
    coproc LOCK { sqlite3 "$DB" 2>&1; }
    printf "BEGIN IMMEDIATE;\nSELECT 'locked';\n" >&"${LOCK[1]}"
    local answer
    read -r answer <&"${LOCK[0]}"
    same locked "$answer"
}
unlock_ledger() {
    printf 'ROLLBACK;\n.quit\n' >&"${LOCK[1]}"
    wait "$LOCK_PID"
}

@test "what is no database is put aside with one line, and a new ledger is begun" {
    kill_monitor
    rm -f "$DB"*
    head -c 20000 /dev/zero | tr '\0' x >"$DB"
    start_monitor
    step
    local -a aside=("$DB".damaged-*)
    expect_text ledger_complaints <<<"ERROR putLedgerAside Ledger /dumps/dravik.db is damaged (file is not a database): put aside as ${aside[0]#"$HOST"}."
    expect_text ledger_files <<<$'dravik.db\ndravik.db-shm\ndravik.db-wal\ndravik.db.damaged-TIME'
    same 20000 "$(cat "$DB".damaged-* | tr -dc x | wc -c)"
    same 600 "$(stat -c %a "$DB")"
    expect_text events 0 <<<$'good monitor_started \ngood volume_appeared mpatha 2/2 fault'
}

@test "a damaged page is found when it is read: the ledger is put aside with one line, and a new one begun" {
    kill_monitor
    sqlite3 "$DB" 'PRAGMA wal_checkpoint(TRUNCATE)' >/dev/null
    local pages
    pages=$(($(stat -c %s "$DB") / 4096))
    tr '\0' '\377' </dev/zero | dd of="$DB" bs=4096 seek=1 count=$((pages - 1)) conv=notrunc iflag=fullblock status=none
    start_monitor
    step
    same 1 "$(ledger_complaints | wc -l)"
    [[ $(ledger_complaints) == "ERROR putLedgerAside Ledger /dumps/dravik.db is damaged (database disk image is malformed): put aside as /dumps/dravik.db.damaged-"* ]]
    same ok "$(ledger 'PRAGMA integrity_check')"
    same 'good||1|2' "$(observation)"
    same 1 "$(ledger "SELECT count(*) FROM events WHERE kind = 'volume_appeared'")"
}

@test "a full disk: the change is in the ledger once, as soon as there is space" {
    sim fill-disk
    sim fail-path sdb
    step 3
    expect_text new_events </dev/null
    sim free-disk
    step
    expect_text new_events < <(sdb_failed)
    step 2
    expect_text new_events < <(sdb_failed)
    same ok "$(ledger 'PRAGMA integrity_check')"
    expect_text ledger_complaints </dev/null
}

@test "a locked ledger: a line a minute, the change log goes on, and the changes are told once it is free" {
    lock_ledger
    sim fail-path sdb
    step 3
    expect_text ledger_complaints <<<'ERROR observe Ledger: database is locked.'
    same 1 "$(path_changes)"
    step 4
    expect_text ledger_complaints <<<$'ERROR observe Ledger: database is locked.\nERROR observe Ledger: database is locked.'
    expect_text new_events </dev/null
    unlock_ledger
    step
    expect_text new_events < <(sdb_failed)
    expect_text ledger_complaints <<<$'ERROR observe Ledger: database is locked.\nERROR observe Ledger: database is locked.'
}

@test "what changed and changed back while the ledger was locked has left no trace in it" {
    lock_ledger
    sim fail-path sdb
    step
    sim restore-path sdb
    unlock_ledger
    step
    expect_text new_events </dev/null
    same 2 "$(path_changes)"
}

@test "a ledger that is removed under the monitor is begun anew" {
    sim fail-path sdb
    rm "$DB"*
    step
    expect_text events 0 < <(begun_anew)
    same 600 "$(stat -c %a "$DB")"
    sim restore-path sdb
    mv "$DB" "$DB.kept"
    step
    expect_text events 0 <<<'good volume_appeared mpatha 2/2 fault'
    expect_text ledger_complaints </dev/null
}

@test "a folder that is removed under the monitor is made again, and the ledger in it" {
    sim fail-path sdb
    rm -r "$HOST/dumps"
    step
    expect_text events 0 < <(begun_anew)
    same 700 "$(stat -c %a "$HOST/dumps")"
}

@test "while the folder is no folder nothing is lost but lines; afterwards a new ledger is begun" {
    rm -r "$HOST/dumps"
    : >"$HOST/dumps"
    step 2
    same "" "$(cat "$HOST/dumps")"
    rm "$HOST/dumps"
    sim fail-path sdb
    step
    expect_text events 0 < <(begun_anew)
}

@test "a link in the ledger's place is put aside and what it leads to left alone" {
    kill_monitor
    rm "$DB"*
    echo precious >"$HOST/etc/precious"
    ln -s /etc/precious "$DB"
    start_monitor
    same precious "$(cat "$HOST/etc/precious")"
    [[ -f $DB && ! -L $DB && -L $DB.foreign ]]
    same 'good||1|2' "$(observation)"
}

@test "a newer program's ledger is left alone with a line a minute" {
    kill_monitor
    sqlite3 "$DB" 'PRAGMA user_version = 99'
    local before
    before=$(ledger 'SELECT * FROM observation')
    start_monitor
    step 2
    expect_text ledger_complaints <<<'ERROR observe Ledger: /dumps/dravik.db has been written by a newer dravik (its version 99, this one knows 3): use that one.'
    same "$before" "$(ledger 'SELECT * FROM observation')"
    same 99 "$(ledger 'PRAGMA user_version')"
}

@test "an empty file, as a kill at the first moment leaves it, is filled" {
    kill_monitor
    rm "$DB"*
    : >"$DB"
    chmod 600 "$DB"
    start_monitor
    expect_text events 0 <<<$'good monitor_started \ngood volume_appeared mpatha 2/2 fault'
    expect_text ledger_complaints </dev/null
}

# read_on NUMBER: reads the ledger again and again until the file "enough" is there; what did not add up is written down.
read_on() {
    local sums
    while [[ ! -e $BATS_TEST_TMPDIR/enough ]]; do
        sums=$(ledger "SELECT (SELECT count(*) FROM events WHERE kind = 'volume_state') =
                              (SELECT count FROM event_count WHERE kind = 'volume_state')" 2>&1)
        [[ $sums == 1 || $sums == '' ]] || echo "$sums" >>"$BATS_TEST_TMPDIR/wrong.$1"
        echo >>"$BATS_TEST_TMPDIR/read.$1"
    done
}

@test "20 readers while the monitor writes: each sees a whole ledger, and neither waits for the other" {
    local reader
    for reader in {1..20}; do read_on "$reader" & done
    for _ in {1..10}; do
        sim fail-path sdb
        step
        sim restore-path sdb
        step
    done
    touch "$BATS_TEST_TMPDIR/enough"
    wait
    same "" "$(cat "$BATS_TEST_TMPDIR"/wrong.* 2>/dev/null || true)"
    local -a readers=("$BATS_TEST_TMPDIR"/read.*)
    same 20 "${#readers[@]}"
    same 20 "$(ledger "SELECT count(*) FROM events WHERE kind = 'volume_state'")"
    expect_text ledger_complaints </dev/null
}
