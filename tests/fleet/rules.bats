#!/usr/bin/env bats
# The rules: what Prometheus' own tool says of them, that each alert has been seen to fire and to stay silent, and that each
# tells who, what and where to read on. What each one does in time stands in rules/, one file an alert.

load ../support/simulated_host

MONITORING=$REPO/monitoring
TESTS=$BATS_TEST_DIRNAME/rules
QUERIES=$BATS_TEST_DIRNAME/queries.py
GUIDE=docs/operator-guide.md

alerts() { sed -n 's/^ *- alert: //p' "$MONITORING/dravik-alerts.yml"; }

# alert NAME: its lines in the file of the rules.
alert() { awk -v name="$1" '/^ *- alert: / { inside = $3 == name } /^  - name: / { inside = 0 } inside' "$MONITORING/dravik-alerts.yml"; }

need_promtool() { command -v promtool >/dev/null || skip "promtool is not here"; }

@test "promtool finds no fault with the rules and with the example of a configuration" {
    need_promtool
    run promtool check rules "$MONITORING/dravik-alerts.yml" "$MONITORING/dravik-recording.yml"
    echo "$output"
    same 0 "$status"
    same 2 "$(grep -c SUCCESS <<<"$output")"
    # With the rules where the example expects them.
    sed "s,/etc/prometheus,$MONITORING," "$MONITORING/prometheus.example.yml" >"$BATS_TEST_TMPDIR/prometheus.yml"
    run promtool check config "$BATS_TEST_TMPDIR/prometheus.yml"
    echo "$output"
    same 0 "$status"
    [[ $output == *"2 rule files found"* ]]
}

@test "the alerts are these" {
    expect_text alerts <<'END'
DravikObservationStale
DravikObservationFailing
DravikMetricsMissing
DravikMonitorRestarting
DravikVolumeWithoutPaths
DravikVolumeOnLastPath
DravikVolumeDegraded
DravikVolumeGone
DravikPathFlapping
DravikTargetPortDown
DravikInitiatorDown
DravikPathsUneven
END
}

