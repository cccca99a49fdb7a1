# shellcheck shell=bash
# Which distribution this host runs, and what follows from it.
#
# os_name gives the text that the program finds the distribution by (src/common/os_name.cpp), made by the same
# rules from the same files, so that scripts and program always agree; a test holds them together. It is the raw
# material of the release files, not a tidy name.

# os_name: fills OS_NAME; "Unknown Linux" where no file tells.
os_name() {
    os_name_from_redhat || os_name_from_suse || os_name_from_lsb || OS_NAME="Unknown Linux"
}

# take_line MAX: reads the next line of standard input into LINE, its line feed included, at most MAX bytes of
# it; what is left of a longer line is the next line. Fails on an empty line and at the end of the input.
take_line() {
    if IFS= read -r -n "$1" LINE; then
        ((${#LINE} == $1)) || LINE+=$'\n'
    fi
    [[ -n $LINE && $LINE != $'\n' ]]
}

# CentOS Linux release 7.9.2009 (Core)  gives  "CentOS Linux 7.9.2009 "
# Oracle Linux Server release 7.9       gives  "Oracle Linux Server 7."  (without a parenthesis the 9 is lost)
os_name_from_redhat() {
    local file=/etc/redhat-release i name=
    [[ ! -r /etc/oracle-release ]] || file=/etc/oracle-release
    [[ -r $file ]] || return 1
    take_line 119 <"$file" || return 1
    for ((i = 0; i < ${#LINE} - 2 && ${#name} < 64; i++)); do
        [[ ${LINE:i:1} != "(" ]] || break
        if [[ ${LINE:i:8} == "release " ]]; then
            ((i += 7))
        else
            name+=${LINE:i:1}
        fi
    done
    [[ -n $name ]] || return 1
    OS_NAME=$name
}

# The second line of os-release as it stands, line feed and all:  VERSION="12-SP5"
# else of SuSE-release the first line without its parenthesis, and the third:
#     SUSE Linux Enterprise Server 12 (x86_64)
#     VERSION = 12
#     PATCHLEVEL = 5
os_name_from_suse() {
    local first
    if [[ -r /etc/os-release ]]; then
        { take_line 239 || true; take_line 119; } </etc/os-release || return 1
        OS_NAME=${LINE:0:64}
        return 0
    fi
    [[ -r /etc/SuSE-release ]] || return 1
    {
        take_line 239 || return 1
        first=$LINE
        take_line 119 || true
        take_line 119 || true
    } </etc/SuSE-release
    OS_NAME=$(without_parenthesis "$first")$LINE
    OS_NAME=${OS_NAME:0:64}
    [[ -n $OS_NAME ]]
}

# The tool prints one line in double quotes:  "Red Hat Enterprise Linux Server release 7.9 (Maipo)"
os_name_from_lsb() {
    local text
    text=$(/usr/bin/lsb_release -d -s 2>/dev/null) || true
    text=${text%%$'\n'*}
    text=${text:0:127}
    [[ -n $text ]] || return 1
    text=${text#\"}
    while [[ $text == *\" ]]; do text=${text%\"}; done
    OS_NAME=$(without_parenthesis "$text"$'\n')
    [[ -n $OS_NAME ]]
}

# The text in front of the character before the first "(", or without its last character when there is none.
without_parenthesis() {
    local head=${1%%(*}
    if [[ -z $head || $head == "$1" ]]; then
        head=$1
    fi
    printf '%s' "${head%?}"
}

# nvme_capable: whether OS_NAME is a system that can do NVMe over Fabrics, by the same comparisons, byte by
# byte, as the program makes (src/host/host_os.cpp). The last rule leaves out the named release itself although the others take
# theirs in.
nvme_capable() {
    case $OS_NAME in
        *Red*Server* | *Server*Red*) [[ ! $OS_NAME < "Red Hat Enterprise Linux Server 8.0" ]] ;;
        *Red*) [[ ! $OS_NAME < "Red Hat Enterprise Linux 8.0" ]] ;;
        *"CentOS Linux"*) [[ ! $OS_NAME < "CentOS Linux 8.0" ]] ;;
        *VERSION=*SP* | *SP*VERSION=*) [[ ! $OS_NAME < 'VERSION="12-SP6"' ]] ;;
        *SUSE*) [[ $OS_NAME > "SUSE Linux Enterprise Server 12 PATCHLEVEL = 6" ]] ;;
        *) false ;;
    esac
}

# supported_distribution: whether this is RHEL, CentOS, Oracle Linux or SLES. The vendors' own release files
# decide; os-release, which relatives of these systems fill in many ways, only where there is none.
supported_distribution() {
    local id
    if [[ -r /etc/oracle-release ]]; then
        grep -q '^Oracle Linux' /etc/oracle-release
    elif [[ -r /etc/redhat-release ]]; then
        grep -q -e '^Red Hat Enterprise Linux' -e '^CentOS' /etc/redhat-release
    elif [[ -r /etc/os-release ]]; then
        id=$(sed -n 's/^ID=//p' /etc/os-release)
        case ${id//[\"\']/} in
            rhel | centos | ol | sles | sles_sap) ;;
            *) false ;;
        esac
    else
        [[ -r /etc/SuSE-release ]] && grep -q '^SUSE Linux Enterprise Server' /etc/SuSE-release
    fi
}
