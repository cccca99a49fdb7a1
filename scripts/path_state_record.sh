#!/bin/bash -p
# Remembers which paths were taken offline by hand, so that run_all_offline_path.sh can bring them back.
# usage: path_state_record.sh add PATH | path_state_record.sh del PATH
# Promises:
# - PATH is the kernel's name of a path (sdb, nvme0n1) that is there now; what is recorded outlives a
#   renumbering.
# - add: the path is recorded once, however often it is added. del: it is recorded no more.
# - The record, /dumps/dravik_offline_paths, is for root only and changes at once or not at all; of two calls
#   at once none is lost. When nothing changes nothing is written. Lines that are no record are kept.
# - Nothing is printed on success.
# Exit status: 0, 1 failed, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/lock.sh"
source "$LIB/replace_file.sh"
source "$LIB/sysfs.sh"
source "$LIB/path_identity.sh"
source "$LIB/offline_paths.sh"

USAGE="path_state_record.sh add PATH | path_state_record.sh del PATH"

# Both change RECORDS, and set CHANGED when they do.
add_path() {
    local record
    for record in ${RECORDS[@]+"${RECORDS[@]}"}; do
        if record_is_path "$record"; then
            return
        fi
    done
    RECORDS+=("$PATH_KIND $PATH_KEY $PATH_WWID $1")
    CHANGED=1
}

del_path() {
    local record
    local -a kept=()
    for record in ${RECORDS[@]+"${RECORDS[@]}"}; do
        if record_is_path "$record"; then
            CHANGED=1
        else
            kept+=("$record")
        fi
    done
    RECORDS=(${kept[@]+"${kept[@]}"})
}

main() {
    answer_help "$@"
    case "$#-${1-}" in
        2-add | 2-del) ;;
        *) bad_argument "wrong arguments" ;;
    esac
    is_kernel_name "$2" || bad_argument "PATH must be the kernel's name of a path"
    lock_take offline-paths 30
    records_load
    records_renew
    path_identity "$2" || fail "$2: no path of this name has an address that outlives a renumbering"
    CHANGED=$RENEWED
    "$1_path" "$2"
    [[ -z $CHANGED ]] || records_store ${RECORDS[@]+"${RECORDS[@]}"}
}

main "$@"
