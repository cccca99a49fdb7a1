#!/usr/bin/env bats
# What an administrator reads, held against the program and against itself: command table, help texts, manual
# pages, completion, operator guide.

load ../support/simulated_host
load ../support/tab_key

# ---- what the program says

# of_kind KIND: the commands of that kind, in the table's order.
of_kind() { awk -v kind="$1" '$2 == kind {print $1}' <<<"$TABLE"; }

# TABLE: the program's own table of commands, "NAME KIND changes|reads PARAMETER..." a line. COMMANDS: those that it
# lists, the one that it accepts without listing it, and those of our own.
setup() {
    TABLE=$("$BUILD_DIR/dravik" --commands)
    mapfile -t COMMANDS < <(of_kind listed; of_kind unlisted; of_kind own)
    same 25 "${#COMMANDS[@]}"
    same "$(tail -n +2 <<<"$("$BUILD_DIR/dravik")")" "$(of_kind listed; printf '\nCommands with options of their own:\n'; of_kind own)"
}

commands() { printf '%s\n' "${COMMANDS[@]}"; }

# parameters [COMMAND]: the names of its parameters, or of all.
parameters() { awk -v name="${1-}" 'name == "" || name == $1 {for (i = 4; i <= NF; i++) print $i}' <<<"$TABLE" | sed 's/=.*//' | grep . | sort -u; }

# values PARAMETER: the values that it takes, one a line.
values() { tr ' ' '\n' <<<"$TABLE" | sed -n "s/^$1=//p" | tr '|' '\n'; }

# The result records, one a line, "..." for each word that is filled in:  0133 This device [...] does not exist.
records() {
    sed -n '/^#define EC_RECORDS/,/[^\\]$/p' "$REPO/src/common/result.h" | tr -d '\n' | awk '
        {
            n = split($0, record, / X\(/)
            for (i = 2; i <= n; i++) {
                text = ""
                rest = record[i]
                while (match(rest, /"([^"\\]|\\.)*"/)) {
                    text = text substr(rest, RSTART + 1, RLENGTH - 2)
                    rest = substr(rest, RSTART + RLENGTH)
                }
                gsub(/%s/, "...", text)
                gsub(/\\"/, "\"", text)
                printf "%04d %s\n", record[i], text
            }
        }'
}

# ---- what the texts say

# section FILE NAME: the lines of one section of a help text, set in by four blanks, which are taken away.
section() { awk -v name="$2" '/^[A-Z]/ { inside = index($0, name) == 1; next } inside' "$1" | sed 's/^    //'; }

help_synopsis() { section "$REPO/help/$1.help" SYNOPSIS | flat; }

