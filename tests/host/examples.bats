#!/usr/bin/env bats
# Every command line of the manual pages and of the operator guide, run on the simulated host: it succeeds, and prints
# what stands below it. What else the texts show, a file's content or a line of standard error, is held against the real
# one. (The examples of the help texts: help_examples.bats.)

load ../support/simulated_host

GUIDE=docs/operator-guide.md

# ---- the examples of a document

# Command lines that cannot be run here, DOCUMENT: COMMAND LINE -- REASON. One that no document shows any longer fails
# the last test.
not_played() {
    cat <<'END'
docs/operator-guide.md: rpm -i dravik-*.x86_64.rpm -- needs rpm's database: tests/package installs the package
docs/operator-guide.md: rpm -U dravik-*.x86_64.rpm -- needs rpm's database and a later version
docs/operator-guide.md: rpm -e dravik -- needs rpm's database: tests/package removes the package
docs/operator-guide.md: systemctl set-environment DRAVIK_CLI_DEBUG=1 -- the environment of a real service manager
docs/operator-guide.md: systemctl unset-environment DRAVIK_CLI_DEBUG -- the environment of a real service manager
docs/operator-guide.md: curl -s http://localhost:9100/metrics | grep '^dravik_volumes{' -- a node exporter: tests/fleet scrapes a real one
docs/operator-guide.md: promtool check config /etc/prometheus/prometheus.yml && systemctl reload prometheus -- a Prometheus server: tests/fleet starts a real one
man/dravik-monitor.8: journalctl -t dravik-monitor -p warning --since today DRAVIK_VOLUME=database -- a journal: journal.bats asks a real one
man/dravik-monitor.8: systemctl set-environment DRAVIK_CLI_DEBUG=1 -- the environment of a real service manager
man/dravik-monitor.8: systemctl unset-environment DRAVIK_CLI_DEBUG -- the environment of a real service manager
man/dravik.8: umount /srv/mail -- a mounted file system
END
}

