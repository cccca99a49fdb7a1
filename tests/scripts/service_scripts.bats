#!/usr/bin/env bats
# softlink.sh, checkdravikd.sh and checklvm.sh on the generations of Linux that the product runs on.

load ../support/simulated_host
load ../support/scripts_on_host

LINK=/etc/systemd/system/dravikd.service
UNIT=/usr/lib/systemd/system/dravikd.service

state() { cat "$HOST/sim/services/dravikd.service.state"; }

@test "a unit that systemd finds is left alone, and nothing is asked" {
    make_script_host --generation rhel8
    run script softlink
    answers 0 ""
    [[ ! -e $HOST$LINK ]]
    expect_text calls </dev/null
}

@test "a unit outside systemd's folders gets a link, once" {
    make_script_host --generation sles12sp5
    # On this host /lib is a folder of its own.
    rm "$HOST/lib"
    cp -a "$HOST/usr/lib" "$HOST/lib"
    rm "$HOST$UNIT"
    run script softlink
    answers 0 "$LINK now leads to /lib/systemd/system/dravikd.service"
    same /lib/systemd/system/dravikd.service "$(readlink "$HOST$LINK")"
    expect_text calls <<<"systemctl daemon-reload"
    run script softlink
    answers 0 ""
    expect_text calls <<<"systemctl daemon-reload"
}

@test "a unit of another name that starts the daemon gets a link" {
    make_script_host
    mv "$HOST$UNIT" "$HOST/usr/lib/systemd/system/multi.service"
    printf '[Service]\nExecStart=/usr/bin/dravik-monitor\n' >"$HOST/etc/systemd/system/a.service"
    printf '[Service]\n# ExecStart=/usr/sbin/dravikd\nExecStart=/opt/dravikd-helper\n' \
        >"$HOST/etc/systemd/system/b.service"
    run script softlink
    answers 0 "$LINK now leads to /usr/lib/systemd/system/multi.service"
    run in_host systemctl is-active dravikd
    answers 0 active
}

@test "a link that leads nowhere is an administrator's and stays" {
    make_script_host
    mv "$HOST$UNIT" "$HOST/usr/lib/systemd/system/multi.service"
    ln -s /nowhere "$HOST$LINK"
    run script softlink
    answers 0 ""
    same /nowhere "$(readlink "$HOST$LINK")"
}

@test "with an init script systemd is only asked to look again" {
    make_script_host
    rm "$HOST$UNIT"
    mkdir -p "$HOST/etc/init.d"
    : >"$HOST/etc/init.d/dravikd"
    run script softlink
    answers 0 ""
    [[ ! -L $HOST$LINK ]]
    expect_text calls <<<"systemctl daemon-reload"
    mkdir -p "$HOST/run/systemd/generator.late"
    : >"$HOST/run/systemd/generator.late/dravikd.service"
    script softlink
    expect_text calls <<<"systemctl daemon-reload"
}

@test "nothing that starts the daemon is said, and no link is made" {
    make_script_host
    rm "$HOST$UNIT"
    run script softlink
    answers 1 "softlink.sh: no unit and no init script starts dravikd: is the multipath package installed?"
    [[ ! -L $HOST$LINK ]]
}

@test "a host without systemd is left alone by softlink" {
    make_script_host --generation rhel6
    run script softlink
    answers 0 ""
    expect_text calls </dev/null
}

@test "a daemon that runs is left alone on every generation" {
    for generation in rhel6 rhel7 oracle8 sles11sp4 sles15; do
        make_script_host --generation "$generation"
        run script checkdravikd
        answers 0 ""
        case $generation in
        rhel6 | sles11sp4) expect_text calls <<<"service dravikd status" ;;
        *) expect_text calls <<<"systemctl is-active dravikd.service" ;;
        esac
        drop_hosts
    done
}

@test "a daemon that does not run is started on every generation" {
    for generation in rhel6 rhel9 sles11sp4 sles12sp6; do
        make_script_host --generation "$generation"
        echo inactive >"$HOST/sim/services/dravikd.service.state"
        run script checkdravikd
        answers 0 "dravikd did not run; it was started"
        same active "$(state)"
        drop_hosts
    done
}

@test "a daemon that cannot be started is said" {
    make_script_host
    rm "$HOST$UNIT"
    run script checkdravikd
    answers 1 "checkdravikd.sh: dravikd does not run, and 'systemctl start dravikd.service' failed"
    drop_hosts
    make_script_host --generation rhel6
    rm "$HOST/etc/init.d/dravikd"
    run script checkdravikd
    answers 1 "checkdravikd.sh: dravikd does not run, and 'service dravikd start' failed"
}

@test "an init script that says not running means just that" {
    make_script_host --generation rhel6
    stand_in service <<<$'#!/bin/bash\necho "$*" >>/tmp/calls\necho "dravikd is not running"'
    run script checkdravikd
    answers 0 "dravikd did not run; it was started"
    same $'dravikd status\ndravikd start' "$(cat "$HOST/tmp/calls")"
}

# lvm_conf: the host's lvm.conf from standard input.
lvm_conf() {
    mkdir -p "$HOST/etc/lvm"
    cat >"$HOST/etc/lvm/lvm.conf"
}

@test "component detection that is off is switched on, the one figure and no other byte" {
    make_script_host
    printf 'devices {\r\n\t# multipath_component_detection = 0\n%s\n\tglobal_filter = [ "a|.*|" ]\n}\nlast' \
        $'\tmultipath_component_detection = 0 # slow  ' | lvm_conf
    chmod 640 "$HOST/etc/lvm/lvm.conf"
    cp "$HOST/etc/lvm/lvm.conf" "$BATS_TEST_TMPDIR/before"
    run script checklvm
    answers 0 "/etc/lvm/lvm.conf: multipath_component_detection set to 1 (it was 0); the old file is /etc/lvm/lvm.conf.dravik.bk"
    sed '3s/0/1/' "$BATS_TEST_TMPDIR/before" >"$BATS_TEST_TMPDIR/expected"
    cmp "$BATS_TEST_TMPDIR/expected" "$HOST/etc/lvm/lvm.conf"
    cmp "$BATS_TEST_TMPDIR/before" "$HOST/etc/lvm/lvm.conf.dravik.bk"
    same 640 "$(stat -c %a "$HOST/etc/lvm/lvm.conf")"
    run script checklvm
    answers 0 ""
}

@test "the setting is also found with its section's name before it" {
    make_script_host
    lvm_conf <<<'devices/multipath_component_detection=0'
    script checklvm
    same 'devices/multipath_component_detection=1' "$(cat "$HOST/etc/lvm/lvm.conf")"
}

@test "a file that has detection on, or does not set it, is left alone; so is a host without LVM" {
    make_script_host
    run script checklvm
    answers 0 ""
    [[ ! -e $HOST/etc/lvm ]]
    for line in 'multipath_component_detection = 1' '# multipath_component_detection = 0' 'x = 0' \
        'multipath_component_detection = 01' 'other_multipath_component_detection = 0' ''; do
        printf 'devices {\n    %s\n}\n' "$line" | lvm_conf
        before=$(cat "$HOST/etc/lvm/lvm.conf")
        run script checklvm
        answers 0 ""
        same "$before" "$(cat "$HOST/etc/lvm/lvm.conf")"
        same lvm.conf "$(ls -A "$HOST/etc/lvm")"
    done
}

@test "arguments are answered with the usage line" {
    make_script_host
    for name in softlink checkdravikd checklvm; do
        run script "$name" all
        answers 2 "$name.sh: takes no arguments
usage: $name.sh"
    done
}
