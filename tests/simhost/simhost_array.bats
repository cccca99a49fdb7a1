# The array behind the simulated host: what its volumes answer, and how they show in the host's counters.

load ../support/simulated_host
load ../support/session

setup() {
    make_empty_host
    add_program ask_array
}

# The counters of every device, "NAME COUNTER ...": as diskstats has them, and as the devices' own files do.
stat_of_diskstats() { sed '/ sda /d' "$HOST/proc/diskstats" | tr -s ' ' | cut -d ' ' -f 4- | sort; }
stat_of_sysfs() {
    local folder counters
    for folder in "$HOST"/sys/block/*; do
        read -ra counters <"$folder/stat"
        echo "${folder##*/} ${counters[*]}"
    done | sort
}

# hex TEXT: its bytes as ask_array prints them.
hex() { printf %s "$1" | od -An -v -tx1 | tr -d ' \n'; }

# repeated BYTE COUNT
repeated() { printf "%${2}s" '' | sed "s/ /$1/g"; }

@test "a SCSI volume lists its vendor page, and gives its name there behind the length" {
    expect_session <<END
host> ask_array /dev/dm-0 vpd 00
result 0 errno 0 status 0
00000004008083d0
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d00c$(hex vol_database)
sim> vdisk-name mpatha "my other vol"
host> ask_array /dev/sdc vpd d0
result 0 errno 0 status 0
00d00c$(hex "my other vol")
END
}

@test "the nodes of a map and of its paths pass for block devices" {
    expect_session <<'END'
host> ask_array /dev/dm-0 kind
block
host> ask_array /dev/sdb kind
block
host> ask_array /sim/state kind
other
host> [ -b /dev/sdb ] && [ -b /dev/mapper/mpatha ] && [ ! -b /sim/state ] && stat -c %F /dev/dm-0
block special file
END
}

@test "another page, and NVMe requests, are refused by a SCSI volume" {
    expect_session <<'END'
host> ask_array /dev/dm-0 vpd 83
result 0 errno 0 status 2

host> ask_array /dev/dm-0 id
-1
host> ask_array /dev/dm-0 log 1
result -1 errno 25

END
}

@test "an NVMe volume gives its namespace, and its name in log page 0xc0, and refuses other requests" {
    expect_session <<END
host> ask_array /dev/dm-7 id
1
host> ask_array /dev/dm-7 log 1
result 0 errno 0
$(hex vol_nvme_fc)
host> ask_array /dev/dm-7 log -15
result 16395 errno 0

host> ask_array /dev/dm-7 vpd 00
result -1 errno 25 status 0

END
}

@test "every hostile page of a SCSI volume is as its name says" {
    expect_session <<END
sim> page mpatha zero-count
host> ask_array /dev/dm-0 vpd 00
result 0 errno 0 status 0

sim> page mpatha no-d0
host> ask_array /dev/dm-0 vpd 00
result 0 errno 0 status 0
00000003008083
sim> page mpatha many-pages
host> ask_array /dev/dm-0 vpd 00
result 0 errno 0 status 0
000000fa000102030405060708090a0b0c0d0e0f$(repeated 80 184)d0$(repeated 80 49)
sim> page mpatha long
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d0ff$(repeated 4c 252)
sim> page mpatha empty
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d000$(hex vol_database)
sim> page mpatha no-nul
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d00c$(hex vol_database)$(repeated 78 240)
sim> page mpatha nul-inside
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d009$(hex vol)00$(hex trashase)
sim> page mpatha check-condition
host> ask_array /dev/dm-0 vpd 00
result 0 errno 0 status 2

host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 2

sim> page mpatha errno
host> ask_array /dev/dm-0 vpd 00
result -1 errno 5 status 0

host> ask_array /dev/dm-0 vpd d0
result -1 errno 5 status 0

sim> page mpatha not-block
host> ask_array /dev/dm-0 kind
other
sim> page mpatha normal
host> ask_array /dev/dm-0 vpd d0
result 0 errno 0 status 0
00d00c$(hex vol_database)
END
}

