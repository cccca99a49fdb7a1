# shellcheck shell=bash
# simhost build: makes the folder that is the host.

buildUsage() {
    cat <<'END'
usage: simhost build DIR [--scenario NAME|FILE|'many volumes=N paths=N transport=T'] [--generation GEN]
                         [--from BUILD_DIR] [--dumps] [--no-diskstats] [--cpus N]
  Makes a simulated host in the new or empty folder DIR.
  --scenario      a file, the name of one in simhost/scenarios (default: default), or the text of one
  --generation    the Linux it is (default: rhel8); "simhost generations" lists them
  --from          installs what was built there: its install rule, and its preload library
  --dumps         makes /dumps, as after the product's first run
  --no-diskstats  a kernel without /proc/diskstats
  --cpus          how many processors its kernel shows (default: 2)
END
}

# readScenario NAME: prints its text, wherever it comes from.
readScenario() {
    if [[ $1 == *' '* ]]; then
        printf '%s\n' "$1"
    elif [[ -f $1 ]]; then
        cat "$1"
    elif [[ -f $SIMHOST_HOME/scenarios/$1.scn ]]; then
        cat "$SIMHOST_HOME/scenarios/$1.scn"
    else
        die "no scenario \"$1\" (there are: $(cd "$SIMHOST_HOME/scenarios" && echo *.scn))"
    fi
}

# makeDevices: real character devices where they can be made and used, else plain files; the preload library makes
# a plain /dev/null swallow what is written to it.
makeDevices() {
    local -a numbers=('null 1 3' 'zero 1 5' 'full 1 7' 'urandom 1 9')
    local entry name major minor
    mkdir -p "$HOST"/dev/{disk/by-path,mapper}
    for entry in "${numbers[@]}"; do
        read -r name major minor <<<"$entry"
        mknod -m 666 "$HOST/dev/$name" c "$major" "$minor" 2>/dev/null &&
            { : >"$HOST/dev/$name"; } 2>/dev/null && continue
        rm -f "$HOST/dev/$name"
        [[ $name == null ]] && : >"$HOST/dev/null" && chmod 666 "$HOST/dev/null"
    done
    return 0
}

makeEtc() {
    mkdir -p "$HOST/etc"
    echo 'root:x:0:0:root:/root:/bin/bash' >"$HOST/etc/passwd"
    echo 'root:x:0:' >"$HOST/etc/group"
    echo simhost >"$HOST/etc/hostname"
    mkdir -p "$HOST/usr/share/doc/device-mapper-velomux-0.4.9"
    cp "$SIMHOST_HOME/host/velomux.conf" "$HOST/usr/share/doc/device-mapper-velomux-0.4.9/"
    cp "$SIMHOST_HOME/host/velomux.conf" "$HOST/etc/"
}

# The host bus adapters: two Fibre Channel ports, and a SCSI host each for them and for the other transports.
makeAdapters() {
    local host folder
    for host in 0 1 2 4 5; do
        folder=$HOST/sys/class/scsi_host/host$host
        mkdir -p "$folder"
        : >"$folder/scan"
        echo "simhba" >"$folder/proc_name"
    done
    for host in 1 2; do
        folder=$HOST/sys/class/fc_host/host$host
        mkdir -p "$folder"
        echo "0x21000024ff5d6a1$host" >"$folder/port_name"
        echo "0x20000024ff5d6a1$host" >"$folder/node_name"
        echo "Online" >"$folder/port_state"
        echo "NPort (fabric via point-to-point)" >"$folder/port_type"
        echo "16 Gbit" >"$folder/speed"
        echo "4 Gbit, 8 Gbit, 16 Gbit" >"$folder/supported_speeds"
        echo "0x1000c4f57c6a1000" >"$folder/fabric_name"
        echo "0x01020$host" >"$folder/port_id"
        echo "SIMHBA FW:v1.00 DVR:v1.00" >"$folder/symbolic_name"
    done
}

