# The simulated host itself: what its tools print, what its faults do, what it is to the programs inside.

load ../support/simulated_host
load ../support/session

setup() { make_empty_host; }

# The listing of the default scenario.
default_listing() {
    cat <<'END'
Dec 06 10:15:02 | /etc/velomux.conf line 4, invalid keyword: poll_quietly
mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
size=100G features='0' hwhandler='0' wp=rw
|-+- policy='service-time 0' prio=50 status=active
| |- 1:0:0:1 sdb 8:16 active ready running
| `- 2:0:0:1 sdc 8:32 active ready running
`-+- policy='service-time 0' prio=10 status=enabled
  |- 1:0:1:1 sdd 8:48 active ready running
  `- 2:0:1:1 sde 8:64 active ready running
mpathb (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
size=50G features='0' hwhandler='0' wp=rw
`-+- policy='queue-length 0' prio=50 status=active
  |- 1:0:0:2 sdf 8:80 active ready running
  `- 2:0:0:2 sdg 8:96 active ready running
3600b5d60001a2b3c0000000000000003 dm-2 KORVEL  ,QVX  
size=1.0T features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:3 sdh 8:112 active ready running
  `- 2:0:0:3 sdi 8:128 active ready running
mpathc (3600b5d60001a2b3c0000000000000004) dm-3 KORVEL  ,QVX
size=20G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 4:0:0:1 sdj 8:144 active ready running
  `- 5:0:0:1 sdk 8:160 active ready running
mpathd (3600b5d60001a2b3c0000000000000005) dm-4 KORVEL  ,QVX
size=20G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  `- 4:0:0:2 sdl 8:176 active ready running
Dec 06 10:15:02 | sdzz: the array did not answer in time
mpathe (3600b5d60001a2b3c0000000000000006) dm-5 KORVEL  ,QVX
size=5.0G features='0' hwhandler='0' wp=rw
`-+- policy='round-robin 0' prio=50 status=active
  |- 0:0:0:1 sdm 8:192 active ready running
  `- 0:0:1:1 sdn 8:208 active ready running
foreign (36fedcba9000000000000000000000049) dm-6 OTHERCO ,ARRAY 9000
size=8.0G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:4 sdo 8:224 active ready running
  `- 2:0:0:4 sdp 8:240 active ready running
nvmea (eui.6a1010000b5d6a100000000000000008) dm-7 NVME    ,KORVELQVX
size=200G features='0' hwhandler='0' wp=rw
|-+- policy='service-time 0' prio=50 status=active
| |- 0:1:1:1 nvme0n1 259:0 active ready running
| `- 1:1:1:1 nvme1n1 259:1 active ready running
`-+- policy='service-time 0' prio=10 status=enabled
  |- 2:1:1:1 nvme2n1 259:2 active ready running
  `- 3:1:1:1 nvme3n1 259:3 active ready running
nvmeb (eui.6a1010000b5d6a100000000000000009) dm-8 NVME    ,KORVELQVX
size=200G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 8:1:1:1 nvme8n1 259:4 active ready running
  `- 9:1:1:1 nvme9n1 259:5 active ready running
nvmec (eui.6a1010000b5d6a10000000000000000a) dm-9 NVME    ,KORVELQVX
size=200G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 16:1:1:1 nvme16n1 259:6 active ready running
  `- 17:1:1:1 nvme17n1 259:7 active ready running
hwdata (36a08cf2100b1c2d30000000100000007) dm-10 HUAWEI  ,XSG1
size=30G features='0' hwhandler='0' wp=rw
`-+- policy='round-robin 0' prio=50 status=active
  |- 1:0:0:5 sdq 65:0  active ready running
  `- 2:0:0:5 sdr 65:16 active ready running
rldata (360060e8007c3b1000030c3b100000042) dm-11 HITACHI ,OPEN-V
size=30G features='0' hwhandler='0' wp=rw
`-+- policy='round-robin 0' prio=50 status=active
  |- 1:0:0:6 sds 65:32 active ready running
  `- 2:0:0:6 sdt 65:48 active ready running
END
}

# What a change made of the default listing: the lines that went and came.
listing_change() { diff <(default_listing) <(in_host velomux -ll) | grep '^[<>]' || true; }

# ---- the multipath tool

@test "the listing of the default scenario, byte for byte" {
    same "$(default_listing && echo .)" "$(in_host velomux -ll && echo .)"
}

# What mpathd is called: by its alias, its WWID, the array, its map, the nodes of the map.
NAMES='mpathd 3600b5d60001a2b3c0000000000000005 vol_web dm-4 /dev/dm-4 /dev/mapper/mpathd
    /dev/mapper/3600b5d60001a2b3c0000000000000005'

# What is no name of any volume.
NO_NAMES='nobody mpath mpathdd dm dm- dm-04 /dev/mpathd /dev/mapper/dm-4 /dev/mapper/- /dev/mapper/ /dev/ -'

@test "one map is listed by every name of its volume and by every name of its paths; an unknown one not at all" {
    local name expected
    expected=$(default_listing | sed -n '/^mpathd/,/sdl/p')
    for name in $NAMES sdl /dev/sdl 8:176; do
        same "$name: $expected" "$name: $(in_host velomux -ll "$name")"
    done
    for name in $NO_NAMES sd /dev/mapper/sdl 8:17; do
        same "$name: " "$name: $(in_host velomux -ll "$name")"
    done
}

