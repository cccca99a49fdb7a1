"""Holds JSON documents, one a line on standard input, against a schema: validate_json.py SCHEMA. Says what does not fit."""
import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft7Validator.check_schema(schema)
validator = jsonschema.Draft7Validator(schema)
count = bad = 0
for line in sys.stdin:
    count += 1
    for error in validator.iter_errors(json.loads(line)):
        bad += 1
        print(f"line {count}: {'/'.join(map(str, error.path))}: {error.message[:300]}")
if count == 0:
    print("nothing was printed")
sys.exit(1 if bad or count == 0 else 0)
