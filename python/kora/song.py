"""Songs: what a file says about tempo, meter and key, and every question about time.

>>> import kora
>>> song = kora.Song(rate=48000)
>>> song.convert(kora.Bars(3, 1), "samples")
Samples(192000)
>>> song.convert([0, 96000], "samples", "seconds")
[0.0, 2.0]
>>> song.text("3|1", "timecode")
'00:00:04:00'

Threads: a song is used by one thread at a time. Songs of different threads do not disturb one another, but that
edits are a BusyError while another song's step is open. Calls hold the interpreter's lock, so that breaking this gives
wrong answers but no broken memory.
"""
from __future__ import annotations

import contextlib
import ctypes
import os
from numbers import Real
from types import TracebackType
from typing import Any, Callable, Literal, NamedTuple, Optional, Type, overload

from kora import _convert, _session
from kora._edits import Edits
from kora._files import PathLike, existing, give_bytes, path_bytes, whole_bytes
from kora._handles import Handles
from kora._library import BarStruct, InfoStruct, TimeStruct, lib
from kora.errors import ClosedError, RefusedError
from kora.document import Document
from kora.grid import Grid, Ruler, clock_grid
from kora.maps import Keys, Meters, Tempos
from kora.plot import Plot
from kora.units import BY_UNIT, Bars, Frames, Position, Samples, Ticks, Time
from kora.writing import DocumentWriter, whole

__all__ = ["FORMS", "Info", "Song", "open", "read"]

# How a time reads, by name.
FORMS = {
    "samples": 0,
    "ticks": 1,
    "frames": 2,
    "bars": 3,
    "bars_exact": 4,
    "timecode": 5,
    "subframes": 6,
    "minsec": 7,
    "feet": 8,
}
FILMS = {35: 16, 16: 40}
_BY_CODE = (BY_UNIT["samples"], BY_UNIT["ticks"], BY_UNIT["frames"])
# Pairs of units that one call of the library converts, with its numbers of both and the first unit's limit.
_PLAIN = {(a, b): (BY_UNIT[a].code, BY_UNIT[b].code, _convert.LIMITS[a]) for a in BY_UNIT for b in BY_UNIT}
_FLOATS = {"seconds", "quarters"}
# Forms that no rate and no timecode format has a part in.
_WITHOUT_SESSION = {FORMS[form] for form in ("samples", "ticks", "bars", "bars_exact")}
_convert_one = lib.kora_convert
_NO_SESSION: contextlib.AbstractContextManager[None] = contextlib.nullcontext()


class Info(NamedTuple):
    """What a song says about itself."""

    rate: float  # samples a second
    timecode: str  # "30", "29.97drop" ...
    start: Ticks
    end: Ticks  # the last event or change


def _form(name: str) -> int:
    if name not in FORMS:
        raise ValueError(f"form {name!r} is none of {', '.join(FORMS)}")
    return FORMS[name]


def _film(film: int) -> int:
    if film not in FILMS:
        raise ValueError(f"film is 35 or 16 mm, not {film!r}")
    return FILMS[film]


def _guess_form(text: str) -> str:
    """The form that a text's marks show: 33|1, 00:00:06:20, 0:06.5."""
    if "|" in text:
        return "bars_exact"
    marks = text.count(":") + text.count(";")
    if marks == 3:
        return "timecode"
    if marks == 1:
        return "minsec"
    raise ValueError(f'{text!r} may be of several forms; parse(text, form) takes {", ".join(FORMS)}')


