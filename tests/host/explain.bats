#!/usr/bin/env bats
# explain as it is typed: on a host on which many things go wrong, every line of both logs and every error that a command
# prints is explained.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

# Lines of FILE that begin with a time stamp and are not explained as a line of a log; what has no stamp is what a tool has
# printed. KINDS: how many texts of logs there were.
unexplained() {
    local line answer=$BATS_TEST_TMPDIR/answer
    : >"$BATS_TEST_TMPDIR/keys"
    while IFS= read -r line; do
        [[ $line == '['[0-9][0-9][0-9][0-9]-* ]] || continue
        if ! "$BUILD_DIR/dravik" explain --json "$line" >"$answer" 2>/dev/null || ! grep -q '"entries":.{"kind":"log_line"' "$answer"; then
            printf '%s\n' "$line"
        fi
        fits "$line" <"$answer"
        sed -E 's/.*"entries":.\{"kind":"log_line","key":"(([^"\\]|\\.)*)".*/\1/' "$answer" >>"$BATS_TEST_TMPDIR/keys"
    done < <(sort -u -k 3 "$1")
}
kinds() { sort -u "$BATS_TEST_TMPDIR/keys" | wc -l; }

# fits TEXT < DOCUMENT: it is what the schema says; prints the text otherwise.
fits() {
    /usr/bin/python3 "$REPO/tests/support/validate_json.py" "$REPO/schema/explain.schema.json" || printf 'no document: %s\n' "$1"
}

# fails COMMAND...: the command fails, and what it prints between the lines of dashes is explained as a record, code and text.
fails() {
    local error
    run --separate-stderr in_host dravik "$@"
    same 1 "$status"
    error=$(grep '^Error(' <<<"$output")
    # What it says without its head is one text of the project's, whatever was filled in.
    run --separate-stderr "$BUILD_DIR/dravik" explain --json "$error"
    same 0 "$status"
    same 1 "$(grep -o '"kind":' <<<"$output" | wc -l)"
    same "$(sed -E 's/^Error\(0*([0-9]+)\).*/\1/' <<<"$error")" "$(sed -E 's/.*"code":([0-9]+).*/\1/' <<<"$output")"
}

@test "every line of the change log is explained, whatever happens to volumes and paths" {
    make_host
    start_monitor
    sim fail-path sdb
    step
    sim restore-path sdb
    sim fail-path sdc failed faulty offline
    step
    in_host sh -c 'echo 1 > /sys/block/sdd/device/delete'
    sim unmap mpathb
    step
    in_host dravik config >/dev/null
    in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias database >/dev/null
    in_host dravik setpathpolicy -chooser round-robin-extend >/dev/null
    step
    same "" "$(unexplained "$HOST/dumps/dravik_monitor.log")"
    # All but that a WWID or a group status has changed.
    (($(kinds) >= 8))
}

@test "every line of the command log is explained, whatever fails" {
    make_host
    start_monitor
    for fault in fail\ 3 half rubbish missing crash; do
        # shellcheck disable=SC2086 # the words of the fault
        sim tool velomux $fault
        step
        in_host dravik query >/dev/null 2>&1 || true
        in_host dravik delete mpathb >/dev/null 2>&1 || true
        in_host dravik setstate -path_alias mpatha -device_name sdb -state offline >/dev/null 2>&1 || true
    done
    sim tool velomux ok
    sim fail-path sdj
    sim fail-path sdk
    in_host dravik query >/dev/null
    printf 'rubbish' >"$HOST/dumps/storage_config.json"
    in_host dravik query >/dev/null
    sim tool policy.sh missing
    in_host dravik lspathpolicy >/dev/null || true
    in_host dravik setpathpolicy -chooser round-robin-extend >/dev/null || true
    in_host dravik scan >/dev/null
    kill_monitor
    printf 'rubbish\n' >"$HOST/dumps/data.dravik"
    head -c 20000 /dev/zero | tr '\0' x >"$HOST/dumps/dravik.db"
    rm -f "$HOST"/dumps/dravik.db-*
    start_monitor
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 999' >/dev/null
    kill_monitor
    start_monitor
    chmod 0777 "$HOST/dumps"
    step
    in_host dravik scan >/dev/null
    same "" "$(unexplained "$HOST/dumps/dravik_cli.log")"
    (($(kinds) >= 18))
}

