#!/usr/bin/env bats
# What the monitor tells the journal and the service manager: every datagram as it is sent.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/ledger
load ../support/listeners

JOURNAL=/run/systemd/journal/socket

# Three volumes, two of them on the same two ports of the array.
SCENARIO='volume database transport=fc paths=2 groups=2 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020
volume logs transport=fc paths=2 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020
volume mail transport=fc paths=2 ports=0x20d0000b5d6a1011,0x20d0000b5d6a1021'
DATABASE=3600b5d60001a2b3c0000000000000001
LOGS=3600b5d60001a2b3c0000000000000002

# The ids that people's filters and catalogs hold; they are never changed.
LOST_ID=f441757bf538439599081a5829f7c192

setup() { command -v python3 >/dev/null || skip "python3, which listens here, is not here"; }
teardown() {
    stop_listening
    drop_hosts
}

# told_host: a host whose journal has been told what the first sight showed.
told_host() {
    make_host --scenario "$SCENARIO"
    with_library || skip "the monitor was built without libsystemd"
    listen journal "$JOURNAL"
    start_monitor
    await journal "$(ledger 'SELECT count(DISTINCT incident) FROM events')"
    told
}

with_library() { ldd "$BUILD_DIR/dravik-monitor" | grep -q libsystemd; }

# told: what has come so far is not looked at again.
told() {
    TOLD=$(count_heard journal)
    EVENT=$(last_event)
    INCIDENT=$(ledger 'SELECT max(incident) FROM events')
}

# entries COUNT: the entries since, each with an empty line behind it; that many are expected.
entries() { heard journal "$TOLD" "$1"; }

# messages COUNT: "PRIORITY MESSAGE" of each.
messages() { entries "$1" | sed -n 's/^MESSAGE=//p; s/^PRIORITY=//p' | paste -d' ' - - | sed -E 's/(.*) ([0-9])$/\2 \1/'; }

quietly() { in_host "$@" >"$BATS_TEST_TMPDIR/out"; }

@test "a path lost is a warning with all its fields, the last one critical, and what returns a notice" {
    told_host
    sim fail-path sdb
    step
    expect_text entries 1 <<END
MESSAGE=database sdb: ready -> faulty, 1 of 2 paths work (fault)
PRIORITY=4
SYSLOG_IDENTIFIER=dravik-monitor
MESSAGE_ID=$LOST_ID
DRAVIK_EVENT=path_checker_state
DRAVIK_NUMBER=$((EVENT + 1))
DRAVIK_INCIDENT=$((INCIDENT + 1))
DRAVIK_VOLUME=database
DRAVIK_WWID=$DATABASE
DRAVIK_PATH=sdb
DRAVIK_INITIATOR=0x21000024ff5d6a11
DRAVIK_TARGET_PORT=0x20d0000b5d6a1010
DRAVIK_FROM=ready
DRAVIK_TO=faulty
DRAVIK_PATHS_WORKING=1
DRAVIK_PATHS_KNOWN=2
DRAVIK_CAUSE=fault
DRAVIK_EVENTS=5
END
    told
    sim fail-path sdc
    step
    expect_text messages 1 <<'END'
2 database sdc: ready -> faulty, 0 of 2 paths work (fault)
END
    told
    sim restore-path sdc
    sim restore-path sdb
    step
    expect_text messages 1 <<'END'
5 database: sdb sdc faulty -> ready, 2 of 2 paths work (fault)
END
    # A quiet cycle tells nothing.
    told
    step 3
    expect_text messages 0 </dev/null
}

@test "a port that takes paths of several volumes along is one entry, which counts its events" {
    told_host
    sim fail-port 0x20d0000b5d6a1010
    step
    expect_text messages 1 <<'END'
4 port 0x20d0000b5d6a1010: 2 paths of 2 volumes ready -> faulty, all volumes keep working (fault)
END
    entries 1 | grep -qx "DRAVIK_EVENTS=$(($(last_event) - EVENT))"
}

