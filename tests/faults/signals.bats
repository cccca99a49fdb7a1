#!/usr/bin/env bats
# INT, TERM, HUP and PIPE before every system call of the commands that change the configuration, and Ctrl+C, which the
# whole foreground gets, as each child begins and ends, and at random instants: the change is finished or taken back, and
# one line tells of it.

# shellcheck disable=SC2034,SC2153 # read, and set, by faults.bash
bats_require_minimum_version 1.5.0
load faults

# judge_interrupted WHERE OLD NEW SIGNAL COMMAND
judge_interrupted() {
    local where=$1 old=$2 new=$3 number line audits=0
    number=$(kill -l "$4")
    judge_conf "$where" "$old" "$new"
    judge_backup "$where" "$old"
    judge_log "$HOST/dumps/dravik_cli.log" "$where"
    case $STATUS in
    0 | 1 | 124 | "$((128 + number))") ;;
    *) found wrong "$where: exit status $STATUS" ;;
    esac
    if [[ -e $HOST/dumps/dravik_cli.log ]]; then
        while read -r line; do [[ $line != *'] INFO  audit '* ]] || ((++audits)); done <"$HOST/dumps/dravik_cli.log"
    fi
    text "$HOST/etc/velomux.conf"
    if ((audits > 1)) || { [[ $TEXT == "$new" && $new != "$old" ]] && ((audits != 1)); }; then
        found lost "$where: $audits audit lines"
    fi
    # A policy that stays is one that the daemon was told of.
    if [[ $5 == setpathpolicy* && $TEXT == "$new" ]] && ! grep -q ' reload ' "$HOST/sim/calls.log"; then
        found lost "$where: changed, not reloaded"
    fi
}

# interrupted OLD NEW SAMPLES COMMAND: each signal before each of its calls.
interrupted() {
    local old=$1 new=$2 samples=$3 command=$4 name number signal
    set_conf "$old"
    # shellcheck disable=SC2086 # the words of the command
    traced "$BATS_TEST_TMPDIR/trace" "${ENTRY[@]}" dravik $command
    while read -r name number signal; do
        set_conf "$old"
        : >"$HOST/sim/calls.log"
        # shellcheck disable=SC2086
        attempt "$command, SIG$signal before $name $number" strace -qq -o /dev/null -e "trace=$name" \
            -e "inject=$name:signal=SIG$signal:when=$number" "${ENTRY[@]}" dravik $command
        judge_interrupted "$command, SIG$signal before $name $number" "$old" "$new" "$signal" "$command"
    done < <(calls_after "$BATS_TEST_TMPDIR/trace" "$PROGRAM_BEGINS" |
        while read -r name number; do printf "$name $number %s\n" INT TERM HUP PIPE; done | sampled "$samples")
}

# changing FUNCTION SAMPLES COMMAND: calls it with the text before the command and the text after it.
changing() {
    local old new
    make_fault_host
    succeeds config
    [[ $3 != delalias* ]] || succeeds setalias -wwid "$A" -alias backup
    text "$HOST/etc/velomux.conf"
    old=$TEXT
    set_conf "$old"
    undisturbed "$3"
    text "$HOST/etc/velomux.conf"
    new=$TEXT
    "$1" "$old" "$new" "$2" "$3"
}

@test "a signal before any system call of setpathpolicy finishes the change or takes it back" {
    changing interrupted 6 'setpathpolicy -chooser round-robin-extend'
    count "signals before system calls of setpathpolicy"
}

@test "a signal before any system call of setalias finishes the change or takes it back" {
    changing interrupted 6 "setalias -wwid $A -alias backup"
    count "signals before system calls of setalias"
}

@test "a signal before any system call of delalias finishes the change or takes it back" {
    changing interrupted 6 "delalias -wwid $A"
    count "signals before system calls of delalias"
}

@test "a signal before any system call of mkconfig finishes the change or takes it back" {
    changing interrupted 6 '--service mkconfig'
    count "signals before system calls of mkconfig"
}

@test "a signal before any system call of config finishes the change or takes it back" {
    changing interrupted 6 config
    count "signals before system calls of config"
}

# No process of the host is left but what it had.
wait_for_children() {
    local process waited=0
    for process in /proc/[0-9]*; do
        while [[ $process/root -ef $HOST ]] && ((waited++ < 500)); do sleep 0.02; done
    done
}

# The host's shell, which sends Ctrl+C to the foreground as the child of the number in sim/at begins, or when its work is
# done; sim/children counts them.
make_interrupting_shell() {
    mv "$HOST/usr/bin/sh" "$HOST/usr/bin/sh.of-the-host"
    cat >"$HOST/usr/bin/sh" <<'SHELL'
#!/usr/bin/bash
read -r children </sim/children
echo $((++children)) >/sim/children
read -r number moment </sim/at
((children != number)) || [[ $moment != begins ]] || kill -INT 0
(exec -a sh /usr/bin/sh.of-the-host "$@")
status=$?
((children != number)) || [[ $moment != ends ]] || kill -INT 0
exit "$status"
SHELL
    chmod 755 "$HOST/usr/bin/sh"
    echo 0 >"$HOST/sim/children"
    echo 0 none >"$HOST/sim/at"
}

