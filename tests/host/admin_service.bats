#!/usr/bin/env bats
# status, start, stop, restart and the self-start commands, with the service tools of every generation of hosts.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

box() { printf '%s\n%s\n%s\n' "$LINE" "$1" "$LINE"; }
state() { cat "$HOST/sim/services/dravikd.service.state"; }

# shows STATE: what "status" prints.
shows() { dravik 0 status <<<"$(box "Service status: $1")
$DONE"; }
shows_self_start() { dravik 0 --service lsselfstart <<<"$(box "Self-starting status: $1")
$DONE"; }

# life_on_systemd GENERATION: a daemon's life through the commands, each with what it ran.
life_on_systemd() {
    make_host_at "$1" --generation "$1"
    shows active
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl status dravikd.service 2>&1
END
    expect_text calls <<<'systemctl status dravikd.service'
    expect_text errors </dev/null

    forget
    succeeds stop
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl stop dravikd.service 2>&1
END
    same inactive "$(state)"

    forget
    shows inactive
    expect_text cli_log <<'END'
ERROR exe_cmd Execute command [systemctl status dravikd.service 2>&1] failed, exit code [3]

ERROR exe_cmd Error message: ● dravikd.service - Device-Mapper Multipath Device Controller
   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled; vendor preset: enabled)
   Active: inactive (dead)


ERROR exeLiunxInfoCmd Command [systemctl status dravikd.service] failed, exitcode:[3]

END

    forget
    succeeds restart
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl status dravikd.service 2>&1
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl start dravikd.service 2>&1
END
    same active "$(state)"

    forget
    succeeds restart
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl status dravikd.service 2>&1
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl reload dravikd.service 2>&1
END

    succeeds stop
    forget
    succeeds start
    expect_text ran <<'END'
bash /usr/bin/dravik-script/checklvm.sh 2>&1
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl start dravikd.service 2>&1
END
    same active "$(state)"
}

# life_on_sysv GENERATION: the same with "service".
life_on_sysv() {
    make_host_at "$1" --generation "$1"
    shows active
    expect_text ran <<<'service dravikd status 2>&1'
    expect_text calls <<<'service dravikd status'

    succeeds stop
    shows inactive
    same inactive "$(state)"

    forget
    succeeds restart
    expect_text ran <<'END'
service dravikd status 2>&1
service dravikd start 2>&1
END
    forget
    succeeds restart
    expect_text ran <<'END'
service dravikd status 2>&1
service dravikd reload 2>&1
END
    succeeds stop
    forget
    succeeds start
    expect_text ran <<'END'
bash /usr/bin/dravik-script/checklvm.sh 2>&1
service dravikd start 2>&1
END
    same active "$(state)"
}

@test "on every systemd host the daemon is shown, stopped, restarted and started with systemctl" {
    local generation
    for generation in $SYSTEMD; do
        life_on_systemd "$generation"
    done
}

@test "on RHEL 6 and SLES 11 SP4 the daemon is shown, stopped, restarted and started with service" {
    life_on_sysv rhel6
    life_on_sysv sles11sp4
}

@test "self-start on a systemd host" {
    make_host
    shows_self_start on
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl is-enabled dravikd.service 2>&1
END
    in_host systemctl disable dravikd.service
    # The tool exits with 1 for "disabled": a failed command, which prints nothing of its own.
    dravik 1 --service lsselfstart <<<"$FAILED"
    forget
    succeeds --service setselfstart
    expect_text ran <<'END'
bash /usr/bin/dravik-script/softlink.sh 2>&1
systemctl enable dravikd.service 2>&1
END
    shows_self_start on
}

@test "self-start on a SysV host: chkconfig is asked, and enabling is handed to service as it stands" {
    local generation
    for generation in rhel6 sles11sp4; do
        make_host_at "$generation" --generation "$generation"
        shows_self_start on
        expect_text ran <<<'chkconfig dravikd --list 2>&1'
        in_host chkconfig dravikd off
        shows_self_start off
        forget
        # "service" knows no such action; the exit status of a task is not looked at.
        succeeds --service setselfstart
        expect_text ran <<<'service dravikd enable 2>&1'
        expect_text calls <<<'service dravikd enable'
        shows_self_start off
    done
}

@test "a host without its service tool reads as inactive, and starting it is told as a success" {
    make_host
    sim tool systemctl missing
    shows inactive
    forget
    succeeds start
    expect_text errors <<'END'
ERROR exe_cmd Execute command [systemctl start dravikd.service 2>&1] failed, exit code [127]
ERROR exe_cmd Error message: sh: line 1: systemctl: command not found
END
    dravik 1 --service lsselfstart <<<"$FAILED"
}

@test "scripts that are missing or fail do not hold the daemon's commands up" {
    make_host
    sim tool softlink.sh missing
    sim tool checklvm.sh fail 1
    shows active
    succeeds stop
    succeeds start
    same active "$(state)"
}
