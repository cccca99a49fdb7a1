#!/usr/bin/env bats
# setalias, lsalias and delalias: the alias table in the configuration file and the devices' names.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

A=3600b5d60001a2b3c0000000000000001
B=3600b5d60001a2b3c0000000000000002

# table ROWS: what "lsalias" prints.
table() {
    dravik 0 lsalias <<<"$LINE${1:+
$1}
$LINE
$DONE"
}
HEADINGS="wwid                              alias                             "
maps() { sim listing | awk '/ dm-/ { print $1 }' | paste -sd ' '; }

@test "an alias is set, listed and deleted, and the device is known by it meanwhile" {
    make_host --scenario "$SMALL"
    table ''
    forget
    succeeds setalias -wwid "$A" -alias backup
    expect_text ran <<<"velomux -ll backup 2>&1
bash /usr/bin/dravik-script/alias.sh set $A backup 2>&1"
    { stock_conf && printf 'multipaths {\n    multipath {\n        wwid                   %s\n' "$A" &&
        printf '        alias                  backup\n    }\n}\n'; } | expect_conf
    same 'backup mpathb nvmea' "$(maps)"
    forget
    table "$HEADINGS
$A backup"
    expect_text ran <<<'bash /usr/bin/dravik-script/alias.sh query 2>&1'
    forget
    succeeds delalias -wwid "$A"
    expect_text ran <<<"bash /usr/bin/dravik-script/alias.sh del $A 2>&1"
    table ''
    expect_text errors </dev/null
}

@test "an alias shorter than its heading is padded in its row" {
    make_host --scenario "$SMALL"
    succeeds setalias -wwid "$A" -alias b
    succeeds setalias -wwid "$B" -alias an_alias_of_some_length
    table "$HEADINGS
$A b                      
$B an_alias_of_some_length"
}

@test "an alias that names another device of the maker is refused before the script runs" {
    make_host --scenario "$SMALL"
    fails_with 'Error(0121): The alias[mpathb] has be configed for other wwid.' setalias -wwid "$A" -alias mpathb
    expect_text ran <<<'velomux -ll mpathb 2>&1'
    stock_conf | expect_conf
}

@test "a pair that exists, an alias of another WWID, a WWID without an alias" {
    make_host --scenario "$SMALL"
    # Devices that this host does not have: their aliases name nothing in the topology.
    local gone=3600b5d60001a2b3c00000000000000aa other=3600b5d60001a2b3c00000000000000bb
    succeeds setalias -wwid "$gone" -alias old
    fails_with "Error(0120): The pair wwid[$gone] and alias[old] has existed." setalias -wwid "$gone" -alias old
    fails_with 'Error(0121): The alias[old] has be configed for other wwid.' setalias -wwid "$other" -alias old
    fails_with "Error(0122): The specified wwid[$other] does not be configed alias." delalias -wwid "$other"
}

@test "the WWID itself as alias of an existing device is left to the script" {
    make_host --scenario "volume - transport=fc paths=1 wwid=$A"
    succeeds setalias -wwid "$A" -alias "$A"
    expect_text ran <<<"velomux -ll $A 2>&1
bash /usr/bin/dravik-script/alias.sh set $A $A 2>&1"
}

@test "another maker's device of that name does not hinder" {
    make_host --scenario "$SMALL
volume archive transport=fc paths=1 vendor=OTHERCO product=ARRAY"
    succeeds setalias -wwid "$A" -alias archive
}

@test "every generation of hosts does the same" {
    local generation
    for generation in rhel6 sles11sp4 sles15; do
        make_host_at "$generation" --generation "$generation" --scenario "$SMALL"
        succeeds setalias -wwid "$A" -alias backup
        table "$HEADINGS
$A backup"
        succeeds delalias -wwid "$A"
        table ''
    done
}

@test "a multipath tool that is missing leaves the decision to the script" {
    make_host --scenario "$SMALL"
    sim tool velomux missing
    succeeds setalias -wwid "$A" -alias backup
    table "$HEADINGS
$A backup"
}

@test "a script that is missing or fails otherwise" {
    make_host --scenario "$SMALL"
    sim tool alias.sh fail 1
    dravik 1 setalias -wwid "$A" -alias backup <<<"$FAILED"
    dravik 1 delalias -wwid "$A" <<<"$FAILED"
    dravik 1 lsalias <<<"$FAILED"
    sim tool alias.sh missing
    dravik 1 setalias -wwid "$A" -alias backup <<<"$FAILED"
    dravik 1 delalias -wwid "$A" <<<"$FAILED"
    dravik 1 lsalias <<<"$FAILED"
    stock_conf | expect_conf
}

@test "a silent script counts as done" {
    make_host --scenario "$SMALL"
    sim tool alias.sh silent
    succeeds setalias -wwid "$A" -alias backup
    table ''
    succeeds delalias -wwid "$A"
}
