#!/usr/bin/env bats
# Words that a shell would act on, from arguments, from the multipath tool's listing and from scripts: none of them
# is ever acted on. An injected command would make the file /canary.
# shellcheck disable=SC2016,SC1003 # what stands in single quotes is hostile text, not to be expanded or closed

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

LONG=$(printf 'x%.0s' {1..300})
WORDS=('$(touch /canary)' '`touch /canary`' 'a;touch /canary' 'a|touch /canary' 'a&touch /canary' 'a&&touch /canary'
    $'a\ntouch /canary' 'a>/canary' "a'; touch /canary; '" 'a"; touch /canary; "' 'a\' '*' '-rf' '--' $'a\x01\e[2J\r'
    "$LONG" '' 'üñ' $'\xff\xfe' 'a/../../canary' '%s%n' 'a b' '~' '!!' '${IFS}')

# unharmed: no canary, and the configuration as it was.
unharmed() {
    [[ ! -e $HOST/canary && ! -e $HOST/root/canary ]]
    stock_conf | expect_conf
}

# refused ARGUMENTS: the tool ends with 1 by itself, whatever it says, and no shell is shown the hostile word $WORD.
refused() {
    run in_host dravik "$@"
    same "1" "$status"
    [[ ! $WORD || $(<"$HOST/sim/shells.log") != *"$WORD"* ]]
}

# for_every_word ARGUMENTS: the same with each hostile word in the place of "@".
for_every_word() {
    local -a arguments
    for WORD in "${WORDS[@]}"; do
        arguments=("${@//@/}")
        local i
        for ((i = 1; i <= $#; ++i)); do
            [[ ${!i} != @ ]] || arguments[i - 1]=$WORD
        done
        refused "${arguments[@]}"
    done
    unharmed
}

@test "the words of delete, query and devstats" {
    make_host --scenario "$SMALL"
    for_every_word delete @
    for_every_word query @
    for_every_word devstats -interval 1 -path_alias @ -path_alias x
    for_every_word devstats -path_alias mpatha -interval @
    for_every_word devstats @ 1
    expect_text ran </dev/null
}

@test "the words of setstate" {
    make_host --scenario "$SMALL"
    for_every_word setstate -path_alias @ -device_name sdb -state offline
    for_every_word setstate -path_alias mpatha -device_name @ -state offline
    for_every_word setstate -path_alias mpatha -device_name @ -state online
    for_every_word setstate -path_alias mpatha -device_name sdb -state @
    for_every_word setstate @ mpatha -device_name sdb -state offline
    # Not one was sent, whatever the daemon would have made of it.
    same 'bash /usr/bin/dravik-script/checkdravikd.sh 2>&1
velomux -ll 2> /dev/null' "$(ran | sort -u)"
}

@test "the words of setpathpolicy, setalias and delalias" {
    make_host --scenario "$SMALL"
    local wwid=3600b5d60001a2b3c0000000000000001
    for_every_word setpathpolicy -chooser @
    for_every_word setpathpolicy -nvme -chooser @
    for_every_word setpathpolicy @ round-robin-extend
    for_every_word setalias -wwid @ -alias backup
    for_every_word setalias -wwid "$wwid" -alias @
    for_every_word setalias @ "$wwid" -alias backup
    for_every_word delalias @ "$wwid"
    expect_text ran </dev/null
}

@test "the WWID of delalias" {
    make_host --scenario "$SMALL"
    for_every_word delalias -wwid @
    # A long word is plain: the script answers for it, and nothing else is ever run.
    same "bash /usr/bin/dravik-script/alias.sh del $LONG" "$(ran | sed 's/ 2>&1$//' | sed "s/ x*\$/ $LONG/" | sort -u)"
}

@test "surplus words behind every other command, and words in place of a command" {
    make_host --scenario "$SMALL"
    local name
    for name in aggregation config lsalias lspathpolicy restart scan start status stop version port refresh; do
        for_every_word "$name" @
    done
    for_every_word @ mpatha
    for_every_word help @ x
    for_every_word --service @
    expect_text ran </dev/null
}

# ---- from the listing

# Words without a blank, thirty characters at most: what fits a field of the listing.
LISTED=('sd$(touch${IFS}/canary)' 'sd`touch${IFS}/canary`' 'sd;touch${IFS}/canary' 'sd|touch${IFS}/canary'
    'sd&touch${IFS}/canary' 'sd>/canary' "sd';touch\${IFS}/canary;'" 'sd"' 'sd\' 'sd*' '-sd' $'sd\x01' 'sdü')

# list_path NAME: the multipath tool shows one device whose only, dead path has this name, and sysfs knows it.
list_path() {
    printf '%s\n' "mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL,QVX" \
        "size=10G features='0' hwhandler='0' wp=rw" "\`-+- policy='service-time 0' prio=0 status=enabled" \
        "  \`- 1:0:0:1 $1 8:16 failed faulty running" >"$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    mkdir -p "$HOST/sys/block/$1/device"
}

@test "hostile path names of the listing never reach a shell" {
    make_host --scenario "$SMALL"
    local name state
    export SIMHOST_SLEEPS=1
    for name in "${LISTED[@]}"; do
        list_path "$name"
        forget
        for state in offline online; do
            dravik 1 setstate -path_alias mpatha -device_name "$name" -state "$state" <<<"$FAILED"
        done
        dravik 1 refresh <<<"$FAILED"
        # The flush names the map by its number and is run; only the path is refused.
        dravik 1 delete mpatha <<<"$FAILED"
        run in_host dravik query
        [[ $(<"$HOST/sim/shells.log") != *"$name"* ]]
        unharmed
    done
}

@test "a hostile alias of the listing matches no name that can be asked for" {
    make_host --scenario "$SMALL" --generation sles11sp4
    local alias='m$(touch${IFS}/canary)'
    list_path sdb
    sed -i "1s/^mpatha/${alias//\//\\/}/" "$BATS_TEST_TMPDIR/listing"
    sim tool velomux says "$BATS_TEST_TMPDIR/listing"
    fails_with 'Error(0115): This path_alias [mpatha] does not exist.' delete mpatha
    same 0 "$(ran | grep -c 'velomux -f\|echo')"
    unharmed
}

@test "a hostile map number of the listing is never flushed" {
    make_host --scenario "$SMALL"
    local number
    for number in '0$(touch${IFS}/canary)' '0;touch${IFS}/canary' '0`touch${IFS}/canary`'; do
        list_path sdb
        sed -i "1s/dm-0/dm-${number//\//\\/}/" "$BATS_TEST_TMPDIR/listing"
        sim tool velomux says "$BATS_TEST_TMPDIR/listing"
        forget
        run in_host dravik delete mpatha
        run in_host dravik refresh
        same 0 "$(ran | grep -cF touch)"
        unharmed
    done
}

# ---- from scripts

@test "what a policy script prints enters the configuration as a plain policy or not at all" {
    make_host --scenario "$SMALL"
    local word
    for word in 'multibus$(touch /canary)' 'multibus`touch /canary`' 'a"; touch /canary; "' "a'" 'a;b' 'a\' 'a|b' \
        $'a\x01' 'ü'; do
        printf '%s\n%s\n' "$word" "$word" >"$BATS_TEST_TMPDIR/policy"
        sim tool policy.sh says "$BATS_TEST_TMPDIR/policy"
        succeeds --service mkconfig
        same 1 "$(grep -c 'path_grouping_policy    failover%        path_selector          "rount-robin 0"%' \
            "$HOST/etc/velomux.conf")"
        [[ ! -e $HOST/canary ]]
        # Shown it is, as it stands but for its control bytes.
        dravik 0 lspathpolicy <<<"$LINE
SCSI DISK: 
chooser_type: ${word/$'\x01'/\\x01}

NVMe DISK: 
group_policy: 
chooser_type: 
$LINE
$DONE"
    done
}

@test "what the other scripts print is shown and nothing more" {
    make_host --scenario "$SMALL"
    printf '3600 $(touch /canary)`touch /canary`;touch /canary\n' >"$BATS_TEST_TMPDIR/text"
    sim tool alias.sh says "$BATS_TEST_TMPDIR/text"
    sim tool fc_info.sh says "$BATS_TEST_TMPDIR/text"
    run in_host dravik lsalias
    same 0 "$status"
    run in_host dravik port
    same 0 "$status"
    unharmed
}
