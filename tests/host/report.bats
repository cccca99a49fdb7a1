#!/usr/bin/env bats
# report on the simulated host: what the archive holds, what bad input and a broken host get, and that no name of the site is
# left in one that is redacted.

# shellcheck disable=SC2153 # HOST is set by make_host
bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/ledger

# The host at 03:12:31 with its monitor.
make_watched_host() {
    make_host "$@"
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
}

# answers STATUS STDOUT STDERR -- ARGUMENTS...
answers() {
    local status_wanted=$1 text=$2 errors=$3
    shift 4
    run --separate-stderr in_host dravik "$@"
    same "$text" "$output"
    # shellcheck disable=SC2154 # set by run
    same "$errors" "$stderr"
    same "$status_wanted" "$status"
}

# report [ARGUMENTS...]: makes /root/r.tar.gz and unpacks it; its folder is in $TOP.
report() {
    rm -rf "$HOST/root/r.tar.gz" "$BATS_TEST_TMPDIR/unpacked"
    in_host dravik report /root/r.tar.gz "$@" >"$BATS_TEST_TMPDIR/said"
    unpack "$HOST/root/r.tar.gz"
}

unpack() {
    mkdir "$BATS_TEST_TMPDIR/unpacked"
    tar -x -z -C "$BATS_TEST_TMPDIR/unpacked" -f "$1"
    TOP=$(echo "$BATS_TEST_TMPDIR"/unpacked/*)
}

# The sentences about what to look at first, as they were printed.
first() { sed -n 's/^  - //p' "$BATS_TEST_TMPDIR/said"; }

# manifest HEADING: the lines below it.
manifest() { awk -v heading="$1" 'index($0, heading) == 1 { inside = 1; next } /^$/ { inside = 0 } inside' "$TOP/MANIFEST"; }

# Everything in the folder /root of the host, hidden names included.
left() { ls -A "$HOST/root"; }

as_user() {
    cp "$(command -v chroot)" "$HOST/usr/bin/chroot"
    in_host chroot --userspec=12345:12345 / "$@"
}

FILES='README.txt MANIFEST SHA256SUMS check.txt events.txt dravik.db versions.txt dumps.txt dravik_monitor.log dravik_cli.log
data.dravik velomux.conf services.txt listing.txt kernel-maps.txt kernel-paths.txt kernel-fc.txt kernel-iscsi.txt
kernel-nvme.txt by-path.txt'

# ---- what it holds

@test "an archive of mode 0600 has one folder, its files in their order, numeric owners, and checksums that hold" {
    make_watched_host
    run in_host stat -c %a /root
    report
    same 600 "$(stat -c %a "$HOST/root/r.tar.gz")"
    local host entries
    host=$(hostname)
    same "dravik-report-${host//[^A-Za-z0-9.-]/_}-20261121T031231Z" "${TOP##*/}"
    entries=$(tar -t -v -z --numeric-owner -f "$HOST/root/r.tar.gz" | awk '{ print $1, $2, $6 }')
    same "$(
        echo "drwx------ 0/0 ${TOP##*/}/"
        for name in $FILES; do echo "-rw------- 0/0 ${TOP##*/}/$name"; done
    )" "$entries"
    run sh -c "cd '$TOP' && sha256sum -c SHA256SUMS"
    same "$(for name in $(tr ' ' '\n' <<<"$FILES" | grep -vE '^(MANIFEST|SHA256SUMS)$' | LC_ALL=C sort); do echo "$name: OK"; done | LC_ALL=C sort)" \
        "$(LC_ALL=C sort <<<"$output")"
    same "$(awk '{ print $1, $2 }' "$TOP/SHA256SUMS" | LC_ALL=C sort)" \
        "$(manifest FILES | awk '{ print $1, $4 }' | LC_ALL=C sort)"
    same "r.tar.gz" "$(left)"
}

