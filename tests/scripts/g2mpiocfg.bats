#!/usr/bin/env bats
# g2mpiocfg.sh: which systems it takes, what it writes, and what it leaves alone.

load ../support/small_root

setup_file() { make_base; }

setup() {
    make_root
    release /etc/redhat-release 'Red Hat Enterprise Linux Server release 7.9 (Maipo)'
}

# release FILE LINES: the host is what this release file, the only one, says.
release() {
    local file=$1
    shift
    rm -f "$ROOT"/etc/*release*
    [[ -z $file ]] || printf '%s\n' "$@" >"$ROOT$file"
}

# block NAME CHOOSER VENDOR PRODUCT CHECKER PRIO [GROUP SELECTOR]: a device block as it must stand in the file.
block() {
    cat <<E
#$1 config begin
devices {
    device {
        vendor                 "$3"
        product                "$4"
##      ${2}group chooser begin
        path_grouping_policy    ${7-group_by_prio}
        path_selector          "${8-round-robin} 0"
##      ${2}group chooser end
        path_checker           $5
        prio                   $6
        failback               immediate
        no_path_retry          12
        rr_weight              uniform
        rr_min_io              100
        rr_min_io_rq           1
    }
}
#$1 config end
E
}

korvel_block() { block korvel "korvel " KORVEL QVX tur alua "$@"; }
nvme_block() { block nvme "" NVME KORVELQVX directio ana "$@"; }
huawei_block() { block huawei "huawei " HUAWEI '.*' tur alua "$@"; }
hitachi_block() { block hitachi "hitachi " HITACHI '.*' tur alua "$@"; }

expected() { cat >"$BATS_TEST_TMPDIR/expected"; }
holds_expected() { same_file "$BATS_TEST_TMPDIR/expected" "$ROOT$CONF"; }

@test "a missing file is created with the blocks, and each step is said" {
    run script g2mpiocfg
    answers 0 "$CONF: created
KORVEL QVX: block added (group_by_prio, round-robin)
NVME KORVELQVX: block left alone, this system has no NVMe over Fabrics
HUAWEI, any product: block added (group_by_prio, round-robin)
HITACHI, any product: block added (group_by_prio, round-robin)"
    { korvel_block; huawei_block; hitachi_block; } | expected
    holds_expected
    [[ $(stat -c %a "$ROOT$CONF") == 644 ]]
}

@test "the NVMe block is written where the system can do NVMe over Fabrics" {
    release /etc/redhat-release 'Red Hat Enterprise Linux release 8.4 (Ootpa)'
    script g2mpiocfg
    { korvel_block; nvme_block; huawei_block; hitachi_block; } | expected
    holds_expected
}

@test "an os-release whose first line is empty tells the system as well" {
    release /etc/os-release '' 'VERSION="15-SP4"' 'ID="sles"'
    run script g2mpiocfg
    answers 0 "$CONF: created
KORVEL QVX: block added (group_by_prio, round-robin)
NVME KORVELQVX: block added (group_by_prio, round-robin)
HUAWEI, any product: block added (group_by_prio, round-robin)
HITACHI, any product: block added (group_by_prio, round-robin)"
    { korvel_block; nvme_block; huawei_block; hitachi_block; } | expected
    holds_expected
}

@test "a second run changes no byte and does not write" {
    script g2mpiocfg
    cp "$ROOT$CONF" "$BATS_TEST_TMPDIR/expected"
    before=$(stat -c '%i %y' "$ROOT$CONF")
    run script g2mpiocfg
    answers 0 "KORVEL QVX: block is up to date (group_by_prio, round-robin)
NVME KORVELQVX: block left alone, this system has no NVMe over Fabrics
HUAWEI, any product: block is up to date (group_by_prio, round-robin)
HITACHI, any product: block is up to date (group_by_prio, round-robin)"
    holds_expected
    [[ $(stat -c '%i %y' "$ROOT$CONF") == "$before" ]]
}

@test "blocks are refreshed in place, their policy stays, everything else stays byte for byte" {
    {
        printf '# head\ndefaults {\n\tpolling_interval 5\n}\n'
        korvel_block multibus queue-length | sed '/failback/d; s/tur/directio/'
        printf 'devices {\n    device {\n        vendor "OTHER"\n    }\n}\n'
        huawei_block failover service-time
        printf '# tail\n'
    } | conf
    run script g2mpiocfg
    answers 0 "KORVEL QVX: block refreshed (multibus, queue-length)
NVME KORVELQVX: block left alone, this system has no NVMe over Fabrics
HUAWEI, any product: block is up to date (failover, service-time)
HITACHI, any product: block added (group_by_prio, round-robin)"
    {
        printf '# head\ndefaults {\n\tpolling_interval 5\n}\n'
        korvel_block multibus queue-length
        printf 'devices {\n    device {\n        vendor "OTHER"\n    }\n}\n'
        huawei_block failover service-time
        printf '# tail\n'
        hitachi_block
    } | expected
    holds_expected
}

@test "blocks of one HUAWEI and HITACHI product become those of any" {
    { block huawei "huawei " HUAWEI XSG1 tur alua multibus; block hitachi "hitachi " HITACHI 'DF.*' tur alua; } | conf
    run script g2mpiocfg
    answers 0 "KORVEL QVX: block added (group_by_prio, round-robin)
NVME KORVELQVX: block left alone, this system has no NVMe over Fabrics
HUAWEI, any product: block refreshed (multibus, round-robin)
HITACHI, any product: block refreshed (group_by_prio, round-robin)"
    { huawei_block multibus; hitachi_block; korvel_block; } | expected
    holds_expected
}

# foreign ARRAYS LINE: what is said of a device section of somebody else's.
foreign() {
    echo "$1: line $2 begins a device section of somebody else, which stays; remove it if this block alone is to count"
}

@test "a device section of somebody else for the same arrays stays and is said each time, by its line" {
    release /etc/redhat-release 'Red Hat Enterprise Linux release 8.4 (Ootpa)'
    local theirs='devices {
    device {
        vendor "KORVEL"
        product "QVX"
        no_path_retry fail
    }
    device
    {
        product KORVELQVX # vendor "HUAWEI"
        vendor NVME
    }
    device { vendor "HITACHI " }
}'
    { echo "$theirs" && korvel_block; } | conf
    run script g2mpiocfg
    answers 0 "KORVEL QVX: block is up to date (group_by_prio, round-robin)
NVME KORVELQVX: block added (group_by_prio, round-robin)
HUAWEI, any product: block added (group_by_prio, round-robin)
HITACHI, any product: block added (group_by_prio, round-robin)
$(foreign 'KORVEL QVX' 2)
$(foreign 'NVME KORVELQVX' 7)
$(foreign 'HITACHI, any product' 12)"
    { echo "$theirs" && korvel_block && nvme_block && huawei_block && hitachi_block; } | expected
    holds_expected
    run script g2mpiocfg
    answers 0 "KORVEL QVX: block is up to date (group_by_prio, round-robin)
NVME KORVELQVX: block is up to date (group_by_prio, round-robin)
HUAWEI, any product: block is up to date (group_by_prio, round-robin)
HITACHI, any product: block is up to date (group_by_prio, round-robin)
$(foreign 'KORVEL QVX' 2)
$(foreign 'NVME KORVELQVX' 7)
$(foreign 'HITACHI, any product' 12)"
    holds_expected
}

@test "a section of somebody else is told by what the multipath tool would match, and no other is" {
    local line blocks added
    blocks=$'\nNVME KORVELQVX: block left alone, this system has no NVMe over Fabrics'
    for line in 'HUAWEI, any product' 'HITACHI, any product'; do
        blocks+=$'\n'"$line: block added (group_by_prio, round-robin)"
    done
    added="KORVEL QVX: block added (group_by_prio, round-robin)$blocks"
    while read -r line; do
        printf '%s\n' "$line" | conf
        run script g2mpiocfg
        answers 0 "$added
$(foreign 'KORVEL QVX' 1)"
    done <<'E'
devices { device { vendor KORVEL product QVX } }
devices { device { vendor "KORVEL" } }
devices { device { vendor "^KOR.*" product "Q" } }
devices { device { vendor "KORVEL  " product "QVX             " } }
devices { device { vendor "OTHER" vendor "KORVEL" product ".*" } }
E
    while read -r line; do
        printf '%s\n' "$line" | conf
        run script g2mpiocfg
        answers 0 "$added"
    done <<'E'
devices { device { vendor KORVEL product OTHER } }
devices { device { vendor OTHER product QVX } }
devices { device { vendor "(KORVEL" product QVX } }
devices { device { product QVX } }
devices { device { inner { vendor KORVEL } } }
devices { other { vendor KORVEL product QVX } }
blacklist { device { vendor KORVEL product QVX } }
# devices { device { vendor KORVEL product QVX } }
E
    printf 'devices { device { vendor ".*" product ".*" } }\n' | conf
    run script g2mpiocfg
    answers 0 "$added
$(foreign 'KORVEL QVX' 1)
$(foreign 'HUAWEI, any product' 1)
$(foreign 'HITACHI, any product' 1)"
}

@test "a block without chooser markers gets them back with the default policy" {
    korvel_block multibus queue-length | sed '/chooser/d' | conf
    script g2mpiocfg
    { korvel_block; huawei_block; hitachi_block; } | expected
    holds_expected
}

@test "the misspelt selector in a block is mended" {
    korvel_block failover rount-robin | conf
    run script g2mpiocfg
    [[ ${lines[0]} == "KORVEL QVX: block refreshed (failover, round-robin)" ]]
    { korvel_block failover; huawei_block; hitachi_block; } | expected
    holds_expected
}

@test "a block that stands twice is left once" {
    { korvel_block multibus; printf '# between\n'; korvel_block; printf '# after\n'; } | conf
    script g2mpiocfg
    { korvel_block multibus; printf '# between\n# after\n'; huawei_block; hitachi_block; } | expected
    holds_expected
}

@test "an NVMe block on a system without NVMe over Fabrics is not touched" {
    nvme_block multibus service-time | sed '/failback/d' | tee "$BATS_TEST_TMPDIR/expected" | conf
    { korvel_block; huawei_block; hitachi_block; } >>"$BATS_TEST_TMPDIR/expected"
    script g2mpiocfg
    holds_expected
}

@test "the one-line remark of mkconfig stays a remark, and the blocks begin behind it on lines of their own" {
    printf 'defaults {\n}\n#korvel config begin%%devices {%%    device {%%#korvel config end%%' | conf
    script g2mpiocfg
    { printf 'defaults {\n}\n#korvel config begin%%devices {%%    device {%%#korvel config end%%\n'
        korvel_block; huawei_block; hitachi_block; } | expected
    holds_expected
    run script g2mpiocfg
    holds_expected
}

@test "a file with carriage returns gets blocks with carriage returns, once" {
    printf 'defaults {\r\n}\r\n' | conf
    script g2mpiocfg
    { printf 'defaults {\n}\n'; korvel_block; huawei_block; hitachi_block; } | sed 's/$/\r/' | expected
    holds_expected
    run script g2mpiocfg
    [[ ${lines[0]} == "KORVEL QVX: block is up to date (group_by_prio, round-robin)" ]]
    holds_expected
}

@test "a last line without line feed stays one when it is a block's end marker" {
    { korvel_block; huawei_block; hitachi_block; } | head -c -1 | tee "$BATS_TEST_TMPDIR/expected" | conf
    script g2mpiocfg
    holds_expected
}

@test "an open section, a cut block or a block inside a section is refused and the file stays" {
    while IFS='|' read -r cut message; do
        { printf 'defaults {\n}\n'; korvel_block; huawei_block; } | sed "$cut" | tee "$BATS_TEST_TMPDIR/expected" | conf
        run script g2mpiocfg
        answers 1 "g2mpiocfg.sh: $CONF$message"
        holds_expected
    done <<'E'
2d| cannot be edited: line 1: the section opened here is never closed; it is left as it is
20d| cannot be edited: line 4: the section opened here is never closed; it is left as it is
21d|: line 3: the block that begins here has no "#korvel config end"
3d|: line 20: "#korvel config end" without its beginning
40d|: line 22: the block that begins here has no "#huawei config end"
2{h;d};21{G}| cannot be edited: line 2: the block begins inside a section; it is left as it is
E
}

@test "only RHEL, CentOS, Oracle Linux and SLES are supported" {
    while IFS='|' read -r file line; do
        release "$file" "$line"
        [[ $file != /etc/os-release ]] || printf 'NAME="x"\nVERSION="1"\n%s\n' "$line" >"$ROOT$file"
        rm -f "$ROOT$CONF"
        run script g2mpiocfg
        [[ $status == 0 ]] || { echo "$line: $output"; return 1; }
        [[ -s $ROOT$CONF ]]
    done <<'E'
/etc/redhat-release|Red Hat Enterprise Linux Server release 6.10 (Santiago)
/etc/redhat-release|Red Hat Enterprise Linux release 9.2 (Plow)
/etc/redhat-release|CentOS release 6.10 (Final)
/etc/redhat-release|CentOS Linux release 7.9.2009 (Core)
/etc/oracle-release|Oracle Linux Server release 7.9
/etc/SuSE-release|SUSE Linux Enterprise Server 12 (x86_64)
/etc/os-release|ID="sles"
/etc/os-release|ID=sles_sap
E
    while IFS='|' read -r file line; do
        release "$file" "$line"
        rm -f "$ROOT$CONF"
        run script g2mpiocfg
        answers 1 "distribute type is not supported"
        [[ ! -e $ROOT$CONF ]]
    done <<'E'
/etc/redhat-release|Fedora release 38 (Thirty Eight)
/etc/redhat-release|Some Linux release 8.5, not Red Hat Enterprise Linux
/etc/os-release|ID=debian
/etc/os-release|ID_LIKE="sles"
/etc/SuSE-release|openSUSE 13.2 (x86_64)
|
E
}

@test "any argument is answered with the usage line" {
    run script g2mpiocfg now
    answers 2 "g2mpiocfg.sh: takes no arguments
usage: g2mpiocfg.sh"
    run script g2mpiocfg -h
    answers 0 "usage: g2mpiocfg.sh"
}
