#!/usr/bin/env bats
# delete: the map is flushed, then its block devices go; a map that cannot be flushed keeps all its paths.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

# block_devices: what /sys/block has, once what programs wrote there has taken effect.
block_devices() {
    sim state >"$BATS_TEST_TMPDIR/state"
    (cd "$HOST/sys/block" && echo *)
}
# maps: the aliases in the listing.
maps() { sim listing | awk '/ dm-/ { print $1 }' | paste -sd ' '; }

# make_flush_hang: from now on a multipath tool that answers everything but "-f".
make_flush_hang() {
    mv "$HOST/usr/sbin/velomux" "$HOST/usr/sbin/velomux.real"
    # shellcheck disable=SC2016 # the text is the script that the host gets
    printf '#!/bin/bash\n[[ $1 != -f ]] || exec sleep 1000\nexec velomux.real "$@"\n' >"$HOST/usr/sbin/velomux"
    chmod 755 "$HOST/usr/sbin/velomux"
}

@test "a device is flushed and its block devices are deleted" {
    make_host --scenario "$SMALL"
    succeeds delete mpatha
    expect_text ran <<'END'
velomux -ll mpatha 2>&1
velomux -f /dev/dm-0 2>&1
echo 1 > /sys/block/sdb/device/delete 2>&1
echo 1 > /sys/block/sdc/device/delete 2>&1
END
    expect_text calls <<'END'
velomux -ll mpatha
velomux -f /dev/dm-0
END
    same 'dm-1 dm-2 nvme0n1 nvme1n1 sdd sde' "$(block_devices)"
    same 'mpathb nvmea' "$(maps)"
    expect_text errors </dev/null
}

@test "an NVMe device loses its map and keeps its namespaces" {
    make_host --scenario "$SMALL"
    succeeds delete nvmea
    expect_text ran <<'END'
velomux -ll nvmea 2>&1
velomux -f /dev/dm-2 2>&1
END
    same 'mpatha mpathb' "$(maps)"
    [[ -d $HOST/sys/block/nvme0n1 ]]
}

@test "SLES 11 SP4 names the map by its alias" {
    make_host --scenario "$SMALL" --generation sles11sp4
    succeeds delete mpatha
    expect_text ran <<'END'
velomux -ll mpatha 2>&1
velomux -f mpatha 2>&1
echo 1 > /sys/block/sdb/device/delete 2>&1
echo 1 > /sys/block/sdc/device/delete 2>&1
END
    same 'mpathb nvmea' "$(maps)"
}

@test "every other generation names it by its number" {
    local generation
    for generation in rhel6 $SYSTEMD; do
        make_host_at "$generation" --generation "$generation" --scenario "$SMALL"
        succeeds delete mpathb
        same 'velomux -f /dev/dm-1 2>&1' "$(ran | sed -n 2p)"
        same 'mpatha nvmea' "$(maps)"
    done
}

@test "a device in use is tried three times, a second apart, and keeps everything" {
    make_host --scenario "$SMALL"
    sim in-use mpatha on
    export SIMHOST_SLEEPS=1
    fails_with 'Error(0123): The path is being used, can not be deleted.' delete mpatha
    expect_text ran <<'END'
velomux -ll mpatha 2>&1
velomux -f /dev/dm-0 2>&1
velomux -f /dev/dm-0 2>&1
velomux -f /dev/dm-0 2>&1
END
    same 'dravik 1
dravik 1' "$(other_sleeps)"
    same 'mpatha mpathb nvmea' "$(maps)"
    same 'dm-0 dm-1 dm-2 nvme0n1 nvme1n1 sdb sdc sdd sde' "$(block_devices)"
    sim in-use mpatha off
    succeeds delete mpatha
}

