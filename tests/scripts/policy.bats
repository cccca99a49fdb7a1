#!/usr/bin/env bats
# policy.sh and its three sisters: reading and writing the path policy between the chooser markers.

load ../support/small_root

setup_file() { make_base; }

setup() {
    make_root
    printf 'CentOS Linux release 8.4.2105 (Core)\n' >"$ROOT/etc/redhat-release"
}

# What the program's mkconfig command leaves in the file: one line without a line feed.
mkconfig_remark() {
    printf '#korvel config begin%%devices {%%    device {%%        vendor                 "KORVEL"%%        product '
    printf '               "QVX"%%##      korvel group chooser begin%%        path_grouping_policy    failover%%   '
    printf '     path_selector          "rount-robin 0"%%##      korvel group chooser end%%    }%%}%%#korvel config end%%'
}

@test "query prints nothing and succeeds without a file or without a block" {
    run script policy query
    answers 0 ""
    conf <<<'defaults { }'
    run script policy query
    answers 0 ""
}

@test "query prints the group policy and the selector on exactly two lines" {
    script g2mpiocfg
    script policy set multibus service-time
    script policy query >"$BATS_TEST_TMPDIR/out"
    printf 'multibus\nservice-time\n' >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/out"
}

@test "query prints words it does not know as they are read" {
    script g2mpiocfg
    sed -i '0,/path_selector .*/s//path_selector "rount-robin 0"/' "$ROOT$CONF"
    run script policy query
    answers 0 $'group_by_prio\nrount-robin'
}

@test "query reads values without quotes and leaves a value that is missing empty" {
    script g2mpiocfg
    sed -i '0,/path_selector .*/s//path_selector queue-length 0/; 0,/path_grouping_policy.*/s//# gone/' "$ROOT$CONF"
    script policy query >"$BATS_TEST_TMPDIR/out"
    printf '\nqueue-length\n' >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/out"
}

@test "query never hands on what a shell could take for a command" {
    script g2mpiocfg
    sed -i '0,/path_selector .*/s//path_selector "$(reboot) 0"/; 0,/path_grouping_policy.*/s//path_grouping_policy `x`/' \
        "$ROOT$CONF"
    script policy query >"$BATS_TEST_TMPDIR/out"
    printf '\n\n' >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/out"
}

@test "set without a block or a file answers No configuration and fails" {
    run script policy set multibus round-robin
    answers 1 "No configuration"
    [[ ! -e $ROOT$CONF ]]
    conf <<<'devices { }'
    run script policy_hw set multibus round-robin
    answers 1 "No configuration"
    [[ $(<"$ROOT$CONF") == 'devices { }' ]]
}

@test "the program's own fallback words without a block are answered with No configuration" {
    run script policy set failover rount-robin
    answers 1 "No configuration"
}

@test "the misspelt selector is refused where there is a block" {
    script g2mpiocfg
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    run script policy set failover rount-robin
    answers 2 "policy.sh: SELECTOR must be one of: round-robin queue-length service-time
usage: policy.sh query | policy.sh set GROUP SELECTOR"
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
}

@test "words that are no policy are refused with the usage line" {
    for words in "multi round-robin" "MULTIBUS round-robin" " round-robin" "failover|multibus round-robin"; do
        run script policy set "${words% *}" "${words##* }"
        answers 2 "policy.sh: GROUP must be one of: failover multibus group_by_serial group_by_prio group_by_node_name
usage: policy.sh query | policy.sh set GROUP SELECTOR"
    done
    for word in "" "round-robin 0" round "round-robin queue-length"; do
        run script policy set multibus "$word"
        answers 2 "policy.sh: SELECTOR must be one of: round-robin queue-length service-time
usage: policy.sh query | policy.sh set GROUP SELECTOR"
    done
}

@test "wrong arguments give the usage line of the script that was called" {
    for name in policy policy_hw policy_rl policy_nvme; do
        for arguments in "" "set" "set multibus" "query now" "set multibus round-robin 0" "frob"; do
            # shellcheck disable=SC2086  # the words are the arguments
            run script "$name" $arguments
            answers 2 "$name.sh: wrong arguments
usage: $name.sh query | $name.sh set GROUP SELECTOR"
        done
        run script "$name" --help
        answers 0 "usage: $name.sh query | $name.sh set GROUP SELECTOR"
    done
}

@test "set changes the two values of its own block and no other byte" {
    script g2mpiocfg
    declare -A block=([policy]=korvel [policy_nvme]=nvme [policy_hw]=huawei [policy_rl]=hitachi)
    for name in policy policy_nvme policy_hw policy_rl; do
        cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/expected"
        sed -i "/^#${block[$name]} config begin/,/^#${block[$name]} config end/{
            s/group_by_prio/multibus/; s/round-robin/queue-length/}" "$BATS_TEST_TMPDIR/expected"
        run script "$name" set multibus queue-length
        answers 0 ""
        same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
        run script "$name" query
        answers 0 $'multibus\nqueue-length'
    done
}