# The synopsis of a command in dravik(8): the macros between its heading and the next paragraph. Of a macro that
# alternates two fonts the words stand together.
#     .BI \-wwid " WWID"
man_synopsis() {
    awk -v name="$1" '
        /^\.SS/ { inside = $2 == name; next }
        inside && /^\.P/ { exit }
        inside {
            join = length($1) == 3 ? "" : " "
            rest = substr($0, length($1) + 2)
            line = ""
            while (match(rest, /"[^"]*"|[^ ]+/)) {
                word = substr(rest, RSTART, RLENGTH)
                gsub(/"/, "", word)
                line = line (line == "" ? "" : join) word
                rest = substr(rest, RSTART + RLENGTH)
            }
            print line
        }' "$REPO/man/dravik.8" | sed 's/\\-/-/g' | flat
}

man_subsections() { awk '/^\.SH/ { inside = $2 == "COMMANDS" } inside && /^\.SS/ && NF == 2 { print $2 }' "$REPO/man/dravik.8"; }

# ---- the tests

@test "every command has a help text, and there is no other" {
    same "$(commands | sort)" "$(cd "$REPO/help" && printf '%s\n' *.help | sed 's/\.help$//' | sort)"
}

@test "every command has a subsection of the manual page, in alphabetical order, and there is no other" {
    same "$(commands | sort)" "$(man_subsections)"
}

@test "every command is completed, in the order of the program's list, and no other word but help" {
    same "$(commands; echo help)" "$(completes dravik '')"
}

@test "a help text fits 80 columns, is plain ASCII without blanks at the ends of lines, and ends with a line" {
    local file bad=''
    for file in "$REPO"/help/*.help; do
        bad+=$(LC_ALL=C awk 'length > 80 || /[^ -~]/ || / $/ { print FILENAME ": " $0 }' "$file")
        same "" "$(tail -c 1 "$file" | tr -d '\n')"
    done
    same "" "$bad"
}

# KORVEL is no name but a value: the vendor of a listing.
@test "a help text names the maker by the placeholder alone" {
    run grep -ih korvel "$REPO"/help/*.help
    expect_output <<'END'
    vendor          KORVEL, NVME, HUAWEI or HITACHI
    vendor: KORVEL
END
    same 1 "$(grep -c 'Vendor: XXXXXX' "$REPO/help/version.help")"
}

@test "every help text has the same sections in the same order, and begins with its command's name" {
    local name
    for name in $(commands); do
        same "NAME SYNOPSIS DESCRIPTION PARAMETERS OUTPUT EXAMPLE RESULTS" \
            "$(grep -E '^[A-Z]' "$REPO/help/$name.help" | grep -v '^SEE ALSO' | awk '{ print $1 }' | flat)"
        same "    $name - " "$(sed -n 2p "$REPO/help/$name.help" | grep -o '^    [a-z]* - ')"
    done
}

@test "help text and manual page give a command the same synopsis" {
    local name
    for name in $(commands); do
        same "$(help_synopsis "$name")" "$(man_synopsis "$name")"
    done
}

@test "every parameter that the program knows is in a help text's synopsis, in its list of parameters, and in the manual page" {
    local name
    same "--all --bad --follow --incident --json --list --path --since --textfile --volume --volumes-only --watch -alias -chooser -device_name -interval -nvme -path_alias -scsi -state -wwid" \
        "$(parameters | LC_ALL=C sort | flat)"
    local synopses lists
    synopses=$(for name in $(commands); do help_synopsis "$name"; echo; done)
    lists=$(for name in $(commands); do section "$REPO/help/$name.help" PARAMETERS; done)
    for name in $(parameters); do
        grep -qE -- "$name\b" <<<"$synopses" || same "$name in a synopsis" ""
        grep -q -- "^$name" <<<"$lists" || same "$name in PARAMETERS" ""
        grep -qF -- "${name//-/\\-}" "$REPO/man/dravik.8" || same "$name in dravik.8" ""
    done
}

@test "the parameters of a synopsis are those that the help text lists and the completion offers" {
    local name in_synopsis
    for name in $(commands); do
        in_synopsis=$(help_synopsis "$name" | grep -oE -- '--?[a-z_-]+' | sort | flat)
        same "$name: $(parameters "$name" | flat)" "$name: $in_synopsis"
        # The policies hold dashes too, but no synopsis names them.
        same "$name: $in_synopsis" \
            "$name: $(section "$REPO/help/$name.help" PARAMETERS | grep -oE -- '^--?[a-z_-]+' | sort | flat)"
        same "$name: $in_synopsis" "$name: $(completes dravik "$name" - | grep -vx -- --help | sort | flat)"
    done
}

@test "the policies and states that the program knows are those that the completion offers and the help text explains" {
    same 3 "$(values -chooser | wc -l | flat)"
    same "$(values -chooser)" "$(completes dravik setpathpolicy -chooser '')"
    same "$(values -chooser)" "$(section "$REPO/help/setpathpolicy.help" PARAMETERS | grep -oE '^    [a-z-]+-extend' | tr -d ' ')"
    same "online offline" "$(values -state | flat)"
    same "$(values -state)" "$(completes dravik setstate -path_alias database -device_name sdb -state '')"
}

@test "every result that a help text lists is one of the program's, code and text as it prints them" {
    local name known listed
    known=$(records | sed 's/\([0-9]*\) /Error(\1): /')
    same 52 "$(wc -l <<<"$known" | flat)"
    for name in $(commands); do
        # A result stands at the section's margin, its remedy deeper; a long one runs on at the margin.
        listed=$(section "$REPO/help/$name.help" RESULTS | grep -E '^[A-Za-z]' | flat | sed 's/ Error(/\nError(/g' |
            grep '^Error(' || true)
        same "" "$(grep -vxF "$known" <<<"$listed" || true)"
    done
}

@test "every result that a command can end in by its own checks is in its help text" {
    # Said by the parameter checks and the tool, whoever is asked: the words that stand for it in parameter_checks.h.
    local name
    for name in $(commands); do
        case $(help_synopsis "$name") in
            "dravik $name") grep -qF 'Error(0105): Invalid command parameter [...].' "$REPO/help/$name.help" ;;
            *-wwid* | *-path_alias*)
                grep -qF 'Error(0103): Invalid command parameter name [...].' "$REPO/help/$name.help"
                grep -qF 'Error(0108): Missing value for the parameter [...].' "$REPO/help/$name.help"
                ;;
        esac || same "$name" ""
    done
}

@test "the operator guide has a row for every result, word for word, and no other" {
    same "$(records | sed 's/^\([0-9]*\) \(.*\)/| \1 | \2 |/')" \
        "$(grep -oE '^\| [0-9]{4} \| [^|]* \|' "$REPO/docs/operator-guide.md")"
}

@test "the operator guide explains every line of the change log" {
    local line
    { cat "$REPO"/src/monitor/change_detection.cpp "$REPO"/src/commands/setpathpolicy.cpp | tr -d '\n' | sed 's/" *"//g' |
        grep -oE '"The [^"]*(changed|properties)[^"]*"' | tr -d '"'; } | sed 's/%s/.../g' >"$BATS_TEST_TMPDIR/lines"
    same 11 "$(wc -l <"$BATS_TEST_TMPDIR/lines" | flat)"
    while IFS= read -r line; do
        grep -qF -- "\`$line\`" "$REPO/docs/operator-guide.md" || same "$line" ""
    done <"$BATS_TEST_TMPDIR/lines"
}

@test "every file below /dumps that programs and scripts name is described in dravik-files(5)" {
    local name files
    files=$({
        grep -rhoE '/dumps/[a-z_.]+[a-z]' "$REPO/src" "$REPO/scripts" | sed 's,.*/,,'
        grep -hoE '"(dravik_[a-z_]+\.log|data\.dravik)"' "$REPO"/src/common/log.cpp "$REPO"/src/monitor/cycle.cpp | tr -d '"'
    } | sort -u)
    # What the programs themselves write; what the scripts add is found by the same search.
    for name in data.dravik dravik_cli.log dravik_cli_bk.log dravik_monitor.log dravik_monitor_bk.log \
        storage_config.json; do
        grep -qx "$name" <<<"$files" || same "$name" ""
    done
    for name in $files; do
        grep -qE "^\.(SS|I|IR) (.*/)?${name//./\\.}( |\\\\-|\$)" "$REPO/man/dravik-files.5" || same "$name" ""
    done
}

