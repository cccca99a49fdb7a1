#!/usr/bin/env bats
# The helper scripts do and print the same whatever the caller's environment holds and wherever the caller stands.

load ../support/simulated_host
load ../support/scripts_on_host

SCRIPTS=/usr/bin/dravik-script

setup() {
    make_script_host --dumps
    # A command that a search path or a function of the caller's would put in place of the system's.
    mkdir "$HOST/tmp/evil"
    printf '#!/bin/bash\necho 4 evil\n' >"$HOST/tmp/evil/tool"
    chmod 755 "$HOST/tmp/evil/tool"
    for name in awk bash cat cp dirname env ls mv readlink sed stat wc; do ln -s tool "$HOST/tmp/evil/$name"; done
    cat >"$HOST/tmp/evil.sh" <<'END'
shopt -s expand_aliases extglob nullglob nocasematch
set -f
cd() { echo 4 function; }
exec() { echo 4 function; }
unset() { echo 4 function; }
awk() { echo 4 function; }
IFS=/
LIB=/tmp
trap 'echo 4 trap' EXIT
alias exec='echo 4 alias' unset='echo 4 alias' cd='echo 4 alias' printf='echo 4 alias'
END
    # Links of one path, of which the one that names the adapter counts, last in the order of names.
    ln -s ../../sdb "$HOST/dev/disk/by-path/a-first link"
    cp "$HOST/etc/velomux.conf" "$HOST/tmp/stock"
}

# session WORDS...: a script of each kind, its lines of output and its status, then the files that it left. WORDS stand
# before each script's name: variables, and perhaps an interpreter.
session() {
    local line
    rm -f "$HOST/dumps/dravik_offline_paths" "$HOST"/etc/lvm/*
    cp "$HOST/tmp/stock" "$HOST/etc/velomux.conf"
    mkdir -p "$HOST/etc/lvm"
    echo 'multipath_component_detection = 0' >"$HOST/etc/lvm/lvm.conf"
    while read -r line; do
        echo "> $line"
        # shellcheck disable=SC2086 # words
        in_host "$@" "$SCRIPTS/"$line 2>&1 </dev/null || echo "[$?]"
    done <<'END'
g2mpiocfg.sh
policy.sh set multibus queue-length
policy.sh query
alias.sh set 3600b5d60001a2b3c0000000000000001 data1
alias.sh set 3600b5d60001a2b3c0000000000000001 data1
alias.sh query
path_state_record.sh add sdb
path_state_record.sh add nvme0n1
run_all_offline_path.sh
path_state_record.sh add sdb
checklvm.sh
checkdravikd.sh
softlink.sh
g2dravikscan.sh
fc_info.sh
END
    cat "$HOST/etc/velomux.conf" "$HOST/dumps/dravik_offline_paths" "$HOST/etc/lvm/lvm.conf"
}

# no_session_differs WORDS... < VARIABLES: the session with each line's variable is that of a clean environment.
no_session_differs() {
    local variable clean actual
    local -a wrong=()
    clean=$(session)
    # What it is compared with is what it should be.
    grep -qx '4 the pair of wwid 3600b5d60001a2b3c0000000000000001 and alias data1 exists already' <<<"$clean"
    grep -qx 'scsi pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 naa.600b5d60001a2b3c0000000000000001 sdb' <<<"$clean"
    grep -qx 'multipath_component_detection = 1' <<<"$clean"
    while IFS='' read -r variable; do
        actual=$(session "$variable" "$@")
        same "$clean" "$actual" || wrong+=("$variable")
    done
    same "" "${wrong[*]-}"
}

# What the shell takes from the environment, and what its tools take.
shell_variables() {
    cat <<'END'
BASH_ENV=/tmp/evil.sh
ENV=/tmp/evil.sh
BASH_FUNC_awk%%=() { echo 4 function; }
BASH_FUNC_printf%%=() { echo 4 function; }
BASH_FUNC_source%%=() { echo 4 function; }
BASH_FUNC_.%%=() { echo 4 function; }
BASH_FUNC_cd%%=() { echo 4 function; }
BASH_FUNC_exec%%=() { echo 4 function; }
BASH_FUNC_set%%=() { echo 4 function; }
BASH_FUNC_unset%%=() { echo 4 function; }
POSIXLY_CORRECT=1
IFS=/
CDPATH=/etc
GLOBIGNORE=*
BASHOPTS=nullglob:failglob:nocasematch:extglob
SHELLOPTS=noglob:posix:noclobber
SECONDS=100000
FUNCNEST=1
TMOUT=1
LIB=/tmp
END
}

tool_variables() {
    cat <<'END'
HARMLESS=yes
PATH=/usr/bin:/bin
PATH=/tmp/evil:/usr/bin
QUOTING_STYLE=c
GREP_OPTIONS=-v
GREP_COLOR=1;31
GREP_COLORS=mt=1;31
TIME_STYLE=+%s a b
LS_BLOCK_SIZE=human
BLOCK_SIZE=human
LC_ALL=POSIX
LANG=de_DE.UTF-8
COLUMNS=1
AWKPATH=/tmp
HOME=/nowhere
TZ=Asia/Tokyo
END
}

@test "a script started by its name does the same in every environment" {
    no_session_differs < <(
        tool_variables
        shell_variables
        # These would trace, print or not even run a script that another command line gives to the shell.
        printf 'SHELLOPTS=%s\n' xtrace verbose noexec errexit:nounset:privileged
    )
}

@test "a script given to the shell by name does the same in every environment" {
    no_session_differs /bin/bash < <(shell_variables)
}

@test "a script is found by a relative name, with blanks in its folder, and through the search path" {
    expected=$(in_host "$SCRIPTS/policy.sh" --help)
    same "usage: policy.sh query | policy.sh set GROUP SELECTOR" "$expected"
    cp -r "$HOST$SCRIPTS" "$HOST/tmp/of mine"
    same "$expected" "$(in_host sh -c 'cd /tmp/of* && ./policy.sh --help')"
    same "$expected" "$(in_host sh -c 'cd /tmp/of* && bash policy.sh --help')"
    same "$expected" "$(in_host sh -c 'cd /tmp && of*/policy.sh --help')"
    same "$expected" "$(in_host PATH="$SCRIPTS:/usr/bin" policy.sh --help)"
    same "$expected" "$(in_host PATH="$SCRIPTS:/usr/bin" bash policy.sh --help)"
}

