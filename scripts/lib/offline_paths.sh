# shellcheck shell=bash
# The record of the paths that were taken offline by hand, kept so that they can be brought back after the
# kernel has given them other names.
#
# The file OFFLINE_FILE (mode 0600) has one line per path, four words with one blank between:
#
#     scsi pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 naa.60b5d60001a2b3c1 sdb
#     hctl 1:0:0:1 naa.60b5d60001a2b3c1 sdb
#     nvme traddr=nn-0x20d0...:pn-0x20d0...,host_traddr=nn-0x2000...:pn-0x2100...,nsid=1 eui.0b5d...01 nvme0n1
#
# the kind of name, the lasting name, the WWID ("-" where the kernel does not tell), and for the reader's
# comfort the kernel's name of the time. A SCSI path's lasting name is its link under /dev/disk/by-path, which
# says adapter, target port and LUN; where it has none, its address, which is only trusted together with a
# WWID because hosts are renumbered. An NVMe path's is the address of its controller and its namespace.
# Needs base.sh, lock.sh, replace_file.sh and sysfs.sh, and the folder's place in LIB.

readonly OFFLINE_FILE=/dumps/dravik_offline_paths
readonly BY_PATH=/dev/disk/by-path
readonly OFFLINE_MAX_BYTES=$((16 << 20))
# Lines "KEY NAME", each between line feeds, once they have been collected: bash 3.2 has no associative arrays.
NVME_NAMES=''

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

scsi_identity() {
    local address
    PATH_KIND=scsi
    PATH_KEY=$(by_path_link "$1")
    [[ -z $PATH_KEY ]] || return 0
    PATH_KIND=hctl
    address=$(readlink -f -- "/sys/block/$1/device") || return 1
    PATH_KEY=${address##*/}
    [[ $PATH_KEY =~ ^[0-9]+:[0-9]+:[0-9]+:[0-9]+$ && $PATH_WWID != - ]]
}

# The link that names the adapter by its place on the bus, else the first one. In one listing: a process for
# each of thirty thousand links would take minutes.
by_path_link() {
    # shellcheck disable=SC2012  # links with blanks in their names are not udev's and are passed over
    { ls -l "$BY_PATH" 2>/dev/null || true; } | awk -v name="$1" -f "$LIB/by_path_link.awk"
}

# Of the address only what says where the path leads: other parts, such as the source address, may change.
nvme_identity() {
    local part key=''
    class_value "/sys/block/$1/device/address"
    one_word "$VALUE"
    split_text , "$WORD"
    for part in ${PARTS[@]+"${PARTS[@]}"}; do
        case $part in
            traddr=* | trsvcid=* | host_traddr=*) key+=$part, ;;
        esac
    done
    [[ -n $key ]] || return 1
    class_value "/sys/block/$1/nsid"
    # Old kernels do not tell the namespace; the number in the name is then the best there is.
    [[ $VALUE =~ ^[0-9]+$ ]] || VALUE=${1##*n}
    PATH_KIND=nvme
    PATH_KEY=${key}nsid=$VALUE
}

# same_wwid A B: "-" stands for "not known" and agrees with everything.
same_wwid() {
    [[ $1 == "$2" || $1 == - || $2 == - ]]
}

# records_load: the lines of the file into RECORDS; a missing file has none.
records_load() {
    RECORDS=()
    [[ -e $OFFLINE_FILE ]] || return 0
    read_whole "$OFFLINE_FILE" "$OFFLINE_MAX_BYTES"
    split_text $'\n' "$WHOLE_TEXT"
    RECORDS=(${PARTS[@]+"${PARTS[@]}"})
}

# records_store LINES: they become the file's. /dumps is made as the programs make it.
records_store() {
    local text=''
    (($# == 0)) || text=$(printf '%s\n' "$@" && printf x)
    [[ -d ${OFFLINE_FILE%/*} ]] || mkdir -m 0700 -- "${OFFLINE_FILE%/*}"
    replace_file "$OFFLINE_FILE" "${text%x}" 0600
}

# record_read LINE: cuts it into RECORD_KIND, RECORD_KEY, RECORD_WWID and RECORD_NAME; fails when it is no
# record.
record_read() {
    split_text ' ' "$1"
    ((${#PARTS[@]} == 4)) || return 1
    RECORD_KIND=${PARTS[0]} RECORD_KEY=${PARTS[1]} RECORD_WWID=${PARTS[2]} RECORD_NAME=${PARTS[3]}
    case $RECORD_KIND in
        scsi | hctl | nvme) [[ $RECORD_KEY != */* ]] ;;
        *) false ;;
    esac
}

# record_is_path LINE: whether it is the record of the path that path_identity found.
record_is_path() {
    record_read "$1" && [[ $RECORD_KIND == "$PATH_KIND" && $RECORD_KEY == "$PATH_KEY" ]] &&
        same_wwid "$RECORD_WWID" "$PATH_WWID"
}

# record_find_path: the kernel's present name of the record that record_read read, into FOUND_NAME; fails when
# there is no such path now, or another volume is found where it was.
record_find_path() {
    FOUND_NAME=''
    case $RECORD_KIND in
        scsi) FOUND_NAME=$(readlink -- "$BY_PATH/$RECORD_KEY") || return 1 ;;
        hctl) find_by_address ;;
        nvme) find_nvme ;;
    esac
    FOUND_NAME=${FOUND_NAME##*/}
    is_kernel_name "$FOUND_NAME" || return 1
    [[ -d /sys/block/$FOUND_NAME ]] || return 1
    path_wwid "$FOUND_NAME"
    same_wwid "$RECORD_WWID" "$PATH_WWID"
}

find_by_address() {
    local block
    for block in "/sys/bus/scsi/devices/$RECORD_KEY/block"/*; do
        [[ ! -e $block ]] || FOUND_NAME=$block
    done
}

# All namespaces are read once, however many records there are.
find_nvme() {
    local block rest
    if [[ -z $NVME_NAMES ]]; then
        NVME_NAMES=$'\n'
        for block in /sys/block/nvme*; do
            ! path_identity "${block##*/}" || NVME_NAMES+="$PATH_KEY ${block##*/}"$'\n'
        done
    fi
    FOUND_NAME=''
    rest=${NVME_NAMES#*$'\n'"$RECORD_KEY "}
    [[ $rest == "$NVME_NAMES" ]] || FOUND_NAME=${rest%%$'\n'*}
}