# The words of an earlier way of speaking: a module is a module, its header a header, the project the project. "Room" in
# the singular is space in a buffer or on a disk.
@test "no file speaks of rooms, doors, faces or a house" {
    same "" "$(cd "$REPO" && grep -rnwiE 'rooms|doors?|faces?|house|for room in' README.md run CMakeLists.txt bench cmake \
        completion docs help man packaging scripts simhost src systemd tests \
        --exclude-dir=corpus --exclude=manual.bats || true)"
}

@test "the list of all kinds of events holds each of them once" {
    local header=$REPO/src/ledger/event_kinds.h
    same "$(sed -nE 's/^constexpr char ([A-Z_]+)\[\].*/\1/p' "$header")" \
        "$(sed -n '/EVENT_KINDS\[\]/,/;/p' "$header" | sed 1d | grep -oE '[A-Z_]+')"
}

@test "the manual pages are clean" {
    local page checked=''
    for page in "$BUILD_DIR"/man/*.[58]; do
        if type -P mandoc >/dev/null; then
            same "" "$(mandoc -T lint "$page" 2>&1)"
            checked=1
        fi
        if type -P groff >/dev/null; then
            same "" "$(groff -t -man -ww -z "$page" 2>&1)"
            checked=1
        fi
    done
    [[ $checked ]] || skip "neither mandoc nor groff is here"
}

# Which folder of the source may include which, besides itself: FOLDER: THE OTHERS
include_rule() {
    cat <<'END'
common:
struct: common
host: common
topology: common struct host
array: common
stats: common
health:
ledger: common struct health
output: common
commands: common struct host topology array stats health ledger output
cli: common struct host topology array stats health ledger output commands
monitor: common struct topology array health ledger output
END
}

#     topology/   knows common, struct, host
rule_of_architecture() {
    sed -nE 's,^    ([a-z]+)/ +knows ([a-z, ]*).*,\1: \2,p' "$REPO/docs/architecture.md" |
        sed -E 's/: nobody/:/; s/,//g; s/ +$//'
}

# | `src/topology/` | the multipath tool's listing into records ... | common, struct, host |
rule_of_readme() {
    sed -nE 's,^\| `src/([a-z]+)/` \|.*\| ([a-z, ]*)\|$,\1: \2,p' "$REPO/README.md" | sed -E 's/,//g; s/ +$//'
}

@test "folders of the source include what README and docs/architecture.md say, the same in both, and nothing else" {
    local folder others bad=''
    same "$(include_rule)" "$(rule_of_architecture)"
    same "$(include_rule)" "$(rule_of_readme)"
    same "$(include_rule | sed 's/:.*//' | sort)" "$(cd "$REPO/src" && printf '%s\n' */ | tr -d / | sort)"
    while IFS=': ' read -r folder others; do
        bad+=$(grep -rnE '#include "' "$REPO/src/$folder" | grep -vE "#include \"(${folder}${others:+|${others// /|}})/" || true)
    done < <(include_rule)
    same "" "$bad"
}