# ctrl_c_at_children OLD NEW - COMMAND: as each child begins, and as it ends; they are few.
ctrl_c_at_children() {
    local old=$1 new=$2 command=$4 children point number moment
    set_conf "$old"
    make_interrupting_shell
    undisturbed "$command"
    read -r children <"$HOST/sim/children"
    ((children > 0))
    for point in $(points $((2 * children)) $((2 * children))); do
        number=$(((point + 1) / 2))
        moment=begins
        ((point % 2 == 1)) || moment=ends
        echo 0 none >"$HOST/sim/at"
        set_conf "$old"
        : >"$HOST/sim/calls.log"
        echo 0 >"$HOST/sim/children"
        echo "$number $moment" >"$HOST/sim/at"
        # shellcheck disable=SC2086 # the words of the command
        attempt "$command, Ctrl+C as child $number $moment" setsid -w "${ENTRY[@]}" dravik $command
        wait_for_children
        judge_interrupted "$command, Ctrl+C as child $number $moment" "$old" "$new" INT "$command"
    done
}

@test "Ctrl+C as any child of a changing command begins or ends finishes the change or takes it back" {
    local command
    for command in 'setpathpolicy -chooser round-robin-extend' "setalias -wwid $A -alias backup" "delalias -wwid $A" \
        '--service mkconfig' config; do
        changing ctrl_c_at_children - "$command"
        drop_hosts
    done
    count "Ctrl+C as a child of the changing commands begins or ends"
}

# state: what commands change of paths and maps, and what is recorded of it; on one line.
state() {
    { sim listing && ls "$HOST/sys/block" && cat "$HOST/dumps/dravik_offline_paths"; } 2>/dev/null | tr '\n' '|'
}

# ctrl_c_at_children_of COMMAND: as each of its children begins and ends, on a host that is new each time.
ctrl_c_at_children_of() {
    local children number moment old new where
    make_fault_host
    make_interrupting_shell
    old=$(state)
    undisturbed "$1"
    new=$(state)
    [[ $1 == restart || $new != "$old" ]]
    read -r children <"$HOST/sim/children"
    ((children > 0))
    for ((number = 1; number <= children; number++)); do
        for moment in begins ends; do
            where="$1, Ctrl+C as child $number $moment"
            drop_hosts
            make_fault_host
            make_interrupting_shell
            echo "$number $moment" >"$HOST/sim/at"
            # shellcheck disable=SC2086 # the words of the command
            attempt "$where" setsid -w "${ENTRY[@]}" dravik $1
            wait_for_children
            same 130 "$STATUS"
            audits "$where" 1
            case $(state) in
            "$old" | "$new") ;;
            *) found torn "$where: $(state)" ;;
            esac
            [[ $1 != restart ]] || grep -q ' reload ' "$HOST/sim/calls.log" || found lost "$where: not reloaded"
        done
    done
    drop_hosts
}

@test "Ctrl+C as any child of a command that changes paths begins or ends leaves the host as it was or as it was to be" {
    ctrl_c_at_children_of restart
    ctrl_c_at_children_of 'setstate -path_alias mpatha -device_name sdb -state offline'
    ctrl_c_at_children_of 'delete mpatha'
    count "Ctrl+C as a child of restart, setstate and delete begins or ends"
}

# ctrl_c OLD NEW TIMES COMMAND: the command and its children get SIGINT at once, some milliseconds after the start.
ctrl_c() {
    local old=$1 new=$2 times=$3 command=$4 i after
    [[ $FAULTS != whole ]] || times=$((times * 20))
    for ((i = 0; i < times; i++)); do
        set_conf "$old"
        : >"$HOST/sim/calls.log"
        after=$((RANDOM % 400))
        # shellcheck disable=SC2086 # the words of the command
        attempt "$command, Ctrl+C after $after ms" setsid -w bash -c '
            trap "" INT
            (trap - INT; exec "${@:2}") & sleep 0.$(printf %03d "$1")
            kill -INT 0
            wait $!' ctrl_c "$after" "${ENTRY[@]}" dravik $command
        wait_for_children
        judge_interrupted "$command, Ctrl+C after $after ms" "$old" "$new" INT "$command"
    done
}

@test "Ctrl+C at any moment of a changing command finishes the change or takes it back" {
    changing ctrl_c 5 'setpathpolicy -chooser round-robin-extend'
    drop_hosts
    changing ctrl_c 2 "setalias -wwid $A -alias backup"
    count "Ctrl+C at random moments of the changing commands"
}
