# shellcheck shell=bash
# The generations of Linux that a simulated host can be: release files, kernel release, service tools.

# shellcheck disable=SC2034 # listed by the front
GENERATIONS=(rhel6 rhel7 centos7 rhel8 rhel9 oracle7 oracle8 sles11sp4 sles12sp5 sles12sp6 sles15)

# osRelease NAME VERSION ID PRETTY: the file that newer generations share.
osRelease() {
    printf 'NAME="%s"\nVERSION="%s"\nID="%s"\nPRETTY_NAME="%s"\n' "$@" >"$HOST/etc/os-release"
}

suseRelease() {
    printf 'SUSE Linux Enterprise Server %s (x86_64)\nVERSION = %s\nPATCHLEVEL = %s\n' "$1" "$1" "$2" \
        >"$HOST/etc/SuSE-release"
}

# setGeneration NAME: writes it all; false for an unknown name.
setGeneration() {
    local kernel red='' tools=systemd
    case $1 in
    rhel6)
        red='Red Hat Enterprise Linux Server release 6.10 (Santiago)'
        kernel=2.6.32-754.el6.x86_64
        tools=sysv
        ;;
    rhel7)
        red='Red Hat Enterprise Linux Server release 7.9 (Maipo)'
        kernel=3.10.0-1160.el7.x86_64
        osRelease 'Red Hat Enterprise Linux Server' '7.9 (Maipo)' rhel 'Red Hat Enterprise Linux Server 7.9 (Maipo)'
        ;;
    centos7)
        red='CentOS Linux release 7.9.2009 (Core)'
        kernel=3.10.0-1160.el7.x86_64
        osRelease 'CentOS Linux' '7 (Core)' centos 'CentOS Linux 7 (Core)'
        ;;
    rhel8)
        red='Red Hat Enterprise Linux release 8.6 (Ootpa)'
        kernel=4.18.0-372.9.1.el8.x86_64
        osRelease 'Red Hat Enterprise Linux' '8.6 (Ootpa)' rhel 'Red Hat Enterprise Linux 8.6 (Ootpa)'
        ;;
    rhel9)
        red='Red Hat Enterprise Linux release 9.2 (Plow)'
        kernel=5.14.0-284.11.1.el9_2.x86_64
        osRelease 'Red Hat Enterprise Linux' '9.2 (Plow)' rhel 'Red Hat Enterprise Linux 9.2 (Plow)'
        ;;
    oracle7)
        red='Red Hat Enterprise Linux Server release 7.9 (Maipo)'
        kernel=5.4.17-2011.6.2.el7uek.x86_64
        echo 'Oracle Linux Server release 7.9' >"$HOST/etc/oracle-release"
        osRelease 'Oracle Linux Server' '7.9' ol 'Oracle Linux Server 7.9'
        ;;
    oracle8)
        red='Red Hat Enterprise Linux release 8.6 (Ootpa)'
        kernel=5.4.17-2136.307.3.1.el8uek.x86_64
        echo 'Oracle Linux Server release 8.6' >"$HOST/etc/oracle-release"
        osRelease 'Oracle Linux Server' '8.6' ol 'Oracle Linux Server 8.6'
        ;;
    sles11sp4)
        kernel=3.0.101-63-default
        tools=sysv
        suseRelease 11 4
        osRelease SLES 11.4 sles 'SUSE Linux Enterprise Server 11 SP4'
        ;;
    sles12sp5)
        kernel=4.12.14-120-default
        osRelease SLES 12-SP5 sles 'SUSE Linux Enterprise Server 12 SP5'
        ;;
    sles12sp6)
        kernel=4.12.14-150-default
        osRelease SLES 12-SP6 sles 'SUSE Linux Enterprise Server 12 SP6'
        ;;
    sles15)
        kernel=5.14.21-150400.22-default
        osRelease SLES 15-SP4 sles 'SUSE Linux Enterprise Server 15 SP4'
        ;;
    *) return 1 ;;
    esac
    [[ $red ]] && echo "$red" >"$HOST/etc/redhat-release"
    echo "$kernel" >"$SIM/kernel_release"
    echo "$1" >"$SIM/generation"
    addServiceTools "$tools"
}

# addServiceTools systemd|sysv: the stand-ins that such a host has, and how the daemon is known to them.
addServiceTools() {
    if [[ $1 == systemd ]]; then
        cp "$SIM/bin/systemctl" "$HOST/usr/bin/"
        mkdir -p "$HOST/etc/systemd/system" "$HOST/usr/lib/systemd/system"
        printf '%s\n' '[Unit]' 'Description=Device-Mapper Multipath Device Controller' '[Service]' \
            'ExecStart=/usr/sbin/dravikd' '[Install]' 'WantedBy=sysinit.target' \
            >"$HOST/usr/lib/systemd/system/dravikd.service"
    else
        cp "$SIM/bin/service" "$SIM/bin/chkconfig" "$HOST/usr/sbin/"
        mkdir -p "$HOST/etc/init.d"
        # shellcheck disable=SC2016 # the text is the script that the host gets
        printf '%s\n' '#!/bin/bash' 'exec service dravikd "$@"' >"$HOST/etc/init.d/dravikd"
        chmod 755 "$HOST/etc/init.d/dravikd"
    fi
}