@test "an operator's change is info, and critical where it takes the last path" {
    told_host
    quietly env SUDO_USER=alice SUDO_UID=4294967295 dravik setstate -path_alias logs -device_name sdd -state offline
    step
    local line='dravik setstate -path_alias logs -device_name sdd -state offline'
    expect_text messages 2 <<END
6 alice ran $line
6 logs sdd: ready -> faulty, 1 of 2 paths work (operator alice: $line)
END
    expect_text heard_fields DRAVIK_USER DRAVIK_CAUSE DRAVIK_VOLUME DRAVIK_WWID <<END
DRAVIK_VOLUME=logs
DRAVIK_WWID=$LOGS
DRAVIK_CAUSE=operator
DRAVIK_USER=alice
DRAVIK_VOLUME=logs
DRAVIK_WWID=$LOGS
DRAVIK_CAUSE=operator
DRAVIK_USER=alice
END
    told
    quietly dravik setstate -path_alias logs -device_name sde -state offline
    step
    line='dravik setstate -path_alias logs -device_name sde -state offline'
    expect_text messages 2 <<END
6 root ran $line
2 logs sde: ready -> faulty, 0 of 2 paths work (operator root: $line)
END
}

# heard_fields NAME...: the entries' fields of these names.
heard_fields() {
    local pattern
    pattern=$(IFS='|' && echo "$*")
    entries 0 | grep -E "^($pattern)="
}

@test "a restarted monitor says that it has started, and nothing twice" {
    told_host
    kill_monitor
    start_monitor
    expect_text messages 1 <<'END'
6 dravik-monitor started
END
}

@test "a monitor that was killed before it could mark what it told tells that once more, and nothing is lost" {
    told_host
    sim fail-path sdb
    step
    entries 1 >"$BATS_TEST_TMPDIR/before"
    kill_monitor
    # As a kill between sending and marking leaves it.
    sqlite3 "$HOST/dumps/dravik.db" "UPDATE journal SET told = $EVENT"
    told
    start_monitor
    entries 2 >"$BATS_TEST_TMPDIR/after"
    same "$(cat "$BATS_TEST_TMPDIR/before")" "$(sed '/^$/q' "$BATS_TEST_TMPDIR/after" | sed '$d')"
    same "MESSAGE=dravik-monitor started" "$(sed '1,/^$/d' "$BATS_TEST_TMPDIR/after" | sed 1q)"
    same "$(last_event)" "$(ledger 'SELECT told FROM journal')"
}

@test "a full journal stops nobody, and is told when it has a place, by the next monitor too" {
    told_host
    stop_listening
    listen_full "$JOURNAL"
    sim fail-path sdb
    step 2
    # The change log goes on as ever.
    [[ $(change_log) == *"The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ]."* ]]
    ((EVENT == $(ledger 'SELECT told FROM journal')))
    kill_monitor
    stop_listening
    listen later "$JOURNAL"
    start_monitor
    same "MESSAGE=database sdb: ready -> faulty, 1 of 2 paths work (fault)
MESSAGE=dravik-monitor started" "$(heard later 0 2 | grep ^MESSAGE=)"
    same "" "$(ledger_complaints)"
}

@test "where no journal listens what happens counts as told" {
    make_host --scenario "$SCENARIO"
    start_monitor
    same "$(last_event)" "$(ledger 'SELECT told FROM journal')"
    sim fail-path sdb
    step
    same "$(last_event)" "$(ledger 'SELECT told FROM journal')"
    listen journal "$JOURNAL"
    TOLD=0
    step
    expect_text messages 0 </dev/null
    same "" "$(ledger_complaints)"
}

@test "what happens while a listener is started again is told afterwards" {
    local socket
    for socket in "$JOURNAL" /dev/log; do
        [[ $socket != "$JOURNAL" ]] || with_library || continue
        make_host --scenario "$SCENARIO"
        start_monitor
        listen gone "$socket"
        stop_listening # its socket stays behind
        sim fail-path sdb
        step
        sim fail-path sdc
        step
        listen again "$socket"
        step
        same "database sdb: ready -> faulty, 1 of 2 paths work (fault)
database sdc: ready -> faulty, 0 of 2 paths work (fault)" "$(heard again 0 2 | sed -nE 's/^(MESSAGE=|<[0-9]*>.*dravik-monitor: )//p')"
        rm -rf "$BATS_TEST_TMPDIR/heard.again"
        drop_hosts
    done
}

