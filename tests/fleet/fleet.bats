#!/usr/bin/env bats
# Three hosts with one array behind them, each with its monitor and its node exporter, scraped by a Prometheus server with the
# rules of this product: what happens on the hosts is what its queries and its alerts say, and nothing else.

load ../support/simulated_host
load fleet

setup() {
    need prometheus prometheus-node-exporter
    make_fleet
    start_prometheus
}

teardown() {
    end_servers
    drop_hosts
}

@test "a port of the array that fails on two of three hosts is told as that, until it is repaired" {
    # While all is well nothing is told, not even as pending.
    expect_within 30 targets <<'END'
node1 up
node2 up
node3 up
END
    expect_within 30 query 'sum by (instance, state) (dravik_volumes{state=~"ok|degraded|last_path"})' <<'END'
instance=node1 state=degraded 0
instance=node1 state=last_path 0
instance=node1 state=ok 3
instance=node2 state=degraded 0
instance=node2 state=last_path 0
instance=node2 state=ok 3
instance=node3 state=degraded 0
instance=node3 state=last_path 0
instance=node3 state=ok 3
END
    expect_lasting alerts </dev/null

    on_host node1 fail-port 0x20d0000b5d6a1010
    on_host node2 fail-port 0x20d0000b5d6a1010
    observe
    # Each volume once, by its state; the port once, and no host's port, which has another way.
    expect_within 30 alerts <<'END'
firing DravikTargetPortDown target_port=0x20d0000b5d6a1010
firing DravikVolumeDegraded instance=node1 volume=database
firing DravikVolumeDegraded instance=node2 volume=database
firing DravikVolumeOnLastPath instance=node1 volume=mail
firing DravikVolumeOnLastPath instance=node2 volume=mail
END
    expect_lasting alerts <<'END'
firing DravikTargetPortDown target_port=0x20d0000b5d6a1010
firing DravikVolumeDegraded instance=node1 volume=database
firing DravikVolumeDegraded instance=node2 volume=database
firing DravikVolumeOnLastPath instance=node1 volume=mail
firing DravikVolumeOnLastPath instance=node2 volume=mail
END
    expect_within 10 query 'dravik_path_working == 0' <<'END'
initiator=0x21000024ff5d6a11 instance=node1 path=sdb target_port=0x20d0000b5d6a1010 transport=fc volume=database wwid=3600b5d60001a2b3c0000000000000001 0
initiator=0x21000024ff5d6a11 instance=node1 path=sdf target_port=0x20d0000b5d6a1010 transport=fc volume=mail wwid=3600b5d60001a2b3c0000000000000002 0
initiator=0x21000024ff5d6a11 instance=node2 path=sdb target_port=0x20d0000b5d6a1010 transport=fc volume=database wwid=3600b5d60001a2b3c0000000000000001 0
initiator=0x21000024ff5d6a11 instance=node2 path=sdf target_port=0x20d0000b5d6a1010 transport=fc volume=mail wwid=3600b5d60001a2b3c0000000000000002 0
END
    expect_within 10 query 'instance_target_port:dravik_path_working:avg < 1' <<'END'
instance=node1 target_port=0x20d0000b5d6a1010 0
instance=node2 target_port=0x20d0000b5d6a1010 0
END
    # The words of an alert, as whoever is woken reads them.
    expect_within 10 description DravikTargetPortDown <<'END'
No path through target port 0x20d0000b5d6a1010 of the array works on 2 hosts: node1 node2 (2 volumes). So look at the array first: the state of this port and of its controller, then its cable and the switch port. On one of the hosts run "dravik list --bad" and "dravik events --since 1h". More: "dravik explain DravikTargetPortDown".
END

    # Repaired for one of them: a port that is down on one host alone is that host's own matter.
    on_host node2 restore-port 0x20d0000b5d6a1010
    observe
    expect_within 30 alerts <<'END'
firing DravikVolumeDegraded instance=node1 volume=database
firing DravikVolumeOnLastPath instance=node1 volume=mail
END
    on_host node1 restore-port 0x20d0000b5d6a1010
    observe
    expect_within 30 alerts </dev/null
    expect_lasting alerts </dev/null
    expect_within 10 query 'sum by (instance) (dravik_events_total{kind="path_checker_state"})' <<'END'
instance=node1 4
instance=node2 4
instance=node3 0
END
    # The exporters have read the files whole, every time.
    expect_within 10 query 'max_over_time(node_textfile_scrape_error[10m])' <<'END'
instance=node1 0
instance=node2 0
instance=node3 0
END
}

@test "a volume that loses its paths, and then its map, does not become quiet" {
    expect_within 30 targets <<'END'
node1 up
node2 up
node3 up
END
    expect_within 30 query 'sum(dravik_events_total{kind="volume_gone"})' <<<"0"
    on_host node1 fail-port 0x20d0000b5d6a1010
    on_host node1 fail-port 0x20d0000b5d6a1020
    observe
    expect_within 30 alerts <<'END'
firing DravikVolumeDegraded instance=node1 volume=database
firing DravikVolumeWithoutPaths instance=node1 volume=mail
END
    on_host node1 unmap mail
    observe
    expect_within 30 alerts <<'END'
firing DravikVolumeDegraded instance=node1 volume=database
firing DravikVolumeGone instance=node1
END
    expect_within 10 description DravikVolumeGone <<'END'
Within the last 15 minutes a volume has left node1, its map with it; missing now: mail. "dravik check" looks for it no longer, and this alert ends by itself. On the host run "dravik events --since 1h", which names it and says whether a command removed it. Where nobody meant that, see whether the array still maps it to this host, then "dravik scan". More: "dravik explain DravikVolumeGone".
END
    on_host node1 map mail
    observe
    expect_within 10 query 'count by (instance) (dravik_volume_info{instance="node1"})' <<<"instance=node1 3"
}
