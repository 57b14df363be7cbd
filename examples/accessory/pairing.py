"""Pairing: what a controller sends and what the accessory answers, without any cryptography."""

from wire import TLV8, Answer, filler

# Field types of the structure "Pairing" in the profiles.
STATE, METHOD, ERROR, RETRY_DELAY, IDENTIFIER, SALT, PUBLIC_KEY, PROOF, SEALED = range(1, 10)
PERMISSIONS, FLAGS, SEPARATOR = 0x0C, 0x0F, 0xFF

PATHS = ("/pair-setup", "/pair-verify", "/pairings")


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
ANSWERS = {
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


def answer(url, body):
    state = body[2] if body[:2] == bytes([STATE, 1]) and len(body) > 2 else 0
    return Answer(200, TLV8, ANSWERS.get((url, state), REFUSED))
