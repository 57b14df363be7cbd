"""Packet files read, changed in ways that networks and capture programs change them, and written.

    python3 -m packet_variants pcapng FILE OTHER    copies a packet file as pcapng

Variants are functions from a list of packets to a list of packets, which begin with Ethernet headers.
"""

import gzip
import struct
import sys
from pathlib import Path
from typing import NamedTuple

ETHERNET, LOOPBACK, RAW, LOOP, COOKED, COOKED_2 = 1, 0, 101, 108, 113, 276
IPV4, IPV6 = 0x0800, 0x86DD


class Packet(NamedTuple):
    time: int  # nanoseconds
    data: bytes
    length: int  # on the wire
    link: int = ETHERNET

    def holding(self, data):
        """The packet with another content, nothing cut off."""
        return self._replace(data=bytes(data), length=len(data))


# --- Files

def read(path):
    """The packets of a little-endian pcap file, in gzip or not."""
    data = Path(path).read_bytes()
    if data[:2] == b"\x1f\x8b":
        data = gzip.decompress(data)
    unit = {0xA1B2C3D4: 1000, 0xA1B23C4D: 1}[struct.unpack_from("<I", data)[0]]
    link, at, packets = struct.unpack_from("<I", data, 20)[0], 24, []
    while at < len(data):
        seconds, part, captured, length = struct.unpack_from("<4I", data, at)
        at += 16 + captured
        packets.append(
            Packet(seconds * 10**9 + part * unit, data[at - captured:at], length, link))
    return packets


def pcap(packets, order="<", nanoseconds=False):
    magic, unit = (0xA1B23C4D, 1) if nanoseconds else (0xA1B2C3D4, 1000)
    yield struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 262144, packets[0].link)
    for packet in packets:
        yield struct.pack(order + "4I", packet.time // 10**9, packet.time % 10**9 // unit,
                          len(packet.data), packet.length) + packet.data


def pcapng(packets, order="<", nanoseconds=True):
    """One interface for each link type, and a block of a kind that nobody knows."""
    def block(kind, content):
        content += bytes(-len(content) % 4)
        size = struct.pack(order + "I", len(content) + 12)
        return struct.pack(order + "I", kind) + size + content + size

    yield block(0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1))
    yield block(0x7B, b"nothing that matters")
    resolution = struct.pack(order + "HHB3xHH", 9, 1, 9, 0, 0) if nanoseconds else b""
    links = []
    for packet in packets:
        if packet.link not in links:
            links.append(packet.link)
            yield block(1, struct.pack(order + "HHI", packet.link, 0, 262144) + resolution)
        time = packet.time if nanoseconds else packet.time // 1000
        yield block(6, struct.pack(order + "5I", links.index(packet.link), time >> 32,
                                   time & 0xFFFFFFFF, len(packet.data), packet.length) + packet.data)


def write(path, pieces):
    with open(path, "wb") as file:
        for piece in pieces:
            file.write(piece)


# --- Layers

def ether_type(packet):
    return struct.unpack_from(">H", packet.data, 12)[0]


def tcp_offset(data):
    return 14 + (data[14] & 15) * 4 if data[12:14] == b"\x08\x00" else 54


def payload_offset(data):
    return (at := tcp_offset(data)) + (data[at + 12] >> 4) * 4


def with_sizes(data):
    """Sets the lengths in the IP header, and the checksum of IPv4."""
    data = bytearray(data)
    if data[12:14] == b"\x08\x00":
        struct.pack_into(">H", data, 16, len(data) - 14)
        data[24:26] = b"\0\0"
        total = sum(struct.unpack_from(f">{(data[14] & 15) * 2}H", data, 14))
        while total >> 16:
            total = (total & 0xFFFF) + (total >> 16)
        struct.pack_into(">H", data, 24, ~total & 0xFFFF)
    else:
        struct.pack_into(">H", data, 18, len(data) - 54)
    return data


# --- What networks do

def shuffled(packets, chance, window=8):
    """Each packet at most so many places from where it was."""
    order = sorted(range(len(packets)), key=lambda number: number + chance.uniform(0, window))
    return [packets[number] for number in order]


def doubled(packets, chance, share=0.3):
    """Copies of some packets stand up to ten places behind them."""
    places = [(number + delay, packet) for number, packet in enumerate(packets)
              for delay in [0, *[chance.uniform(1, 10)] * (chance.random() < share)]]
    return [packet for _, packet in sorted(places, key=lambda place: place[0])]


