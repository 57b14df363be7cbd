#!/usr/bin/env python3
"""Holds the records of qvcheck against docs/qv.run-1.schema.json: those of the sample captures, as the
tool writes them now, and those of the cases. Then breaks one record of each type in every way below and
expects the schema to refuse it. Arguments: the tool and the root of the sources."""
import copy
import json
import pathlib
import subprocess
import sys

import jsonschema

tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
schema = json.loads((root / "docs/qv.run-1.schema.json").read_text())
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)


def reason(record):
    """What is wrong with a record, told by the schema of its type."""
    of_type = {"$defs": schema["$defs"], "$ref": f"#/$defs/{record.get('type')}"}
    return jsonschema.exceptions.best_match(
        jsonschema.Draft202012Validator(of_type).iter_errors(record)).message


def records_of(*arguments):
    run = subprocess.run([tool, *arguments, "--output", "ndjson"], capture_output=True, text=True,
                         check=False)
    if run.returncode not in (0, 1, 3, 4) or run.stderr:
        sys.exit(f"{arguments}: exit {run.returncode}: {run.stderr}")
    return run.stdout


def sample_runs():
    for profile in ("examples/profiles/lamp.xml", "README.md"):
        yield profile, records_of("profile", "check", root / profile)
    for request in sorted((root / "examples/captures").glob("*.req")):
        profile = "lamp" if request.name.startswith("pairing") else "household"
        yield request.name, records_of(
            "traffic", "--profile", root / f"examples/profiles/{profile}.xml",
            "--request", request, "--response", request.with_suffix(".rsp"))
    for sample in sorted([*(root / "examples/captures/packets").iterdir(),
                          root / "examples/captures/household.har"]):
        profile = "lamp" if sample.name.startswith("pairing") else "household"
        yield sample.name, records_of("traffic", "--profile", root / f"examples/profiles/{profile}.xml", sample)
    for expected in sorted((root / "tests/captures/traffic").glob("*/expected.ndjson")):
        yield expected.parent.name, expected.read_text()


def broken_copies(record):
    """Copies of a record that are no records, with what was done to them."""
    for key in record:
        copied = copy.deepcopy(record)
        del copied[key]
        yield f"without {key}", copied
        copied = copy.deepcopy(record)
        copied[key] = [[record[key]]]
        yield f"with an array under {key}", copied
    yield "with a key too many", {**record, "extra": 1}
    yield "of another type", {**record, "type": "remark"}


seen = {}
for name, lines in sample_runs():
    for number, line in enumerate(lines.splitlines(), 1):
        record = json.loads(line)
        if not validator.is_valid(record):
            sys.exit(f"{name}:{number}: {reason(record)}\n{line}")
        seen[record["type"]] = record

missing = {ref["$ref"].rpartition("/")[2] for ref in schema["oneOf"]} - set(seen)
if missing:
    sys.exit(f"no sample has a record of type {missing}")
broken = 0
for record in seen.values():
    for what, copied in broken_copies(record):
        broken += 1
        if validator.is_valid(copied):
            sys.exit(f"accepted: {record['type']} {what}: {json.dumps(copied)}")
print(f"{len(seen)} types of records hold, {broken} broken records are refused")