@test "where a journal has left its socket behind for good, syslog is told" {
    make_host --scenario "$SCENARIO"
    listen gone "$JOURNAL"
    stop_listening
    listen syslog /dev/log
    start_monitor
    same '<30>TIME dravik-monitor: dravik-monitor started' "$(heard syslog 0 4 | without_time | head -n 1)"
    stop_listening
}

@test "where only syslog listens it is told the messages" {
    make_host --scenario "$SCENARIO"
    listen syslog /dev/log
    start_monitor
    sim fail-path sdb
    step
    # The facility is daemon (3): 8 times that, and the priority.
    same '<30>TIME dravik-monitor: dravik-monitor started
<29>TIME dravik-monitor: database: appeared, 2 of 2 paths work (fault)
<29>TIME dravik-monitor: logs: appeared, 2 of 2 paths work (fault)
<29>TIME dravik-monitor: mail: appeared, 2 of 2 paths work (fault)
<28>TIME dravik-monitor: database sdb: ready -> faulty, 1 of 2 paths work (fault)' "$(heard syslog 0 5 | without_time)"
}

# Syslog's datagrams without their time stamps, and without the NUL that ends each.
without_time() { tr -d '\000' | grep . | sed -E 's/>[A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} />TIME /'; }

@test "a monitor that was built without libsystemd tells syslog alone" {
    make_host --scenario "$SCENARIO"
    run ! grep -q libsystemd <(ldd "$BUILD_DIR/monitor_without_libsystemd")
    sim add "$BUILD_DIR/monitor_without_libsystemd"
    listen journal "$JOURNAL"
    listen syslog /dev/log
    start_monitor --program /usr/bin/monitor_without_libsystemd
    same '<30>TIME dravik-monitor: dravik-monitor started' "$(heard syslog 0 4 | without_time | head -n 1)"
    same 0 "$(count_heard journal)"
}

@test "names with control bytes, newlines and bytes that are no UTF-8 arrive as they are, and visible in the message" {
    told_host
    sim listing | sed $'s/^logs /lo\e[2J\xff /' >"$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    printf '{"disk":[{"wwid":"%s","vdisk_name":"vol\\nlogs"}]}' "$LOGS" >"$HOST/dumps/storage_config.json"
    step
    # The native protocol gives the length of what has newlines: 8 bytes, the lowest first.
    {
        printf 'MESSAGE=lo\\x1b[2J\xef\xbf\xbd: renamed logs -> lo\\x1b[2J\xef\xbf\xbd, 2 of 2 paths work (fault)\nPRIORITY=5\n'
        printf 'SYSLOG_IDENTIFIER=dravik-monitor\nMESSAGE_ID=%s\n' "$(id_of VOLUME_RENAMED)"
        printf 'DRAVIK_EVENT=volume_renamed\nDRAVIK_NUMBER=%d\nDRAVIK_INCIDENT=%d\n' $((EVENT + 1)) $((INCIDENT + 1))
        printf 'DRAVIK_VOLUME=lo\e[2J\xff\nDRAVIK_WWID=%s\nDRAVIK_VDISK_NAME\n\10\0\0\0\0\0\0\0vol\nlogs\n' "$LOGS"
        printf 'DRAVIK_FROM=logs\nDRAVIK_TO=lo\e[2J\xff\nDRAVIK_PATHS_WORKING=2\nDRAVIK_PATHS_KNOWN=2\nDRAVIK_CAUSE=fault\n'
    } >"$BATS_TEST_TMPDIR/expected"
    await journal $((TOLD + 1))
    cmp "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/heard.journal/$((TOLD + 1))"
}

# id_of KIND: its MESSAGE_ID in the source.
id_of() { sed -n "s/.*{$1, \"\(.*\)\"}.*/\1/p" "$REPO/src/ledger/message_ids.h"; }

