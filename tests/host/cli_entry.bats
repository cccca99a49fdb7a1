#!/usr/bin/env bats
# The administration tool's entry: what each way of calling it prints, and with which exit status it ends.
# shellcheck disable=SC2016 # what stands in single quotes is hostile text, not to be expanded

bats_require_minimum_version 1.5.0
load ../support/simulated_host

LINE=$(printf -- '-%.0s' {1..130})

# result TEXT: a printed result.
result() { printf '%s\n%s\n%s\n' "$LINE" "$1" "$LINE"; }

usage_and_list() {
    cat <<'END'
Usage: dravik COMMAND [parameters]
aggregation
config
delalias
delete
lsalias
lspathpolicy
query
restart
scan
setalias
setstate
setpathpolicy
start
status
stop
version
port
devstats

Commands with options of their own:
check
list
events
baseline
metrics
explain
report
END
}

# A help text that the tests own.
write_help() {
    mkdir -p "$HOST/usr/bin/dravik-help"
    printf 'dravik %s: asks a XXXXXX array.\nXXXXXXXXXXXX; `$HOME` %%s\n' "$1" >"$HOST/usr/bin/dravik-help/$1.help"
}

help_text() {
    printf '%s\ndravik %s: asks a Korvel array.\nKorvelKorvel; `$HOME` %%s\n%s\n' "$LINE" "$1" "$LINE"
}

# answers STATUS STDOUT -- ARGUMENTS...: standard error is empty.
answers() {
    local status_wanted=$1 text=$2
    shift 3
    run --separate-stderr in_host dravik "$@"
    same "$text" "$output"
    # shellcheck disable=SC2154 # set by run
    same "" "$stderr"
    same "$status_wanted" "$status"
}

# is_unknown NAME NEAREST -- ARGUMENTS...: the answer to a command that is not there; NEAREST, where it is not empty, is
# offered on standard error.
is_unknown() {
    local name=$1 nearest=$2 hint=
    shift 3
    run --separate-stderr in_host dravik "$@"
    same "$(result "Error(0102): Invalid command name [$name].")" "$output"
    [[ -z $nearest ]] || hint="dravik: there is no command \"$name\"; did you mean \"$nearest\"?"
    same "$hint" "$stderr"
    same 1 "$status"
}

@test "without a command, or asked for help, it prints its usage line and the command list" {
    make_host
    answers 0 "$(usage_and_list)" --
    answers 0 "$(usage_and_list)" -- -h
    answers 0 "$(usage_and_list)" -- --help
    answers 0 "$(usage_and_list)" -- help
}

@test "--version prints name and version on one line" {
    make_host
    answers 0 "dravik $(product_version)" -- --version
    answers 1 "$(result 'Error(0105): Invalid command parameter [x].')" -- --version x
}

@test "a command's help is shown in four ways, with the maker's name in it" {
    make_host
    write_help query
    write_help refresh
    answers 0 "$(help_text query)" -- help query
    answers 0 "$(help_text query)" -- --help query
    answers 0 "$(help_text query)" -- query -h
    answers 0 "$(help_text query)" -- query --help
    answers 0 "$(help_text refresh)" -- help refresh
    answers 1 "$(result 'Error(0105): Invalid command parameter [x].')" -- help query x
}

@test "help for an unknown name is answered by the name check, not by a file of that name" {
    make_host
    write_help nosuch
    write_help mkconfig
    local name
    for name in nosuch ../../../etc/passwd '$(id)' ''; do
        is_unknown "$name" '' -- help "$name"
        is_unknown "$name" '' -- "$name" -h
    done
    is_unknown mkconfig config -- help mkconfig
    is_unknown mkconfig config -- mkconfig -h
    expect_text shells </dev/null
}

@test "a help text that is missing or cannot be shown is an error" {
    make_host
    rm -rf "$HOST/usr/bin/dravik-help"
    answers 1 "$(result 'Error(0001): No help avaliable for [query].')" -- help query
    write_help query
    sim tool cat fail
    answers 1 "$(result 'Error(0002): Show command help failed.')" -- help query
    cli_log | grep -Fx 'ERROR print_help Execute command [cat /usr/bin/dravik-help/query.help] failed'
}

@test "a help text that is empty prints nothing, its separators neither" {
    make_host
    mkdir -p "$HOST/usr/bin/dravik-help"
    : >"$HOST/usr/bin/dravik-help/port.help"
    run in_host dravik help port
    same "" "$output"
    same 0 "$status"
}

@test "an unknown command is named, and so is a listed one with anything before or behind" {
    make_host
    local name
    for name in nosuch '-x' ''; do
        is_unknown "$name" '' -- "$name"
    done
    for name in quer queryx ' query' Query; do
        is_unknown "$name" query -- "$name"
    done
    is_unknown setailas setalias -- setailas
    is_unknown chekc check -- chekc
    is_unknown 'a\x09b' '' -- $'a\tb' # control bytes are made visible
    expect_text shells </dev/null
}

