"""The lines of an editor's grid, and the rulers above a time line. Both follow the song's edits.

>>> import kora
>>> song = kora.Song()
>>> song.meters.set("2|1", 3, 4)
>>> grid = song.grid("1/8")
>>> [str(line.place) for line in grid.lines("1|4", "2|2")]
['1|4|0', '1|4|480000', '2|1|0', '2|1|480000']
>>> grid.snap(kora.Samples(23000)).place, grid.snap(kora.Samples(23000), "after").kind
(Bars(1, 2, 0), 'sub')
>>> [line.label for line in song.ruler().show("1|1", "5|1", 400).draw(400) if line.label]
['1', '2', '3', '4']
"""
from __future__ import annotations

import ctypes
from typing import TYPE_CHECKING, Any, Callable, Iterator, List, NamedTuple, Optional

from kora._handles import Handles
from kora._library import (
    MEASURE,
    RULER_TAKE,
    GridLineStruct,
    RulerOptionsStruct,
    TimeStruct,
    callback,
    lib,
    raise_first,
)
from kora.errors import TOO_SMALL, ClosedError
from kora.units import BY_UNIT, Bars, Position, Samples, Ticks, Time
from kora.writing import whole

try:
    import numpy
except ImportError:
    numpy = None  # type: ignore[assignment]

if TYPE_CHECKING:
    from kora.song import Song

__all__ = ["Grid", "GridLine", "Ruler", "RulerLine", "clock_grid", "grid_dtype"]

KINDS = ("bar", "beat", "sub", "fine", "foot", "second", "minute", "hour")
SEARCHES = {"before": 0, "at_or_before": 1, "nearest": 2, "at_or_after": 3, "after": 4}
CLOCKS = {"samples": 0, "milliseconds": 1, "timecode": 2, "film": 3}
AXES = {"time": 0, "bars": 1}
_PIECE = 1024  # lines that are asked for at once

# A line in an array of numpy's; kind is an index of kora.grid.KINDS.
grid_dtype = (
    None
    if numpy is None
    else numpy.dtype(
        [
            ("tick", "<i8"),
            ("sample", "<i8"),
            ("count", "<i8"),
            ("bar", "<i4"),
            ("beat", "<i4"),
            ("ticks", "<i8"),
            ("kind", "<i4"),
            ("reserved", "<u4"),
        ]
    )
)


class GridLine(NamedTuple):
    """A line: of bars and beats its place, of the clock its number; the other is None."""

    position: Ticks  # of a line by the clock the nearest
    sample: Samples  # of a line by bars the nearest
    place: Optional[Bars]
    number: Optional[int]  # samples, milliseconds, labels or frames of film
    kind: str  # "bar", "beat", "sub"; "fine", "foot", "second", "minute", "hour"


class _OfSong:
    """A handle of its own that keeps the song, and goes with it."""

    def __init__(self, song: "Song", call: Any, *arguments: Any) -> None:
        self._song = song
        self._handles = Handles()
        if song.closed:
            raise ClosedError("the song is closed")
        with song._use_session():
            self._handle = self._handles.make(call, song._handle, *arguments)

    def _check(self, status: int) -> None:
        if status:
            raise self._handles.error(status)

    def _ask(self, call: Any, *arguments: Any) -> int:
        """The status of a call of the handle."""
        if self._song.closed:
            raise ClosedError("the song is closed")
        with self._song._use_session():
            return int(call(self._handle, *arguments))

    def _at(self, position: Any) -> TimeStruct:
        time = self._song._typed(position)
        return TimeStruct(time.count, time.code)


class Grid(_OfSong):
    """Lines by bars, beats and note values, or by the clock. `Song.grid` and `Song.clock_grid` make one."""

    def __init__(self, song: "Song", call: Any, *arguments: Any, by_clock: bool = False) -> None:
        super().__init__(song, call, *arguments)
        self._by_clock = by_clock

    def _line(self, line: Any) -> GridLine:
        place = None if self._by_clock else Bars(line.place.bar, line.place.beat, line.place.ticks)
        number = line.count if self._by_clock else None
        return GridLine(Ticks(line.tick), Samples(line.sample), place, number, KINDS[line.kind])

    def snap(self, position: Position, search: str = "nearest") -> GridLine:
        """The line that a position snaps to; halfway between two it is the later one.

        Searches are "before", "at_or_before", "nearest", "at_or_after" and "after". Before the first line of
        timecode or film there is none: a KeyError.
        """
        if search not in SEARCHES:
            raise ValueError(f"search {search!r} is none of {', '.join(SEARCHES)}")
        line = GridLineStruct()
        self._check(self._ask(lib.kora_grid_find, self._at(position), SEARCHES[search], line))
        return self._line(line)

    def _pieces(self, start: Optional[Position], end: Optional[Position]) -> Iterator[Any]:
        """The lines of [start, end) as memory, piece by piece."""
        first = self._at(self._song.start if start is None else start)
        last = self._at(self._song.end if end is None else end)
        count = ctypes.c_size_t()
        while True:
            lines = (GridLineStruct * _PIECE)()
            status = self._ask(lib.kora_grid_lines, first, last, lines, _PIECE, count)
            if status not in (0, TOO_SMALL):
                self._check(status)
            yield lines, count.value
            if status == 0:
                return
            behind = lines[count.value - 1]
            first = TimeStruct(behind.sample + 1, 0) if self._by_clock else TimeStruct(behind.tick + 1, 1)

    def lines(self, start: Optional[Position] = None, end: Optional[Position] = None) -> Iterator[GridLine]:
        """The lines of [start, end) in order; by default from the song's start to its end."""
        for lines, count in self._pieces(start, end):
            for index in range(count):
                yield self._line(lines[index])

    __iter__ = lines

    def array(self, start: Optional[Position] = None, end: Optional[Position] = None) -> Any:
        """The same as an array of `kora.grid_dtype`, which numpy has to be there for."""
        if numpy is None:
            raise NotImplementedError("arrays of lines need numpy")
        pieces = [
            numpy.frombuffer(lines, grid_dtype, count) for lines, count in self._pieces(start, end) if count
        ]
        return numpy.concatenate(pieces) if pieces else numpy.empty(0, grid_dtype)


