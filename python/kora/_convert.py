"""Conversions of scalars and of columns between all units.

Ticks, samples and frames are whole numbers and convert as the library's single call does, rounding once.
Seconds are samples divided by the rate, so they are as exact as a float; into samples they round to the
nearest, halves upwards. Quarters are quarter notes from the song's first tick, and round to ticks in the same
way.

Limits: ticks and frames are below 2^59 and samples below 2^35 in either direction. What lies outside is
refused, and an array that was to be converted in place is as it was.
"""
from __future__ import annotations

import array
import ctypes
import struct
from numbers import Integral
from typing import TYPE_CHECKING, Any, Optional

from kora._columns import as_counts, as_list, is_array, new_like, scaled, through
from kora._library import BarStruct, lib
from kora.units import TICKS_PER_QUARTER, Bars, Time

try:
    import numpy
except ImportError:
    numpy = None  # type: ignore[assignment]

if TYPE_CHECKING:
    from kora.song import Song

__all__ = ["UNITS", "bars_dtype", "column", "pack_bars"]

# The unit in which the library has each: samples 0, ticks 1, frames 2.
UNITS = {"samples": 0, "ticks": 1, "frames": 2, "seconds": 0, "quarters": 1, "bars": 1}
# Counts are below these, in either direction.
LIMITS = {"samples": 1 << 35, "ticks": 1 << 59, "frames": 1 << 59}
FLOATING = ("seconds", "quarters")

# A column of bars in an array of numpy's.
bars_dtype = None if numpy is None else numpy.dtype([("bar", "<i4"), ("beat", "<i4"), ("ticks", "<i8")])


def code_of(unit: str) -> int:
    """The library's number of a unit."""
    try:
        return UNITS[unit]
    except (KeyError, TypeError):
        raise ValueError(f"{unit!r} is no unit; there are {', '.join(UNITS)}") from None


def pack_bars(values: Any) -> Any:
    """Places in bars as memory that the library reads."""
    if numpy is not None and isinstance(values, numpy.ndarray):
        if values.dtype != bars_dtype:
            raise TypeError(f"bars are arrays of kora.bars_dtype, not of {values.dtype}")
        return values
    try:
        packed = bytearray().join(struct.pack("<iiq", *Bars(*each)) for each in values)
    except struct.error as error:
        raise ValueError(f"a place in bars is out of range: {error}") from None
    return (BarStruct * (len(packed) // 16)).from_buffer(packed)


def unpack_bars(memory: Any) -> list[Bars]:
    return [Bars(*each) for each in struct.iter_unpack("<iiq", bytes(memory))]


def _counts_in(song: "Song", values: Any, unit: str) -> Any:
    """Values of a unit other than bars as whole numbers of the library's unit."""
    if not is_array(values):
        values = [_plain(each, unit) for each in values]
    if unit == "seconds":
        return scaled(values, song.rate)
    if unit == "quarters":
        counts = scaled(values, TICKS_PER_QUARTER)
        start = song.start.count
        if is_numpy(counts):
            counts += start
            return counts
        return array.array("q", [count + start for count in counts])
    if not isinstance(values, list):
        return as_counts(values, unit)
    try:
        counts = as_counts(values, unit)
        if not values or -LIMITS[unit] < min(values) <= max(values) < LIMITS[unit]:
            return counts
    except TypeError:
        wrong = next(each for each in values if not isinstance(each, Integral))
        raise TypeError(f"{unit} are whole numbers, not {wrong!r}") from None
    except OverflowError:
        pass
    raise ValueError(
        f"a time in {unit} is out of the limits, which are {LIMITS[unit] - 1} in either direction"
    )


def _plain(value: Any, unit: str) -> Any:
    """A number; a typed value has to be of the unit."""
    if isinstance(value, Time):
        if value.unit != unit:
            raise TypeError(f"{value!r} among values in {unit}")
        return value.count
    return value


def is_numpy(values: Any) -> bool:
    return numpy is not None and isinstance(values, numpy.ndarray)


def _floats(song: "Song", counts: Any, unit: str, out: Any) -> Any:
    """Counts as seconds or quarters, in out where there is one."""
    start, each = (0, song.rate) if unit == "seconds" else (song.start.count, float(TICKS_PER_QUARTER))
    if is_numpy(counts):
        return numpy.divide(counts - start if start else counts, each, out=out)
    floats = [(count - start) / each for count in counts]
    if out is None:
        return array.array("d", floats)
    if len(out) != len(floats):  # which would make it longer, or shorter
        raise ValueError(f"out has {len(out)} elements, the values have {len(floats)}")
    out[:] = array.array("d", floats) if isinstance(out, (array.array, memoryview)) else floats
    return out


def column(song: "Song", values: Any, from_unit: str, to_unit: str, out: Optional[Any]) -> Any:
    """Many values at once; gives out, or fresh memory of the kind that values are of."""
    codes = code_of(from_unit), code_of(to_unit)
    with song._use_session(2 in codes):
        return _column(song, values, from_unit, to_unit, codes, out)


def _column(song: "Song", values: Any, from_unit: str, to_unit: str, codes: tuple[int, int], out: Any) -> Any:
    source_code, target_code = codes
    listed = not is_array(values) and out is None
    if from_unit == "bars":
        source: Any = pack_bars(values)
        size = 16
    else:
        source = _counts_in(song, values, from_unit)
        size = 8
    if to_unit == "bars":
        return _to_bars(song, source, size, source_code, out)
    into = out if out is not None and to_unit not in FLOATING else new_like(source)
    handle = song._handle
    if size == 16:
        song._check(
            through(
                lambda r, w: lib.kora_from_bars_all(
                    handle, r.address, r.stride, target_code, w.address, w.stride, r.count
                ),
                source,
                into,
                (16, 8),
            )
        )
    else:
        song._check(
            through(
                lambda r, w: lib.kora_convert_all(
                    handle, source_code, r.address, r.stride, target_code, w.address, w.stride, r.count
                ),
                source,
                into,
            )
        )
    result = _floats(song, into, to_unit, out) if to_unit in FLOATING else into
    return as_list(result) if listed else result


def _to_bars(song: "Song", source: Any, size: int, code: int, out: Any) -> Any:
    """Counts, or bars by way of ticks, to bars: an array of bars_dtype for arrays, else a list."""
    handle = song._handle
    if out is not None and not is_numpy(out):
        raise TypeError("places in bars go into an array of kora.bars_dtype")
    if size == 16:
        ticks = new_like(source)
        song._check(
            through(
                lambda r, w: lib.kora_from_bars_all(
                    handle, r.address, r.stride, 1, w.address, w.stride, r.count
                ),
                source,
                ticks,
                (16, 8),
            )
        )
        source, code = ticks, 1
    if is_numpy(source) or out is not None:
        into = pack_bars(numpy.empty(source.shape, bars_dtype) if out is None else out)
    else:
        into = (BarStruct * len(source))()
    song._check(
        through(
            lambda r, w: lib.kora_to_bars_all(
                handle, code, r.address, r.stride, w.address, w.stride, r.count
            ),
            source,
            into,
            (8, 16),
        )
    )
    return into if is_numpy(into) else unpack_bars(into)