@test "the files are those of the host, byte for byte, and the manifest names where they are from and what is missing" {
    make_watched_host
    in_host dravik query mpatha >/dev/null
    echo old >"$HOST/etc/velomux.conf.bk"
    report
    cmp "$HOST/dumps/dravik_monitor.log" "$TOP/dravik_monitor.log"
    cmp "$HOST/dumps/data.dravik" "$TOP/data.dravik"
    cmp "$HOST/dumps/storage_config.json" "$TOP/storage_config.json"
    cmp "$HOST/etc/velomux.conf" "$TOP/velomux.conf"
    same old "$(cat "$TOP/velomux.conf.bk")"
    same "$(in_host velomux -ll 2>&1)" "$(cat "$TOP/listing.txt")"
    same "$(in_host dravik check)" "$(cat "$TOP/check.txt")"
    same "$(in_host dravik events --all)" "$(cat "$TOP/events.txt")"
    same "$(ledger 'SELECT * FROM paths; SELECT * FROM events; SELECT * FROM volumes')" \
        "$(sqlite3 "$TOP/dravik.db" 'SELECT * FROM paths; SELECT * FROM events; SELECT * FROM volumes')"
    same "ok" "$(sqlite3 "$TOP/dravik.db" 'PRAGMA integrity_check')"
    same "dm-0 name=mpatha uuid=mpath-3600b5d60001a2b3c0000000000000001 slaves=sdb,sdc,sdd,sde holders=" "$(sed -n 1p "$TOP/kernel-maps.txt")"
    grep -q '^fc_host/host1 port_name=0x21000024ff5d6a11 node_name=0x20000024ff5d6a11 port_state=Online ' "$TOP/kernel-fc.txt"
    grep -qx "dravik $(product_version)" "$TOP/versions.txt"
    same "/dumps/dravik_cli.log velomux -ll" "$(manifest FILES | awk '/ (dravik_cli.log|listing.txt) / { $1 = $2 = $3 = $4 = ""; sub(/^ +/, ""); print }' | paste -sd' ')"
    same 'dravik_monitor_bk.log: there is none
dravik_cli_bk.log: there is none
journal-monitor.txt: there is no journalctl on this host
journal-daemon.txt: there is no journalctl on this host
journal-kernel.txt: there is no journalctl on this host' "$(manifest 'COULD NOT BE READ')"
    same nothing "$(manifest CUT)"
}

@test "it ends with what to look at first, and so does README.txt" {
    make_watched_host
    sim fail-port 0x20d0000b5d6a1010
    step
    report
    same 'CRITICAL - 4 of 11 volumes on their last path, 1 degraded (check.txt)
mpathb: last path, 1 of 2 work; lost: sdf; survives: nothing
3600b5d60001a2b3c0000000000000003: last path, 1 of 2 work; lost: sdh; survives: nothing
hwdata: last path, 1 of 2 work; lost: sdq; survives: nothing
dravik-monitor does not run: its service is inactive (services.txt)
1 error in dravik_cli.log, the last one of 2026-11-21 03:12:31.000' "$(first)"
    same "$(first)" "$(sed -n 's/^  - //p' "$TOP/README.txt")"
}

@test "the answer as JSON fits its schema, and so does that of a failure" {
    make_watched_host
    local file
    for file in r.tar.gz r.tar.gz 'x.zip'; do
        run --separate-stderr in_host dravik report --json "/root/$file"
        same "" "$(/usr/bin/python3 "$REPO/tests/support/validate_json.py" "$REPO/schema/report.schema.json" <<<"$output" 2>&1)"
        [[ $file$status != r.tar.gz0 ]] || same '"redacted":false' "$(grep -o '"redacted":false' <<<"$output")"
    done
    same 1 "$status"
    same '"error":"\"/root/x.zip\" does not end in .tar.gz, which is what the report is"' "$(grep -o '"error":.*"' <<<"$output")"
}

@test "the journal is asked for the last 24 hours where there is one" {
    make_watched_host
    printf '#!/bin/sh\necho "journal of $*"\n' >"$HOST/usr/bin/journalctl"
    chmod 755 "$HOST/usr/bin/journalctl"
    report
    same 'journal of --no-pager -o short-iso --since -24h -u dravik-monitor
journal of --no-pager -o short-iso --since -24h -u dravikd
journal of --no-pager -o short-iso --since -24h -k' "$(cat "$TOP"/journal-{monitor,daemon,kernel}.txt)"
}

# ---- the name of the file

@test "a line that names no new .tar.gz is answered on standard error, and nothing is made" {
    make_host
    answers 1 "" "dravik report: say into which file: dravik report FILE.tar.gz" -- report
    answers 1 "" 'dravik report: "/root/r.zip" does not end in .tar.gz, which is what the report is' -- report /root/r.zip
    answers 1 "" 'dravik report: "/root/.tar.gz" does not end in .tar.gz, which is what the report is' -- report /root/.tar.gz
    answers 1 "" 'dravik report: "b" is one word too many; see "dravik help report"' -- report a.tar.gz b
    answers 1 "" 'dravik report: there is no option "--nope"; see "dravik help report"' -- report --nope
    answers 1 "" "dravik report: /root/no: No such file or directory; make the folder, or name a file in another one" -- report /root/no/r.tar.gz
    same "" "$(left)"
}

