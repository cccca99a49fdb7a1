#!/bin/bash -p
# Looks for new NVMe subsystems and namespaces over Fibre Channel.
# usage: discoverfcnvme.sh
# Promises:
# - The kernel is asked to announce the NVMe ports it sees (connecting is then the host's own automatic rules'
#   work), and where the nvme tool is installed it connects to every such port itself. What is connected stays
#   so; nothing is disconnected or reset.
# - The tool is given 30 seconds for each pair of ports. What it says is not judged: "connected already" is an
#   error to some of its versions.
# - When it returns, udev has made the nodes of what was found (it waits for a minute at most).
# - A host without NVMe over Fibre Channel is a success. Nothing is printed when all went well.
# Exit status: 0, 1 the kernel refused, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/sysfs.sh"
source "$LIB/rescan.sh"

readonly ANNOUNCE=/sys/class/fc/fc_udev_device/nvme_discovery
readonly CONNECT_SECONDS=30
RESULT=0

announce_ports() {
    [[ -e $ANNOUNCE ]] || return 0
    if ! { echo add >"$ANNOUNCE"; } 2>/dev/null; then
        warn "$ANNOUNCE cannot be written"
        RESULT=$EXIT_FAILED
    fi
}

# address FOLDER: the address of a local or remote port as the nvme tool takes it, into ADDRESS.
#     nn-0x20d0000b5d6a2000:pn-0x20d0000b5d6a1010
address() {
    class_value "$1/node_name"
    ADDRESS=nn-$VALUE
    class_value "$1/port_name"
    ADDRESS+=:pn-$VALUE
    [[ $ADDRESS =~ ^nn-0x[0-9a-f]+:pn-0x[0-9a-f]+$ ]]
}

# rport-1:0-2 is a remote port that host1 sees.
connect_port() {
    local port=$1 host=${1##*/rport-} remote status=0
    class_value "$port/port_state"
    [[ $VALUE == Online ]] || return 0
    class_value "$port/roles"
    [[ $VALUE == *NVMe*Target* || $VALUE == *NVMe*Discovery* ]] || return 0
    address "$port" || return 0
    remote=$ADDRESS
    address "/sys/class/fc_host/host${host%%:*}" || return 0
    timeout "$CONNECT_SECONDS" nvme connect-all --transport=fc --host-traddr="$ADDRESS" --traddr="$remote" \
        </dev/null >/dev/null 2>&1 || status=$?
    ((status != 124)) || warn "$remote did not answer within $CONNECT_SECONDS seconds"
}

connect_ports() {
    local port
    have_tool nvme || return 0
    for port in /sys/class/fc_remote_ports/rport-*; do
        [[ ! -d $port ]] || connect_port "$port"
    done
}

main() {
    take_no_arguments "$@"
    announce_ports
    connect_ports
    settle_devices
    exit "$RESULT"
}

main "$@"
