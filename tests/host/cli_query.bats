#!/usr/bin/env bats
# query: the whole topology as it is printed, one device, failed devices, and a tool that does not answer.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

LINE=$(printf -- '-%.0s' {1..130})
TABLE=$(printf '=%.0s' {1..130})

# result TEXT: a printed result.
result() { printf '%s\n%s\n%s\n' "$LINE" "$1" "$LINE"; }
DONE=$(result 'Command executed successfully.')

mpatha() {
    cat <<END
path_alias: mpatha
wwid: 3600b5d60001a2b3c0000000000000001
device_number: 0
vendor: KORVEL
product_type: QVX
lun_size: 100G
vdisk_name: vol_database
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port          
8:16   sdb      1:0:0:1  round-robin-extend active      running       0x20d0000b5d6a1010 
8:32   sdc      2:0:0:1  round-robin-extend active      running       0x20d0000b5d6a1020 
8:48   sdd      1:0:1:1  round-robin-extend active      running       0x20d0000b5d6a1011 
8:64   sde      2:0:1:1  round-robin-extend active      running       0x20d0000b5d6a1021 
END
}

whole_default_topology() {
    echo "$LINE"
    mpatha
    cat <<END

path_alias: mpathb
wwid: 3600b5d60001a2b3c0000000000000002
device_number: 1
vendor: KORVEL
product_type: QVX
lun_size: 50G
vdisk_name: vol_logs
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy              path_status dravik_status target_port          
8:80   sdf      1:0:0:2  least-queue-depth-extend active      running       0x20d0000b5d6a1010 
8:96   sdg      2:0:0:2  least-queue-depth-extend active      running       0x20d0000b5d6a1011 

path_alias: 3600b5d60001a2b3c0000000000000003
wwid: 3600b5d60001a2b3c0000000000000003
device_number: 2
vendor: KORVEL
product_type: QVX
lun_size: 1.0T
vdisk_name: vol_unnamed
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port          
8:112  sdh      1:0:0:3  round-robin-extend active      running       0x20d0000b5d6a1010 
8:128  sdi      2:0:0:3  round-robin-extend active      running       0x20d0000b5d6a1011 

path_alias: mpathc
wwid: 3600b5d60001a2b3c0000000000000004
device_number: 3
vendor: KORVEL
product_type: QVX
lun_size: 20G
vdisk_name: vol_mail
host_interface: iscsi
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port         
8:144  sdj      4:0:0:1  round-robin-extend active      running       192.168.1.10:3260 
8:160  sdk      5:0:0:1  round-robin-extend active      running       192.168.2.10:3260 

path_alias: mpathd
wwid: 3600b5d60001a2b3c0000000000000005
device_number: 4
vendor: KORVEL
product_type: QVX
lun_size: 20G
vdisk_name: vol_web
host_interface: iscsi
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port   
8:176  sdl      4:0:0:2  round-robin-extend active      running                   

path_alias: mpathe
wwid: 3600b5d60001a2b3c0000000000000006
device_number: 5
vendor: KORVEL
product_type: QVX
lun_size: 5.0G
vdisk_name: vol_backup
host_interface: sas
$TABLE
dev_id dev_name dev_node path_policy               path_status dravik_status target_port   
8:192  sdm      0:0:0:1  smart-distribution-extend active      running                   
8:208  sdn      0:0:1:1  smart-distribution-extend active      running                   

path_alias: nvmea
wwid: eui.6a1010000b5d6a100000000000000008
device_number: 7
vendor: NVME
product_type: KORVELQVX
lun_size: 200G
vdisk_name: vol_nvme_fc
host_interface: fc-nvme
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port          
259:0  nvme0n1  0:1:1:1  round-robin-extend active      running       0x20d0000b5d6a2010 
259:1  nvme1n1  1:1:1:1  round-robin-extend active      running       0x20d0000b5d6a2011 
259:2  nvme2n1  2:1:1:1  round-robin-extend active      running       0x20d0000b5d6a2012 
259:3  nvme3n1  3:1:1:1  round-robin-extend active      running       0x20d0000b5d6a2013 

path_alias: nvmeb
wwid: eui.6a1010000b5d6a100000000000000009
device_number: 8
vendor: NVME
product_type: KORVELQVX
lun_size: 200G
vdisk_name: vol_nvme_rdma
host_interface: rdma-nvme
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port         
259:4  nvme8n1  8:1:1:1  round-robin-extend active      running       192.168.1.20:4420 
259:5  nvme9n1  9:1:1:1  round-robin-extend active      running       192.168.2.20:4420 

path_alias: nvmec
wwid: eui.6a1010000b5d6a10000000000000000a
device_number: 9
vendor: NVME
product_type: KORVELQVX
lun_size: 200G
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port   
259:6  nvme16n1 16:1:1:1 round-robin-extend active      running                   
259:7  nvme17n1 17:1:1:1 round-robin-extend active      running                   

path_alias: hwdata
wwid: 36a08cf2100b1c2d30000000100000007
device_number: 10
vendor: HUAWEI
product_type: XSG1
lun_size: 30G
vdisk_name: vol_hwdata
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy   path_status dravik_status target_port          
65:0   sdq      1:0:0:5  round-robin 0 active      running       0x20d0000b5d6a1010 
65:16  sdr      2:0:0:5  round-robin 0 active      running       0x20d0000b5d6a1011 

path_alias: rldata
wwid: 360060e8007c3b1000030c3b100000042
device_number: 11
vendor: HITACHI
product_type: DF
lun_size: 30G
vdisk_name: vol_rldata
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy   path_status dravik_status target_port          
65:32  sds      1:0:0:6  round-robin 0 active      running       0x20d0000b5d6a1010 
65:48  sdt      2:0:0:6  round-robin 0 active      running       0x20d0000b5d6a1011 
$LINE
$DONE
END
}

