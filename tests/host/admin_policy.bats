#!/usr/bin/env bats
# setpathpolicy and lspathpolicy: the configuration file, its backup, the change log and the daemon's reload.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

BACK_UP='\cp -fp /etc/velomux.conf /etc/velomux.conf.bk 2>&1'
ROLL_BACK='\cp -fp /etc/velomux.conf.bk /etc/velomux.conf 2>&1'
QUERY='bash /usr/bin/dravik-script/policy.sh query 2>&1'
SYSTEMD_RELOAD='bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl status dravikd.service 2>&1
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl reload dravikd.service 2>&1'

# set_lines GROUP SELECTOR OTHERS: the three scripts of a SCSI request.
set_lines() {
    cat <<END
bash /usr/bin/dravik-script/policy.sh set $1 "$2" 2>&1
bash /usr/bin/dravik-script/policy_hw.sh set $1 "$3" 2>&1
bash /usr/bin/dravik-script/policy_rl.sh set $1 "$3" 2>&1
END
}

# shows CHOOSER [NVME-GROUP NVME-CHOOSER]: what "lspathpolicy" prints.
shows() {
    local nvme=''
    (($# < 3)) || nvme="

NVMe DISK: 
group_policy: $2
chooser_type: $3"
    dravik 0 lspathpolicy <<<"$LINE
SCSI DISK: 
chooser_type: $1$nvme
$LINE
$DONE"
}

configured_host() {
    make_host_at "$1" --generation "$1"
    succeeds config
    forget
}

@test "each selector is written to the SCSI blocks, service-time to the maker's alone" {
    local chooser selector others
    while read -r chooser selector others; do
        configured_host rhel8
        succeeds setpathpolicy -chooser "$chooser"
        expect_text ran <<<"$BACK_UP
$QUERY
$(set_lines multibus "$selector" "$others")
$SYSTEMD_RELOAD"
        configured multibus "$selector" "$others" group_by_prio round-robin | expect_conf
        configured group_by_prio round-robin round-robin group_by_prio round-robin | expect_backup
        shows "$chooser" group_by_prio round-robin
        rm -rf "$HOST"
    done <<'END'
smart-distribution-extend round-robin round-robin
least-queue-depth-extend queue-length queue-length
round-robin-extend service-time round-robin
END
}

@test "the change log names what changed and nothing else" {
    configured_host rhel8
    succeeds setpathpolicy -chooser smart-distribution-extend
    expect_text change_log <<<'The path group policy is changed from [ group_by_prio ] to [ multibus ]'
    forget
    succeeds setpathpolicy -scsi -chooser smart-distribution-extend
    expect_text change_log </dev/null
    succeeds setpathpolicy -scsi -chooser least-queue-depth-extend
    expect_text change_log <<<'The path chooser type is changed from [ round-robin ] to [ queue-length ]'
}

@test "with -nvme only the NVMe block changes, where the distribution can do it" {
    local generation
    for generation in rhel8 rhel9 sles12sp6 sles15; do
        configured_host "$generation"
        succeeds setpathpolicy -nvme -chooser round-robin-extend
        expect_text ran <<<"$BACK_UP
$QUERY
bash /usr/bin/dravik-script/policy_nvme.sh set multibus \"service-time\" 2>&1
 2>&1
 2>&1
$SYSTEMD_RELOAD"
        configured group_by_prio round-robin round-robin multibus service-time | expect_conf
        shows smart-distribution-extend multibus service-time
    done
}

@test "with -nvme on any other distribution nothing is changed" {
    local generation name
    while IFS=: read -r generation name; do
        configured_host "$generation"
        fails_with 'Error(0136): This OS is not support NVMe over Fabric.' setpathpolicy -nvme -chooser round-robin-extend
        expect_text ran </dev/null
        configured group_by_prio round-robin round-robin | expect_conf
        [[ ! -e $HOST/etc/velomux.conf.bk ]]
        same "ERROR setpathpolicy This OS $name is not support NVMe over Fabric." "$(errors)"
        shows smart-distribution-extend
    done <<'END'
rhel6:Red Hat Enterprise Linux Server 6.10 
rhel7:Red Hat Enterprise Linux Server 7.9 
centos7:CentOS Linux 7.9.2009 
oracle7:Oracle Linux Server 7.
oracle8:Oracle Linux Server 8.
END
}

@test "on a SysV host the daemon is asked and reloaded with service" {
    local generation
    for generation in rhel6 sles11sp4; do
        configured_host "$generation"
        succeeds setpathpolicy -chooser round-robin-extend
        expect_text ran <<<"$BACK_UP
$QUERY
$(set_lines multibus service-time round-robin)
service dravikd status 2>&1
service dravikd reload 2>&1"
        configured multibus service-time round-robin | expect_conf
    done
}

@test "with the daemon stopped the file is changed without a reload" {
    configured_host rhel8
    in_host systemctl stop dravikd.service
    forget
    succeeds setpathpolicy -chooser round-robin-extend
    expect_text ran <<<"$BACK_UP
$QUERY
$(set_lines multibus service-time round-robin)
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl status dravikd.service 2>&1"
    configured multibus service-time round-robin group_by_prio round-robin | expect_conf
}

@test "a host that was never configured is told so and keeps its file" {
    make_host
    fails_with 'Error(0134): No [scsi] device configuration information found, please execute "dravik config" command to configure first.' \
        setpathpolicy -chooser round-robin-extend
    expect_text ran <<<"$BACK_UP
$QUERY
$(set_lines multibus service-time round-robin)
$ROLL_BACK"
    stock_conf | expect_conf
    expect_text change_log </dev/null
    shows '' '' ''
}

@test "with -nvme on a host that was never configured the failure is not reported" {
    make_host
    succeeds setpathpolicy -nvme -chooser round-robin-extend
    stock_conf | expect_conf
}

@test "one block of three is enough" {
    make_host
    { stock_conf && block hitachi HITACHI '.*' 'hitachi ' group_by_prio round-robin tur alua; } >"$HOST/etc/velomux.conf"
    succeeds setpathpolicy -chooser least-queue-depth-extend
    { stock_conf && block hitachi HITACHI '.*' 'hitachi ' multibus queue-length tur alua; } | expect_conf
    expect_text change_log <<'END'
The path group policy is changed from [  ] to [ multibus ]
The path chooser type is changed from [  ] to [ queue-length ]
END
}

@test "all three scripts failing otherwise is a failed command, and the backup is restored" {
    configured_host rhel8
    local name
    for name in policy_hw.sh policy_rl.sh; do sim tool "$name" fail 1; done
    # The maker's script answers the query and then spoils the file before it fails.
    # shellcheck disable=SC2016 # the text is the script that the host gets
    printf '%s\n' '[ "$1" != query ] || { printf "multibus\nservice-time\n"; exit 0; }' \
        'echo spoilt > /etc/velomux.conf; exit 1' >"$HOST/usr/bin/dravik-script/policy.sh"
    dravik 1 setpathpolicy -chooser round-robin-extend <<<"$FAILED"
    same "$ROLL_BACK" "$(ran | tail -n 1)"
    configured group_by_prio round-robin round-robin group_by_prio round-robin | expect_conf
}

@test "a query that fails restores the backup" {
    configured_host rhel8
    sim tool policy.sh fail 1
    dravik 1 setpathpolicy -chooser round-robin-extend <<<"$FAILED"
    expect_text ran <<<"$BACK_UP
$QUERY
$ROLL_BACK"
    dravik 1 lspathpolicy <<<"$FAILED"
}

@test "lspathpolicy whose NVMe query fails ends after the SCSI part" {
    configured_host rhel8
    sim tool policy_nvme.sh missing
    dravik 1 lspathpolicy <<<"$LINE
SCSI DISK: 
chooser_type: smart-distribution-extend
$FAILED"
}

@test "a selector that is not the product's is shown as it stands" {
    configured_host rhel7
    sed -i 's/round-robin 0/rount-robin 0/' "$HOST/etc/velomux.conf"
    shows rount-robin
}
