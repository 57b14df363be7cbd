"""What can be done to the answers of the accessory on their way out, and what it says unasked.

A fault takes an answer and gives the bytes to send. `changed` replaces parts of the answer,
`edited` changes the document in its body, `database` single keys of the attribute database.
"""

import json

from household import as_json
from pairing import ERROR, IDENTIFIER, RETRY_DELAY, STATE, tlv8
from wire import JSON, Answer, message, response

ABSENT = object()


def changed(**changes):
    """The answer with other parts; a change that can be called gets the part as it was."""
    def damage(answer):
        return response(answer._replace(**{
            part: change(getattr(answer, part)) if callable(change) else change
            for part, change in changes.items()}))
    return damage


def edited(edit, **changes):
    """The answer with a document in its body that `edit` changed in place."""
    def rewrite(body):
        document = json.loads(body)
        edit(document)
        return as_json(document)
    return changed(body=rewrite, **changes)


def entry(edit):
    """The answer to a read or a write with its last entry changed in place."""
    return edited(lambda document: edit(document["characteristics"][-1]))


def whole(code, document):
    """Another answer altogether."""
    return lambda answer: response(Answer(code, JSON, as_json(document)))


def place_of(document, place):
    """The object with the ids "AID", "AID.IID" (a service or a characteristic); "" is the whole."""
    if not place:
        return document
    aid, _, iid = place.partition(".")
    accessory = next(a for a in document["accessories"] if str(a["aid"]) == aid)
    services = accessory["services"]
    found = [accessory] if not iid else [
        o for service in services for o in (service, *service["characteristics"])
        if str(o["iid"]) == iid]
    return found[0]


def database(*rows):
    """The attribute database with other keys: rows of (place, key, value or ABSENT)."""
    def edit(document):
        # All places are found before the first change hides one.
        for target, key, value in [(place_of(document, row[0]), *row[1:]) for row in rows]:
            if value is ABSENT:
                del target[key]
            else:
                target[key] = value
    return edited(edit)


FAULTS = {
    # Header and code.
    "charset": changed(type=lambda type: f"{type}; charset=utf-8"),
    "plain-json": changed(type="application/json"),
    "no-type": changed(type=None),
    "lower-case-name": lambda answer: response(answer, name="content-type"),
    "code-200": changed(code=200, body=lambda body: body or b""),
    "code-201": changed(code=201, body=lambda body: body or b""),
    "code-400": lambda answer: response(Answer(400, None, b"")),
    "code-500": lambda answer: response(Answer(500, None, b"")),
    "204-with-body": lambda answer: response(Answer(204)) + b"x",
    # Pairing bodies.
    "truncated": changed(body=lambda body: body[:-5]),
    "unknown-field": changed(body=lambda body: body + tlv8((0x5E, b"?"))),
    "bad-state": changed(body=lambda body: tlv8((STATE, 9)) + body[3:]),
    "bad-length": changed(body=tlv8((STATE, 2), (ERROR, 3), (RETRY_DELAY, b"\x1e"))),
    "too-long": changed(
        body=tlv8((STATE, 2), (IDENTIFIER, b"a tablet with a name of forty characters"))),
    # JSON bodies of any message.
    "empty-body": changed(body=b""),
    "cut-json": changed(body=lambda body: body[:len(body) // 2]),
    "broken-json": changed(body=lambda body: body[::-1].replace(b",", b";", 1)[::-1]),
    "two-documents": changed(body=lambda body: body + body),
    "top-level-array": changed(body=lambda body: b"[" + body + b"]"),
    "500-internal": whole(500, {"status": -70402, "characteristics": []}),
    "500-no-status": whole(500, {"characteristics": []}),
    "500-only-status": whole(500, {"status": -70401}),
    # Answers to reads and writes.
    "no-characteristics": edited(lambda document: document.pop("characteristics")),
    "characteristics-object": edited(lambda document: document.update(characteristics={})),
    "entry-number": edited(lambda document: document["characteristics"].insert(0, 7)),
    "without-status": entry(lambda last: last.pop("status")),
    "status-text": entry(lambda last: last.update(status=str(last["status"]))),
    "without-aid": entry(lambda last: last.pop("aid")),
    "iid-text": entry(lambda last: last.update(iid=str(last["iid"]))),
    "no-statuses": edited(
        lambda document: [one.pop("status") for one in document["characteristics"]]),
    # The attribute database.
    "vocabulary": database(
        ("1.9", "format", "Bool"), ("1.9", "perms", ["pr", "px", "ev"]),
        ("2.10", "unit", "percent"), ("2.11", "type", "A2120A212"),
        ("2.25", "format", "uint7"), ("3.8", "type", "0000B203-0000-1000-8000-0A3F5C91D270 ")),
    "missing-keys": database(
        ("1.1", "iid", ABSENT), ("1.8", "type", ABSENT), ("1.13", "characteristics", ABSENT),
        ("2", "aid", ABSENT), ("2.9", "iid", ABSENT), ("2.10", "perms", ABSENT),
        ("2.11", "format", ABSENT), ("2.12", "type", ABSENT), ("3", "services", ABSENT)),
    "wrong-kinds": database(
        ("1", "aid", "1"), ("1.1", "type", 0xB201), ("1.8", "primary", "yes"),
        ("1.8", "hidden", 2), ("1.13", "linked", 8), ("1.13", "iid", None),
        ("2.9", "ev", "no"), ("2.9", "perms", "pr"), ("2.10", "minValue", "0"),
        ("2.10", "unit", 2), ("2.11", "format", 7), ("2.13", "valid-values-range", 140),
        ("2.25", "description", 1834), ("3", "services", {})),
    "values": database(
        ("1.2", "value", 12), ("1.5", "value", True), ("1.7", "value", 7),
        ("1.9", "value", 2), ("1.12", "value", "AQI="), ("1.17", "value", {}),
        ("2.9", "value", "true"), ("2.10", "value", 40.5), ("2.11", "value", "warm"),
        ("2.17", "value", 1.0), ("2.25", "format", "hours"), ("3.3", "value", None)),
    "date": database(("2.25", "format", "date"), ("2.25", "value", "a day in May")),
    "accessories-object": database(("", "accessories", {})),
    "accessories-absent": database(("", "accessories", ABSENT)),
    "entries-no-objects": edited(lambda document: (
        place_of(document, "1.1")["characteristics"].append("A201"),
        place_of(document, "2")["services"].append(None),
        document["accessories"].append(4))),
    "unread-keys": database(("", "revision", 3), ("1", "name", "Bridge"), ("2.8", "room", "Hall"),
                            ("2.10", "minvalue", 5)),
    "repeated-keys": changed(body=lambda body: body.replace(
        b'"format":"bool"', b'"format":"bool","format":"int"', 1).replace(
        b'{"aid":2,', b'{"aid":1,"aid":2,', 1)),
}


def notification(edit=lambda document: None, type=JSON):
    def build(household):
        document = household.event()
        edit(document)
        return message("EVENT/1.0 200 OK", type, as_json(document))
    return build


# Event notifications, each sent in one piece with an answer: behind it, or ahead of it while the
# request waits.
EVENTS = {
    "after": notification(),
    "before": notification(),
    "after-charset": notification(type=f"{JSON}; charset=utf-8"),
    "after-without-aid": notification(lambda document: document["characteristics"][-1].pop("aid")),
    "after-empty": notification(lambda document: document.clear()),
}


def with_event(kind, household, data):
    event = EVENTS[kind](household)
    return event + data if kind == "before" else data + event
