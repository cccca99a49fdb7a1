#!/usr/bin/env bats
# Paths that look alike from outside, such as those that share a link below /dev/disk/by-path, are never taken for one
# another, neither when they are recorded nor when they are brought back.

load ../support/simulated_host
load ../support/scripts_on_host

setup() { make_script_host --dumps; }

RECORD=/dumps/dravik_offline_paths
record() { cat "$HOST$RECORD"; }
daemon_calls() { calls | grep '^dravikd' || true; }

TARGET=iqn.2010-06.com.korvel:qvx.6a10
LINK=ip-192.168.1.10:3260-iscsi-$TARGET-lun-1
VOLUME=naa.600b5d60001a2b3c0000000000000004

# kernel_shows NAME FOLDER: the folder below /sys/devices that the path NAME has on a real host.
kernel_shows() {
    local device=$HOST/sys/block/$1/device folder=$HOST/sys/devices/$2
    mkdir -p "$folder/block/$1"
    mv "$device"/* "$folder/"
    rmdir "$device"
    ln -s "../../devices/$2" "$device"
    mkdir -p "$HOST/sys/bus/scsi/devices"
    ln -s "../../../devices/$2" "$HOST/sys/bus/scsi/devices/${2##*/}"
}

# session NUMBER INTERFACE [PORTAL]: an iSCSI session, on a host of its own.
session() {
    local folder=$HOST/sys/devices/platform/host$1/session$1
    local class=$HOST/sys/class/iscsi_session/session$1
    local connection=$HOST/sys/class/iscsi_connection/connection$1:0
    mkdir -p "$folder" "$class" "$connection"
    ln -s "../../../devices/platform/host$1/session$1" "$class/device"
    echo "$TARGET" >"$class/targetname"
    echo iqn.1994-05.com.example:h1 >"$class/initiatorname"
    echo "$2" >"$class/ifacename"
    echo "${3:-192.168.1.10}" >"$connection/persistent_address"
    echo 3260 >"$connection/persistent_port"
}

# iscsi_path NAME SESSION [LUN]: one of the volume's paths.
iscsi_path() {
    kernel_shows "$1" "platform/host$2/session$2/target$2:0:0/$2:0:0:${3:-1}"
    echo "$VOLUME" >"$HOST/sys/block/$1/device/wwid"
}

# iscsi_key INTERFACE: what tells that path.
iscsi_key() {
    echo "target=$TARGET,portal=192.168.1.10:3260,iface=$1,initiator=iqn.1994-05.com.example:h1${2-},lun=1"
}

# Two paths to one portal by two interfaces. Their link leads to the one that came last.
two_sessions() {
    session 9 eth1
    session 10 eth2
    iscsi_path sdj 9
    iscsi_path sdk 10
    share_link sdk
}

share_link() {
    rm -f "$HOST"/dev/disk/by-path/ip-*
    ln -s "../../$1" "$HOST/dev/disk/by-path/$LINK"
}

# The host starts again: sessions and paths have other numbers and names.
renumber_sessions() {
    mv "$HOST/sys/block/sdj" "$HOST/sys/block/was_sdj"
    mv "$HOST/sys/block/sdk" "$HOST/sys/block/was_sdk"
    rm -r "$HOST"/sys/class/iscsi_*
    mv "$HOST/sys/devices/platform" "$HOST/sys/devices/before"
    session 3 eth2
    session 4 eth1
    mkdir -p "$HOST"/sys/block/sd{j,k}/device
    echo running | tee "$HOST/sys/block/sdj/device/state" >"$HOST/sys/block/sdk/device/state"
    iscsi_path sdj 3
    iscsi_path sdk 4
}

@test "two iSCSI paths that share a link are recorded as two" {
    two_sessions
    for name in sdj sdk sdj; do
        run script path_state_record add "$name"
        answers 0 ""
    done
    expect_text record <<END
iscsi $(iscsi_key eth1) $VOLUME sdj
iscsi $(iscsi_key eth2) $VOLUME sdk
END
}

