#!/usr/bin/env bats
# check, list, events and baseline on the simulated host: whole outputs, exit statuses, and JSON against its schemas.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/session

# The host at 03:12:31 with its monitor, whose cycles are ten seconds apart.
make_watched_host() {
    make_host
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

# fits NAME STATUS -- ARGUMENTS...: what is printed are documents by the schema NAME.
fits() {
    local name=$1 status_wanted=$2
    shift 3
    run --separate-stderr in_host dravik "$@"
    same "$status_wanted" "$status"
    [[ $name == error ]] || ! grep -q '"error"' <<<"$output"
    same "" "$(/usr/bin/python3 "$REPO/tests/support/validate_json.py" "$REPO/schema/${SCHEMA-$name}.schema.json" <<<"$output" 2>&1)"
}

# lose NAME: the kernel deletes the block device.
lose() { in_host sh -c "echo 1 > /sys/block/$1/device/delete"; }

as_user() {
    cp "$(command -v chroot)" "$HOST/usr/bin/chroot"
    in_host chroot --userspec=12345:12345 / "$@"
}

@test "a ledger that is not there yet: the monitor has not run" {
    make_host
    local why='there is no ledger /dumps/dravik.db: dravik-monitor has not run on this host yet'
    answers 3 "" "dravik check: $why" -- check
    answers 1 "" "dravik list: $why" -- list
    answers 1 "" "dravik events: $why" -- events
    answers 1 "" "dravik baseline: $why" -- baseline show
    [[ ! -e $HOST/dumps/dravik.db ]]
}

@test "another user than root is told that the ledger is root's" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_watched_host
    run --separate-stderr as_user dravik check
    same "3 dravik check: /dumps/dravik.db is root's alone: run it as root" "$status $stderr"
    run --separate-stderr as_user dravik list
    same "1 dravik list: /dumps/dravik.db is root's alone: run it as root" "$status $stderr"
    run --separate-stderr as_user dravik baseline accept
    same "1 dravik baseline: accepting a baseline changes the ledger: run it as root" "$status $stderr"
}

@test "a path that fails, a port that is lost, a path that is taken away: check, list and events tell the same story" {
    make_watched_host
    expect_session <<'END'
host> dravik check
OK - 11 of 11 volumes ok | volumes=11 ok=11 degraded=0 last_path=0 none=0 paths=25 paths_working=25 observation_age=0s
sim> fail-port 0x20d0000b5d6a1010
sim> step
host> dravik check
CRITICAL - 4 of 11 volumes on their last path, 1 degraded | volumes=11 ok=6 degraded=1 last_path=4 none=0 paths=25 paths_working=20 observation_age=0s
mpathb                             last path   1 of 2 work; lost: sdf; survives: nothing
3600b5d60001a2b3c0000000000000003  last path   1 of 2 work; lost: sdh; survives: nothing
hwdata                             last path   1 of 2 work; lost: sdq; survives: nothing
rldata                             last path   1 of 2 work; lost: sds; survives: nothing
mpatha                             degraded    3 of 4 work; lost: sdb; survives: path, initiator, target port
[2]
host> dravik list
VOLUME                 SIZE  OVER       PATHS  STATE      NOTE
mpatha                 100G  fc         3/4    degraded   sdb faulty since 03:12
mpathb                  50G  fc         1/2    last path  sdf faulty since 03:12
3600b5d60...000000003  1.0T  fc         1/2    last path  sdh faulty since 03:12
mpathc                  20G  iscsi      2/2    ok
mpathd                  20G  iscsi      1/1    ok
mpathe                 5.0G  sas        2/2    ok
nvmea                  200G  fc-nvme    4/4    ok
nvmeb                  200G  rdma-nvme  2/2    ok
nvmec                  200G             2/2    ok
hwdata                  30G  fc         1/2    last path  sdq faulty since 03:12
rldata                  30G  fc         1/2    last path  sds faulty since 03:12
sim> restore-port 0x20d0000b5d6a1010
sim> step
sim> fail-path sdc
sim> fail-path sdj
sim> fail-path sdk
sim> step
host> dravik list --bad
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
mpatha            100G  fc     3/4    degraded   sdc faulty since 03:13
mpathc             20G  iscsi  0/2    none       sdj sdk faulty since 03:13
host> dravik check mpathc
CRITICAL - 1 of 1 volumes without a working path | volumes=1 ok=0 degraded=0 last_path=0 none=1 paths=2 paths_working=0 observation_age=0s
mpathc  none        0 of 2 work; lost: sdj sdk; survives: nothing
[2]
host> dravik events --since 03:12:35
2026-11-21 03:12:41  #13  port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, all volumes keep working (fault)
2026-11-21 03:12:51  #14  port 0x20d0000b5d6a1010: 5 paths of 5 volumes faulty -> ready, all volumes keep working (fault)
2026-11-21 03:13:01  #15  mpatha sdc: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 03:13:01  #16  mpathc: sdj sdk ready -> faulty, 0 of 2 paths work (fault)
host> dravik events --path sdf
2026-11-21 03:12:41  #13  mpathb sdf: ready -> faulty, 1 of 2 paths work (fault)
2026-11-21 03:12:51  #14  mpathb sdf: faulty -> ready, 2 of 2 paths work (fault)
host> dravik events --incident 16 --all
2026-11-21 03:13:01  #16  mpathc sdj: ready -> faulty, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc sdj: dm state active -> failed, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc sdj: group active -> enabled, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc sdk: ready -> faulty, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc sdk: dm state active -> failed, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc sdk: group active -> enabled, 0 of 2 paths work (fault)
2026-11-21 03:13:01  #16  mpathc: ok -> none, 0 of 2 paths work (fault)
host> dravik events --since 2026-11-21T03:13:02
[2]
END
}

