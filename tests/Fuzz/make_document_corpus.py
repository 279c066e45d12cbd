#!/usr/bin/env python3
"""Writes the small documents of corpus/document from docs/file-format.md alone, without the library.

With a file name it writes the example of docs/file-format.md there instead.
"""
import os
import struct
import sys

CRC_TABLE = []
for byte in range(256):
    for _ in range(8):
        byte = byte >> 1 ^ (0x82F63B78 if byte & 1 else 0)
    CRC_TABLE.append(byte)

MULTIPLIERS = {1: 29, 2: 17, 3: 93, 4: 127, 5: 93}


def crc32c(data):
    crc = 0xFFFFFFFF
    for byte in data:
        crc = crc >> 8 ^ CRC_TABLE[(crc ^ byte) & 0xFF]
    return crc ^ 0xFFFFFFFF


def header_sum(front, place):
    crc = crc32c(front)
    return ((crc >> 15 | crc << 17) + 0x4B534833 + place) & 0xFFFFFFFF


class Document:
    """Builds a file: streams from the inside out, the table of contents last."""

    def __init__(self, kind=0, raw_key=0, swap=False):
        self.order = ">" if swap else "<"
        self.head = bytes([3]) + b"0010111100101011" + bytes([swap, kind]) + (bytes([raw_key]) if kind else b"")
        self.kind, self.key = kind, raw_key * MULTIPLIERS.get(kind, 0) % 256
        self.plain = bytearray(self.frame("Z", 1, self.pack("I", 0)))
        self.entries = []  # (key up to the count of its values, values), as bytes

    def pack(self, form, *values):
        return struct.pack(self.order + form, *values)

    def text(self, text):
        return self.pack("I", len(text.encode())) + text.encode()

    def frame(self, name, version, body, index=0, is_list=False):
        """Sums are put in when all frames have their places."""
        front = b"KSH3" + bytes([len(name)]) + name.encode()
        return front + self.pack("hIHIII", version, index, 7 if is_list else 5, len(body), 0, 0) + body

    def put_sums(self):
        at = len(self.plain)
        while (at := self.plain.rfind(b"KSH3", 0, at)) >= 0:
            sums = at + 17 + self.plain[at + 4]
            size, = struct.unpack_from(self.order + "I", self.plain, sums - 4)
            place = len(self.head) + at
            body_sum = (crc32c(self.plain[sums + 8:sums + 8 + size]) + place) % 2**32
            struct.pack_into(self.order + "I", self.plain, sums, body_sum)
            struct.pack_into(self.order + "I", self.plain, sums + 4, header_sum(self.plain[at:sums + 4], place))

    def stream(self, kind, version, body, index=0, is_list=False):
        return self.frame("Z", version, self.pack("h", kind) + body, index, is_list)

    def items(self, *streams):
        return self.pack("i", len(streams)) + b"".join(streams)

    def here(self):
        return len(self.head) + len(self.plain)

    def add(self, stream):
        self.plain += stream
        return self.here() - len(stream)

    def context(self, kind, parent=0, is_list=False, index=0):
        return self.pack("hI?i", kind, parent, is_list, index)

    def local(self, offsets, text, index=b"\0\0\0"):
        body = self.pack("h", len(offsets)) + b"".join(self.pack("I", o) for o in offsets)
        text = self.text(text)
        return b"\1" + self.pack("h", len(body)) + body + b"\1" + self.pack("h", len(text)) + text + index

    def register(self, contexts, *values):
        key = self.pack("i", len(contexts)) + b"".join(contexts) + self.pack("i", len(values))
        self.entries.append((key, values))

    def index(self, keys, page_size):
        """What stands behind the keys, cut into pages of that size."""
        at = 4
        key_places, value_places = [], []
        for number, (key, values) in enumerate(self.entries):
            key_places.append((at, number))
            at += len(key)
            for i, value in enumerate(values):
                value_places.append((at, i))
                at += len(value)
        index = b""
        for begin in range(0, len(keys), page_size):
            key_at, key = next(((a, k) for a, k in key_places if a >= begin), (len(keys), len(self.entries)))
            value_at, value = next(((a, v) for a, v in value_places if begin <= a < key_at), (key_at, 0))
            index += self.pack("5I", crc32c(keys[begin:begin + page_size]), key, key_at, value, value_at)
        index += self.pack("4I", len(keys), page_size, len(self.entries), 0x3149544B)
        return index + self.pack("I", (crc32c(index) + self.here()) % 2**32)

    def finish(self, toc=True, page_size=0):
        if toc:
            keys = self.pack("i", len(self.entries)) + b"".join(k + b"".join(v) for k, v in self.entries)
            index = self.index(keys, page_size) if page_size else b""
            offset = self.add(self.stream(2, 2, keys + index))
            header = self.frame("Z", 1, self.pack("I", offset))
            self.plain[:len(header)] = header
        self.put_sums()
        start = len(self.head)
        if self.kind == 5:
            mask = [((start + i) // 4096 * self.key) % 256 for i in range(len(self.plain))]
        else:
            mask = [((start + i) * self.key) % 256 for i in range(len(self.plain))]
        return self.head + bytes(p ^ m for p, m in zip(self.plain, mask))


def fill_with_list(document):
    items = [document.stream(41, 1, document.text(name), i + 1) for i, name in enumerate(["Kick", "Snare"])]
    at = document.add(document.stream(40, 1, document.items(*items), is_list=True))
    first = at + 26 + 2 + 4
    document.register([document.context(40, is_list=True)], document.local([at], "drums"),
                      document.local([first], "kick"), document.local([first + len(items[0])], "snare"))
    return document


def fill_with_lists_in_lists(document):
    rows = [document.stream(40, 1, document.items(*[document.stream(41, 1, document.text(name), i + 1)
                                                    for i, name in enumerate(names)]), row + 1, True)
            for row, names in enumerate([["Kick", "Hat"], ["Ride", "Kick"]])]
    at = document.add(document.stream(42, 1, document.items(*rows), is_list=True))
    places = [at + 32, at + 32 + len(rows[0])]
    document.register([document.context(42, is_list=True)], document.local([at], "rows"),
                      *[document.local([place], "row") for place in places])
    for row, place in enumerate(places):
        item = len(document.stream(41, 1, document.text(["Kick", "Ride"][row])))
        document.register([document.context(42, 0, True, row + 1), document.context(40, at, True)],
                          document.local([place], "row"), document.local([place + 32], "first"),
                          document.local([place + 32 + item], "second"))
    return document


def fill_with_stream_written_anew(document):
    old = document.add(document.stream(7, 1, document.stream(8, 1, b"old") + document.text("after")))
    new = document.add(document.stream(8, 2, b"new, and longer"))
    document.register([document.context(7)], document.local([old], "outer"))
    document.register([document.context(7), document.context(8, old)], document.local([new], "inner"))
    return document


def fill_with_long_table(document):
    """Keys and values that begin and end wherever pages do."""
    items = [document.stream(41, 1, document.text(str(i)), i + 1) for i in range(9)]
    at = document.add(document.stream(40, 1, document.items(*items), is_list=True))
    places = [at + 32 + sum(map(len, items[:i])) for i in range(9)]
    document.register([document.context(40, is_list=True)], document.local([at], "list"),
                      *[document.local([place], "item " * (place % 3)) for place in places])
    for i, place in enumerate(places):
        document.register([document.context(40, 0, True, i + 1), document.context(41, at)],
                          document.local([place], "in the list"))
    last = document.add(document.stream(50, 1, b"last"))
    document.register([document.context(50)], document.local([last], "long " * 40), document.local([last] * 9, "x"))
    return document


def main():
    example = fill_with_list(Document()).finish()
    if len(sys.argv) > 1:
        with open(sys.argv[1], "wb") as out:
            out.write(example)
        return

    nested = Document(2, 77)
    inner = nested.stream(8, 3, nested.stream(9, -1, b"\1\2\3"))
    at = nested.add(nested.stream(7, 1, inner + nested.text("after")))
    nested.register([nested.context(7)], nested.local([at], "outer"))
    nested.register([nested.context(7), nested.context(8, at)], nested.local([at + 28], "inner"))
    nested.register([nested.context(7), nested.context(8, at), nested.context(9, at + 28)],
                    nested.local([at + 56], "innermost"))

    pieces = Document()
    first = pieces.add(pieces.stream(5, 1, b"old"))
    second = pieces.add(pieces.stream(5, 1, b"new"))
    pieces.register([pieces.context(5)], pieces.local([first, second], "two pieces", b"\7\2\0xy"))
    # A chain of two locations of which the last is unknown, and a description of an unknown kind.
    pieces.register([pieces.context(6)], b"\0\1\0" + b"\x09\2\0ab" + b"\4\1\0z" + b"\0\0\0")

    files = {
        "example": example,
        "empty": Document().finish(),
        "block-masked": fill_with_list(Document(5, 3)).finish(),
        "swapped": fill_with_list(Document(swap=True)).finish(),
        "nested": nested.finish(),
        "pieces": pieces.finish(),
        "lists-in-lists": fill_with_lists_in_lists(Document(swap=True)).finish(),
        "lists-masked": fill_with_lists_in_lists(Document(3, 250)).finish(),
        "written-anew": fill_with_stream_written_anew(Document(4, 9)).finish(),
        "written-anew-swapped": fill_with_stream_written_anew(Document(5, 9, swap=True)).finish(),
        "indexed": fill_with_long_table(Document()).finish(page_size=64),
        "indexed-swapped": fill_with_long_table(Document(3, 7, swap=True)).finish(page_size=256),
        "never-flushed": fill_with_list(Document(1, 200)).finish(toc=False),
        "cut": example[:-9],
        "too-new": b"\4" + example[1:30],
    }
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "document")
    os.makedirs(folder, exist_ok=True)
    for name, data in files.items():
        with open(os.path.join(folder, name + ".kora"), "wb") as out:
            out.write(data)


if __name__ == "__main__":
    main()
