"""Values to index keys: weights of text, groups of binary values, reals, the check sum of long keys."""
import struct

BOOLEAN, BYTE, INTEGER, LONG, MONEY, SINGLE, DOUBLE, DATE, BINARY, TEXT, OLE, MEMO, GUID = \
    1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15
FIXED_SIZE = {BYTE: 1, INTEGER: 2, LONG: 4, MONEY: 8, SINGLE: 4, DOUBLE: 8, DATE: 8, GUID: 16}


class Fault(Exception):
    """A finding that makes the structure at hand unreadable."""


def u16(data, at):
    return struct.unpack_from("<H", data, at)[0]


def u32(data, at):
    return struct.unpack_from("<I", data, at)[0]


def text_of(raw):
    """Code page 1252 with the five holes as controls of the same number."""
    return "".join(chr(b) if b in (0x81, 0x8D, 0x8F, 0x90, 0x9D) else bytes([b]).decode("cp1252") for b in raw)


def key_stream(key, count):
    state = list(range(256))
    j = 0
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) & 255
        state[i], state[j] = state[j], state[i]
    i = j = 0
    stream = bytearray()
    for _ in range(count):
        i = (i + 1) & 255
        j = (j + state[i]) & 255
        state[i], state[j] = state[j], state[i]
        stream.append(state[(state[i] + state[j]) & 255])
    return bytes(stream)


# ------------------------------------------------------------------------------------------------- text keys

ROWS = """
10 10 10 10 10 10 10 10 10 11 10 10 10 10 10 10|10 10 10 10 10 10 10 10 10 10 10 10 10 10 10 10
11 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F 20|56 57 58 59 5A 5B 5C 5D 5E 5F 21 22 23 24 25 26
27 60 61 62 64 66 67 68 69 6A 6B 6C 6D 6F 70 72|73 74 75 76 77 78 7A 7B 7C 7D 7E 28 29 2A 2B 2C
2D 60 61 62 64 66 67 68 69 6A 6B 6C 6D 6F 70 72|73 74 75 76 77 78 7A 7B 7C 7D 7E 2E 2F 30 31 10
10 10 18 32 13 33 34 35 36 37 76 18 7266 10 10 10|10 18 18 13 13 38 1E 1E 39 3A 76 18 7266 10 10 7D
11 3B 3C 3D 3E 3F 40 41 42 43 44 13 45 1E 46 47|48 49 58 59 4A 4B 4C 4D 4E 57 4F 13 50 51 52 53
60 60 60 60 60 60 6066 62 66 66 66 66 6A 6A 6A 6A|65 70 72 72 72 72 72 54 81 78 78 78 78 7D 7F 7676
60 60 60 60 60 60 6066 62 66 66 66 66 6A 6A 6A 6A|65 70 72 72 72 72 72 55 81 78 78 78 78 7D 7F 7D
"""
GENERAL = [bytes.fromhex(w) for w in ROWS.replace("|", " ").split()]
DUTCH = list(GENERAL)
DUTCH[0x9F] = DUTCH[0xFF] = bytes.fromhex("6A6B")
WITH_ACCENT = frozenset(bytes.fromhex("6062666A707276787D"))
ACCENTS = {}
for letters, value in (("ÀÈÌÒÙ", 3), ("ÁÉÍÓÚÝ", 4), ("ÂÊÎÔÛ", 5), ("ÄËÏÖÜŸ", 6), ("ÃÑÕ", 7), ("Å", 8), ("Ç", 9), ("Š", 10)):
    for letter in letters:
        for each in {letter, letter.lower()}:
            ACCENTS[each.encode("cp1252")[0]] = value


def text_key(raw, langid):
    weights = {0x0409: GENERAL, 0x0413: DUTCH}.get(langid)
    if weights is None:
        raise Fault(f"sort order {langid:04x} is not known here")
    primary, accents = bytearray(), []
    for byte in raw.rstrip(b" "):
        primary += weights[byte]
        value = ACCENTS.get(byte, 2) if len(weights[byte]) == 1 else 2
        accents += [value for weight in weights[byte] if weight in WITH_ACCENT]
    while accents and accents[-1] == 2:
        accents.pop()
    halves = [0] + accents + [0]
    if len(halves) % 2:
        halves.append(0)
    return bytes(primary) + bytes(halves[i] << 4 | halves[i + 1] for i in range(0, len(halves), 2))


def binary_key(raw):
    """The key and, for descending keys, which of its bytes are the 09s that stay."""
    out, stay = bytearray(), set()
    groups = [raw[i:i + 8] for i in range(0, len(raw), 8)] or [b""]
    for n, group in enumerate(groups):
        out += group.ljust(8, b"\0")
        if n + 1 < len(groups):
            stay.add(len(out))
            out.append(9)
        else:
            out.append(len(group))
    return bytes(out), stay


def flipped(raw):
    return bytes([raw[0] ^ 0x80]) + raw[1:]


def real_key(raw):
    return bytes(255 - b for b in raw) if raw[0] & 0x80 else flipped(raw)


def column_key(column, value, descending):
    """`value` is the stored bytes, None for Null, True or False for a boolean."""
    stay = set()
    if value is None:
        key = b"\0"
    else:
        kind = column["type"]
        if kind == BOOLEAN:
            body = b"\0" if value else b"\xff"
        elif kind == BYTE:
            body = value
        elif kind in (INTEGER, LONG, MONEY):
            body = flipped(value[::-1])
        elif kind in (SINGLE, DOUBLE, DATE):
            body = real_key(value[::-1])
        elif kind == TEXT:
            body = text_key(value, column["langid"])
        elif kind == BINARY:
            body, stay = binary_key(value)
        elif kind == GUID:
            body, stay = binary_key(value[3::-1] + value[5:3:-1] + value[7:5:-1] + value[8:])
        else:
            raise Fault(f"column {column['name']} of type {kind} in an index")
        key = b"\x7f" + body
        stay = {at + 1 for at in stay}
    if descending:
        key = bytes(b if n in stay else 255 - b for n, b in enumerate(key))
    return key


def cut_long(key):
    if len(key) <= 255:
        return key
    total = 0
    for byte in key[253:]:
        for _ in range(8):
            total = (total << 1 ^ 0x8005) & 0xFFFF if total & 0x8000 else total << 1
        total ^= byte
    return key[:253] + struct.pack("<H", total)
