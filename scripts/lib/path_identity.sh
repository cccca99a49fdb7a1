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
# What has been collected: iscsi (sessions), fc (remote ports), nvme (controllers), namespaces.
COLLECTED=''

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

# find_path KIND KEY WWID: the name of the path that has these now, into FOUND_NAME; fails when there is none. What
# PATH_KIND, PATH_KEY and PATH_WWID held is lost.
find_path() {
    CANDIDATES=()
    case $1 in
        iscsi) units_below_port iscsi_session "$1" "$2" ;;
        fc) units_below_port fc_remote_ports "$1" "$2" ;;
        nvme)
            collect_namespaces
            names_of namespaces "$2"
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
        is_kernel_name "$FOUND_NAME" || continue
        [[ -d /sys/block/$FOUND_NAME ]] || continue
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
    PATH_KEY=$(by_path_link "$1") || fail "cannot look through $BY_PATH"
    [[ -z $PATH_KEY ]] || return 0
    PATH_KIND=hctl
    PATH_KEY=${folder##*/}
    [[ $PATH_KEY =~ ^[0-9]+:[0-9]+:[0-9]+:[0-9]+$ && $PATH_WWID != - ]]
}

# port_identity PORT LUN: by the session or remote port; fails where the kernel does not tell its ends.
port_identity() {
    PATH_KIND='fc'
    [[ $1 != session* ]] || PATH_KIND=iscsi
    key_of "$PATH_KIND" "$1" || return 1
    PATH_KEY+=,lun=$2
}

# The link that names the adapter by its place on the bus, else the first one. In one listing: a process for
# each of thirty thousand links would take minutes.
by_path_link() {
    # shellcheck disable=SC2012  # links with blanks in their names are not udev's and are passed over
    { ls -l "$BY_PATH" 2>/dev/null || true; } | awk -v name="$1" -f "$LIB/by_path_link.awk"
}

# units_below_port CLASS KIND KEY: what has the key's unit number below the ports that have the rest of the key, into
# CANDIDATES.
units_below_port() {
    local port target
    collect "$2"
    names_of "$2" "${3%,lun=*}"
    local -a ports=(${CANDIDATES[@]+"${CANDIDATES[@]}"})
    CANDIDATES=()
    for port in ${ports[@]+"${ports[@]}"}; do
        for target in "/sys/class/$1/$port/device"/target*; do
            CANDIDATES+=("$target/${target##*/target}:${3##*,lun=}/block"/*)
        done
    done
}

list_iscsi() {
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

# A port that went and came may be there twice for a while; only one has the units, and neither is counted.
list_fc() {
    local port host key
    for port in /sys/class/fc_remote_ports/rport-*; do
        host=${port##*/rport-}
        key=''
        add_part initiator "/sys/class/fc_host/host${host%%:*}/port_name" || continue
        add_part target "$port/port_name" || continue
        say "${port##*/} ${key%,} ${port##*/}"
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

# By the controller, which the kernel names its namespaces after: nvme0 has nvme0n1.
nvme_identity() {
    PATH_KIND=nvme
    key_of nvme "${1%n*}" || return 1
    class_value "/sys/block/$1/nsid"
    # Old kernels do not tell the namespace; the number in the name is then the best there is.
    [[ $VALUE =~ ^[0-9]+$ ]] || VALUE=${1##*n}
    PATH_KEY+=,nsid=$VALUE
}

# find_old_nvme KEY NAME WWID: the same as find_path for a key in which interface and subsystem are left out; of several
# paths NAME is taken, or the first.
find_old_nvme() {
    collect_namespaces
    names_of old_namespaces "$1"
    [[ " ${CANDIDATES[*]-} " != *" $2 "* ]] || CANDIDATES=("$2" "${CANDIDATES[@]}")
    take_candidate "$3"
}

collect_namespaces() {
    local block
    [[ " $COLLECTED " != *" namespaces "* ]] || return 0
    COLLECTED+=" namespaces"
    for block in /sys/block/nvme*; do
        nvme_identity "${block##*/}" || continue
        remember_name namespaces "${block##*/}" "$PATH_KEY"
        old_nvme_key "$PATH_KEY"
        remember_name old_namespaces "${block##*/}" "$OLD_KEY"
    done
}

# old_nvme_key KEY: into OLD_KEY, as earlier versions wrote it.
old_nvme_key() {
    local part
    OLD_KEY=''
    split_text , "$1"
    for part in "${PARTS[@]}"; do
        [[ $part == host_iface=* || $part == subsysnqn=* || $part == nth=* ]] || OLD_KEY+=${OLD_KEY:+,}$part
    done
}

# Looks at one namespace of each controller: they stand together.
list_nvme() {
    local block controller='' key
    for block in /sys/block/nvme*; do
        [[ $controller != "${block%n*}" ]] || continue
        controller=${block%n*}
        ! nvme_key "$block" || say "${controller##*/} ${key%,}"
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
}

# ---- keys and names

# Each is kept in a variable whose name comes from what it is found by: bash 3.2 has no associative arrays, and a look
# through tens of thousands of lines for each record would take hours.

# key_of KIND NAME: the key of the session, remote port or controller into PATH_KEY; fails when it has none.
key_of() {
    local slot=KEY_$1_${2//[^A-Za-z0-9]/_}
    collect "$1"
    PATH_KEY=${!slot-}
    [[ -n $PATH_KEY ]]
}

# names_of KIND KEY: the names with this key into CANDIDATES.
names_of() {
    local slot=NAMES_$1_${2//[^A-Za-z0-9]/_} entry
    CANDIDATES=()
    split_text ' ' "${!slot-}"
    # Others may have made the same variable's name of theirs.
    for entry in ${PARTS[@]+"${PARTS[@]}"}; do
        [[ ${entry#*/} != "$2" ]] || CANDIDATES+=("${entry%%/*}")
    done
}

# collect KIND: all of them are read once, however many are asked for.
collect() {
    local lines line name
    [[ " $COLLECTED " != *" $1 "* ]] || return 0
    COLLECTED+=" $1"
    lines=$("list_$1" | number_twins) || fail "cannot tell the host's $1 paths apart"
    split_text $'\n' "$lines"
    for line in ${PARTS[@]+"${PARTS[@]}"}; do
        name=${line#* }
        printf -v "KEY_$1_${name//[^A-Za-z0-9]/_}" %s "${line%% *}"
        remember_name "$1" "$name" "${line%% *}"
    done
}

# remember_name KIND NAME KEY: neither holds a slash or a blank.
remember_name() {
    local slot=NAMES_$1_${3//[^A-Za-z0-9]/_}
    printf -v "$slot" '%s%s/%s ' "${!slot-}" "$2" "$3"
}

# number_twins: lines "NAME KEY [WORD]" become lines "KEY NAME" in the order of the numbers in the names. A further one
# of the same key and word gets its number into the key.
number_twins() {
    awk '{ print length($1), $1, $2, $3 }' | sort -k1,1n -k2,2 |
        awk '{ print $3 (++seen[$3, $4] > 1 ? ",nth=" seen[$3, $4] : "") " " $2 }'
}
