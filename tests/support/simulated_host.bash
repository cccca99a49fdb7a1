# shellcheck shell=bash
# The verbs of the tests that run programs on the simulated host. Loaded by each bats file that
# runs one: load ../support/simulated_host
#
# BUILD_DIR (default: build/release of this checkout) holds the programs, SIMHOST is the simulated host's front.
# Each test has its own host in $HOST, below $BATS_TEST_TMPDIR, so that tests may run side by side.

REPO=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
BUILD_DIR=${BUILD_DIR:-$REPO/build/release}
SIMHOST=${SIMHOST:-$REPO/simhost/simhost}
# The copied tools are the same for every host of a run.
export SIMHOST_CACHE=${SIMHOST_CACHE:-${BATS_RUN_TMPDIR:-${TMPDIR:-/tmp}}/simhost-cache}

# make_host [OPTIONS of "simhost build"]: a new host in $HOST, with the product of $BUILD_DIR installed.
make_host() { make_host_at host "$@"; }

# make_host_at NAME [OPTIONS]: a further one; $HOST is the one made last.
make_host_at() {
    HOST=$BATS_TEST_TMPDIR/$1
    local -a from=()
    [[ -d $BUILD_DIR ]] && from=(--from "$BUILD_DIR")
    "$SIMHOST" build "$HOST" ${from[@]+"${from[@]}"} "${@:2}"
}

# make_empty_host [OPTIONS], make_empty_host_at NAME [OPTIONS]: a host without the product.
make_empty_host() { make_empty_host_at host "$@"; }
make_empty_host_at() {
    HOST=$BATS_TEST_TMPDIR/$1
    "$SIMHOST" build "$HOST" "${@:2}"
}

# sim COMMAND...: a command of the simulated host: sim fail-path sdb
sim() { "$SIMHOST" "$HOST" "$@"; }

# in_host [VAR=VALUE...] CMD ARGS...: runs it inside.
in_host() { "$SIMHOST" "$HOST" run "$@"; }

# The version of what was built, which is written in CMakeLists.txt alone.
product_version() { sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$BUILD_DIR/CMakeCache.txt"; }

# start_monitor [OPTIONS of "monitor start"]: returns when its first cycle is over.
start_monitor() { sim monitor start "$@" && sim settle; }
stop_monitor() { sim monitor stop; }
kill_monitor() { sim monitor kill; }

# step [N]: N whole cycles of the monitor.
step() { sim step "$@"; }

# Lines of the change log, without their time stamps.
change_log() { [[ ! -e $HOST/dumps/dravik_monitor.log ]] || sed 's/^\[[^]]*\] //' "$HOST/dumps/dravik_monitor.log"; }

# Lines of the command log, without time stamps and source line numbers: "ERROR getLunPath Query Dravik ...".
cli_log() {
    [[ ! -e $HOST/dumps/dravik_cli.log ]] ||
        sed -E 's/^\[[^]]*\] //; s/^((ERROR|INFO |DEBUG|LEVEL\[[0-9]+\]) [^ ]+) [0-9]+ /\1 /' \
            "$HOST/dumps/dravik_cli.log"
}

# The snapshot file as it stands.
snapshot() { cat "$HOST/dumps/data.dravik"; }

# Stand-ins that were run, one argument vector a line; command lines that programs gave to the shell; seconds that
# the monitor slept; "PROGRAM SECONDS" of everything else that slept; request blocks that reached the array.
calls() { cat "$HOST/sim/calls.log"; }
shells() { cat "$HOST/sim/shells.log"; }
sleeps() { cat "$HOST/sim/sleeps"; }
other_sleeps() { [[ ! -e $HOST/sim/sleeps.others ]] || cat "$HOST/sim/sleeps.others"; }
ioctls() { [[ ! -e $HOST/sim/ioctls.log ]] || cat "$HOST/sim/ioctls.log"; }

# Empties the logs and records, so that what follows stands alone.
forget() {
    local file
    for file in dumps/dravik_monitor.log dumps/dravik_cli.log sim/calls.log sim/shells.log sim/ioctls.log \
        sim/sleeps.others; do
        [[ ! -e $HOST/$file ]] || : >"$HOST/$file"
    done
}

# same EXPECTED ACTUAL: whole texts, to the last byte; shows what differs.
same() {
    [[ $1 == "$2" ]] && return
    diff -u --label expected --label actual <(printf '%s\n' "$1") <(printf '%s\n' "$2")
    return 1
}

# expect_output < EXPECTED: the same for what "run" captured.
expect_output() {
    local expected
    expected=$(cat)
    # shellcheck disable=SC2154 # set by run
    same "$expected" "$output"
}

# expect_text VERB [ARGUMENTS] < EXPECTED: the same for what a command prints: expect_text change_log <<'END'
expect_text() {
    local expected actual
    expected=$(cat)
    actual=$("$@")
    same "$expected" "$actual"
}

# descendants PID: the processes below it, the deepest first, one a line.
descendants() {
    local child
    for child in $(ps -o pid= --ppid "$1"); do
        descendants "$child"
        echo "$child"
    done
}

# Lines of the command log that tell who changed the host.
audit_lines() { cli_log | grep '^INFO  audit ' || true; }

# Every host of the test ends with it: a monitor left behind would hold its folder and the machine's time.
drop_hosts() {
    local host
    for host in "$BATS_TEST_TMPDIR"/*/sim; do
        [[ -d $host ]] || continue
        "$SIMHOST" "${host%/sim}" stop
        rm -rf "${host%/sim}"
    done
}

teardown() { drop_hosts; }

# add_program NAME: compiles programs/NAME.c beside this file and puts it into the host, as /usr/bin/NAME.
add_program() {
    "${CC:-cc}" -std=gnu11 -o "$BATS_TEST_TMPDIR/$1" "$REPO/tests/support/programs/$1.c" "${@:2}"
    sim add "$BATS_TEST_TMPDIR/$1"
}
