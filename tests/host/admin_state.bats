#!/usr/bin/env bats
# setstate: the daemon's answer, the path's state afterwards, and the record of what was changed by hand.

bats_require_minimum_version 1.5.0
load ../support/simulated_host
load ../support/admin_commands

QUERY='bash /usr/bin/dravik-script/checkdravikd.sh 2>&1
velomux -ll 2> /dev/null'

# path_states NAME: device-mapper state and checker state in the listing.
path_states() { sim listing | awk -v name="$1" '$0 ~ " " name " " { for (i = 1; i < NF; i++) if ($i == name) print $(i + 2), $(i + 3) }'; }

# words ALIAS PATH STATE: the words of the command, in WORDS.
words() { WORDS=(setstate -path_alias "$1" -device_name "$2" -state "$3"); }

@test "a SCSI path is taken offline, brought back, and recorded meanwhile" {
    make_host --scenario "$SMALL"
    words mpatha sdb offline
    succeeds "${WORDS[@]}"
    expect_text ran <<<"$QUERY
dravikd fail path sdb 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add sdb 2>&1"
    same 'failed faulty' "$(path_states sdb)"
    same 'active ready' "$(path_states sdc)"
    same sdb "$(awk '{ print $4 }' "$HOST/dumps/dravik_offline_paths")"

    forget
    words mpatha sdb online
    succeeds "${WORDS[@]}"
    expect_text ran <<<"$QUERY
dravikd reinstate path sdb 2>&1
bash /usr/bin/dravik-script/path_state_record.sh del sdb 2>&1"
    same 'active ready' "$(path_states sdb)"
    same '' "$(cat "$HOST/dumps/dravik_offline_paths")"
    expect_text errors </dev/null
}

@test "an NVMe path is handled like a SCSI path" {
    make_host --scenario "$SMALL"
    words nvmea nvme0n1 offline
    succeeds "${WORDS[@]}"
    expect_text ran <<<"$QUERY
dravikd fail path nvme0n1 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add nvme0n1 2>&1"
    same 'failed faulty' "$(path_states nvme0n1)"
    words nvmea nvme0n1 online
    succeeds "${WORDS[@]}"
    same 'active ready' "$(path_states nvme0n1)"
}

@test "every generation of hosts does the same" {
    local generation
    for generation in rhel6 sles11sp4 rhel9 sles15; do
        make_host_at "$generation" --generation "$generation" --scenario "$SMALL"
        words mpatha sdb offline
        succeeds "${WORDS[@]}"
        expect_text ran <<<"$QUERY
dravikd fail path sdb 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add sdb 2>&1"
        same 'failed faulty' "$(path_states sdb)"
    done
}

@test "taking a failed path offline again sends the command again" {
    make_host --scenario "$SMALL"
    words mpatha sdb offline
    succeeds "${WORDS[@]}"
    forget
    succeeds "${WORDS[@]}"
    expect_text ran <<<"$QUERY
dravikd fail path sdb 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add sdb 2>&1"
}

@test "a stopped daemon is started first" {
    make_host --scenario "$SMALL"
    in_host systemctl stop dravikd.service
    words mpatha sdb offline
    succeeds "${WORDS[@]}"
    same active "$(cat "$HOST/sim/services/dravikd.service.state")"
    same 'failed faulty' "$(path_states sdb)"
}

@test "unknown devices and paths of other devices are told, and nothing is sent" {
    make_host --scenario "$SMALL"
    words mpathx sdb offline
    fails_with 'Error(0115): This path_alias [mpathx] does not exist.' "${WORDS[@]}"
    words mpatha sdd offline
    fails_with 'Error(0116): Path [sdd] of disk [mpatha] does not exist.' "${WORDS[@]}"
    words mpatha sd offline
    fails_with 'Error(0116): Path [sd] of disk [mpatha] does not exist.' "${WORDS[@]}"
    words mpatha '' online
    fails_with 'Error(0116): Path [] of disk [mpatha] does not exist.' "${WORDS[@]}"
    same 0 "$(ran | grep -c 'fail path\|reinstate\|path_state_record')"
}

@test "a daemon that answers fail, fails or is missing" {
    make_host --scenario "$SMALL"
    echo fail >"$BATS_TEST_TMPDIR/answer"
    sim tool dravikd says "$BATS_TEST_TMPDIR/answer"
    forget
    words mpatha sdb offline
    fails_with 'Error(0137): Fail this path [sdb] failed.' "${WORDS[@]}"
    words mpatha sdb online
    fails_with 'Error(0138): Reinstate this path [sdb] failed.' "${WORDS[@]}"
    expect_text errors <<'END'
ERROR setPathOffline fail path [sdb] failed
ERROR setPathOnline reinstate path [sdb] failed
END
    same 0 "$(ran | grep -c path_state_record)"

    sim tool dravikd missing
    forget
    words mpatha sdb offline
    dravik 1 "${WORDS[@]}" <<<"$FAILED"
    expect_text errors <<'END'
ERROR exe_cmd Execute command [dravikd fail path sdb 2>&1] failed, exit code [127]
ERROR exe_cmd Error message: sh: line 1: dravikd: command not found
ERROR exeLiunxInfoCmd Command [dravikd fail path sdb] failed, exitcode:[127]
ERROR setPathOffline Execute command [dravikd fail path sdb] failed
END
    [[ ! -e $HOST/dumps/dravik_offline_paths ]]
}

@test "a daemon tool that is killed is a failed command, as the shell reports it, and nothing is recorded" {
    make_host --scenario "$SMALL"
    sim tool dravikd crash
    words mpatha sdb offline
    dravik 1 "${WORDS[@]}" <<<"$FAILED"
    same 'ERROR exeLiunxInfoCmd Command [dravikd fail path sdb] failed, exitcode:[139]' \
        "$(errors | grep exeLiunxInfoCmd)"
    same 0 "$(ran | grep -c path_state_record)"
}

@test "a record script that is missing does not matter" {
    make_host --scenario "$SMALL"
    sim tool path_state_record.sh missing
    words mpatha sdb offline
    succeeds "${WORDS[@]}"
    same 'failed faulty' "$(path_states sdb)"
}

@test "a multipath tool that is missing or prints half a listing" {
    make_host --scenario "$SMALL"
    sim tool velomux missing
    words mpatha sdb offline
    dravik 1 "${WORDS[@]}" <<<"$FAILED"
    same 'ERROR checkPathstateAndParam Query dravik information failed' "$(errors | tail -n 1)"
    sim tool velomux silent
    fails_with 'Error(0115): This path_alias [mpatha] does not exist.' "${WORDS[@]}"
    same 0 "$(ran | grep -c 'fail path')"
}

@test "of a name that matches over thirty characters only what the topology holds is sent" {
    local name=sdabcdefghijklmnopqrstuvwxyzab canary
    make_host --scenario "volume mpatha transport=none
  group prio=50
    path $name 1:0:0:1 8:16"
    canary=$HOST/canary
    # shellcheck disable=SC2016 # hostile text, not to be expanded
    words mpatha "$name"'$(touch /canary);`touch /canary`' offline
    succeeds "${WORDS[@]}"
    expect_text ran <<<"$QUERY
dravikd fail path $name 2>&1
bash /usr/bin/dravik-script/path_state_record.sh add $name 2>&1"
    [[ ! -e $canary ]]
}
