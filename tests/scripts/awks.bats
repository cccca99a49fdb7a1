#!/usr/bin/env bats
# The scripts give the same answers and the same bytes with every awk that a host may have.

load ../support/small_root

setup_file() { make_base; }

setup() {
    make_root
    stand_in velomux <<<'#!/bin/bash'
    printf 'Red Hat Enterprise Linux release 8.4 (Ootpa)\n' >"$ROOT/etc/redhat-release"
}

# Every operation once, on a file with something of everything, the answers in one text.
all_operations() {
    paths
    printf '# caf\xe9 {\r\ndefaults {\r\n\tx "a { b" ! }\r\n}\r\nmultipaths { multipath { wwid "1e3" alias "a.b" } }\r\ndevices { device { vendor HUAWEI } }' | conf
    script g2mpiocfg
    script policy set multibus queue-length
    script policy query
    script policy_nvme query
    script alias set 1e3 a.b || true
    script alias set 1000 a.b || true
    script alias set 1000 aXb
    script alias set 1e3 c
    script alias query
    script alias del 1000
    script alias del 1000 || true
    cp "$ROOT$CONF" "$ROOT/tmp/whole"
    sed 's/^}/} }/' "$ROOT/tmp/whole" | conf
    script alias query || true
    cat -A "$ROOT/tmp/whole"
    # The link that names the adapter counts, whatever stands before it; one of another path does not.
    script path_state_record add sdb
    script path_state_record add sdc
    cat "$ROOT/dumps/dravik_offline_paths"
}

# Two paths under their lasting names.
paths() {
    local links=$ROOT/dev/disk/by-path
    mkdir -p "$ROOT"/sys/block/{sdb,sdc}/device "$links"
    ln -s ../../sdb "$links/fc-0x21000024ff5d6a11-0x20d0000b5d6a1010-lun-1"
    ln -s ../../sdbc "$links/pci-0000:04:00.0-fc-0x20d0000b5d6a1010-lun-1"
    ln -s ../../sdb "$links/pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1"
    ln -s ../../sdb "$links/pci-0000:06:00.0-fc-0x20d0000b5d6a1010-lun-1"
    ln -s ../../sdc "$links/ip-192.168.1.10:3260-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-1"
}

expected() {
    cat <<'E'
KORVEL QVX: block added (group_by_prio, round-robin)
NVME KORVELQVX: block added (group_by_prio, round-robin)
HUAWEI, any product: block added (group_by_prio, round-robin)
HITACHI, any product: block added (group_by_prio, round-robin)
HUAWEI, any product: line 6 begins a device section of somebody else, which stays; remove it if this block alone is to count
multibus
queue-length
group_by_prio
round-robin
4 the pair of wwid 1e3 and alias a.b exists already
5 the alias a.b belongs to another wwid
1e3 c
1000 aXb
7 the wwid 1000 has no alias
alias.sh: /etc/velomux.conf: line 4: a closing brace without an opening one
# cafM-i {^M$
defaults {^M$
^Ix "a { b" ! }^M$
}^M$
multipaths { multipath { wwid "1e3" alias "c" } ^M$
}^M$
devices { device { vendor HUAWEI } }^M$
E
    bash -c 'source "$0/lib/base.sh"; source "$0/lib/device_blocks.sh"
        block_select korvel; block_text multibus queue-length
        for name in nvme huawei hitachi; do block_select "$name"; block_text group_by_prio round-robin; done' \
        "$SCRIPTS_SOURCE" | sed 's/$/^M$/'
    echo "scsi pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 - sdb"
    echo "scsi ip-192.168.1.10:3260-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-1 - sdc"
}

with_awk() {
    type -P "$1" >/dev/null || skip "$1 is not installed"
    rm "$ROOT/usr/bin/awk"
    copy_program "$1" "$ROOT" awk
    all_operations >"$BATS_TEST_TMPDIR/out"
    expected >"$BATS_TEST_TMPDIR/expected"
    same_file "$BATS_TEST_TMPDIR/expected" "$BATS_TEST_TMPDIR/out"
}

@test "the scripts work with mawk" { with_awk mawk; }
@test "the scripts work with gawk" { with_awk gawk; }
@test "the scripts work with the original awk" { with_awk original-awk; }
@test "the scripts work with the awk of busybox" { with_awk busybox; }
