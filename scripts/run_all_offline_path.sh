#!/bin/bash -p
# Brings the paths back online that were taken offline by hand and recorded by path_state_record.sh.
# usage: run_all_offline_path.sh
# Promises:
# - Each recorded path that is there now, whatever the kernel calls it now, is reinstated through the daemon,
#   and its record is dropped as soon as it is back. A kill in between costs nothing but a path reinstated
#   twice.
# - Records of paths that are not there, or that the daemon refuses, stay.
# - A daemon that does not answer within 30 seconds is not asked for the rest.
# - One line is printed for each record.
# Exit status: 0 all paths that are there are back, 1 some are not, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/lock.sh"
source "$LIB/replace_file.sh"
source "$LIB/sysfs.sh"
source "$LIB/path_identity.sh"
source "$LIB/offline_paths.sh"

readonly ANSWER_SECONDS=30
RESULT=0

# drop_record LINE: the file without it, read anew: others may have recorded more meanwhile.
drop_record() {
    local record
    local -a kept=()
    lock_take offline-paths 30
    records_load
    for record in ${RECORDS[@]+"${RECORDS[@]}"}; do
        [[ $record == "$1" ]] || kept+=("$record")
    done
    records_store ${kept[@]+"${kept[@]}"}
    lock_release
}

# reinstate NAME: by the daemon's interactive command, which may say "fail" and succeed. 124: no answer.
reinstate() {
    local answer status=0
    answer=$(timeout "$ANSWER_SECONDS" dravikd reinstate path "$1" </dev/null 2>&1) || status=$?
    [[ $status != 0 || $answer != *fail* ]] || status=1
    return "$status"
}

bring_back() {
    local status=0
    reinstate "$FOUND_NAME" || status=$?
    case $status in
        0)
            drop_record "$1"
            say "$FOUND_NAME: online again"
            ;;
        124) fail "$FOUND_NAME: the daemon does not answer; this and all further paths stay recorded" ;;
        *)
            say "$FOUND_NAME: the daemon could not bring it back; it stays recorded"
            RESULT=$EXIT_FAILED
            ;;
    esac
}

main() {
    local record
    local -a all
    take_no_arguments "$@"
    records_load
    all=(${RECORDS[@]+"${RECORDS[@]}"})
    for record in ${all[@]+"${all[@]}"}; do
        if ! record_read "$record"; then
            say "not understood, kept: ${record//[[:cntrl:]]/?}"
        elif record_find_path; then
            bring_back "$record"
        else
            say "$RECORD_KEY (was $RECORD_NAME): not here now; it stays recorded"
        fi
    done
    exit "$RESULT"
}

main "$@"
