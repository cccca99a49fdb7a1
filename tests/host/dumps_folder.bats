#!/usr/bin/env bats
# A /dumps that is not root's: nothing is written there, and whoever looks at the program is told.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

HINT="dravik: /dumps is not root's: nothing is logged or kept there (chown root /dumps)"

setup() { ((EUID == 0)) || skip "giving a folder away needs root"; }

@test "a command says once that /dumps is not root's, and writes nothing there" {
    make_host --scenario "$SMALL"
    rm -rf "$HOST/dumps"
    mkdir -m 755 "$HOST/dumps"
    chown 1000 "$HOST/dumps"
    run --separate-stderr in_host dravik query
    same 0 "$status"
    same "$HINT" "$stderr"
    same "" "$(ls -A "$HOST/dumps")"
}

@test "the monitor says once that /dumps is not root's, however many cycles it runs" {
    make_host --scenario "$SMALL"
    rm -rf "$HOST/dumps"
    mkdir -m 755 "$HOST/dumps"
    chown 1000 "$HOST/dumps"
    start_monitor
    step 2
    stop_monitor
    same "$HINT" "$(cat "$HOST/sim/monitor.err")"
    same "" "$(ls -A "$HOST/dumps")"
}
