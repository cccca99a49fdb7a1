#!/usr/bin/env bats
# The scripts that edit /etc/velomux.conf, on every generation and in front of the stack.

load ../support/simulated_host
load ../support/scripts_on_host

CONF=/etc/velomux.conf
STOCK=/usr/share/doc/device-mapper-velomux-0.4.9/velomux.conf

@test "every generation is configured, with the NVMe block where the program allows NVMe too" {
    for generation in $("$SIMHOST" generations); do
        make_script_host --generation "$generation"
        case $generation in
        rhel8 | rhel9 | sles12sp6 | sles15) blocks="korvel nvme huawei hitachi" ;;
        *) blocks="korvel huawei hitachi" ;;
        esac
        run script g2mpiocfg
        same "$generation: 0" "$generation: $status"
        same "$generation: $blocks" "$generation: $(sed -n 's/^#\([a-z]*\) config begin$/\1/p' "$HOST$CONF" | xargs)"
        # What was there stays, and stands first.
        same "$(cat "$HOST$STOCK")" "$(head -n "$(wc -l <"$HOST$STOCK")" "$HOST$CONF")"
        cp "$HOST$CONF" "$BATS_TEST_TMPDIR/before"
        script g2mpiocfg
        cmp "$BATS_TEST_TMPDIR/before" "$HOST$CONF"
        drop_hosts
    done
}

@test "the stack shows an alias after set, another after the next set, and the old name after del" {
    make_script_host
    name_of() { sim listing | sed -n 's/^\([^ ]*\) (3600b5d60001a2b3c0000000000000001).*/\1/p'; }
    same mpatha "$(name_of)"
    script alias set 3600b5d60001a2b3c0000000000000001 data.1
    same data.1 "$(name_of)"
    script alias set 3600b5d60001a2b3c0000000000000001 data2
    same data2 "$(name_of)"
    run script alias query
    answers 0 "3600b5d60001a2b3c0000000000000001 data2"
    script alias del 3600b5d60001a2b3c0000000000000001
    same mpatha "$(name_of)"
    expect_text calls <<<$'velomux -r\nvelomux -r\nvelomux -r'
}

@test "after the stock file was copied back and the program's remark appended there is no block, and all may write" {
    make_script_host
    script g2mpiocfg
    in_host cp -fp "$STOCK" "$CONF"
    printf '%s' '#korvel config begin%devices {%    device {%##      korvel group chooser begin%' >>"$HOST$CONF"
    in_host chmod 777 "$CONF"
    run script policy query
    answers 0 ""
    run script policy set multibus round-robin
    answers 1 "No configuration"
    same 777 "$(stat -c %a "$HOST$CONF")"
    script g2mpiocfg
    same 755 "$(stat -c %a "$HOST$CONF")"
    script policy set multibus round-robin
    run script policy query
    answers 0 $'multibus\nround-robin'
    same 755 "$(stat -c %a "$HOST$CONF")"
}
