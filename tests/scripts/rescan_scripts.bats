#!/usr/bin/env bats
# g2dravikscan.sh, discoverfcnvme.sh and fc_info.sh: what they write and call, and hosts without hardware.

load ../support/simulated_host
load ../support/scripts_on_host

setup() {
    make_script_host
    # shellcheck disable=SC2153 # set by make_script_host
    SCSI=$HOST/sys/class/scsi_host
    FC=$HOST/sys/class/fc_host
    # Tools that write down how they were called, and end as /tmp/NAME.status says.
    for name in iscsiadm udevadm nvme; do
        stand_in "$name" <<'E'
#!/bin/bash
echo "${0##*/} $*" >>/sim/calls.log
[[ ! -e /tmp/${0##*/}.status ]] || exit "$(</tmp/${0##*/}.status)"
E
    done
}

# The simulated host's own tools would wait at a pipe for ever.
teardown() {
    find "$HOST/sys" -type p -delete
    drop_hosts
}

@test "every SCSI host and the iSCSI sessions are scanned, then udev is waited for" {
    run script g2dravikscan
    answers 0 ""
    for host in 0 1 2 4 5; do
        same "- - -" "$(cat "$SCSI/host$host/scan")"
    done
    expect_text calls <<'END'
iscsiadm -m session --rescan
udevadm settle --timeout=60
END
}

@test "a deleted path is found again by the scan" {
    in_host bash -c 'echo 1 >/sys/block/sdc/device/delete'
    in_host velomux -ll | grep -qw sdc && false
    script g2dravikscan
    in_host velomux -ll | grep -qw sdc
}

@test "no iSCSI session is no failure, a session that cannot be scanned is one" {
    echo 21 >"$HOST/tmp/iscsiadm.status"
    run script g2dravikscan
    answers 0 ""
    echo 1 >"$HOST/tmp/iscsiadm.status"
    run script g2dravikscan
    answers 1 "g2dravikscan.sh: the iSCSI sessions cannot be scanned"
}

@test "a host without SCSI adapters, iscsiadm and udevadm succeeds" {
    rm -r "$SCSI" "$HOST/usr/sbin/iscsiadm" "$HOST/usr/sbin/udevadm"
    run script g2dravikscan
    answers 0 ""
}

@test "an adapter that refuses is said, and the others are scanned" {
    rm "$SCSI/host1/scan"
    mkdir "$SCSI/host1/scan"
    run script g2dravikscan
    answers 1 "g2dravikscan.sh: host1 cannot be scanned"
    same "- - -" "$(cat "$SCSI/host5/scan")"
}

@test "an adapter that hangs is said and left behind, and nobody who reads the output waits for it" {
    set_limit g2dravikscan SCAN_SECONDS 1
    rm "$SCSI/host2/scan"
    mkfifo "$SCSI/host2/scan"
    # "run" reads to the end of the output, as the programs do.
    run script g2dravikscan
    answers 1 "g2dravikscan.sh: host2 is still being scanned after 1 seconds"
    same "- - -" "$(cat "$SCSI/host5/scan")"
    # The writer left behind gets its reader and ends.
    same "- - -" "$(timeout 5 cat "$SCSI/host2/scan")"
}

@test "a udev that stays busy is said, and is no failure" {
    echo 1 >"$HOST/tmp/udevadm.status"
    run script g2dravikscan
    answers 0 "g2dravikscan.sh: udev is still busy after a minute; some devices may appear later"
}

# remote_port NAME STATE ROLES NUMBER
remote_port() {
    local port=$HOST/sys/class/fc_remote_ports/$1
    mkdir -p "$port"
    echo "$2" >"$port/port_state"
    echo "$3" >"$port/roles"
    echo "0x20d0000b5d6a200$4" >"$port/node_name"
    echo "0x20d0000b5d6a101$4" >"$port/port_name"
}

@test "the kernel is asked to announce NVMe ports, and the tool connects to each that is online" {
    mkdir -p "$HOST/sys/class/fc/fc_udev_device"
    : >"$HOST/sys/class/fc/fc_udev_device/nvme_discovery"
    remote_port rport-1:0-2 Online 'NVMe Target, NVMe Discovery' 0
    remote_port rport-2:0-3 Online 'NVMe Discovery' 1
    remote_port rport-1:0-4 Offline 'NVMe Target' 2
    remote_port rport-1:0-5 Online 'FCP Target' 3
    remote_port rport-1:0-6 Online 'NVMe Initiator' 4
    remote_port rport-9:0-1 Online 'NVMe Target' 5
    run script discoverfcnvme
    answers 0 ""
    same add "$(cat "$HOST/sys/class/fc/fc_udev_device/nvme_discovery")"
    expect_text calls <<'END'
nvme connect-all --transport=fc --host-traddr=nn-0x20000024ff5d6a11:pn-0x21000024ff5d6a11 --traddr=nn-0x20d0000b5d6a2000:pn-0x20d0000b5d6a1010
nvme connect-all --transport=fc --host-traddr=nn-0x20000024ff5d6a12:pn-0x21000024ff5d6a12 --traddr=nn-0x20d0000b5d6a2001:pn-0x20d0000b5d6a1011
udevadm settle --timeout=60
END
}

@test "a port whose names are no port names never reaches a command line" {
    remote_port rport-1:0-2 Online 'NVMe Target' 0
    echo '0x1 --reset' >"$HOST/sys/class/fc_remote_ports/rport-1:0-2/port_name"
    run script discoverfcnvme
    answers 0 ""
    expect_text calls <<<"udevadm settle --timeout=60"
}

@test "a tool that finds everything connected already is no failure, one that hangs is said" {
    remote_port rport-1:0-2 Online 'NVMe Target' 0
    echo 1 >"$HOST/tmp/nvme.status"
    run script discoverfcnvme
    answers 0 ""
    stand_in nvme <<<$'#!/bin/bash\nsleep 100'
    set_limit discoverfcnvme CONNECT_SECONDS 1
    run script discoverfcnvme
    answers 0 "discoverfcnvme.sh: nn-0x20d0000b5d6a2000:pn-0x20d0000b5d6a1010 did not answer within 1 seconds"
}

@test "a host without NVMe over Fibre Channel and without the nvme tool succeeds" {
    rm "$HOST/usr/sbin/nvme" "$HOST/usr/sbin/udevadm"
    run script discoverfcnvme
    answers 0 ""
    expect_text calls </dev/null
}

@test "a kernel that refuses the announcement is said" {
    mkdir -p "$HOST/sys/class/fc/fc_udev_device/nvme_discovery"
    run script discoverfcnvme
    answers 1 "discoverfcnvme.sh: /sys/class/fc/fc_udev_device/nvme_discovery cannot be written"
}

@test "the ports are shown as one table, in the order of the hosts' numbers" {
    mkdir -p "$FC/host10"
    echo "0x21000024ff5d6a10" >"$FC/host10/port_name"
    echo "Linkdown" >"$FC/host10/port_state"
    printf 'un\001known \n' >"$FC/host10/speed"
    run script fc_info
    expect_output <<'END'
HOST    WWPN                WWNN                STATE     SPEED     TOPOLOGY                           DRIVER
host1   0x21000024ff5d6a11  0x20000024ff5d6a11  Online    16 Gbit   NPort (fabric via point-to-point)  simhba
host2   0x21000024ff5d6a12  0x20000024ff5d6a12  Online    16 Gbit   NPort (fabric via point-to-point)  simhba
host10  0x21000024ff5d6a10  -                   Linkdown  un?known  -                                  -
END
    same 0 "$status"
}

@test "a host without Fibre Channel ports is told so, and succeeds" {
    rm -r "$FC"
    run script fc_info
    answers 0 "No Fibre Channel port was found on this host."
    mkdir "$FC"
    run script fc_info
    answers 0 "No Fibre Channel port was found on this host."
}

@test "with \"fields\" a port is a line of its seven values, and a host without ports has none" {
    mkdir -p "$FC/host10"
    echo "0x21000024ff5d6a10" >"$FC/host10/port_name"
    printf 'un\001kno\twn \n' >"$FC/host10/speed"
    run script fc_info fields
    same 0 "$status"
    expect_output <<END
$(printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' \
        host1 0x21000024ff5d6a11 0x20000024ff5d6a11 Online "16 Gbit" "NPort (fabric via point-to-point)" simhba \
        host2 0x21000024ff5d6a12 0x20000024ff5d6a12 Online "16 Gbit" "NPort (fabric via point-to-point)" simhba \
        host10 0x21000024ff5d6a10 "" "" 'un?kno?wn' "" "")
END
    rm -r "$FC"
    run script fc_info fields
    answers 0 ""
}

@test "arguments are answered with the usage line" {
    for name in g2dravikscan discoverfcnvme; do
        run script "$name" all
        answers 2 "$name.sh: takes no arguments
usage: $name.sh"
        run script "$name" --help
        answers 0 "usage: $name.sh"
    done
}

@test "any other argument of fc_info.sh is answered with its usage line" {
    local usage="fc_info.sh: takes no arguments but \"fields\"
usage: fc_info.sh [fields]"
    run script fc_info all
    answers 2 "$usage"
    run script fc_info fields all
    answers 2 "$usage"
    run script fc_info --help
    answers 0 "usage: fc_info.sh [fields]"
}
