#!/bin/bash -p
# Keeps LVM off the single paths of multipath devices.
# usage: checklvm.sh
# Promises:
# - Where /etc/lvm/lvm.conf switches multipath_component_detection off, that one figure is changed to 1 and
#   every other byte stays; the file as it was is kept as lvm.conf.dravik.bk. LVM has the detection on unless
#   it is told otherwise, so a file that does not set it is left alone. Filters are the administrator's and
#   are not touched.
# - The file changes at once or not at all, and so does its backup, which is for root only. A host without LVM is left
#   alone.
# - One line is printed when something was done.
# Exit status: 0, 1 failed, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/lock.sh"
source "$LIB/replace_file.sh"

readonly LVM_CONF=/etc/lvm/lvm.conf
readonly LVM_MAX_BYTES=$((4 << 20))

#     multipath_component_detection = 0      # in the section "devices", or with "devices/" before it anywhere
switch_on() {
    local key='[ \t]*\(devices\/\)\{0,1\}multipath_component_detection[ \t]*=[ \t]*'
    sed "s/^\($key\)0\([ \t\r]*\(#.*\)\{0,1\}\)\$/\11\3/"
}

main() {
    local file new
    take_no_arguments "$@"
    [[ -e $LVM_CONF ]] || exit 0
    file=$(readlink -f -- "$LVM_CONF")
    lock_take lvm.conf 30
    read_whole "$file" "$LVM_MAX_BYTES"
    new=$(printf '%s' "$WHOLE_TEXT" | switch_on && printf x) || fail "$file cannot be read through sed"
    new=${new%x}
    if [ "$new" = "$WHOLE_TEXT" ]; then
        exit 0
    fi
    replace_by_own_file "$file.dravik.bk" "$WHOLE_TEXT" 0600
    replace_file "$file" "$new" 0644
    say "$file: multipath_component_detection set to 1 (it was 0); the old file is $file.dravik.bk"
}

main "$@"
