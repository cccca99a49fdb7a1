#!/usr/bin/env bats
# Paths taken offline by hand are recorded under a lasting name and brought back under their present one.

load ../support/simulated_host
load ../support/scripts_on_host

setup() { make_script_host --dumps; }

RECORD=/dumps/dravik_offline_paths
record() { cat "$HOST$RECORD"; }
daemon_calls() { calls | grep '^dravikd' || true; }

FC=pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1
VOLUME=naa.600b5d60001a2b3c0000000000000001

# wwid_of FOLDER: the WWID that the kernel gives there.
wwid_of() { cat "$HOST/sys/block/$1/wwid"; }

# The links that lead to NAME and OTHER change places, as after a renumbering.
swap_links() {
    local link
    for link in "$HOST"/dev/disk/by-path/*; do
        case $(readlink "$link") in
        "../../$1") ln -sfn "../../$2" "$link" ;;
        "../../$2") ln -sfn "../../$1" "$link" ;;
        esac
    done
}

@test "each kind of path is recorded under a name that lasts, in a file for root only" {
    for name in sdb sdf sdj sdm nvme0n1 nvme8n1; do
        run script path_state_record add "$name"
        answers 0 ""
    done
    sdf=$(find "$HOST/dev/disk/by-path" -name 'pci-*' -lname ../../sdf -printf %f)
    sdm=$(find "$HOST/dev/disk/by-path" -lname ../../sdm -printf %f)
    [[ $sdf == pci-*-fc-* && $sdm == pci-*-scsi-* ]]
    fc_port=$(sed 's/.*:pn-\(0x[0-9a-f]*\),.*/\1/' "$HOST/sys/block/nvme0n1/device/address")
    fc_key=traddr=nn-0x20d0000b5d6a2000:pn-$fc_port
    fc_key+=,host_traddr=nn-0x20000024ff5d6a10:pn-0x21000024ff5d6a10,nsid=1
    rdma=$(sed 's/traddr=\([0-9.]*\),.*/\1/' "$HOST/sys/block/nvme8n1/device/address")
    expect_text record <<END
scsi $FC $VOLUME sdb
scsi $sdf $(wwid_of sdf/device) sdf
scsi ip-192.168.1.10:3260-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-1 $(wwid_of sdj/device) sdj
scsi $sdm $(wwid_of sdm/device) sdm
nvme $fc_key $(wwid_of nvme0n1) nvme0n1
nvme traddr=$rdma,trsvcid=4420,nsid=1 $(wwid_of nvme8n1) nvme8n1
END
    same 600 "$(stat -c %a "$HOST$RECORD")"
}

@test "a missing /dumps is made for root only" {
    rmdir "$HOST/dumps"
    script path_state_record add sdb
    same "700 600" "$(stat -c %a "$HOST/dumps") $(stat -c %a "$HOST$RECORD")"
}

@test "a path is recorded once, and del takes it and no other out" {
    script path_state_record add sdb
    script path_state_record add sdc
    before=$(stat -c %i "$HOST$RECORD")
    script path_state_record add sdb
    same "$before" "$(stat -c %i "$HOST$RECORD")"
    script path_state_record del sdb
    expect_text record <<<"scsi pci-0000:05:00.1-fc-0x20d0000b5d6a1020-lun-1 $VOLUME sdc"
    script path_state_record del sdb
    script path_state_record del sdc
    expect_text record </dev/null
}

@test "a kernel that does not tell the WWID is no hindrance" {
    rm "$HOST/sys/block/sdb/device/wwid"
    script path_state_record add sdb
    expect_text record <<<"scsi $FC - sdb"
    run script run_all_offline_path
    answers 0 "sdb: online again"
}

@test "twelve calls at once lose nothing" {
    for name in sdb sdc sdd sde sdf sdg sdh sdi sdj sdk sdl sdm; do script path_state_record add "$name" & done
    wait
    same 12 "$(wc -l <"$HOST$RECORD")"
    for name in sdb sdc sdd sde sdf sdg sdh sdi sdj sdk sdl; do script path_state_record del "$name" & done
    wait
    same sdm "$(cut -d' ' -f4 "$HOST$RECORD")"
}