@test "what is there already stays: a file, a folder, a link, a dangling link" {
    make_watched_host
    echo mine >"$HOST/root/file.tar.gz"
    mkdir "$HOST/root/folder.tar.gz"
    ln -s file.tar.gz "$HOST/root/link.tar.gz"
    ln -s nowhere "$HOST/root/dangling.tar.gz"
    local name before
    before=$(left)
    for name in file folder link dangling; do
        answers 1 "" "dravik report: /root/$name.tar.gz is already there: remove it, or name another file" -- report "/root/$name.tar.gz"
    done
    same mine "$(cat "$HOST/root/file.tar.gz")"
    same "$before" "$(left)"
    [[ ! -e $HOST/root/nowhere ]]
}

@test "a name may hold blanks, quotes, a newline, metacharacters, a leading dash, and is below the caller's folder" {
    make_watched_host
    mkdir "$HOST/root/a b"
    local name
    for name in 'x y' "it's \"so\"" '$(touch evil); *' $'two\nlines' -dash; do
        in_host sh -c 'cd "/root/a b" && dravik report -- "$1"' sh "$name.tar.gz" >/dev/null
        tar -t -z -f "$HOST/root/a b/$name.tar.gz" >/dev/null
    done
    same 5 "$(find "$HOST/root/a b" -mindepth 1 -printf 'x\n' | wc -l)"
    same "" "$(find "$HOST" -name evil)"
}

@test "another user than root is refused before anything is made" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_watched_host
    run --separate-stderr as_user dravik report /tmp/r.tar.gz
    same "1 dravik report: a report reads what is root's alone: run it as root" "$status $stderr"
    same "" "$(ls -A "$HOST/tmp")"
}

@test "two reports at once are both made, and of two into one file one says that it is there" {
    make_watched_host
    local first second
    in_host dravik report /root/1.tar.gz >/dev/null &
    first=$!
    in_host dravik report /root/2.tar.gz >/dev/null &
    second=$!
    wait "$first" "$second"
    for name in 1 2; do tar -t -z -f "$HOST/root/$name.tar.gz" >/dev/null; done
    sim tool velomux slow 1
    in_host dravik report /root/3.tar.gz >/dev/null 2>"$BATS_TEST_TMPDIR/err.1" &
    first=$!
    in_host dravik report /root/3.tar.gz >/dev/null 2>"$BATS_TEST_TMPDIR/err.2" &
    second=$!
    local failed=0
    wait "$first" || failed=$((failed + 1))
    wait "$second" || failed=$((failed + 1))
    same 1 "$failed"
    grep -qE '/root/3.tar.gz (is already|has come to be) there' "$BATS_TEST_TMPDIR"/err.?
    same "1.tar.gz 2.tar.gz 3.tar.gz" "$(left | paste -sd' ')"
}

# ---- a host in trouble

@test "a multipath tool that hangs costs its 30 seconds, and the report goes on without it" {
    make_watched_host
    sim tool velomux hang
    local start=$SECONDS
    report
    ((SECONDS - start < 60))
    [[ ! -e $TOP/listing.txt ]]
    same "listing.txt: did not end within 30 seconds and was killed" "$(manifest 'COULD NOT BE READ' | grep ^listing)"
    first | grep -qx 'the multipath tool does not answer: velomux -ll did not end within 30 seconds and was killed'
}

@test "a tool that fails, is missing, or prints without end is told and bounded" {
    make_watched_host
    sim tool velomux fail 3
    report
    same "(its exit status was not 0)" "$(tail -n 1 "$TOP/listing.txt")"
    first | grep -qx 'the multipath tool fails: velomux -ll ends with an error (listing.txt)'
    sim tool velomux missing
    report
    same "listing.txt: there is no velomux on this host" "$(manifest 'COULD NOT BE READ' | grep ^listing)"
    first | grep -qx 'the multipath tool is missing: there is no velomux on this host'
    printf '#!/bin/sh\nexec yes a line of nonsense\n' >"$HOST/usr/sbin/velomux"
    chmod 755 "$HOST/usr/sbin/velomux"
    report
    # 32 MiB are taken, of which 4 MiB of whole lines are kept.
    manifest CUT | grep -qE '^listing.txt: 293601[34][0-9] bytes at its end$'
    local kept
    kept=$(stat -c %s "$TOP/listing.txt")
    ((kept > 4194304 - 32 && kept <= 4194304))
    grep -qE '^Cut: listing.txt, 293601[34][0-9] bytes are left out$' "$BATS_TEST_TMPDIR/said"
}

