"""Conversions against the command's, and columns against single values."""
import array
import math
import random
import subprocess
import sys

import numpy as np
import pytest

import kora
from conftest import FIRST_LIGHT
from kora._columns import nearest

UNITS = ("ticks", "samples", "frames")


def places(song, unit, count, rng):
    last = song.convert(song.end, unit).count
    first = song.convert(song.start, unit).count
    return [rng.randint(first, last + (last - first) // 4) for _ in range(count)]


@pytest.mark.parametrize("rate, timecode", [(44100, "30"), (48000, "29.97drop"), (95904, "59.94")])
def test_answers_are_the_commands(command, rate, timecode):
    rng = random.Random(rate)
    with kora.open(FIRST_LIGHT, rate, timecode) as song:
        for source in UNITS:
            values = places(song, source, 300, rng)
            lines = command.convert(
                FIRST_LIGHT,
                source,
                "ticks,samples,frames,bars,timecode,seconds,subframes,minsec",
                values,
                "--rate",
                str(rate),
                "--timecode",
                timecode,
            )
            columns = [song.convert(values, source, unit) for unit in UNITS]
            bars = song.convert(values, source, "bars")
            seconds = song.convert(values, source, "seconds")
            kind = {"ticks": kora.Ticks, "samples": kora.Samples, "frames": kora.Frames}[source]
            for index, line in enumerate(lines):
                place = kind(values[index])
                texts = [song.text(place, form) for form in ("timecode", "subframes", "minsec")]
                theirs = line.split("\t")
                assert abs(float(theirs.pop(5)) - seconds[index]) < 0.51e-6
                assert [str(column[index]) for column in columns] + [str(bars[index]), *texts] == theirs, (
                    source,
                    values[index],
                )


def layouts(values):
    """The same column in memory of every kind."""
    count = len(values)
    wide = np.zeros(count, dtype=[("name", "S3"), ("at", "<i8"), ("end", "<i8")])
    wide["at"] = values
    yield "list", list(values)
    yield "tuple", tuple(values)
    yield "array", array.array("q", values)
    yield "view", memoryview(array.array("q", values))
    yield "plain", np.array(values, np.int64)
    yield "field of records", wide["at"]
    odd = np.zeros(count, dtype=[("flag", "u1"), ("at", "<i8")])
    odd["at"] = values
    yield "unaligned", odd["at"]
    yield "read only", np.frombuffer(array.array("q", values).tobytes(), np.int64)
    yield "backwards", np.array(values[::-1], np.int64)[::-1]
    yield "every third", np.repeat(np.array(values, np.int64), 3)[::3]
    yield "view of every second", memoryview(
        array.array("q", [each for value in values for each in (value, 0)])
    )[::2]
    yield "two dimensions", np.array(values, np.int64).reshape(2, -1)
    yield "turned", np.asfortranarray(np.array(values, np.int64).reshape(2, -1))
    yield "other byte order", np.array(values, ">i8")


@pytest.mark.parametrize("source", UNITS)
@pytest.mark.parametrize("target", (*UNITS, "seconds", "quarters", "bars"))
def test_columns_of_every_layout_give_the_single_answers(light, source, target):
    values = places(light, source, 50, random.Random(target))
    single = [light.convert(value, source, target) for value in values]
    for name, column in layouts(values):
        result = light.convert(column, source, target)
        if isinstance(result, np.ndarray):
            assert result.shape == column.shape, name
            result = result.reshape(-1).tolist()
        assert [tuple(each) if target == "bars" else each for each in result] == single, name


def test_out_is_filled_where_it_stands(light):
    values = places(light, "ticks", 3000, random.Random(5))
    expected = light.convert(values, "ticks", "samples")
    records = np.zeros(3000, dtype=[("name", "S3"), ("at", "<i8"), ("end", "<i8")])
    records["at"] = values
    light.convert(records["at"], "ticks", "samples", out=records["end"])
    assert records["end"].tolist() == expected and records["at"].tolist() == values
    light.convert(records["at"], "ticks", "samples", out=records["at"])
    assert records["at"].tolist() == expected and not any(records["name"])
    shifted = np.array(values + [0], np.int64)
    light.convert(shifted[:-1], "ticks", "samples", out=shifted[1:])
    assert shifted[1:].tolist() == expected
    seconds = np.zeros(3000)
    assert light.convert(np.array(values), "ticks", "seconds", out=seconds) is seconds
    assert seconds.tolist() == [each / 44100 for each in expected]
    places_out = np.zeros(3000, kora.bars_dtype)
    light.convert(np.array(values), "ticks", "bars", out=places_out)
    assert light.convert(places_out, "bars", "ticks").tolist() == values


def test_seconds_and_quarters_round_to_the_nearest_and_halves_up(light):
    for value in (0.5, 1.5, 2.5, -0.5, 0.49999999999999994, 4503599627370497.0):
        exact = math.floor(value) + (value % 1 >= 0.5)
        assert nearest(value) == exact
    seconds = [(each + 0.5) / 44100 for each in range(50)] + [0.1, 7.77]
    plain = light.convert(seconds, "seconds", "samples")
    assert plain == [nearest(each * 44100) for each in seconds]
    assert light.convert(np.array(seconds), "seconds", "samples").tolist() == plain
    assert light.convert([0, 1.5], "quarters", "ticks") == [10**12, 10**12 + 1440000]


@pytest.mark.parametrize(
    "values, source, target, out, error",
    [
        (2**60, "ticks", "samples", None, ValueError),
        ([0, 2**40], "samples", "ticks", None, ValueError),
        (1.5, "ticks", "samples", None, TypeError),
        (["1"], "ticks", "samples", None, TypeError),
        (np.array([1.5]), "ticks", "samples", None, TypeError),
        (np.array([1], np.uint64), "ticks", "samples", None, TypeError),
        (np.array([1.0, math.nan]), "seconds", "samples", None, ValueError),
        ([math.inf], "seconds", "samples", None, ValueError),
        ([1], "ticks", "furlongs", None, ValueError),
        ([1], "ticks", [], None, ValueError),
        ([kora.Samples(1)], "ticks", "samples", None, TypeError),
        (kora.Ticks(1), "ticks", "samples", None, TypeError),
        (np.zeros(3, np.int64), "bars", "ticks", None, TypeError),
        ([(2**31, 1, 0)], "bars", "ticks", None, ValueError),
        (np.zeros(3, np.int64), "ticks", "samples", np.zeros(2, np.int64), ValueError),
        (np.zeros(3, np.int64), "ticks", "samples", np.zeros(3, np.int32), TypeError),
        (np.zeros(3, np.int64), "ticks", "samples", np.frombuffer(bytes(24), np.int64), TypeError),
        (np.zeros(3, np.int64), "ticks", "samples", np.broadcast_to(np.zeros(1, np.int64), 3), TypeError),
        (np.zeros((2, 2), np.int64), "ticks", "samples", np.zeros(4, np.int64), ValueError),
        (np.zeros(3, np.int64), "ticks", "bars", np.zeros(3, np.int64), TypeError),
        ([1], "ticks", "samples", [0], TypeError),
        ([1], "ticks", "bars", [kora.Bars(1)], TypeError),
    ],
)
def test_what_is_no_column_is_refused(light, values, source, target, out, error):
    before = None if out is None else list(map(str, out))
    with pytest.raises(error):
        light.convert(values, source, target, out=out)
    assert before is None or before == list(map(str, out))


@pytest.mark.parametrize("unit", (*UNITS, "seconds", "quarters", "bars"))
def test_empty_columns_and_numpys_own_scalars(light, unit):
    assert light.convert([], "ticks", unit) == []
    empty = np.zeros((0,), np.int64)
    assert light.convert(empty, "ticks", unit).shape == (0,)
    if unit != "bars":
        assert light.convert([], unit, "ticks") == [] and len(light.convert([], "bars", unit)) == 0
    one = light.convert(10**12, "ticks", unit)
    assert light.convert(np.int64(10**12), "ticks", unit) == one
    assert light.convert(np.array(10**12), "ticks", unit).tolist() == one


def test_nothing_needs_numpy():
    script = f"""
import sys
sys.modules["numpy"] = None
import array, kora
song = kora.open({str(FIRST_LIGHT)!r})
column = array.array("q", [0, 504000])
expected = [10**12, 1000015359994]
assert list(song.convert(column, "samples", "ticks")) == expected
assert song.convert([0, 504000], "samples", "ticks") == expected
assert song.convert([0, 504000], "samples", "bars") == [(1, 1, 0), song.bars(kora.Samples(504000))]
assert song.convert(array.array("d", [0.0, 1.0]), "seconds", "samples")[1] == 44100
assert "84 bpm" in song.plot().svg
with kora.Document.create() as made, made.stream(9, description=""):
    made.write("int16", memoryview(array.array("q", [1, 2])))
with kora.Document.read(made.to_bytes()).enter(9) as stream:
    assert stream.read("int16", 2) == [1, 2]
print("good")
"""
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True)
    assert done.stdout == "good\n", done.stderr
