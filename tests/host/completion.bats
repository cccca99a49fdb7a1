#!/usr/bin/env bats
# What the Tab key offers: words, parameters, values and names, in a root of the test's, and how long it takes.

load ../support/simulated_host
load ../support/tab_key

setup() { ROOT=$BATS_TEST_TMPDIR/root; }

# offers EXPECTED-WORDS -- WORD...: exactly these; the line editor sorts them.
offers() {
    local -a expected=()
    while [[ $1 != -- ]]; do
        expected+=("$1")
        shift
    done
    shift
    same "$(printf '%s\n' ${expected[@]+"${expected[@]}"} | sort)" "$(completes "$@" | sort)"
}

# A root with two volumes, and what is known of them: the snapshot, the maps, the paths below one of them.
make_root() {
    mkdir -p "$ROOT"/{dumps,dev/mapper,sys/block}
    : >"$ROOT/dev/mapper/control"
    map database 3 sdb sdd
    map mail 4 sdc
    cat >"$ROOT/dumps/data.dravik" <<'LINES'
database,3600b5d60001a2b3c0000000000000001,8:16,sdb,ready,active,running,
database,3600b5d60001a2b3c0000000000000001,8:48,sdd,ready,enabled,running,
mail,3600b5d60001a2b3c0000000000000002,8:32,sdc,faulty,failed,offline,
LINES
}

# map NAME N PATH...: a map dm-N of that name over the paths.
map() {
    local path
    mkdir -p "$ROOT/sys/block/dm-$2/slaves"
    : >"$ROOT/dev/dm-$2"
    ln -s "../dm-$2" "$ROOT/dev/mapper/$1"
    for path in "${@:3}"; do
        mkdir -p "$ROOT/sys/block/$path" "$ROOT/sys/block/dm-$2/slaves/$path"
    done
}

@test "options, help and service names" {
    offers -h --help --version --service --json -- dravik -
    offers --service -- dravik --s
    offers scan setalias setstate setpathpolicy start status stop -- dravik s
    offers setalias setstate setpathpolicy -- dravik help set
    offers refresh -- dravik -h ref
    offers -- dravik help query ''
    offers mkconfig lsselfstart setselfstart -- dravik --service ''
    offers -- dravik --service mkconfig ''
    offers -- dravik nonsense ''
    offers --help -- dravik status -
    offers -- dravik status ''
    offers -- dravik status --help -
}

@test "behind --textfile the line editor offers files" {
    compopt() { echo "compopt $*"; }
    export -f compopt
    same "compopt -o default" "$(completes dravik metrics --textfile '')"
    same "compopt -o default" "$(completes dravik metrics --volumes-only --textfile /var/)"
    offers --volumes-only -- dravik metrics --textfile x.prom -
    offers --textfile --volumes-only -- dravik metrics ''
}

@test "behind --json the words are offered that would be offered without it" {
    make_root
    offers --json -- dravik --j
    offers --service -- dravik --json -
    offers start status stop -- dravik --json st
    offers database mail -- dravik --json query ''
    offers -path_alias -interval -- dravik --json devstats ''
    offers sdb sdd -- dravik --json setstate -path_alias database -device_name ''
    offers mkconfig lsselfstart setselfstart -- dravik --json --service ''
    offers -- dravik --json --json ''
    offers -- dravik status --json ''
    offers -- dravik status --j
}

@test "parameters are offered once, values where values belong" {
    make_root
    offers -path_alias -device_name -state -- dravik setstate ''
    offers -path_alias -device_name -state --help -- dravik setstate -
    offers -device_name -state -- dravik setstate -path_alias database ''
    offers -- dravik setstate -path_alias database -device_name sdb -state online ''
    offers online offline -- dravik setstate -state ''
    offers offline -- dravik setstate -state of
    # A name where a value belongs is that value; what follows is a name again.
    offers -device_name -state -- dravik setstate -path_alias -state -
    offers -wwid -alias -- dravik setalias ''
    offers -wwid -- dravik setalias -alias database ''
    offers -interval -- dravik devstats -path_alias database ''
    offers -- dravik devstats -interval ''
}

@test "setpathpolicy takes -scsi or -nvme, then -chooser, then one policy" {
    offers -scsi -nvme -chooser -- dravik setpathpolicy ''
    offers -chooser -- dravik setpathpolicy -nvme ''
    offers smart-distribution-extend least-queue-depth-extend round-robin-extend -- dravik setpathpolicy -scsi -chooser ''
    offers round-robin-extend -- dravik setpathpolicy -chooser r
    offers -- dravik setpathpolicy -chooser round-robin-extend ''
}