@test "a ledger that cannot be used tells nothing, and the monitor goes on" {
    make_host --scenario "$SCENARIO"
    start_monitor
    kill_monitor
    # A newer program's.
    sqlite3 "$HOST/dumps/dravik.db" 'PRAGMA user_version = 99'
    listen journal "$JOURNAL"
    listen manager /run/manager/notify
    start_monitor NOTIFY_SOCKET=/run/manager/notify
    sim fail-path sdb
    seconds 10 1
    [[ $(change_log) == *"from [ready] to [faulty] for the path [ dev_name: sdb ]."* ]]
    TOLD=0
    expect_text messages 0 </dev/null
    await manager 4
    same "STATUS=the ledger cannot be used, see /dumps/dravik_cli.log; last observation N s ago" "$(heard manager 3 1 | ages)"
}

# seconds N DATAGRAMS: so many seconds of the monitor's pause, in each of which it tells the service manager so much. That is
# waited for: what a full queue does not take is lost, and queues are short.
seconds() {
    local second before
    for ((second = 0; second < $1; ++second)); do
        before=$(count_heard manager)
        step
        await manager $((before + $2))
    done
}

# ages: the ages of observations stand as N, and what is repeated stands once.
ages() { sed -E 's/observation [0-9]+ s ago/observation N s ago/' | grep . | uniq; }

@test "the service manager hears that the monitor is ready, alive, and how it is, and children know nothing of it" {
    make_host --scenario "$SCENARIO"
    listen manager /run/manager/notify
    printf '#!/bin/bash\nenv >>/sim/environment\nexec velomux.real "$@"\n' >"$BATS_TEST_TMPDIR/velomux"
    mv "$HOST/usr/sbin/velomux" "$HOST/usr/sbin/velomux.real"
    install -m 755 "$BATS_TEST_TMPDIR/velomux" "$HOST/usr/sbin/velomux"
    start_monitor NOTIFY_SOCKET=/run/manager/notify WATCHDOG_USEC=180000000
    await manager 5
    same "READY=1
WATCHDOG=1
STATUS=the first observation is under way
WATCHDOG=1
STATUS=3 volumes, 6 paths, all ok; last observation N s ago, good" "$(heard manager 0 5 | ages)"
    sim fail-path sdb
    sim fail-path sdc
    sim fail-path sdd
    # The pause is ten sleeps of a second here, and as long as ever.
    seconds 10 2
    await manager 27
    same "STATUS=3 volumes, 6 paths, 1 without a working path, 1 on its last path; last observation N s ago, good" \
        "$(heard manager 26 1 | ages)"
    same "1 1 1 1 1 1 1 1 1 1 1" "$(sleeps | paste -sd' ')"
    grep -q '^PATH=' "$HOST/sim/environment"
    run ! grep -E '^(NOTIFY_SOCKET|WATCHDOG_)' "$HOST/sim/environment"
}

