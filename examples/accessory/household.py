"""A household bridge with three accessories: its attribute database and its JSON answers."""

import base64
import json
import re
from typing import Any, NamedTuple

import pairing
from pairing import tlv8
from wire import JSON, Answer, filler

# Status codes of single characteristics and of whole requests.
DONE, NEEDS_AUTHORIZATION, READ_ONLY, WRITE_ONLY, NOT_FOUND, NOT_VALID = (
    0, -70401, -70404, -70405, -70409, -70410)


class Characteristic(NamedTuple):
    type: str
    iid: int
    perms: str
    format: str
    value: Any = None  # None in a readable one is sent as null: not known yet
    more: dict = {}  # keys in the order in which they are sent


def full(short):
    """The long form of a type of the profile; the database mixes long and short forms."""
    return f"0000{short}-0000-1000-8000-0A3F5C91D270"


def text(data):
    return base64.b64encode(data).decode()


def card(name, maker, serial, *more):
    rows = [Characteristic("A201", 2, "pr", "string", name, {"maxLen": 64}),
            Characteristic("A202", 3, "pr", "string", maker),
            Characteristic("A203", 4, "pr", "string", serial),
            Characteristic("A204", 5, "pw", "bool")]
    return full("B201"), 1, {}, [*rows, *more]


PERCENT = {"unit": "percentage", "minValue": 0, "maxValue": 100, "minStep": 1}
CLOCK_SIX, CLOCK_NINE = (tlv8((1, hour), (2, 30), (3, 0)) for hour in (6, 9))
PLAN = tlv8((1, tlv8((1, 0x1F), (2, CLOCK_SIX), (3, CLOCK_NINE), (4, b"Morning"))),
            (2, b"\0\0\xa8\x41"), (3, 1))
ALARM_RECORD = tlv8((1, b"\x07" + bytes(7)), (2, b"\x10\x0e\0\0"), (3, b"\x04\0"),
                    (0x21, "Küche".encode()))
LOCK_RECORD = tlv8((1, b"\x2a" + bytes(7)), (4, 0xFF), (0x22, filler("fingerprint", 32)))

