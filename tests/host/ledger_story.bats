#!/usr/bin/env bats
# A day in the life of a host, as one story: what check, list and events say of it at every turn, whole.

load ../support/simulated_host
load ../support/session

# Three volumes: database through four ports, logs and mail through two of them each.
make_morning() {
    cat >"$BATS_TEST_TMPDIR/day.scn" <<'SCENARIO'
volume database transport=fc size=100G groups=2 paths=4 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020,0x20d0000b5d6a1011,0x20d0000b5d6a1021
volume logs transport=fc size=50G paths=2 ports=0x20d0000b5d6a1010,0x20d0000b5d6a1020
volume mail transport=fc size=20G paths=2 ports=0x20d0000b5d6a1011,0x20d0000b5d6a1021
SCENARIO
    make_host --scenario "$BATS_TEST_TMPDIR/day.scn"
    boot_as 1
    sim clock freeze '2026-11-21 06:00:00'
    start_monitor
}

# boot_as N: the kernel's identity of a boot.
boot_as() {
    mkdir -p "$HOST/proc/sys/kernel/random"
    echo "3f0c2a9e-0000-4000-8000-00000000000$1" >"$HOST/proc/sys/kernel/random/boot_id"
}

# The host restarts and finds its second adapter first: every block device gets another name and number.
restart_renumbered() {
    kill_monitor
    local volume
    for volume in database logs mail; do sim unmap "$volume"; done
    awk '
        BEGIN {
            split("sdc sde sdg sdi sdb sdd sdf sdh", found)
            for (i in found) {
                name[found[i]] = sprintf("sd%c", 97 + i)
                number[found[i]] = "8:" 16 * i
            }
        }
        $1 == "path" { old = $2; $2 = name[old]; $4 = number[old] }
        { print }' "$HOST/sim/state" >"$HOST/sim/state.renumbered"
    mv "$HOST/sim/state.renumbered" "$HOST/sim/state"
    for volume in database logs mail; do sim map "$volume"; done
    boot_as 2
    sim clock +170
    start_monitor
}

