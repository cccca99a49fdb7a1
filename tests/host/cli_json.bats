#!/usr/bin/env bats
# "dravik --json": what each command answers as structured data, whole and by its schema, and its exit status.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

LINE=$(printf -- '-%.0s' {1..130})
SUCCESS='"result":{"code":0,"message":"Command executed successfully."}'

# One FC volume of two paths, an NVMe one, and a volume none of whose paths works.
SCENARIO='volume mpatha transport=fc size=100G vdisk=vol_database wwid=3600b5d60001a2b3c0000000000000001
  group prio=50
    path sdb 1:0:0:1 8:16 port=0x20d0000b5d6a1010
  group prio=10
    path sdc 2:0:0:1 8:32 port=0x20d0000b5d6a1020
volume dead transport=sas size=5.0G vdisk=vol_dead wwid=3600b5d60001a2b3c0000000000000002
  group prio=50
    path sdd 0:0:0:2 8:48 failed faulty offline
volume nvmea transport=nvme-fc paths=1 size=200G vdisk=vol_nvme wwid=eui.6a1010000b5d6a100000000000000008'

# The head that every document of the command begins with, and what follows: {"...","command":"query",MEMBERS}.
document() {
    printf '{"format_version":"1.0","host":"HOST","time":"TIME","command":"%s",%s}\n' "$1" "$2"
}

# plain: documents with the names of host and time in the place of this host's and this moment's.
plain() {
    sed -E 's/("host":")'"$(uname -n)"'(","time":")[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\.[0-9]{3}Z"/\1HOST\2TIME"/'
}

# fits COMMAND < DOCUMENTS: they are what the command's schema says; that of a command without one is its result's.
fits() {
    local schema=$REPO/schema/$1.schema.json
    [[ -e $schema ]] || schema=$REPO/schema/result.schema.json
    same "" "$(/usr/bin/python3 "$REPO/tests/support/validate_json.py" "$schema" 2>&1)"
}

# json STATUS COMMAND [PARAMETERS] < EXPECTED: the whole output, by its schema; nothing may come on standard error.
json() {
    local wanted=$1 expected
    shift
    expected=$(cat)
    run --separate-stderr in_host dravik --json "$@"
    same "$expected" "$(plain <<<"$output")"
    same "" "$stderr"
    same "$wanted" "$status"
    fits "$1" <<<"$output"
}

# path NAME ADDRESS DEVICE-ID LUN INITIATOR TARGET-PORT TRANSPORT PRIORITY STATUS DM CHECKER ONLINE
path() {
    printf '{"name":"%s","address":"%s","device_id":"%s","lun":%s,"initiator":%s,"target_port":%s,"transport":"%s",' "${@:1:7}"
    printf '"group":{"policy":"service-time 0","priority":%s,"status":"%s"},' "${@:8:2}"
    printf '"dm_state":"%s","checker_state":"%s","online_state":"%s"}' "${@:10:3}"
}

mpatha() {
    printf '{"alias":"mpatha","wwid":"3600b5d60001a2b3c0000000000000001","vdisk_name":"vol_database","map":"dm-0",'
    printf '"vendor":"KORVEL","product":"QVX","size":"100G","size_bytes":%s,"transport":"fc","paths":[%s,%s]}' "$1" \
        "$(path sdb 1:0:0:1 8:16 1 '"0x21000024ff5d6a11"' '"0x20d0000b5d6a1010"' fc 50 active active ready running)" \
        "$(path sdc 2:0:0:1 8:32 1 '"0x21000024ff5d6a12"' '"0x20d0000b5d6a1020"' fc 10 enabled active ready running)"
}

dead() {
    printf '{"alias":"dead","wwid":"3600b5d60001a2b3c0000000000000002","vdisk_name":null,"map":"dm-1",'
    printf '"vendor":"KORVEL","product":"QVX","size":"5.0G","size_bytes":%s,"transport":"sas","paths":[%s]}' "$1" \
        "$(path sdd 0:0:0:2 8:48 2 '"host0"' null sas 0 enabled failed faulty offline)"
}

