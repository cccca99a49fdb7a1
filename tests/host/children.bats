#!/usr/bin/env bats
# Which child processes the programs start: the multipath tool and, for a command, those that do its work. None is started
# for a path, however many there are, and what stands in the place of the folder of links is complained about once a query.

bats_require_minimum_version 1.5.0
load ../support/simulated_host

# Of a query: the program, the tool, and two for the one that writes down what the array told. The shell becomes the tool.
LIST='sh [velomux -ll 2> /dev/null]'
QUERY=$'cat\n'$LIST$'\nvelomux\n4 processes'

many_host() { make_host --scenario "many volumes=$1 paths=8 transport=${2-fc}"; }

# started FILES: the programs that were executed in the traced processes, but for the traced command itself: one a line,
# a shell with its command line.
started() {
    sed -n 's/^execve("[^"]*\/\([^"\/]*\)", \[\(.*\)\], 0x.* = 0$/\1 \2/p' "$@" |
        sed -E 's/^sh "sh", "-c", "(.*)"$/sh [\1]/; t; s/ .*//' | sort
}

# traced CMD ARGS: runs it in the host under strace; the programs that it started, and how many processes there were.
traced() {
    local traces=$BATS_TEST_TMPDIR/traces
    rm -rf "$traces"
    mkdir "$traces"
    strace -ff -qq -s 300 -e trace=execve -e signal=none -o "$traces/of" \
        chroot "$HOST" /usr/bin/env -i PATH=/usr/sbin:/usr/bin "$@" >/dev/null 2>"$BATS_TEST_TMPDIR/err" || return
    started "$traces"/of.* | grep -vxE "(chroot|env|$1)"
    echo "$(find "$traces" -type f | wc -l) processes"
}

setup() {
    ((EUID == 0)) || skip "strace and chroot need root"
    type -P strace >/dev/null || skip "strace is not installed"
}

@test "a query starts the multipath tool and nothing else for FC paths, few or many" {
    local volumes
    for volumes in 2 60; do
        many_host "$volumes"
        same "$QUERY" "$(traced dravik query)"
        same "" "$(cat "$BATS_TEST_TMPDIR/err")"
        in_host dravik query | grep -c 'host_interface: fc$' >"$BATS_TEST_TMPDIR/count"
        same "$volumes" "$(cat "$BATS_TEST_TMPDIR/count")"
        drop_hosts
    done
}

@test "a query looks ports up in every transport without a child" {
    local transport
    for transport in fc iscsi sas fc-nvme rdma-nvme; do
        case $transport in
        *-nvme) many_host 4 "nvme-${transport%-nvme}" ;;
        *) many_host 4 "$transport" ;;
        esac
        same "$QUERY" "$(traced dravik query)"
        in_host dravik query | grep -c "host_interface: $transport$" >"$BATS_TEST_TMPDIR/count"
        same 4 "$(cat "$BATS_TEST_TMPDIR/count")"
        drop_hosts
    done
}

@test "a cycle of the monitor starts the multipath tool and nothing else" {
    local pid
    many_host 60
    start_monitor
    step
    read -r _ pid < <(sim monitor status)
    mkdir "$BATS_TEST_TMPDIR/traces"
    strace -ff -qq -s 300 -e trace=execve -e signal=none -o "$BATS_TEST_TMPDIR/traces/of" -p "$pid" 3>&- &
    until grep -q '^TracerPid:.*[1-9]' "/proc/$pid/status"; do sleep 0.05; done
    step 3
    kill_monitor
    wait
    same "$(printf 'cat\n%.0s' 1 2 3)
$(printf "$LIST\\n%.0s" 1 2 3)
$(printf 'velomux\n%.0s' 1 2 3)" "$(started "$BATS_TEST_TMPDIR"/traces/of.*)"
}

# given COMMAND...: runs the product's command; the command lines that it gave to the shell.
given() {
    forget
    in_host dravik "$@" >"$BATS_TEST_TMPDIR/said" 2>&1
    shells
}

@test "devstats, setstate, refresh and delete give the shell no command line for a look-up" {
    many_host 4
    forget
    in_host timeout -s INT 3 dravik devstats -interval 1 >/dev/null 2>&1 || true
    same 'velomux -ll 2> /dev/null' "$(shells)"
    same "bash /usr/bin/dravik-script/checkdravikd.sh 2>&1
velomux -ll 2> /dev/null
dravikd fail path sdb 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add sdb 2>&1" \
        "$(given setstate -path_alias mpatha -device_name sdb -state offline)"
    same 'velomux -ll 2> /dev/null
bash /usr/bin/dravik-script/g2dravikscan.sh 2>&1
bash /usr/bin/dravik-script/discoverfcnvme.sh 2>&1
bash /usr/bin/dravik-script/run_all_offline_path.sh 2>&1
velomux -r 2>&1' "$(given refresh)"
    same 'velomux -ll mpatha 2>&1
velomux -f /dev/dm-0 2>&1' "$(given delete mpatha | grep -v '^echo 1 > /sys/block/sd[a-z]*/device/delete 2>&1$')"
}

# ---- what stands in the place of the folder of links

@test "where there is no folder of links no child is started, and nobody complains" {
    many_host 4
    rm -r "$HOST/dev/disk/by-path"
    same "$QUERY" "$(traced dravik query)"
    same "" "$(cat "$BATS_TEST_TMPDIR/err")"
}

@test "a file or a loop in the place of the folder of links is complained about once a query" {
    many_host 4
    rm -r "$HOST/dev/disk/by-path"
    echo "a file" >"$HOST/dev/disk/by-path"
    in_host dravik query >/dev/null 2>"$BATS_TEST_TMPDIR/err"
    same "ls: cannot access '/dev/disk/by-path/': Not a directory" "$(cat "$BATS_TEST_TMPDIR/err")"
    ln -sf by-path "$HOST/dev/disk/by-path"
    in_host dravik query >/dev/null 2>"$BATS_TEST_TMPDIR/err"
    same "ls: cannot access '/dev/disk/by-path/': Too many levels of symbolic links" "$(cat "$BATS_TEST_TMPDIR/err")"
}

@test "a trace of the command lines shows a look-up for each path" {
    many_host 2
    forget
    DRAVIK_CLI_DEBUG=1 in_host dravik query >/dev/null
    same 17 "$(shells | wc -l)"
    same 16 "$(shells | grep -c "^ls -l /dev/disk/by-path/ | grep 'sd[a-z]*\\$' | awk -F\" \" '{print \$9}' 2>&1\$")"
}
