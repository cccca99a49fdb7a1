# shellcheck shell=bash
# shellcheck disable=SC2154 # volumeDm and volumeWord are set by findVolume of host/lib/state.sh
# What happens to the array and its fabric: each command changes the state, and the next run of a tool shows it.

# change OP VARIABLE...: one change of the state and a new listing. $subject names what is looked for.
change() {
    lockState
    editState "$@" || die "there is no $subject"
    renderListing
    unlockState
}

# sysfsState PATH STATE: what the kernel shows for the path, where the host has the file.
sysfsState() {
    local file=$HOST/sys/block/$1/device/state
    [[ ! -e $file ]] || echo "$2" >"$file"
}

# fail-path PATH [DM-STATE CHECKER ONLINE]
failPath() {
    local subject="path ${1-}"
    change path-state "who=${1-}" "to=${2-failed} ${3-faulty} ${4-running}"
    sysfsState "$1" "${4-running}"
}

restorePath() {
    local subject="path ${1-}"
    change path-state "who=${1-}" 'to=active ready running'
    sysfsState "$1" running
}

failPort() {
    local subject="path through the port ${1-}"
    change port-state "who=${1-}" "to=${2-failed} ${3-faulty} ${4-running}"
}

restorePort() {
    local subject="path through the port ${1-}"
    change port-state "who=${1-}" 'to=active ready running'
}

# meantVolume NAME: volumeDm and volumeWord, or the end.
meantVolume() {
    findVolume "${1-}" || die "there is no volume ${1-}"
}

# unmap VOLUME [--stale]: gone from the host, or left behind with dead paths as before a rescan.
unmapVolume() {
    lockState
    meantVolume "${1-}"
    if [[ ${2-} == --stale ]]; then
        editState volume-state "who=dm-$volumeDm" 'to=failed faulty running'
        editState volume-key "who=dm-$volumeDm" what=export to=off
    else
        dropTree "$volumeDm"
        editState word "who=dm-$volumeDm" to=unmapped
    fi
    renderListing
    unlockState
}

# addVolume ALIAS key=value...: a new line of the state, filled out; its number is then in volumeDm.
addVolume() {
    cp "$SIM/state" "$SIM/state.wanted"
    printf 'volume %s\n' "$*" >>"$SIM/state.wanted"
    stateAwk expand "$SIM/state.wanted" "$SIM/state.wanted" >"$SIM/state.new" || die "map: not understood"
    mv "$SIM/state.new" "$SIM/state"
    volumeDm=$(sed -n 's/^volume [^ ]* dm=\([0-9]*\) .*/\1/p' "$SIM/state" | tail -n 1)
}

# map VOLUME [--at-scan]: one that was unmapped; map ALIAS key=value... [--at-scan]: a new one, with the words of a
# scenario's volume line. With --at-scan it appears when the host scans for it.
mapVolume() {
    local later='' word
    local -a words=()
    for word in "$@"; do
        if [[ $word == --at-scan ]]; then later=yes; else words+=("$word"); fi
    done
    [[ ${words[0]-} ]] || die "map: which volume?"
    lockState
    if ! findVolume "${words[0]}"; then
        addVolume "${words[@]}"
    elif ((${#words[@]} > 1)); then
        die "there is a volume ${words[0]} already"
    fi
    editState map "who=dm-$volumeDm"
    if [[ $later ]]; then
        editState word "who=dm-$volumeDm" to=unmapped
        editState volume-key "who=dm-$volumeDm" what=export to=at-scan
    else
        makeTree "$volumeDm"
    fi
    renderListing
    unlockState
}

# changeVolume NAME OP VARIABLE...: a change after which the volume's files are made again.
changeVolume() {
    lockState
    meantVolume "$1"
    rebuildVolume "$2" "who=dm-$volumeDm" "${@:3}"
    renderListing
    unlockState
}

renameVolume() {
    [[ ${2-} =~ ^[^[:space:]]+$ ]] || die "rename: VOLUME NEWALIAS"
    changeVolume "$1" rename "to=$2"
}

# volumeKey NAME KEY VALUE: a blank in the value is kept as "~", as everywhere in the state.
volumeKey() {
    [[ ${3-} ]] || die "which value?"
    changeVolume "$1" volume-key "what=$2" "to=${3// /\~}"
}

# set-policy VOLUME SELECTOR ("queue-length 0"): of all its groups.
setPolicy() {
    [[ ${2-} ]] || die "set-policy: VOLUME SELECTOR"
    lockState
    meantVolume "$1"
    editState group-key "who=dm-$volumeDm" group=0 what=selector "to=${2// /\~}" || die "$1 has no group"
    renderListing
    unlockState
}

# set-group VOLUME NUMBER prio=N|status=TEXT...: shown as given from then on; status=- lets it follow the paths again.
setGroup() {
    local pair
    [[ ${2-} =~ ^[0-9]+$ && ${3-} ]] || die "set-group: VOLUME NUMBER prio=N status=TEXT"
    lockState
    meantVolume "$1"
    for pair in "${@:3}"; do
        editState group-key "who=dm-$volumeDm" "group=$2" "what=${pair%%=*}" "to=${pair#*=}" ||
            die "$1 has no group $2"
    done
    renderListing
    unlockState
}

setInUse() {
    [[ ${2-} == on || ${2-} == off ]] || die "in-use: VOLUME on|off"
    volumeKey "$1" inuse "$2"
}

PAGES='normal zero-count many-pages no-d0 long empty no-nul nul-inside check-condition errno no-nsid not-block'

setPage() {
    [[ " $PAGES " == *" ${2-} "* ]] || die "page: one of $PAGES"
    volumeKey "$1" page "$2"
}

rescanHost() {
    lockState
    rescan
    renderListing
    unlockState
}
