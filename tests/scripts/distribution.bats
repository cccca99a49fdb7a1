#!/usr/bin/env bats
# The distribution's name as the program reads it, and which systems can do NVMe over Fabrics.

load ../support/small_root

setup_file() { make_base; }
setup() { make_root; }

library() {
    run inside bash -c "set -euo pipefail; source /usr/bin/dravik-script/lib/base.sh
        source /usr/bin/dravik-script/lib/distribution.sh; $1"
}

# name_is TEXT: the name between brackets, so that blanks and line feeds at its end are seen.
name_is() {
    # shellcheck disable=SC2016  # expanded inside
    library 'os_name; printf "[%s]" "$OS_NAME"'
    answers 0 "[$1]"
}

@test "a Red Hat release line loses the word release and its parenthesis" {
    printf 'CentOS Linux release 7.9.2009 (Core)\n' >"$ROOT/etc/redhat-release"
    name_is "CentOS Linux 7.9.2009 "
}

@test "a release line without a parenthesis loses its last character" {
    printf 'Oracle Linux Server release 7.9\n' >"$ROOT/etc/oracle-release"
    name_is "Oracle Linux Server 7."
}

@test "the Oracle file wins over the Red Hat file, and both over the SUSE ones" {
    printf 'VERSION="11.4"\nVERSION="11.4"\n' >"$ROOT/etc/os-release"
    printf 'Red Hat Enterprise Linux Server release 7.9 (Maipo)\n' >"$ROOT/etc/redhat-release"
    name_is "Red Hat Enterprise Linux Server 7.9 "
    printf 'Oracle Linux Server release 7.9 \n' >"$ROOT/etc/oracle-release"
    name_is "Oracle Linux Server 7.9"
}

@test "os-release gives its second line as it stands, line feed and all" {
    printf 'NAME="SLES"\nVERSION="11.4"\nID="sles"\n' >"$ROOT/etc/os-release"
    name_is $'VERSION="11.4"\n'
}

@test "the second line of os-release counts, whatever the first one holds" {
    printf '\nVERSION="12-SP6"\nID="sles"\n' >"$ROOT/etc/os-release"
    name_is $'VERSION="12-SP6"\n'
    printf ' \nVERSION="12-SP6"' >"$ROOT/etc/os-release"
    name_is 'VERSION="12-SP6"'
}

@test "SuSE-release gives its first line without parenthesis and its third line" {
    printf 'SUSE Linux Enterprise Server 12 (x86_64)\nVERSION = 12\nPATCHLEVEL = 6\n' >"$ROOT/etc/SuSE-release"
    name_is $'SUSE Linux Enterprise Server 12PATCHLEVEL = 6\n'
}

@test "lsb_release is asked where no file tells, and its quotes and parenthesis go" {
    printf '#!/bin/bash\necho "\\"Some Linux release 3 (Name)\\""\n' >"$ROOT/usr/bin/lsb_release"
    chmod 755 "$ROOT/usr/bin/lsb_release"
    name_is "Some Linux release 3"
}

@test "with nothing to go by the name is Unknown Linux" {
    name_is "Unknown Linux"
    echo >"$ROOT/etc/redhat-release"
    printf 'NAME="x"\n\n' >"$ROOT/etc/os-release"
    name_is "Unknown Linux"
    echo x >"$ROOT/etc/redhat-release"
    name_is "Unknown Linux"
}

@test "NVMe over Fabrics begins with RHEL 8.0, CentOS Linux 8.0 and SLES 12 SP6" {
    local wrong=''
    while IFS='|' read -r expected name; do
        library "OS_NAME='$name'; nvme_capable"
        [[ $status == "$expected" ]] || wrong+="$name: $status "$'\n'
    done <<'E'
0|Red Hat Enterprise Linux Server 8.0
1|Red Hat Enterprise Linux Server 7.9
0|Red Hat Enterprise Linux 8.0
0|Red Hat Enterprise Linux 9.2
1|Red Hat Enterprise Linux 10.0
1|Red Hat Enterprise Linux 7.9
0|CentOS Linux 8.0
0|CentOS Linux 8.4.2105
1|CentOS Linux 7.9.2009
1|CentOS Stream 8
0|VERSION="12-SP6"
0|VERSION="15-SP4"
1|VERSION="12-SP5"
1|VERSION="15"
1|VERSION="11.4"
1|SUSE Linux Enterprise Server 12 PATCHLEVEL = 6
0|SUSE Linux Enterprise Server 12 PATCHLEVEL = 61
0|SUSE Linux Enterprise Server 15 PATCHLEVEL = 1
1|SUSE Linux Enterprise Server 12 PATCHLEVEL = 5
1|Oracle Linux Server 8.
1|Unknown Linux
1|
E
    [[ -z $wrong ]] || { printf '%s' "$wrong"; return 1; }
}