@test "every command that changes a volume takes each of its names, and no other name" {
    local name listing
    listing=$(default_listing)
    for name in $NAMES; do
        sim set-policy "$name" 'queue-length 0'
        sim resize "$name" 40G
        expect_text listing_change <<'END'
< size=20G features='0' hwhandler='0' wp=rw
< `-+- policy='service-time 0' prio=50 status=active
> size=40G features='0' hwhandler='0' wp=rw
> `-+- policy='queue-length 0' prio=50 status=active
END
        sim set-policy "$name" 'service-time 0'
        sim resize "$name" 20G
        sim unmap "$name"
        same "$(sed '/^mpathd/,/sdl/d' <<<"$listing")" "$(in_host velomux -ll)"
        sim map "$name"
        in_host velomux -f "$name"
        same "$(sed '/^mpathd/,/sdl/d' <<<"$listing")" "$(in_host velomux -ll)"
        in_host velomux -r
        same "$listing" "$(in_host velomux -ll)"
    done
    for name in $NO_NAMES sdl; do
        run sim resize "$name" 40G
        same "1simhost: there is no volume $name" "$status$output"
        run in_host velomux -f "$name"
        same "1$name is not a valid argument" "$status$output"
    done
    same "$listing" "$(in_host velomux -ll)"
}

