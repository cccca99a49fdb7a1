# shellcheck shell=bash
# What tells a path from every other one and stays when the kernel gives it another name: a kind and a key.
#
#     iscsi  target=iqn.2010-06.com.korvel:qvx,portal=192.168.1.10:3260,iface=eth1,initiator=iqn.1994-05.com:h1,lun=1
#     fc     initiator=0x21000024ff5d6a11,target=0x20d0000b5d6a1010,lun=1
#     nvme   traddr=192.168.1.10,trsvcid=4420,host_iface=eth1,subsysnqn=nqn.2010-06.com.korvel:qvx,nsid=1
#     scsi   pci-0000:03:00.0-sas-phy0-lun-1
#     hctl   1:0:0:1
#
# Where the kernel tells both ends of the way, these with the unit or namespace are the key. Else it is the link below
# /dev/disk/by-path; links alone would not do, because two sessions to one portal, or two ports of one adapter's
# function, share theirs. A path without a link has its address, which is only to be trusted together with a WWID,
# because hosts are renumbered. What is alike in all this, such as two sessions from one interface to one portal, is
# counted in the order of the kernel's numbers: the second has a part nth=2.
# Needs base.sh and sysfs.sh, and the folder's place in LIB.

readonly BY_PATH=/dev/disk/by-path
# Lines "KEY NAME", each between line feeds, once they have been collected: bash 3.2 has no associative arrays. For
# NVMe the paths, for iSCSI the sessions, for FC the remote ports.
NVME_NAMES='' OLD_NVME_NAMES='' ISCSI_NAMES='' FC_NAMES=''

# one_word TEXT: into WORD, with "_" for whatever could not stand in one word of the record, "-" for nothing.
one_word() {
    WORD=${1//[^A-Za-z0-9._:,=+@-]/_}
    WORD=${WORD:--}
}

# path_identity NAME: fills PATH_KIND, PATH_KEY and PATH_WWID of the path that has this kernel name now. Fails
# when there is no such path or nothing about it would outlive a renumbering.
path_identity() {
    [[ -d /sys/block/$1 ]] || return 1
    path_wwid "$1"
    if [[ $1 == nvme* ]]; then
        nvme_identity "$1"
    else
        scsi_identity "$1"
    fi
}

# path_wwid NAME: the volume's WWID as the kernel knows it, into PATH_WWID.
path_wwid() {
    if [[ $1 == nvme* ]]; then
        class_value "/sys/block/$1/wwid"
    else
        class_value "/sys/block/$1/device/wwid"
    fi
    one_word "$VALUE"
    PATH_WWID=$WORD
}

# same_wwid A B: "-" stands for "not known" and agrees with everything.
same_wwid() {
    [[ $1 == "$2" || $1 == - || $2 == - ]]
}

# find_path KIND KEY WWID: the name of the path that has these now, into FOUND_NAME; fails when there is none.
find_path() {
    CANDIDATES=()
    case $1 in
        iscsi) units_below_port iscsi_session "$2" ;;
        fc) units_below_port fc_remote_ports "$2" ;;
        nvme)
            collect_nvme
            names_of "$2" "$NVME_NAMES"
            ;;
        scsi) CANDIDATES=("$(readlink -- "$BY_PATH/$2")") || true ;;
        hctl) CANDIDATES=("/sys/bus/scsi/devices/$2/block"/*) ;;
    esac
    take_candidate "$3"
}

# take_candidate WWID: the first of CANDIDATES that is there and of this volume, into FOUND_NAME; fails when there is
# none.
take_candidate() {
    for FOUND_NAME in ${CANDIDATES[@]+"${CANDIDATES[@]}"}; do
        FOUND_NAME=${FOUND_NAME##*/}
        is_kernel_name "$FOUND_NAME" && [[ -d /sys/block/$FOUND_NAME ]] || continue
        path_wwid "$FOUND_NAME"
        ! same_wwid "$1" "$PATH_WWID" || return 0
    done
    FOUND_NAME=''
    return 1
}

# ---- SCSI

# The kernel shows a path below the session or the remote port that it belongs to:
#     /sys/devices/platform/host4/session1/target4:0:0/4:0:0:1
#     /sys/devices/pci0000:00/0000:00:02.0/0000:05:00.0/host1/rport-1:0-2/target1:0:0/1:0:0:1
readonly BELOW_PORT='/(session[0-9]+|rport-[0-9]+:[0-9]+-[0-9]+)/target[0-9:]+/[0-9]+:[0-9]+:[0-9]+:([0-9]+)$'

