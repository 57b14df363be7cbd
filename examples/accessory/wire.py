"""HTTP messages as bytes, and the connection that keeps every byte of them."""

import hashlib
import time
from typing import NamedTuple

TLV8 = "application/pairing+tlv8"
JSON = "application/vel+json"
REASONS = {200: "OK", 201: "Created", 204: "No Content", 207: "Multi-Status",
           400: "Bad Request", 405: "Method Not Allowed", 500: "Internal Server Error"}
REQUEST_LIMIT = 1 << 16  # bytes of one request


class Answer(NamedTuple):
    """What the accessory says to a request; without a body there is no content length either."""
    code: int
    type: str | None = None
    body: bytes | None = None


def filler(label, length):
    """Fixed bytes that look random."""
    return hashlib.shake_256(label.encode()).digest(length)


def message(start, content_type=None, body=None, name="Content-Type"):
    lines = [start]
    if content_type is not None:
        lines.append(f"{name}: {content_type}")
    if body is not None:
        lines.append(f"Content-Length: {len(body)}")
    return "\r\n".join(lines + ["", ""]).encode() + (body or b"")


def response(answer, **more):
    start = f"HTTP/1.1 {answer.code} {REASONS[answer.code]}"
    return message(start, answer.type, answer.body, **more)


def chunked(answer, size):
    """A response whose body goes out in chunks of at most so many bytes."""
    chunks = [answer.body[at:at + size] for at in range(0, len(answer.body), size)]
    header = message(f"HTTP/1.1 {answer.code} {REASONS[answer.code]}\r\nTransfer-Encoding: chunked",
                     answer.type)
    return header + b"".join(b"%x\r\n%b\r\n" % (len(chunk), chunk) for chunk in [*chunks, b""])


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