@test "of a huge log the newest whole lines are kept, and of a sparse one no more is read" {
    make_watched_host
    head -c 5242880 /dev/zero | tr '\0' x >"$HOST/dumps/dravik_monitor_bk.log"
    echo >>"$HOST/dumps/dravik_monitor_bk.log"
    seq 100000 >>"$HOST/dumps/dravik_monitor_bk.log"
    truncate -s 1T "$HOST/dumps/dravik_cli_bk.log"
    report
    same "$(seq 100000 | sha256sum)" "$(tail -n 100000 "$TOP/dravik_monitor_bk.log" | sha256sum)"
    same 100000 "$(wc -l <"$TOP/dravik_monitor_bk.log")"
    same 2097152 "$(stat -c %s "$TOP/dravik_cli_bk.log")"
    same "dravik_monitor_bk.log: 5242881 bytes at its beginning
dravik_cli_bk.log: 1099509530624 bytes at its beginning" "$(manifest CUT)"
}

@test "nothing but plain files is read: a FIFO, a device, a link, a folder in a file's place" {
    make_watched_host
    local name
    for name in dravik_monitor.log data.dravik storage_config.json dravik_cli_bk.log; do rm -f "$HOST/dumps/$name"; done
    mkfifo "$HOST/dumps/dravik_monitor.log"
    ln -s /dev/zero "$HOST/dumps/data.dravik"
    ln -s /etc/passwd "$HOST/dumps/storage_config.json"
    mkdir "$HOST/dumps/dravik_cli_bk.log"
    rm "$HOST/etc/velomux.conf"
    mkfifo "$HOST/etc/velomux.conf"
    report
    same 'dravik_monitor.log: is no plain file
dravik_cli_bk.log: is no plain file
data.dravik: is no plain file
storage_config.json: is no plain file
velomux.conf: is no plain file' "$(manifest 'COULD NOT BE READ' | grep -E '^(dravik_|data|storage|velomux.conf:)' | grep -v 'there is none')"
    [[ ! -e $TOP/data.dravik && ! -e $TOP/storage_config.json ]]
}

@test "a ledger that is not there, locked, damaged, or newer: the report says so and takes what it can" {
    make_watched_host
    stop_monitor
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA wal_checkpoint(TRUNCATE)' >/dev/null
    mv "$HOST/dumps/dravik.db" "$BATS_TEST_TMPDIR/good"
    rm -f "$HOST"/dumps/dravik.db-*
    local redact
    for redact in '' --redact; do
        report $redact
        same "dravik.db: there is none: dravik-monitor has not run on this host yet" "$(manifest 'COULD NOT BE READ' | grep ^dravik.db)"
    done
    yes 'not a database, but of some length' | head -n 200 >"$HOST/dumps/dravik.db"
    chmod 600 "$HOST/dumps/dravik.db"
    report
    cmp "$HOST/dumps/dravik.db" "$TOP/dravik.db"
    manifest 'COULD NOT BE READ' | grep -qE '^dravik.db, not whole: it cannot be copied: .*: copied as it is$'
    report --redact
    [[ ! -e $TOP/dravik.db ]]
    manifest 'COULD NOT BE READ' | grep -qE '^dravik.db: it cannot be copied: .*; as it is, it cannot be redacted$'
    cp "$BATS_TEST_TMPDIR/good" "$HOST/dumps/dravik.db"
    chmod 600 "$HOST/dumps/dravik.db"
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 99'
    report
    same 99 "$(sqlite3 "$TOP/dravik.db" 'PRAGMA user_version')"
    first | grep -q 'has been written by a newer dravik (its version 99, '
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA journal_mode = DELETE; PRAGMA user_version = 3' >/dev/null
    mkfifo "$BATS_TEST_TMPDIR/hold"
    sqlite3 "$HOST/dumps/dravik.db" <"$BATS_TEST_TMPDIR/hold" &
    exec 9>"$BATS_TEST_TMPDIR/hold"
    echo 'BEGIN EXCLUSIVE;' >&9
    sleep 0.5
    report
    exec 9>&-
    wait
    same "dravik.db, not whole: it has been locked for too long: copied as it is" "$(manifest 'COULD NOT BE READ' | grep ^dravik.db)"
    cmp "$HOST/dumps/dravik.db" "$TOP/dravik.db"
}

@test "a full disk leaves neither a file nor a folder, and names the remedy" {
    ((EUID == 0)) || skip "only root can mount a small file system"
    unshare -m true 2>/dev/null || skip "no file system can be mounted here"
    make_watched_host
    mkdir "$HOST/small"
    local size
    for size in 16k 64k 128k 220k 260k; do
        run unshare -m sh -c 'mount -t tmpfs -o size="$1" none "$2/small" || exit 77
            "$3" "$2" run dravik report /small/r.tar.gz; echo "[$?]"; ls -A "$2/small"' sh "$size" "$HOST" "$SIMHOST"
        ((status != 77)) || skip "no file system can be mounted here"
        case $output in
            *'[1]') grep -q 'No space left on device; free space there, or name a file in another folder$' <<<"$output" ||
                grep -q '^dravik report: /small' <<<"$output" ;;
            *$'\n[0]\nr.tar.gz') ;;
            *) same "$size" "$output" ;;
        esac
        [[ $size != 16k ]] || same "dravik report: /small: No space left on device; free space there, or name a file in another folder