# examples DOCUMENT: its blocks of commands and what they print, without the margin; an empty line behind each block.
# In a manual page what stands between .EX and .EE, in the guide what is set in; a block without a "# " is no command.
examples() {
    case $1 in
        man/*) awk '/^\.EX/ { inside = 1; next } /^\.EE/ { inside = 0; print "" } inside' "$REPO/$1" |
            sed "s/\\\\-/-/g; s/\\\\(aq/'/g; s/\\\\e/\\\\/g" ;;
        *) awk '/^    / && !/^    +\|/ { sub(/^ +/, ""); print; next } { print "" }' "$REPO/$1" ;;
    esac | awk -v RS= '/^# |\n# / { if (!/^##/) print $0 "\n" }' ORS='\n'
}

# commands_of DOCUMENT: its command lines, one of several lines (for ... done) as one.
commands_of() {
    examples "$1" | awk '
        /^# for / { line = substr($0, 3); next }
        line != "" { line = line (line ~ /do$/ ? " " : "; ") $0; if (/^done/) { print line; line = "" } next }
        /^# / { print substr($0, 3) }'
}

# is_not_played DOCUMENT COMMAND
is_not_played() { not_played | grep -qF -- "$1: $2 -- "; }

# ---- playing them

# prepare COMMAND: the host as the text around the block that begins with this command takes it for granted.
prepare() {
    case $1 in
        'systemctl status dravik-monitor') in_host systemctl start dravik-monitor && start_monitor ;;
        'tail -F '* | 'cd /dumps')
            start_monitor
            sim fail-path sdb
            step
            echo '[2026-11-21 03:12:41.047] The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ].' \
                >"$HOST/dumps/dravik_monitor_bk.log"
            ;;
        'dravik setpathpolicy '* | 'cp -p /etc/velomux.conf '*)
            cp "$HOST/etc/velomux.conf" "$BATS_TEST_TMPDIR/conf"
            in_host dravik config >/dev/null
            ;;
        'umount /srv/mail')
            in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000004 -alias mail >/dev/null
            ;;
        'dravik devstats -path_alias database '*)
            in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000001 -alias database >/dev/null
            sim load database mixed 200
            sim counters advance 10
            ;;
        'dravik query mpatha') sim fail-path sdd ;;
        'dravik check' | 'dravik events '* | 'dravik baseline '* | 'dravik metrics '*)
            sim clock freeze '2026-11-21 03:12:31'
            start_monitor
            if [[ $1 == 'dravik events '* ]]; then
                sim fail-port 0x20d0000b5d6a1010
            else
                for name in sdb sdc sdd; do sim fail-path "$name"; done
            fi
            step
            ;;
        'dravik setstate '*'-state online') in_host dravik setstate -path_alias mpatha -device_name sdd -state offline >/dev/null ;;
    esac
}

# run_example COMMAND: runs it in the host, from the folder in $WHERE; what never ends by itself is ended by Ctrl+C.
run_example() {
    local ending=''
    case $1 in
        'cd '*) WHERE=${1#cd } && return ;;
        'tail -F '*) ending='timeout -s INT 2' ;;
        'dravik devstats '*) ending='timeout --preserve-status -s INT 2' ;;
    esac
    # shellcheck disable=SC2086 # words of a command line
    run $ending "$SIMHOST" "$HOST" run sh -c "cd $WHERE && $1"
    case $1 in
        'tail -F '*) same 124 "$status" ;; # it was still following when its time was up
        'dravik check') same 2 "$status" ;; # a volume on its last path
        *) same 0 "$status" ;;
    esac
    judge "$1"
}

# judge COMMAND: a command of ours has succeeded in words, too; a look into the change log shows lines of it.
judge() {
    if prints_no_result "$1"; then
        [[ -n $output ]]
        return
    fi
    case $1 in
        *'dravik devstats '*) [[ $output == *'I/O Performance Information'*'database'* ]] ;;
        dravik\ * | *' dravik query') [[ $output == *'Command executed successfully.'* ]] ;;
        'tail '* | 'grep '*)
            [[ -n $output ]]
            same "" "$(grep -vE '^\[[-0-9]{10} [0-9:]{8}\.[0-9]{3}\] The (lun|path|group) ' <<<"$output")"
            ;;
    esac
}

# prints_no_result COMMAND: whether it is one of the commands whose output ends without a result.
prints_no_result() { [[ $1 == 'dravik check'* || $1 == 'dravik events '* || $1 == 'dravik baseline '* || $1 == 'dravik metrics '* || $1 == 'dravik explain '* ]]; }

# shown_is_printed COMMAND SHOWN: what stands below the command is what it printed, but for blanks at the ends of lines
# and the result.
shown_is_printed() {
    local result=3
    ! prints_no_result "$1" || result=0
    [[ -z $2 ]] || same "$2" "$(awk '{ sub(/ +$/, ""); print }' <<<"$output" | head -n "-$result")"
}

# plays DOCUMENT: all its examples, each block on a host of its own.
plays() {
    local line command='' shown='' number=0
    local -a lines
    HOST=''
    mapfile -t lines < <(examples "$1")
    for line in "${lines[@]}"; do
        if [[ $line == '# '* || -z $line ]]; then
            [[ -z $command ]] || play_one "$1" "$command" "$shown"
            command=${line#\# } shown=''
            [[ -n $line ]] || HOST=''
        elif [[ $command == for\ * && $command != *done ]]; then
            command+=$'\n'$line
        else
            shown+=${shown:+$'\n'}$line
        fi
    done
    ((number > 0))
}

# play_one DOCUMENT COMMAND SHOWN
play_one() {
    if [[ -z $HOST ]]; then
        WHERE=/
        make_host_at "host$number"
        prepare "$2"
    fi
    number=$((number + 1))
    echo "$1: $2" # said when it fails
    is_not_played "$1" "$2" && return
    if [[ $2 == for\ * ]]; then
        run "$SIMHOST" "$HOST" run sh -c "$2"
        same 0 "$status"
    else
        run_example "$2"
    fi
    shown_is_printed "$2" "$3"
}

@test "every example of dravik(8) runs" { plays man/dravik.8; }

@test "every example of dravik-monitor(8) runs" { plays man/dravik-monitor.8; }

@test "dravik-files(5) shows files and no command, and there is no further page" {
    same "" "$(commands_of man/dravik-files.5)"
    same "man/dravik-files.5 man/dravik-monitor.8 man/dravik.8" "$(cd "$REPO" && echo man/*)"
}

@test "every example of the operator guide runs and prints what is shown" { plays "$GUIDE"; }

@test "what the guide says of the blocks' removal leaves the configuration as it was before them" {
    local line
    make_host
    cp "$HOST/etc/velomux.conf" "$BATS_TEST_TMPDIR/conf"
    in_host dravik config >/dev/null
    line=$(commands_of "$GUIDE" | grep '^for block ')
    in_host sh -c "$line"
    cmp "$BATS_TEST_TMPDIR/conf" "$HOST/etc/velomux.conf"
}

@test "what cannot be played is still shown by its document, and has a reason" {
    local row document command
    while IFS= read -r row; do
        document=${row%%: *}
        command=${row#*: }
        [[ $command == *' -- '?* ]]
        commands_of "$document" | grep -qxF -- "${command% -- *}" || same "$row" ""
    done < <(not_played)
}

# ---- command lines within sentences and tables

# inline_commands FILE: the code spans that begin with the tool's name and hold no word to be filled in.
inline_commands() { tr '`' '\n' <"$REPO/$1" | grep -E '^dravik [-a-z]' | grep -vE '[A-Z]{3}' | sort -u; }

@test "every command line of ours in a sentence of the guide or the README is one that the tool knows" {
    local file line name table bad=''
    table=$("$BUILD_DIR/dravik" --commands)
    for file in "$GUIDE" README.md; do
        while IFS= read -r line; do
            read -r -a words <<<"$line"
            name=${words[1]}
            case $name in
                --version) continue ;;
                help | --service) name=${words[2]} ;;
            esac
            grep -q "^$name " <<<"$table" || bad+="$file: $line"$'\n'
            for word in "${words[@]:2}"; do
                [[ $word != -?* ]] || grep -qE "^$name .* $word(=|\$| )" <<<"$table" || bad+="$file: $line"$'\n'
            done
        done < <(inline_commands "$file")
    done
    same "" "$bad"
    (($(inline_commands "$GUIDE" | wc -l) > 15))
}

@test "the looks into the logs that the guide's table of daily work recommends find what they are for" {
    local line found=0
    make_host
    start_monitor
    in_host dravik aggregation >/dev/null
    while IFS= read -r line; do
        case $line in
            'tail -F '*) line=${line/-F/-n 1} ;;
        esac
        run in_host sh -c "$line"
        same 0 "$status"
        [[ -n $output ]]
        found=$((found + 1))
    done < <(sed -n '/^| You want to/,/^$/p' "$REPO/$GUIDE" | tr '`' '\n' | grep -E '^(tail|grep) ')
    same 3 "$found"
}

@test "the guide's line for .bashrc gives the completion" {
    make_host
    run in_host bash -c "$(grep -E '^    \. /usr/share' "$REPO/$GUIDE"); complete -p dravik"
    same 0 "$status"
    [[ $output == *' dravik' ]]
}

@test "the guide's alert pattern finds every change to a state that is not good, and nothing else" {
    local pattern
    pattern=$(sed -n '/^message at night:/,/^These are/p' "$REPO/$GUIDE" | grep '^    ')
    cat >"$BATS_TEST_TMPDIR/log" <<'END'
The lun is created, the properties are [ path_alias: mpatha, wwid: 3600 ].
The lun is deleted, the properties are [ path_alias: mpatha, wwid: 3600 ].
The path is deleted, the properties are [ path_alias: mpatha, wwid: 3600, dev_name: sdb, path_status: ready, path_group_status: active, dravik_status:running ].
The path is created, the properties are [ path_alias: mpatha, wwid: 3600, dev_name: sdb, path_status: faulty, path_group_status: active, dravik_status:running ].
The path status is changed from [ready] to [faulty] for the path [ dev_name: sdb ].
The path status is changed from [ready] to [i/o timeout] for the path [ dev_name: sdb ].
The path status is changed from [ghost] to [undef] for the path [ dev_name: sdb ].
The path status is changed from [faulty] to [ready] for the path [ dev_name: sdb ].
The path status is changed from [faulty] to [ghost] for the path [ dev_name: sdb ].
The group status is changed from [active] to [enabled] for the path [ dev_name: sdb ].
The dravik status is changed from [running] to [offline] for the path [ dev_name: sdb ].
The dravik status is changed from [offline] to [running] for the path [ dev_name: sdb ].
The path alias is changed from [mpatha] to [database] for the path [ dev_name: sdb ].
END
    run bash -c "$pattern" <"$BATS_TEST_TMPDIR/log"
    expect_output < <(sed -n '2p; 3p; 5,7p; 11p' "$BATS_TEST_TMPDIR/log")
}

# ---- lines and files that the texts show

# shown DOCUMENT PATTERN: the one line of its examples that matches, without margin.
shown() {
    local line
    line=$(sed "s/\\\\-/-/g; s/\\\\(aq/'/g; s/^ *//" "$REPO/$1" | grep -E -- "$2")
    same 1 "$(wc -l <<<"$line")"
    printf '%s\n' "$line"
}

