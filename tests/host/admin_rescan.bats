#!/usr/bin/env bats
# scan, aggregation, refresh, port and version.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

NOTICE='This operation may take several minutes, please wait patiently.'
SCAN_LINES='bash /usr/bin/dravik-script/g2dravikscan.sh 2>&1
bash /usr/bin/dravik-script/discoverfcnvme.sh 2>&1'
AGGREGATION_LINES='bash /usr/bin/dravik-script/run_all_offline_path.sh 2>&1
velomux -r 2>&1'

block_devices() {
    sim state >"$BATS_TEST_TMPDIR/state"
    (cd "$HOST/sys/block" && echo *)
}
maps() { sim listing | awk '/ dm-/ { print $1 }' | paste -sd ' '; }

# refresh_ran LINES: all that a refresh ran, LINES being what it removed.
refresh_ran() {
    expect_text ran <<<"velomux -ll 2> /dev/null${1:+
$1}
$SCAN_LINES
$AGGREGATION_LINES"
}

setup() { export SIMHOST_SLEEPS=1; }

# ---- scan, aggregation

@test "scan says that it takes long, and finds what was mapped to the host" {
    make_host --scenario "$SMALL"
    sim map mpathz paths=2 --at-scan
    same 'mpatha mpathb nvmea' "$(maps)"
    dravik 0 scan <<<"$NOTICE
$DONE"
    expect_text ran <<<"$SCAN_LINES"
    sim rescan
    same 'mpatha mpathb nvmea mpathz' "$(maps)"
}

@test "scan ignores what becomes of its scripts" {
    make_host --scenario "$SMALL"
    sim tool g2dravikscan.sh missing
    sim tool discoverfcnvme.sh fail 1
    dravik 0 scan <<<"$NOTICE
$DONE"
    expect_text errors <<'END'
ERROR exe_cmd Execute command [bash /usr/bin/dravik-script/g2dravikscan.sh 2>&1] failed, exit code [127]
ERROR exe_cmd Error message: bash: /usr/bin/dravik-script/g2dravikscan.sh: No such file or directory
ERROR exe_cmd Execute command [bash /usr/bin/dravik-script/discoverfcnvme.sh 2>&1] failed, exit code [1]
ERROR exe_cmd Error message: discoverfcnvme.sh: error
END
}

@test "aggregation revives the paths on record and reloads the maps" {
    make_host --scenario "$SMALL"
    succeeds setstate -path_alias mpatha -device_name sdb -state offline
    forget
    succeeds aggregation
    expect_text ran <<<"$AGGREGATION_LINES"
    expect_text calls <<'END'
dravikd reinstate path sdb
velomux -r
END
    same 0 "$(sim listing | grep -c 'faulty')"
}

@test "aggregation without the multipath tool is told as a success" {
    make_host --scenario "$SMALL"
    sim tool velomux missing
    succeeds aggregation
    expect_text errors <<'END'
ERROR exe_cmd Execute command [velomux -r 2>&1] failed, exit code [127]
ERROR exe_cmd Error message: sh: line 1: velomux: command not found
END
}

# ---- refresh

@test "refresh of a healthy host removes nothing" {
    make_host --scenario "$SMALL"
    succeeds refresh
    refresh_ran ''
    same 'dravik 1' "$(other_sleeps)"
    same 'mpatha mpathb nvmea' "$(maps)"
}

@test "refresh deletes a dead path and keeps the map with its healthy one" {
    make_host --scenario 'volume mpatha transport=fc
  group prio=0
    path sdb 1:0:0:1 8:16 failed faulty running
  group prio=50
    path sdc 2:0:0:1 8:32'
    succeeds refresh
    refresh_ran 'echo 1 > /sys/block/sdb/device/delete 2>&1'
    same mpatha "$(maps)"
}

@test "refresh of a volume that the array has taken away deletes all its paths and its map" {
    make_host --scenario "$SMALL"
    sim unmap mpatha --stale
    succeeds refresh
    refresh_ran 'echo 1 > /sys/block/sdb/device/delete 2>&1
echo 1 > /sys/block/sdc/device/delete 2>&1
velomux -f /dev/dm-0 2>&1'
    same 'mpathb nvmea' "$(maps)"
    expect_text errors </dev/null
}

