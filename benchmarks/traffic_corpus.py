#!/usr/bin/env python3
"""Writes a packet file of traffic as a house full of accessories has it, without fault under
examples/profiles/household.xml:

    traffic_corpus.py FILE MEGABYTES [--exchanges N]

Eight connections go on at a time, each to an accessory port of its own from 20000 on. A connection
pairs, reads an attribute database of 100 kB and goes on with N reads, writes and event notifications,
in segments of up to 1448 bytes that every second one is confirmed. The same size always gives the
same bytes. What is written is made once and repeated with other ports and times, in flat memory.
"""

import argparse
import heapq
import random
import struct
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).parents[1] / "examples/accessory"))
import household  # noqa: E402
import pairing  # noqa: E402
from wire import JSON, TLV8, Answer, message, response  # noqa: E402

SEGMENT, SESSIONS, AT_A_TIME = 1448, 24, 8
DATABASE_BYTES = 100_000
FIRST_PORT, PORTS, CLIENT_PORT = 20000, 40000, 60000
BEGIN = 1_700_000_000  # seconds since 1970


def fill_house():
    """Copies of the lamp and the hallway with ids of their own, until the database is large."""
    first, *others = household.ACCESSORIES
    accessories = [first]
    while True:
        accessories.append((len(accessories) + 1, others[len(accessories) % 2 - 1][1]))
        household.ACCESSORIES[:] = accessories
        if len(accessories) % 10 == 0 and len(
                household.as_json(household.Household().database())) >= DATABASE_BYTES:
            return


def request(method, url, kind=None, body=None):
    return message(f"{method} {url} HTTP/1.1\r\nHost: bridge.local:51826", kind, body)


def session(chance, exchanges):
    """What goes over one connection: runs of (whether the accessory sends, bytes)."""
    house = household.Household()
    lamps = [aid for aid, services in household.ACCESSORIES if len(services) == 4]

    def exchange(method, url, body=None, kind=JSON):
        yield False, request(method, url, kind if body is not None else None, body)
        yield True, response(house.answer(method, url, body or b""))

    def write(*entries):
        return exchange("PUT", "/characteristics", household.as_json({"characteristics": entries}))

    for url, body in (("/pair-setup", "setup-1"), ("/pair-setup", "setup-3"), ("/pair-setup", "setup-5"),
                      ("/pair-verify", "verify-1"), ("/pair-verify", "verify-3")):
        yield from exchange("POST", url, pairing.BODIES[body], TLV8)
    yield from exchange("GET", "/accessories")
    yield from write(*({"aid": aid, "iid": 9, "ev": True} for aid in lamps[:4]))
    for _ in range(exchanges):
        aid = chance.choice(lamps)
        kind = chance.random()
        if kind < 0.45:
            places = (f"{chance.choice(lamps)}.{iid}" for iid in chance.sample(range(9, 14), 3))
            yield from exchange("GET", f"/characteristics?id={','.join(places)}")
        elif kind < 0.75:
            yield from write({"aid": aid, "iid": 9, "value": chance.random() < 0.5},
                             {"aid": aid, "iid": 10, "value": chance.randint(0, 100)})
        elif kind < 0.8:
            yield from exchange("PUT", "/prepare", b'{"ttl":2500,"pid":11122333}')
        else:
            yield True, message("EVENT/1.0 200 OK", JSON, household.as_json(house.event()))


def packets(runs, number, chance):
    """The packets of a connection: (time in microseconds, whether the accessory sends, bytes)."""
    addresses = bytes([192, 0, 2, 100 + number]), bytes([192, 0, 2, 10 + number])
    ports = CLIENT_PORT + number, FIRST_PORT + number
    sequences = [chance.getrandbits(32), chance.getrandbits(32)]
    time, stamp = chance.randint(0, 1_000_000), chance.getrandbits(31)

    def packet(side, flags, payload=b""):
        nonlocal time
        time += 60 if payload else 20
        tcp = struct.pack(">HHIIBBHHH", ports[side], ports[1 - side], sequences[side] & 0xFFFFFFFF,
                          sequences[1 - side] & 0xFFFFFFFF if flags & 16 else 0, 8 << 4, flags,
                          501, 0, 0) + struct.pack(">BBBBII", 1, 1, 8, 10, stamp + time // 1000, stamp)
        head = struct.pack(">BBHHHBB", 0x45, 0, 20 + len(tcp) + len(payload), 0, 0x4000, 64, 6)
        total = sum(struct.unpack(">9H", head + addresses[side] + addresses[1 - side]))
        total = (total & 0xFFFF) + (total >> 16)
        checksum = struct.pack(">H", ~((total & 0xFFFF) + (total >> 16)) & 0xFFFF)
        ethernet = bytes([2, 0, 0, 0, 1 - side, number, 2, 0, 0, 0, side, number, 8, 0])
        sequences[side] += len(payload) + bool(flags & 3)
        return time, side, (ethernet + head + checksum + addresses[side] + addresses[1 - side] +
                            tcp + payload)

    yield packet(0, 2)
    yield packet(1, 18)
    yield packet(0, 16)
    for side, data in runs:
        side = int(side)
        time += chance.randint(500, 20_000)
        pieces = range(0, len(data), SEGMENT)
        for count, at in enumerate(pieces, 1):
            yield packet(side, 24 if at + SEGMENT >= len(data) else 16, data[at:at + SEGMENT])
            if count % 2 == 0 or count == len(pieces):
                yield packet(1 - side, 16)
    yield packet(0, 17)
    yield packet(1, 17)
    yield packet(0, 16)


class Block:
    """Connections as records of a packet file, with the places of what changes when they come again."""

    def __init__(self, exchanges):
        chance = random.Random(1)
        lanes = [[] for _ in range(AT_A_TIME)]
        ends = [0] * AT_A_TIME
        for number in range(SESSIONS):
            lane = number % AT_A_TIME
            for time, side, data in packets(session(chance, exchanges), number, chance):
                lanes[lane].append((ends[lane] + time, side, data))
            ends[lane] = lanes[lane][-1][0]
        self.seconds = max(ends) // 1_000_000 + 1
        self.data, self.changes = bytearray(), []
        for time, side, data in heapq.merge(*lanes, key=lambda packet: packet[0]):
            connection = struct.unpack_from(">H", data, 34 if side else 36)[0] - FIRST_PORT
            self.changes.append((len(self.data), time // 1_000_000, side, connection))
            self.data += struct.pack("<4I", BEGIN, time % 1_000_000, len(data), len(data)) + data

    def again(self, number):
        """The records with the times and ports of another time around."""
        for at, seconds, side, connection in self.changes:
            connection += SESSIONS * number
            ports = CLIENT_PORT + connection % 5000, FIRST_PORT + connection % PORTS
            struct.pack_into("<I", self.data, at, BEGIN + self.seconds * number + seconds)
            struct.pack_into(">HH", self.data, at + 16 + 34, ports[side], ports[1 - side])
        return self.data


def main():
    parser = argparse.ArgumentParser(description="Writes a packet file of household traffic.")
    parser.add_argument("file", type=Path)
    parser.add_argument("megabytes", type=int)
    parser.add_argument("--exchanges", type=int, default=150, help="of one connection")
    arguments = parser.parse_args()
    fill_house()
    block = Block(arguments.exchanges)
    with arguments.file.open("wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 262144, 1))
        number = 0
        while file.tell() < arguments.megabytes * 1_000_000:
            file.write(block.again(number))
            number += 1


if __name__ == "__main__":
    main()
