#!/usr/bin/env python3
"""A stand-in household bridge that writes captures.

    accessory.py serve NAME [--fault N:KIND]... [--event N:KIND]... [--chunks N:SIZE]...
                            [--address ADDRESS] [--port N] [--port-file FILE]
                            [--requests N] [--seconds N]
    accessory.py bodies DIRECTORY

`serve` listens on a free loopback port unless told otherwise, answers one controller over one
kept-alive connection and writes the bytes of both directions, exactly as they went over the socket,
to NAME.req and NAME.rsp.
It ends when the controller hangs up, after N requests or after N seconds, whichever comes first.
`--fault` damages the answer to request N (counted from 1), `--event` sends an event notification
with it, `--chunks` sends its body in chunks; `--help` lists the kinds. `bodies` writes the pairing
bodies that a controller sends, one file each.

Nothing here is secret or secured: keys, proofs and sealed data are fixed bytes that look random.
"""

import argparse
import socket
import sys
import time
from pathlib import Path

import pairing
from faults import EVENTS, FAULTS, with_event
from household import Household
from wire import Connection, chunked, response


def listen(arguments):
    """The stream of the first controller that connects."""
    family = socket.AF_INET6 if ":" in arguments.address else socket.AF_INET
    place = arguments.address, arguments.port
    with socket.create_server(place, family=family, backlog=1) as listener:
        port = listener.getsockname()[1]
        if arguments.port_file is None:
            print(port, flush=True)
        else:
            # In one step, so that whoever waits for the file never reads half of it.
            part = arguments.port_file.with_suffix(".part")
            part.write_text(f"{port}\n")
            part.rename(arguments.port_file)
        listener.settimeout(arguments.seconds)
        return listener.accept()[0]


def serve(arguments):
    faults, events, chunks = map(dict, (arguments.fault, arguments.event, arguments.chunks))
    deadline = time.monotonic() + arguments.seconds
    household, count = Household(), 0
    with listen(arguments) as stream:
        connection = Connection(stream, deadline)
        while count < arguments.requests and (request := connection.request()) is not None:
            count += 1
            answer = household.answer(*request)
            if count in faults:
                data = FAULTS[faults.pop(count)](answer)
            elif count in chunks:
                data = chunked(answer, chunks.pop(count))
            else:
                data = response(answer)
            if count in events:
                data = with_event(events.pop(count), household, data)
            connection.send(data)
    if unused := faults | events | chunks:
        raise ValueError(f"no use for {unused}")
    Path(f"{arguments.name}.req").write_bytes(connection.received)
    Path(f"{arguments.name}.rsp").write_bytes(connection.sent)


def numbered(accepts, read=str):
    """A reader of N:WORD, where `accepts` says whether the word will do."""
    def parse(text):
        number, _, word = text.partition(":")
        if not number.isdecimal() or not accepts(word):
            raise argparse.ArgumentTypeError(f"'{text}' will not do")
        return int(number), read(word)
    return parse


def main():
    parser = argparse.ArgumentParser(
        description="A stand-in household bridge that writes captures.")
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser(
        "serve", epilog=f"Faults: {', '.join(FAULTS)}. Events: {', '.join(EVENTS)}.")
    command.add_argument("name", help="NAME.req and NAME.rsp are written")
    for option, value, reader in (
            ("--fault", "KIND", numbered(FAULTS.__contains__)),
            ("--event", "KIND", numbered(EVENTS.__contains__)),
            ("--chunks", "SIZE", numbered(lambda word: word.isdecimal() and int(word) > 0, int))):
        command.add_argument(option, type=reader, action="append", default=[], metavar=f"N:{value}")
    command.add_argument("--address", default="127.0.0.1", help="where to listen")
    command.add_argument("--port", type=int, default=0, help="a free one else")
    command.add_argument("--port-file", type=Path, help="where the port goes; standard output else")
    command.add_argument("--requests", type=int, default=100, help="the most to answer")
    command.add_argument("--seconds", type=float, default=20, help="the longest to run")
    command.set_defaults(run=serve)
    command = commands.add_parser("bodies")
    command.add_argument("directory", type=Path)
    command.set_defaults(run=lambda arguments: [
        (arguments.directory / f"{name}.tlv8").write_bytes(body)
        for name, body in pairing.BODIES.items()])
    arguments = parser.parse_args()
    try:
        arguments.run(arguments)
    except (OSError, ValueError) as error:
        sys.exit(f"accessory: {error}")


if __name__ == "__main__":
    main()
