#!/usr/bin/env python3
"""Holds what qvcheck finds in packet files against what it finds in the byte streams that went over the
connection: the same where every byte was captured, however the packets lie, and nothing that the
streams do not have where bytes are missing.

    packet_files_test.py TOOL SOURCES           the files of examples/captures/packets, and variants
    packet_files_test.py TOOL SOURCES --fresh   a recording made now; ends with 77 where none can be
"""
import collections
import concurrent.futures
import gzip
import json
import pathlib
import random
import subprocess
import sys
import tempfile

tool, root = sys.argv[1], pathlib.Path(sys.argv[2])
sys.dont_write_bytecode = True
sys.path.insert(0, str(root / "tests/support"))
import packet_variants as packets  # noqa: E402

CAPTURES = root / "examples/captures"
# Parts of the names of files in which bytes are missing.
LESS = ("snapped", "responses", "missing")


def profile(name):
    return root / f"examples/profiles/{'lamp' if name.startswith('pairing') else 'household'}.xml"


def findings(name, *arguments):
    """What is wrong with which messages, each as often as it is found, without its place in the
    capture; and the messages without fault."""
    run = subprocess.run([tool, "traffic", *arguments, "--profile", profile(name), "--output", "ndjson"],
                         capture_output=True, text=True, check=False)
    if run.returncode not in (0, 1, 3, 5) or run.stderr:
        raise AssertionError(f"exit {run.returncode}: {run.stderr}")
    found, messages = collections.Counter(), {}
    for record in map(json.loads, run.stdout.splitlines()):
        if record["type"] == "message":
            messages[record["message"]] = record
            if record["verdict"] == "ok":
                found[start_of(record)] += 1
        elif record["type"] == "finding" and not record["rule"].startswith("input."):
            message, place = messages[record["message"]], record["location"]
            begin = place.pop("byte_offset", None)
            del place["input"], place["name"]
            if begin is not None and message["offset"] is not None:
                place["in_message"] = begin - message["offset"]
            found[start_of(message), *(json.dumps(record[key], sort_keys=True) for key in (
                "rule", "severity", "text", "location", "expected", "actual"))] += 1
    return found


def start_of(message):
    return tuple(message[key] for key in ("direction", "kind", "class", "method", "url", "code",
                                          "body_length"))


def stream_of(path):
    """The streams that a packet file belongs to: beside it, or in the folder above."""
    for folder in (path.parent, CAPTURES):
        names = [file.stem for file in folder.glob("*.req") if path.name.startswith(file.stem)]
        if names:
            return folder / max(names, key=len)
    raise AssertionError(f"no streams for {path}")


class Case(collections.namedtuple("Case", "name path streams whole")):
    """A packet file and the streams of its connections."""

    def fault(self, clean):
        due = sum((clean[stream] for stream in self.streams), collections.Counter())
        found = findings(self.streams[0].name, self.path)
        more, less = found - due, due - found
        if more or (less and self.whole):
            return f"{self.name} ({self.path}):" + "".join(
                f"\n  {what}: {list(part.items())[:3]}"
                for what, part in (("too much", more), ("missing", less)) if part), 0
        return None, found.total() / due.total()


def files(folder):
    for path in sorted(folder.glob("*.pcap*")):
        yield Case(path.name, path, [stream_of(path)], not any(word in path.name for word in LESS))


