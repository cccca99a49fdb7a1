#!/bin/bash -p
# Makes sure that systemd finds the multipath daemon's unit under the name dravikd.service.
# usage: softlink.sh
# Promises:
# - Where the name is found nothing is done, and nothing else is looked at: this runs before every use of the
#   daemon.
# - Otherwise a unit of that name outside systemd's folders, or a unit of another name that starts the daemon,
#   gets a link in /etc/systemd/system. Nothing is ever overwritten, not even a link that leads nowhere.
# - For an init script systemd makes a unit itself; it is only asked to look again.
# - Hosts without systemd are left alone. A line is printed only when something was done or could not be.
# Exit status: 0, 1 there is no unit to be found, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"

readonly UNIT=dravikd.service
readonly LINK=/etc/systemd/system/$UNIT
# Where systemd looks for units, its generators' results included.
readonly UNIT_FOLDERS=(/etc/systemd/system /run/systemd/system /usr/local/lib/systemd/system
    /usr/lib/systemd/system /run/systemd/generator.early /run/systemd/generator /run/systemd/generator.late)
# Where packages for other hosts put units; on hosts whose /lib is /usr/lib this is a folder of the above.
readonly OTHER_FOLDERS=(/lib/systemd/system /usr/share/systemd/system)

name_is_found() {
    local folder
    for folder in "${UNIT_FOLDERS[@]}"; do
        # A link that leads nowhere, or to /dev/null, is an administrator's decision.
        if [[ -e $folder/$UNIT || -L $folder/$UNIT ]]; then
            return 0
        fi
    done
    return 1
}

#     ExecStart=-/usr/sbin/dravikd -d -s
starts_daemon() {
    grep -q '^ExecStart=[-@:+!]*\(/[^ ]*/\)\{0,1\}dravikd\( .*\)\{0,1\}$' "$1"
}

# find_unit: the file that the name should lead to, into FOUND.
find_unit() {
    local folder
    for folder in "${OTHER_FOLDERS[@]}"; do
        FOUND=$folder/$UNIT
        [[ ! -f $FOUND ]] || return 0
    done
    for folder in "${UNIT_FOLDERS[@]}" "${OTHER_FOLDERS[@]}"; do
        for FOUND in "$folder"/*.service; do
            [[ ! -f $FOUND ]] || ! starts_daemon "$FOUND" || return 0
        done
    done
    return 1
}

reload_manager() {
    timeout 60 systemctl daemon-reload </dev/null >/dev/null 2>&1 ||
        fail "'systemctl daemon-reload' failed; $UNIT is known after the next one"
}

main() {
    take_no_arguments "$@"
    have_tool systemctl || exit 0
    if name_is_found; then
        exit 0
    elif [[ -f /etc/init.d/dravikd || -f /etc/rc.d/init.d/dravikd ]]; then
        reload_manager
    elif find_unit; then
        mkdir -p -- "${LINK%/*}"
        ln -s -- "$FOUND" "$LINK" || fail "$LINK cannot be made"
        say "$LINK now leads to $FOUND"
        reload_manager
    else
        fail "no unit and no init script starts dravikd: is the multipath package installed?"
    fi
}

main "$@"