# makeSim: the folder of the simulation itself, below the host's root so that stand-ins reach it.
makeSim() {
    mkdir -p "$SIM"/{lib,bin,array,services,tools,proc}
    cp "$SIMHOST_HOME"/host/lib/* "$SIM/lib/"
    cp "$SIMHOST_HOME"/host/bin/* "$SIM/bin/"
    cp "$SIM/bin/velomux" "$SIM/bin/dravikd" "$HOST/usr/sbin/"
    : >"$SIM/calls.log"
    : >"$SIM/shells.log"
    mkfifo "$SIM/tick" "$SIM/asleep"
    echo active >"$SIM/services/dravikd.service.state"
    : >"$SIM/services/dravikd.service.enabled"
    echo 1234 >"$SIM/services/dravikd.service.pid"
    echo 'Mon 2021-12-06 10:15:02 UTC' >"$SIM/services/dravikd.service.since"
}

# addPreload BUILD_DIR: the library comes from $SIMHOST_PRELOAD, from the build folder, or is compiled here. The host's
# loader takes it from a file, not from the environment, which the programs and scripts clean.
addPreload() {
    local found='' candidate key
    for candidate in "${SIMHOST_PRELOAD-}" "${1:+$1/libsimhost_preload.so}" \
        "${1:+$1/simhost/libsimhost_preload.so}"; do
        [[ $candidate && -f $candidate ]] && found=$candidate && break
    done
    if [[ ! $found ]]; then
        key=$(cat "$SIMHOST_HOME"/preload/*.[ch] | cksum)
        found=${SIMHOST_CACHE:-$SIM}/libsimhost_preload-${key%% *}.so
        if [[ ! -f $found ]]; then
            mkdir -p "${found%/*}"
            "${CC:-cc}" -std=gnu11 -O2 -fPIC -shared -D_GNU_SOURCE -o "$found.$$" "$SIMHOST_HOME"/preload/*.c -ldl ||
                die "the preload library could not be compiled"
            mv "$found.$$" "$found"
        fi
    fi
    cp "$found" "$SIM/preload.so"
    addLibraries "$HOST" "$SIM/preload.so"
    echo /sim/preload.so >"$HOST/etc/ld.so.preload"
}

# installProduct BUILD_DIR: by the product's own rule; a build folder without one gives its programs.
installProduct() {
    local from=$1 program
    local -a programs=()
    if [[ -f $from/cmake_install.cmake ]]; then
        DESTDIR=$HOST cmake --install "$from" --prefix /usr >"$SIM/install.log" 2>&1 ||
            die "the product could not be installed: $(tail -n 1 "$SIM/install.log")"
    fi
    for program in dravik-monitor dravik; do
        if [[ ! -e $HOST/usr/bin/$program && -x $from/$program ]]; then
            cp "$from/$program" "$HOST/usr/bin/"
        fi
        [[ -e $HOST/usr/bin/$program ]] && programs+=("$HOST/usr/bin/$program")
    done
    ((${#programs[@]} == 0)) || addLibraries "$HOST" "${programs[@]}"
    # Sanitized programs need a real /proc; "run" looks for this file.
    if grep -qs '^DRAVIK_SANITIZE:BOOL=ON' "$from/CMakeCache.txt"; then : >"$SIM/real_proc"; fi
}

# add PROGRAM...: further programs of this machine, in /usr/bin.
addPrograms() {
    cp -L "$@" "$HOST/usr/bin/"
    addLibraries "$HOST" "$@"
}

buildHost() {
    local dir='' scenario=default generation=rhel8 from='' dumps='' diskstats=yes cpus=2
    while (($# > 0)); do
        case $1 in
        --scenario | --generation | --from | --cpus)
            (($# >= 2)) || die "$1 needs a value"
            declare "${1#--}=$2"
            shift
            ;;
        --dumps) dumps=yes ;;
        --no-diskstats) diskstats='' ;;
        -h | --help)
            buildUsage
            return
            ;;
        -*) die "build: unknown option $1" ;;
        *)
            [[ ! $dir ]] || die "build: one folder, not \"$dir\" and \"$1\""
            dir=$1
            ;;
        esac
        shift
    done
    if [[ ! $dir ]]; then
        buildUsage >&2
        exit 2
    fi
    [[ ! -e $dir || -d $dir ]] || die "$dir is not a folder"
    [[ ! -d $dir || ! $(ls -A "$dir") ]] || die "$dir is not empty"
    [[ ! $from || -d $from ]] || die "--from $from: no such folder"
    local text
    text=$(readScenario "$scenario")

    mkdir -p "$dir"
    HOST=$(cd "$dir" && pwd -P)
    SIM=$HOST/sim
    addBase "$HOST"
    makeSim
    makeEtc
    setGeneration "$generation" || die "no generation \"$generation\" (there are: ${GENERATIONS[*]})"
    makeDevices
    mkdir -p "$HOST"/{proc,sys/block,sys/class}
    # On ext4 the folders of the paths are spread over the disk. Side by side they would come to lie where a host that
    # was removed a moment ago lay, and without a journal the kernel passes over its inodes again for every new file.
    chattr +T "$HOST/sys/block" 2>/dev/null || true
    makeAdapters
    addPreload "$from"
    # shellcheck source=../host/lib/state.sh
    . "$SIM/lib/state.sh"
    makeDials
    printf '%s\n' "$text" >"$SIM/scenario"
    stateAwk expand "$SIM/scenario" "$SIM/scenario" >"$SIM/state" || die "the scenario is not understood"
    # The file tree takes longest on a large host; nothing else here looks at it.
    makeTree &
    makeCounters "$diskstats" "$cpus"
    renderListing
    wait $! || die "the file tree could not be made"
    [[ ! $dumps ]] || mkdir -m 700 "$HOST/dumps"
    if [[ $from ]]; then installProduct "$from"; fi
}