[1]" "$output"
    done
}

@test "Ctrl+C, at once or while a tool hangs, leaves nothing behind" {
    make_watched_host
    local signal
    sim tool velomux hang
    for signal in INT TERM HUP; do
        run in_host timeout -s "$signal" 2 dravik report /root/r.tar.gz
        same 124 "$status"
        same "" "$output"
        same "" "$(left)"
    done
}

@test "a folder that a killed report has left is removed by the next one there when it is an hour old" {
    make_watched_host
    sim tool velomux hang
    # The tool that it leaves behind keeps what it was handed.
    in_host timeout -s KILL 2 dravik report /root/r.tar.gz >/dev/null 2>&1 3>&- || true
    same 1 "$(left | grep -c '^\.dravik-report-')"
    sim tool velomux ok
    report
    same 1 "$(left | grep -c '^\.dravik-report-')"
    touch -d '2026-11-21 02:00:00 UTC' "$HOST"/root/.dravik-report-*
    mkdir -m 755 "$HOST/root/.dravik-report-open"
    ln -s /etc "$HOST/root/.dravik-report-link"
    touch -h -d '2026-11-21 02:00:00 UTC' "$HOST"/root/.dravik-report-{open,link}
    report
    same ".dravik-report-link .dravik-report-open r.tar.gz" "$(left | paste -sd' ')"
    [[ -e $HOST/etc/passwd ]]
}

# ---- a file in a folder that another user may change

# stealing COMMANDS: another user of the host owns the folder of the report's file, and runs these commands there, in which
# $work is the report's folder, at the moment when tar is started.
stealing() {
    mkdir -p "$HOST/home/thief" "$HOST/usr/local/real"
    echo precious >"$HOST/etc/victim"
    chmod 600 "$HOST/etc/victim"
    chown 12345:12345 "$HOST/home/thief"
    cp "$(type -P chroot)" "$HOST/usr/bin/chroot"
    mv "$HOST/usr/bin/tar" "$HOST/usr/local/real/tar"
    cat >"$HOST/usr/bin/tar" <<END
#!/bin/sh
chroot --userspec=12345:12345 / sh -c 'cd /home/thief; work=\$(echo .dravik-report-*); $1'
exec /usr/local/real/tar "\$@"
END
    chmod 755 "$HOST/usr/bin/tar"
}

names_in() { find "$1" -mindepth 1 -maxdepth 1 -printf '%f\n' | LC_ALL=C sort | paste -sd' '; }

@test "who owns the file's folder cannot lead what root writes elsewhere, nor have anything removed" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_watched_host
    # shellcheck disable=SC2016 # the thief's shell expands it
    stealing 'mv "$work" aside; mkdir "$work"; for name in report.tar.gz names ledger.db; do ln -s /etc/victim "$work/$name"; done; echo his >"$work/file"'
    run --separate-stderr in_host dravik report /home/thief/r.tar.gz
    same 1 "$status"
    same "" "$output"
    same "dravik report: /home/thief: the report's folder there, W, has been renamed or removed meanwhile; name a file in a folder that nobody else may change" \
        "$(sed -E 's/\.dravik-report-[0-9]+-[0-9]+/W/' <<<"$stderr")"
    same precious "$(cat "$HOST/etc/victim")"
    same "W aside" "$(names_in "$HOST/home/thief" | sed -E 's/\.dravik-report-[0-9]+-[0-9]+/W/')"
    same "file ledger.db names report.tar.gz" "$(names_in "$HOST"/home/thief/.dravik-report-*)"
    same "" "$(names_in "$HOST/home/thief/aside")"
}

# ---- redaction

