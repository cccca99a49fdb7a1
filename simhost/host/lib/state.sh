# shellcheck shell=bash
# The state of the simulated host and what follows from it: the listing, the block devices, the aliases. The same
# functions serve the stand-ins inside (HOST='', SIM=/sim) and the commands outside (HOST=DIR, SIM=DIR/sim).
#
#   $SIM/state         the volumes, groups and paths: a fully written out scenario
#   $SIM/listing       what "velomux -ll" prints, made anew by every change, so that a listing costs one cat
#   $SIM/unreachable   the maps none of whose paths works
#   $SIM/sysfs_writes  files below /sys that a program opened for writing since the multipath tool last ran

# shellcheck source=dials.sh
. "$SIM/lib/dials.sh"

# Every change runs between these two; the lock keeps a command and a stand-in from losing each other's change.
lockState() { exec 9>"$SIM/lock" && flock 9; }
unlockState() { exec 9>&-; }

# stateAwk PROGRAM [OPTIONS] FILES: one of the programs beside this file, with state.awk before it.
stateAwk() { awk -f "$SIM/lib/state.awk" -f "$SIM/lib/$1.awk" "${@:2}"; }

# editState OP [AWK-VARIABLE=VALUE ...]: one change of edit.awk; 3 when nothing bears the name. Which volumes it
# changed stands in $SIM/touched then.
editState() {
    local op=$1 input=("$SIM/state") assignment
    local -a variables=(-v "op=$1" -v "touched=$SIM/touched")
    shift
    for assignment in "$@"; do variables+=(-v "$assignment"); done
    [[ $op == reload ]] && input+=("$SIM/state")
    : >"$SIM/touched"
    stateAwk edit "${variables[@]}" "${input[@]}" >"$SIM/state.new" || return
    mv "$SIM/state.new" "$SIM/state"
}

renderListing() {
    : >"$SIM/unreachable.new"
    stateAwk render -v "dead=$SIM/unreachable.new" "$SIM/state" >"$SIM/listing.new"
    mv "$SIM/unreachable.new" "$SIM/unreachable"
    mv "$SIM/listing.new" "$SIM/listing"
    moveCounters 0
}

# moveCounters SECONDS [all]: the counters of the devices that there are now, that much later under their loads; "all":
# the stat files of the idle ones are written, too. Each file of /proc is replaced whole, so that a reader never meets
# half of one.
moveCounters() {
    local proc=$HOST/proc sysfs=${2:-1} columns name
    # Inside, with the real /proc in its place, the simulated files lie elsewhere. The environment does not tell: the
    # programs hand on none of it.
    if [[ ! $HOST && -e /sim/proc/stat ]]; then proc=/sim/proc; fi
    columns=$(<"$SIM/diskstats_columns")
    # New device folders came with counters at zero, in eleven columns.
    if [[ ${treeMade-} ]]; then
        ((columns == 11)) || sysfs=all
    elif [[ "$*" == 0 ]]; then
        sysfs=0
    fi
    treeMade=''
    stateAwk counters -v "seconds=$1" -v "sysfs=$sysfs" -v "cpus=$(<"$SIM/cpus")" -v "columns=$columns" \
        -v "counters=$SIM/counters.new" -v "diskstats=$SIM/diskstats.new" -v "stat=$SIM/stat.new" \
        -v "uptime=$SIM/uptime.new" -v "block=$HOST/sys/block" "$SIM/counters" "$SIM/loads" "$SIM/state"
    mv "$SIM/counters.new" "$SIM/counters"
    for name in uptime stat diskstats; do mv "$SIM/$name.new" "$proc/$name"; done
    if [[ -e $SIM/no_diskstats ]]; then rm "$proc/diskstats"; fi
}

# makeTree [DMS]: makes the block devices, nodes and links of every volume, or of those numbers, as the state wants
# them. What exists already is left as it is. -P makes each link at once instead of a file that it takes the place of
# later; the names in the archive are all plain.
makeTree() {
    stateAwk tree -v make=1 -v "only=${1-}" "$SIM/state" |
        tar -x -p -P --no-same-owner --skip-old-files -C "$HOST/" -f -
    treeMade=yes
}

