"""Runs the recipes of docs/scale.md as they stand, over the sample captures and on this machine alone, and
compares what they leave with one run over all files. Arguments: the tool and the root of the sources."""
import base64
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

if shutil.which("parallel") is None:
    sys.exit(77)
tool, root = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])

recipes = re.findall(r"^```sh\n(.*?)^```$", (root / "docs/scale.md").read_text(), re.M | re.S)
if len(recipes) != 3:
    sys.exit(f"docs/scale.md has {len(recipes)} recipes")

with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    shutil.copy(root / "examples/profiles/household.xml", folder / "lamp.xml")
    shutil.copytree(root / "examples/captures/packets", folder / "captures")
    shutil.copy(root / "examples/captures/household.har", folder / "captures")
    (folder / "captures/unknown form").write_text("no capture")
    captures = sorted(f"captures/{file.name}" for file in (folder / "captures").iterdir())
    (folder / "captures.txt").write_text("".join(f"{file}\n" for file in captures))
    (folder / "hosts").write_text(":\n")
    header = base64.b64encode(b"GET /accessories HTTP/1.1\r\nHost: lamp\r\n\r\n").decode()
    (folder / "records.ndjson").write_text(json.dumps({
        "type": "capture", "connection": 1, "direction": "to_accessory", "time_ns": None,
        "header_base64": header, "body_base64": ""}) + "\n")

    environment = {**os.environ, "PATH": f"{tool.parent}:{os.environ['PATH']}", "LC_ALL": "C",
                   "HOME": name}

    def run(*arguments):
        return subprocess.run(arguments, cwd=folder, env=environment, capture_output=True, text=True,
                              check=False)

    run("qvcheck", "traffic", "--profile", "lamp.xml", "--output", "text=whole.txt", "--output",
        "ndjson=whole.ndjson", *captures)
    for recipe in recipes:
        ran = run("bash", "-c", recipe)
        if "qvcheck: " in ran.stderr.replace("qvcheck: captures/unknown form: ", ""):
            sys.exit(f"{recipe}\n{ran.stderr}")
    for left, whole in (("jobs.ndjson", "whole.ndjson"), ("merged.ndjson", "whole.ndjson"),
                        ("merged.txt", "whole.txt")):
        if (folder / left).read_text() != (folder / whole).read_text():
            subprocess.run(["diff", folder / whole, folder / left], check=False)
            sys.exit(f"{left} differs from {whole}")
    if ran.returncode != 0:
        sys.exit(f"the step of a pipeline ends with {ran.returncode}: {ran.stderr}")
    last = json.loads((folder / "step.ndjson").read_text().splitlines()[-1])
    if (last["type"], last["messages"], last["judged"]) != ("summary", 1, 1):
        sys.exit(f"the step of a pipeline tells {last}")
print(f"{len(captures)} captures: the recipes leave what one run writes")