@test "a name with a blank and an alias of digits mean their own volume alone, and a dash none" {
    sim vdisk-name mpathd 'my web'
    sim rename mpathc 1e1
    expect_session <<'END'
sim> resize 'my web' 21G
host> velomux -ll 'my web'
mpathd (3600b5d60001a2b3c0000000000000005) dm-4 KORVEL  ,QVX
size=21G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  `- 4:0:0:2 sdl 8:176 active ready running
host> velomux -ll 10
host> velomux -ll 1e1
1e1 (3600b5d60001a2b3c0000000000000004) dm-3 KORVEL  ,QVX
size=20G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 4:0:0:1 sdj 8:144 active ready running
  `- 5:0:0:1 sdk 8:160 active ready running
sim> vdisk-name 1e1 -
sim> resize - 22G
simhost: there is no volume -
[1]
host> velomux -ll /dev/mapper/3600b5d60001a2b3c0000000000000003
3600b5d60001a2b3c0000000000000003 dm-2 KORVEL  ,QVX  
size=1.0T features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:3 sdh 8:112 active ready running
  `- 2:0:0:3 sdi 8:128 active ready running
END
}

@test "a map is flushed once, not while it is in use, and comes back with a reload" {
    sim in-use mpathb on
    run in_host velomux -f /dev/dm-1
    same 1 "$status"
    same "/dev/dm-1: map in use" "${output#* | }"
    sim in-use mpathb off
    run in_host velomux -f /dev/dm-1
    same 0 "$status"
    [ ! -e "$HOST/dev/dm-1" ]
    [ ! -L "$HOST/dev/mapper/mpathb" ]
    [ -e "$HOST/dev/sdf" ]
    same "" "$(in_host velomux -ll mpathb)"
    run in_host velomux -f /dev/dm-1
    same 1 "$status"
    same "/dev/dm-1 is not a valid argument" "$output"
    in_host velomux -r
    same "$(default_listing)" "$(in_host velomux -ll)"
    [ -e "$HOST/dev/dm-1" ]
    same 1 "$(wc -l <"$HOST/sim/reloads")"
}

@test "a path deleted through sysfs is gone from the next listing, with its files" {
    in_host sh -c 'echo 1 >/sys/block/sdf/device/delete'
    expect_text listing_change <<'END'
<   |- 1:0:0:2 sdf 8:80 active ready running
END
    [ ! -e "$HOST/sys/block/sdf" ]
    [ ! -e "$HOST/dev/sdf" ]
    same "" "$(find "$HOST/dev/disk/by-path" -lname '*/sdf')"
    same 2 "$(find "$HOST/dev/disk/by-path" -lname '*/sdg' | wc -l)"
    in_host sh -c 'echo "- - -" >/sys/class/scsi_host/host1/scan'
    expect_text listing_change </dev/null
    [ -e "$HOST/sys/block/sdf/device/delete" ]
}

@test "paths deleted at once go together, also one without a link and one that is scanned for in between" {
    make_empty_host_at bare --scenario 'volume mpatha transport=none tree=yes paths=3'
    in_host sh -c 'for path in xb xc; do echo 1 >/sys/block/$path/device/delete; done'
    expect_session <<'END'
host> velomux -ll
mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
size=10G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  `- 1:0:0:1 xa 240:0 active ready running
host> ls /sys/block
dm-0
xa
host> echo 1 >/sys/block/xa/device/delete; echo '- - -' >/sys/class/scsi_host/host1/scan
host> velomux -ll
mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
size=10G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:1 xa 240:0 active ready running
  |- 2:0:0:1 xb 240:1 active ready running
  `- 1:0:1:1 xc 240:2 active ready running
host> ls /sys/block
dm-0
xa
xb
xc
END
}

@test "a state written to sysfs is the online state" {
    in_host sh -c 'echo offline >/sys/block/sdf/device/state'
    expect_text listing_change <<'END'
<   |- 1:0:0:2 sdf 8:80 active ready running
>   |- 1:0:0:2 sdf 8:80 failed faulty offline
END
    in_host sh -c 'echo running >/sys/block/sdf/device/state'
    expect_text listing_change </dev/null
}

@test "the daemon fails and reinstates paths, and refuses what it does not know" {
    same ok "$(in_host dravikd fail path sdc)"
    expect_text listing_change <<'END'
< | `- 2:0:0:1 sdc 8:32 active ready running
> | `- 2:0:0:1 sdc 8:32 failed faulty running
END
    same ok "$(in_host dravikd reinstate path sdc)"
    expect_text listing_change </dev/null
    same fail "$(in_host dravikd fail path sdzz)"
    in_host systemctl stop dravikd
    run in_host dravikd fail path sdc
    same 1 "$status"
    same "ux_socket_connect: Connection refused" "$output"
}

@test "aliases of the configuration are taken up by a reload and dropped with it" {
    printf 'multipaths {\n  multipath {\n    wwid 3600b5d60001a2b3c0000000000000002\n    alias "data one"\n  }\n}\n' |
        tr -d '"' | sed 's/data one/data1/' >"$HOST/etc/velomux.conf"
    expect_text listing_change </dev/null
    in_host systemctl reload dravikd.service
    expect_text listing_change <<'END'
< mpathb (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
> data1 (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
END
    same ../dm-1 "$(readlink "$HOST/dev/mapper/data1")"
    same data1 "$(<"$HOST/sys/block/dm-1/dm/name")"
    echo '# multipath { wwid 3600b5d60001a2b3c0000000000000002 alias data2 }' >"$HOST/etc/velomux.conf"
    in_host velomux -r
    expect_text listing_change </dev/null
    echo 'multipaths {multipath {alias "quoted" wwid "3600b5d60001a2b3c0000000000000003"}}' >"$HOST/etc/velomux.conf"
    in_host dravikd reconfigure
    expect_text listing_change <<'END'
< 3600b5d60001a2b3c0000000000000003 dm-2 KORVEL  ,QVX  
> quoted (3600b5d60001a2b3c0000000000000003) dm-2 KORVEL  ,QVX  
END
}

@test "a reload leaves what keeps its name as it is, and lets two volumes change names" {
    local before
    echo changed >"$HOST/sys/block/sdb/device/wwid"
    before=$(cd "$HOST" && find dev sys -not -path '*mpath[ab]*' -not -path '*/dm-[01]/dm*' -printf '%p %i %l\n' | sort)
    cat >"$HOST/etc/velomux.conf" <<'END'
multipaths {
    multipath {
        wwid 3600b5d60001a2b3c0000000000000001
        alias mpathb
    }
    multipath {
        wwid 3600b5d60001a2b3c0000000000000002
        alias mpatha
    }
}
END
    in_host velomux -r
    expect_text listing_change <<'END'
< mpatha (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
> mpathb (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
< mpathb (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
> mpatha (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
END
    same "../dm-1 ../dm-0" "$(readlink "$HOST/dev/mapper/mpatha") $(readlink "$HOST/dev/mapper/mpathb")"
    same "mpathb mpatha" "$(<"$HOST/sys/block/dm-0/dm/name") $(<"$HOST/sys/block/dm-1/dm/name")"
    same "$before" "$(cd "$HOST" &&
        find dev sys -not -path '*mpath[ab]*' -not -path '*/dm-[01]/dm*' -printf '%p %i %l\n' | sort)"
}

@test "an alias that would lead out of its folder has no file anywhere" {
    printf 'multipaths { multipath { wwid 3600b5d60001a2b3c0000000000000002 alias %s } }\n' ../../etc/gone \
        >"$HOST/etc/velomux.conf"
    echo kept >"$HOST/etc/gone"
    in_host velomux -r
    same '../../etc/gone (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX' "$(in_host velomux -ll dm-1 | head -n 1)"
    same kept "$(<"$HOST/etc/gone")"
    same "" "$(find "$HOST/dev" -lname '*dm-1')"
    sim unmap dm-1
    same kept "$(<"$HOST/etc/gone")"
}

@test "every call of a stand-in is one line, also when many run at once" {
    # shellcheck disable=SC2016 # for the shell inside
    in_host sh -c 'for i in 1 2 3 4 5 6 7 8; do (for j in 1 2 3 4 5; do velomux -ll $i.$j >/dev/null; done) & done; wait'
    same "$(for i in 1 2 3 4 5 6 7 8; do for j in 1 2 3 4 5; do echo "velomux -ll $i.$j"; done; done)" "$(calls | sort)"
}

@test "command lines that a program hands to the shell are recorded" {
    in_host sh -c 'velomux -ll 2> /dev/null | wc -l' >/dev/null
    expect_text shells <<'END'
velomux -ll 2> /dev/null | wc -l
END
}

# ---- the array and its fabric

@test "a failed path shows, and its group only when it was the last one" {
    sim fail-path sdb
    expect_text listing_change <<'END'
< | |- 1:0:0:1 sdb 8:16 active ready running
> | |- 1:0:0:1 sdb 8:16 failed faulty running
END
    sim fail-path sdc failed faulty offline
    expect_text listing_change <<'END'
< |-+- policy='service-time 0' prio=50 status=active
< | |- 1:0:0:1 sdb 8:16 active ready running
< | `- 2:0:0:1 sdc 8:32 active ready running
< `-+- policy='service-time 0' prio=10 status=enabled
> |-+- policy='service-time 0' prio=0 status=enabled
> | |- 1:0:0:1 sdb 8:16 failed faulty running
> | `- 2:0:0:1 sdc 8:32 failed faulty offline
> `-+- policy='service-time 0' prio=10 status=active
END
    same offline "$(<"$HOST/sys/block/sdc/device/state")"
    sim restore-path sdb
    sim restore-path sdc
    same running "$(<"$HOST/sys/block/sdc/device/state")"
    expect_text listing_change </dev/null
    run sim fail-path sdzz
    same 1 "$status"
    same "simhost: there is no path sdzz" "$output"
}

@test "a failed port takes all its paths along" {
    sim fail-port 192.168.1.10:3260
    expect_text listing_change <<'END'
<   |- 4:0:0:1 sdj 8:144 active ready running
>   |- 4:0:0:1 sdj 8:144 failed faulty running
END
    sim restore-port 192.168.1.10:3260
    sim fail-port 0x20d0000b5d6a1011
    same 6 "$(in_host velomux -ll | grep -c 'failed faulty running')"
    sim restore-port 0x20d0000b5d6a1011
    expect_text listing_change </dev/null
}

@test "an unmapped volume is gone with all its files, and the same when it is mapped again" {
    local before
    before=$(cd "$HOST" && find dev sys sim/array | sort)
    sim unmap mpathb
    same "$(default_listing | sed '/^mpathb/,/sdg/d')" "$(in_host velomux -ll)"
    same "" "$(cd "$HOST" && find dev sys sim/array -name 'sd[fg]' -o -name dm-1 -o -name mpathb -o -lname '*/sd[fg]')"
    sim map mpathb
    expect_text listing_change </dev/null
    same "$before" "$(cd "$HOST" && find dev sys sim/array | sort)"
}

@test "a volume that is unmapped without a rescan stays with dead paths until they are deleted" {
    sim unmap mpathb --stale
    expect_text listing_change <<'END'
< `-+- policy='queue-length 0' prio=50 status=active
<   |- 1:0:0:2 sdf 8:80 active ready running
<   `- 2:0:0:2 sdg 8:96 active ready running
> `-+- policy='queue-length 0' prio=0 status=enabled
>   |- 1:0:0:2 sdf 8:80 failed faulty running
>   `- 2:0:0:2 sdg 8:96 failed faulty running
END
    in_host sh -c 'echo 1 >/sys/block/sdf/device/delete; echo 1 >/sys/block/sdg/device/delete; velomux -f mpathb'
    sim rescan
    in_host velomux -r
    same "$(default_listing | sed '/^mpathb/,/sdg/d')" "$(in_host velomux -ll)"
    sim map mpathb
    expect_text listing_change </dev/null
}

@test "a new volume gets the next free names, at once or with the next scan" {
    sim map fresh paths=4 groups=2 size=7G
    expect_text listing_change <<'END'
> fresh (3600b5d60001a2b3c000000000000000d) dm-12 KORVEL  ,QVX
> size=7G features='0' hwhandler='0' wp=rw
> |-+- policy='service-time 0' prio=50 status=active
> | |- 1:0:0:7 sdu 65:64  active ready running
> | `- 2:0:0:7 sdv 65:80  active ready running
> `-+- policy='service-time 0' prio=10 status=enabled
>   |- 1:0:1:7 sdw 65:96  active ready running
>   `- 2:0:1:7 sdx 65:112 active ready running
END
    sim unmap fresh
    sim map later paths=1 --at-scan
    expect_text listing_change </dev/null
    in_host sh -c 'echo "- - -" >/sys/class/scsi_host/host1/scan'
    expect_text listing_change <<'END'
> later (3600b5d60001a2b3c000000000000000e) dm-13 KORVEL  ,QVX
> size=10G features='0' hwhandler='0' wp=rw
> `-+- policy='service-time 0' prio=50 status=active
>   `- 1:0:0:8 sdy 65:128 active ready running
END
}