scsi_identity() {
    local folder
    folder=$(readlink -f -- "/sys/block/$1/device") || return 1
    if [[ $folder =~ $BELOW_PORT ]] && port_identity "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"; then
        return 0
    fi
    PATH_KIND=scsi
    PATH_KEY=$(by_path_link "$1")
    [[ -z $PATH_KEY ]] || return 0
    PATH_KIND=hctl
    PATH_KEY=${folder##*/}
    [[ $PATH_KEY =~ ^[0-9]+:[0-9]+:[0-9]+:[0-9]+$ && $PATH_WWID != - ]]
}

# port_identity PORT LUN: by the session or remote port; fails where the kernel does not tell its ends.
port_identity() {
    if [[ $1 == session* ]]; then
        PATH_KIND=iscsi
        collect_sessions
        key_of "$1" "$ISCSI_NAMES" || return 1
    else
        PATH_KIND='fc'
        collect_remote_ports
        key_of "$1" "$FC_NAMES" || return 1
    fi
    PATH_KEY+=,lun=$2
}

# The link that names the adapter by its place on the bus, else the first one. In one listing: a process for
# each of thirty thousand links would take minutes.
by_path_link() {
    # shellcheck disable=SC2012  # links with blanks in their names are not udev's and are passed over
    { ls -l "$BY_PATH" 2>/dev/null || true; } | awk -v name="$1" -f "$LIB/by_path_link.awk"
}

# units_below_port CLASS KEY: what has the key's unit number below the ports that have the rest of the key, into
# CANDIDATES.
units_below_port() {
    local names port
    if [[ $1 == iscsi_session ]]; then
        collect_sessions
        names=$ISCSI_NAMES
    else
        collect_remote_ports
        names=$FC_NAMES
    fi
    names_of "${2%,lun=*}" "$names"
    for port in ${CANDIDATES[@]+"${CANDIDATES[@]}"}; do
        CANDIDATES+=("/sys/class/$1/$port/device"/target*/*":${2##*,lun=}/block"/*)
    done
}

collect_sessions() {
    [[ -z $ISCSI_NAMES ]] || return 0
    ISCSI_NAMES=$'\n'$(list_sessions | number_twins)$'\n'
}

list_sessions() {
    local session connection key
    for session in /sys/class/iscsi_session/session*; do
        connection=/sys/class/iscsi_connection/connection${session##*/session}:0
        key=''
        add_part target "$session/targetname" || continue
        add_part portal "$connection/persistent_address" || continue
        class_value "$connection/persistent_port"
        one_word "$VALUE"
        key=${key%,}:$WORD,
        add_part iface "$session/ifacename" || true
        add_part initiator "$session/initiatorname" || true
        say "${session##*/} ${key%,}"
    done
}

# A port that went and came may be there twice for a while; only one has the units.
collect_remote_ports() {
    [[ -z $FC_NAMES ]] || return 0
    FC_NAMES=$'\n'$(list_remote_ports)$'\n'
}

list_remote_ports() {
    local port host key
    for port in /sys/class/fc_remote_ports/rport-*; do
        host=${port##*/rport-}
        key=''
        add_part initiator "/sys/class/fc_host/host${host%%:*}/port_name" || continue
        add_part target "$port/port_name" || continue
        say "${key%,} ${port##*/}"
    done
}

# add_part NAME FILE: what stands there becomes a part of the caller's "key"; fails when nothing does.
add_part() {
    class_value "$2"
    [[ -n $VALUE ]] || return 1
    one_word "${VALUE//,/_}"
    key+=$1=$WORD,
}

# ---- NVMe

nvme_identity() {
    PATH_KIND=nvme
    collect_nvme
    key_of "$1" "$NVME_NAMES"
}

# find_old_nvme KEY NAME WWID: the same as find_path for a key in which interface and subsystem are left out; of several
# paths NAME is taken, or the first.
find_old_nvme() {
    collect_nvme
    OLD_NVME_NAMES=${OLD_NVME_NAMES:-$(printf '%s' "$NVME_NAMES" | old_nvme_keys)}
    names_of "$1" "$OLD_NVME_NAMES"
    [[ " ${CANDIDATES[*]-} " != *" $2 "* ]] || CANDIDATES=("$2" "${CANDIDATES[@]}")
    take_candidate "$3"
}

old_nvme_keys() {
    sed 's/,host_iface=[^, ]*//; s/,subsysnqn=[^, ]*//; s/,nth=[0-9]*//'
}

# All namespaces are read once, however many are asked for.
collect_nvme() {
    [[ -z $NVME_NAMES ]] || return 0
    NVME_NAMES=$'\n'$(list_nvme | number_twins)$'\n'
}

list_nvme() {
    local block key
    for block in /sys/block/nvme*; do
        nvme_key "$block" || continue
        path_wwid "${block##*/}"
        say "${block##*/} $key $PATH_WWID"
    done
}

# nvme_key FOLDER: into the caller's "key". Of the address only what says where the path leads: other parts, such as
# the source address, may change.
nvme_key() {
    local part
    key=''
    class_value "$1/device/address"
    one_word "$VALUE"
    split_text , "$WORD"
    for part in ${PARTS[@]+"${PARTS[@]}"}; do
        case $part in
            traddr=* | trsvcid=* | host_traddr=* | host_iface=*) key+=$part, ;;
        esac
    done
    [[ -n $key ]] || return 1
    add_part subsysnqn "$1/device/subsysnqn" || true
    class_value "$1/nsid"
    # Old kernels do not tell the namespace; the number in the name is then the best there is.
    [[ $VALUE =~ ^[0-9]+$ ]] || VALUE=${1##*n}
    key+=nsid=$VALUE
}

# ---- keys and names

# number_twins: lines "NAME KEY [WWID]" become lines "KEY NAME" in the order of the numbers in the names. A further one
# of the same key, and of the same volume, gets its number into the key.
number_twins() {
    awk '{ print length($1), $1, $2, $3 }' | sort -k1,1n -k2,2 |
        awk '{ print $3 (++seen[$3, $4] > 1 ? ",nth=" seen[$3, $4] : "") " " $2 }'
}

# key_of NAME LINES: its key into PATH_KEY; fails when it has none. No key is longer than a thousand characters: the
# shell looks for the line's beginning in time that grows with all that stands before it.
key_of() {
    local head=${2%%" $1"$'\n'*}
    [[ $head != "$2" ]] || return 1
    ((${#head} <= 1000)) || head=${head:${#head}-1000}
    PATH_KEY=${head##*$'\n'}
}

# names_of KEY LINES: the names with this key into CANDIDATES.
names_of() {
    local rest=$2 head
    CANDIDATES=()
    while head=${rest%%$'\n'"$1 "*} && [[ $head != "$rest" ]]; do
        rest=${rest:${#head}+${#1}+2}
        CANDIDATES+=("${rest%%$'\n'*}")
    done
}