@test "a flush that hangs is given up after five seconds, three times, and everything stays" {
    make_host --scenario "$SMALL"
    make_flush_hang
    local begin=$SECONDS
    fails_with 'Error(0124): Execute system command timeout.' delete mpatha
    ((SECONDS - begin >= 14 && SECONDS - begin <= 30))
    expect_text errors <<'END'
ERROR exeLiunxInfoCmd_nonblocking Execute command [velomux -f /dev/dm-0] timeout
ERROR exeLiunxInfoCmd_nonblocking Execute command [velomux -f /dev/dm-0] timeout
ERROR exeLiunxInfoCmd_nonblocking Execute command [velomux -f /dev/dm-0] timeout
END
    same 'mpatha mpathb nvmea' "$(maps)"
    same 'dm-0 dm-1 dm-2 nvme0n1 nvme1n1 sdb sdc sdd sde' "$(block_devices)"
}

@test "a flush that fails otherwise is tried three times" {
    make_host --scenario "$SMALL"
    mv "$HOST/usr/sbin/velomux" "$HOST/usr/sbin/velomux.real"
    # shellcheck disable=SC2016 # the text is the script that the host gets
    printf '#!/bin/bash\n[[ $1 != -f ]] || { echo "$2 is not a valid argument"; exit 1; }\nexec velomux.real "$@"\n' \
        >"$HOST/usr/sbin/velomux"
    chmod 755 "$HOST/usr/sbin/velomux"
    dravik 1 delete mpatha <<<"$FAILED"
    same 3 "$(ran | grep -c 'velomux -f')"
    same 'dm-0 dm-1 dm-2 nvme0n1 nvme1n1 sdb sdc sdd sde' "$(block_devices)"
}

@test "a map that another tool flushes in between is no failure" {
    make_host --scenario "$SMALL"
    mv "$HOST/usr/sbin/velomux" "$HOST/usr/sbin/velomux.real"
    # shellcheck disable=SC2016 # the text is the script that the host gets
    printf '#!/bin/bash\nvelomux.real "$@"\n[[ $1 != -f ]] || exit 1\n' >"$HOST/usr/sbin/velomux"
    chmod 755 "$HOST/usr/sbin/velomux"
    succeeds delete mpatha
    same 'mpathb nvmea' "$(maps)"
    same 'dm-1 dm-2 nvme0n1 nvme1n1 sdd sde' "$(block_devices)"
}

@test "unknown names, other makers' devices and a WWID of a device with an alias" {
    make_host --scenario "$SMALL
volume foreign transport=fc paths=1 vendor=OTHERCO product=ARRAY"
    fails_with 'Error(0133): This device [mpathx] does not exist.' delete mpathx
    fails_with 'Error(0133): This device [foreign] does not exist.' delete foreign
    fails_with 'Error(0115): This path_alias [3600b5d60001a2b3c0000000000000001] does not exist.' \
        delete 3600b5d60001a2b3c0000000000000001
    same 0 "$(ran | grep -c 'velomux -f\|echo')"
    same 'ERROR delete_ Query dravik information failed' "$(errors | sort -u)"
}

@test "a device without an alias is deleted by its WWID" {
    make_host --scenario 'volume - transport=fc paths=1 wwid=3600b5d60001a2b3c0000000000000001'
    succeeds delete 3600b5d60001a2b3c0000000000000001
    same '' "$(maps)"
}

@test "a tool that is missing, silent or prints rubbish deletes nothing" {
    make_host --scenario "$SMALL"
    sim tool velomux missing
    dravik 1 delete mpatha <<<"$FAILED"
    sim tool velomux silent
    fails_with 'Error(0133): This device [mpatha] does not exist.' delete mpatha
    sim tool velomux rubbish
    fails_with 'Error(0133): This device [mpatha] does not exist.' delete mpatha
    same 0 "$(ran | grep -c 'velomux -f\|echo')"
    sim tool velomux ok
    same 'dm-0 dm-1 dm-2 nvme0n1 nvme1n1 sdb sdc sdd sde' "$(block_devices)"
}