@test "each rule fires when it should, with these labels and words, ends, and is silent when it should be" {
    need_promtool
    local file
    for file in "$TESTS"/*.yml; do
        run promtool test rules "$file"
        echo "$output"
        same "0 $file" "$status $file"
    done
}

@test "each alert has a test of its own, with a case that fires and one that stays silent" {
    local name
    for name in $(alerts); do
        same "$name yes" "$name $(grep -q "alertname: $name" "$TESTS/$name.yml" && echo yes)"
        # A case begins with its name; one that expects no alert anywhere is silent.
        same "$name fires, is silent" "$name $(awk '
            function count() { if (cases && expects) fires = 1; else if (cases) silent = 1; expects = 0 }
            /^  - name: / { count(); cases++ } /exp_alerts:/ { expects = 1 }
            END { count(); print (fires ? "fires" : "never fires") ", " (silent ? "is silent" : "is never silent") }' "$TESTS/$name.yml")"
    done
}

# Changes of one alert's rule that its tests must notice, "ALERT: sed script".
mutations() {
    cat <<'END'
DravikObservationStale: s/seconds > 120$/seconds > 150/
DravikObservationStale: /alertname="DravikObservationFailing"/d
DravikObservationStale: s/{file=.*}/{file!=""}/
DravikObservationFailing: s/max without (quality) (\(.*\)) == 1/\1 == 1/
DravikObservationFailing: s/|never//
DravikMetricsMissing: /and on (job, instance) up == 1/d
DravikMetricsMissing: /unless on (job, instance) dravik_build_info/d
DravikMetricsMissing: s/max without (version) (\(.*\))$/\1/
DravikMetricsMissing: s/\[1h\]/[59m]/
DravikMetricsMissing: s/\[1h\]/[61m]/
DravikMetricsMissing: s/{file=.*}/{file=~".*dravik[.]prom"}/
DravikMonitorRestarting: s/floor//
DravikMonitorRestarting: s/ > 3/ > 2/
DravikVolumeWithoutPaths: s/state="none"/state=~"none|unknown"/
DravikVolumeWithoutPaths: s/state="unknown"/state="nothing"/
DravikVolumeOnLastPath: s/state="unknown"/state="nothing"/
DravikVolumeOnLastPath: s/, alertstate="firing"//
DravikVolumeDegraded: s/state="unknown"/state="nothing"/
DravikVolumeDegraded: s/alertstate="firing"/alertstate="none"/
DravikVolumeDegraded: s/, alertstate="firing"//
DravikVolumeDegraded: s/\[3m\]/[30s]/
DravikVolumeDegraded: s/\[3m\]/[5m]/
DravikVolumeDegraded: s/10m/9m/
DravikVolumeDegraded: s/10m/11m/
DravikVolumeGone: s/volume_gone/volume_unseen/
DravikVolumeGone: s/ > 0/ > 1/
DravikVolumeGone: s/15m/14m/
DravikVolumeGone: s/15m/16m/
DravikVolumeGone: s/sum without (kind) (\(.*\)) > 0/\1 > 0/
DravikPathFlapping: s/flapping == 1/working == 0/
DravikTargetPortDown: s/>= 2/>= 1/
DravikTargetPortDown: s/>= 2/>= 3/
DravikTargetPortDown: s/max by (instance/min by (instance/
DravikTargetPortDown: s/{target_port!=""}//
DravikInitiatorDown: s/max without (volume/min without (volume/
DravikInitiatorDown: s/target_port, //
DravikPathsUneven: s/on (wwid)/on (volume)/
DravikPathsUneven: s/{wwid!=""}//
END
}

# changed_rules ALERT SCRIPT: the file of the rules with the script run over this alert's lines in front of its annotations.
changed_rules() {
    awk -v name="$1" '/^ *- alert: / { inside = $3 == name } /^ *annotations:/ { inside = 0 } { print (inside ? "=" : " ") $0 }' \
        "$MONITORING/dravik-alerts.yml" | sed "/^=/{
$2
}" | sed 's/^.//'
}

@test "the tests of the rules notice each of these changes of a rule" {
    need_promtool
    local name change unnoticed='' place=$BATS_TEST_TMPDIR/monitoring/dravik-alerts.yml
    mkdir -p "$BATS_TEST_TMPDIR/monitoring" "$BATS_TEST_TMPDIR/tests/fleet"
    cp -r "$TESTS" "$BATS_TEST_TMPDIR/tests/fleet"
    while IFS=: read -r name change; do
        changed_rules "$name" "${change# }" >"$place"
        ! cmp -s "$MONITORING/dravik-alerts.yml" "$place" || unnoticed+="no change: $name:$change"$'\n'
        ! promtool test rules "$BATS_TEST_TMPDIR/tests/fleet/rules/$name.yml" >/dev/null 2>&1 || unnoticed+="$name:$change"$'\n'
        # What is no file of rules any more would be noticed by anything.
        promtool check rules "$place" >/dev/null 2>&1 || unnoticed+="no rules: $name:$change"$'\n'
    done < <(mutations)
    same "" "$unnoticed"
}

@test "each alert has a severity, and tells the host, what to run there, and its section of the guide" {
    local name text sections
    sections=$(sed -n 's/^#\{2,\} //p' "$REPO/$GUIDE" | tr '[:upper:] ' '[:lower:]-')
    for name in $(alerts); do
        text=$(alert "$name")
        grep -qE '^ +severity: (critical|warning|info)$' <<<"$text" || same "$name: a severity" ""
        grep -qE '^ +summary: .' <<<"$text" || same "$name: a summary" ""
        grep -q '[lL]abels.instance' <<<"${text#*description:}" || same "$name: the host" ""
        [[ $name != DravikVolume* && $name != DravikPath* ]] || grep -q '[lL]abels.volume' <<<"${text#*description:}" || same "$name: the volume" ""
        [[ $(tr -s ' \n' ' ' <<<"$text") == *"dravik explain $name"* ]] || same "$name: dravik explain" ""
        same "/usr/share/doc/dravik/operator-guide.md#${name,,}" "$(sed -n 's/^ *guide: //p' <<<"$text")"
        grep -qx "${name,,}" <<<"$sections" || same "$name: a section of the guide" ""
    done
}

# row_of ALERT: name, severity and waiting time as the guide's table of alerts has them, from the rule.
row_of() {
    local text
    text=$(alert "$1")
    echo "$1 $(sed -n 's/^ *severity: //p' <<<"$text")" \
        "$(sed -nE 's/^ *for: ([0-9]+)s$/for \1 seconds/p; s/^ *for: ([0-9]+)m$/for \1 minutes/p' <<<"$text")"
}

@test "the guide's table has every alert, with the rule's severity and waiting time" {
    same "$(for name in $(alerts); do row_of "$name"; done | LC_ALL=C sort)" \
        "$(sed -nE 's/^\| `(Dravik[A-Za-z]+)` \| ([a-z]+) \| (.*) \|$/\1 \2 \3/p' "$REPO/$GUIDE" |
            sed -E 's/^([^ ]+ [^ ]+) .*(for [0-9]+ (seconds|minutes))$/\1 \2/; t; s/^([^ ]+ [^ ]+) .*/\1 /' | LC_ALL=C sort)"
}

