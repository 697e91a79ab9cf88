#!/usr/bin/env python3
"""Writes the seed corpus of every fuzz target under fuzz/corpus/<target>/: small,
valid inputs of each format, and the hostile shapes that were found to be costly
(units that point back at themselves, repeated names), so that every run starts from
them. Run it again after a format change; findings are kept beside the seeds."""
import os
import struct
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "fuzz", "corpus")


def u32(value):
    return struct.pack("<I", value & 0xFFFFFFFF)


def record(name, offset, size, directory):
    raw = name.encode()[:255]
    return raw + b"\0" * (256 - len(raw)) + u32(offset) + u32(size) + bytes([directory]) + b"\0" * 11


def unit(files, directories=()):
    body = b""
    table = b""
    for entries, flag in ((files, 0), (directories, 1)):
        for name, data in entries:
            table += record(name, 32 + len(body), len(data), flag)
            body += data
    count = len(files) + len(directories)
    directory = 32 + len(body)
    header = b"ARCX\x01\x00" + u32(directory + 276 * count) + u32(directory) + u32(count)
    return header + b"\0" * 14 + body + table


def self_referring():
    data = bytearray(unit([("x", b"data")], [("d", unit([]))]))
    directory = struct.unpack_from("<I", data, 10)[0]
    struct.pack_into("<II", data, directory + 276 + 256, 0, len(data))
    return bytes(data)


def archives():
    town = unit([("hall.dat", b"HALL"), ("well.dat", b"water")],
                [("cellar", unit([("barrel.dat", b"wine!")]))])
    return {
        "empty": unit([]),
        "one": unit([("a.txt", b"abc")]),
        "tree": unit([("a.txt", b"abc"), ("next.txt", b"NEXT")], [("town", town)]),
        "self": self_referring(),
        "same-names": unit([("a", b""), ("A", b""), ("a", b"x"), ("b", b"b")],
                           [("d", unit([("x", b"1")])), ("D", unit([("x", b"22")]))]),
        "dots": unit([("..", b"x"), ("a\\b", b"y"), ("", b"z")]),
    }


def prop_int(value):
    return u32(ord("i")) + u32(value)


def prop_string(text):
    return u32(ord("s")) + u32(len(text)) + text


def main():
    corpora = {}
    for target in ("archive", "extract", "arcverify"):
        corpora[target] = archives()
    corpora["params"] = {
        "empty": u32(0),
        "mixed": u32(3) + prop_int(5) + prop_string(b"abc") + u32(ord("f")) + struct.pack("<f", 1.5),
        "huge-count": u32(0x7FFFFFFF) + prop_string(b"x") + u32(ord("s")) + u32(0x7FFFFFF0),
    }
    corpora["property"] = {
        "int": prop_int(42),
        "string": prop_string(b"hello"),
        "old-bool": u32(1) + u32(1),
        "cut-string": u32(ord("s")) + u32(100) + b"short",
    }
    corpora["propertymanager"] = {
        "two": u32(2) + u32(4) + b"name" + prop_string(b"value") + u32(3) + b"num" + prop_int(7),
        "huge-count": u32(0x7FFFFFFF) + u32(1) + b"a" + prop_int(1),
    }
    corpora["parse"] = {
        "settings": b"\x07\x04\x01=\x02;\x03#" + b"key = value; // comment\nlist { a, b, \"q s\" }\n",
        "numbers": b"\x01\x08\x00\x00\x00\x00\x00\x00" + b"begin 12 3.5 -7 0x1F end If\n",
    }
    corpora["textreader"] = {
        "values": b"\x00" + b"12; 3.5000; \"str\\\"x\"; // c\n-4; key;",
        "slashes": b"\x01" + b"/x" * 64 + b"//comment\n7;",
        "quotes": b"\x02" + b"\"a\\tb\"; \"unterminated",
    }
    record_bytes = u32(1234) + u32(5) + u32(77)
    for text in (b"host", b"log", b"ctx", b"file.cpp", b"fn", b"message"):
        record_bytes += u32(len(text)) + text
    corpora["mailslotrecord"] = {
        "record": (record_bytes + b"\0" * 400)[:400],
        "long-length": (u32(1) + u32(2) + u32(3) + u32(0xFFFF) + b"\0" * 400)[:400],
    }
    for target, seeds in corpora.items():
        directory = os.path.join(ROOT, target)
        os.makedirs(directory, exist_ok=True)
        for name, data in seeds.items():
            with open(os.path.join(directory, "seed-" + name), "wb") as out:
                out.write(data)
    return 0


if __name__ == "__main__":
    sys.exit(main())
