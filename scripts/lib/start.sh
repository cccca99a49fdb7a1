# shellcheck shell=bash
# What every helper script does first: it starts over in a shell that nothing of the caller's reaches but the arguments.
#
# There is no end to what an environment can do to a shell and to the tools that it runs: functions in place of
# commands, files that are run first, options, another quoting, colours and dates in what ls and grep print, another
# start of the clock. So the second start has an environment of its own:
#     PATH                    the system's folders, which are root's alone
#     LC_ALL=C                bytes, not characters
#     DRAVIK_CLI_DEBUG, TERM, NO_COLOR, COLUMNS, TZ
#                             what the caller says of log, terminal and clock
# and "/" for its folder: the caller's may have been removed, which shells and tools complain about.
#
# The flags -p, -e and -u together tell the second start. No environment can set them for the first, which a script
# begins with "#!/bin/bash -p". To trace a script, begin with the second: bash -peux SCRIPT.
#
# Needs the library's folder in LIB; reads base.sh.

if [[ $- != *e*p*u* ]]; then
    # Where the caller named the interpreter, bash has taken functions from the environment and run a file of the
    # caller's. The script has switched the POSIX mode on: what stands here with a backslash is the shell's own.
    \unset -f cd
    DRAVIK_SCRIPT=${BASH_SOURCE[1]}
    [[ $DRAVIK_SCRIPT == /* ]] || DRAVIK_SCRIPT=$PWD/$DRAVIK_SCRIPT
    \cd / 2>/dev/null # it would complain of a folder that was removed
    \exec /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C \
        ${DRAVIK_CLI_DEBUG+"DRAVIK_CLI_DEBUG=$DRAVIK_CLI_DEBUG"} \
        ${TERM+"TERM=$TERM"} ${NO_COLOR+"NO_COLOR=$NO_COLOR"} ${COLUMNS+"COLUMNS=$COLUMNS"} ${TZ+"TZ=$TZ"} \
        /bin/bash -peu "$DRAVIK_SCRIPT" "$@"
fi

set -o pipefail
source "$LIB/base.sh"
