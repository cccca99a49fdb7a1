#!/bin/bash -p
# Writes the product's device blocks into /etc/velomux.conf, or refreshes them.
# usage: g2mpiocfg.sh
# Promises:
# - On RHEL, CentOS, Oracle Linux and SLES only; elsewhere it prints "distribute type is not supported" and
#   fails.
# - The blocks of the maker's SCSI arrays and of the HUAWEI and HITACHI arrays, of any product, are there
#   afterwards, between their marker lines; that of the maker's NVMe arrays where the system can do NVMe over
#   Fabrics, and elsewhere it is neither added nor touched.
# - A path policy that was set before stays. Everything outside the blocks stays byte for byte.
# - A missing file is created. A second run changes no byte, and does not even write.
# - A file whose sections or blocks do not close is left as it is, with a message that names the line.
# - A device section of somebody else for the same arrays stays, and is said.
# - One line is printed for each thing done. The daemon is not told; that is for "dravik restart".
# Exit status: 0, 1 failed, 2 wrong arguments.
[[ $- == *e*p*u* ]] || POSIXLY_CORRECT=1 # lib/start.sh tells why
LIB=${BASH_SOURCE[0]%"${BASH_SOURCE[0]##*/}"}lib
. "$LIB/start.sh"
source "$LIB/conf.sh"
source "$LIB/distribution.sh"

refresh_block() {
    local before=$CONF_TEXT found=1 group selector
    block_select "$1"
    block_policy peek || found=
    group=${POLICY_GROUP:-$BLOCK_GROUP}
    selector=${POLICY_SELECTOR:-$BLOCK_SELECTOR}
    # No kernel has a selector of the misspelt name: maps with it would not load.
    [[ $selector != "$MISSPELT_SELECTOR" ]] || selector=$BLOCK_SELECTOR
    block_refresh "$group" "$selector"
    if [[ -z $found ]]; then
        REPORT+=("$BLOCK_ARRAYS: block added ($group, $selector)")
    elif [[ $CONF_TEXT != "$before" ]]; then
        REPORT+=("$BLOCK_ARRAYS: block refreshed ($group, $selector)")
    else
        REPORT+=("$BLOCK_ARRAYS: block is up to date ($group, $selector)")
    fi
}

# report_foreign BLOCKS: what stands in the text outside them and applies to the same arrays.
report_foreign() {
    local block section
    foreign_sections
    for block in "$@"; do
        block_select "$block"
        for section in ${PARTS[@]+"${PARTS[@]}"}; do
            ! section_shares "$section" ||
                REPORT+=("$BLOCK_ARRAYS: line ${section%%$'\t'*} begins a device section of somebody else, which stays; remove it if this block alone is to count")
        done
    done
}

main() {
    local block
    local -a written=()
    take_no_arguments "$@"
    if ! supported_distribution; then
        say "distribute type is not supported"
        exit "$EXIT_FAILED"
    fi
    os_name

    conf_lock
    conf_load "$CONF_PATH"
    conf_check
    REPORT=()
    for block in $BLOCK_NAMES; do
        if [[ $block != nvme ]] || nvme_capable; then
            refresh_block "$block"
            written+=("$block")
        else
            REPORT+=("NVME KORVELQVX: block left alone, this system has no NVMe over Fabrics")
        fi
    done
    report_foreign "${written[@]}"
    [[ -n $CONF_EXISTS ]] || REPORT=("$CONF_FILE: created" "${REPORT[@]}")
    conf_store
    printf '%s\n' "${REPORT[@]}"
}

main "$@"