@test "of two iSCSI paths that share a link the one that is online again is taken out" {
    two_sessions
    script path_state_record add sdj
    script path_state_record del sdk
    expect_text record <<<"iscsi $(iscsi_key eth1) $VOLUME sdj"
    script path_state_record add sdk
    script path_state_record del sdj
    expect_text record <<<"iscsi $(iscsi_key eth2) $VOLUME sdk"
}

@test "of two iSCSI paths that share a link the recorded one is brought back, whatever its name is now" {
    two_sessions
    script path_state_record add sdj
    run script run_all_offline_path
    answers 0 "sdj: online again"
    script path_state_record add sdj
    renumber_sessions
    forget
    run script run_all_offline_path
    answers 0 "sdk: online again"
    expect_text daemon_calls <<<"dravikd reinstate path sdk"
    expect_text record </dev/null
}

@test "an iSCSI path whose session is gone stays recorded, and no other is brought back for it" {
    two_sessions
    script path_state_record add sdj
    rm -r "$HOST/sys/class/iscsi_session/session9" "$HOST/sys/block/sdj"
    run script run_all_offline_path
    answers 0 "$(iscsi_key eth1) (was sdj): not here now; it stays recorded"
    expect_text daemon_calls </dev/null
    expect_text record <<<"iscsi $(iscsi_key eth1) $VOLUME sdj"
}

@test "sessions that are alike in everything are counted in the order of their numbers" {
    session 9 default
    session 10 default
    iscsi_path sdj 9
    iscsi_path sdk 10
    script path_state_record add sdk
    script path_state_record add sdj
    expect_text record <<END
iscsi $(iscsi_key default ,nth=2) $VOLUME sdk
iscsi $(iscsi_key default) $VOLUME sdj
END
    run script run_all_offline_path
    answers 0 "sdk: online again
sdj: online again"
}

@test "the units below one iSCSI session are several paths" {
    session 9 eth1
    iscsi_path sdj 9 1
    iscsi_path sdk 9 21
    script path_state_record add sdk
    expect_text record <<<"iscsi $(iscsi_key eth1 | sed 's/lun=1$/lun=21/') $VOLUME sdk"
    run script run_all_offline_path
    answers 0 "sdk: online again"
}

@test "foreign words in what a session tells stay one word of the record" {
    session 9 $'e th\t1,lun=7 \e[2J'
    iscsi_path sdj 9
    script path_state_record add sdj
    expect_text record <<<"iscsi $(iscsi_key e_th_1_lun=7___2J) $VOLUME sdj"
    run script run_all_offline_path
    answers 0 "sdj: online again"
}

@test "an iSCSI path of whose session the kernel tells nothing is recorded by its link" {
    session 9 eth1
    iscsi_path sdj 9
    rm -r "$HOST"/sys/class/iscsi_*
    share_link sdj
    script path_state_record add sdj
    expect_text record <<<"scsi $LINK $VOLUME sdj"
    run script run_all_offline_path
    answers 0 "sdj: online again"
}

# fc_port NUMBER TARGET: a remote port behind the host port NUMBER, whose own name ends in it.
fc_port() {
    mkdir -p "$HOST/sys/devices/pci/host$1/rport-$1:0-2" "$HOST/sys/class/fc_remote_ports/rport-$1:0-2" \
        "$HOST/sys/class/fc_host/host$1"
    ln -s "../../../devices/pci/host$1/rport-$1:0-2" "$HOST/sys/class/fc_remote_ports/rport-$1:0-2/device"
    echo "$2" >"$HOST/sys/class/fc_remote_ports/rport-$1:0-2/port_name"
    echo "0x21000024ff5d6a1$1" >"$HOST/sys/class/fc_host/host$1/port_name"
}

