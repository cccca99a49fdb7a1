#!/usr/bin/env bats
# What the tool answers to every kind of wrong parameter: the printed record and the exit status, and nothing run.
# shellcheck disable=SC2016 # what stands in single quotes is hostile text, not to be expanded

bats_require_minimum_version 1.5.0
load ../support/simulated_host

LINE=$(printf -- '-%.0s' {1..130})
SCSI=3600b5d60001a2b3c0000000000000001
NVME=eui.6a1010000b5d6a100000000000000008
A60=$(printf 'a%.0s' {1..60})

# refused RECORD ARGUMENTS...
refused() {
    local record=$1
    shift
    run --separate-stderr in_host dravik "$@"
    same "$LINE
$record
$LINE" "$output"
    # shellcheck disable=SC2154 # set by run
    same "" "$stderr"
    same 1 "$status"
}

# nothing_was_run: no child process at all.
nothing_was_run() { expect_text shells </dev/null; }

NUMBER='Error(0141): Wrong number of parameter, duplicate parameter may exist.'
DEVICE_FORMAT='Error(0132): Wrong format of device name.'
DEVICE_LENGTH='Error(0131): Wrong length of device name.'
WWID_LENGTH='Error(0125): Wrong length of parameter [-wwid] value.'
WWID_FORMAT='Error(0126): Wrong format of parameter [-wwid] value.'
STATE_MISSING='Error(0111): Missing parameter [-device_name] or [-path_alias] or [-state].'

@test "commands without parameters take none" {
    make_host
    local name
    for name in aggregation config lsalias lspathpolicy restart scan start status stop version port refresh; do
        refused 'Error(0105): Invalid command parameter [-x].' "$name" -x y
        refused 'Error(0105): Invalid command parameter [].' "$name" ''
    done
    nothing_was_run
}

@test "delete" {
    make_host
    refused 'Error(0106): Missing deleted velomux.' delete
    refused "$NUMBER" delete mpatha mpathb
    refused "$DEVICE_LENGTH" delete "${A60}a"
    refused "$DEVICE_FORMAT" delete '9lives'
    refused "$DEVICE_FORMAT" delete '_a'
    refused "$DEVICE_FORMAT" delete 'a;b'
    refused "$DEVICE_FORMAT" delete ''
    refused "$DEVICE_FORMAT" delete "${SCSI}0"
    nothing_was_run
}

@test "query" {
    make_host
    refused "$NUMBER" query mpatha mpathb
    refused "$DEVICE_LENGTH" query "${A60}a"
    refused "$DEVICE_FORMAT" query '9lives'
    refused "$DEVICE_FORMAT" query '$(id)'
    refused "$DEVICE_FORMAT" query ''
    nothing_was_run
    refused "Error(0133): This device [$A60] does not exist." query "$A60"
}

@test "devstats" {
    make_host
    refused "$NUMBER" devstats -interval 1 -path_alias a -x
    refused 'Error(0103): Invalid command parameter name [-alias].' devstats -alias a
    refused 'Error(0108): Missing value for the parameter [-interval].' devstats -interval
    refused 'Error(0108): Missing value for the parameter [-interval].' devstats -interval 1 -interval
    refused 'Error(0109): Duplicated parameter [-interval].' devstats -interval 1 -interval 2
    refused 'Error(0109): Duplicated parameter [-path_alias].' devstats -path_alias a -path_alias b
    refused 'Error(0146): Wrong format of parameter [-interval] value.' devstats -interval 1s
    refused 'Error(0146): Wrong format of parameter [-interval] value.' devstats -interval -1
    refused "$DEVICE_FORMAT" devstats -interval 1 -path_alias 9
    nothing_was_run
    # No limit of the length here; the record shows the first 64 characters.
    refused "Error(0133): This device [${A60}aaaa] does not exist." devstats -interval 1 -path_alias "${A60}aaaaaaaa"
}

