# shellcheck shell=bash
# Faults of the tools and of the disk.

TOOL_FAULTS='ok hang crash rubbish half silent fail missing slow huge says'

# toolPath TOOL: where the host has it, in toolAt. A name is looked up, a path is taken as it is.
toolPath() {
    local folder
    if [[ $1 == /* ]]; then
        toolAt=$1
        [[ -e $HOST$toolAt || -e $SIM/tools$toolAt ]] && return
    else
        for folder in /usr/sbin /usr/bin /usr/bin/dravik-script; do
            toolAt=$folder/$1
            [[ -e $HOST$toolAt || -e $SIM/tools$toolAt ]] && return
        done
    fi
    die "the host has no tool $1"
}

# tool TOOL FAULT [ARGUMENT]: the tool itself is kept under sim/tools, a script that misbehaves takes its place.
breakTool() {
    local tool=${1-} fault=${2-} toolAt keptAt replacement
    [[ $tool && " $TOOL_FAULTS " == *" $fault "* ]] || die "tool: TOOL and one of $TOOL_FAULTS"
    toolPath "$tool"
    keptAt=$SIM/tools$toolAt
    if [[ $fault == ok ]]; then
        [[ ! -e $keptAt ]] || mv "$keptAt" "$HOST$toolAt"
        return
    fi
    if [[ $fault == slow && ! ${3-} =~ ^-?[0-9]+$ ]]; then die "tool: slow N, N in seconds"; fi
    if [[ $fault == says ]]; then
        [[ -r ${3-} ]] || die "tool: says FILE [EXIT-STATUS]"
        mkdir -p "$SIM/tools$(dirname "$toolAt")"
        cp "$3" "$keptAt.text"
    fi
    if [[ ! -e $keptAt ]]; then
        mkdir -p "${keptAt%/*}"
        mv "$HOST$toolAt" "$keptAt"
        # A script that still runs behind the fault finds its modules beside itself.
        [[ ! -d $HOST${toolAt%/*}/lib || -L ${keptAt%/*}/lib ]] || ln -s "${toolAt%/*}/lib" "${keptAt%/*}/lib"
    fi
    rm -f "$HOST$toolAt"
    [[ $fault != missing ]] || return 0
    replacement=$HOST$toolAt
    printf '#!/bin/bash\nTOOL=/sim/tools%q FAULT=%q VALUE=%q STATUS=%q\n. /sim/lib/broken.sh\n' \
        "$toolAt" "$fault" "${3-}" "${4-0}" >"$replacement.new"
    chmod 755 "$replacement.new"
    mv "$replacement.new" "$replacement"
}

# fill-disk [--after BYTES]: under /dumps, that many bytes can still be written, then "No space left on device".
fillDisk() {
    case "${1-} ${2-}" in
    ' ') setDial disk_free 0 ;;
    '--after '[0-9]*) setDial disk_free "$2" ;;
    *) die "fill-disk: [--after BYTES]" ;;
    esac
}
