# shellcheck shell=bash
# The record of the paths that were taken offline by hand, kept so that they can be brought back after the
# kernel has given them other names.
#
# The file OFFLINE_FILE (mode 0600) has one line per path, four words with one blank between:
#
#     fc initiator=0x21000024ff5d6a11,target=0x20d0000b5d6a1010,lun=1 naa.60b5d60001a2b3c1 sdb
#     hctl 1:0:0:1 naa.60b5d60001a2b3c1 sdb
#     nvme traddr=nn-0x20d0...:pn-0x20d0...,host_traddr=nn-0x2000...:pn-0x2100...,nsid=1 eui.0b5d...01 nvme0n1
#
# the kind and the key (see path_identity.sh), the WWID ("-" where the kernel does not tell), and for the reader's
# comfort the kernel's name of the time.
#
# Earlier versions knew the kinds scsi, hctl and nvme only. Paths that now have a kind of their own stand there by their
# link or address, NVMe paths without interface and subsystem. Where the path that is meant is here, such a line is
# renewed as soon as it is read; which of those that share a link is meant, only the name of the time can tell.
# Needs base.sh, lock.sh, replace_file.sh, sysfs.sh and path_identity.sh, and the folder's place in LIB.

readonly OFFLINE_FILE=/dumps/dravik_offline_paths
readonly OFFLINE_MAX_BYTES=$((16 << 20))

# records_load: the lines of the file into RECORDS; a missing file has none. A folder or file that others may have made,
# or may change at any time, ends the script with a message.
records_load() {
    local folder=${OFFLINE_FILE%/*}
    RECORDS=()
    [[ -e $folder || -L $folder ]] || return 0
    private_folder "$folder" || fail "$folder is not ours alone: give it to root and let nobody else write there"
    [[ -e $OFFLINE_FILE || -L $OFFLINE_FILE ]] || return 0
    own_file "$OFFLINE_FILE" || fail "$OFFLINE_FILE is no regular file of ours with one name; take it away"
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

# records_renew: lines of earlier versions in RECORDS become those of this one where their path is here; RENEWED is
# 1 when there was one, else empty.
records_renew() {
    local i
    RENEWED=''
    for i in ${RECORDS[@]+"${!RECORDS[@]}"}; do
        if record_read "${RECORDS[i]}" && record_may_be_old && record_find_path && path_identity "$FOUND_NAME" &&
            [[ $PATH_KIND != "$RECORD_KIND" || $PATH_KEY != "$RECORD_KEY" ]]; then
            RECORDS[i]="$PATH_KIND $PATH_KEY $PATH_WWID $FOUND_NAME"
            RENEWED=1
        fi
    done
}

# record_may_be_old: starts no process, for it is asked of every record.
record_may_be_old() {
    local device
    case $RECORD_KIND-$RECORD_KEY in
        scsi-*-iscsi-*) [[ -d /sys/class/iscsi_session ]] ;;
        scsi-*-fc-*) [[ -d /sys/class/fc_remote_ports ]] ;;
        hctl-*)
            for device in /sys/class/{iscsi_session,fc_remote_ports}/*/device/target*/"$RECORD_KEY"; do
                [[ ! -d $device ]] || return 0
            done
            return 1
            ;;
        nvme-*) [[ $RECORD_KEY != *,subsysnqn=* ]] ;;
        *) false ;;
    esac
}

# record_read LINE: cuts it into RECORD_KIND, RECORD_KEY, RECORD_WWID and RECORD_NAME; fails when it is no
# record.
record_read() {
    split_text ' ' "$1"
    ((${#PARTS[@]} == 4)) || return 1
    RECORD_KIND=${PARTS[0]} RECORD_KEY=${PARTS[1]} RECORD_WWID=${PARTS[2]} RECORD_NAME=${PARTS[3]}
    case $RECORD_KIND in
        iscsi | fc | scsi | hctl | nvme) [[ $RECORD_KEY != */* ]] ;;
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
    [[ $RECORD_KIND != scsi ]] || ! find_session_of_link || return 0
    find_path "$RECORD_KIND" "$RECORD_KEY" "$RECORD_WWID" ||
        { [[ $RECORD_KIND == nvme ]] && find_old_nvme "$RECORD_KEY" "$RECORD_NAME" "$RECORD_WWID"; }
}

# find_session_of_link: of the iSCSI paths that share the record's link the one that has the name of the time.
#     ip-192.168.1.10:3260-iscsi-iqn.2010-06.com.korvel:qvx-lun-1
find_session_of_link() {
    [[ $RECORD_KEY == ip-*-iscsi-* ]] && is_kernel_name "$RECORD_NAME" && path_identity "$RECORD_NAME" &&
        [[ $PATH_KIND == iscsi ]] && same_wwid "$RECORD_WWID" "$PATH_WWID" || return 1
    split_text , "$PATH_KEY"
    [[ $RECORD_KEY == "ip-${PARTS[1]#portal=}-iscsi-${PARTS[0]#target=}-lun-${PATH_KEY##*,lun=}" ]] || return 1
    FOUND_NAME=$RECORD_NAME
}