@test "alias, size, selector, group and name on the array change on command" {
    sim rename mpathd web
    sim resize web 40G
    sim set-policy web 'queue-length 0'
    sim set-group web 1 prio=7 status=undef
    sim vdisk-name web 'my web'
    expect_text listing_change <<'END'
< mpathd (3600b5d60001a2b3c0000000000000005) dm-4 KORVEL  ,QVX
< size=20G features='0' hwhandler='0' wp=rw
< `-+- policy='service-time 0' prio=50 status=active
> web (3600b5d60001a2b3c0000000000000005) dm-4 KORVEL  ,QVX
> size=40G features='0' hwhandler='0' wp=rw
> `-+- policy='queue-length 0' prio=7 status=undef
END
    same "vdisk my web" "$(head -n 1 "$HOST/sim/array/dm-4")"
    run sim rename nobody x
    same 1 "$status"
    same "simhost: there is no volume nobody" "$output"
}

# links_of NAME: the by-path links of the host NAME as a program in it lists them, each with its target.
links_of() { "$SIMHOST" "$BATS_TEST_TMPDIR/$1" run ls -l /dev/disk/by-path/ | awk 'NR > 1 { print $9, $11 }'; }

@test "by-path links have the shape of each transport" {
    expect_text links_of host <<'END'
fc-0x21000024ff5d6a11-0x20d0000b5d6a1010-lun-2 ../../sdf
fc-0x21000024ff5d6a12-0x20d0000b5d6a1011-lun-2 ../../sdg
ip-192.168.1.10:3260-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-1 ../../sdj
ip-192.168.1.10:3261-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-2 ../../sdl
ip-192.168.2.10:3260-iscsi-iqn.2010-06.com.korvel:qvx.6a10-lun-1 ../../sdk
pci-0000:03:00.0-scsi-0:0:0:1 ../../sdm
pci-0000:03:00.0-scsi-0:0:1:1 ../../sdn
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 ../../sdb
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-2 ../../sdf
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-3 ../../sdh
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-4 ../../sdo
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-5 ../../sdq
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-6 ../../sds
pci-0000:05:00.0-fc-0x20d0000b5d6a1011-lun-1 ../../sdd
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-2 ../../sdg
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-3 ../../sdi
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-4 ../../sdp
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-5 ../../sdr
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-6 ../../sdt
pci-0000:05:00.1-fc-0x20d0000b5d6a1020-lun-1 ../../sdc
pci-0000:05:00.1-fc-0x20d0000b5d6a1021-lun-1 ../../sde
END
}

