# shellcheck shell=bash
# Bash completion for dravik: commands, parameters, values, and the device and path names of this host.
#
# Works with the bash-completion package (as /usr/share/bash-completion/completions/dravik) and without it
# (sourced from a profile). Needs bash 3.2 or newer.
#
# A Tab must never hang or cost what a listing of the multipath tool costs: the names come from the monitor's
# snapshot file, from /dev/mapper and from /sys/block, and every look at them ends after a second.
#
# Nothing that was typed and nothing from a file is ever expanded: root presses this key. A typed word is compared or,
# where it is plain, looked up; what is offered is this file's own or plain. ("compgen -W" runs what its list holds.)

# The root that the names are taken from; only the tests set another one.
_dravik_root=''

_dravik_commands=(aggregation config delalias delete lsalias lspathpolicy query restart scan setalias setstate
    setpathpolicy start status stop version port devstats refresh check list events baseline metrics explain)

# What a name looks like, for sed and awk in the C locale.
_dravik_name='[A-Za-z0-9._:][A-Za-z0-9._:-]*'

# _dravik_is_plain WORD: whether it is the beginning of a name, or empty. Character by character, because in the
# user's locale a range has its own ideas.
_dravik_is_plain() {
    local plain=ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-
    [[ $1 != -* && $1 != *[!$plain]* ]]
}

# _dravik_words PREFIX [WORD...]: offers those words that begin with the prefix, which may stand behind a quote.
_dravik_words() {
    local prefix=${1#[\"\']} word
    shift
    COMPREPLY=()
    for word in "$@"; do
        [[ $word != "$prefix"* ]] || COMPREPLY+=("$word")
    done
}

# ---- names

# Prints, one a line, what the snapshot file holds of the kind "device", "path" or "wwid".
#
#   mpatha,360000000000000000000000000000001,8:16,sdb,ready,active,running,
#
# A name of 31 characters or more stands there as its first 31 characters with the WWID right behind them; it is
# the WWID itself, or /dev/mapper tells the whole name. What holds other characters than names have is passed over:
# nothing from a file may reach the terminal or the command line by this way.
# shellcheck disable=SC2016 # the dollar is awk's
_dravik_awk='
live { sub(/.*\//, ""); mapped[$0] = 1; by_start[substr($0, 1, 31)] = $0; known = 1; next }
# Most lines of a large host are done with before they are cut into fields, which is what takes time.
of == "" && kind != "path" && run != "" && substr($0, 1, length(run)) == run { next }
of != "" && index("," $0, "," of ",") == 0 && length(of) < 31 { next }
NF != 8 { next }
{
    run = $1 FS $2 FS
    alias = $1
    if (length(alias) > 30) {
        start = substr(alias, 1, 31)
        if (start $2 != alias) next
        alias = index($2, start) == 1 ? $2 : by_start[start]
    }
    if (kind == "path") {
        if (of != "" && of != alias) next
        name = $4
    } else if (kind == "wwid") name = $2
    else {
        if (of != "" && of != $4 || known && !(alias in mapped)) next
        name = alias
    }
    if (substr(name, 1, length(prefix)) == prefix && name ~ whole_name && !(name in seen)) {
        seen[name] = 1
        print name
    }
}'

# _dravik_snapshot KIND PREFIX [OF]: the names of the kind that begin with the prefix; with OF only the paths of that
# device, or the devices that have that path. Devices that /dev/mapper no longer knows are left out: the monitor
# may have been stopped long ago. (The folder always holds the node "control", so that an empty listing means that
# there is no such folder to be asked.)
_dravik_snapshot() {
    local file=$_dravik_root/dumps/data.dravik
    local -a run=(awk)
    [[ -f $file && -r $file ]] || return 0
    command -v timeout >/dev/null && run=(timeout 1 awk)
    compgen -f -- "$_dravik_root/dev/mapper/" |
        LC_ALL=C command "${run[@]}" -F, -v kind="$1" -v prefix="$2" -v of="${3-}" \
            -v whole_name="^$_dravik_name\$" "$_dravik_awk" live=1 - live=0 "$file" 2>/dev/null || return 0
}

# _dravik_entries START [PATTERN]: the names of the files that begin with START, as far as they match the pattern. Some
# versions of compgen expand what they are given here: START consists of plain words.
_dravik_entries() {
    compgen -f -- "$_dravik_root$1" | LC_ALL=C command sed -n "s,.*/,,; /^\.\.*\$/d; /^${2-$_dravik_name}\$/p"
}

# _dravik_slaves DEVICE PREFIX: the block devices below the device's map, as the kernel has them now.
_dravik_slaves() {
    local node=$_dravik_root/dev/mapper/$1
    [[ -e $node ]] || return 0
    node=$(command readlink -f -- "$node") && node=${node##*/} && _dravik_is_plain "$node" || return 0
    _dravik_entries "/sys/block/$node/slaves/$2"
}

# _dravik_names KIND PREFIX [OF]: offers names, from the first source that has any.
_dravik_names() {
    local names='' IFS=$'\n'
    _dravik_is_plain "$2" && _dravik_is_plain "${3-}" || return 0
    [[ $1 != path || ! ${3-} ]] || names=$(_dravik_slaves "$3" "$2")
    [[ $names ]] || names=$(_dravik_snapshot "$@")
    # What follows serves those who may not read the snapshot file, or have none yet.
    if [[ ! $names && ! -r $_dravik_root/dumps/data.dravik ]]; then
        case $1 in
            device) names=$(_dravik_entries "/dev/mapper/$2" | command sed '/^control$/d') ;;
            path) names=$(_dravik_entries "/sys/block/$2" '\(sd[a-z]*\|nvme[0-9a-z]*\)') ;;
        esac
    fi
    # Every source lets only plain names through, so nothing here is split or expanded but at the line ends.
    # shellcheck disable=SC2206
    COMPREPLY=($names)
}

# ---- parameters

# _dravik_pairs PREFIX NAME...: a command with name/value pairs. Offers a value to the name before the cursor, else
# the names that are not given yet.
_dravik_pairs() {
    local prefix=$1 i name alias='' path='' wwid='' given=' '
    local -a rest=()
    shift
    for ((i = 2; i < COMP_CWORD - 1; i += 2)); do
        name=${COMP_WORDS[i]}
        given+="$name "
        case $name in
            -path_alias) alias=${COMP_WORDS[i + 1]} ;;
            -device_name) path=${COMP_WORDS[i + 1]} ;;
            -wwid) wwid=${COMP_WORDS[i + 1]} ;;
        esac
    done
    if ((i < COMP_CWORD)); then
        case ${COMP_WORDS[i]} in
            -path_alias) _dravik_names device "$prefix" "$path" ;;
            -device_name) _dravik_names path "$prefix" "$alias" ;;
            -state) _dravik_words "$prefix" online offline ;;
            -wwid) _dravik_names wwid "$prefix" ;;
            # A device may be named by its WWID; nobody types that twice.
            -alias) [[ ! $prefix || ! $wwid ]] || ! _dravik_is_plain "$wwid" || _dravik_words "$prefix" "$wwid" ;;
        esac
        return
    fi
    for name in "$@"; do
        [[ $given == *" $name "* ]] || rest+=("$name")
    done
    _dravik_options "$prefix" ${rest[@]+"${rest[@]}"}
}

