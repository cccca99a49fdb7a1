# Time on the simulated host: the monitor's cycles one by one, its clock, and a disk that fills up under it.

load ../support/simulated_host
load ../support/session

setup() {
    make_empty_host
    add_program lapse
}

# start_lapse: the monitor in small, until its first sleep.
start_lapse() { start_monitor "$@" --program lapse; }

# last_sleep: how many seconds the monitor asked for last.
last_sleep() { tail -n 1 "$HOST/sim/sleeps"; }

@test "a step is one whole cycle" {
    start_lapse
    expect_text calls <<'END'
velomux -ll
END
    step
    expect_text calls <<'END'
velomux -ll
velomux -ll
END
    step 3
    expect_text sleeps <<'END'
10
10
10
10
10
END
    same 5 "$(calls | wc -l)"
}

@test "without a step nothing happens" {
    start_lapse
    sleep 0.3
    expect_text sleeps <<'END'
10
END
    run sim settle
    same 0 "$status"
    expect_text sleeps <<'END'
10
END
}

@test "a slow tool moves the clock, not the person who waits" {
    start_lapse
    local seconds
    for seconds in 1 9 10 12; do
        sim tool velomux slow $seconds
        step
    done
    sim tool velomux ok
    step
    expect_text sleeps <<'END'
10
9
1
1
1
10
END
    expect_text cat "$HOST/sim/monitor.out" <<'END'
0 0
1 0
9 0
10 0
12 0
0 0
END
}

@test "a clock set back during a cycle makes its sleep longer" {
    start_lapse
    sim tool velomux slow -30
    step
    same 40 "$(last_sleep)"
}

@test "the sleeps that take no time count on the clock" {
    sim clock freeze '2021-12-06 10:15:02'
    same '2021-12-06 10:15:02' "$(in_host date '+%F %T')"
    start_lapse
    step 6
    same '2021-12-06 10:16:02' "$(in_host date '+%F %T')"
    same '2021-12-06 10:16:02' "$(sim clock)"
    sim clock +3600
    same '2021-12-06 11:16:02' "$(in_host date '+%F %T')"
    sim clock -7200
    same '2021-12-06 09:16:02' "$(in_host date '+%F %T')"
    sim clock run
    sim clock +7200
    sim clock -3600
    [ "$(in_host date '+%s')" -ge "$(date '+%s')" ]
}

@test "at a given speed the cycles follow by themselves, and step by step again after" {
    start_lapse
    sim speed 100
    sleep 1
    sim speed 0
    sim settle
    local count
    count=$(sleeps | wc -l)
    [ "$count" -ge 4 ]
    [ "$count" -le 14 ]
    step
    [ "$(sleeps | wc -l)" -le $((count + 2)) ]
    count=$(sleeps | wc -l)
    step 2
    same $((count + 2)) "$(sleeps | wc -l)"
}

@test "a live monitor sleeps in real time" {
    start_lapse --live
    expect_text sleeps <<'END'
10
END
    sleep 1.5
    expect_text sleeps <<'END'
10
END
}

@test "the monitor is started once, stopped, killed, and told apart" {
    run sim monitor status
    same 3 "$status"
    same stopped "$output"
    start_lapse
    run sim monitor status
    same 0 "$status"
    same "running $(cut -d' ' -f1 "$HOST/sim/monitor.pid")" "$output"
    run sim monitor start --program lapse
    same 1 "$status"
    stop_monitor
    run sim monitor status
    same stopped "$output"
    start_lapse
    expect_text sleeps <<'END'
10
END
    kill_monitor
    run sim step
    same 1 "$status"
    same "simhost: the monitor does not run" "$output"
}

@test "a step on a monitor that dies in its cycle ends, and says so" {
    start_lapse
    # shellcheck disable=SC2016 # the text is the script that the host gets
    printf '#!/bin/bash\nread -r pid _ </sim/monitor.pid\nkill -KILL "$pid"\n' >"$HOST/usr/sbin/velomux"
    run sim step
    same 1 "$status"
    same "simhost: the monitor ended: " "$output"
}

@test "a step on a tool that hangs ends after its limit" {
    start_lapse
    sim tool velomux hang
    SIMHOST_STEP_LIMIT=1 run sim step
    same 1 "$status"
    same "simhost: the monitor did not finish its cycle within 1 seconds" "$output"
    sim stop
    run sim monitor status
    same stopped "$output"
}

@test "other programs sleep for real and leave a record, or go on at once when told to" {
    add_program nap
    in_host nap 1
    SIMHOST_SLEEPS=none in_host nap 1000
    expect_text other_sleeps <<'END'
nap 1
nap 1000
END
}

@test "a full disk takes what fits and refuses the rest" {
    add_program spill
    mkdir "$HOST/dumps"
    expect_session <<'END'
sim> fill-disk --after 1000
host> spill /dumps/a.log 600 write
wrote 600
host> spill /dumps/a.log 600 write
wrote 400
write: No space left on device
[1]
host> wc -c </dumps/a.log
1000
host> spill /dumps/new.log 1 write
open: No space left on device
[1]
host> [ -e /dumps/new.log ]
[1]
host> spill /tmp/elsewhere 600 write
wrote 600
sim> free-disk
host> spill /dumps/new.log 600 write
wrote 600
END
}

@test "a stream on a full disk fails when it is closed" {
    add_program spill
    mkdir "$HOST/dumps"
    expect_session <<'END'
sim> fill-disk --after 1000
host> spill /dumps/a.json 3000 stream
fwrite 3000
fclose: No space left on device
host> wc -c </dumps/a.json
1000
sim> fill-disk --after 4000
host> spill /dumps/a.json 3000 stream
fwrite 3000
fclose: ok
host> wc -c </dumps/a.json
3000
END
}

@test "a child that inherits a file under /dumps meets the full disk, too" {
    mkdir "$HOST/dumps"
    expect_session <<'END'
sim> fill-disk --after 4
host> echo 123456789 | cat >/dumps/x
cat: write error: No space left on device
[1]
host> cat /dumps/x; echo
1234
END
}

@test "read-only dumps can be read, not changed" {
    add_program spill
    mkdir "$HOST/dumps"
    echo old >"$HOST/dumps/a.log"
    expect_session <<'END'
sim> read-only-dumps
host> cat /dumps/a.log
old
host> spill /dumps/a.log 1 write
open: Read-only file system
[1]
host> spill /dumps/a.log 1 stream
fopen: Read-only file system
[1]
host> mv /dumps/a.log /dumps/b.log
mv: cannot move '/dumps/a.log' to '/dumps/b.log': Read-only file system
[1]
sim> writable-dumps
host> spill /dumps/a.log 1 write
wrote 1
END
}
