#!/usr/bin/env python3
"""A bad network between two TAP devices that it makes: frames get lost, doubled, late, out of order.

    relay.py DEVICE DEVICE [--seed N] [--loss P] [--double P] [--late P] [--seconds N]

Each probability P is of one frame. Every frame takes a millisecond; a late one takes up to twelve and
is overtaken. Ends after N seconds at the latest, says then what it did, and takes the devices with
it. TCP on both sides is the kernel's, so what it sends again and how it confirms are real.
"""

import argparse
import collections
import fcntl
import heapq
import os
import random
import select
import signal
import struct
import sys
import time

TUNSETIFF, IFF_TAP, IFF_NO_PI = 0x400454CA, 0x0002, 0x1000
DELAY, LATE = 0.001, 0.012  # seconds


def tap(name):
    device = os.open("/dev/net/tun", os.O_RDWR | os.O_NONBLOCK)
    fcntl.ioctl(device, TUNSETIFF, struct.pack("16sH22x", name.encode(), IFF_TAP | IFF_NO_PI))
    return device


def fates(arguments):
    """What happens to each frame: the delays of its copies."""
    chance = random.Random(arguments.seed)
    while True:
        if chance.random() < arguments.loss:
            yield "lost", []
        elif chance.random() < arguments.double:
            yield "doubled", [DELAY, DELAY + chance.uniform(0, LATE)]
        elif chance.random() < arguments.late:
            yield "late", [chance.uniform(2 * DELAY, LATE)]
        else:
            yield "passed", [DELAY]


def relay(devices, arguments, stop):
    other = dict(zip(devices, reversed(devices)))
    waiting, done, number = [], collections.Counter(), 0
    fate = fates(arguments)
    end = time.monotonic() + arguments.seconds
    while (now := time.monotonic()) < end and not stop:
        while waiting and waiting[0][0] <= now:
            _, _, device, frame = heapq.heappop(waiting)
            try:
                os.write(device, frame)
            except OSError:  # the device is down, or its queue is full: one frame is lost
                done["refused"] += 1
        pause = min(waiting[0][0] if waiting else end, now + 0.5) - now
        for device in select.select(devices, [], [], max(pause, 0))[0]:
            try:
                frame = os.read(device, 65536)
            except OSError:  # not up yet
                time.sleep(0.01)
                continue
            word, delays = next(fate)
            done[word] += 1
            for delay in delays:
                number += 1
                heapq.heappush(waiting, (time.monotonic() + delay, number, other[device], frame))
    return done


def main():
    parser = argparse.ArgumentParser(description="A bad network between two TAP devices.")
    parser.add_argument("devices", nargs=2, metavar="DEVICE")
    parser.add_argument("--seed", type=int, default=1)
    for chance in ("loss", "double", "late"):
        parser.add_argument(f"--{chance}", type=float, default=0, metavar="P")
    parser.add_argument("--seconds", type=float, default=60, help="the longest to run")
    arguments = parser.parse_args()
    stop = []
    signal.signal(signal.SIGTERM, lambda *_: stop.append(True))
    try:
        done = relay([tap(name) for name in arguments.devices], arguments, stop)
    except OSError as error:
        sys.exit(f"relay: {error}")
    print("relay:", ", ".join(f"{count} {word}" for word, count in sorted(done.items())),
          file=sys.stderr)


if __name__ == "__main__":
    main()