nvmea() {
    printf '{"alias":"nvmea","wwid":"eui.6a1010000b5d6a100000000000000008","vdisk_name":"vol_nvme","map":"dm-2",'
    printf '"vendor":"NVME","product":"KORVELQVX","size":"200G","size_bytes":%s,"transport":"fc-nvme","paths":[%s]}' "$1" \
        "$(path nvme0n1 0:1:1:1 259:0 1 '"nqn.2014-08.org.example:node1"' '"0x20d0000b5d6a2010"' fc-nvme 50 active active ready running)"
}

# make_small_host: the host of the scenario, whose kernel knows the NVMe host and the size of the first map.
make_small_host() {
    make_host --scenario "$SCENARIO" "$@"
    mkdir -p "$HOST/sys/class/nvme/nvme0" "$HOST/sys/block/dm-0"
    echo nqn.2014-08.org.example:node1 >"$HOST/sys/class/nvme/nvme0/hostnqn"
    echo 209715200 >"$HOST/sys/block/dm-0/size"
}

MPATHA_BYTES=107374182400

@test "query describes every volume, or the one that is named by alias or WWID" {
    make_small_host
    json 0 query < <(document query "\"volumes\":[$(mpatha $MPATHA_BYTES),$(dead null),$(nvmea null)],$SUCCESS")
    json 0 query mpatha < <(document query "\"volumes\":[$(mpatha $MPATHA_BYTES)],$SUCCESS")
    json 0 query 3600b5d60001a2b3c0000000000000002 < <(document query "\"volumes\":[$(dead null)],$SUCCESS")
}

