#!/usr/bin/env python3
"""Writes raw streams as an HTTP archive, as a proxy between controller and accessory would export it:

    archive.py OUTPUT.har FOLDER NAME...

Each FOLDER/NAME.req and .rsp is one connection. Event notifications have no place in an archive.
"""
import base64
import itertools
import json
import re
import sys
from datetime import datetime, timedelta, timezone

START = datetime(2024, 5, 1, 12, 34, 56, 789000, timezone(timedelta(hours=2)))
NEXT_RESPONSE = re.compile(rb"(HTTP/1\.1|EVENT/1\.0) \d")


def dechunked(stream, at):
    body = b""
    while True:
        end = stream.index(b"\r\n", at)
        size = int(stream[at:end], 16)
        body += stream[end + 2:end + 2 + size]
        at = end + 2 + size + 2
        if size == 0:
            return body, at


def messages(stream):
    """Yields the start line, the fields and the body of each message."""
    at = 0
    while at < len(stream):
        end = stream.index(b"\r\n\r\n", at)
        start, *lines = stream[at:end].decode().split("\r\n")
        at = end + 4
        fields = [tuple(part.strip() for part in line.split(":", 1)) for line in lines]
        named = {name.lower(): value for name, value in fields}
        if "transfer-encoding" in named:
            body, at = dechunked(stream, at)
        else:
            end = at + int(named.get("content-length", 0))
            if start.startswith("HTTP/1.1 204"):  # what strays behind it
                following = NEXT_RESPONSE.search(stream, at)
                end = following.start() if following else len(stream)
            body, at = stream[at:end], end
        yield start, fields, body


def body_object(body, as_base64):
    """Text as it is or, like everything else that is no text, in base-64."""
    try:
        text = body.decode()
    except UnicodeDecodeError:
        as_base64 = True
    if as_base64:
        return {"text": base64.b64encode(body).decode(), "encoding": "base64"}
    return {"text": text}


def header_object(fields):
    return {"httpVersion": "HTTP/1.1", "cookies": [],
            "headers": [{"name": name, "value": value} for name, value in fields],
            "headersSize": -1}


def media_type(fields):
    return next((value for name, value in fields if name.lower() == "content-type"), "")


def entry(number, connection, request, response):
    method, target, _ = request[0].split(" ", 2)
    _, status, reason = response[0].split(" ", 2)
    as_base64 = number % 3 == 0
    sent = {"method": method, "url": "http://accessory.local" + target, **header_object(request[1]),
            "queryString": [], "bodySize": len(request[2])}
    if request[2]:
        sent["postData"] = {"mimeType": media_type(request[1]), "params": [],
                            **body_object(request[2], as_base64)}
    content = {"size": len(response[2]), "mimeType": media_type(response[1])}
    if response[2]:
        content |= body_object(response[2], as_base64)
    answer = {"status": int(status), "statusText": reason, **header_object(response[1]),
              "content": content, "redirectURL": "", "bodySize": len(response[2])}
    return {"startedDateTime": (START + number * timedelta(seconds=1.5)).isoformat("T", "milliseconds"),
            "time": 12.25, "request": sent, "response": answer, "cache": {},
            "timings": {"send": 0.25, "wait": 11, "receive": 1},
            "serverIPAddress": "192.0.2.20", "connection": connection}


def main(output, folder, *names):
    entries = []
    for connection, name in enumerate(names, 1):
        requests, responses = ([*messages(open(f"{folder}/{name}.{end}", "rb").read())]
                               for end in ("req", "rsp"))
        answers = (response for response in responses if not response[0].startswith("EVENT/"))
        for request, response in itertools.zip_longest(requests, answers):
            entries.append(entry(len(entries), str(51826 + connection), request, response))
    log = {"version": "1.2", "creator": {"name": "archive.py", "version": "1"}, "pages": []}
    with open(output, "w", encoding="utf-8") as file:
        json.dump({"log": log | {"entries": entries}}, file, ensure_ascii=False, indent=1)
        file.write("\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
