#!/usr/bin/env bats
# The service script of hosts without systemd, with real processes: a stand-in for the monitor whose file is replaced
# while it runs. Everything that the script names lies in a folder of the test.

load ../support/simulated_host

setup_file() {
    export STAND_IN=$BATS_FILE_TMPDIR/stand-in
    "${CC:-cc}" -O1 -o "$STAND_IN" "$BATS_TEST_DIRNAME/stand_in_monitor.c"
}

setup() {
    ((EUID == 0)) || skip "a service is root's"
    AREA=$BATS_TEST_TMPDIR/area PROGRAM=$BATS_TEST_TMPDIR/area/bin/dravik-monitor
    PID_FILE=$AREA/run/dravik-monitor.pid
    mkdir -p "$AREA"/{bin,run,init.d}
    install "$STAND_IN" "$PROGRAM"
    cp "$REPO/packaging/dravik-monitor.init" "$AREA/init.d/dravik-monitor"
    set_constant program "$PROGRAM"
    set_constant pid_file "$PID_FILE"
    set_constant lock_file "$AREA/run/dravik-monitor.lock"
    set_constant systemd_folder "$AREA/run/systemd"
}

# beside COMMAND...: runs it beside the test, which ends it at the latest with itself; its number is $!.
beside() {
    "$@" </dev/null >/dev/null 2>&1 3>&- &
    echo $! >>"$BATS_TEST_TMPDIR/beside"
    disown
}

those_beside() { [[ ! -e $BATS_TEST_TMPDIR/beside ]] || cat "$BATS_TEST_TMPDIR/beside"; }

teardown() {
    local pid
    for pid in $(those_beside); do
        descendants "$pid" | xargs -r kill -KILL || true
        kill -KILL "$pid" 2>/dev/null || true
    done
    for pid in $(processes); do
        kill -KILL "$pid"
    done
}

# set_constant NAME VALUE: in this test's copy of the script.
set_constant() {
    grep -q "^$1=" "$AREA/init.d/dravik-monitor"
    sed -i "s|^$1=.*|$1=$2|" "$AREA/init.d/dravik-monitor"
}

# service WORD...: the script; service_prints WORD < EXPECTED: with everything that it says, and "[STATUS]".
service() { "$AREA/init.d/dravik-monitor" "$@" 2>&1; }
service_prints() { expect_text service_and_status "$1"; }
service_and_status() {
    service "$@" | sed -E 's/process(es)? [0-9]+( [0-9]+)*/process\1 N/'
    echo "[${PIPESTATUS[0]}]"
}

# Processes that run, or have run, a file of the test's folder: seen by others than the script.
processes() {
    find /proc -mindepth 2 -maxdepth 2 -path '/proc/[0-9]*/exe' -lname "$AREA/*" 2>/dev/null | sed 's,^/proc/,,; s,/exe$,,' || true
}

