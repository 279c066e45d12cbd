#!/usr/bin/env python3
"""Writes the small MIDI files of corpus/midi, one for each thing that the reader tells apart."""
import os


def chunk(kind, body):
    return kind + len(body).to_bytes(4, "big") + body


def midi(division, *tracks, extra=b""):
    header = (0 if len(tracks) == 1 else 1).to_bytes(2, "big") + len(tracks).to_bytes(2, "big") + division
    return chunk(b"MThd", header + extra) + b"".join(chunk(b"MTrk", bytes.fromhex(t) + END) for t in tracks)


END = bytes.fromhex("00FF2F00")
FILES = {
    "empty": midi(b"\x01\xE0", ""),
    "maps": midi(b"\x01\xE0", "00FF510307A120 00FF580404021808 00FF590200 00 8360FF51030A2C2A 00FF580403031808",
                 "8740FF5902FD01 00FF510301D4C0"),
    "running-status": midi(b"\x00\x60", "00903C40 603C00 00C005 0006 60E00040"),
    "sysex": midi(b"\x00\x60", "00F003010203 05F702 04F7 00FF7F0141"),
    "off-barline": midi(b"\x00\x01", "01FF580407031808 01FF580403021808 01FF5804010B1808"),
    "far": midi(b"\x7F\xFF", "FFFFFF7FFF0100 FFFFFF7FFF0100"),
    "extremes": midi(b"\x00\x01", "00FF5103000001 00FF5804FF001808 8F7FFF5103FFFFFF 00FF5804FF0B1808"),
    "unknown-chunk": chunk(b"MThd", bytes.fromhex("000000010060BEEF")) + chunk(b"Junk", b"MTrk")
    + chunk(b"MTrk", END) + chunk(b"Tail", b""),
    "smpte-division": midi(b"\xE7\x28", ""),
    "cut": midi(b"\x01\xE0", "00903C40")[:-3],
}

for name, data in FILES.items():
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "midi", name + ".mid"), "wb") as out:
        out.write(data)
