#!/usr/bin/env python3
"""Runs qvcheck as a process on inputs of every form: what is converted to capture records is reported like
the input itself, a pipe is reported as its messages arrive, and a signal ends a run in order.
Arguments: the tool and the root of the sources."""
import base64
import gzip
import json
import os
import pathlib
import pty
import re
import resource
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
    return ["--profile", root / f"examples/profiles/{'lamp' if name.startswith('pairing') else 'household'}.xml"]


def reported(*arguments):
    """What a run says, without the places within its files."""
    run = subprocess.run([tool, "traffic", *arguments, "--output", "ndjson"], capture_output=True, text=True,
                         check=False)
    starts, said, complete, exact = {}, [run.stderr, run.returncode], True, True
    for record in map(json.loads, run.stdout.splitlines()):
        if record["type"] == "message":
            starts[record["message"]] = [record[key] for key in ("method", "url", "code", "kind", "connection")]
            said.append([starts[record["message"]], record["time_ns"], record["verdict"], record["reason"],
                         record["error_description"], record["answers"]])
        elif record["type"] == "finding":
            text = re.sub(r", (noticed at packet|line) \d+\)$", ")", record["text"])
            said.append([starts.get(record["message"]), record["rule"], text, record["hint"]])
        elif record["type"] in ("gap", "connection"):
            said.append({key: value for key, value in record.items() if key != "input"})
        elif record["type"] == "input":
            complete = complete and record["complete"]
            exact = exact and record["fidelity"] == "exact"
    return said + [complete, exact]


def check_conversions():
    samples = [[path] for path in sorted([*captures.glob("packets/*.*"), *captures.glob("*.har")])]
    samples += [["--request", path, "--response", path.with_suffix(".rsp")]
                for path in sorted(captures.glob("*.req"))]
    expect("number of samples", len(samples) > 14, True)
    for sample in samples:
        name = sample[-1].name
        with tempfile.TemporaryDirectory() as folder:
            records = f"{folder}/records"
            run = subprocess.run([tool, "traffic", *sample, "--output", f"capture={records}"],
                                 capture_output=True, text=True, check=False)
            direct = reported(*profile_for(name), *sample)
            expect(f"conversion of {name}", [run.stdout, run.stderr, run.returncode],
                   ["", "", 3 if direct[1] == 3 else 0])
            expect(f"{name}, converted", reported(*profile_for(name), records), direct)


def packets_of(data):
    """Where the packets of a pcap file begin, and its end."""
    ends = [24]
    while ends[-1] < len(data):
        ends.append(ends[-1] + 16 + int.from_bytes(data[ends[-1] + 8:ends[-1] + 12], "little"))
    return ends


def earlier(data, seconds):
    moved = bytearray(data)
    for begin in packets_of(data)[:-1]:
        time = int.from_bytes(data[begin:begin + 4], "little") - seconds
        moved[begin:begin + 4] = time.to_bytes(4, "little")
    return bytes(moved)


