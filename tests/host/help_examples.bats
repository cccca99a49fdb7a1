#!/usr/bin/env bats
# The example of every help text, played on the simulated host: what it shows is what is printed.

load ../support/simulated_host

# Prints the example of a help text as it is installed: command lines behind "# ", output below.
example() {
    awk '/^[A-Z]/ { inside = $1 == "EXAMPLE"; next } inside' "$BUILD_DIR/help/$1.help" |
        sed 's/^    //; s/XXXXXX/Korvel/' | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
}

# plays COMMAND [STATUS]: runs the dravik commands of its example and holds what each prints against what stands below it. The
# lines of an example may be cut at the right, none may be missing.
plays() {
    local line status=0
    : >"$BATS_TEST_TMPDIR/shown"
    : >"$BATS_TEST_TMPDIR/printed"
    while IFS= read -r line; do
        case $line in
            '# dravik '*)
                # shellcheck disable=SC2086 # the words of a command line
                in_host ${line#\# } >>"$BATS_TEST_TMPDIR/printed" 2>&1 </dev/null || status=$?
                ;;
            '# grep '*) in_host sh -c "${line#\# }" >>"$BATS_TEST_TMPDIR/printed" 2>&1 ;;
            '# umount /srv/mail') ;; # no file system is mounted here
            '# '*) same "a command that can be played" "$line" ;;
            *) printf '%s\n' "$line" >>"$BATS_TEST_TMPDIR/shown" ;;
        esac
    done < <(example "$1")
    same "${2-0}" "$status"
    grep -q . "$BATS_TEST_TMPDIR/shown"
    compare
}

compare() {
    awk -v printed="$BATS_TEST_TMPDIR/printed" '
        {
            line = ""
            if ((getline line < printed) <= 0) { print "not printed: " $0; exit 1 }
            if (index(line, $0) != 1 || ($0 == "") != (line == "")) { print "shown: " $0 "\nprinted: " line; bad = 1 }
        }
        END {
            while ((getline line < printed) > 0) { print "not shown: " line; bad = 1 }
            exit bad
        }' "$BATS_TEST_TMPDIR/shown"
}

quietly() { in_host dravik "$@" >/dev/null; }

@test "the examples of config, restart, start, status, scan, version and port" {
    local name
    make_host
    for name in config restart start status scan version port; do plays "$name"; done
}

@test "the examples of refresh, aggregation and stop" {
    make_host
    plays refresh
    plays aggregation
    plays stop
    run in_host dravik status
    [[ $output == *'Service status: inactive'* ]]
}

@test "the example of query, a path of whose device has failed" {
    make_host
    sim fail-path sdd
    plays query
}

@test "the examples of setstate and delete do what they say" {
    make_host
    plays setstate
    [[ $(calls) == *'dravikd fail path sdb'* ]]
    plays delete
    run in_host dravik query mpathc
    [[ $output == *'Error(0133): This device [mpathc] does not exist.'* ]]
}

@test "the examples of setalias, lsalias and delalias, one after the other" {
    make_host
    plays setalias
    quietly setalias -wwid 3600b5d60001a2b3c0000000000000004 -alias mail
    plays lsalias
    plays delalias
}

@test "the examples of setpathpolicy and lspathpolicy, on a host that has been configured" {
    make_host
    quietly config
    plays setpathpolicy
    quietly setpathpolicy -scsi -chooser round-robin-extend
    quietly setpathpolicy -nvme -chooser round-robin-extend
    plays lspathpolicy
}

@test "the example of devstats, but for the figures" {
    local figures='s/[ 0-9.]/./g'
    make_host
    sim load mpatha mixed 200
    sim counters advance 10
    example devstats | sed '1d; /^$/d; /\^C/d' | sed "$figures" >"$BATS_TEST_TMPDIR/shown"
    run timeout -s INT 3 "$SIMHOST" "$HOST" run dravik devstats -path_alias mpatha -interval 60
    sed '/^$/d' <<<"$output" | sed "$figures" >"$BATS_TEST_TMPDIR/printed"
    same 11 "$(grep -c . "$BATS_TEST_TMPDIR/shown")"
    compare
}

@test "the example of explain" {
    make_host
    plays explain
}

@test "the examples of check, list, events, baseline and metrics, at their time" {
    make_host
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
    plays baseline
    sim fail-port 0x20d0000b5d6a1010
    step
    plays events
    sim restore-port 0x20d0000b5d6a1010
    for name in sdb sdc sdd; do sim fail-path "$name"; done
    step
    plays check 2
    plays list
    plays metrics
}

# How many bytes it has depends on the machine's gzip.
@test "the example of report, at its time, but for the bytes" {
    make_host
    sim clock freeze '2026-11-21 03:12:31'
    start_monitor
    run in_host dravik report /root/case.tar.gz
    same 0 "$status"
    same "$(example report | sed '1d; s/: [0-9]* bytes/: N bytes/')" "$(echo "$output" | sed -E '1s/: [0-9]+ bytes/: N bytes/')"
}

@test "every example is played, and what cannot be is still shown" {
    local name
    grep -qx '    # umount /srv/mail' "$REPO/help/delete.help"
    for name in "$REPO"/help/*.help; do
        name=${name##*/}
        grep -qE "plays ${name%.help}( [0-9])?\$|for name in .*\\b${name%.help}\\b.*; do plays|example ${name%.help} " \
            "$BATS_TEST_FILENAME" || same "${name%.help}" ""
    done
}
