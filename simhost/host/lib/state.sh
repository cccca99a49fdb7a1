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

# editState OP [AWK-VARIABLE=VALUE ...]: one change of edit.awk; 3 when nothing bears the name.
editState() {
    local op=$1 input=("$SIM/state") assignment
    local -a variables=()
    shift
    for assignment in "$@"; do variables+=(-v "$assignment"); done
    [[ $op == remap ]] && input+=("$SIM/state")
    awk -v "op=$op" ${variables[@]+"${variables[@]}"} -f "$SIM/lib/edit.awk" "${input[@]}" >"$SIM/state.new" || return
    mv "$SIM/state.new" "$SIM/state"
}

renderListing() {
    : >"$SIM/unreachable.new"
    awk -v "dead=$SIM/unreachable.new" -f "$SIM/lib/render.awk" "$SIM/state" >"$SIM/listing.new"
    mv "$SIM/unreachable.new" "$SIM/unreachable"
    mv "$SIM/listing.new" "$SIM/listing"
    moveCounters 0
}

# moveCounters SECONDS: the counters of the devices that there are now, that much later under their loads. Each file is
# replaced whole, so that a reader never meets half of one.
moveCounters() {
    local proc=$HOST/proc sysfs=1 name
    # Inside, with the real /proc in its place, the simulated files lie elsewhere.
    if [[ ! $HOST && ${SIMHOST_REAL_PROC-} ]]; then proc=/sim/proc; fi
    # New device folders came with counters at zero.
    [[ $1 != 0 || ${treeMade-} ]] || sysfs=0
    treeMade=''
    awk -v "seconds=$1" -v "sysfs=$sysfs" -v "cpus=$(<"$SIM/cpus")" -v "columns=$(<"$SIM/diskstats_columns")" \
        -v "counters=$SIM/counters.new" -v "diskstats=$SIM/diskstats.new" -v "stat=$SIM/stat.new" \
        -v "uptime=$SIM/uptime.new" -v "block=$HOST/sys/block" -f "$SIM/lib/counters.awk" \
        "$SIM/counters" "$SIM/loads" "$SIM/state"
    mv "$SIM/counters.new" "$SIM/counters"
    for name in uptime stat diskstats; do mv "$SIM/$name.new" "$proc/$name"; done
    if [[ -e $SIM/no_diskstats ]]; then rm "$proc/diskstats"; fi
}

# makeTree [DM]: makes the block devices, nodes and links of every volume, or of volume dm-DM, as the state wants
# them. What exists already is left as it is.
makeTree() {
    awk -v make=1 -v "only=${1-}" -f "$SIM/lib/tree.awk" "$SIM/state" |
        tar -x -p --no-same-owner --skip-old-files -C "$HOST/" -f -
    treeMade=yes
}

# dropTree DM: removes what volume dm-DM has in the file tree.
dropTree() {
    local name listed
    local -a names=()
    # No process substitution in here: it needs /proc, which the host does not have.
    listed=$(awk -v "only=$1" -f "$SIM/lib/tree.awk" "$SIM/state")
    while IFS='' read -r name; do names+=("$HOST/$name"); done <<<"$listed"
    rm -rf "${names[@]}"
}

# findVolume NAME: its number is then in volumeDm, its first word in volumeWord. False when there is none.
findVolume() {
    local found
    found=$(awk -v "who=$1" '
        $1 == "volume" || $1 == "flushed" || $1 == "unmapped" {
            dm = wwid = vdisk = ""
            for (i = 3; i <= NF; i++) {
                if (index($i, "dm=") == 1) dm = substr($i, 4)
                if (index($i, "wwid=") == 1) wwid = substr($i, 6)
                if (index($i, "vdisk=") == 1) vdisk = substr($i, 7)
            }
            if ((who == $2 && who != "-") || who == wwid || who == vdisk || who == "dm-" dm ||
                who == "/dev/dm-" dm || who == "/dev/mapper/" $2 || who == "/dev/mapper/" wwid) {
                print dm, $1
                exit
            }
        }' "$SIM/state")
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

# A path that was deleted through sysfs leaves the state and takes its files along.
removePath() {
    local name=$1 links
    editState remove "who=$name" || return 0
    [[ $name ]] || return 0
    rm -rf "$HOST/sys/block/$name" "$HOST/dev/${name:?}"
    # The links of one path among thousands: found by where they point.
    # shellcheck disable=SC2012 # the target is what is wanted, and the names are our own
    links=$(ls -l "$HOST/dev/disk/by-path" | awk -v "to=../../$name" '$NF == to { print $(NF - 2) }')
    while IFS='' read -r name; do
        [[ $name ]] && rm -f "$HOST/dev/disk/by-path/$name"
    done <<<"$links"
}

# takeSysfsWrites: acts on what was written into /sys since the last time, as the kernel would have done at once.
takeSysfsWrites() {
    local path name content
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
        /sys/block/*/device/delete) [[ $content != 1 ]] || removePath "$name" ;;
        /sys/block/*/device/state) [[ ! $content ]] || takeOnlineState "$name" "$content" ;;
        /sys/class/*/scan) rescan ;;
        esac
    done <"$SIM/sysfs_writes.taken"
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
    makeTree
}

# reloadMaps: takes up the aliases of the configuration and maps what has paths but no map.
reloadMaps() {
    editState remap
    editState aliases "conf=$HOST/etc/velomux.conf"
    rm -rf "$HOST/dev/mapper" "$HOST"/sys/block/dm-*/dm
    makeTree
    renderListing
}
