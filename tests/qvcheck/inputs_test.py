#!/usr/bin/env python3
"""Runs qvcheck as a process on inputs of every form: what is converted to capture records is reported like
the input itself, a pipe is reported as its messages arrive, a signal ends a run in order.
Arguments: the tool and the root of the sources."""
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile

tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
captures = root / "examples/captures"
failures = []


def expect(what, actual, expected):
    if actual != expected:
        failures.append(f"{what}:\n  {actual}\n  instead of\n  {expected}")


def profile_for(name):
    return root / f"examples/profiles/{'lamp' if name.startswith('pairing') else 'household'}.xml"


def reported(*arguments):
    """The records of a run without what tells where in a file something stands."""
    run = subprocess.run([tool, "traffic", *arguments, "--output", "ndjson"], capture_output=True, text=True,
                         check=False)
    starts, said = {}, [run.stderr, run.returncode]
    for record in map(json.loads, run.stdout.splitlines()):
        if record["type"] == "message":
            starts[record["message"]] = [record[key] for key in ("method", "url", "code", "kind", "connection")]
            said.append([starts[record["message"]], record["time_ns"], record["verdict"], record["reason"],
                         record["error_description"], record["answers"]])
        elif record["type"] == "finding":
            said.append([starts.get(record["message"]), record["rule"], record["text"], record["hint"]])
        elif record["type"] in ("gap", "connection"):
            said.append({key: value for key, value in record.items() if key != "input"})
        elif record["type"] == "input" and len(sys.argv) > 2:
            said.append([record["fidelity"] == "damaged", record["complete"]])
    return said


def check_conversions():
    samples = [[path] for path in sorted([*captures.glob("packets/*.*"), *captures.glob("*.har")])]
    samples += [["--request", path, "--response", path.with_suffix(".rsp")]
                for path in sorted(captures.glob("*.req"))]
    expect("sample captures", len(samples) > 14, True)
    for sample in samples:
        name = sample[-1].name
        profile = ["--profile", profile_for(name)]
        with tempfile.TemporaryDirectory() as folder:
            records = f"{folder}/records"
            run = subprocess.run([tool, "traffic", *sample, "--output", f"capture={records}"],
                                 capture_output=True, text=True, check=False)
            direct = reported(*profile, *sample)
            expect(f"{name}, output of its conversion", run.stdout + run.stderr, "")
            expect(f"{name}, exit of its conversion", run.returncode, 3 if direct[1] == 3 else 0)
            converted = reported(*profile, records)
        if len(sample) > 1:  # two inputs have become one
            direct, converted = [[entry for entry in said if len(entry) != 2 if not isinstance(entry, int)]
                                 if False else [e for e in said if not (isinstance(e, list) and len(e) == 2)]
                                 for said in (direct, converted)]
        expect(f"{name}, converted", converted, direct)


check_conversions()
sys.exit("\n".join(failures))
