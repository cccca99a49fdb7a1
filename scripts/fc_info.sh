#!/bin/bash -p
# Shows the host's Fibre Channel ports, as one table or for programs.
# usage: fc_info.sh [fields]
# Promises:
# - One line of headings, then one line per port in the order of the hosts' numbers: host, WWPN, WWNN, state,
#   speed, topology, driver; "-" for what the kernel does not tell. Columns are as wide as their longest text.
# - A host without such ports is told so in one line, and is a success.
# - With "fields" a line per port alone: the seven values with a tab between two, empty where the kernel does not
#   tell; nothing for a host without such ports.
# Exit status: 0, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/sysfs.sh"
# shellcheck disable=SC2034 # the usage line of base.sh
USAGE="$SCRIPT_NAME [fields]"

readonly COLUMN_COUNT=7
# The cells of all rows, COLUMN_COUNT of them a row, the headings first.
CELLS=(HOST WWPN WWNN STATE SPEED TOPOLOGY DRIVER)

# add_cell FILE: what stands there becomes the next cell.
add_cell() {
    class_value "$1"
    VALUE=${VALUE//[^[:print:]]/?}
    CELLS+=("${VALUE:--}")
}

add_port() {
    local port=/sys/class/fc_host/host$1
    CELLS+=("host$1")
    add_cell "$port/port_name"
    add_cell "$port/node_name"
    add_cell "$port/port_state"
    add_cell "$port/speed"
    add_cell "$port/port_type"
    add_cell "/sys/class/scsi_host/host$1/proc_name"
}

print_table() {
    local i width=() line=''
    for i in "${!CELLS[@]}"; do
        ((${#CELLS[i]} <= ${width[i % COLUMN_COUNT]-0})) || width[i % COLUMN_COUNT]=${#CELLS[i]}
    done
    for i in "${!CELLS[@]}"; do
        if ((i % COLUMN_COUNT == COLUMN_COUNT - 1)); then
            say "$line${CELLS[i]}"
            line=''
        else
            printf -v line '%s%-*s  ' "$line" "${width[i % COLUMN_COUNT]}" "${CELLS[i]}"
        fi
    done
}

print_fields() {
    local i line='' value
    for ((i = COLUMN_COUNT; i < ${#CELLS[@]}; i++)); do
        value=${CELLS[i]}
        [[ $value != - ]] || value=''
        if ((i % COLUMN_COUNT == COLUMN_COUNT - 1)); then
            say "$line$value"
            line=''
        else
            line+=$value$'\t'
        fi
    done
}

main() {
    local host show=print_table
    local -a numbers=()
    if (($# == 1)) && [[ $1 == fields ]]; then
        show=print_fields
        shift
    fi
    answer_help "$@"
    (($# == 0)) || bad_argument "takes no arguments but \"fields\""
    for host in /sys/class/fc_host/host*; do
        host=${host##*/host}
        # The array's order is that of its indexes: host2 comes before host10.
        [[ ! $host =~ ^[0-9]{1,9}$ ]] || numbers[10#$host]=$host
    done
    if ((${#numbers[@]} == 0)) && [[ $show == print_table ]]; then
        say "No Fibre Channel port was found on this host."
        exit 0
    fi
    for host in ${numbers[@]+"${numbers[@]}"}; do
        add_port "$host"
    done
    "$show"
}

main "$@"