def variants(folder):
    """Files made of the recordings with faults."""
    number = 0

    def case(name, streams, pieces, whole=True, pack=bytes):
        nonlocal number
        number += 1
        path = folder / f"{number}.pcap"
        path.write_bytes(pack(b"".join(pieces)))
        return Case(name, path, streams, whole)

    link_types = (packets.COOKED, packets.COOKED_2, packets.RAW, packets.LOOPBACK, packets.LOOP)
    captures = {}
    for path in sorted((CAPTURES / "packets").glob("*-faulty-lossy.pcap*")):
        stream, all_of_it = stream_of(path), packets.read(path)
        captures[stream] = all_of_it
        is_4 = packets.ether_type(all_of_it[0]) == packets.IPV4

        def of(name, changed, write=packets.pcap, **more):
            return case(f"{path.name}, {name}", [stream], write(changed), **more)

        for order in "<>":
            yield of(f"pcap {order}", all_of_it, lambda p: packets.pcap(p, order, order == ">"))
            yield of(f"pcapng {order}", all_of_it, lambda p: packets.pcapng(p, order, order == ">"))
        yield of("compressed", all_of_it, pack=gzip.compress)
        for link in link_types:
            yield of(f"link type {link}", packets.linked(all_of_it, link))
        yield of("mixed link types", [
            packet if at % 6 == 5 else packets.linked([packet], link_types[at % 6])[0]
            for at, packet in enumerate(all_of_it)], packets.pcapng)
        yield of("tagged", packets.tagged(all_of_it, (0x8100, 12)))
        yield of("tagged twice", packets.tagged(all_of_it, (0x88A8, 1), (0x8100, 12)))
        yield of("wrapping", packets.wrapping(all_of_it))
        yield of("ports used twice", all_of_it + packets.moved(all_of_it, sequence=10**9, seconds=90)
                 )._replace(streams=[stream, stream])
        for seed in range(2):
            chance = random.Random(seed)
            yield of(f"doubled {seed}", packets.doubled(all_of_it, chance))
            yield of(f"split {seed}", packets.split(all_of_it, chance))
            mixed = packets.wrapping(packets.doubled(packets.split(all_of_it, chance), chance))
            yield of(f"split, doubled, wrapping {seed}", mixed)
            if is_4:
                yield of(f"fragmented {seed}", packets.fragmented(all_of_it, chance))
            yield of(f"shuffled {seed}", packets.shuffled(all_of_it, chance), whole=False)
            yield of(f"shuffled, doubled {seed}",
                     packets.shuffled(packets.doubled(all_of_it, chance), chance), whole=False)
            for share in (0.02, 0.1, 0.4):
                yield of(f"without {share} {seed}", packets.without(all_of_it, chance, share), whole=False)
            yield of(f"without, shuffled, split {seed}", packets.without(packets.shuffled(
                packets.split(all_of_it, chance), chance), chance, 0.05), whole=False)
            at = chance.randrange(1, len(all_of_it))
            yield of(f"from packet {at}", all_of_it[at:], whole=False)
            yield of(f"up to packet {at}", all_of_it[:at], whole=False)
            cut = chance.uniform(0.1, 1)
            yield of(f"{cut} of the file", all_of_it, whole=False,
                     pack=lambda data: data[:int(len(data) * cut)])
        for length in (100, 200, 700):
            yield of(f"snapped to {length}", packets.snapped(all_of_it, length), whole=False)
        yield of("accessory alone", packets.sent_by(all_of_it, 51826), whole=False)
    both = [stream for stream in captures if stream.name.startswith("household")]
    first, second = (captures[stream] for stream in both)
    yield case("two connections", both, packets.pcap(packets.merged(
        first, packets.moved(second, ports=1, seconds=(first[0].time - second[0].time) / 10**9))))


def main():
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        if sys.argv[3:] == ["--fresh"]:
            run = subprocess.run([root / "scripts/record-packets", folder, "household-clean-lossy",
                                  "household-access-faulty-lossy", "pairing-faulty-lossy"], check=False)
            if run.returncode:
                sys.exit(run.returncode)
            cases = list(files(folder))
        else:
            cases = [*files(CAPTURES / "packets"), *variants(folder)]
        clean = {stream: findings(stream.name, "--request", stream.with_suffix(".req"),
                                  "--response", stream.with_suffix(".rsp"))
                 for stream in {stream for case in cases for stream in case.streams}}
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            results = list(pool.map(lambda case: case.fault(clean), cases))
    faults = [fault for fault, _ in results if fault]
    shares = [share for (_, share), case in zip(results, cases) if not case.whole]
    if faults:
        sys.exit("\n".join(faults))
    # A reader that gives up early would find nothing wrong either.
    if shares and sum(shares) < 0.5 * len(shares):
        sys.exit(f"only {sum(shares) / len(shares):.0%} is found where bytes are missing")
    print(f"{len(cases)} packet files agree with their streams")


main()
