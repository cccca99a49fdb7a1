#!/usr/bin/env bats
# config and mkconfig: the bytes of the configuration file and of its backup.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

# The line that mkconfig appends: a comment to the multipath tool, without a line feed at its end.
appended() {
    printf '%s' "#korvel config begin%devices {%    device {%        vendor                 \"KORVEL\"%" \
        "        product                \"QVX\"%##      korvel group chooser begin%" \
        "        path_grouping_policy    $1%        path_selector          \"$2 0\"%" \
        '##      korvel group chooser end%    }%}%#korvel config end%'
}

MKCONFIG_BEGINS='\cp -fp /etc/velomux.conf /etc/velomux.conf.bk 2>&1
\cp -fp /usr/share/doc/device-mapper-velomux-*/velomux.conf /etc/velomux.conf 2>&1
bash /usr/bin/dravik-script/policy.sh query 2>&1'

# The block's command line as the shell gets it: what the runner's filter does not know has become "%".
block_line() {
    printf '%s' 'echo -ne "#korvel config begin%devices {%    device {%        vendor                 \"KORVEL\"%' \
        '        product                \"QVX\"%##      korvel group chooser begin%' \
        "        path_grouping_policy    $1%        path_selector          \\\"$2 0\\\"%" \
        '##      korvel group chooser end%    }%}%#korvel config end%" >> /etc/velomux.conf 2>&1'
}

@test "config writes the blocks, with the NVMe one where the distribution can do NVMe over Fabrics" {
    local generation
    for generation in rhel8 rhel9 sles12sp6 sles15; do
        make_host_at "$generation" --generation "$generation"
        succeeds config
        expect_text ran <<<'bash /usr/bin/dravik-script/g2mpiocfg.sh 2>&1'
        configured group_by_prio round-robin round-robin group_by_prio round-robin | expect_conf
        [[ ! -e $HOST/etc/velomux.conf.bk ]]
        expect_text errors </dev/null
    done
    for generation in rhel6 rhel7 centos7 oracle7 oracle8 sles11sp4 sles12sp5; do
        make_host_at "$generation" --generation "$generation"
        succeeds config
        configured group_by_prio round-robin round-robin | expect_conf
    done
}

@test "config on another distribution is refused and changes nothing" {
    make_host
    rm "$HOST/etc/redhat-release"
    printf 'NAME="Debian GNU/Linux"\nVERSION="12 (bookworm)"\nID=debian\n' >"$HOST/etc/os-release"
    fails_with 'Error(0135): Distribute type is not supported.' config
    stock_conf | expect_conf
    expect_text errors <<'END'
ERROR exe_cmd Execute command [bash /usr/bin/dravik-script/g2mpiocfg.sh 2>&1] failed, exit code [1]
ERROR exe_cmd Error message: distribute type is not supported
ERROR exeLiunxInfoCmd Command [bash /usr/bin/dravik-script/g2mpiocfg.sh] failed, exitcode:[1]
END
}

@test "config whose script fails otherwise is a failed command" {
    make_host
    sim tool g2mpiocfg.sh fail 7
    dravik 1 config <<<"$FAILED"
    sim tool g2mpiocfg.sh missing
    dravik 1 config <<<"$FAILED"
    stock_conf | expect_conf
}

@test "mkconfig restores the example file, appends one comment line and gives mode 777" {
    make_host
    printf '# mine\n' >"$HOST/etc/velomux.conf"
    succeeds --service mkconfig
    expect_text ran <<<"$MKCONFIG_BEGINS
$(block_line failover rount-robin)
chmod 777 /etc/velomux.conf 2>&1"
    { stock_conf && appended failover rount-robin; } | expect_conf
    echo '# mine' | expect_backup
    same 777 "$(stat -c %a "$HOST/etc/velomux.conf")"
    expect_text errors </dev/null
}

@test "mkconfig is the same on every generation: the maker's SCSI block, never the NVMe one" {
    local generation
    for generation in $SYSTEMD rhel6 sles11sp4; do
        make_host_at "$generation" --generation "$generation"
        succeeds --service mkconfig
        { stock_conf && appended failover rount-robin; } | expect_conf
    done
}

@test "mkconfig asks for the policy after the example file is in place" {
    make_host
    succeeds config
    succeeds setpathpolicy -chooser round-robin-extend
    succeeds --service mkconfig
    # The blocks are gone with the old file, which is in the backup.
    { stock_conf && appended failover rount-robin; } | expect_conf
    configured multibus service-time round-robin group_by_prio round-robin | expect_backup
}

@test "mkconfig carries a policy that the example file has" {
    make_host
    configured group_by_prio queue-length queue-length >"$HOST/usr/share/doc/device-mapper-velomux-0.4.9/velomux.conf"
    succeeds --service mkconfig
    { configured group_by_prio queue-length queue-length && appended group_by_prio queue-length; } | expect_conf
}

@test "mkconfig without the example file appends to the old one" {
    make_host
    rm -r "$HOST/usr/share/doc/device-mapper-velomux-0.4.9"
    printf '# mine\n' >"$HOST/etc/velomux.conf"
    succeeds --service mkconfig
    { echo '# mine' && appended failover rount-robin; } | expect_conf
    same 777 "$(stat -c %a "$HOST/etc/velomux.conf")"
    expect_text errors <<'END'
ERROR exe_cmd Execute command [\cp -fp /usr/share/doc/device-mapper-velomux-*/velomux.conf /etc/velomux.conf 2>&1] failed, exit code [1]
ERROR exe_cmd Error message: cp: cannot stat '/usr/share/doc/device-mapper-velomux-*/velomux.conf': No such file or directory
END
}

@test "mkconfig whose policy script fails restores the backup and succeeds all the same" {
    make_host
    printf '# mine\n' >"$HOST/etc/velomux.conf"
    sim tool policy.sh fail 1
    succeeds --service mkconfig
    expect_text ran <<<"$MKCONFIG_BEGINS
\\cp -fp /etc/velomux.conf.bk /etc/velomux.conf 2>&1
chmod 777 /etc/velomux.conf 2>&1"
    echo '# mine' | expect_conf
    same 777 "$(stat -c %a "$HOST/etc/velomux.conf")"
}