@test "a day in the life of a host" {
    make_morning
    # The morning: all is well.
    expect_session <<'END'
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
END

    # A path fails and returns.
    expect_session <<'END'
sim> fail-path sdb
sim> step
host> dravik check
WARNING - 1 of 3 volumes degraded | volumes=3 ok=2 degraded=1 last_path=0 none=0 paths=8 paths_working=7 observation_age=0s
database  degraded    3 of 4 work; lost: sdb; survives: path, initiator, target port
[1]
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     3/4    degraded   sdb faulty since 06:00
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
sim> clock +290
sim> restore-path sdb
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
END

    # A port of the array is lost and returns.
    expect_session <<'END'
sim> clock freeze '2026-11-21 08:00:00'
sim> fail-port 0x20d0000b5d6a1011
sim> step
host> dravik check
CRITICAL - 1 of 3 volumes on its last path, 1 degraded | volumes=3 ok=1 degraded=1 last_path=1 none=0 paths=8 paths_working=6 observation_age=0s
mail      last path   1 of 2 work; lost: sdh; survives: nothing
database  degraded    3 of 4 work; lost: sdd; survives: path, initiator, target port
[2]
host> dravik check logs
OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=2 paths_working=2 observation_age=0s
logs  ok          2 of 2 work; survives: path, initiator, target port
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     3/4    degraded   sdd faulty since 08:00
logs               50G  fc     2/2    ok
mail               20G  fc     1/2    last path  sdh faulty since 08:00
sim> clock +590
sim> restore-port 0x20d0000b5d6a1011
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
END

    # A maintenance: alice takes the second adapter of logs out of use, and back.
    expect_session <<'END'
sim> clock freeze '2026-11-21 09:00:00'
sim> step
host> SUDO_USER=alice SUDO_UID=4294967295 dravik setstate -path_alias logs -device_name sdg -state offline
----------------------------------------------------------------------------------------------------------------------------------
Command executed successfully.
----------------------------------------------------------------------------------------------------------------------------------
sim> step
host> dravik check
CRITICAL - 1 of 3 volumes on its last path | volumes=3 ok=2 degraded=0 last_path=1 none=0 paths=8 paths_working=7 observation_age=0s
logs  last path   1 of 2 work; lost: sdg (offline by alice); survives: nothing
[2]
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     1/2    last path  sdg offline by alice
mail               20G  fc     2/2    ok
sim> clock +1190
host> SUDO_USER=alice SUDO_UID=4294967295 dravik setstate -path_alias logs -device_name sdg -state online
----------------------------------------------------------------------------------------------------------------------------------
Command executed successfully.
----------------------------------------------------------------------------------------------------------------------------------
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
END

    # Mail is deleted by alice, logs is unmapped on the array; both come again.
    expect_session <<'END'
sim> clock freeze '2026-11-21 10:00:00'
sim> step
host> SUDO_USER=alice SUDO_UID=4294967295 dravik delete mail
----------------------------------------------------------------------------------------------------------------------------------
Command executed successfully.
----------------------------------------------------------------------------------------------------------------------------------
sim> unmap logs
sim> step
host> dravik check
OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=4 paths_working=4 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
host> dravik check mail
dravik check: the ledger knows no volume "mail"
[3]
host> dravik events --volume mail --since 09:30
2026-11-21 10:00:10  #13  alice ran dravik delete mail
2026-11-21 10:00:20  #15  mail: gone (operator alice: dravik delete mail)
sim> clock +890
sim> map mail
sim> map logs
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
END

    # The host restarts, and every block device has another name.
    sim clock freeze '2026-11-21 11:00:00'
    step
    restart_renumbered
    expect_session <<'END'
host> velomux -ll
database (3600b5d60001a2b3c0000000000000001) dm-0 KORVEL  ,QVX
size=100G features='0' hwhandler='0' wp=rw
|-+- policy='service-time 0' prio=50 status=active
| |- 1:0:0:1 sdf 8:80 active ready running
| `- 2:0:0:1 sdb 8:16 active ready running
`-+- policy='service-time 0' prio=10 status=enabled
  |- 1:0:1:1 sdg 8:96 active ready running
  `- 2:0:1:1 sdc 8:32 active ready running
logs (3600b5d60001a2b3c0000000000000002) dm-1 KORVEL  ,QVX
size=50G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:2 sdh 8:112 active ready running
  `- 2:0:0:2 sdd 8:48  active ready running
mail (3600b5d60001a2b3c0000000000000003) dm-2 KORVEL  ,QVX
size=20G features='0' hwhandler='0' wp=rw
`-+- policy='service-time 0' prio=50 status=active
  |- 1:0:0:3 sdi 8:128 active ready running
  `- 2:0:0:3 sde 8:64  active ready running
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik check sdb
OK - 1 of 1 volumes ok | volumes=1 ok=1 degraded=0 last_path=0 none=0 paths=4 paths_working=4 observation_age=0s
database  ok          4 of 4 work; survives: path, initiator, target port
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
END

    # A path flaps: three failures within thirty minutes, until thirty minutes without one.
    expect_session <<'END'
sim> clock freeze '2026-11-21 13:00:00'
sim> fail-path sdf
sim> step
sim> restore-path sdf
sim> step
sim> clock +580
sim> fail-path sdf
sim> step
sim> restore-path sdf
sim> step
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
sim> clock +580
sim> fail-path sdf
sim> step
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     3/4    degraded   sdf faulty, sdf flapping
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
sim> restore-path sdf
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok         sdf flapping
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
sim> clock +1770
sim> step
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok         sdf flapping
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
sim> step
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     2/2    ok
mail               20G  fc     2/2    ok
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
END

    # The monitor is killed for an hour, in which a path fails.
    expect_session <<'END'
sim> clock freeze '2026-11-21 15:00:00'
sim> step
sim> monitor kill
sim> clock +1800
sim> fail-path sdd
sim> clock +1800
host> dravik check
UNKNOWN - nothing observed since 2026-11-21 15:00:10, 60 min ago: dravik-monitor has written nothing since then; is it running? | volumes=3 ok=0 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=3600s
[3]
host> dravik check database
UNKNOWN - nothing observed since 2026-11-21 15:00:10, 60 min ago: dravik-monitor has written nothing since then; is it running? | volumes=1 ok=0 degraded=0 last_path=0 none=0 paths=4 paths_working=4 observation_age=3600s
database  unknown     4 of 4 work; survives: path, initiator, target port
[3]
host> dravik list
Nothing observed since 2026-11-21 15:00:10, 60 min ago: dravik-monitor has
written nothing since then; is it running?
This is what is seen now; nothing of it is in the ledger.

VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     1/2    last path  sdd faulty since 16:00
mail               20G  fc     2/2    ok
host> dravik events --since 14:00
[2]
sim> monitor start
sim> settle
host> dravik check
CRITICAL - 1 of 3 volumes on its last path | volumes=3 ok=2 degraded=0 last_path=1 none=0 paths=8 paths_working=7 observation_age=0s
logs  last path   1 of 2 work; lost: sdd; survives: nothing
[2]
host> dravik list
VOLUME            SIZE  OVER   PATHS  STATE      NOTE
database          100G  fc     4/4    ok
logs               50G  fc     1/2    last path  sdd faulty since 16:00
mail               20G  fc     2/2    ok
sim> restore-path sdd
sim> step
host> dravik check
OK - 3 of 3 volumes ok | volumes=3 ok=3 degraded=0 last_path=0 none=0 paths=8 paths_working=8 observation_age=0s
END

    # The evening: the whole day, an incident a line, and then all of it.
    expect_session <<'END'
host> dravik events
2026-11-21 06:00:00  #1  dravik-monitor started
2026-11-21 06:00:00  #2  database: appeared, 4 of 4 paths work (fault)
2026-11-21 06:00:00  #3  logs: appeared, 2 of 2 paths work (fault)
2026-11-21 06:00:00  #4  mail: appeared, 2 of 2 paths work (fault)
2026-11-21 06:00:10  #5  database sdb: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 06:05:10  #6  database sdb: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 08:00:10  #7  port 0x20d0000b5d6a1011: 2 paths of 2 volumes ready -> faulty, all volumes keep working (fault)
2026-11-21 08:10:10  #8  port 0x20d0000b5d6a1011: 2 paths of 2 volumes faulty -> ready, all volumes keep working (fault)
2026-11-21 09:00:10  #9  alice ran dravik setstate -path_alias logs -device_name sdg -state offline
2026-11-21 09:00:20  #10  logs sdg: ready -> faulty, 1 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state offline)
2026-11-21 09:20:10  #11  alice ran dravik setstate -path_alias logs -device_name sdg -state online
2026-11-21 09:20:20  #12  logs sdg: faulty -> ready, 2 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state online)
2026-11-21 10:00:10  #13  alice ran dravik delete mail
2026-11-21 10:00:20  #14  logs: gone (fault)
2026-11-21 10:00:20  #15  mail: gone (operator alice: dravik delete mail)
2026-11-21 10:15:20  #16  logs: appeared, 2 of 2 paths work (fault)
2026-11-21 10:15:20  #17  mail: appeared, 2 of 2 paths work (fault)
2026-11-21 11:03:00  #18  dravik-monitor started (host restart)
2026-11-21 11:03:00  #19  8 paths of 3 volumes renamed, all volumes keep working (host restart)
2026-11-21 13:00:10  #20  database sdf: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 13:00:20  #21  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:10:10  #22  database sdf: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 13:10:20  #23  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:20:10  #24  database sdf: ready -> faulty, flapping, 3 of 4 paths work (fault)
2026-11-21 13:20:20  #25  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:50:10  #26  database sdf: steady again, 4 of 4 paths work (fault)
2026-11-21 16:00:10  #27  dravik-monitor started
2026-11-21 16:00:10  #28  logs sdd: ready -> faulty, 1 of 2 paths work (fault)
2026-11-21 16:00:20  #29  logs sdd: faulty -> ready, 2 of 2 paths work (fault)
host> dravik events --all
2026-11-21 06:00:00  #1  dravik-monitor started
2026-11-21 06:00:00  #2  database: appeared, 4 of 4 paths work (fault)
2026-11-21 06:00:00  #3  logs: appeared, 2 of 2 paths work (fault)
2026-11-21 06:00:00  #4  mail: appeared, 2 of 2 paths work (fault)
2026-11-21 06:00:10  #5  database sdb: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 06:00:10  #5  database sdb: dm state active -> failed, 3 of 4 paths work (fault)
2026-11-21 06:00:10  #5  database: ok -> degraded, 3 of 4 paths work (fault)
2026-11-21 06:05:10  #6  database sdb: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 06:05:10  #6  database sdb: dm state failed -> active, 4 of 4 paths work (fault)
2026-11-21 06:05:10  #6  database: degraded -> ok, 4 of 4 paths work (fault)
2026-11-21 08:00:10  #7  database sdd: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 08:00:10  #7  database sdd: dm state active -> failed, 3 of 4 paths work (fault)
2026-11-21 08:00:10  #7  database: ok -> degraded, 3 of 4 paths work (fault)
2026-11-21 08:00:10  #7  mail sdh: ready -> faulty, 1 of 2 paths work (fault)
2026-11-21 08:00:10  #7  mail sdh: dm state active -> failed, 1 of 2 paths work (fault)
2026-11-21 08:00:10  #7  mail: ok -> last path, 1 of 2 paths work (fault)
2026-11-21 08:10:10  #8  database sdd: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 08:10:10  #8  database sdd: dm state failed -> active, 4 of 4 paths work (fault)
2026-11-21 08:10:10  #8  database: degraded -> ok, 4 of 4 paths work (fault)
2026-11-21 08:10:10  #8  mail sdh: faulty -> ready, 2 of 2 paths work (fault)
2026-11-21 08:10:10  #8  mail sdh: dm state failed -> active, 2 of 2 paths work (fault)
2026-11-21 08:10:10  #8  mail: last path -> ok, 2 of 2 paths work (fault)
2026-11-21 09:00:10  #9  alice ran dravik setstate -path_alias logs -device_name sdg -state offline
2026-11-21 09:00:20  #10  logs sdg: ready -> faulty, 1 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state offline)
2026-11-21 09:00:20  #10  logs sdg: dm state active -> failed, 1 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state offline)
2026-11-21 09:00:20  #10  logs: ok -> last path, 1 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state offline)
2026-11-21 09:20:10  #11  alice ran dravik setstate -path_alias logs -device_name sdg -state online
2026-11-21 09:20:20  #12  logs sdg: faulty -> ready, 2 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state online)
2026-11-21 09:20:20  #12  logs sdg: dm state failed -> active, 2 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state online)
2026-11-21 09:20:20  #12  logs: last path -> ok, 2 of 2 paths work (operator alice: dravik setstate -path_alias logs -device_name sdg -state online)
2026-11-21 10:00:10  #13  alice ran dravik delete mail
2026-11-21 10:00:20  #14  logs: gone (fault)
2026-11-21 10:00:20  #15  mail: gone (operator alice: dravik delete mail)
2026-11-21 10:15:20  #16  logs: appeared, 2 of 2 paths work (fault)
2026-11-21 10:15:20  #17  mail: appeared, 2 of 2 paths work (fault)
2026-11-21 11:03:00  #18  dravik-monitor started (host restart)
2026-11-21 11:03:00  #19  database sdf: renamed sdb -> sdf, 4 of 4 paths work (host restart)
2026-11-21 11:03:00  #19  database sdb: renamed sdc -> sdb, 4 of 4 paths work (host restart)
2026-11-21 11:03:00  #19  database sdg: renamed sdd -> sdg, 4 of 4 paths work (host restart)
2026-11-21 11:03:00  #19  database sdc: renamed sde -> sdc, 4 of 4 paths work (host restart)
2026-11-21 11:03:00  #19  logs sdh: renamed sdf -> sdh, 2 of 2 paths work (host restart)
2026-11-21 11:03:00  #19  logs sdd: renamed sdg -> sdd, 2 of 2 paths work (host restart)
2026-11-21 11:03:00  #19  mail sdi: renamed sdh -> sdi, 2 of 2 paths work (host restart)
2026-11-21 11:03:00  #19  mail sde: renamed sdi -> sde, 2 of 2 paths work (host restart)
2026-11-21 13:00:10  #20  database sdf: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 13:00:10  #20  database sdf: dm state active -> failed, 3 of 4 paths work (fault)
2026-11-21 13:00:10  #20  database: ok -> degraded, 3 of 4 paths work (fault)
2026-11-21 13:00:20  #21  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:00:20  #21  database sdf: dm state failed -> active, 4 of 4 paths work (fault)
2026-11-21 13:00:20  #21  database: degraded -> ok, 4 of 4 paths work (fault)
2026-11-21 13:10:10  #22  database sdf: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 13:10:10  #22  database sdf: dm state active -> failed, 3 of 4 paths work (fault)
2026-11-21 13:10:10  #22  database: ok -> degraded, 3 of 4 paths work (fault)
2026-11-21 13:10:20  #23  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:10:20  #23  database sdf: dm state failed -> active, 4 of 4 paths work (fault)
2026-11-21 13:10:20  #23  database: degraded -> ok, 4 of 4 paths work (fault)
2026-11-21 13:20:10  #24  database sdf: ready -> faulty, 3 of 4 paths work (fault)
2026-11-21 13:20:10  #24  database sdf: dm state active -> failed, 3 of 4 paths work (fault)
2026-11-21 13:20:10  #24  database sdf: flapping, 3 of 4 paths work (fault)
2026-11-21 13:20:10  #24  database: ok -> degraded, 3 of 4 paths work (fault)
2026-11-21 13:20:20  #25  database sdf: faulty -> ready, 4 of 4 paths work (fault)
2026-11-21 13:20:20  #25  database sdf: dm state failed -> active, 4 of 4 paths work (fault)
2026-11-21 13:20:20  #25  database: degraded -> ok, 4 of 4 paths work (fault)
2026-11-21 13:50:10  #26  database sdf: steady again, 4 of 4 paths work (fault)
2026-11-21 16:00:10  #27  dravik-monitor started
2026-11-21 16:00:10  #28  logs sdd: ready -> faulty, 1 of 2 paths work (fault)
2026-11-21 16:00:10  #28  logs sdd: dm state active -> failed, 1 of 2 paths work (fault)
2026-11-21 16:00:10  #28  logs: ok -> last path, 1 of 2 paths work (fault)
2026-11-21 16:00:20  #29  logs sdd: faulty -> ready, 2 of 2 paths work (fault)
2026-11-21 16:00:20  #29  logs sdd: dm state failed -> active, 2 of 2 paths work (fault)
2026-11-21 16:00:20  #29  logs: last path -> ok, 2 of 2 paths work (fault)
END
}