@test "names of devices, paths and WWIDs" {
    make_root
    offers database mail -- dravik query ''
    offers mail -- dravik delete m
    offers -- dravik query database ''
    offers --help -- dravik query -
    offers database mail -- dravik devstats -interval 5 -path_alias ''
    offers sdb sdd -- dravik setstate -path_alias database -device_name ''
    offers sdc -- dravik setstate -path_alias mail -device_name s
    offers sdb sdd sdc -- dravik setstate -device_name ''
    offers mail -- dravik setstate -device_name sdc -path_alias ''
    offers 3600b5d60001a2b3c0000000000000001 3600b5d60001a2b3c0000000000000002 -- dravik delalias -wwid ''
    offers 3600b5d60001a2b3c0000000000000001 -- dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias 3
    offers -- dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias ''
}

@test "a device that has no map any more is not offered" {
    make_root
    rm "$ROOT/dev/mapper/mail"
    offers database -- dravik query ''
}

@test "the paths of a device are the kernel's, not those of an old snapshot" {
    make_root
    mkdir "$ROOT/sys/block/dm-3/slaves/sdz"
    rmdir "$ROOT/sys/block/dm-3/slaves/sdb"
    offers sdd sdz -- dravik setstate -path_alias database -device_name ''
}

@test "a WWID or a long alias is offered whole, though the snapshot has it run into the WWID" {
    local long=an_alias_of_more_than_thirty_one_characters wwid=3600b5d60001a2b3c0000000000000009
    make_root
    map "$wwid" 5 sde
    map "$long" 6 sdf
    printf '%s,%s,8:64,sde,ready,active,running,\n' "${wwid::31}$wwid" "$wwid" >>"$ROOT/dumps/data.dravik"
    printf '%s,%s,8:80,sdf,ready,active,running,\n' "${long::31}3600b5d60001a2b3c000000000000000a" \
        3600b5d60001a2b3c000000000000000a >>"$ROOT/dumps/data.dravik"
    offers "$wwid" -- dravik query 3
    offers "$long" -- dravik query a
    offers sdf -- dravik setstate -path_alias "$long" -device_name ''
}

@test "without the snapshot the names come from the kernel, without the control node" {
    make_root
    rm "$ROOT/dumps/data.dravik"
    mkdir "$ROOT"/sys/block/{nvme0n1,loop0,sr0}
    offers database mail -- dravik query ''
    offers mail -- dravik query m
    offers nvme0n1 sdb sdc sdd -- dravik setstate -device_name ''
    offers -- dravik delalias -wwid ''
}

@test "nothing is there, and it says nothing" {
    run completes dravik query ''
    expect_output </dev/null
    same 0 "$status"
    offers -- dravik setstate -path_alias database -device_name ''
}

# shellcheck disable=SC2016 # a name that a shell would expand
@test "names that hold what no name holds are passed over, damaged lines too" {
    make_root
    rm -r "$ROOT/dev/mapper"
    printf '%s\n' 'a$(reboot),3600b5d6,8:1,sdx,ready,active,running,' \
        $'b\e[31m,3600b5d6,8:1,sdx,ready,active,running,' 'c *,3600b5d6,8:1,sdx,ready,active,running,' \
        'd,3600b5d6,8:1,sdx,ready,active' 'e' '' 'f,3600b5d6,8:1,s;dx,ready,active,running,' >>"$ROOT/dumps/data.dravik"
    offers database mail f -- dravik query ''
    offers sdb sdd sdc sdx -- dravik setstate -device_name ''
    offers -- dravik query '$('
    offers -- dravik query 'd*'
}

# What a shell would run, were it ever expanded: each way leaves the file "ran" in the working folder.
HOSTILE=('$(>ran)' '`>ran`' '${x:=$(>ran)}' 'a[$(>ran)]' '$((a[$(>ran)]))' '<(>ran)' ';>ran;' '|>ran' $'\n>ran\n'
    '"$(>ran)"' "'\$(>ran)'" '"`>ran`' '/~/$(>ran)/' '../$(>ran)' '{a,$(>ran)}' '\$(>ran)' '@(a|$(>ran))' 'x -- $(>ran)')