# open_to_others: another user can come to the program and to the script.
open_to_others() {
    local folder=$AREA/bin
    while [[ $folder == "$BATS_RUN_TMPDIR"* ]]; do
        chmod a+rx "$folder"
        folder=${folder%/*}
    done
}

one_process() { same 1 "$(processes | wc -l)"; }

# upgrade: the package manager's way, a new file in the place of the old one.
upgrade() {
    install "$STAND_IN" "$PROGRAM.new"
    mv "$PROGRAM.new" "$PROGRAM"
}

# runs_installed: one process, and it runs the file that is installed now.
runs_installed() {
    one_process
    [[ /proc/$(processes)/exe -ef $PROGRAM ]]
    same "$(processes)" "$(cat "$PID_FILE")"
}

@test "start, status, stop: one process, a pid file, and the statuses of the LSB" {
    service_prints status <<'END'
dravik-monitor is stopped
[3]
END
    service_prints stop <<'END'
dravik-monitor is not running
[0]
END
    service_prints try-restart <<'END'
[0]
END
    service_prints force-reload <<'END'
[0]
END
    same "" "$(processes)"
    service_prints start <<'END'
dravik-monitor started
[0]
END
    runs_installed
    service_prints start <<'END'
dravik-monitor is running already
[0]
END
    runs_installed
    service_prints status <<'END'
dravik-monitor is running (process N)
[0]
END
    service_prints stop <<'END'
dravik-monitor stopped
[0]
END
    same "" "$(processes)"
    [[ ! -e $PID_FILE ]]
}

@test "restart, try-restart, condrestart and force-reload make a new process of a running one" {
    local verb before
    service_prints restart <<'END'
dravik-monitor is not running
dravik-monitor started
[0]
END
    for verb in restart try-restart condrestart force-reload; do
        before=$(processes)
        service_prints "$verb" <<'END'
dravik-monitor stopped
dravik-monitor started
[0]
END
        runs_installed
        [[ $(processes) != "$before" ]]
    done
}

@test "what it does not know is refused with the statuses of the LSB" {
    service_prints reload <<'END'
dravik-monitor: there is nothing to reload
[3]
END
    service_prints tart <<'END'
usage: dravik-monitor start|stop|restart|try-restart|force-reload|status
[2]
END
    run service
    same "2: usage: dravik-monitor start|stop|restart|try-restart|force-reload|status" "$status: $output"
    rm "$PROGRAM"
    service_prints start <<END
dravik-monitor: $PROGRAM is not there
[5]
END
}

@test "after an upgrade try-restart replaces the old process, and there is one" {
    service start
    upgrade
    [[ $(readlink "/proc/$(processes)/exe") == "$PROGRAM (deleted)" ]]
    service_prints status <<'END'
dravik-monitor is running (process N), but not the program that is installed now: restart it
[0]
END
    service_prints try-restart <<'END'
dravik-monitor stopped
dravik-monitor started
[0]
END
    runs_installed
}

@test "after an upgrade restart replaces the old process, and there is one" {
    service start
    upgrade
    upgrade
    service restart
    runs_installed
}

@test "after an upgrade stop ends the old process" {
    service start
    upgrade
    service_prints stop <<'END'
dravik-monitor stopped
[0]
END
    same "" "$(processes)"
    service_prints status <<'END'
dravik-monitor is stopped
[3]
END
}

@test "after an upgrade start starts no second one" {
    service start
    local before
    before=$(processes)
    upgrade
    service_prints start <<'END'
dravik-monitor is running already
[0]
END
    same "$before" "$(processes)"
}

@test "a program that was put aside by hand, or removed, is still the monitor" {
    service start
    mv "$PROGRAM" "$PROGRAM.old"
    install "$STAND_IN" "$PROGRAM"
    service try-restart
    runs_installed
    rm "$PROGRAM"
    service_prints restart <<END
dravik-monitor stopped
dravik-monitor: $PROGRAM is not there
[5]
END
    same "" "$(processes)"
}

@test "a missing pid file changes nothing" {
    service start
    rm "$PID_FILE"
    service_prints status <<'END'
dravik-monitor is running (process N)
[0]
END
    service_prints start <<'END'
dravik-monitor is running already
[0]
END
    runs_installed
    rm "$PID_FILE"
    service restart
    runs_installed
    rm "$PID_FILE"
    service stop
    same "" "$(processes)"
}

@test "a pid file of a monitor that is dead, of another process, or of no process at all harms nobody" {
    local other content
    beside sleep 300
    other=$!
    for content in "$other" "$other"$'\n1' 1 $$ 0 -1 99999999 '' mpatha "a[\$(kill $other)]" "$other; kill $other"; do
        printf '%s\n' "$content" >"$PID_FILE"
        service_prints status <<END
dravik-monitor is dead, but $PID_FILE is there
[1]
END
        service_prints try-restart <<'END'
[0]
END
        service_prints stop <<'END'
dravik-monitor is not running
[0]
END
        [[ ! -e $PID_FILE ]]
        printf '%s\n' "$content" >"$PID_FILE"
        service start
        runs_installed
        printf '%s\n' "$content" >"$PID_FILE"
        service stop
        same "" "$(processes)"
    done
    kill -0 "$other"
}

@test "a monitor that takes its time has ended when stop returns" {
    touch "$PROGRAM.slow"
    service start
    service_prints stop <<'END'
dravik-monitor stopped
[0]
END
    same "" "$(processes)"
    service start
    service restart
    runs_installed
}

@test "a monitor that does not hear is killed, and restart leaves one" {
    touch "$PROGRAM.deaf"
    service start
    local before
    before=$(processes)
    service_prints restart <<'END'
dravik-monitor stopped
dravik-monitor started
[0]
END
    runs_installed
    [[ $(processes) != "$before" ]]
}

@test "a monitor that cannot be killed is reported, keeps its pid file, and gets no second one beside it" {
    touch "$PROGRAM.deaf"
    service start
    # In the place of a process that waits for a device: the signal is never sent.
    sed -i 's/kill -KILL/: &/; s/^\(readonly TERM_SECONDS\)=.*/\1=1 KILL_SECONDS=1 LOCK_SECONDS=9/' "$AREA/init.d/dravik-monitor"
    service_prints restart <<'END'
dravik-monitor: process N does not end, not even by SIGKILL: it waits for a device
[1]
END
    runs_installed
    service_prints stop <<'END'
dravik-monitor: process N does not end, not even by SIGKILL: it waits for a device
[1]
END
    runs_installed
}

@test "two monitors are told of, and stop and restart end both" {
    service start
    for _ in 1 2; do
        beside "$PROGRAM"
    done
    service_prints status <<'END'
dravik-monitor is running more than once (processes N), so every change is written as often: restart it
[0]
END
    service try-restart
    runs_installed
    upgrade
    beside "$PROGRAM"
    service stop
    same "" "$(processes)"
}

@test "starts at the same time make one monitor" {
    for _ in 1 2 3 4 5; do
        same "dravik-monitor is running already
dravik-monitor is running already
dravik-monitor is running already
dravik-monitor started" "$(for _ in 1 2 3 4; do service start & done 3>&- | sort)"
        runs_installed
        service stop
    done
}

@test "restarts at the same time leave one monitor" {
    service start
    same "      4 dravik-monitor started
      4 dravik-monitor stopped" "$(for _ in 1 2 3 4; do service restart & done 3>&- | sort | uniq -c)"
    runs_installed
}

@test "a start that cannot wait any longer says so and starts nothing" {
    sed -i 's/LOCK_SECONDS=60/LOCK_SECONDS=1/' "$AREA/init.d/dravik-monitor"
    beside flock "$AREA/run/dravik-monitor.lock" sleep 300
    until ! flock -n "$AREA/run/dravik-monitor.lock" true; do sleep 0.05; done
    service_prints start <<END
dravik-monitor: another start or stop holds $AREA/run/dravik-monitor.lock for 1 seconds already
[1]
END
    same "" "$(processes)"
    service_prints status <<'END'
dravik-monitor is stopped
[3]
END
}

@test "a monitor that does not start is reported, and leaves no pid file" {
    touch "$PROGRAM.broken"
    service_prints start <<END
dravik-monitor: $PROGRAM did not start; run it by hand to see why
[1]
END
    [[ ! -e $PID_FILE ]]
    rm -r "$AREA/run"
    run service start
    same 1 "$status"
    same "" "$(processes)"
}

@test "what only looks like the monitor is left alone" {
    local pid
    # A program of the name elsewhere, one of a longer name beside it; a script of the name; one that claims the path; a
    # user's own.
    mkdir "$AREA/elsewhere"
    install "$STAND_IN" "$PROGRAM-check"
    beside "$PROGRAM-check"
    install "$STAND_IN" "$AREA/elsewhere/dravik-monitor"
    beside "$AREA/elsewhere/dravik-monitor"
    printf '#!/bin/bash\nread -r _ < <(sleep 300)\n' >"$AREA/elsewhere/script"
    install "$AREA/elsewhere/script" "$AREA/dravik-monitor"
    beside "$AREA/dravik-monitor"
    beside bash -c 'exec -a "$1" sleep 300' _ "$PROGRAM"
    open_to_others
    beside chroot --userspec=65534:65534 / "$PROGRAM"
    until [[ $(processes | wc -l) == 3 ]]; do sleep 0.05; done
    service_prints status <<'END'
dravik-monitor is stopped
[3]
END
    service restart
    service stop
    for pid in $(those_beside); do
        kill -0 "$pid"
    done
}

@test "a monitor in a container is the container's" {
    unshare -m true || skip "no mount namespace can be had here"
    # In an empty root there are no libraries.
    "${CC:-cc}" -static -o "$PROGRAM" "$BATS_TEST_DIRNAME/stand_in_monitor.c" || skip "no C library can be linked statically"
    mkdir "$AREA/container"
    beside unshare -m bash -c '
        mount -t tmpfs none "$1/container" && mkdir -p "$1/container/old" "$1/container${2%/*}"
        cp "$2" "$1/container$2"
        cd "$1/container" && pivot_root . old && exec "$2"' _ "$AREA" "$PROGRAM"
    local inside=$!
    until [[ $(readlink "/proc/$inside/exe") == "$PROGRAM" ]]; do sleep 0.05; done
    service_prints status <<'END'
dravik-monitor is stopped
[3]
END
    service start
    same 2 "$(processes | wc -l)"
    service stop
    same "$inside" "$(processes)"
}

@test "without /proc it does nothing and says so" {
    unshare -m true || skip "no mount namespace can be had here"
    without_proc() { unshare -m bash -c 'mount -t tmpfs none /proc && exec "$@"' _ "$AREA/init.d/dravik-monitor" "$1"; }
    run without_proc status
    same "4: dravik-monitor: /proc is not mounted, so what runs cannot be told" "$status: $output"
    run without_proc start
    same "4: dravik-monitor: /proc is not mounted, so what runs cannot be told" "$status: $output"
    same "" "$(processes)"
}

@test "another user than root is refused" {
    open_to_others
    local verb
    for verb in start stop restart try-restart status; do
        run chroot --userspec=65534:65534 / "$AREA/init.d/dravik-monitor" "$verb"
        same "4: dravik-monitor: only root can tell and change whether it runs" "$status: $output"
    done
}

@test "the monitor starts in a session, a folder and with descriptors of its own, its files for root alone" {
    local pid
    cd "$AREA"
    service start 7<"$PROGRAM" 8>"$AREA/held" 2>/dev/null | cat
    pid=$(processes)
    same / "$(readlink "/proc/$pid/cwd")"
    same "0 /dev/null
1 /dev/null
2 /dev/null" "$(find "/proc/$pid/fd" -type l -printf '%f %l\n' | sort)"
    same "$pid" "$(ps -o sid= -p "$pid" | tr -d ' ')"
    same 0077 "$(awk '$1 == "Umask:" {print $2}' "/proc/$pid/status")"
}

@test "the caller's shell has no part in it" {
    echo "touch '$AREA/ran'; exit 9" >"$AREA/env"
    mkdir "$AREA/foreign"
    printf '#!/bin/sh\necho wrong\n' | tee "$AREA"/foreign/{readlink,sleep,setsid,flock,rm} >/dev/null
    chmod +x "$AREA"/foreign/*
    foreign() {
        env BASH_ENV="$AREA/env" ENV="$AREA/env" SHELLOPTS=monitor:noglob PATH="$AREA/foreign" \
            'BASH_FUNC_kill%%=() { echo wrong; }' 'BASH_FUNC_readlink%%=() { echo wrong; }' \
            'BASH_FUNC_is_monitor%%=() { echo wrong; }' "$AREA/init.d/dravik-monitor" "$@" 2>&1
    }
    run foreign start
    same "0: dravik-monitor started" "$status: $output"
    run foreign restart
    same "0: dravik-monitor stopped
dravik-monitor started" "$status: $output"
    runs_installed
    run foreign stop
    same "0: dravik-monitor stopped" "$status: $output"
    [[ ! -e $AREA/ran ]]
}

@test "where systemd runs, its unit is the service" {
    mkdir "$AREA/run/systemd" "$AREA/systemctl"
    printf '#!/bin/sh\necho "systemctl $*"\nexit 3\n' >"$AREA/systemctl/systemctl"
    chmod +x "$AREA/systemctl/systemctl"
    sed -i "s|^export PATH=|&$AREA/systemctl:|" "$AREA/init.d/dravik-monitor"
    local verb
    for verb in start stop restart try-restart status; do
        service_prints "$verb" <<END
systemctl $verb dravik-monitor.service
[3]
END
    done
    for verb in condrestart force-reload; do
        service_prints "$verb" <<END
systemctl try-restart dravik-monitor.service
[3]
END
    done
    same "" "$(processes)"
}