@test "the line of the guide for a command that waits" {
    make_host
    printf '4711\nroot\ndravik scan' >"$HOST/run/dravik.lock"
    exec 8<"$HOST/run/dravik.lock"
    flock 8
    ( sleep 2; flock -u 8 ) 8>&8 &
    in_host dravik stop 2>&1 >/dev/null 8<&- | cat >"$BATS_TEST_TMPDIR/said"
    wait
    same "$(shown "$GUIDE" '^dravik: waiting')" "$(<"$BATS_TEST_TMPDIR/said")"
}

@test "the line of the guide for another user than root, whose command changes nothing" {
    make_host
    chmod 755 "$HOST"
    run chroot --userspec=65534:65534 "$HOST" /usr/bin/env -i /usr/bin/dravik scan
    same 1 "$status"
    same "$(shown "$GUIDE" '^dravik: scan changes the host')" "$output"
    [[ ! -e $HOST/sim/calls.log || $(calls) != *rescan* ]]
}

@test "the audit line of the guide, but for time and source line" {
    local line
    make_host
    in_host dravik setalias -wwid 3600b5d60001a2b3c0000000000000004 -alias mail >/dev/null
    sim in-use mail on
    in_host SUDO_USER=alice SUDO_UID=1000 dravik delete mail >/dev/null || true
    line=$(grep ' ran \[dravik delete mail\]' "$HOST/dumps/dravik_cli.log")
    same "$(shown "$GUIDE" 'INFO  audit N ' | sed 's/^\[[^]]*\]//')" \
        "$(sed 's/^\[[^]]*\]//; s/ audit [0-9]* / audit N /' <<<"$line")"
    # The manual page shows as much of the same line as fits.
    line=$(shown man/dravik-files.5 'INFO  audit N ')
    [[ $(shown "$GUIDE" 'INFO  audit N ') == "${line%...}"* ]]
}