# ---- names that there are

# What "dravik metrics" prints of a host on which everything has happened once.
metrics_of_host() {
    make_host
    start_monitor
    sim fail-path sdb
    step
    sim restore-path sdb
    step
    in_host dravik scan >/dev/null
    step
    in_host dravik metrics
}

@test "every metric and every label in rules and dashboard is one that there is" {
    local queries metrics name
    queries=$("$QUERIES" rules "$MONITORING"/dravik-*.yml && "$QUERIES" dashboard "$MONITORING/dravik-dashboard.json")
    metrics=$(metrics_of_host)
    {
        sed -n 's/^# TYPE \([a-z_]*\) .*/\1/p' <<<"$metrics"
        sed -n 's/^ *- record: //p' "$MONITORING/dravik-recording.yml"
        # Prometheus' own, and the node exporter's.
        printf '%s\n' ALERTS up node_textfile_mtime_seconds
    } | LC_ALL=C sort >"$BATS_TEST_TMPDIR/names"
    same "" "$("$QUERIES" names <<<"$queries" | LC_ALL=C comm -23 - "$BATS_TEST_TMPDIR/names")"
    {
        grep -v '^#' <<<"$metrics" | grep -oE '[a-z_]+="' | tr -d '="'
        printf '%s\n' alertname alertstate file instance job
    } | LC_ALL=C sort -u >"$BATS_TEST_TMPDIR/labels"
    same "" "$("$QUERIES" labels <<<"$queries" | LC_ALL=C comm -23 - "$BATS_TEST_TMPDIR/labels")"
    # And the reader has seen what is written.
    for name in dravik_path_working dravik_volume_state instance_target_port:dravik_path_working:avg; do
        "$QUERIES" names <<<"$queries" | grep -qx "$name"
    done
    "$QUERIES" labels <<<"$queries" | grep -qx target_port
}

@test "rules and dashboard ask with nothing that the oldest Prometheus that the README names does not know" {
    local queries
    queries=$("$QUERIES" rules "$MONITORING"/dravik-*.yml && "$QUERIES" dashboard "$MONITORING/dravik-dashboard.json")
    grep -qF 'Prometheus 2.24 or newer' "$MONITORING/README.md"
    # A function that it does not know makes it refuse the whole file. All of these are in 2.24; younger are present_over_time
    # (2.29), and "@" and a negative offset (2.25).
    same "avg count floor increase max max_over_time sum time topk vector" "$("$QUERIES" functions <<<"$queries" | paste -sd' ')"
    same "" "$(grep -E '@|offset +-' <<<"$queries")"
}
