#!/bin/bash -p
# Looks for new LUNs on every SCSI host and in every iSCSI session.
# usage: g2dravikscan.sh
# Promises:
# - Running I/O is not disturbed: targets are asked for their LUNs, no loop is reset and no session is closed.
# - All hosts are asked at once. One that has not finished after five minutes is said and left to itself: a
#   process that hangs in the kernel cannot be ended, and must not hold the command for ever.
# - When it returns, udev has made the nodes of what was found (it waits for a minute at most).
# - A host without any SCSI adapter is a success. Nothing is printed when all went well.
# Exit status: 0, 1 some host or session could not be scanned, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/rescan.sh"

readonly SCAN_SECONDS=300
# What iscsiadm answers when there is no session.
readonly ISCSI_NO_SESSION=21
RESULT=0

# The writers get no descriptor of ours: whoever reads our output would wait for one that hangs.
scan_hosts() {
    local scan
    HOSTS=() WRITERS=()
    for scan in /sys/class/scsi_host/host*/scan; do
        [[ -e $scan ]] || continue
        { echo '- - -' >"$scan"; } </dev/null >/dev/null 2>&1 &
        WRITERS+=("$!")
        scan=${scan%/scan}
        HOSTS+=("${scan##*/}")
    done
}

await_hosts() {
    local i
    for i in ${WRITERS[@]+"${!WRITERS[@]}"}; do
        while kill -0 "${WRITERS[i]}" 2>/dev/null && ((SECONDS < SCAN_SECONDS)); do
            sleep 0.1
        done
        if kill -0 "${WRITERS[i]}" 2>/dev/null; then
            complain "${HOSTS[i]} is still being scanned after $SCAN_SECONDS seconds"
        elif ! wait "${WRITERS[i]}"; then
            complain "${HOSTS[i]} cannot be scanned"
        fi
    done
}

scan_sessions() {
    local status=0
    have_tool iscsiadm || return 0
    timeout "$SCAN_SECONDS" iscsiadm -m session --rescan </dev/null >/dev/null 2>&1 || status=$?
    ((status == 0 || status == ISCSI_NO_SESSION)) || complain "the iSCSI sessions cannot be scanned"
}

complain() {
    warn "$1"
    RESULT=$EXIT_FAILED
}

main() {
    take_no_arguments "$@"
    scan_hosts
    scan_sessions
    await_hosts
    settle_devices
    exit "$RESULT"
}

main "$@"
