#!/bin/bash -p
# Gives devices their user-friendly names: the aliases in the "multipaths" section of /etc/velomux.conf.
# usage: alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query
# Promises:
# - set: afterwards WWID has ALIAS, instead of another one it had before. The section and the entry are
#   created where they are missing.
# - del: afterwards WWID has no alias; an entry that held nothing but WWID and alias goes with it.
# - query: one line per alias in the file's order: WWID, one blank, alias. An entry whose WWID holds blanks names no
#   device and has no line.
# - On failure of set and del the first character printed is a status digit, which is also the exit status:
#       4  WWID has this very alias already     5  the alias belongs to another WWID     7  WWID has no alias
#   Any other failure begins with the script's name and exits with 1, or with 2 for wrong arguments.
# - WWIDs and aliases are compared as strings. Other entries, other settings and remarks stay byte for byte;
#   the file changes at once or not at all.
# - The stack is told of a change (velomux -r). When that fails the change stays, and a line says so.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/conf.sh"

USAGE="alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query"
readonly EXIT_PAIR_EXISTS=4 EXIT_ALIAS_TAKEN=5 EXIT_NO_ALIAS=7
# Reloading thirty thousand paths takes its time; a tool that hangs must not hold the command for ever.
readonly RELOAD_SECONDS=300

set_alias() {
    local wwid=$1 alias=$2 status=0
    is_wwid "$wwid" || bad_argument "WWID may hold letters, digits and . _ : - only"
    [[ $alias == "$wwid" ]] || [[ ${#alias} -le 60 && $alias =~ ^[A-Za-z][A-Za-z0-9_.-]*$ ]] ||
        bad_argument "ALIAS must be the WWID, or a letter and up to 59 letters, digits and _ . -"
    open_conf
    alias_set "$wwid" "$alias" || status=$?
    case $status in
        0) store_and_tell ;;
        4) answer "$EXIT_PAIR_EXISTS" "the pair of wwid $wwid and alias $alias exists already" ;;
        5) answer "$EXIT_ALIAS_TAKEN" "the alias $alias belongs to another wwid" ;;
    esac
}

del_alias() {
    local wwid=$1
    is_wwid "$wwid" || bad_argument "WWID may hold letters, digits and . _ : - only"
    open_conf
    alias_del "$wwid" || answer "$EXIT_NO_ALIAS" "the wwid $wwid has no alias"
    store_and_tell
}

# answer STATUS TEXT: the failure whose first character is the status digit.
answer() {
    printf '%s %s\n' "$1" "$2"
    exit "$1"
}

open_conf() {
    conf_lock
    conf_load "$CONF_PATH"
    conf_check
}

store_and_tell() {
    conf_store
    # The tool may start daemons and may take long: others need not wait for it.
    lock_release
    timeout "$RELOAD_SECONDS" velomux -r </dev/null >/dev/null 2>&1 ||
        say "the change is stored, but 'velomux -r' failed: it takes effect at the next reload"
}

main() {
    answer_help "$@"
    case "$#-${1-}" in
        3-set) set_alias "$2" "$3" ;;
        2-del) del_alias "$2" ;;
        1-query)
            conf_load "$CONF_PATH"
            alias_query
            ;;
        *) bad_argument "wrong arguments" ;;
    esac
}

main "$@"
