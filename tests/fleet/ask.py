#!/usr/bin/python3
"""Asks a Prometheus server, and prints the answer a line each, sorted.

  ask.py URL alerts          "STATE ALERT LABEL=VALUE ..." of each alert, without the labels job, severity and wwid
  ask.py URL description ALERT   its description
  ask.py URL query PROMQL    "LABEL=VALUE ... NUMBER" of each sample, without the name and the label job
  ask.py URL targets         "INSTANCE HEALTH" of each target
"""
import json
import sys
import urllib.parse
import urllib.request


def get(path, **arguments):
    address = f"{sys.argv[1]}/api/v1/{path}?{urllib.parse.urlencode(arguments)}"
    with urllib.request.urlopen(address, timeout=10) as answer:
        return json.load(answer)["data"]


def words_of(labels, left_out):
    return [f"{name}={value}" for name, value in sorted(labels.items()) if name not in left_out]


def alerts():
    for alert in get("alerts")["alerts"]:
        words = words_of(alert["labels"], {"alertname", "job", "severity", "wwid"})
        yield " ".join([alert["state"], alert["labels"]["alertname"]] + words)


def description():
    for alert in get("alerts")["alerts"]:
        if alert["labels"]["alertname"] == sys.argv[3]:
            yield alert["annotations"]["description"]


def query():
    for sample in get("query", query=sys.argv[3])["result"]:
        yield " ".join(words_of(sample["metric"], {"__name__", "job"}) + [sample["value"][1]])


def targets():
    for target in get("targets")["activeTargets"]:
        yield f"{target['labels']['instance']} {target['health']}"


for line in sorted({"alerts": alerts, "description": description, "query": query, "targets": targets}[sys.argv[2]]()):
    print(line)