@test "a volume is known by alias, WWID, name on the array, map and path" {
    make_watched_host
    in_host dravik query mpatha >/dev/null
    local word line
    line='OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=4 paths_working=4 observation_age=0s
mpatha  ok          4 of 4 work; survives: path, initiator, target port'
    for word in mpatha 3600b5d60001a2b3c0000000000000001 vol_database dm-0 sdc /dev/sdc /dev/dm-0 /dev/mapper/mpatha; do
        answers 0 "$line" "" -- check "$word"
    done
    answers 3 "" 'dravik check: the ledger knows no volume "nosuch"' -- check nosuch
    answers 3 "" 'dravik check: the ledger knows no volume "\x1b[2J"' -- check $'\e[2J'
    answers 1 "" 'dravik events: the ledger knows no volume "nosuch"' -- events --volume nosuch
}

@test "a baseline that is accepted misses no more what has been taken away, and everybody can see who did it" {
    make_watched_host
    lose sdd
    step
    expect_session <<'END'
host> dravik list --bad
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
mpatha            100G  fc     3/4    degraded   sdd missing since 03:12
host> dravik baseline accept mpathb
Nothing to accept: today's paths are the baseline.
host> dravik baseline accept dm-0
mpatha: the baseline is 3 paths now, was 4; no longer missed: sdd
sim> step
host> dravik check
OK - 11 of 11 volumes ok | volumes=11 ok=11 degraded=0 last_path=0 none=0 paths=24 paths_working=24 observation_age=0s
host> dravik baseline show mpatha
VOLUME            PATHS  SINCE             BY       SURVIVES THE LOSS OF
mpatha            3      2026-11-21 03:12  root     path, initiator, target port

PATH      INITIATOR           TARGET PORT         LUN
sdb       0x21000024ff5d6a11  0x20d0000b5d6a1010  1
sdc       0x21000024ff5d6a12  0x20d0000b5d6a1020  1
sde       0x21000024ff5d6a12  0x20d0000b5d6a1021  1
host> dravik events --volume mpatha --since 03:12:35
2026-11-21 03:12:41  #13  mpatha sdd: gone, 3 of 4 paths work (fault)
2026-11-21 03:12:41  #15  root ran dravik baseline accept dm-0
2026-11-21 03:12:51  #16  mpatha: degraded -> ok, 3 of 3 paths work (operator root: dravik baseline accept dm-0)
END
    same 'INFO  audit user root ran [dravik baseline accept dm-0]: Command executed successfully.' "$(audit_lines | tail -n 1)"
}

