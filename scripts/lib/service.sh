# shellcheck shell=bash
# The daemon as the host's service manager knows it.
# Needs base.sh and distribution.sh.

readonly UNIT=dravikd.service
readonly SERVICE_SECONDS=120

# sysv_host: whether this host has the "service" tool instead of systemd, by the rule that the program goes
# by: the kernel of RHEL 6, or SLES 11 SP4.
sysv_host() {
    [[ $(uname -r) != *.el6.* ]] || return 0
    os_name
    [[ $OS_NAME == *VERSION=* && $OS_NAME == *11.4* ]]
}

# The first line that an init script answers with:
#     dravikd (pid  1234) is running...          Checking for dravikd: running
#     dravikd is stopped                         Checking for dravikd: unused
sysv_running() {
    local answer
    answer=$(timeout "$SERVICE_SECONDS" service dravikd status </dev/null 2>&1) || true
    answer=${answer%%$'\n'*}
    [[ $answer == *running* && $answer != *"not running"* ]]
}

# service_running: whether the daemon runs. Sets SERVICE_START to the command that would start it.
service_running() {
    if sysv_host; then
        SERVICE_START=(service dravikd start)
        sysv_running
    else
        SERVICE_START=(systemctl start "$UNIT")
        timeout "$SERVICE_SECONDS" systemctl is-active "$UNIT" </dev/null >/dev/null 2>&1
    fi
}