@test "query remembers the names that the array tells as it does without --json, and leaves the same log" {
    make_small_host
    in_host dravik query >/dev/null
    local cache log
    cache=$(cat "$HOST/dumps/storage_config.json")
    log=$(cli_log)
    rm "$HOST"/dumps/*
    in_host dravik --json query >/dev/null
    same "$cache" "$(cat "$HOST/dumps/storage_config.json")"
    same "$log" "$(cli_log)"
}

@test "a query that fails is null and its result, with exit status 1" {
    make_small_host
    json 1 query nosuch < <(document query '"volumes":null,"result":{"code":133,"message":"This device [nosuch] does not exist."}')
    json 1 query a b < <(document query '"volumes":null,"result":{"code":141,"message":"Wrong number of parameter, duplicate parameter may exist."}')
    {
        head -n 3 "$HOST/sim/listing"
        echo "| |-"
    } >"$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    json 1 query < <(document query '"volumes":null,"result":{"code":110,"message":"Parse command output failed."}')
    sim tool velomux missing
    json 1 query < <(document query '"volumes":null,"result":{"code":3,"message":"Execute system command failed."}')
}

@test "a host without volumes has an empty list" {
    make_host --scenario 'message nothing'
    json 0 query < <(document query "\"volumes\":[],$SUCCESS")
}

@test "status tells the service's state, unknown where the service manager does not" {
    make_small_host
    json 0 status < <(document status "\"service\":\"running\",$SUCCESS")
    in_host dravik stop >/dev/null
    json 0 status < <(document status "\"service\":\"stopped\",$SUCCESS")
    sim tool systemctl missing
    json 0 status < <(document status "\"service\":\"unknown\",$SUCCESS")
}

@test "status of a SysV host" {
    make_small_host --generation rhel6
    json 0 status < <(document status "\"service\":\"running\",$SUCCESS")
    in_host dravik stop >/dev/null
    json 0 status < <(document status "\"service\":\"stopped\",$SUCCESS")
}

@test "version is the product's version" {
    make_small_host
    json 0 version < <(document version "\"version\":\"$(product_version)\",$SUCCESS")
}

@test "port describes each Fibre Channel port, null for what the kernel does not tell" {
    make_small_host
    rm "$HOST/sys/class/fc_host/host2/node_name"
    json 0 port < <(document port '"ports":['"$(
        printf '{"host":"host1","wwpn":"0x21000024ff5d6a11","wwnn":"0x20000024ff5d6a11","state":"Online",'
        printf '"speed":"16 Gbit","topology":"NPort (fabric via point-to-point)","driver":"simhba"},'
        printf '{"host":"host2","wwpn":"0x21000024ff5d6a12","wwnn":null,"state":"Online",'
        printf '"speed":"16 Gbit","topology":"NPort (fabric via point-to-point)","driver":"simhba"}'
    )"'],'"$SUCCESS")
    rm -r "$HOST/sys/class/fc_host"
    json 0 port < <(document port "\"ports\":[],$SUCCESS")
    sim tool fc_info.sh missing
    json 1 port < <(document port '"ports":null,"result":{"code":3,"message":"Execute system command failed."}')
}

@test "lsalias lists the aliases in the order of the file" {
    make_small_host
    json 0 lsalias < <(document lsalias "\"aliases\":[],$SUCCESS")
    in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000002 -alias mail >/dev/null
    in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias database >/dev/null
    json 0 lsalias < <(document lsalias '"aliases":[{"wwid":"3600b5d60001a2b3c0000000000000002","alias":"mail"},{"wwid":"3600b5d60001a2b3c0000000000000001","alias":"database"}],'"$SUCCESS")
    sim tool alias.sh missing
    json 1 lsalias < <(document lsalias '"aliases":null,"result":{"code":3,"message":"Execute system command failed."}')
}

@test "lspathpolicy describes the policies, null where nothing is configured or NVMe is not supported" {
    make_small_host
    json 0 lspathpolicy < <(document lspathpolicy "\"scsi\":{\"chooser\":null,\"chooser_raw\":null},\"nvme\":{\"group_policy\":null,\"chooser\":null},$SUCCESS")
    in_host dravik config >/dev/null
    in_host dravik setpathpolicy -chooser least-queue-depth-extend >/dev/null
    json 0 lspathpolicy < <(document lspathpolicy "\"scsi\":{\"chooser\":\"least-queue-depth-extend\",\"chooser_raw\":\"queue-length\"},\"nvme\":{\"group_policy\":\"group_by_prio\",\"chooser\":\"round-robin\"},$SUCCESS")
    sim tool policy_nvme.sh missing
    json 1 lspathpolicy < <(document lspathpolicy '"scsi":{"chooser":"least-queue-depth-extend","chooser_raw":"queue-length"},"nvme":null,"result":{"code":3,"message":"Execute system command failed."}')
    sim tool policy.sh missing
    json 1 lspathpolicy < <(document lspathpolicy '"scsi":null,"nvme":null,"result":{"code":3,"message":"Execute system command failed."}')
    make_host_at old --generation rhel6 --scenario "$SCENARIO"
    in_host dravik config >/dev/null
    json 0 lspathpolicy < <(document lspathpolicy "\"scsi\":{\"chooser\":\"smart-distribution-extend\",\"chooser_raw\":\"round-robin\"},\"nvme\":null,$SUCCESS")
}

@test "a command that changes the host answers with its result alone" {
    make_small_host
    json 0 stop < <(document stop "$SUCCESS")
    json 0 scan < <(document scan "$SUCCESS") # without its word of patience
    json 1 delete nosuch < <(document delete '"result":{"code":133,"message":"This device [nosuch] does not exist."}')
    json 1 setstate < <(document setstate '"result":{"code":111,"message":"Missing parameter [-device_name] or [-path_alias] or [-state]."}')
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik --json stop]: Command executed successfully.
INFO  audit user root ran [dravik --json scan]: Command executed successfully.
INFO  audit user root ran [dravik --json delete nosuch]: Error(0133): This device [nosuch] does not exist.
INFO  audit user root ran [dravik --json setstate]: Error(0111): Missing parameter [-device_name] or [-path_alias] or [-state].
END
}

@test "behind the command's name --json is a parameter that no command knows" {
    make_small_host
    local name
    for name in status version port lsalias lspathpolicy; do
        run in_host dravik "$name" --json
        same "$(printf '%s\nError(0105): Invalid command parameter [--json].\n%s' "$LINE" "$LINE")" "$output"
        same 1 "$status"
    done
    json 1 status --json < <(document status '"service":null,"result":{"code":105,"message":"Invalid command parameter [--json]."}')
}

@test "a schema takes null for an answer that failed alone" {
    local command member
    while read -r command member; do
        run /usr/bin/python3 "$REPO/tests/support/validate_json.py" "$REPO/schema/$command.schema.json" \
            < <(document "$command" "$member:null,$SUCCESS" | sed 's/TIME/2026-11-21T03:12:41.047Z/')
        same 1 "$status"
        grep -qF "line 1: ${member//\"/}: " <<<"$output"
    done <<'END'
query "volumes"
lsalias "aliases"
status "service"
port "ports"
version "version"
devstats "devices"
END
}

# ---- devstats

# start_devstats [PARAMETERS]: in the background, an interval that does not pass by itself; its documents in $OUT.
start_devstats() {
    OUT=$BATS_TEST_TMPDIR/reports
    : >"$OUT"
    "$SIMHOST" "$HOST" run dravik --json devstats "$@" -interval 100000 >"$OUT" 2>"$BATS_TEST_TMPDIR/errors" 3>&- &
    DEVSTATS=$!
}

# wait_for LINES: until so many documents are there.
wait_for() {
    local waited=0
    until (($(wc -l <"$OUT") >= $1)); do
        sleep 0.05
        ((++waited < 400)) || return 1
    done
}

teardown() {
    [[ ! ${DEVSTATS-} ]] || kill -KILL "$DEVSTATS" 2>/dev/null || true
    drop_hosts
}

# rates IOPS KIB MS: of reads alone, a response time of writes is not known.
rates() {
    printf '"iops":{"total":%s,"read":%s,"write":0.000},"kib_per_s":{"total":%s,"read":%s,"write":0.000},' "$1" "$1" "$2" "$2"
    printf '"response_ms":{"total":%s,"read":%s,"write":null}' "$3" "$3"
}

@test "devstats is a document a report, every device in it, until Ctrl+C ends it with 0" {
    local ended=0 no_rates
    make_small_host
    start_devstats
    wait_for 1
    sim load mpatha reading 100
    sim counters advance 10
    kill -ALRM "$DEVSTATS"
    wait_for 2
    kill -INT "$DEVSTATS"
    wait "$DEVSTATS" || ended=$?
    same 0 "$ended"
    same "" "$(cat "$BATS_TEST_TMPDIR/errors")"
    same 2 "$(wc -l <"$OUT")"
    fits devstats <"$OUT"
    no_rates='"iops":{"total":0.000,"read":0.000,"write":0.000},"kib_per_s":{"total":0.000,"read":0.000,"write":0.000},"response_ms":{"total":null,"read":null,"write":null}'
    same "$(document devstats "\"interval_s\":10.000,\"devices\":[{\"name\":\"mpatha\",$(rates 100.000 800.000 2.000),\"paths\":[{\"name\":\"sdb\",$(rates 100.000 800.000 2.000)},{\"name\":\"sdc\",$no_rates}]},{\"name\":\"dead\",$no_rates,\"paths\":[{\"name\":\"sdd\",$no_rates}]},{\"name\":\"nvmea\",$no_rates,\"paths\":[{\"name\":\"nvme0n1\",$no_rates}]}],$SUCCESS")" \
        "$(sed -n 2p "$OUT" | plain)"
    # The first is about the time since the host was started, which is not this test's.
    same "$(document devstats "\"interval_s\":SECONDS,\"devices\":[{\"name\":\"mpatha\",$no_rates,\"paths\":[{\"name\":\"sdb\",$no_rates},{\"name\":\"sdc\",$no_rates}]},{\"name\":\"dead\",$no_rates,\"paths\":[{\"name\":\"sdd\",$no_rates}]},{\"name\":\"nvmea\",$no_rates,\"paths\":[{\"name\":\"nvme0n1\",$no_rates}]}],$SUCCESS")" \
        "$(sed -n 1p "$OUT" | plain | sed -E 's/"interval_s":[0-9]+\.[0-9]{3}/"interval_s":SECONDS/')"
}

@test "devstats that cannot begin is null and its result, with exit status 1" {
    make_small_host
    json 1 devstats < <(document devstats '"interval_s":null,"devices":null,"result":{"code":145,"message":"Missing parameter [-interval]."}')
    json 1 devstats -interval 0 < <(document devstats '"interval_s":null,"devices":null,"result":{"code":146,"message":"Wrong format of parameter [-interval] value."}')
    json 1 devstats -path_alias nosuch -interval 1 < <(document devstats '"interval_s":null,"devices":null,"result":{"code":133,"message":"This device [nosuch] does not exist."}')
}