@test "setstate" {
    make_host
    refused "$STATE_MISSING" setstate
    refused "$STATE_MISSING" setstate -path_alias mpatha -device_name sdb
    refused "$STATE_MISSING" setstate -path_alias mpatha -state online
    refused "$STATE_MISSING" setstate -path_alias mpatha -device_name sdb -device_name sdc
    refused "$STATE_MISSING" setstate -state online -device_name sdb -device_name sdc
    refused 'Error(0104): Invalid command parameter value [on].' setstate -path_alias mpatha -device_name sdb -state on
    refused 'Error(0104): Invalid command parameter value [].' setstate -path_alias mpatha -device_name sdb -state ''
    refused 'Error(0103): Invalid command parameter name [sdb].' setstate sdb offline
    refused 'Error(0108): Missing value for the parameter [-state].' setstate -path_alias mpatha -device_name sdb -state
    refused "$NUMBER" setstate -path_alias a -device_name b -state online -state offline
    nothing_was_run
}

@test "setpathpolicy" {
    make_host
    local missing='Error(0107): Missing parameter [-chooser].'
    refused "$missing" setpathpolicy
    refused "$missing" setpathpolicy -scsi
    refused "$missing" setpathpolicy -nvme
    refused 'Error(0139): Need to set -scsi first, and then set parameter [-chooser].' \
        setpathpolicy -chooser round-robin-extend -scsi
    refused 'Error(0140): Need to set -nvme first, and then set parameter [-chooser].' \
        setpathpolicy -chooser round-robin-extend -nvme
    refused 'Error(0103): Invalid command parameter name [-policy].' setpathpolicy -policy round-robin-extend
    refused 'Error(0103): Invalid command parameter name [-nvme].' setpathpolicy -scsi -nvme
    refused 'Error(0108): Missing value for the parameter [-chooser].' setpathpolicy -nvme -chooser
    refused 'Error(0104): Invalid command parameter value [round-robin].' setpathpolicy -chooser round-robin
    refused 'Error(0109): Duplicated parameter [x].' setpathpolicy -chooser round-robin-extend -chooser x
    nothing_was_run
}

@test "setalias" {
    make_host
    refused 'Error(0117): Missing parameters [-alias] and [-wwid].' setalias
    refused 'Error(0119): Missing parameter [-wwid].' setalias -alias a
    refused 'Error(0118): Missing parameter [-alias].' setalias -wwid "$SCSI"
    refused 'Error(0103): Invalid command parameter name [-name].' setalias -name a
    refused 'Error(0108): Missing value for the parameter [-alias].' setalias -wwid "$SCSI" -alias
    refused 'Error(0109): Duplicated parameter [-wwid].' setalias -wwid a -wwid b
    refused "$NUMBER" setalias -alias '' -alias b -wwid "$SCSI"
    refused "$WWID_LENGTH" setalias -wwid "${SCSI}0" -alias a
    refused "$WWID_LENGTH" setalias -wwid "${NVME}0" -alias a
    refused "$WWID_FORMAT" setalias -wwid "${SCSI%1}g" -alias a
    refused "$WWID_FORMAT" setalias -wwid "${NVME%8};" -alias a
    refused "$WWID_FORMAT" setalias -wwid "nqn.2014" -alias a
    refused 'Error(0142): For the wwid parameter, please use lowercase letters.' setalias -wwid "${SCSI%1}F" -alias a
    refused 'Error(0129): Wrong length of parameter [-alias] value.' setalias -wwid "$SCSI" -alias "${A60}a"
    refused 'Error(0130): Wrong format of parameter [-alias] value.' setalias -wwid "$SCSI" -alias '9a'
    refused 'Error(0130): Wrong format of parameter [-alias] value.' setalias -wwid "$SCSI" -alias 'a b'
    refused 'Error(0143): Format error, alias value should be the same as wwid value.' \
        setalias -wwid "$SCSI" -alias "${SCSI%1}2"
    refused 'Error(0141): Please do not use an alias that starts with idisk.' setalias -wwid "$SCSI" -alias idisk5
    nothing_was_run
}

@test "delalias" {
    make_host
    refused 'Error(0119): Missing parameter [-wwid].' delalias
    refused 'Error(0103): Invalid command parameter name [-alias].' delalias -alias a
    refused 'Error(0108): Missing value for the parameter [-wwid].' delalias -wwid
    refused "$NUMBER" delalias -wwid "$SCSI" x
    nothing_was_run
}
