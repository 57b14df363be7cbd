#!/usr/bin/env python3
"""A stand-in lamp accessory that writes captures.

    accessory.py serve NAME [--fault N:KIND]... [--port-file FILE] [--requests N] [--seconds N]
    accessory.py bodies DIRECTORY

`serve` listens on a free loopback port, answers one controller over one kept-alive connection and
writes the bytes of both directions, exactly as they went over the socket, to NAME.req and NAME.rsp.
It ends when the controller hangs up, after N requests or after N seconds, whichever comes first.
`--fault` damages the answer to request N (counted from 1); `--help` lists the kinds. `bodies` writes
the pairing bodies that a controller sends, one file each.

Nothing here is secret or secured: keys, proofs and sealed data are fixed bytes that look random.
"""

import argparse
import hashlib
import json
import socket
import sys
import time
from pathlib import Path

TLV8 = "application/pairing+tlv8"
JSON = "application/vel+json"
REASONS = {200: "OK", 201: "Created", 204: "No Content", 207: "Multi-Status",
           400: "Bad Request", 405: "Method Not Allowed", 500: "Internal Server Error"}

# Field types of the structure "Pairing" in the profiles.
STATE, METHOD, ERROR, RETRY_DELAY, IDENTIFIER, SALT, PUBLIC_KEY, PROOF, SEALED = range(1, 10)
PERMISSIONS, FLAGS, SEPARATOR = 0x0C, 0x0F, 0xFF

REQUEST_LIMIT = 1 << 16  # bytes of one request


def filler(label, length):
    """Fixed bytes that look random."""
    return hashlib.shake_256(label.encode()).digest(length)


def tlv8(*items):
    """Items of (type, value); a value beyond 255 bytes becomes fragments of 255 and a rest."""
    out = bytearray()
    for kind, value in items:
        value = bytes([value]) if isinstance(value, int) else value
        for start in range(0, max(len(value), 1), 255):
            fragment = value[start:start + 255]
            out += bytes([kind, len(fragment)]) + fragment
    return bytes(out)


# What a controller sends, in the order of an exchange.
BODIES = {
    "setup-1": tlv8((STATE, 1), (METHOD, 0), (FLAGS, b"\x01\0\0\0")),
    "setup-3": tlv8((STATE, 3), (PUBLIC_KEY, filler("controller setup key", 320)),
                    (PROOF, filler("controller proof", 48))),
    "setup-5": tlv8((STATE, 5), (SEALED, filler("controller setup seal", 171))),
    "verify-1": tlv8((STATE, 1), (PUBLIC_KEY, filler("controller verify key", 40))),
    "verify-3": tlv8((STATE, 3), (SEALED, filler("controller verify seal", 133))),
    "list": tlv8((STATE, 1), (METHOD, 5)),
    # Bodies with a fault each.
    "setup-bad-state": tlv8((STATE, 7), (METHOD, 0)),
    "verify-truncated": tlv8((STATE, 1), (PUBLIC_KEY, filler("controller verify key", 40)))[:-3],
}

# What the accessory answers, by path and by the state of the request.
PAIRING = {
    ("/pair-setup", 1): tlv8((STATE, 2), (SALT, filler("salt", 24)),
                             (PUBLIC_KEY, filler("accessory setup key", 320))),
    ("/pair-setup", 3): tlv8((STATE, 4), (PROOF, filler("accessory proof", 48))),
    ("/pair-setup", 5): tlv8((STATE, 6), (SEALED, filler("accessory setup seal", 260))),
    ("/pair-verify", 1): tlv8((STATE, 2), (PUBLIC_KEY, filler("accessory verify key", 40)),
                              (SEALED, filler("accessory verify seal", 117))),
    ("/pair-verify", 3): tlv8((STATE, 4)),
    ("/pairings", 1): tlv8((STATE, 2),
                           (IDENTIFIER, b"kitchen-tablet"), (PERMISSIONS, 1),
                           (PUBLIC_KEY, filler("tablet key", 40)), (SEPARATOR, b""),
                           (IDENTIFIER, b"hallway-panel"), (PERMISSIONS, 0),
                           (PUBLIC_KEY, filler("panel key", 40))),
}
REFUSED = tlv8((STATE, 2), (ERROR, 3), (RETRY_DELAY, b"\x1e\0"))