@test "every error that a command prints is explained" {
    make_host
    fails query nonsense
    fails query 'no name'
    fails delete
    fails delete nonsense
    fails nonsense
    fails status more
    fails setstate -path_alias mpatha
    fails setstate -path_alias nonsense -device_name sdb -state offline
    fails setstate -path_alias mpatha -device_name sdz -state offline
    fails setstate -path_alias mpatha -device_name sdb -state sideways
    fails setalias -wwid 3600B5D60001A2B3C0000000000000001 -alias x
    fails setalias -wwid 3 -alias x
    fails setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias idisk1
    fails setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias 9
    fails setalias -alias x
    fails delalias -wwid 3600b5d60001a2b3c0000000000000001
    fails setpathpolicy -chooser round-robin-extend
    fails setpathpolicy -chooser nonsense
    fails devstats -interval x
    fails devstats
    printf 'mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX' >"$BATS_TEST_TMPDIR/half"
    sim tool velomux says "$BATS_TEST_TMPDIR/half"
    fails query
    sim tool velomux missing
    fails query
    fails scan -x
}

@test "a line is read from standard input, its first line and 8 KiB of it at most" {
    local line='[2026-11-21 03:12:41.047] The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ].'
    run --separate-stderr "$BUILD_DIR/dravik" explain - <<<"$line"$'\n'"another line"
    same 0 "$status"
    same "$("$BUILD_DIR/dravik" explain "$line")" "$output"
    # A carriage return and no newline, as a paste may have them.
    run --separate-stderr "$BUILD_DIR/dravik" explain - < <(printf '%s\r' "$line")
    same "$("$BUILD_DIR/dravik" explain "$line")" "$output"
    run --separate-stderr "$BUILD_DIR/dravik" explain - </dev/null
    # shellcheck disable=SC2154 # set by run
    same '1 dravik explain: say what is to be explained: a code, a name or a line of a log; see "dravik help explain"' "$status $stderr"
    run --separate-stderr timeout 10 "$BUILD_DIR/dravik" explain - < <(yes | tr -d '\n' | head -c 100000000)
    same "1 dravik explain: nothing is known of \"$(yes y | head -n 197 | tr -d '\n')...\"; \"dravik explain --list\" shows what is known" "$status $stderr"
}

@test "the list can be cut, and its end may go unread" {
    "$BUILD_DIR/dravik" explain --list >"$BATS_TEST_TMPDIR/list"
    same "" "$(awk -F'\t' 'NF != 3 || $1 !~ /^(record|event|alert|log_line)$/ || $2 == "" || $3 == ""' "$BATS_TEST_TMPDIR/list")"
    same "record	EC_ok	Success: the command has done what it was asked for." "$(head -n 1 "$BATS_TEST_TMPDIR/list")"
    "$BUILD_DIR/dravik" explain --list | head -n 1 >/dev/null
    run "$BUILD_DIR/dravik" explain --list --json
    same "" "$(fits error <<<"$output" 2>&1)"
    same "$(wc -l <"$BATS_TEST_TMPDIR/list")" "$(grep -o '"kind":' <<<"$output" | wc -l)"
}

@test "an error as JSON fits the schema, too" {
    run --separate-stderr "$BUILD_DIR/dravik" --json explain nonsense
    same 1 "$status"
    same "" "$(fits error <<<"$output" 2>&1)"
    same "dravik explain: nothing is known of \"nonsense\"; \"dravik explain --list\" shows what is known" "$stderr"
}

@test "it needs neither root nor the monitor nor any file" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_host
    cp "$(command -v chroot)" "$HOST/usr/bin/chroot"
    rm -rf "$HOST/dumps"
    run --separate-stderr in_host chroot --userspec=12345:12345 / dravik explain 0133
    same "0 " "$status $stderr"
    same "$("$BUILD_DIR/dravik" explain 133)" "$output"
    [[ ! -e $HOST/dumps ]]
}

@test "a result that a full disk swallows is none" {
    run bash -c '"$1" explain 0133 >/dev/full' bash "$BUILD_DIR/dravik"
    same 1 "$status"
}

@test "the Tab key offers what is known, and runs nothing that was typed" {
    load ../support/tab_key
    PATH=$BUILD_DIR:$PATH
    same "DravikVolumeDegraded DravikVolumeGone DravikVolumeOnLastPath DravikVolumeWithoutPaths" "$(completes dravik explain DravikVol | sort | flat)"
    same "$("$BUILD_DIR/dravik" explain --list | awk -F'\t' '$1 != "log_line" { print $2 }')" "$(completes dravik explain '')"
    same "--list --json --help" "$(completes dravik explain -- | flat)"
    same "--list --json" "$(completes dravik explain 115 '' | flat)"
    # shellcheck disable=SC2016 # nobody expands it
    same "" "$(completes dravik explain '$(touch ran)')"
    [[ ! -e ran ]]
}