@test "set keeps remarks, foreign settings and odd spacing inside and outside the block" {
    sed 's/\^I/\t/g; s/\^M/\r/g' <<'E' >"$ROOT$CONF"
# path_selector "mine 0"
devices { device { path_selector "mine 0" } }
#korvel config begin^M
devices { device {
   vendor "KORVEL"
  ##      korvel group chooser begin
^Ipath_grouping_policy^Ifailover # chosen by hand
^Ipath_selector  "round-robin 0"^M
        # path_selector "old 0"
        foreign { path_selector "x 0" }
##      korvel group chooser end   
   path_selector "outside 0"
} }
#korvel config end
#korvel config end of the matter
E
    sed 's/failover/group_by_serial/; s/"round-robin 0"/"service-time 0"/' "$ROOT$CONF" >"$BATS_TEST_TMPDIR/expected"
    run script policy set group_by_serial service-time
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "set adds the lines that are missing between the chooser markers" {
    script g2mpiocfg
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    sed -i '1,/group chooser end/{/path_/d}' "$ROOT$CONF"
    run script policy set group_by_prio round-robin
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
}

@test "set changes every block of its kind when there are several" {
    script g2mpiocfg
    cat "$ROOT$CONF" "$ROOT$CONF" >"$ROOT/tmp/twice"
    cp "$ROOT/tmp/twice" "$ROOT$CONF"
    sed '/^#korvel/,/^#korvel config end/{s/group_by_prio/failover/; s/round-robin/service-time/}' \
        "$ROOT$CONF" >"$BATS_TEST_TMPDIR/expected"
    run script policy set failover service-time
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
}

@test "the one-line remark of mkconfig is no block" {
    { printf 'defaults {\n}\n'; mkconfig_remark; } | conf
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    run script policy query
    answers 0 ""
    run script policy set multibus round-robin
    answers 1 "No configuration"
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
}

@test "a block behind the one-line remark of mkconfig is found and changed" {
    { printf 'defaults {\n}\n'; mkconfig_remark; } | conf
    script g2mpiocfg
    sed '1,/korvel group chooser end$/{s/group_by_prio$/multibus/; s/"round-robin 0"$/"queue-length 0"/}' \
        "$ROOT$CONF" >"$BATS_TEST_TMPDIR/expected"
    run script policy set multibus queue-length
    answers 0 ""
    same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"
    [[ $(sed -n 3p "$ROOT$CONF") == "$(mkconfig_remark)" ]]
}

@test "a block cut in the middle is refused by query and set, and the file stays" {
    script g2mpiocfg
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/whole"
    # The cut, as sed makes it, and what is said about it.
    while IFS='|' read -r cut message; do
        sed "$cut" "$BATS_TEST_TMPDIR/whole" | conf
        cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
        run script policy query
        answers 1 "policy.sh: $CONF: $message"
        run script policy set multibus round-robin
        answers 1 "policy.sh: $CONF: $message"
        same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
    done <<'E'
/^#korvel config end/d|line 1: the block that begins here has no "#korvel config end"
9,$d|line 1: the block that begins here has no "#korvel config end"
1d|line 18: "#korvel config end" without its beginning
1,5d|line 14: "#korvel config end" without its beginning
/korvel group chooser end/d|line 1: the block that begins here has no complete group chooser part
/korvel group chooser begin/d|line 8: "##      korvel group chooser end" without its beginning
6p|line 7: "##      korvel group chooser begin" for the second time in one block
9p|line 10: "##      korvel group chooser end" without its beginning
1p|line 2: "#korvel config begin" again, before the end of the block that begins in line 1
19p|line 20: "#korvel config end" without its beginning
E
}

@test "set refuses a file whose sections do not close, query still answers" {
    script g2mpiocfg
    printf 'blacklist {\n' >>"$ROOT$CONF"
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/before"
    run script policy set multibus round-robin
    [[ $status == 1 ]]
    [[ $output == "policy.sh: $CONF cannot be edited: line "*": the section opened here is never closed; it is left as it is" ]]
    same_file "$BATS_TEST_TMPDIR/before" "$ROOT$CONF"
    run script policy query
    answers 0 $'group_by_prio\nround-robin'
}

@test "the selectors that the scripts know are those of the program" {
    local program
    program=$(sed -nE 's/^ *X\("([a-z-]+)", .*/\1/p' "$REPO/src/commands/path_selectors.cpp" | paste -sd ' ')
    [[ -n $program ]]
    [[ "readonly SELECTOR_WORDS=\"$program\"" == "$(grep '^readonly SELECTOR_WORDS=' "$REPO/scripts/lib/policy.sh")" ]]
}