# setpathpolicy [-scsi|-nvme] -chooser POLICY
_dravik_policy() {
    local prefix=$1 i
    local -a rest=(-scsi -nvme -chooser)
    for ((i = 2; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            -scsi | -nvme) rest=(-chooser) ;;
            -chooser)
                ((i < COMP_CWORD - 1)) ||
                    _dravik_words "$prefix" smart-distribution-extend least-queue-depth-extend round-robin-extend
                return
                ;;
        esac
    done
    _dravik_options "$prefix" "${rest[@]}"
}

# A command of our own: its options "--NAME", "--NAME=" where a value follows in a word of its own, in any order among
# its words. _dravik_own PREFIX WORDS OPTION...: WORDS is "device" where a volume may stand, "action" where what to do
# stands first and a volume behind it, "none".
_dravik_own() {
    local prefix=$1 words=$2 i name typed=0 given=' '
    local -a rest=()
    shift 2
    for ((i = 2; i < COMP_CWORD; i++)); do
        given+="${COMP_WORDS[i]} "
        case ${COMP_WORDS[i]} in
            --since | --path | --volume | --incident | --watch | --textfile)
                if ((i == COMP_CWORD - 1)); then
                    case ${COMP_WORDS[i]} in
                        --volume) _dravik_names device "$prefix" ;;
                        --path) _dravik_names path "$prefix" ;;
                        --textfile) compopt -o default 2>/dev/null || true ;; # the line editor knows files
                    esac
                    return
                fi
                i=$((i + 1))
                ;;
            -*) ;;
            *) typed=$((typed + 1)) ;;
        esac
    done
    for name in "$@"; do
        [[ $given == *" $name "* ]] || rest+=("$name")
    done
    if [[ $words == action ]] && ((typed == 0)) && [[ $prefix != -* ]]; then
        _dravik_words "$prefix" show accept
    elif [[ $words == device && $prefix != -* ]] && ((typed == 0)) || [[ $words == action && $prefix != -* ]] && ((typed == 1)); then
        _dravik_names device "$prefix"
    else
        _dravik_options "$prefix" ${rest[@]+"${rest[@]}"}
    fi
}