@test "arguments arrive as they were given" {
    run in_host "$SCRIPTS/alias.sh" set '3600 1' $'a\nb*'
    answers 2 "alias.sh: WWID may hold letters, digits and . _ : - only
usage: alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query"
    run in_host "$SCRIPTS/alias.sh" set '' data1
    answers 2 "alias.sh: WWID may hold letters, digits and . _ : - only
usage: alias.sh set WWID ALIAS | alias.sh del WWID | alias.sh query"
    run in_host "$SCRIPTS/policy.sh" set multibus ''
    answers 2 "policy.sh: SELECTOR must be one of: round-robin queue-length service-time
usage: policy.sh query | policy.sh set GROUP SELECTOR"
}

@test "in a folder that was removed only the shell itself complains, once, and to standard error" {
    in_host "$SCRIPTS/alias.sh" set 36001 data1
    run in_host sh -c "mkdir /tmp/gone && cd /tmp/gone && rmdir /tmp/gone && $SCRIPTS/alias.sh query 2>/tmp/errors"
    answers 0 "36001 data1"
    same "shell-init: error retrieving current directory: getcwd: cannot access parent directories: No such file or directory" \
        "$(cat "$HOST/tmp/errors")"
}

@test "the tools that a script runs get what the caller says of log, terminal and clock, and nothing else" {
    stand_in velomux <<<$'#!/bin/bash\nenv >/tmp/env; pwd >>/tmp/env'
    in_host DRAVIK_CLI_DEBUG=1 TERM='a  b' NO_COLOR= COLUMNS=77 TZ=Asia/Tokyo SECRET=x LD_BIND_NOW=1 SUDO_USER=x \
        "$SCRIPTS/alias.sh" set 36001 data1
    same 'COLUMNS=77
DRAVIK_CLI_DEBUG=1
LC_ALL=C
NO_COLOR=
PATH=/usr/sbin:/usr/bin:/sbin:/bin
PWD=/
TERM=a  b
TZ=Asia/Tokyo
/' "$(grep '=' "$HOST/tmp/env" | grep -v -e ^_= -e ^SHLVL= | LC_ALL=C sort; grep -v '=' "$HOST/tmp/env")"
}