def split(packets, chance):
    """Segments in pieces, as if the path had taken small ones only."""
    result = []
    for packet in packets:
        begin = payload_offset(packet.data)
        at, tcp = begin, tcp_offset(packet.data)
        while True:
            end = min(at + chance.randint(1, 700), len(packet.data))
            piece = bytearray(packet.data[:begin] + packet.data[at:end])
            sequence = struct.unpack_from(">I", piece, tcp + 4)[0] + at - begin
            struct.pack_into(">I", piece, tcp + 4, sequence & 0xFFFFFFFF)
            if end < len(packet.data):
                piece[tcp + 13] &= ~1  # the last one carries the FIN
            result.append(packet.holding(with_sizes(piece)))
            at = end
            if at >= len(packet.data):
                break
    return result


def fragmented(packets, chance):
    """IPv4 packets in fragments of 8 to 800 bytes, of which some come in the wrong order."""
    result = []
    for number, packet in enumerate(packets):
        header, content = packet.data[:34], packet.data[34:]
        pieces, at = [], 0
        while at < len(content):
            size = chance.randint(1, 100) * 8
            piece = bytearray(header + content[at:at + size])
            more = 0x2000 if at + size < len(content) else 0
            struct.pack_into(">HH", piece, 18, number & 0xFFFF, more | at // 8)
            pieces.append(packet.holding(with_sizes(piece)))
            at += size
        if chance.random() < 0.3:
            chance.shuffle(pieces)
        result += pieces
    return result


def renumbered(packets, numbers):
    """Ports and sequence numbers changed: `numbers` maps a port to its new number and to what is
    added to the sequence numbers that it sends."""
    result = []
    for packet in packets:
        data, at = bytearray(packet.data), tcp_offset(packet.data)
        source, destination, sequence, confirmed = struct.unpack_from(">HHII", data, at)
        source, shift = numbers(source)
        destination, other_shift = numbers(destination)
        struct.pack_into(">HHII", data, at, source, destination, (sequence + shift) & 0xFFFFFFFF,
                         (confirmed + other_shift) & 0xFFFFFFFF if data[at + 13] & 16 else confirmed)
        result.append(packet._replace(data=bytes(data)))
    return result


def wrapping(packets):
    """Both directions begin shortly before their sequence numbers are used up."""
    first = {}
    for packet in packets:
        source, _, sequence = struct.unpack_from(">HHI", packet.data, tcp_offset(packet.data))
        first.setdefault(source, sequence)
    return renumbered(packets, lambda port: (port, 0xFFFFFE00 - first[port]))


def moved(packets, ports=0, sequence=0, seconds=0):
    """As another connection, at another time."""
    return [packet._replace(time=packet.time + int(seconds * 10**9))
            for packet in renumbered(packets, lambda port: (port + ports, sequence))]


def merged(*captures):
    return sorted((packet for packets in captures for packet in packets),
                  key=lambda packet: packet.time)


# --- What capture programs do

def snapped(packets, length):
    return [packet._replace(data=packet.data[:length]) for packet in packets]


def without(packets, chance, share=0.1):
    return [packet for packet in packets if chance.random() >= share]


def sent_by(packets, port):
    return [packet for packet in packets
            if struct.unpack_from(">H", packet.data, tcp_offset(packet.data))[0] == port]


def tagged(packets, *tags):
    """Within virtual networks."""
    return [packet.holding(packet.data[:12] + b"".join(struct.pack(">HH", *tag) for tag in tags) +
                           packet.data[12:]) for packet in packets]


def linked(packets, link):
    """With the header of another link layer."""
    headers = {
        COOKED: lambda kind: struct.pack(">HHH8sH", 0, 1, 6, b"\2\0\0\0\0\7", kind),
        COOKED_2: lambda kind: struct.pack(">HHIHBB8s", kind, 0, 2, 1, 0, 6, b"\2\0\0\0\0\7"),
        RAW: lambda _: b"",
        LOOPBACK: lambda kind: struct.pack("<I", 2 if kind == IPV4 else 30),
        LOOP: lambda kind: struct.pack(">I", 2 if kind == IPV4 else 24),
    }
    return [packet.holding(headers[link](ether_type(packet)) + packet.data[14:])._replace(link=link)
            for packet in packets]


if __name__ == "__main__":
    if len(sys.argv) != 4 or sys.argv[1] != "pcapng":
        sys.exit(__doc__)
    write(sys.argv[3], pcapng(read(sys.argv[2])))