def clock_grid(song: "Song", unit: str, step: int, film: int) -> Grid:
    """See `Song.clock_grid`."""
    if unit not in CLOCKS:
        raise ValueError(f"unit {unit!r} is none of {', '.join(CLOCKS)}")
    if not 1 <= step < 1 << 63:
        raise ValueError(f"step is {step!r}; it is 1 or more")
    return Grid(song, lib.kora_grid_new_by_clock, CLOCKS[unit], step, film, by_clock=True)


class RulerLine(NamedTuple):
    """A line of a ruler. Its label, "" for none, begins at the line and has its room to the right."""

    pixel: int
    time: Time  # ticks of bars, samples of the other forms
    label: str
    is_major: bool


class Ruler(_OfSong):
    """Lines and labels over pixels. Pixels count from the view's left edge, and may lie outside of it."""

    def __init__(
        self,
        song: "Song",
        form: int,
        axis: str,
        last: Position,
        measure: Optional[Callable[[str], float]],
        film: int,
    ) -> None:
        if axis not in AXES:
            raise ValueError(f"axis {axis!r} is none of {', '.join(AXES)}")
        failed: List[BaseException] = []

        def width(_user: Any, text: Optional[bytes], _size: int) -> float:
            words = (text or b"").decode()
            return 7.2 * len(words) if measure is None else float(measure(words))

        options = RulerOptionsStruct(ctypes.sizeof(RulerOptionsStruct), form, film, AXES[axis], 0, 0, 0)
        time = song._typed(last)
        latest = TimeStruct(time.count, time.code)
        super().__init__(
            song, lib.kora_ruler_new, options, latest, callback(MEASURE, width, failed, 0.0), None
        )
        raise_first(failed)

    def show(self, start: Position, end: Position, width: float) -> "Ruler":
        """Makes [start, end) as wide as so many pixels."""
        self._check(self._ask(lib.kora_ruler_show, self._at(start), self._at(end), width))
        return self

    def set_units_per_pixel(self, units: float) -> None:
        """Ticks a pixel on the axis "bars", samples on "time"; the time at pixel 0 stays."""
        self._check(self._ask(lib.kora_ruler_set_units_per_pixel, units))

    def zoom(self, pixel: float, factor: float) -> None:
        """Wider by a factor, narrower below 1; what is at the pixel stays there."""
        self._check(self._ask(lib.kora_ruler_zoom, pixel, factor))

    def scroll_to(self, position: Position, pixel: float = 0) -> None:
        """Brings a position to a pixel."""
        self._check(self._ask(lib.kora_ruler_scroll_to, self._at(position), pixel))

    def scroll_by(self, pixels: int) -> None:
        """The picture moves to the left by so many pixels, to the right where they are negative."""
        self._check(self._ask(lib.kora_ruler_scroll_by, whole(pixels, "pixels", 64)))

    def to_pixel(self, position: Position) -> float:
        """Where a position is."""
        out = ctypes.c_double()
        self._check(self._ask(lib.kora_ruler_to_pixel, self._at(position), out))
        return out.value

    def to_time(self, pixel: float, unit: str = "ticks") -> Time:
        """What is at a pixel: the nearest tick or sample of the axis, in any of the three units."""
        if unit not in BY_UNIT:
            raise ValueError(f"unit {unit!r} is none of {', '.join(BY_UNIT)}")
        out = TimeStruct()
        self._check(self._ask(lib.kora_ruler_to_time, pixel, BY_UNIT[unit].code, out))
        return BY_UNIT[unit](out.count)

    def draw(self, width: float) -> List[RulerLine]:
        """The lines of the pixels [0, width), and those before whose label reaches in, in order."""
        lines: List[RulerLine] = []
        failed: List[BaseException] = []
        kinds = (Samples, Ticks)

        def take(_user: Any, pointer: Any) -> None:
            line = pointer.contents
            label = (line.label or b"").decode()
            lines.append(
                RulerLine(line.pixel, kinds[line.time.unit](line.time.count), label, bool(line.is_major))
            )

        self._check(self._ask(lib.kora_ruler_draw, width, callback(RULER_TAKE, take, failed), None))
        raise_first(failed)
        return lines
