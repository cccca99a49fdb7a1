# shellcheck shell=bash
# The dials of a simulated host: numbers in fixed places of the text file $SIM/dials, which the preload library maps.
# A dial is turned in place, never by replacing the file. SIM is the host's /sim, seen from where the caller is.

DIALS=(clock_offset clock_slept clock_frozen speed asleep disk_free disk_locked)

# makeDials: a new file, every dial at 0 but the disk, which has room without end.
makeDials() {
    local name value
    for name in "${DIALS[@]}"; do
        value=0
        [[ $name == disk_free ]] && value=-1
        printf '%-16s%15s\n' "$name" "$value"
    done >"$SIM/dials"
}

# dialNumber NAME: sets dialAt to its place in the file.
dialPlace() {
    local i
    for i in "${!DIALS[@]}"; do
        if [[ ${DIALS[i]} == "$1" ]]; then
            dialAt=$((i * 32 + 16))
            return
        fi
    done
    echo "simhost: no dial $1" >&2
    return 1
}

# setDial NAME NUMBER
setDial() {
    local fd _ dialAt
    dialPlace "$1"
    exec {fd}<>"$SIM/dials"
    LC_ALL=C IFS='' read -r -N "$dialAt" -u "$fd" _
    printf '%15s' "$2" >&"$fd"
    exec {fd}>&-
}

# dial NAME: its number is then in dialValue.
dial() {
    local fd _ dialAt
    dialPlace "$1"
    exec {fd}<"$SIM/dials"
    LC_ALL=C IFS='' read -r -N "$dialAt" -u "$fd" _
    # shellcheck disable=SC2034 # the result
    read -r dialValue <&"$fd"
    exec {fd}>&-
}
