#!/usr/bin/env bats
# A multipath tool that hangs, babbles 100 MB, or dies at any offset of its listing: what the monitor and query make of it.
#
# A listing that is cut at the end of a line is a listing: what it lacks counts as gone, and comes again with the next one.
# That is the contract. Here the lines must follow from what was listed, and lead to the topology in the end.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

# A tool that says what stands in /sim/said; a first line "#!" makes it a script that is run instead.
obeying_tool() {
    # shellcheck disable=SC2016 # the text is a script's
    printf '%s\n' '#!/bin/bash' 'IFS= read -r -d "" text </sim/said' \
        'if [[ $text == "#!"* ]]; then . /sim/said; else printf %s "$text"; fi' >"$HOST/usr/sbin/velomux"
}

# cycles WHERE FAULT CYCLES: said.0, then the fault for one cycle, then the last topology.
cycles() {
    [[ -e $HOST/sim/last ]] || mv "$HOST/sim/said.1" "$HOST/sim/last"
    rm -f "$HOST"/sim/said.[1-9]
    printf '#!\n%s\n' "$2" >"$HOST/sim/said.1"
    ln -f "$HOST/sim/last" "$HOST/sim/said.2"
    fresh_dumps
    attempt "$1" "${MONITOR[@]}"
    ((STATUS == 0)) || found wrong "$1: exit status $STATUS"
    judge_cycles "$1"
}

@test "a tool that dies at any offset of its listing, by a signal or a status, costs no change" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    obeying_tool
    local size offset end
    size=$(wc -c <"$HOST/sim/said.1")
    while read -r offset; do
        end=$(((offset * size + 50) / 100))
        # shellcheck disable=SC2016 # the text is a script's
        cycles "dies at offset $end" 'IFS= read -r -d "" text </sim/last; printf %s "${text:0:'"$end"'}"; kill -SEGV $$'
        # shellcheck disable=SC2016
        cycles "exits at offset $end" 'IFS= read -r -d "" text </sim/last; printf %s "${text:0:'"$end"'}"; exit 1'
    done < <(points 5 100)
    count "offsets of its listing at which the tool ends, by a signal and by a status"
}

@test "a tool that babbles 100 MB does the monitor no harm" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    obeying_tool
    cycles "100 MB of one line" 'head -c 104857600 /dev/zero | tr "\0" x'
    cycles "100 MB of lines" 'yes "Nov 21 03:12:41 | sdb: the path checker did not answer" | head -c 104857600'
    count "babbling tools"
}

@test "a tool that babbles 100 MB does query no harm" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    obeying_tool
    # shellcheck disable=SC2016 # the text is a script's
    printf '#!\nhead -c 104857600 /dev/zero | tr "\\0" x\n' >"$HOST/sim/said.1"
    ln -f "$HOST/sim/said.1" "$HOST/sim/said"
    attempt "query, 100 MB of one line" "${ENTRY[@]}" dravik query
    ((STATUS == 0 || STATUS == 1)) || found wrong "query: exit status $STATUS"
    count "babbling tools of query"
}

@test "a tool that hangs is killed at its time, and costs no change" {
    make_fault_host "$FEW_LOOK_UPS"
    prepare_cycles
    obeying_tool
    # Five minutes: with points sampled, the tool is ended by somebody else after one second.
    if [[ $FAULTS == whole ]]; then
        LONGEST=400
        cycles "hangs" 'exec sleep 1000'
    else
        # shellcheck disable=SC2016 # the text is a script's
        cycles "hangs" '(sleep 1; kill -KILL $$) >/dev/null & exec sleep 1000'
    fi
    count "hanging tools"
}