@test "refresh keeps a faulty path in a group of priority 50" {
    make_host --scenario 'volume mpatha transport=fc
  group prio=50 status=active
    path sdb 1:0:0:1 8:16 failed faulty running'
    sim set-group mpatha 1 prio=50 status=enabled
    succeeds refresh
    refresh_ran ''
    same mpatha "$(maps)"
}

@test "refresh ends at a dead map that is in use" {
    make_host --scenario "$SMALL"
    sim unmap mpatha --stale
    sim in-use mpatha on
    fails_with 'Error(0123): The path is being used, can not be deleted.' refresh
    expect_text ran <<'END'
velomux -ll 2> /dev/null
echo 1 > /sys/block/sdb/device/delete 2>&1
echo 1 > /sys/block/sdc/device/delete 2>&1
velomux -f /dev/dm-0 2>&1
END
    same '' "$(other_sleeps)"
}

@test "refresh without the multipath tool, or with a malformed listing, removes nothing" {
    make_host --scenario "$SMALL"
    sim unmap mpatha --stale
    sim tool velomux missing
    dravik 1 refresh <<<"$FAILED"
    { sim listing | head -n 3 && echo '  |- nonsense'; } >"$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    fails_with 'Error(0110): Parse command output failed.' refresh
    expect_text ran <<'END'
velomux -ll 2> /dev/null
velomux -ll 2> /dev/null
END
}

@test "every generation of hosts refreshes alike" {
    local generation
    for generation in rhel6 sles11sp4 rhel9 sles15; do
        make_host_at "$generation" --generation "$generation" --scenario "$SMALL"
        sim unmap mpathb --stale
        succeeds refresh
        refresh_ran 'echo 1 > /sys/block/sdd/device/delete 2>&1
echo 1 > /sys/block/sde/device/delete 2>&1
velomux -f /dev/dm-1 2>&1'
    done
}

# ---- port, version

@test "port frames the table of the host's Fibre Channel ports" {
    make_host --scenario "$SMALL"
    dravik 0 port <<<"$LINE
$(in_host bash /usr/bin/dravik-script/fc_info.sh)
$LINE
$DONE"
    expect_text ran <<<'bash /usr/bin/dravik-script/fc_info.sh 2>&1'
    same 'HOST   WWPN                WWNN                STATE   SPEED    TOPOLOGY                           DRIVER' \
        "$(in_host bash /usr/bin/dravik-script/fc_info.sh | head -n 1)"
}

@test "port shows whatever the script prints, without adding a line feed" {
    make_host --scenario "$SMALL"
    printf 'a\n\n100%%s' >"$BATS_TEST_TMPDIR/text"
    sim tool fc_info.sh says "$BATS_TEST_TMPDIR/text"
    dravik 0 port <<<"$LINE
a

100%s$LINE
$DONE"
    sim tool fc_info.sh silent
    dravik 0 port <<<"$LINE
$LINE
$DONE"
}

@test "port prints nothing of a script that fails or is missing" {
    make_host --scenario "$SMALL"
    printf 'half a table\n' >"$BATS_TEST_TMPDIR/text"
    sim tool fc_info.sh says "$BATS_TEST_TMPDIR/text" 1
    dravik 1 port <<<"$FAILED"
    sim tool fc_info.sh missing
    dravik 1 port <<<"$FAILED"
}

@test "port cuts a table of megabytes at its buffer" {
    make_host --scenario "$SMALL"
    printf '%3145728s' '' | tr ' ' x >"$BATS_TEST_TMPDIR/text"
    sim tool fc_info.sh says "$BATS_TEST_TMPDIR/text"
    in_host dravik port >"$BATS_TEST_TMPDIR/shown"
    { echo "$LINE" && head -c 2097151 "$BATS_TEST_TMPDIR/text" && printf '%s\n%s\n' "$LINE" "$DONE"; } |
        cmp - "$BATS_TEST_TMPDIR/shown"
}

@test "version identifies the product and runs nothing" {
    make_host --scenario "$SMALL"
    dravik 0 version <<<"$LINE
Software name: Dravik
Vendor: Korvel
Version: $(product_version)
Copyright (c) Korvel. All rights reserved.
$LINE
$DONE"
    expect_text ran </dev/null
}