@test "a path without by-path link is recorded by its address, together with its WWID only" {
    rm "$HOST"/dev/disk/by-path/* "$HOST/sys/block/sdb/device/wwid"
    run script path_state_record add sdb
    answers 1 "path_state_record.sh: sdb: no path of this name has an address that outlives a renumbering"
    mkdir -p "$HOST/sys/devices/1:0:0:1/block/sdb" "$HOST/sys/bus/scsi"
    mv "$HOST"/sys/block/sdb/device/* "$HOST/sys/devices/1:0:0:1/"
    rmdir "$HOST/sys/block/sdb/device"
    ln -s ../../devices/1:0:0:1 "$HOST/sys/block/sdb/device"
    ln -s ../../devices "$HOST/sys/bus/scsi/devices"
    run script path_state_record add sdb
    answers 1 "path_state_record.sh: sdb: no path of this name has an address that outlives a renumbering"
    echo 't10.KORVEL  QVX 0001  ' >"$HOST/sys/devices/1:0:0:1/wwid"
    run script path_state_record add sdb
    answers 0 ""
    expect_text record <<<"hctl 1:0:0:1 t10.KORVEL__QVX_0001 sdb"
    run script run_all_offline_path
    answers 0 "sdb: online again"
    expect_text record </dev/null
}

@test "names that are no path's, and other arguments, change nothing" {
    # shellcheck disable=SC2016 # not to be expanded, by nobody
    for name in "" ../sdb /dev/sdb 'sd b' 'sd*' '$(reboot)' -sdb .; do
        run script path_state_record add "$name"
        answers 2 "path_state_record.sh: PATH must be the kernel's name of a path
usage: path_state_record.sh add PATH | path_state_record.sh del PATH"
    done
    for arguments in "" add "add sdb sdc" "drop sdb"; do
        # shellcheck disable=SC2086 # the words are the arguments
        run script path_state_record $arguments
        answers 2 "path_state_record.sh: wrong arguments
usage: path_state_record.sh add PATH | path_state_record.sh del PATH"
    done
    run script path_state_record del sdzz
    answers 1 "path_state_record.sh: sdzz: no path of this name has an address that outlives a renumbering"
    [[ ! -e $HOST$RECORD ]]
}

@test "all recorded paths come back through the daemon and are dropped" {
    for name in sdb sdd nvme0n1; do
        in_host dravikd fail path "$name"
        script path_state_record add "$name"
    done
    forget
    run script run_all_offline_path
    answers 0 "sdb: online again
sdd: online again
nvme0n1: online again"
    expect_text record </dev/null
    expect_text daemon_calls <<'END'
dravikd reinstate path sdb
dravikd reinstate path sdd
dravikd reinstate path nvme0n1
END
    same "" "$(sim listing | grep -w failed)"
}

@test "nothing recorded: nothing is done and nothing is said" {
    run script run_all_offline_path
    answers 0 ""
    expect_text daemon_calls </dev/null
    run script run_all_offline_path now
    answers 2 "run_all_offline_path.sh: takes no arguments
usage: run_all_offline_path.sh"
}

@test "a path that was renumbered comes back under its present name" {
    script path_state_record add sdb
    script path_state_record add nvme0n1
    swap_links sdb sdd
    mv "$HOST/sys/block/nvme0n1" "$HOST/sys/block/gone"
    mv "$HOST/sys/block/nvme1n1" "$HOST/sys/block/nvme0n1"
    mv "$HOST/sys/block/gone" "$HOST/sys/block/nvme1n1"
    run script run_all_offline_path
    answers 0 "sdd: online again
nvme1n1: online again"
    expect_text record </dev/null
}

@test "paths that are not there or that the daemon refuses stay recorded" {
    script path_state_record add sdb
    script path_state_record add sdc
    script path_state_record add sdd
    rm "$HOST/dev/disk/by-path/$FC"
    # The daemon knows sdc no more, the kernel still does.
    sed -i '/^ *path sdc /d' "$HOST/sim/state"
    run script run_all_offline_path
    answers 1 "$FC (was sdb): not here now; it stays recorded
sdc: the daemon could not bring it back; it stays recorded
sdd: online again"
    expect_text record <<END
scsi $FC $VOLUME sdb
scsi pci-0000:05:00.1-fc-0x20d0000b5d6a1020-lun-1 $VOLUME sdc
END
}

@test "another volume where the recorded one was is not brought back for it" {
    echo naa.60b5d60001a2b3c1 >"$HOST/sys/block/sdb/device/wwid"
    script path_state_record add sdb
    echo naa.60b5d60001a2b3c2 >"$HOST/sys/block/sdb/device/wwid"
    run script run_all_offline_path
    answers 0 "$FC (was sdb): not here now; it stays recorded"
    expect_text daemon_calls </dev/null
    expect_text record <<<"scsi $FC naa.60b5d60001a2b3c1 sdb"
}

@test "two namespaces of one controller are two paths" {
    cp "$HOST/sys/block/nvme0n1/device/address" "$HOST/sys/block/nvme1n1/device/address"
    echo 1 >"$HOST/sys/block/nvme0n1/nsid"
    echo 2 >"$HOST/sys/block/nvme1n1/nsid"
    script path_state_record add nvme0n1
    script path_state_record add nvme1n1
    script path_state_record del nvme0n1
    same nvme1n1 "$(cut -d' ' -f4 "$HOST$RECORD")"
    run script run_all_offline_path
    answers 0 "nvme1n1: online again"
}

@test "a daemon that does not answer is not asked for the rest" {
    script path_state_record add sdb
    script path_state_record add sdc
    before=$(record)
    set_limit run_all_offline_path ANSWER_SECONDS 1
    sim tool dravikd hang
    run script run_all_offline_path
    answers 1 "run_all_offline_path.sh: sdb: the daemon does not answer; this and all further paths stay recorded"
    same "$before" "$(record)"
    expect_text daemon_calls <<<"dravikd reinstate path sdb"
}

@test "a daemon that is stopped, crashes or talks rubbish costs no record" {
    script path_state_record add sdb
    before=$(record)
    for fault in crash fail missing; do
        sim tool dravikd "$fault"
        run script run_all_offline_path
        answers 1 "sdb: the daemon could not bring it back; it stays recorded"
        sim tool dravikd ok
    done
    same "$before" "$(record)"
}

@test "lines that are no record are said and kept" {
    script path_state_record add sdb
    printf 'rubbish\nscsi ../../../etc/passwd - sdx\nscsi a b c d\nusb x - sdx\n' >>"$HOST$RECORD"
    run script run_all_offline_path
    answers 0 "sdb: online again
not understood, kept: rubbish
not understood, kept: scsi ../../../etc/passwd - sdx
not understood, kept: scsi a b c d
not understood, kept: usb x - sdx"
    expect_text record <<'END'
rubbish
scsi ../../../etc/passwd - sdx
scsi a b c d
usb x - sdx
END
}

@test "a record that others may have put there is not read, and nothing is written" {
    script path_state_record add sdb
    record >"$HOST/theirs"
    local name='path_state_record.sh' plant
    for plant in 'ln -s ../theirs' 'ln -s ../nothing' 'ln ../theirs' mkfifo mkdir; do
        rm -rf "$HOST$RECORD"
        # shellcheck disable=SC2086 # a command and its words
        (cd "$HOST/dumps" && $plant dravik_offline_paths)
        run script path_state_record add sdc
        answers 1 "$name: $RECORD is no regular file of ours with one name; take it away"
        run script run_all_offline_path
        answers 1 "run_all_offline_path.sh: $RECORD is no regular file of ours with one name; take it away"
    done
    same sdb "$(cut -d' ' -f4 "$HOST/theirs")"
    [[ ! -e $HOST/nothing ]]
    expect_text daemon_calls </dev/null
}

@test "a /dumps in which others may write is not used" {
    for mode in 777 1777 720 702; do
        chmod "$mode" "$HOST/dumps"
        run script path_state_record add sdb
        answers 1 "path_state_record.sh: /dumps is not ours alone: give it to root and let nobody else write there"
        run script run_all_offline_path
        answers 1 "run_all_offline_path.sh: /dumps is not ours alone: give it to root and let nobody else write there"
    done
    same "" "$(ls -A "$HOST/dumps")"
    rmdir "$HOST/dumps"
    mkdir -m 777 "$HOST/theirs"
    ln -s theirs "$HOST/dumps"
    run script path_state_record add sdb
    answers 1 "path_state_record.sh: /dumps is not ours alone: give it to root and let nobody else write there"
    same "" "$(ls -A "$HOST/theirs")"
}

@test "a full /dumps leaves the record as it was" {
    script path_state_record add sdb
    before=$(record)
    sim fill-disk
    run script path_state_record add sdc
    # Before it stands what the copying tool says.
    same 1 "$status"
    same "path_state_record.sh: cannot write $RECORD (is the disk full or read-only?); it is left as it was" \
        "${lines[1]}"
    sim free-disk
    same "$before" "$(record)"
    same dravik_offline_paths "$(ls -A "$HOST/dumps")"
}