@test "where nothing has been observed for a minute, check says since when and why, and list looks itself" {
    make_watched_host
    kill_monitor
    sim fail-path sdb
    sim clock +60
    run in_host dravik check
    same "0 OK - 11 of 11 volumes ok | volumes=11 ok=11 degraded=0 last_path=0 none=0 paths=25 paths_working=25 observation_age=60s" "$status $output"
    sim clock +1
    local before
    before=$(md5sum "$HOST/dumps/dravik.db")
    expect_session <<'END'
host> dravik check
UNKNOWN - nothing observed since 2026-11-21 03:12:31, 61 s ago: dravik-monitor has written nothing since then; is it running? | volumes=11 ok=0 degraded=0 last_path=0 none=0 paths=25 paths_working=25 observation_age=61s
[3]
host> dravik list --bad
Nothing observed since 2026-11-21 03:12:31, 61 s ago: dravik-monitor has written
nothing since then; is it running?
This is what is seen now; nothing of it is in the ledger.

VOLUME            SIZE  OVER   PATHS  STATE      NOTE
mpatha            100G  fc     3/4    degraded   sdb faulty since 03:13
host> dravik baseline accept
dravik baseline: nothing observed since 2026-11-21 03:12:31, 61 s ago: dravik-monitor has written nothing since then; is it running?
[1]
END
    fits list 0 -- list --json
    same "$before" "$(md5sum "$HOST/dumps/dravik.db")"
    sim tool velomux missing
    run in_host dravik list
    same 1 "$status"
    same "Looking now has failed: the multipath tool cannot be run" "$(sed -n 3p <<<"$output")"
    same 11 "$(grep -c ' unknown' <<<"$output")"
    fits list 1 -- list --json
}

@test "every JSON output fits its schema, answers and errors alike" {
    make_host
    local command
    for command in check list events "baseline show"; do
        # shellcheck disable=SC2086 # the words of a command line
        SCHEMA=${command%% *} fits error "$([[ $command == check ]] && echo 3 || echo 1)" -- --json $command
    done
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
    fits check 0 -- check --json
    sim fail-port 0x20d0000b5d6a1010
    step
    fits check 2 -- --json check
    fits check 1 -- check mpatha --json
    fits list 0 -- list --json
    fits list 0 -- list --bad --json
    fits events 0 -- events --json
    fits events 2 -- events --json --incident 999
    fits baseline 0 -- baseline show --json
    fits baseline 0 -- baseline accept --json
    fits events 0 -- events --json --all
    SCHEMA=check fits error 3 -- check nosuch --json
    SCHEMA=events fits error 1 -- events --since never --json
}

@test "--follow goes on with what comes, and --watch shows the table again" {
    make_watched_host
    in_host timeout -s INT 6 dravik events --follow --since 2026-11-21T03:12:35 >"$BATS_TEST_TMPDIR/followed" &
    local follower=$!
    sim fail-path sdb
    step
    wait "$follower" || true
    same "2026-11-21 03:12:41  #13  mpatha sdb: ready -> faulty, 3 of 4 paths work (fault)" "$(cat "$BATS_TEST_TMPDIR/followed")"
    run in_host timeout -s INT 1.5 dravik list --bad --watch 1
    local table='VOLUME            SIZE  OVER   PATHS  STATE      NOTE
mpatha            100G  fc     3/4    degraded   sdb faulty since 03:12'
    same "$table" "$(head -n 2 <<<"$output")"
    same "" "$(sed -n 3p <<<"$output")"
    same "$table" "$(sed -n 4,5p <<<"$output")"
}

@test "a line that cannot be understood is answered on standard error" {
    make_host
    answers 3 "" 'dravik check: there is no option "--nope"; see "dravik help check"' -- check --nope
    answers 3 "" 'dravik check: "b" is one word too many; see "dravik help check"' -- check a b
    answers 1 "" 'dravik list: --watch takes whole seconds, 1 to 86400, not "0"' -- list --watch 0
    answers 1 "" 'dravik list: a value is missing behind "--watch"; see "dravik help list"' -- list --watch
    answers 1 "" 'dravik events: "never" is no time: 2026-11-21T03:12, 03:12, or an age such as 90m or 2d' -- events --since never
    answers 1 "" 'dravik events: "x" is no number of an incident' -- events --incident x
    answers 1 "" 'dravik baseline: say "show" or "accept"' -- baseline
    answers 1 "" 'dravik baseline: "take" is neither "show" nor "accept"' -- baseline take
}
