#!/usr/bin/env python3
"""Writes first-light.mid, the example song of this folder. Python's standard library is all it needs.

    python3 make_first_light.py first-light.mid

"First Light" is a small piece for melody and bass. It breathes in every way that a tempo, meter and key map must
follow: a slow opening in D major, a waltz, a turn to B minor whose first bar interrupts the waltz in the middle of
a bar, an uneven dance in 7/8, and a return that slows down to its end.
"""
import sys

QUARTER = 480  # MIDI ticks

# Chords as MIDI notes: bass root, then the tones that the melody walks through.
CHORDS = {
    "D": (38, (62, 66, 69, 74)), "G": (43, (62, 67, 71, 74)), "A": (45, (61, 64, 69, 73)),
    "Bm": (47, (62, 66, 71, 74)), "Em": (40, (59, 64, 67, 71)), "F#": (42, (61, 66, 70, 73)),
}

# Numerator, denominator, chords (one a bar), the melody's rhythm in eighths and its steps through the chord.
OPENING = (4, 4, ["D", "G", "D", "A"], [(2, 0), (1, 1), (1, 2), (2, 3), (2, 2)])
WALTZ = (3, 4, ["D", "Bm", "G", "A"], [(2, 2), (1, 3), (1, 2), (2, 1)])
BREAK = (2, 4, ["A"], [(1, 0), (1, 1), (2, 3)])            # two beats of a waltz bar, then the turn cuts in
TURN = (4, 4, ["Bm", "Em", "F#", "Bm"], [(3, 3), (1, 2), (2, 1), (2, 0)])
DANCE = (7, 8, ["Bm", "G", "Em", "F#"], [(1, 0), (1, 1), (1, 2), (1, 1), (1, 2), (2, 3)])
RETURN = (4, 4, ["D", "G", "A", "D"], [(4, 3), (2, 2), (2, 1)])


def eighths(count):
    return count * QUARTER // 2


class Track:
    """Events by absolute time, written as deltas."""

    def __init__(self, name):
        self.events = []
        self.meta(0, 0x03, name.encode("ascii"))

    def add(self, tick, data):
        self.events.append((tick, data))

    def meta(self, tick, kind, data):
        self.add(tick, bytes([0xFF, kind, len(data)]) + data)

    def tempo(self, tick, bpm):
        self.meta(tick, 0x51, round(60_000_000 / bpm).to_bytes(3, "big"))

    def meter(self, tick, numerator, denominator):
        self.meta(tick, 0x58, bytes([numerator, denominator.bit_length() - 1, 96 // denominator, 8]))

    def key(self, tick, sharps, minor):
        self.meta(tick, 0x59, bytes([sharps & 0xFF, minor]))

    def note(self, tick, length, channel, pitch, velocity):
        self.add(tick, bytes([0x90 | channel, pitch, velocity]))
        self.add(tick + length, bytes([0x80 | channel, pitch, 64]))

    def chunk(self, end):
        body, now = b"", 0
        # Notes end before others start at the same time; sorting keeps the order of everything else.
        for tick, data in sorted(self.events, key=lambda e: (e[0], data_rank(e[1]))):
            body += variable_length(tick - now) + data
            now = tick
        body += variable_length(end - now) + b"\xFF\x2F\x00"
        return b"MTrk" + len(body).to_bytes(4, "big") + body


def data_rank(data):
    return {0xFF: 0, 0x80: 1}.get(data[0] if data[0] == 0xFF else data[0] & 0xF0, 2)


def variable_length(value):
    out = [value & 0x7F]
    while value := value >> 7:
        out.insert(0, 0x80 | (value & 0x7F))
    return bytes(out)


def play(section, tick, melody, bass):
    numerator, denominator, chords, figure = section
    bar = numerator * 4 * QUARTER // denominator
    for chord in chords:
        root, tones = CHORDS[chord]
        bass.note(tick, bar // 2 - 20, 1, root, 72)
        bass.note(tick + bar // 2, bar - bar // 2 - 20, 1, root + 7, 60)
        at = tick
        for length, step in figure:
            melody.note(at, eighths(length) - 12, 0, tones[step], 88 if at == tick else 76)
            at += eighths(length)
        tick += bar
    return tick


def song():
    conductor, melody, bass = Track("First Light"), Track("Melody"), Track("Bass")
    melody.add(0, bytes([0xC0, 73]))  # flute
    bass.add(0, bytes([0xC1, 32]))    # acoustic bass

    conductor.tempo(0, 84)
    conductor.meter(0, 4, 4)
    conductor.key(0, 2, 0)            # D major
    tick = play(OPENING, 0, melody, bass)

    conductor.tempo(tick, 126)
    conductor.meter(tick, 3, 4)
    tick = play(WALTZ, tick, melody, bass)
    tick = play(BREAK, tick, melody, bass)  # no meter of its own: the next change cuts the waltz bar short

    conductor.tempo(tick, 104)
    conductor.meter(tick, 4, 4)
    conductor.key(tick, 2, 1)         # B minor
    tick = play(TURN, tick, melody, bass)

    conductor.tempo(tick, 138)
    conductor.meter(tick, 7, 8)
    tick = play(DANCE, tick, melody, bass)

    conductor.meter(tick, 4, 4)
    conductor.key(tick, 2, 0)
    for quarter, bpm in ((0, 96), (8, 88), (12, 76), (14, 60)):
        conductor.tempo(tick + quarter * QUARTER, bpm)
    tick = play(RETURN, tick, melody, bass)

    tracks = [track.chunk(tick) for track in (conductor, melody, bass)]
    header = (1).to_bytes(2, "big") + len(tracks).to_bytes(2, "big") + QUARTER.to_bytes(2, "big")
    return b"MThd" + len(header).to_bytes(4, "big") + header + b"".join(tracks)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: make_first_light.py FILE.mid")
    with open(sys.argv[1], "wb") as out:
        out.write(song())