# explain WORDS: the first word may be a name that the program knows; a line of a log is none.
_dravik_explain() {
    local prefix=$1 names
    if [[ $prefix == -* ]] || ((COMP_CWORD > 2)); then
        _dravik_own "$prefix" none --list --json
    elif _dravik_is_plain "$prefix"; then
        local -a run=(dravik)
        command -v timeout >/dev/null && run=(timeout 1 dravik)
        names=$(command "${run[@]}" explain --list 2>/dev/null | LC_ALL=C command awk -F'\t' -v prefix="$prefix" \
            -v whole_name="^$_dravik_name\$" '$1 != "log_line" && index($2, prefix) == 1 && $2 ~ whole_name { print $2 }')
        local IFS=$'\n'
        # Only plain names came through, so nothing here is split or expanded but at the line ends.
        # shellcheck disable=SC2206
        COMPREPLY=($names)
    fi
}

# _dravik_options PREFIX [WORD...]: these words; right behind the command also --help, for those who type a dash.
_dravik_options() {
    if ((COMP_CWORD == 2)) && [[ $1 == -* ]]; then
        _dravik_words "$@" --help
    else
        _dravik_words "$@"
    fi
}

# Whether the word is one of the commands.
_dravik_is_command() {
    local name
    for name in "${_dravik_commands[@]}"; do
        [[ $1 != "$name" ]] || return 0
    done
    return 1
}

_dravik() {
    # The word up to the cursor; a caller other than bash may leave it out.
    local cur=${2-${COMP_WORDS[COMP_CWORD]-}}
    local -a options=(-h --help --version --service --json)
    COMPREPLY=()
    # What follows is the same behind "--json".
    if ((COMP_CWORD > 1)) && [[ ${COMP_WORDS[1]} == --json ]]; then
        COMP_WORDS=("${COMP_WORDS[0]}" "${COMP_WORDS[@]:2}")
        COMP_CWORD=$((COMP_CWORD - 1))
        options=(--service)
    fi
    if ((COMP_CWORD == 1)); then
        case $cur in
            -*) _dravik_words "$cur" "${options[@]}" ;;
            *) _dravik_words "$cur" "${_dravik_commands[@]}" help ;;
        esac
        return
    fi
    case ${COMP_WORDS[1]} in
        setalias) _dravik_pairs "$cur" -wwid -alias ;;
        delalias) _dravik_pairs "$cur" -wwid ;;
        setstate) _dravik_pairs "$cur" -path_alias -device_name -state ;;
        devstats) _dravik_pairs "$cur" -path_alias -interval ;;
        setpathpolicy) _dravik_policy "$cur" ;;
        help | -h | --help) ((COMP_CWORD > 2)) || _dravik_words "$cur" "${_dravik_commands[@]}" ;;
        --service) ((COMP_CWORD > 2)) || _dravik_words "$cur" mkconfig lsselfstart setselfstart ;;
        check) _dravik_own "$cur" device --json ;;
        list) _dravik_own "$cur" none --bad --watch --json ;;
        events) _dravik_own "$cur" none --since --volume --path --incident --all --follow --json ;;
        baseline) _dravik_own "$cur" action --json ;;
        metrics) _dravik_own "$cur" none --textfile --volumes-only ;;
        explain) _dravik_explain "$cur" ;;
        query | delete)
            if [[ $cur == -* ]]; then
                _dravik_options "$cur"
            elif ((COMP_CWORD == 2)); then
                _dravik_names device "$cur"
            fi
            ;;
        *)
            # The other commands take no parameters.
            ! _dravik_is_command "${COMP_WORDS[1]}" || _dravik_options "$cur"
            ;;
    esac
}

complete -F _dravik dravik