@test "while the tool takes its time the monitor is alive every second, and the age grows" {
    make_host --scenario "$SCENARIO"
    listen manager /run/manager/notify
    start_monitor NOTIFY_SOCKET=/run/manager/notify WATCHDOG_USEC=180000000
    printf '#!/bin/bash\nsleep 5\nexec velomux.real "$@"\n' >"$BATS_TEST_TMPDIR/velomux"
    mv "$HOST/usr/sbin/velomux" "$HOST/usr/sbin/velomux.real"
    install -m 755 "$BATS_TEST_TMPDIR/velomux" "$HOST/usr/sbin/velomux"
    seconds 9 2
    await manager 23
    local before
    before=$(count_heard manager)
    step 1
    heard manager "$before" 10 >"$BATS_TEST_TMPDIR/slow"
    (($(grep -c '^WATCHDOG=1' "$BATS_TEST_TMPDIR/slow") >= 5))
    # It was observed before the pause; each of the five seconds makes that older.
    local -a ages
    mapfile -t ages < <(sed -n 's/^STATUS=3 volumes, 6 paths, all ok; last observation \([0-9]*\) s ago, good$/\1/p' "$BATS_TEST_TMPDIR/slow" | head -n -1 | uniq)
    ((${#ages[@]} >= 4))
    same "${ages[*]}" "$(printf '%s\n' "${ages[@]}" | sort -nu | paste -sd' ')"
}

@test "a service manager that could take nothing at first hears that the monitor is ready, and hears it once" {
    make_host --scenario "$SCENARIO"
    listen_full /run/manager/notify
    start_monitor NOTIFY_SOCKET=/run/manager/notify
    stop_listening
    rm "$HOST/run/manager/notify"
    listen manager /run/manager/notify
    step
    await manager 2
    seconds 2 1
    same "READY=1
STATUS=3 volumes, 6 paths, all ok; last observation N s ago, good" "$(heard manager 0 4 | ages)"
}

@test "a service manager that takes nothing stops nobody" {
    make_host --scenario "$SCENARIO"
    listen_full /run/manager/notify
    start_monitor NOTIFY_SOCKET=/run/manager/notify WATCHDOG_USEC=180000000
    sim fail-path sdb
    step 11
    [[ $(change_log) == *"from [ready] to [faulty] for the path [ dev_name: sdb ]."* ]]
    kill_monitor
    # Nor does a name that is no socket's.
    start_monitor NOTIFY_SOCKET=rubbish WATCHDOG_USEC=rubbish
    same 10 "$(sleeps)"
}

# journald: a real one in the host, which sees the machine's processes and their groups as any journald does.
start_journald() {
    local program
    program=$(find /usr/lib/systemd /lib/systemd -maxdepth 1 -name systemd-journald -print -quit 2>/dev/null)
    [[ $program && -d /sys/fs/cgroup ]] && command -v journalctl >/dev/null || return 1
    sim add "$program"
    mkdir -p "$HOST/run/systemd/journal" "$HOST/run/log/journal" "$HOST/sys/fs/cgroup" "$HOST/var/log"
    echo 0123456789abcdef0123456789abcdef >"$HOST/etc/machine-id"
    # shellcheck disable=SC2016 # the text is run by the shell inside the namespace
    unshare -m --propagation unchanged sh -c '
        { mount --make-rprivate / 2>/dev/null || nsenter --mount=/proc/self/ns/mnt mount --make-rprivate /; } &&
        mount --rbind /proc "$1/proc" && mount --rbind /sys/fs/cgroup "$1/sys/fs/cgroup" &&
        exec chroot "$1" /usr/bin/env -i PATH=/usr/sbin:/usr/bin systemd-journald' journald "$HOST" >"$BATS_TEST_TMPDIR/journald" 2>&1 3>&- &
    LISTENERS+=($!)
    local tries=0
    until [[ -S $HOST$JOURNAL && -n $(find "$HOST/run/log/journal" -name '*.journal') ]]; do
        ((++tries < 100)) && kill -0 "${LISTENERS[-1]}" 2>/dev/null || return 1
        sleep 0.1
    done
}

journal() { journalctl -D "$HOST/run/log/journal" --no-pager -q "$@"; }

@test "a real journal finds the entries by their fields" {
    with_library || skip "the monitor was built without libsystemd"
    make_host --scenario "$SCENARIO"
    start_journald || skip "no journald runs here: $(tail -n 1 "$BATS_TEST_TMPDIR/journald" 2>/dev/null)"
    start_monitor
    sim fail-path sdb
    step
    local tries=0
    until [[ $(journal -o cat DRAVIK_PATH=sdb) ]] || ((++tries > 100)); do sleep 0.05; done
    same "database: appeared, 2 of 2 paths work (fault)
database sdb: ready -> faulty, 1 of 2 paths work (fault)" "$(journal -o cat -t dravik-monitor DRAVIK_VOLUME=database)"
    same "database sdb: ready -> faulty, 1 of 2 paths work (fault)" "$(journal -o cat -p warning "MESSAGE_ID=$LOST_ID")"
    same "0x20d0000b5d6a1010" "$(journal -o cat --output-fields=DRAVIK_TARGET_PORT DRAVIK_PATH=sdb)"
}

@test "of the two programs only the monitor knows the journal's library" {
    run ! grep -q libsystemd <(ldd "$BUILD_DIR/dravik")
}
