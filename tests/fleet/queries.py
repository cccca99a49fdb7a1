#!/usr/bin/python3
"""The queries of the rules and of the dashboard, for the tests.

  queries.py rules FILE...       the expressions of files of rules, one a line
  queries.py dashboard FILE      the expressions of a dashboard, its variables filled in, one a line
  queries.py names               the names of the metrics in the expressions on standard input, sorted
  queries.py labels              the names of the labels in them, sorted
  queries.py functions           the names of the functions and aggregations in them, sorted
  queries.py as-rules            a file of recording rules with these expressions
"""
import json
import re
import sys

# What follows these stands in parentheses and names labels.
LABEL_LISTS = "by|without|on|ignoring|group_left|group_right"
WORDS = {"and", "or", "unless", "bool", "offset", "inf", "nan"} | set(LABEL_LISTS.split("|"))
# What Grafana fills in where no label is matched.
VARIABLES = {"$__rate_interval": "5m", "$__range": "6h"}


def expressions_of_rules(path):
    """Of "expr: TEXT" and of "expr: |" with the lines below it that are further in."""
    lines = open(path, encoding="utf-8").read().split("\n")
    for number, line in enumerate(lines):
        match = re.match(r"^( +)(?:- )?expr: (.*)$", line)
        if not match:
            continue
        if match[2] != "|":
            yield match[2]
            continue
        block = []
        for below in lines[number + 1:]:
            if below.strip() and not below.startswith(match[1] + "  "):
                break
            block.append(below.strip())
        yield " ".join(block).strip()


def expressions_of_dashboard(path):
    dashboard = json.load(open(path, encoding="utf-8"))
    for panel in dashboard["panels"]:
        for target in panel.get("targets", []):
            yield target["expr"]
    for annotation in dashboard["annotations"]["list"]:
        yield annotation["expr"]
    for variable in dashboard["templating"]["list"]:
        if variable["type"] == "query":
            yield re.fullmatch(r"label_values\((.*), \w+\)", variable["query"]["query"])[1]


def filled_in(expression):
    for name, value in VARIABLES.items():
        expression = expression.replace(name, value)
    return expression


def without_labels(expression):
    bare = re.sub(r'"[^"]*"', "", expression)
    bare = re.sub(r"\{[^}]*\}|\[[^]]*\]", " ", bare)
    return re.sub(rf"\b({LABEL_LISTS})\s*\([^)]*\)", " ", bare)


def names_of(expression):
    bare = without_labels(expression)
    for match in re.finditer(r"[a-zA-Z_:][a-zA-Z0-9_:]*", bare):
        is_function = re.match(r"\s*\(", bare[match.end():])
        is_number = re.search(r"[0-9.]$", bare[:match.start()])
        if not (is_function or is_number or match[0].lower() in WORDS):
            yield match[0]


def functions_of(expression):
    """What stands before a parenthesis, also with the label list of an aggregation taken away between them."""
    for name in re.findall(r"([a-zA-Z_]\w*)\s*\(", without_labels(expression)):
        if name.lower() not in WORDS:
            yield name


def labels_of(expression):
    bare = re.sub(r'"[^"]*"', '""', expression)
    for matchers in re.findall(r"\{([^}]*)\}", bare):
        yield from re.findall(r"(\w+)\s*(?:=|!=|=~|!~)", matchers)
    for names in re.findall(rf"\b(?:{LABEL_LISTS})\s*\(([^)]*)\)", bare):
        yield from re.findall(r"\w+", names)


def as_rules(expressions):
    yield "groups: [{name: queries, rules: ["
    for number, expression in enumerate(expressions):
        yield f"  {{record: 'query:{number}', expr: {json.dumps(expression)}}},"
    yield "]}]"


def main(what, *files):
    if what == "rules":
        output = [each for path in files for each in expressions_of_rules(path)]
    elif what == "dashboard":
        output = [filled_in(each) for path in files for each in expressions_of_dashboard(path)]
    else:
        expressions = sys.stdin.read().splitlines()
        if what == "as-rules":
            output = as_rules(expressions)
        else:
            find = {"names": names_of, "labels": labels_of, "functions": functions_of}[what]
            output = sorted({found for each in expressions for found in find(each)})
    for line in output:
        print(line)


main(*sys.argv[1:])