@test "Fibre Channel paths of two ports of one adapter's function are told by both ends" {
    fc_port 1 0x20d0000b5d6a1010
    fc_port 6 0x20d0000b5d6a1010
    kernel_shows sdb pci/host1/rport-1:0-2/target1:0:0/1:0:0:1
    kernel_shows sdc pci/host6/rport-6:0-2/target6:0:0/6:0:0:1
    rm "$HOST"/dev/disk/by-path/pci-0000:05:00.1-fc-0x20d0000b5d6a1020-lun-1
    volume=$(cat "$HOST/sys/block/sdb/device/wwid")
    same "$volume" "$(cat "$HOST/sys/block/sdc/device/wwid")"
    script path_state_record add sdb
    script path_state_record add sdc
    expect_text record <<END
fc initiator=0x21000024ff5d6a11,target=0x20d0000b5d6a1010,lun=1 $volume sdb
fc initiator=0x21000024ff5d6a16,target=0x20d0000b5d6a1010,lun=1 $volume sdc
END
    script path_state_record del sdb
    run script run_all_offline_path
    answers 0 "sdc: online again"
}

@test "a remote port that came back under another number has the path" {
    fc_port 1 0x20d0000b5d6a1010
    kernel_shows sdb pci/host1/rport-1:0-2/target1:0:0/1:0:0:1
    script path_state_record add sdb
    rm "$HOST"/dev/disk/by-path/pci-*
    # The old one stays for a while, without units.
    class=$HOST/sys/class/fc_remote_ports
    mkdir -p "$class/rport-1:0-9"
    echo 0x20d0000b5d6a1010 >"$class/rport-1:0-9/port_name"
    mv "$HOST/sys/devices/pci/host1/rport-1:0-2" "$HOST/sys/devices/pci/host1/rport-1:0-9"
    ln -s ../../../devices/pci/host1/rport-1:0-9 "$class/rport-1:0-9/device"
    ln -sfn ../../devices/pci/host1/rport-1:0-9/target1:0:0/1:0:0:1 "$HOST/sys/block/sdb/device"
    run script run_all_offline_path
    answers 0 "sdb: online again"
}

# nvme_paths ADDRESS ADDRESS: of nvme8n1 and nvme9n1, which are paths to one namespace.
nvme_paths() {
    echo "$1" >"$HOST/sys/block/nvme8n1/device/address"
    echo "$2" >"$HOST/sys/block/nvme9n1/device/address"
    cp "$HOST/sys/block/nvme8n1/wwid" "$HOST/sys/block/nvme9n1/wwid"
    cp "$HOST/sys/block/nvme8n1/nsid" "$HOST/sys/block/nvme9n1/nsid"
    NAMESPACE=$(cat "$HOST/sys/block/nvme8n1/wwid")
}
subsystem() { echo "$2" >"$HOST/sys/block/$1/device/subsysnqn"; }

# swap_nvme: the two change names.
swap_nvme() {
    mv "$HOST/sys/block/nvme8n1" "$HOST/sys/block/gone"
    mv "$HOST/sys/block/nvme9n1" "$HOST/sys/block/nvme8n1"
    mv "$HOST/sys/block/gone" "$HOST/sys/block/nvme9n1"
}

PORTAL=traddr=192.168.1.20,trsvcid=4420

@test "NVMe paths that differ in the host's interface alone are two" {
    nvme_paths $PORTAL,host_iface=eth1,src_addr=192.168.1.2 $PORTAL,host_iface=eth2,src_addr=192.168.1.3
    script path_state_record add nvme8n1
    script path_state_record add nvme9n1
    expect_text record <<END
nvme $PORTAL,host_iface=eth1,nsid=1 $NAMESPACE nvme8n1
nvme $PORTAL,host_iface=eth2,nsid=1 $NAMESPACE nvme9n1
END
    script path_state_record del nvme8n1
    swap_nvme
    run script run_all_offline_path
    answers 0 "nvme8n1: online again"
}

@test "NVMe paths to two subsystems behind one address are two" {
    nvme_paths $PORTAL $PORTAL
    subsystem nvme8n1 nqn.2010-06.com.korvel:a
    subsystem nvme9n1 nqn.2010-06.com.korvel:b
    script path_state_record add nvme9n1
    expect_text record <<<"nvme $PORTAL,subsysnqn=nqn.2010-06.com.korvel:b,nsid=1 $NAMESPACE nvme9n1"
    swap_nvme
    run script run_all_offline_path
    answers 0 "nvme8n1: online again"
}