# The modules that the architecture page's table explains, FOLDER/NAME: the first cell of a row names the folder once.
#     | `common/text`, `text_split` | bounded text ... |
explained_modules() {
    awk -F'|' '/^\| `[a-z]+\/[A-Za-z_]+`/ && NF == 4 {
        split("", place)
        count = split($2, word, "`")
        for (i = 2; i <= count; i += 2) {
            if (split(word[i], place, "/") == 2) folder = place[1]
            print folder "/" (2 in place ? place[2] : word[i])
            split("", place)
        }
    }' "$REPO/docs/architecture.md" | sort
}

@test "docs/architecture.md explains every module of the source once, and no other" {
    local header
    same "$(for header in "$REPO"/src/*/*.h; do
        # A header that only includes others is a list.
        grep -qvE '^(//.*|#pragma once|#include .*)?$' "$header" || continue
        header=${header#"$REPO/src/"}
        echo "${header%.h}"
    done | sort)" "$(explained_modules)"
}

@test "every file of the project that a document names is there" {
    local file missing=''
    while IFS= read -r file; do
        [[ -e $REPO/$file || -e $REPO/src/$file ]] || missing+="$file "
    done < <(tr '`' '\n' <"$REPO/docs/architecture.md" | grep -xE '[a-z_]+/[a-z_/.-]+\.[a-z]+' | sort -u)
    same "" "$missing"
}

# ---- the unit tests

# Every module, FOLDER/NAME: a header of src/ with something of its own. A header that only includes others is a list,
# and five hold constants alone.
modules() {
    local header
    for header in "$REPO"/src/*/*.h; do
        header=${header#"$REPO/src/"}
        case $header in
            common/exit_status.h | host/tool_names.h | array/array_log.h | struct/list_limit.h | ledger/event_kinds.h) ;;
            *) grep -qvE '^(//.*|#pragma once|#include .*)?$' "$REPO/src/$header" && echo "${header%.h}" ;;
        esac
    done
}

# module_of FOLDER/NAME: the one of MODULES whose test file bears this name, alone or with an aspect behind it, as
# topology/listing_hostile does.
module_of() {
    local name=$1
    while ! grep -qxF "$name" <<<"$MODULES"; do
        [[ $name == *_* ]] || return 1
        name=${name%_*}
    done
    echo "$name"
}

# Every file of unit tests, FOLDER/NAME, but those of what the tests share.
unit_tests() {
    (cd "$REPO/tests/unit" && printf '%s\n' */test_*.cpp) | grep -v '^support/' | sed 's,/test_,/,; s,\.cpp$,,'
}

@test "every module has its unit tests in the file of its name, and every such file is a module's" {
    local MODULES name tests missing='' strange=''
    MODULES=$(modules)
    tests=$(unit_tests)
    for name in $MODULES; do
        grep -qxF "$name" <<<"$tests" || missing+="$name "
    done
    same "" "$missing"
    for name in $(unit_tests); do
        module_of "$name" >/dev/null || strange+="$name "
    done
    same "" "$strange"
}

@test "a suite of unit tests bears the name of its module" {
    local MODULES name suite module bad='' count=0
    MODULES=$(modules)
    for name in $(unit_tests); do
        module=$(module_of "$name")
        module=${module#*/}
        module=${module//_/}
        while IFS= read -r suite; do
            count=$((count + 1))
            [[ ${suite,,} == "${module,,}"* ]] || bad+="$name: $suite "
        done < <(sed -nE 's/^TEST(_F|_P)?\(([A-Za-z0-9_]+),.*/\2/p' \
            "$REPO/tests/unit/${name%/*}/test_${name#*/}.cpp" | sort -u)
    done
    same "" "$bad"
    ((count >= $(wc -l <<<"$MODULES")))
}