@test "every path of a volume with many FC paths has a port, and so a link, of its own" {
    make_empty_host_at eight --scenario 'many volumes=2 paths=8 transport=fc'
    expect_text links_of eight <<'END'
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-1 ../../sdb
pci-0000:05:00.0-fc-0x20d0000b5d6a1010-lun-2 ../../sdj
pci-0000:05:00.0-fc-0x20d0000b5d6a1020-lun-1 ../../sdd
pci-0000:05:00.0-fc-0x20d0000b5d6a1020-lun-2 ../../sdl
pci-0000:05:00.0-fc-0x20d0000b5d6a1030-lun-1 ../../sdf
pci-0000:05:00.0-fc-0x20d0000b5d6a1030-lun-2 ../../sdn
pci-0000:05:00.0-fc-0x20d0000b5d6a1040-lun-1 ../../sdh
pci-0000:05:00.0-fc-0x20d0000b5d6a1040-lun-2 ../../sdp
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-1 ../../sdc
pci-0000:05:00.1-fc-0x20d0000b5d6a1011-lun-2 ../../sdk
pci-0000:05:00.1-fc-0x20d0000b5d6a1021-lun-1 ../../sde
pci-0000:05:00.1-fc-0x20d0000b5d6a1021-lun-2 ../../sdm
pci-0000:05:00.1-fc-0x20d0000b5d6a1031-lun-1 ../../sdg
pci-0000:05:00.1-fc-0x20d0000b5d6a1031-lun-2 ../../sdo
pci-0000:05:00.1-fc-0x20d0000b5d6a1041-lun-1 ../../sdi
pci-0000:05:00.1-fc-0x20d0000b5d6a1041-lun-2 ../../sdq
END
    make_empty_host_at thirty --scenario 'volume mpatha paths=40'
    same 40 "$(links_of thirty | wc -l)"
}

@test "sysfs has the attributes of each transport" {
    local file
    for file in nvme0n1/device/transport nvme0n1/device/address nvme8n1/device/transport nvme8n1/device/address \
        nvme16n1/device/transport nvme16n1/device/address nvme0n1/nsid nvme0n1/wwid sdb/device/state \
        sdb/device/wwid dm-0/dm/name; do
        echo "$file: $(<"$HOST/sys/block/$file")"
    done >"$BATS_TEST_TMPDIR/attributes"
    expect_text cat "$BATS_TEST_TMPDIR/attributes" <<'END'
nvme0n1/device/transport: fc
nvme0n1/device/address: traddr=nn-0x20d0000b5d6a2000:pn-0x20d0000b5d6a2010,host_traddr=nn-0x20000024ff5d6a10:pn-0x21000024ff5d6a10
nvme8n1/device/transport: rdma
nvme8n1/device/address: traddr=192.168.1.20,trsvcid=4420,src_addr=192.168.1.2
nvme16n1/device/transport: tcp
nvme16n1/device/address: traddr=192.168.1.30,trsvcid=4420,src_addr=192.168.1.2
nvme0n1/nsid: 1
nvme0n1/wwid: eui.6a1010000b5d6a100000000000000008
sdb/device/state: running
sdb/device/wwid: naa.600b5d60001a2b3c0000000000000001
dm-0/dm/name: mpatha
END
}

# ---- broken tools