# The attribute database: services of (type, iid, characteristics); a characteristic is
# (type, iid, permissions, format, value, limits), with no value when it cannot be read.
SERVICES = [
    ("B001", 1, [("A001", 2, ["pr"], "string", "Desk Lamp", {"maxLen": 64}),
                 ("A002", 3, ["pw"], "bool", None, {})]),
    ("B101", 8, [("A101", 9, ["pr", "pw", "ev"], "bool", True, {}),
                 ("A102", 10, ["pr", "pw", "ev"], "int", 40,
                  {"unit": "percentage", "minValue": 0, "maxValue": 100, "minStep": 1}),
                 ("A103", 11, ["pr", "pw", "ev"], "uint8", 2, {"minValue": 0, "maxValue": 3})]),
]


class Lamp:
    """The attribute database and its answers."""

    def __init__(self):
        self.values = {row[1]: row[4] for _, _, rows in SERVICES for row in rows}

    def database(self):
        services = []
        for kind, iid, rows in SERVICES:
            characteristics = []
            for row_kind, row_iid, perms, form, _, limits in rows:
                entry = {"type": row_kind, "iid": row_iid, "perms": perms, "format": form, **limits}
                if "pr" in perms:
                    entry["value"] = self.values[row_iid]
                characteristics.append(entry)
            services.append({"type": kind, "iid": iid, "characteristics": characteristics})
        return {"accessories": [{"aid": 1, "services": services}]}

    def entries(self, iids):
        return {"characteristics":
                [{"aid": 1, "iid": iid, "value": self.values[iid]} for iid in iids]}

    def read(self, url):
        ids = [pair.split(".") for pair in url.partition("?id=")[2].split(",")]
        known = [int(iid) for aid, iid in ids if aid == "1" and self.values.get(int(iid)) is not None]
        if len(known) == len(ids):
            return 200, self.entries(known)
        return 207, {"characteristics": [
            {"aid": int(aid), "iid": int(iid), **({"value": self.values[int(iid)], "status": 0}
             if aid == "1" and int(iid) in known else {"status": -70409})} for aid, iid in ids]}

    def write(self, body):
        for entry in json.loads(body)["characteristics"]:
            if "value" in entry:
                self.values[entry["iid"]] = entry["value"]

    def answer(self, method, url, body):
        """Code, content type and body of the answer; content type and body may be None."""
        def as_json(code, entity):
            return code, JSON, json.dumps(entity, separators=(",", ":")).encode()

        if method == "POST" and url in ("/pair-setup", "/pair-verify", "/pairings"):
            state = body[2] if body[:2] == bytes([STATE, 1]) and len(body) > 2 else 0
            return 200, TLV8, PAIRING.get((url, state), REFUSED)
        if method == "GET" and url == "/accessories":
            return as_json(200, self.database())
        if method == "GET" and url.startswith("/characteristics?id="):
            return as_json(*self.read(url))
        if method == "PUT" and url == "/characteristics":
            self.write(body)
            return 204, None, None
        if method == "PUT" and url == "/prepare":
            return as_json(200, {"status": 0})
        if method == "POST" and url == "/identify":
            return 204, None, None
        if method == "POST" and url == "/resource":
            return 200, "image/jpeg", b"\xff\xd8\xff" + filler("picture", 200) + b"\xff\xd9"
        return 405, None, b""


def message(start, content_type=None, body=None, name="Content-Type"):
    lines = [start]
    if content_type is not None:
        lines.append(f"{name}: {content_type}")
    if body is not None:
        lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join(lines + ["", ""]).encode() + (body or b"")


def response(code, content_type, body, **more):
    return message(f"HTTP/1.1 {code} {REASONS[code]}", content_type, body, **more)


def event(lamp):
    body = json.dumps(lamp.entries([9]), separators=(",", ":")).encode()
    return message("EVENT/1.0 200 OK", JSON, body)