# Accessories of (aid, services); a service is (type, iid, further keys, characteristics). Types,
# formats, permissions, units and limits are those of examples/profiles/household.xml; the last
# service of the lamp is its maker's own and in no profile.
ACCESSORIES = [
    (1, [
        card("Bridge", "Example Works", "BR-0001",
             Characteristic(full("A205"), 6, "pr", "uint32", 65536),
             Characteristic(full("A206"), 7, "pr", "data", text(filler("digest", 32)),
                            {"maxDataLen": 64})),
        ("B206", 8, {"primary": True}, [
            Characteristic("A250", 9, "pr pw ev tw", "bool", True),
            Characteristic("A251", 10, "pr ev", "uint16", 0x8004),
            Characteristic("A252", 11, "pr pw", "uint8", 85, {"minValue": 0, "maxValue": 120}),
            Characteristic("A253", 12, "pr ev", "tlv8", text(ALARM_RECORD))]),
        ("B20C", 13, {"linked": [8]}, [
            Characteristic("A2B0", 14, "pr pw", "string", "de", {"maxLen": 2}),
            Characteristic("A2B1", 15, "pr pw ev", "string", 'Gäste um "acht"\n',
                           {"maxLen": 256, "description": "A note on the wall"}),
            Characteristic("A2B2", 16, "pr", "uint64", 0x8000000000000003),
            Characteristic("A2B3", 17, "pr pw", "array", ["Morning", {"name": "Film", "dim": 0.2}]),
            Characteristic("A2B4", 18, "pr pw ev", "dict",
                           {"columns": 2, "tiles": [[1, 9], [2, 9]], "dark": False})])]),
    (2, [
        card("Ceiling Lamp", "Example Works", "CL-0042"),
        (full("B202"), 8, {"primary": True, "hidden": False}, [
            Characteristic(full("A210"), 9, "pr pw ev", "bool", True, {"ev": False}),
            Characteristic("A211", 10, "pr pw ev", "int", 40, PERCENT),
            Characteristic("a212", 11, "pr pw ev", "float", 212.5,
                           {"unit": "arcdegrees", "minValue": 0, "maxValue": 360, "minStep": 1}),
            Characteristic("A213", 12, "pr pw ev", "float", 80, PERCENT),
            Characteristic("A214", 13, "pr pw ev", "uint16", 300,
                           {"minValue": 140, "maxValue": 500, "valid-values-range": [140, 500]})]),
        ("B207", 16, {"hidden": False, "linked": [8]}, [
            Characteristic("A261", 17, "pr ev", "bool", 0),
            Characteristic("A260", 18, "pr ev", "float", 0.0001,
                           {"unit": "lux", "minValue": 0.0001, "maxValue": 100000}),
            Characteristic("A262", 19, "pr ev", "uint8", None,
                           {"minValue": 1, "maxValue": 3, "valid-values": [1, 2, 3]}),
            Characteristic("A263", 20, "pr ev", "uint16", 12, {"minValue": 0, "maxValue": 1000}),
            Characteristic("A264", 21, "pr ev", "uint8", 97,
                           {"unit": "percentage", "minValue": 0, "maxValue": 100})]),
        ("7D1C4F5A-63E0-4B11-9C58-2E0A5B7F9D31", 24, {"hidden": True}, [
            Characteristic("7D1C4F5B-63E0-4B11-9C58-2E0A5B7F9D31", 25, "pr", "uint32", 1834,
                           {"description": "Burning hours"})])]),
    (3, [
        card("Hallway", "Example Works", "HW-0007"),
        ("B203", 8, {"primary": True}, [
            Characteristic("A220", 9, "pr pw ev", "uint8", 1,
                           {"minValue": 0, "maxValue": 3, "valid-values": [0, 1, 3]}),
            Characteristic("A221", 10, "pr ev", "float", -3.5,
                           {"unit": "celsius", "minValue": -40, "maxValue": 125.5,
                            "minStep": 0.1}),
            Characteristic("A222", 11, "pr pw ev", "float", 21,
                           {"unit": "celsius", "minValue": 4.5, "maxValue": 30, "minStep": 0.5}),
            Characteristic("A223", 12, "pr pw", "tlv8", text(PLAN)),
            Characteristic("A224", 13, "pr", "uint64", 9007199254740993,
                           {"minValue": 0, "maxValue": 9223372036854775807}),
            Characteristic("A225", 14, "pr ev", "float", 48.25, PERCENT)]),
        ("B204", 16, {}, [
            Characteristic("A230", 17, "pr ev", "uint8", 1),
            Characteristic("A231", 18, "pr pw ev tw aa", "uint8", 1,
                           {"minValue": 0, "maxValue": 1}),
            Characteristic("A232", 19, "pw hd", "data", None, {"maxDataLen": 32}),
            Characteristic("A233", 20, "pr pw", "uint32", 90,
                           {"unit": "seconds", "minValue": 0, "maxValue": 86400}),
            Characteristic("A234", 21, "pr ev ur", "tlv8", text(LOCK_RECORD))])]),
]


def as_json(value):
    return json.dumps(value, separators=(",", ":"), ensure_ascii=False).encode()