class Song(Edits):
    """A song of 120 beats a minute in 4/4, until it is edited. `kora.open` gives that of a file.

    The rate is from 1000 to 768000 samples a second; timecode is "24", "25", "29.97", "29.97drop", "30",
    "30drop",
    "23.976", "50", "59.94", "59.94drop", "60" or "60drop".
    """

    def __init__(self, rate: float = 44100, timecode: str = "30") -> None:
        self._setup(_session.wanted(rate, timecode), lib.kora_song_new)

    @classmethod
    def _made(cls, rate: float, timecode: str, make: Any, *arguments: Any) -> "Song":
        song = cls.__new__(cls)
        song._setup(_session.wanted(rate, timecode), make, *arguments)
        return song

    def _setup(self, session: _session.Session, make: Any, *arguments: Any) -> None:
        self._handles = Handles()
        with _session.use(session):
            self._handle = self._handles.make(make, *arguments)
        self._tempi = self._handles.make(lib.kora_song_get_tempo_map, self._handle)
        self._meters = self._handles.make(lib.kora_song_get_meter_map, self._handle)
        self._keys = self._handles.make(lib.kora_song_get_key_map, self._handle)
        self._formats: dict[int, ctypes.c_void_p] = {}
        self._time = TimeStruct()
        self._time_out = ctypes.pointer(self._time)
        self._session = session
        info = self.info
        self.rate: float = info.rate
        self._session = (info.rate, _session.TIMECODES[info.timecode])
        self._open_history()

    # ---- Life

    def close(self) -> None:
        """Releases the song; whatever is asked of it or of its maps from then on is a ClosedError."""
        self._handles.close()

    @property
    def closed(self) -> bool:
        """Whether `close` was called."""
        return self._handles.closed

    def __enter__(self) -> "Song":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        if self.closed:
            return "<kora.Song, closed>"
        return (
            f"<kora.Song, {len(self.tempos)} tempos, {len(self.meters)} meters, {len(self.keys)} keys, "
            f"{self.rate:g} Hz>"
        )

    def _check(self, status: int) -> None:
        if status:
            raise self._handles.error(status)

    def _use_session(self, is_needed: bool = True) -> contextlib.AbstractContextManager[None]:
        """For calls that ask for frames or timecode."""
        if not is_needed:
            return _NO_SESSION
        return _session.use(self._session)

    # ---- What it has

    @property
    def info(self) -> Info:
        """Rate, timecode, start and end."""
        out = InfoStruct(size=ctypes.sizeof(InfoStruct))
        self._check(lib.kora_song_get_info(self._handle, out))
        return Info(out.rate, _session.TIMECODE_NAMES[out.timecode], Ticks(out.start), Ticks(out.end))

    @property
    def start(self) -> Ticks:
        """The song's first tick."""
        return self.info.start

    @property
    def end(self) -> Ticks:
        """The last event or change."""
        return self.info.end

    @property
    def tempos(self) -> Tempos:
        """The tempi in the order of time."""
        return Tempos(self, self._tempi)

    @property
    def meters(self) -> Meters:
        """The meters in the order of time."""
        return Meters(self, self._meters)

    @property
    def keys(self) -> Keys:  # type: ignore[override]
        """The keys in the order of time."""
        return Keys(self, self._keys)

    def plot(self, title: str = "", width: int = 900) -> Plot:
        """A picture of tempi, meters and keys over bars, which notebooks show; `save` writes SVG."""
        return Plot(self, title, width)

    # ---- Grids and rulers

    def grid(self, division: str = "beats", swing: int = 0) -> Grid:
        """The lines of "bars", "beats" or a note value: "1/4", "1/8t" (triplets), "1/8." (dotted), "1/16(4:5)".

        Swing is by how many 960ths of a division every second line is late; 320 is a triplet feel.
        """
        if "\0" in division:
            raise RefusedError(f"{division!r} is no division", 7)
        return Grid(self, lib.kora_grid_new, division.encode(), whole(swing, "swing"))

    def clock_grid(self, unit: str, step: int = 1, film: int = 35) -> Grid:
        """A line at each count that step divides, of "samples", "milliseconds", "timecode" or "film"."""
        return clock_grid(self, unit, step, _film(film))

    def ruler(
        self,
        form: str = "bars",
        axis: str = "bars",
        last: Optional[Position] = None,
        measure: Optional[Callable[[str], float]] = None,
        film: int = 35,
    ) -> Ruler:
        """The lines and labels above a time line, in form "bars", "timecode", "minsec", "samples" or "feet".

        On the axis "bars" a quarter note is as wide everywhere, on "time" a second. Labels up to last have
        room; measure gives the width of a text in pixels. See `kora.Ruler`.
        """
        return Ruler(self, _form(form), axis, self.end if last is None else last, measure, _film(film))

    # ---- Conversions

    @overload
    def convert(self, values: Position, from_unit: Literal["ticks"]) -> Ticks:
        ...

    @overload
    def convert(self, values: Position, from_unit: Literal["samples"]) -> Samples:
        ...

    @overload
    def convert(self, values: Position, from_unit: Literal["frames"]) -> Frames:
        ...

    @overload
    def convert(self, values: Position, from_unit: Literal["seconds", "quarters"]) -> float:
        ...

    @overload
    def convert(self, values: Position, from_unit: Literal["bars"]) -> Bars:
        ...

    @overload
    def convert(self, values: Any, from_unit: str, to_unit: Optional[str] = None, *, out: Any = None) -> Any:
        ...

    def convert(self, values: Any, from_unit: str, to_unit: Optional[str] = None, *, out: Any = None) -> Any:
        """One value or many in another unit: "ticks", "samples", "frames", "seconds", "quarters" or "bars".

        `convert(position, unit)` takes a typed value, a place in bars or a text, and gives a typed value (a
        float for seconds and quarters). `convert(values, from_unit, to_unit)` takes plain numbers, one or a
        column of them: numpy arrays, array.array and memoryviews of 64-bit whole numbers are read where they
        stand, whatever their strides, and `out` is filled where it stands; it may be the values themselves.
        Lists give lists.

        Whole counts round once, as the library does. See `kora._convert` for seconds and quarters.

        >>> import array, kora
        >>> song = kora.Song()
        >>> song.convert("2|1", "seconds"), song.convert(2.0, "seconds", "bars")
        (2.0, Bars(2, 1, 0))
        >>> column = array.array("q", [44100, 88200])
        >>> _ = song.convert(column, "samples", "ticks", out=column)
        >>> list(column)
        [1000001920000, 1000003840000]
        """
        if type(values) is int and out is None:
            codes = _PLAIN.get((from_unit, to_unit))  # type: ignore[arg-type]
            if codes is not None and -codes[2] < values < codes[2]:
                time = self._time
                time.count = values
                time.unit = codes[0]
                if codes[0] == 2 or codes[1] == 2:
                    asked = (self._handle, TimeStruct(values, codes[0]), codes[1], self._time_out)
                    status = _session.ask(self._session, _convert_one, *asked)
                else:
                    status = _convert_one(self._handle, time, codes[1], self._time_out)
                if status:
                    raise self._handles.error(status)
                return time.count
        if to_unit is None:
            if out is not None:
                raise TypeError("out is for plain numbers: convert(values, from_unit, to_unit, out=out)")
            return self._convert_position(values, from_unit)
        if isinstance(values, (Time, str)) or (isinstance(values, Bars) and from_unit != "bars"):
            raise TypeError(f"{values!r} says what it is; write convert(value, {to_unit!r})")
        if isinstance(values, (Bars, Real)) and out is None:
            return _convert.column(self, [values], from_unit, to_unit, None)[0]
        return _convert.column(self, values, from_unit, to_unit, out)

    def _convert_position(self, position: Any, unit: str) -> Any:
        code = _convert.code_of(unit)
        if unit == "bars":
            return self.bars(position)
        if type(position) is Bars and unit not in _FLOATS:
            return _BY_CODE[code](self._from_bars(position, code))
        time = self._typed(position)
        if unit in _FLOATS:
            return _convert.column(self, [time], time.unit, unit, None)[0]
        return _BY_CODE[code](self.convert(time.count, time.unit, unit))

    def _typed(self, position: Any) -> Time:
        """Any position as a typed value."""
        if isinstance(position, Time):
            return position
        if isinstance(position, Bars):
            return Ticks(self._from_bars(position, 1))
        if isinstance(position, str):
            return self.parse(position)
        raise TypeError(
            f"a position is Ticks, Samples, Frames, Bars or a text such as '33|1', not {position!r}"
        )

    def _from_bars(self, place: Bars, code: int) -> int:
        """The count of a place in the unit of this number."""
        bar, beat, ticks = place
        if not (-1 << 31 <= bar < 1 << 31 and -1 << 31 <= beat < 1 << 31 and -1 << 59 < ticks < 1 << 59):
            raise ValueError(f"{place} is out of the range of places in bars")
        asked = (self._handle, BarStruct(bar, beat, ticks), code, self._time_out)
        if code == 2:
            status = _session.ask(self._session, lib.kora_from_bars, *asked)
        else:
            status = lib.kora_from_bars(*asked)
        if status:
            raise self._handles.error(status)
        return int(self._time.count)

    def _tick(self, position: Any) -> int:
        if type(position) is Ticks:
            return position._count
        time = self._typed(position)
        return int(self.convert(time.count, time.unit, "ticks"))

    def bars(self, position: Position) -> Bars:
        """The place in bars of a position.

        >>> import kora
        >>> kora.Song().bars(kora.Samples(44100))
        Bars(1, 3, 0)
        """
        time = self._typed(position)
        out = BarStruct()
        asked = (self._handle, TimeStruct(time.count, time.code), out)
        if time.code == 2:
            status = _session.ask(self._session, lib.kora_to_bars, *asked)
        else:
            status = lib.kora_to_bars(*asked)
        self._check(status)
        return Bars(out.bar, out.beat, out.ticks)

    # ---- Texts

    def _format(self, film: int) -> ctypes.c_void_p:
        if film not in self._formats:
            with self._use_session():
                self._formats[film] = self._handles.make(lib.kora_format_new, self._handle, _film(film))
        return self._formats[film]

    def text(self, position: Position, form: str = "bars_exact", film: int = 35) -> str:
        """A position as people read it, in one of `kora.FORMS`; empty where it has no text in that form.

        >>> import kora
        >>> song = kora.Song()
        >>> [song.text("5|1", form) for form in ("bars", "timecode", "minsec", "samples")]
        ['5|1| 000', '00:00:08:00', '0:08.000', '352800']
        """
        number = _form(form)
        time = self._typed(position)
        buffer = ctypes.create_string_buffer(64)
        asked = (self._format(film), number, TimeStruct(time.count, time.code), buffer, 64, None)
        if number in _WITHOUT_SESSION and time.code != 2:
            self._check(lib.kora_format_write(*asked))
        else:
            self._check(_session.ask(self._session, lib.kora_format_write, *asked))
        return buffer.value.decode()

    def timecode(self, position: Position, subframes: bool = False) -> str:
        """The timecode of a position."""
        return self.text(position, "subframes" if subframes else "timecode")

    def parse(self, text: str, form: Optional[str] = None, film: int = 35) -> Time:
        """What users type as a position. Without a form its marks show it: 33|1, 00:00:06:20, 0:06.5.

        >>> import kora
        >>> song = kora.Song()
        >>> song.parse("3|1"), song.parse("00:00:06:20"), song.parse("100", "samples")
        (Ticks(1000007680000), Samples(294000), Samples(100))
        """
        name = _guess_form(text) if form is None else form
        number = _form(name)
        if "\0" in text:
            raise RefusedError(f"{text!r} is no time", 7)
        out = self._time
        asked = (self._format(film), number, text.encode(), self._time_out)
        if number in _WITHOUT_SESSION:
            status = lib.kora_format_read(*asked)
        else:
            status = _session.ask(self._session, lib.kora_format_read, *asked)
        if status:
            error = self._handles.error(status)
            error.text = f"{text!r} is no position in the form {name!r}: {error.text}"
            try:
                raise error
            finally:
                del error  # whose trace has this frame, and with it the song, in a circle
        return _BY_CODE[out.unit](out.count)

    # ---- Files

    def save(self, path: PathLike) -> None:
        """Saves as a document, which takes the file's place only when it is complete and on the disk.

        A name in .mid is refused: a song has none of the notes of the MIDI file that it was opened from.
        """
        name = os.fsdecode(path)
        if name.lower().endswith((".mid", ".midi")):
            raise ValueError(
                f"{name!r} is no name for a document; export() writes a MIDI file, without notes"
            )
        self._check(lib.kora_song_save(self._handle, path_bytes(path)))
        if not self._recording:  # else the step may still go on, or be taken back
            self._check(lib.kora_history_mark_saved(self._history))

    def write_to(self, document: DocumentWriter) -> None:
        """Writes it into a document that is being made, outside of all streams: types 16, 17, 18 and 32."""
        if document.closed:
            raise ClosedError("the document is closed")
        self._check(lib.kora_song_write_document(self._handle, document._handle))

    @classmethod
    def from_document(cls, document: Document, rate: float = 44100, timecode: str = "30") -> "Song":
        """The song of a document in which no stream is open; the rate and timecode are of one without its own.

        >>> import kora
        >>> with kora.Document.create() as made:
        ...     kora.Song(rate=48000).write_to(made)
        >>> kora.Song.from_document(kora.Document.read(made.to_bytes()))
        <kora.Song, 1 tempos, 1 meters, 0 keys, 48000 Hz>
        """
        if document.closed:
            raise ClosedError("the document is closed")
        return cls._made(rate, timecode, lib.kora_song_read_document, document._handle)

    def to_bytes(self) -> bytes:
        """What `save` writes, a document's bytes; `kora.read` makes a song of them."""
        with DocumentWriter() as document:
            self.write_to(document)
        return document.to_bytes()

    def to_midi(self) -> bytes:
        """The three maps as a Standard MIDI file."""
        return give_bytes(self._check, lib.kora_song_write_midi, self._handle)

    def export(self, path: PathLike) -> None:
        """Writes the three maps as a Standard MIDI file, which takes its place in one step when it is on the disk.

        A link is followed to the file; what is no file, such as a pipe, is refused.
        """
        self._check(lib.kora_song_export(self._handle, path_bytes(path)))


def open(path: PathLike, rate: float = 44100, timecode: str = "30") -> Song:
    """The song of a MIDI file, at this rate and timecode, or of a document, at its own."""
    return Song._made(rate, timecode, lib.kora_song_open, existing(path))


def read(data: bytes, rate: float = 44100, timecode: str = "30") -> Song:
    """The same of the bytes of one."""
    whole = whole_bytes(data)
    return Song._made(rate, timecode, lib.kora_song_read_bytes, whole, len(whole))
