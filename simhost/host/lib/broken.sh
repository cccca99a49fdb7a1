# shellcheck shell=bash
# What a broken tool does in place of the real one: TOOL is the real one, FAULT its fault, VALUE and STATUS belong
# to the fault. The tool keeps its record of calls: by itself where it is run, here where it is not.

record() { echo "${TOOL##*/} ${*//$'\n'/\\n}" >>/sim/calls.log; }

# A script need not be executable: the product runs its own through bash.
runReal() {
    if [[ -x $TOOL ]]; then "$TOOL" "$@"; else bash "$TOOL" "$@"; fi
}

case $FAULT in
hang)
    record "$@"
    exec sleep 1000000
    ;;
crash)
    # Dead in the middle of its output.
    runReal "$@" | head -n 3
    kill -SEGV $$
    ;;
rubbish)
    record "$@"
    printf 'x\001\377\n'
    printf '%s\n' '@@@ 0xdeadbeef ,,, ((((' '|' '  `- nothing here is a path' 'size=' "policy='" ''
    ;;
half)
    text=$(runReal "$@")
    printf '%s' "${text:0:${#text}/2}"
    ;;
silent) record "$@" ;;
fail)
    record "$@"
    echo "${TOOL##*/}: error" >&2
    exit "${VALUE:-1}"
    ;;
slow)
    # The clock moves, nobody waits.
    # shellcheck disable=SC2034 # read by dials.sh
    SIM=/sim
    # shellcheck source=dials.sh
    . /sim/lib/dials.sh
    dial clock_offset
    setDial clock_offset $((dialValue + VALUE))
    runReal "$@"
    exit
    ;;
huge)
    # The real output, then five MiB of warnings.
    runReal "$@"
    status=$?
    yes 'Dec 06 10:15:02 | sdzz: the path checker did not answer, using the last state' | head -c 5242880
    exit "$status"
    ;;
says)
    record "$@"
    cat "$TOOL.text"
    # shellcheck disable=SC2153 # set by the script that sources this
    exit "$STATUS"
    ;;
esac
