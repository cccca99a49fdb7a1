# The array behind the simulated host: what its volumes answer, and how they show in the host's counters.

load ../support/simulated_host

setup() {
    make_empty_host
    add_program ask_array
}

# hex TEXT: its bytes as ask_array prints them.
hex() { printf %s "$1" | od -An -v -tx1 | tr -d ' \n'; }

# repeated BYTE COUNT
repeated() { printf "%${2}s" '' | sed "s/ /$1/g"; }

@test "a SCSI volume lists its vendor page and gives its name there" {
    run in_host ask_array /dev/dm-0 vpd 00
    expect_output <<END
result 0 errno 0 status 0
00000004008083d0
END
}

@test "the nodes of a map and of its paths pass for block devices" {
    run in_host ask_array /dev/dm-0 kind
    same block "$output"
    run in_host ask_array /dev/sdb kind
    same block "$output"
    run in_host ask_array /sim/state kind
    same other "$output"
    run in_host sh -c '[ -b /dev/sdb ] && [ -b /dev/mapper/mpatha ] && [ ! -b /sim/state ] && stat -c %F /dev/dm-0'
    same "block special file" "$output"
}

@test "the name stands behind its length on page 0xd0, and follows a renaming on the array" {
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d00c$(hex vol_database)
END
    sim vdisk-name mpatha "my other vol"
    run in_host ask_array /dev/sdc vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d00c$(hex "my other vol")
END
}

@test "another page, and NVMe requests, are refused by a SCSI volume" {
    run in_host ask_array /dev/dm-0 vpd 83
    expect_output <<'END'
result 0 errno 0 status 2

END
    run in_host ask_array /dev/dm-0 id
    same -1 "$output"
    run in_host ask_array /dev/dm-0 log 1
    expect_output <<'END'
result -1 errno 25

END
}

@test "an NVMe volume gives its namespace and its name in log page 0xc0" {
    run in_host ask_array /dev/dm-7 id
    same 1 "$output"
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<END
result 0 errno 0
$(hex vol_nvme_fc)
END
    run in_host ask_array /dev/dm-7 log -15
    expect_output <<'END'
result 16395 errno 0

END
    run in_host ask_array /dev/dm-7 vpd 00
    expect_output <<'END'
result -1 errno 25 status 0

END
}

@test "every hostile page of a SCSI volume is as its name says" {
    local page
    sim page mpatha zero-count
    run in_host ask_array /dev/dm-0 vpd 00
    expect_output <<'END'
result 0 errno 0 status 0

END
    sim page mpatha no-d0
    run in_host ask_array /dev/dm-0 vpd 00
    expect_output <<'END'
result 0 errno 0 status 0
00000003008083
END
    sim page mpatha many-pages
    run in_host ask_array /dev/dm-0 vpd 00
    expect_output <<END
result 0 errno 0 status 0
000000fa000102030405060708090a0b0c0d0e0f$(repeated 80 184)d0$(repeated 80 49)
END
    sim page mpatha long
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d0ff$(repeated 4c 252)
END
    sim page mpatha empty
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d000$(hex vol_database)
END
    sim page mpatha no-nul
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d00c$(hex vol_database)$(repeated 78 240)
END
    sim page mpatha nul-inside
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d009$(hex vol)00$(hex trashase)
END
    for page in 00 d0; do
        sim page mpatha check-condition
        run in_host ask_array /dev/dm-0 vpd $page
        expect_output <<'END'
result 0 errno 0 status 2

END
        sim page mpatha errno
        run in_host ask_array /dev/dm-0 vpd $page
        expect_output <<'END'
result -1 errno 5 status 0

END
    done
    sim page mpatha not-block
    run in_host ask_array /dev/dm-0 kind
    same other "$output"
    sim page mpatha normal
    run in_host ask_array /dev/dm-0 vpd d0
    expect_output <<END
result 0 errno 0 status 0
00d00c$(hex vol_database)
END
}

@test "every hostile log of an NVMe volume is as its name says" {
    sim page nvmea empty
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<'END'
result 0 errno 0

END
    sim page nvmea no-nul
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<END
result 0 errno 0
$(repeated 4e 64)
END
    sim page nvmea nul-inside
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<END
result 0 errno 0
$(hex vol)00$(hex trash)
END
    sim page nvmea check-condition
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<'END'
result 16386 errno 0

END
    sim page nvmea errno
    run in_host ask_array /dev/dm-7 log 1
    expect_output <<'END'
result -1 errno 5

END
    sim page nvmea no-nsid
    run in_host ask_array /dev/dm-7 id
    same 0 "$output"
    sim page nvmea not-block
    run in_host ask_array /dev/dm-7 kind
    same other "$output"
}

@test "a volume without a working path does not answer" {
    sim fail-path sdf
    run in_host ask_array /dev/dm-1 vpd 00
    same "result 0 errno 0 status 0" "${lines[0]}"
    sim fail-path sdg
    run in_host ask_array /dev/dm-1 vpd 00
    same "result -1 errno 5 status 0" "${lines[0]}"
    sim restore-path sdg
    run in_host ask_array /dev/dm-1 vpd 00
    same "result 0 errno 0 status 0" "${lines[0]}"
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