@test "NVMe controllers that are alike in everything are counted in the order of their numbers" {
    mv "$HOST/sys/block/nvme9n1" "$HOST/sys/block/nvme10n1"
    mkdir "$HOST/sys/block/nvme9n1" "$HOST/sys/block/nvme9n1/device"
    nvme_paths $PORTAL $PORTAL
    cp "$HOST"/sys/block/nvme9n1/{wwid,nsid} "$HOST/sys/block/nvme10n1"
    echo $PORTAL >"$HOST/sys/block/nvme10n1/device/address"
    script path_state_record add nvme10n1
    script path_state_record add nvme8n1
    expect_text record <<END
nvme $PORTAL,nth=3,nsid=1 $NAMESPACE nvme10n1
nvme $PORTAL,nsid=1 $NAMESPACE nvme8n1
END
}

@test "what an earlier version recorded is brought back" {
    two_sessions
    nvme_paths $PORTAL,host_iface=eth1 $PORTAL,host_iface=eth2
    # Of those that share a link or an address, the name of the time tells.
    printf '%s\n' "scsi $LINK $VOLUME sdj" "nvme $PORTAL,nsid=1 $NAMESPACE nvme9n1" >"$HOST$RECORD"
    run script run_all_offline_path
    answers 0 "sdj: online again
nvme9n1: online again"
    # Else the link, or the first.
    printf '%s\n' "scsi $LINK $VOLUME sdzz" "nvme $PORTAL,nsid=1 $NAMESPACE nvme77n1" >"$HOST$RECORD"
    run script run_all_offline_path
    answers 0 "sdk: online again
nvme8n1: online again"
    expect_text record </dev/null
}

@test "what an earlier version recorded is renewed, and taken out, with the next path" {
    two_sessions
    nvme_paths $PORTAL,host_iface=eth1 $PORTAL,host_iface=eth2
    fc_port 1 0x20d0000b5d6a1010
    kernel_shows sdb pci/host1/rport-1:0-2/target1:0:0/1:0:0:1
    volume=$(cat "$HOST/sys/block/sdb/device/wwid")
    cat >"$HOST$RECORD" <<END
scsi $LINK $VOLUME sdj
rubbish
nvme $PORTAL,nsid=1 $NAMESPACE nvme9n1
scsi pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 $volume sdb
scsi pci-0000:05:00.1-fc-0xffff-lun-1 $volume sdzz
hctl 9:0:0:1 $VOLUME sdj
END
    script path_state_record add sdk
    expect_text record <<END
iscsi $(iscsi_key eth1) $VOLUME sdj
rubbish
nvme $PORTAL,host_iface=eth2,nsid=1 $NAMESPACE nvme9n1
fc initiator=0x21000024ff5d6a11,target=0x20d0000b5d6a1010,lun=1 $volume sdb
scsi pci-0000:05:00.1-fc-0xffff-lun-1 $volume sdzz
iscsi $(iscsi_key eth1) $VOLUME sdj
iscsi $(iscsi_key eth2) $VOLUME sdk
END
    script path_state_record del sdj
    script path_state_record del sdb
    script path_state_record del nvme9n1
    expect_text record <<END
rubbish
scsi pci-0000:05:00.1-fc-0xffff-lun-1 $volume sdzz
iscsi $(iscsi_key eth2) $VOLUME sdk
END
}

@test "where the paths cannot be told apart because a tool fails, nothing is recorded" {
    two_sessions
    stand_in sort <<<$'#!/bin/bash\nexit 1'
    for script in 'path_state_record add sdj' 'path_state_record del sdj'; do
        # shellcheck disable=SC2086 # two words and more
        run script $script
        answers 1 "path_state_record.sh: cannot tell the host's iscsi paths apart"
    done
    [[ ! -e $HOST$RECORD ]]
}