# What can be done to an answer of (code, content type, body) on its way out.
FAULTS = {
    "charset": lambda lamp, c, t, b: response(c, f"{t}; charset=utf-8", b),
    "lower-case-name": lambda lamp, c, t, b: response(c, t, b, name="content-type"),
    "truncated": lambda lamp, c, t, b: response(c, t, b[:-5]),
    "unknown-field": lambda lamp, c, t, b: response(c, t, b + tlv8((0x5E, b"?"))),
    "bad-state": lambda lamp, c, t, b: response(c, t, tlv8((STATE, 9)) + b[3:]),
    "bad-length": lambda lamp, c, t, b: response(
        c, t, tlv8((STATE, 2), (ERROR, 3), (RETRY_DELAY, b"\x1e"))),
    "too-long": lambda lamp, c, t, b: response(
        c, t, tlv8((STATE, 2), (IDENTIFIER, b"a tablet with a name of forty characters"))),
    "code-201": lambda lamp, c, t, b: response(201, t, b),
    "code-500": lambda lamp, c, t, b: response(500, None, b""),
    "204-with-body": lambda lamp, c, t, b: response(204, None, None) + b"x",
    "event-after": lambda lamp, c, t, b: response(c, t, b) + event(lamp),
}


class Connection:
    """One controller; keeps what was read and sent."""

    def __init__(self, stream, deadline):
        self.stream, self.deadline = stream, deadline
        self.received, self.sent, self.used = bytearray(), bytearray(), 0

    def _more(self):
        self.stream.settimeout(max(self.deadline - time.monotonic(), 0.01))
        chunk = self.stream.recv(4096)
        self.received += chunk
        return bool(chunk)

    def request(self):
        """Method, URL and body of the next request; None when the controller hung up."""
        while (end := self.received.find(b"\r\n\r\n", self.used)) < 0:
            if len(self.received) - self.used > REQUEST_LIMIT:
                raise ValueError("request header too long")
            if not self._more():
                return None
        lines = self.received[self.used:end].decode("ascii").split("\r\n")
        method, url, _ = lines[0].split(" ")
        fields = dict(line.lower().split(": ", 1) for line in lines[1:])
        length = int(fields.get("content-length", "0"))
        if length > REQUEST_LIMIT:
            raise ValueError("request body too long")
        while len(self.received) < end + 4 + length:
            if not self._more():
                return None
        self.used = end + 4 + length
        return method, url, bytes(self.received[end + 4:self.used])

    def send(self, data):
        # One call, so that a controller sees what follows an answer together with the answer.
        self.stream.sendall(data)
        self.sent += data


def serve(arguments):
    faults = dict(arguments.fault)
    deadline = time.monotonic() + arguments.seconds
    with socket.create_server(("127.0.0.1", 0), backlog=1) as listener:
        port = listener.getsockname()[1]
        if arguments.port_file is None:
            print(port, flush=True)
        else:
            # In one step, so that whoever waits for the file never reads half of it.
            part = arguments.port_file.with_suffix(".part")
            part.write_text(f"{port}\n")
            part.rename(arguments.port_file)
        listener.settimeout(arguments.seconds)
        stream, _ = listener.accept()
    connection, lamp, count = Connection(stream, deadline), Lamp(), 0
    with stream:
        while count < arguments.requests and (request := connection.request()) is not None:
            count += 1
            answer = lamp.answer(*request)
            connection.send(FAULTS[faults.pop(count)](lamp, *answer) if count in faults
                            else response(*answer))
    if faults:
        raise ValueError(f"no request came for the faults {faults}")
    Path(f"{arguments.name}.req").write_bytes(connection.received)
    Path(f"{arguments.name}.rsp").write_bytes(connection.sent)


def fault(text):
    number, _, kind = text.partition(":")
    if kind not in FAULTS:
        raise argparse.ArgumentTypeError(f"no fault is called '{kind}'")
    return int(number), kind


def main():
    parser = argparse.ArgumentParser(description="A stand-in lamp accessory that writes captures.")
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("serve", epilog="faults: " + ", ".join(FAULTS))
    command.add_argument("name", help="NAME.req and NAME.rsp are written")
    command.add_argument("--fault", type=fault, action="append", default=[], metavar="N:KIND")
    command.add_argument("--port-file", type=Path, help="where the port goes; standard output else")
    command.add_argument("--requests", type=int, default=100, help="the most to answer")
    command.add_argument("--seconds", type=float, default=20, help="the longest to run")
    command.set_defaults(run=serve)
    command = commands.add_parser("bodies")
    command.add_argument("directory", type=Path)
    command.set_defaults(run=lambda arguments: [
        (arguments.directory / f"{name}.tlv8").write_bytes(body) for name, body in BODIES.items()])
    arguments = parser.parse_args()
    try:
        arguments.run(arguments)
    except (OSError, ValueError) as error:
        sys.exit(f"accessory: {error}")


if __name__ == "__main__":
    main()