@test "every fault of a tool is as its name says, and ok ends it" {
    local whole half
    whole=$(default_listing)
    printf 'one\ntwo\n' >"$BATS_TEST_TMPDIR/text"
    expect_session <<END
sim> tool velomux silent
host> velomux -ll
sim> tool velomux rubbish
host> velomux -ll | cat -v
x^AM-^?
@@@ 0xdeadbeef ,,, ((((
|
  \`- nothing here is a path
size=
policy='

sim> tool velomux fail 3
host> velomux -ll
velomux: error
[3]
sim> tool velomux missing
host> velomux -ll
sh: line 1: velomux: command not found
[127]
sim> tool velomux says $BATS_TEST_TMPDIR/text 4
host> velomux -ll
one
two
[4]
sim> tool velomux ok
host> velomux -ll
$whole
sim> tool velomux sulk
simhost: tool: TOOL and one of ok hang crash rubbish half silent fail missing slow huge says
[1]
sim> tool nobody hang
simhost: the host has no tool nobody
[1]
END
    sim tool velomux half
    half=$(in_host velomux -ll && echo .)
    same "${whole:0:${#whole}/2}." "$half"
    sim tool velomux crash
    run in_host velomux -ll
    same 139 "$status"
    sim tool velomux hang
    run timeout 0.5 "$SIMHOST" "$HOST" run velomux -ll
    same 124 "$status"
    sim tool velomux huge
    same "$whole" "$(in_host velomux -ll | head -n "$(wc -l <<<"$whole")")"
    [ "$(in_host velomux -ll | wc -c)" -gt 5242880 ]
    sim tool velomux ok
    same "$whole" "$(in_host velomux -ll)"
}

@test "a script of the product breaks as a tool does, and runs among its own modules behind the fault" {
    mkdir -p "$HOST/usr/bin/dravik-script/lib"
    echo 'echo "module"' >"$HOST/usr/bin/dravik-script/lib/module.sh"
    # shellcheck disable=SC2016 # the text is a script
    printf '%s\n' 'source "$(dirname "${BASH_SOURCE[0]}")/lib/module.sh"' 'echo "$0 $*"' \
        >"$HOST/usr/bin/dravik-script/x.sh"
    sim tool /usr/bin/dravik-script/x.sh slow 100
    run in_host bash /usr/bin/dravik-script/x.sh a b
    same "module
/sim/tools/usr/bin/dravik-script/x.sh a b" "$output"
    sim tool x.sh fail
    run in_host bash /usr/bin/dravik-script/x.sh
    same "1x.sh: error" "$status$output"
    sim tool x.sh ok
    run in_host bash /usr/bin/dravik-script/x.sh
    same "module
/usr/bin/dravik-script/x.sh " "$output"
}

# ---- services and generations

@test "systemctl keeps and tells the daemon's state" {
    expect_session <<'END'
host> systemctl status dravikd.service
● dravikd.service - Device-Mapper Multipath Device Controller
   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled; vendor preset: enabled)
   Active: active (running) since Mon 2021-12-06 10:15:02 UTC; 1min 2s ago
 Main PID: 1234 (dravikd)
host> systemctl stop dravikd.service
host> systemctl status dravikd.service
● dravikd.service - Device-Mapper Multipath Device Controller
   Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled; vendor preset: enabled)
   Active: inactive (dead)
[3]
host> systemctl reload dravikd.service
dravikd.service is not active, cannot reload.
[1]
host> systemctl start dravikd.service
host> systemctl is-active dravikd
active
host> systemctl is-enabled dravikd.service
enabled
host> systemctl disable dravikd.service
host> systemctl is-enabled dravikd.service
disabled
[1]
host> systemctl enable dravikd.service
host> systemctl is-enabled dravikd.service
enabled
host> systemctl status other.service
Unit other.service could not be found.
[4]
END
}

@test "service and chkconfig keep and tell the daemon's state on the older systems" {
    make_empty_host_at old --generation rhel6
    expect_session <<'END'
host> service dravikd status
dravikd (pid  1234) is running...
host> service dravikd stop
Stopping dravikd daemon:                                 [  OK  ]
host> service dravikd status
dravikd is stopped
[3]
host> /etc/init.d/dravikd start
Starting dravikd daemon:                                 [  OK  ]
host> service dravikd reload
Reloading dravikd:                                       [  OK  ]
host> chkconfig dravikd --list
dravikd        	0:off	1:off	2:on	3:on	4:on	5:on	6:off
host> chkconfig dravikd off
host> chkconfig dravikd --list
dravikd        	0:off	1:off	2:off	3:off	4:off	5:off	6:off
host> service nobody status
nobody: unrecognized service
[1]
END
    make_empty_host_at suse --generation sles11sp4
    expect_session <<'END'
host> service dravikd status
Checking for dravikd: running
host> service dravikd stop
Stopping dravikd daemon:                                 [  OK  ]
host> service dravikd status
Checking for dravikd: unused
[3]
END
}

# generation_texts: of every generation that there is, the release files, the kernel release and the service tools.
generation_texts() {
    local generation name
    for generation in $("$SIMHOST" generations); do
        make_empty_host_at "$generation" --generation "$generation"
        echo "== $generation"
        for name in oracle-release redhat-release SuSE-release os-release; do
            [[ ! -e $HOST/etc/$name ]] || sed "s/^/$name: /" "$HOST/etc/$name"
        done
        in_host uname -r
        for name in systemctl service chkconfig; do
            ! in_host which $name >/dev/null || echo "$name"
        done
    done
}

@test "every generation has its release files, its kernel and its service tools" {
    expect_text generation_texts <<'END'
== rhel6
redhat-release: Red Hat Enterprise Linux Server release 6.10 (Santiago)
2.6.32-754.el6.x86_64
service
chkconfig
== rhel7
redhat-release: Red Hat Enterprise Linux Server release 7.9 (Maipo)
os-release: NAME="Red Hat Enterprise Linux Server"
os-release: VERSION="7.9 (Maipo)"
os-release: ID="rhel"
os-release: PRETTY_NAME="Red Hat Enterprise Linux Server 7.9 (Maipo)"
3.10.0-1160.el7.x86_64
systemctl
== centos7
redhat-release: CentOS Linux release 7.9.2009 (Core)
os-release: NAME="CentOS Linux"
os-release: VERSION="7 (Core)"
os-release: ID="centos"
os-release: PRETTY_NAME="CentOS Linux 7 (Core)"
3.10.0-1160.el7.x86_64
systemctl
== rhel8
redhat-release: Red Hat Enterprise Linux release 8.6 (Ootpa)
os-release: NAME="Red Hat Enterprise Linux"
os-release: VERSION="8.6 (Ootpa)"
os-release: ID="rhel"
os-release: PRETTY_NAME="Red Hat Enterprise Linux 8.6 (Ootpa)"
4.18.0-372.9.1.el8.x86_64
systemctl
== rhel9
redhat-release: Red Hat Enterprise Linux release 9.2 (Plow)
os-release: NAME="Red Hat Enterprise Linux"
os-release: VERSION="9.2 (Plow)"
os-release: ID="rhel"
os-release: PRETTY_NAME="Red Hat Enterprise Linux 9.2 (Plow)"
5.14.0-284.11.1.el9_2.x86_64
systemctl
== oracle7
oracle-release: Oracle Linux Server release 7.9
redhat-release: Red Hat Enterprise Linux Server release 7.9 (Maipo)
os-release: NAME="Oracle Linux Server"
os-release: VERSION="7.9"
os-release: ID="ol"
os-release: PRETTY_NAME="Oracle Linux Server 7.9"
5.4.17-2011.6.2.el7uek.x86_64
systemctl
== oracle8
oracle-release: Oracle Linux Server release 8.6
redhat-release: Red Hat Enterprise Linux release 8.6 (Ootpa)
os-release: NAME="Oracle Linux Server"
os-release: VERSION="8.6"
os-release: ID="ol"
os-release: PRETTY_NAME="Oracle Linux Server 8.6"
5.4.17-2136.307.3.1.el8uek.x86_64
systemctl
== sles11sp4
SuSE-release: SUSE Linux Enterprise Server 11 (x86_64)
SuSE-release: VERSION = 11
SuSE-release: PATCHLEVEL = 4
os-release: NAME="SLES"
os-release: VERSION="11.4"
os-release: ID="sles"
os-release: PRETTY_NAME="SUSE Linux Enterprise Server 11 SP4"
3.0.101-63-default
service
chkconfig
== sles12sp5
os-release: NAME="SLES"
os-release: VERSION="12-SP5"
os-release: ID="sles"
os-release: PRETTY_NAME="SUSE Linux Enterprise Server 12 SP5"
4.12.14-120-default
systemctl
== sles12sp6
os-release: NAME="SLES"
os-release: VERSION="12-SP6"
os-release: ID="sles"
os-release: PRETTY_NAME="SUSE Linux Enterprise Server 12 SP6"
4.12.14-150-default
systemctl
== sles15
os-release: NAME="SLES"
os-release: VERSION="15-SP4"
os-release: ID="sles"
os-release: PRETTY_NAME="SUSE Linux Enterprise Server 15 SP4"
5.14.21-150400.22-default
systemctl
END
}

# ---- building and entering

@test "a scenario that is written out in full is expanded to itself" {
    "$SIMHOST" build "$BATS_TEST_TMPDIR/copy" --scenario "$HOST/sim/state"
    same "$(<"$HOST/sim/state")" "$(<"$BATS_TEST_TMPDIR/copy/sim/state")"
    same "$(default_listing)" "$("$SIMHOST" "$BATS_TEST_TMPDIR/copy" run velomux -ll)"
}

@test "many volumes are one line" {
    make_empty_host_at many --scenario 'many volumes=300 paths=4 groups=2 transport=none'
    same 300 "$(in_host velomux -ll | grep -c KORVEL)"
    same 1200 "$(in_host velomux -ll | grep -c 'active ready running$')"
    same 0 "$(in_host velomux -ll | grep -cE 'sd|nvme' || true)"
    expect_text in_host velomux -ll mpathkn <<'END'
mpathkn (3600b5d60001a2b3c000000000000012c) dm-299 KORVEL  ,QVX
size=10G features='0' hwhandler='0' wp=rw
|-+- policy='service-time 0' prio=50 status=active
| |- 1:0:0:300 xaww 240:1196 active ready running
| `- 2:0:0:300 xawx 240:1197 active ready running
`-+- policy='service-time 0' prio=10 status=enabled
  |- 1:0:1:300 xawy 240:1198 active ready running
  `- 2:0:1:300 xawz 240:1199 active ready running
END
}

# refused TEXT ARGUMENTS: "simhost" with these arguments says TEXT and nothing else, and fails.
refused() {
    run "$SIMHOST" "${@:2}"
    same "1simhost: $1" "$status$output"
}

@test "a wrong scenario, generation or folder ends the build with a word about it" {
    local away=$BATS_TEST_TMPDIR
    refused "$HOST is not empty" build "$HOST"
    refused "no generation \"beos\" (there are: $("$SIMHOST" generations | paste -sd ' '))" \
        build "$away/x" --generation beos
    refused 'line 1: unknown transport "telepathy"
simhost: the scenario is not understood' build "$away/y" --scenario 'volume a transport=telepathy'
    refused "no scenario \"nobody\" (there are: $(cd "$REPO/simhost/scenarios" && echo *.scn))" \
        build "$away/z" --scenario nobody
    refused "$away/nowhere is not a simulated host (\"simhost build $away/nowhere\" makes one)" "$away/nowhere" listing
}

@test "run passes input, output, errors, exit status and signals through, and a clean environment in" {
    same hello "$(echo hello | in_host cat)"
    run in_host sh -c 'exit 7'
    same 7 "$status"
    same "err" "$(in_host sh -c 'echo err >&2' 2>&1 >/dev/null)"
    "$SIMHOST" "$HOST" run sleep 100 3>&- &
    local pid=$! code=0
    until [[ $(tr '\0' ' ' <"/proc/$pid/cmdline") == "sleep 100 " ]]; do sleep 0.01; done
    kill -TERM "$pid"
    wait "$pid" || code=$?
    same 143 "$code"
    SECRET=1 run in_host A=b env
    same "A=b
HOME=/root
LC_ALL=C
PATH=/usr/sbin:/usr/bin
TZ=UTC" "$(grep -v -e ^TERM= -e ^_= <<<"$output" | sort)"
}

@test "the product is installed by its own rule, or its programs are taken" {
    local build=$BATS_TEST_TMPDIR/build
    mkdir "$build"
    cp "$(type -P true)" "$build/dravik-monitor"
    "$SIMHOST" build "$BATS_TEST_TMPDIR/a" --from "$build"
    "$SIMHOST" "$BATS_TEST_TMPDIR/a" run dravik-monitor
    mkdir "$build/rule"
    cp "$(type -P false)" "$build/rule/dravik-monitor"
    cat >"$build/cmake_install.cmake" <<END
file(INSTALL DESTINATION "\${CMAKE_INSTALL_PREFIX}/bin" TYPE PROGRAM FILES "$build/rule/dravik-monitor")
END
    "$SIMHOST" build "$BATS_TEST_TMPDIR/b" --from "$build"
    run "$SIMHOST" "$BATS_TEST_TMPDIR/b" run dravik-monitor
    same 1 "$status"
}

@test "programs built with the address sanitizer run with a real /proc and the simulated counters" {
    "${CC:-cc}" -fsanitize=address -static-libasan -o "$BATS_TEST_TMPDIR/probe" -x c - <<'END' 2>/dev/null ||
#include <stdio.h>
#include <stdlib.h>
int main(int argc, char **argv) {
    char line[64] = "", *heap = malloc(8);
    FILE *file = fopen("/proc/uptime", "r");
    if (file == NULL || fgets(line, sizeof line, file) == NULL) return 3;
    fclose(file);
    printf("%s", line);
    fflush(stdout);
    heap[argc > 1 ? 8 : 7] = argv[0][0];
    free(heap);
    return system("cat /proc/uptime; head -c 5 /proc/self/status") == 0 ? 0 : 4;
}
END
        skip "the compiler has no static address sanitizer"
    unshare -m --propagation unchanged true 2>/dev/null || unshare -rm true 2>/dev/null || skip "no mount namespace can be made here"
    sim add "$BATS_TEST_TMPDIR/probe"
    SIMHOST_REAL_PROC=1 run in_host probe
    same 0 "$status"
    expect_output <<'END'
100000.00 180000.00
100000.00 180000.00
Name:
END
    SIMHOST_REAL_PROC=1 run in_host probe overflow
    [ "$status" -ne 0 ]
    same 1 "$(grep -c 'heap-buffer-overflow on address' <<<"$output")"
}

@test "a user without privileges builds, enters, breaks and steps a host of his own" {
    ((EUID == 0)) || skip "runs as such a user already in every other test"
    setpriv --reuid=65534 --regid=65534 --clear-groups unshare -r true 2>/dev/null ||
        skip "users cannot make user namespaces here"
    # The checkout and the build may lie where that user cannot read.
    local away=$BATS_TEST_TMPDIR/away
    mkdir "$away"
    cp -r "$REPO/simhost" "$away/simhost"
    "${CC:-cc}" -o "$away/lapse" "$REPO/tests/support/programs/lapse.c"
    chown -R 65534:65534 "$away"
    chmod 711 "$BATS_TEST_TMPDIR"
    local folder=$BATS_TEST_TMPDIR
    while [[ $folder != / ]]; do
        [[ $(stat -c %A "$folder") == *x ]] || chmod o+x "$folder"
        folder=${folder%/*}
        folder=${folder:-/}
    done
    cat >"$away/story" <<'END'
set -euo pipefail
cd "$1"
sim=simhost/simhost
$sim build host
echo "built by $(stat -c %u host)"
$sim host run sh -c 'echo lost >/dev/null; velomux -ll mpathd 2>/dev/null; wc -c </dev/null; id -u'
$sim host run dravikd fail path sdl
$sim host run velomux -ll mpathd | tail -n 1
$sim host add lapse
$sim host monitor start --program lapse
$sim host step 2
cat host/sim/sleeps
$sim host monitor stop
END
    run env -u SIMHOST_CACHE setpriv --reuid=65534 --regid=65534 --clear-groups bash "$away/story" "$away"
    expect_output <<'END'
built by 65534
mpathd (3600b5d60001a2b3c0000000000000005) dm-4 KORVEL  ,QVX
size=20G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  `- 4:0:0:2 sdl 8:176 active ready running
0
0
ok
  `- 4:0:0:2 sdl 8:176 failed faulty running
10
10
10
END
}