@test "every hostile log of an NVMe volume is as its name says" {
    expect_session <<END
sim> page nvmea empty
host> ask_array /dev/dm-7 log 1
result 0 errno 0

sim> page nvmea no-nul
host> ask_array /dev/dm-7 log 1
result 0 errno 0
$(repeated 4e 64)
sim> page nvmea nul-inside
host> ask_array /dev/dm-7 log 1
result 0 errno 0
$(hex vol)00$(hex trash)
sim> page nvmea check-condition
host> ask_array /dev/dm-7 log 1
result 16386 errno 0

sim> page nvmea errno
host> ask_array /dev/dm-7 log 1
result -1 errno 5

sim> page nvmea no-nsid
host> ask_array /dev/dm-7 id
0
sim> page nvmea not-block
host> ask_array /dev/dm-7 kind
other
END
}

@test "a volume without a working path does not answer" {
    expect_session <<'END'
sim> fail-path sdf
host> ask_array /dev/dm-1 vpd 00
result 0 errno 0 status 0
00000004008083d0
sim> fail-path sdg
host> ask_array /dev/dm-1 vpd 00
result -1 errno 5 status 0

sim> restore-path sdg
host> ask_array /dev/dm-1 vpd 00
result 0 errno 0 status 0
00000004008083d0
END
}

@test "every request block is recorded" {
    in_host ask_array /dev/sdb vpd d0
    in_host ask_array /dev/dm-7 id
    in_host ask_array /dev/dm-7 log 1
    expect_text ioctls <<END
sdb SG_IO 53000000fdffffff064000000001000000000000000000000000000000000000000000000000000088130000$(repeated 00 44) cdb 1201d000ff00
dm-7 NVME_ID
dm-7 NVME_ADMIN 0200000001000000$(repeated 00 28)40000000c0000f00$(repeated 00 28)
END
}

@test "a load moves the counters of the volume and of the paths that carry it" {
    sim load mpatha mixed 100
    sim load sdf slow 10
    sim counters advance 10
    run grep -E ' (sd[b-g]|dm-[01]) ' "$HOST/proc/diskstats"
    expect_output <<'END'
   8      16 sdb 500 0 8000 1000 250 62 8000 1000 0 2000 2000
   8      32 sdc 500 0 8000 1000 250 62 8000 1000 0 2000 2000
   8      48 sdd 0 0 0 0 0 0 0 0 0 0 0
   8      64 sde 0 0 0 0 0 0 0 0 0 0 0
   8      80 sdf 100 0 1600 10000 100 25 3200 10000 0 10000 20000
   8      96 sdg 0 0 0 0 0 0 0 0 0 0 0
 253       0 dm-0 1000 0 16000 2000 500 125 16000 2000 0 4000 4000
 253       1 dm-1 100 0 1600 10000 100 25 3200 10000 0 10000 20000
END
    same " 500 0 8000 1000 250 62 8000 1000 0 2000 2000" "$(<"$HOST/sys/block/sdb/stat")"
    same "100010.00 180018.00" "$(<"$HOST/proc/uptime")"
    same "cpu  1000100 0 600060 18001800 400040 0 0 0 0 0" "$(head -n 1 "$HOST/proc/stat")"
}

@test "reading and writing loads count on their own side, an idle one stands still" {
    sim load sdb reading 10
    sim load sdc writing 10
    sim counters advance 2.5
    run grep -E ' (sd[bc]|dm-0) ' "$HOST/proc/diskstats"
    expect_output <<'END'
   8      16 sdb 25 0 400 50 0 0 0 0 0 50 50
   8      32 sdc 0 0 0 0 25 6 800 100 0 100 100
 253       0 dm-0 25 0 400 50 25 6 800 100 0 150 150
END
    sim load sdb idle
    sim load sdc idle
    sim counters advance 100
    run grep -E ' sdb ' "$HOST/proc/diskstats"
    same "   8      16 sdb 25 0 400 50 0 0 0 0 0 50 50" "$output"
}