# What names the simulated host's site, a line each: from the simulation itself, not from the product.
secrets() {
    hostname
    printf '%s\n' simhost payroll_db alice bob 192.168.1.10 192.168.2.10 10.20.30.40 fe80::5054:ff:fe12:3456 old_name
    sed -n 's/^.*vdisk=\([^ ]*\).*$/\1/p; s/^.*wwid=\([^ ]*\).*$/\1/p' "$HOST/sim/state"
    grep -rhoE '\b(0x[0-9a-f]{16}|3[0-9a-f]{32}|eui\.[0-9a-f]{32}|(iqn|nqn)\.[a-z0-9.:-]+[a-z0-9])\b' "$HOST/sim/state" \
        "$HOST/sys/class/fc_host" "$BATS_TEST_TMPDIR/plain" --exclude=MANIFEST --exclude=SHA256SUMS --exclude=dravik.db |
        sed -E 's/-lun-.*//; p; s/^(0x|3|eui\.)([0-9a-f]+)$/\2/p'
    awk '/^[^ ]+ \([^ ]+\) dm-/ { print $1; gsub(/[()]/, "", $2); print $2 }' "$BATS_TEST_TMPDIR/plain/listing.txt"
    sed -nE 's/^0x([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})([0-9a-f]{2})$/\1:\2:\3:\4:\5:\6:\7:\8/p' \
        "$HOST"/sys/class/fc_host/*/port_name
}

# A host with operations of users, a volume that is renamed and one that is gone, and a journal that names what it should not.
make_told_host() {
    make_watched_host
    in_host dravik query >/dev/null
    in_host SUDO_USER=alice SUDO_UID=1001 dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias payroll_db >/dev/null
    sim fail-port 0x20d0000b5d6a1010
    step
    sim unmap mpathe
    in_host SUDO_USER=bob SUDO_UID=1002 dravik baseline accept >/dev/null
    step
    echo '[2026-11-20 00:00:00.000] The path alias is changed from [old_name] to [payroll_db] for the path [ dev_name: sdb ].' \
        >"$HOST/dumps/dravik_monitor_bk.log"
    cat >"$HOST/usr/bin/journalctl" <<'END'
#!/bin/sh
echo '2026-11-21T03:00:00+0000 simhost kernel: rport-1:0-0: 20:d0:00:0b:5d:6a:10:10 is gone, peers 10.20.30.40 [fe80::5054:ff:fe12:3456]:3260'
echo '2026-11-21T03:00:01+0000 simhost kernel: dm-0: mpatha1 payroll_dbp2 WWPN 20D0000B5D6A1010 /dev/mapper/payroll_db-part1'
echo '2026-11-21T03:00:02+0000 simhost dravik-monitor[1]: old_name sdb: ready -> faulty, 1 of 2 paths works'
END
    chmod 755 "$HOST/usr/bin/journalctl"
}

# plain_and_redacted: both reports of the told host, unpacked beside each other; $PLAIN and $TOP are their folders.
plain_and_redacted() {
    make_told_host
    report
    mv "$TOP" "$BATS_TEST_TMPDIR/plain"
    PLAIN=$BATS_TEST_TMPDIR/plain
    report --redact
}

@test "of what names the site nothing is left in a redacted archive: not in its texts, its ledger's bytes, nor its names" {
    plain_and_redacted
    secrets | grep -v '^$' | sort -u >"$BATS_TEST_TMPDIR/secrets"
    # The list is one: what it holds stands in the plain report.
    (($(wc -l <"$BATS_TEST_TMPDIR/secrets") > 20))
    (($(grep -rlaFf "$BATS_TEST_TMPDIR/secrets" "$PLAIN" | wc -l) > 8))
    same "" "$(grep -raowiFf "$BATS_TEST_TMPDIR/secrets" "$TOP" | sed "s,^$TOP/,," | sort | uniq -c)"
    tar -t -z -f "$HOST/root/r.tar.gz" >"$BATS_TEST_TMPDIR/names"
    same "" "$(grep -wiFf "$BATS_TEST_TMPDIR/secrets" "$BATS_TEST_TMPDIR/names")"
    gzip -dc "$HOST/root/r.tar.gz" >"$BATS_TEST_TMPDIR/r.tar"
    same "" "$(grep -aowiFf "$BATS_TEST_TMPDIR/secrets" "$BATS_TEST_TMPDIR/r.tar" | sort | uniq -c)"
}

@test "a redacted archive has the same files, which still agree: one value, one token, in listing, ledger, logs and cache" {
    plain_and_redacted
    same "$(cd "$PLAIN" && ls -A)" "$(cd "$TOP" && ls -A)"
    (cd "$TOP" && sha256sum -c --quiet SHA256SUMS)
    local alias wwid
    # The volumes of the listing in their order, in the plain report and in the redacted one: the ledger joins them alike.
    paste <(awk '/^[^ ]+ \([^ ]+\) dm-/ { print $1, substr($2, 2, length($2) - 2) }' "$PLAIN/listing.txt") \
        <(awk '/^[^ ]+ \([^ ]+\) dm-/ { print $1, substr($2, 2, length($2) - 2) }' "$TOP/listing.txt") >"$BATS_TEST_TMPDIR/pairs"
    local known=0
    while read -r plain_alias plain_wwid alias wwid; do
        [[ $alias =~ ^alias-[0-9]+$ && $wwid =~ ^wwid-[0-9]+$ ]]
        # The ledger has those of the maker's.
        [[ $(sqlite3 "$PLAIN/dravik.db" "SELECT alias FROM volumes WHERE wwid = '$plain_wwid'") ]] || continue
        same "$plain_alias" "$(sqlite3 "$PLAIN/dravik.db" "SELECT alias FROM volumes WHERE wwid = '$plain_wwid'")"
        same "$alias" "$(sqlite3 "$TOP/dravik.db" "SELECT alias FROM volumes WHERE wwid = '$wwid'")"
        known=$((known + 1))
    done <"$BATS_TEST_TMPDIR/pairs"
    same "$(cut -f2 "$BATS_TEST_TMPDIR/pairs" | wc -l)" "$(cut -f2 "$BATS_TEST_TMPDIR/pairs" | sort -u | wc -l)"
    ((known > 3))
    # The same incidents with the same kinds and counts, by other names.
    same "$(sqlite3 "$PLAIN/dravik.db" 'SELECT number, incident, kind, state_from, state_to, paths_working FROM events WHERE kind NOT IN ("volume_renamed", "operation")')" \
        "$(sqlite3 "$TOP/dravik.db" 'SELECT number, incident, kind, state_from, state_to, paths_working FROM events WHERE kind NOT IN ("volume_renamed", "operation")')"
    same ok "$(sqlite3 "$TOP/dravik.db" 'PRAGMA integrity_check')"
}

@test "the kernel's names, states, counts, times and the makers' names stay in a redacted archive" {
    plain_and_redacted
    same "$(sed -E 's/^[^ ]+( \([^)]*\))? dm-/VOLUME dm-/' "$PLAIN/listing.txt")" \
        "$(sed -E 's/^[^ ]+( \([^)]*\))? dm-/VOLUME dm-/' "$TOP/listing.txt")"
}

# left_of WORD...: where the words still stand in the redacted archive, a line each.
left_of() { printf '%s\n' "$@" | grep -raoFf - "$TOP" | sed "s,^$TOP/,," | sort | uniq -c; }

@test "a name cache that is torn, or larger than what is taken of it, is left out of a redacted archive, which says so" {
    make_watched_host
    echo '[2026-11-21 00:00:00.000] INFO  vdisk 1 device (sdb), vdisk name change from (vol_payroll) to (vol_database).' >>"$HOST/dumps/dravik_cli.log"
    printf '{"disk": [{"wwid": "w_1", "vdisk_name": "vol_payroll"}, {"wwid": "w_2", "vdisk_na' >"$HOST/dumps/storage_config.json"
    report --redact
    [[ ! -e $TOP/storage_config.json ]]
    same "storage_config.json: it is damaged or too large, and not all of its names are known: it cannot be redacted" \
        "$(manifest 'COULD NOT BE READ' | grep ^storage)"
    same nothing "$(manifest CUT)"
    same "" "$(left_of vol_payroll vol_database)"
    report
    cmp "$HOST/dumps/storage_config.json" "$TOP/storage_config.json"
    awk 'BEGIN { printf "{\"disk\": ["; for (i = 1; i < 40000; i++) printf "{\"wwid\": \"w_%d\", \"vdisk_name\": \"vol_site_%d\"},\n", i, i
        print "{\"wwid\": \"w\", \"vdisk_name\": \"vol_payroll\"}]}" }' >"$HOST/dumps/storage_config.json"
    (($(stat -c %s "$HOST/dumps/storage_config.json") > 2097152))
    report --redact
    [[ ! -e $TOP/storage_config.json ]]
    same "" "$(left_of vol_site_ vol_payroll vol_database)"
    sed -i 5,39990d "$HOST/dumps/storage_config.json"
    report --redact
    same '{"disk": [{"wwid": "wwid-N", "vdisk_name": "vdisk-N"},' "$(sed -n '1s/-[0-9]*"/-N"/gp' "$TOP/storage_config.json")"
    same "" "$(left_of vol_site_ vol_payroll vol_database)"
}

@test "names that only look like the kernel's are replaced everywhere, the disks of the host stay" {
    make_watched_host
    sim rename mpatha sdpay
    sim rename mpathb nvme0payroll
    sim rename mpathc dm-7hr
    step
    in_host SUDO_USER=sdean SUDO_UID=1001 dravik delete nvme0gone >/dev/null || true
    report
    local name
    for name in sdpay nvme0payroll dm-7hr; do
        same "$name data.dravik dravik.db dravik_monitor.log events.txt kernel-maps.txt listing.txt" \
            "$name $(cd "$TOP" && grep -laF "$name" data.dravik dravik.db dravik_monitor.log events.txt kernel-maps.txt listing.txt | paste -sd' ')"
    done
    grep -q 'login sdean' "$TOP/dravik_cli.log"
    report --redact
    same "" "$(left_of sdpay nvme0payroll dm-7hr sdean nvme0gone)"
    same "dm-0 name=alias-N uuid=mpath-wwid-N slaves=sdb,sdc,sdd,sde holders=" "$(sed -nE '1s/-[0-9]+ (uuid|slaves)/-N \1/gp' "$TOP/kernel-maps.txt")"
    grep -q ' ran \[dravik delete alias-[0-9]*\]: ' "$TOP/dravik_cli.log"
}

@test "names behind an escaped control byte are replaced" {
    make_watched_host
    printf '%s\n' '[2026-11-21 00:00:00.000] ERROR run 1 Error message: err\x09mpatha\x093600b5d60001a2b3c0000000000000001\x0910.1.2.3\x0a\x1b[31mmpatha' \
        >>"$HOST/dumps/dravik_cli.log"
    report --redact
    same 'err\x09alias-N\x09wwid-N\x09ip-N\x0a\x1b[31malias-N' \
        "$(sed -nE 's/^.*Error message: (err.*)$/\1/p' "$TOP/dravik_cli.log" | sed -E 's/(alias|wwid|ip)-[0-9]+/\1-N/g')"
    same "" "$(left_of mpatha 3600b5d60001a2b3c0000000000000001 10.1.2.3)"
}

@test "aliases and names of other maps that the kernel alone still knows are replaced" {
    make_watched_host
    stop_monitor
    rm -f "$HOST"/dumps/* "$HOST/etc/velomux.conf"
    sim tool velomux missing
    mkdir -p "$HOST"/sys/block/dm-9{1,2}/dm
    echo vg_oracle-data >"$HOST/sys/block/dm-91/dm/name"
    echo LVM-x >"$HOST/sys/block/dm-91/dm/uuid"
    echo mpatha1 >"$HOST/sys/block/dm-92/dm/name"
    echo part1-mpath-3600b5d60001a2b3c0000000000000001 >"$HOST/sys/block/dm-92/dm/uuid"
    report
    same "dm-0 name=mpatha uuid=mpath-3600b5d60001a2b3c0000000000000001 slaves=sdb,sdc,sdd,sde holders=" "$(sed -n 1p "$TOP/kernel-maps.txt")"
    report --redact
    same "dm-0 name=alias-1 uuid=mpath-wwid-1 slaves=sdb,sdc,sdd,sde holders=" "$(sed -n 1p "$TOP/kernel-maps.txt")"
    same "dm-91 name=map-1 uuid=LVM-x slaves= holders=
dm-92 name=alias-1p1 uuid=part1-mpath-wwid-1 slaves= holders=" "$(grep '^dm-9[12]' "$TOP/kernel-maps.txt")"
    same "" "$(left_of mpatha mpathb vg_oracle)"
}

@test "a ledger whose names cannot be known is left out of a redacted archive, and so is what is made from it" {
    make_watched_host
    stop_monitor
    rm -f "$HOST"/dumps/*.log
    sim tool velomux missing
    sqlite3 "$HOST/dumps/dravik.db" "UPDATE events SET alias = 'odd_site_name'; ALTER TABLE operations RENAME TO operations_2"
    report
    same "dravik.db events.txt" "$(cd "$TOP" && grep -laF odd_site_name -- * | LC_ALL=C sort | paste -sd' ')"
    report --redact
    [[ ! -e $TOP/dravik.db && ! -e $TOP/events.txt && ! -e $TOP/check.txt ]]
    same "" "$(left_of odd_site_name)"
    same "" "$(grep -F odd_site_name "$BATS_TEST_TMPDIR/said")"
    manifest 'COULD NOT BE READ' | grep -qxF 'dravik.db: its names cannot be read (no such table: operations): it cannot be redacted'
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 99'
    report --redact
    [[ ! -e $TOP/dravik.db && ! -e $TOP/events.txt && ! -e $TOP/check.txt ]]
    manifest 'COULD NOT BE READ' | grep -qE '^dravik.db: it has been written by a newer dravik \(its version 99, known here [0-9]+\), and its names are not known: it cannot be redacted$'
    same "" "$(left_of mpatha odd_site_name)"
}

@test "the domain behind the host's short name is replaced" {
    make_watched_host
    echo 'Adapter FW:v1 HN:simhost.corp.example OS:Linux' >"$HOST/sys/class/fc_host/host1/symbolic_name"
    report
    grep -q 'HN:simhost.corp.example' "$TOP/kernel-fc.txt"
    report --redact
    same 1 "$(grep -cE 'HN:host-[0-9]+\.domain-1_OS:Linux' "$TOP/kernel-fc.txt")"
    same "" "$(left_of corp.example)"
}
