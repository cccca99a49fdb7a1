#!/usr/bin/env bats
# A day of an administrator: every command in the order a person would use them, the host looked at after each.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

A=3600b5d60001a2b3c0000000000000001
TABLE=$(printf '=%.0s' {1..130})

maps() { sim listing | awk '/ dm-/ { print $1 }' | paste -sd ' '; }
daemon() { cat "$HOST/sim/services/dravikd.service.state"; }

# shows_backup STATES ONLINE: what "query backup" prints, STATES being those of sdb and sdc.
shows_backup() {
    dravik 0 query backup <<<"$LINE
path_alias: backup
wwid: $A
device_number: 0
vendor: KORVEL
product_type: QVX
lun_size: 10G
vdisk_name: vol_backup
host_interface: fc
$TABLE
dev_id dev_name dev_node path_policy        path_status dravik_status target_port          
8:16   sdb      1:0:0:1  round-robin-extend $1      running       0x20d0000b5d6a1010 
8:32   sdc      2:0:0:1  round-robin-extend active      running       0x20d0000b5d6a1020 
$LINE
$DONE"
}

# a_day GENERATION [nvme]: on a systemd or SysV host, without or with NVMe over Fabrics. The configuration file is
# compared after every step that may change it, and it always keeps what the host had of its own.
a_day() {
    local -a nvme=()
    local shown_nvme=''
    [[ ${2-} != nvme ]] || {
        nvme=(group_by_prio round-robin)
        shown_nvme=$'\nNVMe DISK: \ngroup_policy: group_by_prio\nchooser_type: round-robin\n'
    }
    make_host_at "$1" --generation "$1" --scenario "volume mpatha transport=fc wwid=$A vdisk=vol_backup
  group prio=50
    path sdb 1:0:0:1 8:16 port=0x20d0000b5d6a1010
    path sdc 2:0:0:1 8:32 port=0x20d0000b5d6a1020
volume mpathb transport=fc paths=2"
    export SIMHOST_SLEEPS=1

    succeeds config
    configured group_by_prio round-robin round-robin ${nvme[@]+"${nvme[@]}"} | expect_conf
    succeeds config
    configured group_by_prio round-robin round-robin ${nvme[@]+"${nvme[@]}"} | expect_conf

    succeeds setpathpolicy -chooser round-robin-extend
    configured multibus service-time round-robin ${nvme[@]+"${nvme[@]}"} | expect_conf
    configured group_by_prio round-robin round-robin ${nvme[@]+"${nvme[@]}"} | expect_backup
    expect_text change_log <<'END'
The path group policy is changed from [ group_by_prio ] to [ multibus ]
The path chooser type is changed from [ round-robin ] to [ service-time ]
END

    dravik 0 lspathpolicy <<<"$LINE
SCSI DISK: 
chooser_type: round-robin-extend
$shown_nvme$LINE
$DONE"

    succeeds setalias -wwid "$A" -alias backup
    same 'backup mpathb' "$(maps)"
    dravik 0 lsalias <<<"$LINE
wwid                              alias                             
$A backup
$LINE
$DONE"
    shows_backup active

    succeeds setstate -path_alias backup -device_name sdb -state offline
    same 1 "$(sim listing | grep -c 'sdb 8:16 failed faulty running')"
    shows_backup failed
    succeeds setstate -path_alias backup -device_name sdb -state online
    same 1 "$(sim listing | grep -c 'sdb 8:16 active ready running')"
    shows_backup active

    {
        configured multibus service-time round-robin ${nvme[@]+"${nvme[@]}"}
        printf 'multipaths {\n    multipath {\n        wwid                   %s\n        alias                  backup\n    }\n}\n' "$A"
    } | expect_conf
    succeeds delalias -wwid "$A"
    # The section that was made for the alias stays for the next one.
    {
        configured multibus service-time round-robin ${nvme[@]+"${nvme[@]}"}
        printf 'multipaths {\n}\n'
    } | expect_conf
    dravik 0 lsalias <<<"$LINE
$LINE
$DONE"
    # The map keeps the name it has until it is built anew, as maps do.
    local name
    name=$(maps)
    name=${name%% *}
    succeeds delete "$name"
    same mpathb "$(maps)"
    sim state >"$BATS_TEST_TMPDIR/state"
    [[ ! -e $HOST/sys/block/sdb && ! -e $HOST/sys/block/sdc ]]

    # The volume is mapped to the host still: a refresh finds it again.
    succeeds refresh
    sim rescan
    same 1 "$(sim listing | grep -c "$A")"

    dravik 0 status <<<"$LINE
Service status: active
$LINE
$DONE"
    succeeds stop
    same inactive "$(daemon)"
    dravik 0 status <<<"$LINE
Service status: inactive
$LINE
$DONE"
    succeeds start
    same active "$(daemon)"
}

@test "a day on RHEL 7" { a_day rhel7; }
@test "a day on RHEL 6" { a_day rhel6; }
@test "a day on SLES 11 SP4" { a_day sles11sp4; }
@test "a day on Oracle Linux 8" { a_day oracle8; }
@test "a day on RHEL 8" { a_day rhel8 nvme; }
@test "a day on SLES 12 SP6" { a_day sles12sp6 nvme; }
@test "a day on SLES 15" { a_day sles15 nvme; }