class Household:
    """The values, and what one controller asked for."""

    def __init__(self):
        self.rows = {(aid, row.iid): row
                     for aid, services in ACCESSORIES for _, _, _, rows in services for row in rows}
        self.values = {place: row.value for place, row in self.rows.items()}
        self.subscribed = []
        self.prepared = False

    def permits(self, place, permission):
        return permission in self.rows[place].perms.split()

    def database(self):
        def characteristic(aid, row):
            out = {"type": row.type, "iid": row.iid, "perms": row.perms.split(),
                   "format": row.format, **row.more}
            if self.permits((aid, row.iid), "pr"):
                out["value"] = self.values[aid, row.iid]
            return out
        return {"accessories": [
            {"aid": aid, "services": [
                {"type": kind, "iid": iid, **more,
                 "characteristics": [characteristic(aid, row) for row in rows]}
                for kind, iid, more, rows in services]}
            for aid, services in ACCESSORIES]}

    def entry(self, place):
        return {"aid": place[0], "iid": place[1], "value": self.values[place]}

    def event(self):
        """What a notification carries: all that was subscribed to, the alarm when nothing was."""
        return {"characteristics": [self.entry(place) for place in self.subscribed or [(1, 9)]]}

    def read(self, url):
        query = re.fullmatch(r"/characteristics\?id=((?:\d+\.\d+,?)*)(?:&.*)?", url)
        if query is None:
            return Answer(400, JSON, as_json({"characteristics": []}))
        places = [tuple(map(int, place)) for place in re.findall(r"(\d+)\.(\d+)", query[1])]

        def status(place):
            if place not in self.rows:
                return NOT_FOUND
            return DONE if self.permits(place, "pr") else WRITE_ONLY

        if all(status(place) == DONE for place in places):
            entries = [self.entry(place) for place in places]
            return Answer(200, JSON, as_json({"characteristics": entries}))
        entries = [{**self.entry(place), "status": DONE} if status(place) == DONE else
                   {"aid": place[0], "iid": place[1], "status": status(place)} for place in places]
        return Answer(207, JSON, as_json({"characteristics": entries}))

    def write(self, body):
        """Everything done: 204; something refused: 207; not authorised: 500; unreadable: 400."""
        try:
            entries = json.loads(body)["characteristics"]
            places = [(int(entry["aid"]), int(entry["iid"])) for entry in entries]
        except (ValueError, KeyError, TypeError):
            return Answer(400, None, b"")
        prepared, self.prepared = self.prepared, False
        if any(place in self.rows and self.permits(place, "aa") and "authData" not in entry
               for place, entry in zip(places, entries)):
            return Answer(500, JSON, as_json({"status": NEEDS_AUTHORIZATION}))
        statuses = [self.write_one(place, entry, prepared)
                    for place, entry in zip(places, entries)]
        if all(status == DONE for status in statuses):
            return Answer(204)
        return Answer(207, JSON, as_json({"characteristics": [
            {"aid": place[0], "iid": place[1], "status": status}
            for place, status in zip(places, statuses)]}))

    def write_one(self, place, entry, prepared):
        if place not in self.rows:
            return NOT_FOUND
        if "ev" in entry:
            if not self.permits(place, "ev"):
                return NOT_VALID
            self.subscribed = [other for other in self.subscribed if other != place]
            if entry["ev"]:
                self.subscribed.append(place)
        elif not self.permits(place, "pw"):
            return READ_ONLY
        elif self.permits(place, "tw") and not prepared:
            return NOT_VALID
        elif "value" in entry:
            self.values[place] = entry["value"]
        return DONE

    def answer(self, method, url, body):
        if method == "POST" and url in pairing.PATHS:
            return pairing.answer(url, body)
        if method == "GET" and url == "/accessories":
            return Answer(200, JSON, as_json(self.database()))
        if method == "GET" and url.startswith("/characteristics"):
            return self.read(url)
        if method == "PUT" and url == "/characteristics":
            return self.write(body)
        if method == "PUT" and url == "/prepare":
            self.prepared = True
            return Answer(200, JSON, as_json({"status": DONE}))
        if method == "POST" and url == "/identify":
            return Answer(204)
        if method == "POST" and url == "/resource":
            return Answer(200, "image/jpeg", b"\xff\xd8\xff" + filler("picture", 200) + b"\xff\xd9")
        return Answer(405, None, b"")