@test "query shows every device of the accepted arrays, and no other" {
    make_host
    run --separate-stderr in_host dravik query
    expect_output < <(whole_default_topology)
    # shellcheck disable=SC2154 # set by run
    same "" "$stderr"
    same 0 "$status"
}

@test "query with a device shows that one, by alias or WWID" {
    make_host
    local name
    for name in mpatha 3600b5d60001a2b3c0000000000000001; do
        run in_host dravik query "$name"
        expect_output < <(
            echo "$LINE"
            mpatha
            echo "$LINE"
            echo "$DONE"
        )
        same 0 "$status"
    done
    run in_host dravik query foreign
    expect_output < <(result 'Error(0133): This device [foreign] does not exist.')
    same 1 "$status"
}

@test "a host without devices of the accepted arrays shows nothing between the lines" {
    make_host --scenario 'volume foreign vendor=OTHERCO product=ARRAY transport=sas'
    run in_host dravik query
    expect_output < <(printf '%s\n%s\n%s\n' "$LINE" "$LINE" "$DONE")
}

@test "a failed device keeps the name that the array told before, a healthy one is asked each time" {
    make_host
    in_host dravik query mpatha >"$BATS_TEST_TMPDIR/out"
    sim vdisk-name mpatha renamed
    run in_host dravik query mpatha
    same "vdisk_name: renamed" "$(grep vdisk_name <<<"$output")"
    for path in sdb sdc sdd sde; do sim fail-path "$path"; done
    sim vdisk-name mpatha renamed_again
    : >"$HOST/sim/ioctls.log"
    run in_host dravik query mpatha
    same "vdisk_name: renamed" "$(grep vdisk_name <<<"$output")"
    expect_text ioctls </dev/null
    rm "$HOST/dumps/storage_config.json"
    forget
    run in_host dravik query mpatha
    same "" "$(grep vdisk_name <<<"$output" || true)"
    same 'ERROR isFailedDevice This device (3600b5d60001a2b3c0000000000000001) is a failed device.
ERROR _printOneDravik This device (3600b5d60001a2b3c0000000000000001) is a failed device, we can not get the vdisk name.' \
        "$(cli_log | grep '^ERROR')"
}

@test "the names of all devices are remembered in one file" {
    make_host
    in_host dravik query >"$BATS_TEST_TMPDIR/out"
    same "$(grep -c vdisk_name "$BATS_TEST_TMPDIR/out")" "$(grep -c '"vdisk_name"' "$HOST/dumps/storage_config.json")"
}

@test "a device whose array does not answer is shown without its name" {
    make_host
    sim page mpatha errno
    run in_host dravik query mpatha
    expect_output < <(
        echo "$LINE"
        mpatha | grep -v vdisk_name
        echo "$LINE"
        echo "$DONE"
    )
    cli_log | grep -Fx 'ERROR _printOneDravik This device (3600b5d60001a2b3c0000000000000001), the vdisk name we obtained is NULL.'
}

@test "a tool that is missing or prints half a listing is an error, and nothing of it is shown" {
    make_host
    sim tool velomux missing
    run in_host dravik query
    expect_output < <(result 'Error(0003): Execute system command failed.')
    same 1 "$status"
    sim tool velomux ok
    {
        head -n 8 "$HOST/sim/listing"
        echo "| |-"
    } >"$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    run in_host dravik query
    expect_output < <(result 'Error(0110): Parse command output failed.')
    same 1 "$status"
}

@test "a full /dumps costs the names' memory and the log, not the display" {
    make_host
    sim fill-disk
    run in_host dravik query
    expect_output < <(whole_default_topology)
    same 0 "$status"
}