def check_directories():
    """Numbered pieces give what the whole files give."""
    def cut(data, first):
        return [data[:first], data[first:first + 1000], data[first + 1000:]]

    packets = (captures / "packets/household-access-faulty-lossy.pcap").read_bytes()
    ends = packets_of(packets)
    middle = ends[len(ends) // 2]
    with tempfile.TemporaryDirectory() as folder:
        packet_pieces, stream_pieces = pathlib.Path(folder, "packets"), pathlib.Path(folder, "streams")
        packet_pieces.mkdir()
        stream_pieces.mkdir()
        (packet_pieces / "run.pcap9").write_bytes(packets[:middle])
        (packet_pieces / "run.pcap10").write_bytes(packets[:24] + packets[middle:])
        for name in ("req", "rsp"):
            whole = (captures / f"household-access-faulty.{name}").read_bytes()
            for number, piece in enumerate(cut(whole, 1234), 9):
                (stream_pieces / f"run{number}.{name}").write_bytes(piece)
        profile = profile_for("household")
        expect("packet files in pieces", reported(*profile, packet_pieces),
               reported(*profile, captures / "packets/household-access-faulty-lossy.pcap"))
        whole = reported(*profile, "--request", captures / "household-access-faulty.req", "--response",
                         captures / "household-access-faulty.rsp")
        expect("streams in pieces", reported(*profile, stream_pieces), whole)
        expect("streams in pieces, by direction",
               reported(*profile, "--request", stream_pieces, "--response", stream_pieces), whole)
        single = pathlib.Path(folder, "single")
        single.mkdir()
        for name in ("req", "rsp"):
            (single / f"1.{name}").write_bytes((captures / f"household-access-faulty.{name}").read_bytes())
        expect("a stream in one piece", reported(*profile, "--request", single, "--response", single), whole)
        (single / "README").write_text("hello")
        expect("what lies beside a stream", inputs_and_remarks(folder, "--request", "single")[1],
               ["single", "input.left-out", "files of other forms than the one asked for left out of single: 1 (README)"])
        expect("number of findings in pieces", len(whole) > 150, True)


def inputs_and_remarks(folder, *arguments):
    """Each input's record, and the findings that the tool makes of inputs, without the folder's name."""
    run = subprocess.run([tool, "traffic", *profile_for("household"), *arguments, "--output", "ndjson"],
                         capture_output=True, text=True, check=False, cwd=folder)
    said = [run.returncode]
    for record in map(json.loads, run.stdout.splitlines()):
        if record["type"] == "input":
            said.append([record[key] for key in ("input", "name", "format", "complete", "lost")])
        elif record["type"] == "finding" and record["rule"].startswith("input."):
            said.append([record["location"]["name"], record["rule"], record["text"]])
    return said


def check_what_a_directory_holds():
    archive = (captures / "household.har").read_text()
    clean = {name: (captures / f"household-clean.{name}").read_bytes() for name in ("req", "rsp")}
    packets = (captures / "packets/household-clean.pcap").read_bytes()
    with tempfile.TemporaryDirectory() as folder:
        day = pathlib.Path(folder, "day")
        (day / "old").mkdir(parents=True)
        (day / "README").write_text("hello")
        for number in (1, 10):
            (day / f"{number}.har").write_text(archive)
            for name, data in clean.items():
                (day / f"run{number}.{name}").write_bytes(data)
        # Of two pieces the first is the later one.
        (day / "run.pcap1").write_bytes(packets)
        (day / "run.pcap2").write_bytes(earlier(packets, 3600))
        (day / "run.pcap3").write_bytes(b"")
        archives = [[["day/%s.har" % name, "input.no-events", "an HTTP archive holds no event notifications"],
                     [number, "day/%s.har" % name, "har", True,
                      ["header blocks are reconstructed", "event notifications are not held"]]]
                    for number, name in ((1, "1"), (2, "10"))]
        expect("inputs of a directory", inputs_and_remarks(folder, "day"), [
            1, ["day/1.har", "input.left-out", "files of no form that is read left out of day: 1 (README)"],
            ["day/1.har", "input.left-out", "directories or the like left out of day: 1 (old)"], *archives[0], *archives[1],
            ["day/run.pcap*", "input.order",
             "day/run.pcap2: it begins 3600 s before the piece in front of it ends"],
            ["day/run.pcap*", "input.left-out", "day/run.pcap3: it is empty"],
            [3, "day/run.pcap*", "pcap", True, []],
            *([number, f"day/run{name}", "http", True, []]
              for number, name in enumerate(("1.req", "1.rsp", "10.req", "10.rsp"), 4))])


def check_inputs_without_traffic():
    """Nothing is passed over in silence, and each input has its record."""
    header = (captures / "packets/household-clean.pcap").read_bytes()[:24]
    sections = bytes.fromhex("0a0d0d0a1c0000004d3c2b1a01000000ffffffffffffffff1c000000")
    udp = bytes.fromhex("0200000000010200000000020800" "4500001e00000000401100000a0000010a000002"
                        "12345678000a00006869")
    compressed = gzip.compress((captures / "household-clean.rsp").read_bytes())
    broken = "the gzip data is damaged before byte 1447: invalid distance too far back"
    one_direction = "it is one direction, the requests are not held (--request and --response read both)"
    unknown = ("begins like none of these: a packet file (pcap, pcapng), an HTTP archive (HAR), capture records (NDJSON), "
               "HTTP requests or responses as sent; each may be compressed with gzip")

    def nothing(number, name, form, what):
        return [name, "input.empty", f"there is nothing to check: {what}"], [number, name, form, True, []]

    def unreadable(number, name, why):
        return [name, "input.unreadable", why], [number, name, None, False, [why]]

    with tempfile.TemporaryDirectory() as folder:
        for name, data in {"empty": b"", "header": header, "blank": b"\r\n", "text": b"no capture", "folder/": b"",
                           "udp": header + (bytes(8) + len(udp).to_bytes(4, "little") * 2 + udp) * 5,
                           "records": b'{"type":"run"}\n', "bare.pcapng": sections,
                           "broken.gz": compressed[:1000] + bytes(100) + compressed[1100:]}.items():
            if name.endswith("/"):
                pathlib.Path(folder, name).mkdir()
            else:
                pathlib.Path(folder, name).write_bytes(data)
        expect("inputs without traffic",
               inputs_and_remarks(folder, "empty", "header", "blank", "udp", "records", "bare.pcapng"), [
                   5, *nothing(1, "empty", None, "it is empty"), *nothing(2, "header", "pcap", "no packets"),
                   *nothing(3, "blank", "http", "no messages"),
                   *nothing(4, "udp", "pcap", "5 packets, none of them TCP over IP"),
                   *nothing(5, "records", "ndjson", "1 line, none of them a message"),
                   *nothing(6, "bare.pcapng", "pcapng", "no packets")])
        expect("inputs that cannot be read",
               inputs_and_remarks(folder, "missing", "text", "folder", "broken.gz"), [
                   3, *unreadable(1, "missing", "No such file or directory"), *unreadable(2, "text", unknown),
                   *unreadable(3, "folder", "the directory holds no files"),
                   ["broken.gz", "input.incomplete", "the capture ends inside the body"],
                   ["broken.gz", "input.unreadable", broken],
                   [4, "broken.gz", "http", False, [broken, one_direction, "it ends early"]]])


def check_verbose():
    record = {"type": "capture", "connection": 1, "direction": "to_accessory"}
    with tempfile.TemporaryDirectory() as folder:
        records = pathlib.Path(folder, "records")
        records.write_text("".join(json.dumps({**record, "header_base64": base64.b64encode(header).decode()}) + "\n"
                                   for header in (b"GET /accessories HTTP/1.1\r\n", b"PATCH /x HTTP/1.1\r\n")))
        run = subprocess.run([tool, "traffic", *profile_for("household"), "--verbose", "records"],
                             capture_output=True, text=True, check=False, cwd=folder)
        size = records.stat().st_size
    expect("verbose report", run.stdout.split("\n\n")[:3], [
        "connection 1 of input 1\n"
        "records:0: message 1, request GET /accessories (connection 1, line 1): ok",
        f"records:{size // 2 + 4}: message 2, request PATCH /x (connection 1, line 2)\n"
        "  note[class.unrecognised]: no message class recognises this request",
        "records:0: note[input.unanswered]: 2 requests have no response in the capture; the first is message 1, "
        "GET /accessories"])


def check_pipe():
    """Each finding can be read before the next message is written; then the run is interrupted."""
    request = b"PATCH /none HTTP/1.1\r\n\r\n"
    run = subprocess.Popen([tool, "traffic", *profile_for("household"), "--output", "ndjson", "-"],
                           stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    for number in range(1, 4):
        run.stdin.write(request)
        run.stdin.flush()
        record = {"type": None}
        while record["type"] != "finding":
            record = json.loads(run.stdout.readline())
        expect("finding while the pipe is open", [record["message"], record["rule"]],
               [number, "class.unrecognised"])
    run.send_signal(signal.SIGHUP)
    expect("exit of an interrupted run", run.wait(), 128 + signal.SIGHUP)
    records = [json.loads(line) for line in run.stdout]
    expect("records of an interrupted run",
           [[record["type"], record["complete"]] for record in records], [["input", False], ["summary", False]])
    expect("complaints of an interrupted run", run.stderr.read(), b"")


def check_ignored_signal():
    """nohup has made SIGHUP be ignored, and so it stays."""
    run = subprocess.Popen(["nohup", tool, "traffic", *profile_for("household"), "-"], stdin=subprocess.PIPE,
                           stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    run.stdin.write("GET /none HTTP/1.1\r\n\r\n")
    run.stdin.flush()
    run.stdout.readline()
    run.send_signal(signal.SIGHUP)
    run.communicate()
    expect("exit after an ignored signal", run.returncode, 5)


def check_few_descriptors():
    """More inputs than may be open at once give the same report, in one process and in several."""
    names = [captures / f"packets/household-clean{kind}.pcap" for kind in ("", "-missing")] * 40
    reports = []
    for jobs, most in (("1", 1024), ("1", 24), ("3", 24)):
        run = subprocess.run([tool, "traffic", *profile_for("household"), "--jobs", jobs, *names],
                             capture_output=True, check=False, preexec_fn=lambda: resource.setrlimit(
                                 resource.RLIMIT_NOFILE, (most, most)))
        expect("complaints of a run of many inputs", run.stderr, b"")
        reports.append(run.stdout)
    expect("reports of many inputs", reports[1:], [reports[0]] * 2)


def check_saved_runs_of_pipes():
    """A run is written again as it arrives, compressed or not, and beside others."""
    run = subprocess.run([tool, "traffic", *profile_for("household"), "--output", "text", "--output",
                          "ndjson=/dev/stderr", captures / "household.har"], capture_output=True, check=False)
    report = [tool, "report"]
    for data in (run.stderr, gzip.compress(run.stderr)):
        again = subprocess.run([*report, "-"], input=data, capture_output=True, check=False)
        expect("saved run of a pipe", [again.stdout, again.stderr, again.returncode], [run.stdout, b"", 1])
    with tempfile.TemporaryFile() as file:
        file.write(run.stderr)
        file.seek(0)
        again = subprocess.run([*report, "-"], stdin=file, capture_output=True, check=False)
    expect("saved run as standard input", [again.stdout, again.stderr], [run.stdout, b""])
    cut = subprocess.run([*report, "-"], input=gzip.compress(run.stderr)[:5000], capture_output=True, check=False)
    expect("cut compressed run", [re.sub(rb"\d+", b"N", cut.stderr), cut.returncode],
           [b"qvcheck: -: line N: the gzip data ends too early\n", 3])
    lines = run.stderr.splitlines(keepends=True)
    live = subprocess.Popen([*report, "--quiet", "-"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE)
    first = next(number for number, line in enumerate(lines) if b'"type":"finding"' in line)
    live.stdin.write(b"".join(lines[:first + 1]))
    live.stdin.flush()
    expect("finding while the run is written", live.stdout.readline(),
           subprocess.run([tool, "traffic", *profile_for("household"), "--quiet", captures / "household.har"],
                          capture_output=True, check=False).stdout.splitlines(keepends=True)[0])
    live.send_signal(signal.SIGINT)
    expect("exit of an interrupted report", live.wait(), 128 + signal.SIGINT)
    expect("complaints of an interrupted report", live.stderr.read(), b"")


def check_progress(*jobs):
    """Told on a terminal alone: a line that is rewritten and erased."""
    name = captures / "packets/household-clean.pcap"
    command = [tool, "traffic", *profile_for("household"), "--progress", *jobs, *[name] * (1 + len(jobs))]
    terminal, other_end = pty.openpty()
    run = subprocess.run(command, stdout=subprocess.PIPE, stderr=other_end, text=True, check=False)
    os.close(other_end)
    told = b""
    try:
        while piece := os.read(terminal, 4096):
            told += piece
    except OSError:  # how Linux tells the end
        pass
    expect("progress ends erased", told.endswith(b"\r\x1b[K"), True)
    line = re.fullmatch(rb"\r\x1b\[K[0-9.]+ MB of 0\.0 MB \(\d+ %\), \d+ messages?, 0 faulty", told[:-4].split(b"\r\x1b[K\r")[0])
    expect("progress line", bool(line), True)
    elsewhere = subprocess.run(command, capture_output=True, text=True, check=False)
    expect("progress elsewhere", [elsewhere.stderr, elsewhere.stdout], ["", run.stdout])


def check_interruption_of_a_file():
    with tempfile.NamedTemporaryFile(suffix=".req") as file:
        file.write(b"PATCH /none HTTP/1.1\r\n\r\n" * 1_000_000)
        file.flush()
        run = subprocess.Popen([tool, "traffic", *profile_for("household"), "--max-findings", "1", file.name],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        try:
            run.wait(1)
        except subprocess.TimeoutExpired:
            pass
        run.send_signal(signal.SIGINT)
        out, complaints = run.communicate()
    expect("exit of an interrupted run", [run.returncode, complaints], [128 + signal.SIGINT, ""])
    expect("end of an interrupted report", out.splitlines()[-1],
           "exit 130 (ended by signal 2); otherwise 3 (input unreadable, damaged or incomplete), also 5 "
           "(nothing was judged)")


check_conversions()
check_directories()
check_what_a_directory_holds()
check_inputs_without_traffic()
check_verbose()
check_pipe()
check_saved_runs_of_pipes()
check_interruption_of_a_file()
check_progress()
check_progress("--jobs=2")
check_ignored_signal()
check_few_descriptors()
sys.exit("\n".join(failures) or 0)
