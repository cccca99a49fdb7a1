#!/bin/bash -p
# Makes sure that the multipath daemon runs: starts it when it does not.
# usage: checkdravikd.sh
# Promises: a daemon that runs is left alone, and nothing is printed. The service manager is given two
# minutes.
# Exit status: 0 the daemon runs, 1 it could not be started, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/distribution.sh"
source "$LIB/service.sh"

main() {
    take_no_arguments "$@"
    if service_running; then
        exit 0
    fi
    timeout "$SERVICE_SECONDS" "${SERVICE_START[@]}" </dev/null >/dev/null 2>&1 ||
        fail "dravikd does not run, and '${SERVICE_START[*]}' failed"
    say "dravikd did not run; it was started"
}

main "$@"