@test "a load is meant by every name of its volume, and ended by the name that it was set by" {
    local name
    sim vdisk-name mpathd 'my web'
    for name in mpathd 3600b5d60001a2b3c0000000000000005 'my web' dm-4 /dev/dm-4 /dev/mapper/mpathd; do
        sim load "$name" reading 10
        sim counters advance 1
        sim load "$name" idle
        sim counters advance 1
        grep ' dm-4 ' "$HOST/proc/diskstats"
    done >"$BATS_TEST_TMPDIR/rows"
    expect_text cat "$BATS_TEST_TMPDIR/rows" <<'END'
 253       4 dm-4 10 0 160 20 0 0 0 0 0 20 20
 253       4 dm-4 20 0 320 40 0 0 0 0 0 40 40
 253       4 dm-4 30 0 480 60 0 0 0 0 0 60 60
 253       4 dm-4 40 0 640 80 0 0 0 0 0 80 80
 253       4 dm-4 50 0 800 100 0 0 0 0 0 100 100
 253       4 dm-4 60 0 960 120 0 0 0 0 0 120 120
END
    same "" "$(<"$HOST/sim/loads")"
    run sim load nobody reading
    same "1simhost: there is no volume or path nobody" "$status$output"
}

@test "the stat file of a device says what diskstats says of it, also after its folder was made anew" {
    sim load mpathb mixed 100
    sim counters advance 10
    sim rename mpathb data
    same "$(stat_of_diskstats)" "$(stat_of_sysfs)"
    sim counters columns 17
    same "$(stat_of_diskstats)" "$(stat_of_sysfs)"
    sim rename data mpathb
    same "$(stat_of_diskstats)" "$(stat_of_sysfs)"
    sim map fresh paths=1
    same "$(stat_of_diskstats)" "$(stat_of_sysfs)"
    sim counters advance 10
    same "$(stat_of_diskstats)" "$(stat_of_sysfs)"
}

@test "the counters of a removed path vanish, those of a new one appear" {
    sim load mpathb reading 10
    sim counters advance 1
    sim unmap mpathb
    run grep -cE ' (sdf|sdg|dm-1) ' "$HOST/proc/diskstats"
    same 0 "$output"
    sim map fresh paths=1
    run grep -E ' (sdu|dm-12) ' "$HOST/proc/diskstats"
    expect_output <<'END'
  65      64 sdu 0 0 0 0 0 0 0 0 0 0 0
 253      12 dm-12 0 0 0 0 0 0 0 0 0 0 0
END
    in_host sh -c 'echo 1 >/sys/block/sdb/device/delete'
    in_host velomux -ll mpatha >/dev/null
    run grep -c ' sdb ' "$HOST/proc/diskstats"
    same 0 "$output"
}

@test "newer kernels have more columns, some have no diskstats at all" {
    sim counters columns 15
    same "   8      16 sdb 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0" "$(grep ' sdb ' "$HOST/proc/diskstats")"
    sim counters columns 17
    same "   8      16 sdb 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0" "$(grep ' sdb ' "$HOST/proc/diskstats")"
    make_empty_host_at other --no-diskstats --cpus 1
    [ ! -e "$HOST/proc/diskstats" ]
    sim counters advance 5
    [ ! -e "$HOST/proc/diskstats" ]
    same "cpu cpu0 intr" "$(awk 'NR <= 3 { printf "%s%s", (NR > 1 ? " " : ""), $1 }' "$HOST/proc/stat")"
    same 1 "$(in_host getconf _NPROCESSORS_ONLN)"
}

@test "the live counters move with the time that passes" {
    sim load mpatha reading 100
    sim counters start
    sleep 2.5
    sim counters stop
    run awk '$3 == "sdb" { print ($4 >= 50 && $4 <= 150) }' "$HOST/proc/diskstats"
    same 1 "$output"
    local stopped
    stopped=$(<"$HOST/proc/uptime")
    sleep 1.2
    same "$stopped" "$(<"$HOST/proc/uptime")"
}