# runs_nothing WORD...: nothing of the words is run, nor is anything else; one that is being typed gets no offer, and
# what is offered behind the others are words of the completion and names of this root. In a shell of its own, which
# the test tool does not trace.
runs_nothing() {
    mkdir -p "$BATS_TEST_TMPDIR/here"
    (cd "$BATS_TEST_TMPDIR/here" && bash -c "$(declare -f hostile_lines second_options tab{,_offers_nothing,_offers_own})
        source '$REPO/completion/dravik.bash'
        _dravik_root='$ROOT'
        "'hostile_lines "$@"' runs_nothing "$@")
    same "" "$(ls "$BATS_TEST_TMPDIR/here")"
}

# Tab at every place of every line that has the hostile word in one of its places.
hostile_lines() {
    local word command option
    for word in "$@"; do
        tab_offers_nothing dravik "$word"
        for command in "${_dravik_commands[@]}" help -h --help --service nonsense "$word"; do
            tab_offers_nothing dravik "$command" "$word"
            tab_offers_own dravik "$command" "$word" ''
            for option in -path_alias -device_name -state -wwid -alias -interval -scsi -nvme -chooser "$word"; do
                tab_offers_nothing dravik "$command" "$option" "$word"
                tab_offers_own dravik "$command" "$option" "$word" ''
                tab_offers_own dravik "$command" "$option" "$word" -
            done
        done
        second_options "$word"
    done
}

# The same behind a first parameter that is in order or hostile itself.
second_options() {
    local word=$1 command first second
    for command in setalias delalias setstate devstats; do
        for first in -path_alias -device_name -state -wwid -alias; do
            for second in -path_alias -device_name -state -wwid -alias; do
                tab_offers_nothing dravik "$command" "$first" database "$second" "$word"
                tab_offers_own dravik "$command" "$first" "$word" "$second" ''
                tab_offers_own dravik "$command" "$first" "$word" "$second" "${word:0:1}"
            done
        done
    done
}

tab() {
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _dravik dravik "${!#}" "${COMP_WORDS[COMP_CWORD - 1]}"
}

tab_offers_nothing() {
    tab "$@"
    ((${#COMPREPLY[@]} == 0)) || { printf 'offered behind %q: %q\n' "$*" "${COMPREPLY[*]}"; exit 1; }
}

tab_offers_own() {
    local offer
    tab "$@"
    for offer in ${COMPREPLY[@]+"${COMPREPLY[@]}"}; do
        case $offer in
            -[a-z-]*[a-z] | online | offline | database | mail | sdb | sdc | sdd | 3600b5d60001a2b3c000000000000000[12]) ;;
            *-extend | mkconfig | lsselfstart | setselfstart) ;;
            *) [[ " ${_dravik_commands[*]} " == *" $offer "* ]] || { printf 'offered behind %q: %q\n' "$*" "$offer"; exit 1; } ;;
        esac
    done
}

@test "nothing that is typed is run, in whatever place it stands" {
    make_root
    runs_nothing "${HOSTILE[@]}"
}

@test "nothing that is typed is run where only the kernel knows the names" {
    make_root
    rm "$ROOT/dumps/data.dravik"
    runs_nothing "${HOSTILE[@]}"
}

@test "nothing that a file, a link or a name of a file holds is run or offered" {
    local word file
    make_root
    for word in "${HOSTILE[@]}"; do
        # In every field of the snapshot; as the name of a map, of its node, of a block device, of a path below a map.
        printf '%s,3600b5d6,8:1,sdx,ready,active,running,\nx,%s,8:1,sdx,ready,active,running,\n' "$word" "$word"
        printf 'database,3600b5d6,8:1,%s,ready,active,running,\n%s\n' "$word" "$word"
        printf 'database,3600b5d60001a2b3c0000000000000001,%s,sdb,%s,%s,%s,%s\n' "$word" "$word" "$word" "$word" "$word"
        file=${word//\//.}
        : >"$ROOT/dev/$file"
        ln -s "../$file" "$ROOT/dev/mapper/$file"
        mkdir -p "$ROOT/sys/block/$file/slaves/sdy" "$ROOT/sys/block/dm-3/slaves/$file"
    done >>"$ROOT/dumps/data.dravik"
    ln -s '../$(>ran)' "$ROOT/dev/mapper/hidden"
    cd "$BATS_TEST_TMPDIR"
    offers database mail -- dravik query ''
    offers sdb sdd -- dravik setstate -path_alias database -device_name ''
    # sdx stands in lines that hold such a word beside it.
    offers sdb sdc sdd sdx -- dravik setstate -device_name ''
    offers -- dravik setstate -path_alias hidden -device_name ''
    rm "$ROOT/dumps/data.dravik"
    offers database hidden mail -- dravik query ''
    offers sdb sdc sdd -- dravik setstate -device_name ''
    offers sdb sdc sdd -- dravik setstate -path_alias hidden -device_name ''
    [[ ! -e ran ]]
}

@test "a name that begins with a dash would be taken for a parameter, and is not offered" {
    make_root
    : >"$ROOT/dev/mapper/-rf"
    printf '%s\n' '-rf,3600b5d6,8:1,-sdx,ready,active,running,' >>"$ROOT/dumps/data.dravik"
    offers database mail -- dravik query ''
    offers sdb sdc sdd -- dravik setstate -device_name ''
}

@test "a word behind a quote gets its offer" {
    offers stop -- dravik '"sto'
    offers offline -- dravik setstate -state "'of"
}

@test "the settings of the user's shell do not disturb it" {
    make_root
    # shellcheck disable=SC2016 # the text is run by the shell that it starts
    local script='source "$REPO/completion/dravik.bash"
        _dravik_root=$ROOT COMP_WORDS=(dravik setstate -path_alias database -device_name "") COMP_CWORD=5
        _dravik dravik "" -device_name; printf "%s\n" "${COMPREPLY[@]}"
        COMP_WORDS=(dravik sta) COMP_CWORD=1; _dravik dravik sta dravik; printf "%s\n" "${COMPREPLY[@]}"'
    export ROOT REPO
    for setting in 'set -u' 'set -f' 'set -o posix' 'shopt -s failglob' 'shopt -s nullglob' 'IFS=d' \
        'awk() { echo wrong; }; sed() { echo wrong; }' 'LC_ALL=C'; do
        same "sdb sdd start status" "$(bash -c "$setting"$'\n'"$script" | sort | flat)"
    done
}

@test "a real Tab in an interactive shell, with and without the bash-completion package" {
    local start
    make_root
    for start in ':' '. /usr/share/bash-completion/bash_completion'; do
        [[ $start == : || -r /usr/share/bash-completion/bash_completion ]] || continue
        printf '%s\n' "PS1='$ '; bind 'set enable-bracketed-paste off'; $start" ". $REPO/completion/dravik.bash" \
            "_dravik_root=$ROOT" 'dravik() { printf "got:"; printf " <%s>" "$@"; echo; }' >"$BATS_TEST_TMPDIR/rc"
        # The shell edits its line from a pipe as well: a machine need not have terminals to give away.
        run setsid -w bash --rcfile "$BATS_TEST_TMPDIR/rc" -i \
            < <(printf 'dravik sets\t-p\tma\t-d\t\t-s\tof\t\nexit\n')
        same "got: <setstate> <-path_alias> <mail> <-device_name> <sdc> <-state> <offline>" \
            "$(grep -o 'got:.*' <<<"$output" | tail -n 1)"
    done
}

@test "with 4,096 names a Tab takes less than a tenth of a second" {
    make_root
    # Eight paths a volume: what the snapshot of such a host holds.
    awk 'BEGIN {
        for (v = 0; v < 4096; v++)
            for (p = 0; p < 8; p++)
                printf "vol%04d,3600b5d60001a2b3c%016x,8:%d,sd%d,ready,active,running,\n", v, v, p, v * 8 + p
    }' >"$ROOT/dumps/data.dravik"
    (cd "$ROOT/dev/mapper" && seq -f 'vol%04.0f' 0 4095 | xargs touch)
    same 4096 "$(completes dravik query '' | wc -l | flat)"
    # The best of ten: other work of the machine is no part of the figure. Without the start of the shell.
    ROOT=$ROOT REPO=$REPO run bash -c '
        source "$REPO/completion/dravik.bash"
        _dravik_root=$ROOT COMP_WORDS=(dravik query "") COMP_CWORD=2 best=999999
        for run in 1 2 3 4 5 6 7 8 9 10; do
            begun=${EPOCHREALTIME/./}
            _dravik dravik "" query
            took=$((${EPOCHREALTIME/./} - begun))
            ((took >= best)) || best=$took
        done
        echo "${#COMPREPLY[@]} names, best of ten: $best us" >&3
        ((${#COMPREPLY[@]} == 4096 && best < 100000))' 3>&1
    echo "$output"
    same 0 "$status"
}
