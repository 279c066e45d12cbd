"""What Python costs over the library, and numpy.interp over the same points: medians of seven, in one table.

Usage: PYTHONPATH=python KORA_LIBRARY=build/release/bin/libKora.so python3 python/bench/convert_bench.py

The C++ call on the same numbers is BM_TempoMillionTicks in bench/Time/TempoBench.cpp; run both on an idle
machine.
"""
import statistics
import time

import numpy

import kora

TEMPI, TIMES = 10_000, 1_000_000


def milliseconds(call, count=1):
    """The median of seven runs, of each of so many calls."""
    runs = []
    for _ in range(7):
        begin = time.process_time_ns()
        for _ in range(count):
            call()
        runs.append((time.process_time_ns() - begin) / 1e6 / count)
    return statistics.median(runs)


def a_song():
    song = kora.Song()
    end = song.start + kora.Ticks.quarters(4 * TEMPI)
    song.ramp(song.start, end, 60, 180, "bars", TEMPI)
    return song, end


def arrays(song, end):
    generator = numpy.random.default_rng(1)
    points = numpy.array([tempo.position.count for tempo in song.tempos])
    samples = song.convert(points, "ticks", "samples").astype(float)
    sorted_ticks = numpy.sort(generator.integers(song.start.count, end.count, TIMES))
    out = numpy.empty(TIMES, numpy.int64)
    records = numpy.zeros(TIMES, [("name", "S8"), ("at", "i8"), ("end", "i8")])
    for order, ticks in (("sorted", sorted_ticks), ("any order", generator.permutation(sorted_ticks))):
        records["at"] = ticks
        yield f"a million ticks, {order}", "ms", lambda: song.convert(ticks, "ticks", "samples", out=out)
        yield "  the same, a fresh array", "ms", lambda: song.convert(ticks, "ticks", "samples")
        yield "  the same, of records", "ms", lambda: song.convert(
            records["at"], "ticks", "samples", out=records["end"]
        )
        yield "  the same, numpy.interp", "ms", lambda: numpy.interp(ticks, points, samples)


def scalars(song):
    place = kora.Bars(100, 3, 0)
    ticks = song.convert(place, "ticks")
    count = ticks.count
    yield "a number", "µs", lambda: song.convert(count, "ticks", "samples")
    yield "a typed value", "µs", lambda: song.convert(ticks, "samples")
    yield "its bar", "µs", lambda: song.bars(ticks)
    yield "its text", "µs", lambda: song.text(ticks)
    yield "a place in bars", "µs", lambda: song.convert(place, "samples")
    yield "a text", "µs", lambda: song.convert("100|3", "samples")


def main():
    song, end = a_song()
    print(f"{len(song.tempos)} tempi")
    for name, unit, call in arrays(song, end):
        print(f"{name:<36}{milliseconds(call):8.2f} {unit}")
    for name, unit, call in scalars(song):
        print(f"{name:<36}{milliseconds(call, 20_000) * 1000:8.2f} {unit}")


if __name__ == "__main__":
    main()
