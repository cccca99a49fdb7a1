#!/usr/bin/env bats
# The dashboard: a document that Grafana takes, with queries that Prometheus understands.

load ../support/simulated_host

DASHBOARD=$REPO/monitoring/dravik-dashboard.json
QUERIES=$BATS_TEST_DIRNAME/queries.py

# of_dashboard EXPRESSION: what a Python expression says of it ("d"), a line each.
of_dashboard() {
    /usr/bin/python3 -c 'import json, sys
d = json.load(open(sys.argv[1]))
for each in eval(sys.argv[2]): print(each)' "$DASHBOARD" "$1"
}

@test "the dashboard is a JSON document of a schema that Grafana reads, and no panel's number is there twice" {
    expect_text of_dashboard '[d["schemaVersion"] >= 36, d["id"], d["uid"], d["title"]]' <<'END'
True
None
dravik
Dravik: volumes and paths
END
    same "" "$(of_dashboard '[p["id"] for p in d["panels"]]' | sort | uniq -d)"
    same "" "$(of_dashboard '[p["title"] for p in d["panels"]]' | sort | uniq -d)"
}

@test "data source, host and volume can be chosen, and the queries take the chosen ones" {
    expect_text of_dashboard '[v["name"] + " " + v["type"] for v in d["templating"]["list"]]' <<'END'
datasource datasource
instance query
volume query
END
    # shellcheck disable=SC2016 # Grafana's variable
    same '${datasource}' "$(of_dashboard '{t["datasource"]["uid"] for p in d["panels"] for t in [p, *p.get("targets", [])] if p["type"] != "row"}')"
    # But for the number of alerts, which is over all hosts.
    same "Alerts that fire" "$(of_dashboard '[p["title"] for p in d["panels"] for t in p.get("targets", []) if "$instance" not in t["expr"]]')"
}

@test "no panel lies over another, and none is wider than the page" {
    same "" "$(of_dashboard '[(a["title"], b["title"]) for a in d["panels"] for b in d["panels"] for p, q in [(a["gridPos"], b["gridPos"])]
        if a["id"] < b["id"] and p["x"] < q["x"] + q["w"] and q["x"] < p["x"] + p["w"] and p["y"] < q["y"] + q["h"] and q["y"] < p["y"] + p["h"]
        or p["x"] + p["w"] > 24]')"
}

@test "each panel but a heading has a query, and Prometheus understands every one" {
    command -v promtool >/dev/null || skip "promtool is not here"
    same "" "$(of_dashboard '[p["title"] for p in d["panels"] if p["type"] != "row" and not p.get("targets")]')"
    "$QUERIES" dashboard "$DASHBOARD" | "$QUERIES" as-rules >"$BATS_TEST_TMPDIR/queries.yml"
    run promtool check rules "$BATS_TEST_TMPDIR/queries.yml"
    echo "$output"
    same 0 "$status"
    [[ $output == *"$("$QUERIES" dashboard "$DASHBOARD" | wc -l) rules found"* ]]
}

@test "a query that is none is noticed" {
    command -v promtool >/dev/null || skip "promtool is not here"
    echo 'sum by (instance (dravik_volumes)' | "$QUERIES" as-rules >"$BATS_TEST_TMPDIR/queries.yml"
    run promtool check rules "$BATS_TEST_TMPDIR/queries.yml"
    same 1 "$status"
}