# dropTree DM: removes what volume dm-DM has in the file tree.
dropTree() { stateAwk tree -v "only=$1" "$SIM/state" | dropFiles; }

# dropFiles < NAMES: removes them, below the host's root.
dropFiles() { (cd "$HOST/" && tr '\n' '\0' | xargs -0 -r rm -rf --); }

# findVolume NAME: its number is then in volumeDm, its first word in volumeWord. False when there is none.
findVolume() {
    local found
    found=$(stateAwk find -v "who=$1" "$SIM/state")
    [[ $found ]] || return 1
    # shellcheck disable=SC2034 # the result
    read -r volumeDm volumeWord <<<"$found"
}

# rebuildVolume OP VARIABLE... : a change of volume dm-$volumeDm after which its files may be other ones.
rebuildVolume() {
    dropTree "$volumeDm"
    editState "$@"
    makeTree "$volumeDm"
}

# Paths that were deleted through sysfs leave the state and take their files along.
removePaths() {
    (($# > 0)) || return 0
    editState remove "who=$*" || return 0
    {
        printf 'sys/block/%s\n' "$@"
        printf 'dev/%s\n' "$@"
        # The links of few paths among thousands: found by where they point.
        # shellcheck disable=SC2012 # the target is what is wanted, and the names are our own
        ls -l "$HOST/dev/disk/by-path" | awk -v "who= $* " 'index(who, " " substr($NF, 7) " ") { print $(NF - 2) }' |
            sed 's|^|dev/disk/by-path/|'
    } | dropFiles
}

# takeSysfsWrites: acts on what was written into /sys since the last time, as the kernel would have done at once.
takeSysfsWrites() {
    local path name content
    local -a deleted=()
    [[ -s $SIM/sysfs_writes ]] || return 0
    mv "$SIM/sysfs_writes" "$SIM/sysfs_writes.taken"
    while IFS='' read -r path; do
        content=''
        if [[ -r $HOST$path ]]; then read -r content <"$HOST$path" || true; fi
        name=${path#/sys/block/}
        name=${name%%/*}
        case $path in
        # Opened, but nothing written yet: looked at again the next time.
        /sys/block/*/device/*) [[ $content || ! -e $HOST$path ]] || echo "$path" >>"$SIM/sysfs_writes" ;;&
        /sys/block/[a-z]*/device/delete) [[ $content != 1 ]] || deleted+=("$name") ;;
        /sys/block/*/device/state) [[ ! $content ]] || takeOnlineState "$name" "$content" ;;
        /sys/class/*/scan)
            removePaths ${deleted[@]+"${deleted[@]}"}
            deleted=()
            rescan
            ;;
        esac
    done <"$SIM/sysfs_writes.taken"
    removePaths ${deleted[@]+"${deleted[@]}"}
    renderListing
}

# takeOnlineState PATH STATE: the listing shows it; a path set running again works again.
takeOnlineState() {
    case $2 in
    running) editState path-state "who=$1" "to=active ready running" ;;
    *) editState path-state "who=$1" "to=failed faulty $2" ;;
    esac || true
}

# rescan: what was deleted here but is still exported by the array comes back as block devices; so does what was
# mapped to appear at the next scan.
rescan() {
    editState rescan
    [[ ! -s $SIM/touched ]] || makeTree "$(touchedVolumes)"
}

# reloadMaps: takes up the aliases of the configuration and maps what has paths but no map.
reloadMaps() {
    ln -f "$SIM/state" "$SIM/state.before"
    editState reload "conf=$HOST/etc/velomux.conf"
    if [[ -s $SIM/touched ]]; then
        stateAwk tree -v part=map-name -v "only=$(touchedVolumes)" "$SIM/state.before" | dropFiles
        makeTree "$(touchedVolumes)"
    fi
    renderListing
}

# touchedVolumes: the numbers of the volumes that the last change of the state touched, in one line.
touchedVolumes() { tr '\n' ' ' <"$SIM/touched"; }