@test "service commands run only through --service" {
    make_host
    local name
    is_unknown mkconfig config -- mkconfig
    for name in lsselfstart setselfstart; do
        is_unknown "$name" '' -- "$name"
    done
    for name in query nosuch ''; do
        is_unknown "$name" '' -- --service "$name"
    done
    answers 1 "$(result 'Error(0108): Missing value for the parameter [--service].')" -- --service
    answers 1 "$(result 'Error(0105): Invalid command parameter [x].')" -- --service lsselfstart x
    expect_text shells </dev/null
    answers 0 "$LINE
Self-starting status: on
$LINE
$(result 'Command executed successfully.')" -- --service lsselfstart
    answers 0 "$(result 'Command executed successfully.')" -- --service setselfstart
    shells | grep -Fx 'systemctl enable dravikd.service 2>&1'
}

@test "a successful command ends with 0, a failed one with 1" {
    make_host
    run in_host dravik status
    same 0 "$status"
    sim tool velomux missing
    answers 1 "$(result 'Error(0003): Execute system command failed.')" -- query
}

@test "scan asks for patience before it begins" {
    make_host
    answers 0 "This operation may take several minutes, please wait patiently.
$(result 'Command executed successfully.')" -- scan
}

@test "delalias refuses a WWID that no shell may see, before any shell" {
    make_host
    local wwid
    for wwid in '' 'a b' 'a;reboot' '$(reboot)' '`x`' 'a/b' $'a\nb' 'é'; do
        answers 1 "$(result 'Error(0126): Wrong format of parameter [-wwid] value.')" -- delalias -wwid "$wwid"
    done
    expect_text shells </dev/null
}

@test "devstats without a usable interval says so before it asks for the topology" {
    make_host
    answers 1 "$(result 'Error(0145): Missing parameter [-interval].')" -- devstats
    answers 1 "$(result 'Error(0145): Missing parameter [-interval].')" -- devstats -path_alias mpatha
    local interval
    for interval in 0 000 4294967296 99999999999999999999; do
        answers 1 "$(result 'Error(0146): Wrong format of parameter [-interval] value.')" -- devstats -interval "$interval"
    done
    expect_text shells </dev/null
}

# as_user CMD ARGS...: runs it inside as a user without rights.
as_user() {
    cp "$(command -v chroot)" "$HOST/usr/bin/chroot"
    in_host chroot --userspec=12345:12345 / "$@"
}

@test "another user than root is told so once, and query shows him what he may read" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_host
    local everything
    everything=$(in_host dravik version)
    run --separate-stderr as_user dravik version
    same "$everything" "$output"
    same "dravik: not running as root: what needs root will fail" "$stderr"
    same 0 "$status"
    run --separate-stderr as_user dravik query
    same "$(in_host dravik query | grep -v vdisk_name)" "$(grep -v vdisk_name <<<"$output")"
    same "dravik: not running as root: what needs root will fail" "$stderr"
    same 0 "$status"
}

@test "another user than root changes nothing, and is told so in words and as a document" {
    ((EUID == 0)) || skip "only root can become another user here"
    make_host
    run --separate-stderr as_user dravik delete mpatha
    same "" "$output"
    same "dravik: delete changes the host: run it as root" "$stderr"
    same 1 "$status"
    run --separate-stderr as_user dravik --json delete mpatha
    same '{"format_version":"1.0","host":"HOST","time":"TIME","command":"delete","result":{"code":null,"message":"not run, only root changes the host"}}' \
        "$(sed -E 's/("host":")[^"]*(","time":")[^"]*"/\1HOST\2TIME"/' <<<"$output")"
    same "dravik: delete changes the host: run it as root" "$stderr"
    same 1 "$status"
    same "" "$(shells)"
}

@test "output that gets lost is an error of a command that only shows something" {
    make_host
    [[ -c $HOST/dev/full ]] || skip "no /dev/full can be made here"
    run --separate-stderr in_host bash -c 'dravik query >/dev/full'
    same "dravik: the output could not be written: No space left on device" "$stderr"
    same 1 "$status"
    run --separate-stderr in_host bash -c 'dravik stop >/dev/full'
    same "dravik: the output could not be written: No space left on device" "$stderr"
    same 0 "$status"
}

@test "closed standard descriptors and a parent that ignores its children do no harm" {
    make_host
    local whole log
    whole=$(in_host dravik query)
    log=$(cli_log)
    forget
    in_host bash -c 'dravik query >/dumps/out <&- 2>&-'
    same "$whole" "$(cat "$HOST/dumps/out")"
    same "$log" "$(cli_log)"
    forget
    in_host bash -c "trap '' CHLD PIPE ALRM; dravik query >/dumps/out"
    same "$whole" "$(cat "$HOST/dumps/out")"
    same "$log" "$(cli_log)"
    # Nothing that the command opens takes the place of what it prints to.
    forget
    in_host bash -c 'exec <&- >&- 2>&-; dravik stop'
    expect_text audit_lines <<'END'
INFO  audit user root ran [dravik stop]: Command executed successfully.
END
}

@test "a reader that goes away ends query quietly" {
    make_host
    run --separate-stderr in_host bash -c 'set -o pipefail; dravik query | head -n 1'
    same "$LINE" "$output"
    same "" "$stderr"
}