@test "the files that dravik-files(5) shows: snapshot, names, path taken offline, device block" {
    make_host
    start_monitor
    grep -qxF "$(shown man/dravik-files.5 '^mpatha,')" "$HOST/dumps/data.dravik"

    in_host dravik query mpatha >/dev/null
    same "$(awk '/^\.EX/ { getline; if ($0 == "{") inside = 1 } /^\.EE/ { inside = 0 } inside' "$REPO/man/dravik-files.5")" \
        "$(<"$HOST/dumps/storage_config.json")"

    in_host dravik setstate -path_alias mpatha -device_name sdb -state offline >/dev/null
    same "$(shown man/dravik-files.5 '^scsi ')" "$(<"$HOST/dumps/dravik_offline_paths")"

    in_host dravik config >/dev/null
    same "$(awk '/^#korvel config begin$/ { inside = 1 } inside { gsub(/\\-/, "-"); print } /^#korvel config end$/ { inside = 0 }' \
        "$REPO/man/dravik-files.5" | grep -v '^ *\.\.\.$')" \
        "$(sed -n '/^#korvel config begin$/,/^#korvel config end$/p' "$HOST/etc/velomux.conf" |
            sed '/^ *prio /,/^ *rr_min_io_rq /d')"
}

@test "the results that dravik(8) shows" {
    make_host
    run in_host dravik query mpathz
    same "$(shown man/dravik.8 '^Error\(0133\)')" "${lines[1]}"
    run in_host dravik status
    same "$(shown man/dravik.8 '^Command executed')" "${lines[4]}"
}
