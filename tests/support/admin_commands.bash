# shellcheck shell=bash
# shellcheck disable=SC2034,SC2154 # the tests use what is set here, and "run" sets output, stderr and status
# What the tests of the administration commands share: printed results, the commands that were run, and the
# configuration file with the product's blocks in it. Loaded behind simulated_host.

LINE=$(printf -- '-%.0s' {1..130})

# result TEXT: a printed result. DONE: that of a success.
result() { printf '%s\n%s\n%s\n' "$LINE" "$1" "$LINE"; }
DONE=$(result 'Command executed successfully.')
FAILED=$(result 'Error(0003): Execute system command failed.')

# dravik STATUS COMMAND [PARAMETERS] < STANDARD OUTPUT: runs it; nothing may come on standard error.
dravik() {
    local wanted=$1 expected
    shift
    expected=$(cat)
    run --separate-stderr in_host dravik "$@"
    same "$expected" "$output"
    same "" "$stderr"
    same "$wanted" "$status"
}

# succeeds COMMAND [PARAMETERS]; fails_with RECORD COMMAND [PARAMETERS]: it prints its result and nothing else.
succeeds() { dravik 0 "$@" <<<"$DONE"; }
fails_with() { dravik 1 "${@:2}" <<<"$(result "$1")"; }

# ran: the command lines that were given to a shell, without the look-ups of transports and target ports.
ran() { grep -Ev 'by-path|/device/(transport|address)' "$HOST/sim/shells.log" || true; }

# errors: the command log's lines of level 0, without time stamps and line numbers.
errors() { cli_log | grep '^ERROR' || true; }

# expect_conf, expect_backup < EXPECTED: the configuration file and its backup, to the last byte.
expect_conf() { diff -u --label expected --label velomux.conf - "$HOST/etc/velomux.conf"; }
expect_backup() { diff -u --label expected --label velomux.conf.bk - "$HOST/etc/velomux.conf.bk"; }

# The file that comes with the multipath tool, and with a host.
stock_conf() { cat "$REPO/simhost/host/velomux.conf"; }

# block MARK VENDOR PRODUCT POLICY_MARK GROUP SELECTOR CHECKER PRIO: one of the configuration script's blocks.
block() {
    cat <<END
#$1 config begin
devices {
    device {
        vendor                 "$2"
        product                "$3"
##      $4group chooser begin
        path_grouping_policy    $5
        path_selector          "$6 0"
##      $4group chooser end
        path_checker           $7
        prio                   $8
        failback               immediate
        no_path_retry          12
        rr_weight              uniform
        rr_min_io              100
        rr_min_io_rq           1
    }
}
#$1 config end
END
}

# configured SCSI-GROUP SCSI-SELECTOR OTHERS-SELECTOR [NVME-GROUP NVME-SELECTOR]: the file after "config".
configured() {
    stock_conf
    block korvel KORVEL QVX 'korvel ' "$1" "$2" tur alua
    (($# < 5)) || block nvme NVME KORVELQVX '' "$4" "$5" directio ana
    block huawei HUAWEI '.*' 'huawei ' "$1" "$3" tur alua
    block hitachi HITACHI '.*' 'hitachi ' "$1" "$3" tur alua
}

# A small topology: mpatha over sdb and sdc, mpathb over sdd and sde, nvmea over two NVMe paths.
SMALL='volume mpatha transport=fc paths=2 wwid=3600b5d60001a2b3c0000000000000001
volume mpathb transport=fc paths=2 wwid=3600b5d60001a2b3c0000000000000002
volume nvmea transport=nvme-fc paths=2'

SYSTEMD='rhel7 centos7 rhel8 rhel9 oracle7 oracle8 sles12sp5 sles12sp6 sles15'
