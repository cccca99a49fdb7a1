#!/usr/bin/env bats
# devstats over scripted counters: the numbers of every report, paths that come and go, and Ctrl+C.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

BANNER="================================================================================================
                                   I/O Performance Information                                  
================================================================================================"
HEADER="Device           IOPS                         KB/S                        ResponseTime(ms)
                 |Total     Read    Write     |Total      Read     Write  |Total    Read   Write"

# start_devstats ARGUMENTS...: in the background, its reports in $OUT. It gets an interval that does not pass by
# itself, "sample" ends it.
start_devstats() {
    OUT=$BATS_TEST_TMPDIR/reports
    : >"$OUT"
    "$SIMHOST" "$HOST" run dravik devstats "$@" -interval 100000 >"$OUT" 2>"$BATS_TEST_TMPDIR/errors" 3>&- &
    DEVSTATS=$!
}

# sample: the alarm goes off.
sample() { kill -ALRM "$DEVSTATS"; }

# wait_for LINES: until so many lines of reports are there.
wait_for() {
    local waited=0
    until (($(wc -l <"$OUT") >= $1)); do
        sleep 0.05
        ((++waited < 400)) || return 1
    done
}

# end_devstats: Ctrl+C, which must end it with status 0.
end_devstats() {
    local ended=0
    kill -INT "$DEVSTATS"
    wait "$DEVSTATS" || ended=$?
    same 0 "$ended"
    same "" "$(cat "$BATS_TEST_TMPDIR/errors")"
}

teardown() {
    [[ ! ${DEVSTATS-} ]] || kill -KILL "$DEVSTATS" 2>/dev/null || true
    drop_hosts
}

reports() { cat "$OUT"; }

@test "the banner comes first, each report has the rates of its interval, Ctrl+C ends with a newline and 0" {
    make_host
    sim load mpatha reading 100
    sim counters advance 10
    start_devstats -path_alias mpatha
    wait_for 10
    sim counters advance 10
    sample
    wait_for 20
    sim load mpatha slow 50
    sim counters advance 2
    sample
    wait_for 30
    end_devstats
    expect_text reports <<END
$BANNER
$HEADER
mpatha             0.01     0.01     0.00       0.08      0.08      0.00    2.00    2.00    0.00 
Path:
sdb                0.00     0.00     0.00       0.04      0.04      0.00    2.00    2.00    0.00 
sdc                0.00     0.00     0.00       0.04      0.04      0.00    2.00    2.00    0.00 

$BANNER
$HEADER
mpatha           100.00   100.00     0.00     800.00    800.00      0.00    2.00    2.00    0.00 
Path:
sdb               50.00    50.00     0.00     400.00    400.00      0.00    2.00    2.00    0.00 
sdc               50.00    50.00     0.00     400.00    400.00      0.00    2.00    2.00    0.00 

$BANNER
$HEADER
mpatha           100.00    50.00    50.00    1200.00    400.00    800.00  100.00  100.00  100.00 
Path:
sdb               50.00    25.00    25.00     600.00    200.00    400.00  100.00  100.00  100.00 
sdc               50.00    25.00    25.00     600.00    200.00    400.00  100.00  100.00  100.00 

END
    # The last of them is the newline that Ctrl+C prints.
    same 31 "$(wc -l <"$OUT")"
}

@test "without a device all are reported, an empty line before each device but the first" {
    make_host --scenario 'many volumes=3 paths=2 transport=sas'
    sim load mpatha reading 10
    sim load mpathc writing 20
    sim counters advance 1
    start_devstats
    wait_for 15
    sim counters advance 1
    sample
    wait_for 30
    end_devstats
    tail -n +16 "$OUT" >"$BATS_TEST_TMPDIR/second"
    same "$BANNER
$HEADER
mpatha            10.00    10.00     0.00      80.00     80.00      0.00    2.00    2.00    0.00 
Path:
sdb                5.00     5.00     0.00      40.00     40.00      0.00    2.00    2.00    0.00 
sdc                5.00     5.00     0.00      40.00     40.00      0.00    2.00    2.00    0.00 

mpathc            20.00     0.00    20.00     320.00      0.00    320.00    4.00    0.00    4.00 
Path:
sdf               10.00     0.00    10.00     160.00      0.00    160.00    4.00    0.00    4.00 
sdg               10.00     0.00    10.00     160.00      0.00    160.00    4.00    0.00    4.00 " "$(cat "$BATS_TEST_TMPDIR/second")"
}

@test "a path that vanishes leaves the report, one that comes back is measured from zero" {
    make_host
    sim load mpatha reading 100
    sim counters advance 10
    start_devstats -path_alias mpatha
    wait_for 10
    cp "$HOST/proc/diskstats" "$BATS_TEST_TMPDIR/diskstats"
    grep -v ' sdc ' "$BATS_TEST_TMPDIR/diskstats" >"$HOST/proc/diskstats"
    sample
    wait_for 19
    cp "$BATS_TEST_TMPDIR/diskstats" "$HOST/proc/diskstats"
    sample
    wait_for 29
    end_devstats
    same "mpatha sdb sdc mpatha sdb mpatha sdb sdc" \
        "$(grep -E '^(mpatha|sd)' "$OUT" | awk '{print $1}' | xargs)"
}

@test "a long alias widens the name column and the banner" {
    cat >"$BATS_TEST_TMPDIR/long.scn" <<'END'
volume an_alias_of_20_chars transport=sas paths=1
END
    make_host --scenario "$BATS_TEST_TMPDIR/long.scn"
    sim load an_alias_of_20_chars reading 10
    sim counters advance 100
    start_devstats
    wait_for 9
    end_devstats
    same "$(printf '=%.0s' {1..103})" "$(head -n 1 "$OUT")"
    same "$(printf '%38s' '')I/O Performance Information" "$(sed -n 2p "$OUT")"
    grep -qE '^an_alias_of_20_chars +0\.01 ' "$OUT"
    grep -qE '^sdb {18}' "$OUT"
}

@test "a device without any I/O since the boot is not reported" {
    make_host
    start_devstats -path_alias mpatha
    wait_for 6
    end_devstats
    expect_text reports <<END
$BANNER
$HEADER

END
}

@test "a failed start prints its result and no banner" {
    make_host
    run --separate-stderr in_host dravik devstats -interval 1 -path_alias nosuch
    same "$(printf -- '-%.0s' {1..130})
Error(0133): This device [nosuch] does not exist.
$(printf -- '-%.0s' {1..130})" "$output"
    same 1 "$status"
    sim tool velomux missing
    run --separate-stderr in_host dravik devstats -interval 1
    same "$(printf -- '-%.0s' {1..130})
Error(0003): Execute system command failed.
$(printf -- '-%.0s' {1..130})" "$output"
    same 1 "$status"
}

@test "the interval passes by itself, 00001 being one second" {
    make_host
    OUT=$BATS_TEST_TMPDIR/reports
    : >"$OUT"
    "$SIMHOST" "$HOST" run dravik devstats -interval 00001 >"$OUT" 2>"$BATS_TEST_TMPDIR/errors" 3>&- &
    DEVSTATS=$!
    local began=${EPOCHREALTIME/./}
    wait_for 18
    (((${EPOCHREALTIME/./} - began) / 1000 >= 1900))
    end_devstats
}

@test "Ctrl+C in the middle of a wait ends at once" {
    make_host
    start_devstats
    wait_for 6
    local began=${EPOCHREALTIME/./}
    end_devstats
    (((${EPOCHREALTIME/./} - began) / 1000 < 2000))
}
