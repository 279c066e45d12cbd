"""The three maps of a song as sequences: tempi, meters and keys, each in the order of time.

>>> import kora
>>> song = kora.Song()
>>> len(song.meters), song.meters[0].text
(1, '4/4')
>>> song.meters.set("5|1", 3, 4)
>>> [str(song.bars(each.position)) for each in song.meters]
['1|1|0', '5|1|0']
>>> song.meters.at("7|2").numerator
3
>>> del song.meters[-1]
>>> len(song.meters)
1
"""
from __future__ import annotations

import ctypes
import re
from typing import (
    TYPE_CHECKING,
    Any,
    Generic,
    Iterator,
    NamedTuple,
    Optional,
    Sequence,
    TypeVar,
    Union,
    overload,
)

from kora._library import KeyStruct, MeterStruct, TempoStruct, lib
from kora.errors import NOT_FOUND, NotFoundError
from kora.units import Position, Samples, Ticks

if TYPE_CHECKING:
    from kora.song import Song

__all__ = ["Key", "Keys", "Meter", "Meters", "Tempo", "Tempos"]

_MAJOR = ("Cb", "Gb", "Db", "Ab", "Eb", "Bb", "F", "C", "G", "D", "A", "E", "B", "F#", "C#")
_MINOR = ("Ab", "Eb", "Bb", "F", "C", "G", "D", "A", "E", "B", "F#", "C#", "G#", "D#", "A#")
_KEY_TEXT = re.compile(r"\s*([A-Ga-g])\s*([#b]?)\s*(major|minor|maj|min|m)?\s*", re.IGNORECASE)


class Tempo(NamedTuple):
    """A tempo from its position on."""

    position: Ticks
    bpm: float  # beats a minute
    beat: Ticks  # the length of one
    locked: Optional[Samples]  # the sample at which the position is, whatever is edited elsewhere
    is_start: bool  # the song's first tick
    is_computed: bool  # the tempo follows from the locks on both sides

    @property
    def text(self) -> str:
        """The tempo as people read it: "84 bpm"."""
        return f"{self.bpm:.3f}".rstrip("0").rstrip(".") + " bpm"


class Meter(NamedTuple):
    """A meter from its position on."""

    position: Ticks
    numerator: int
    denominator: int
    bar: int  # the number of the bar that it opens
    cuts: bool  # whether it cuts the bar before short

    @property
    def text(self) -> str:
        """ "3/4"."""
        return f"{self.numerator}/{self.denominator}"


class Key(NamedTuple):
    """A key signature from its position on."""

    position: Ticks
    accidentals: int  # sharps above 0, flats below; -7 to 7
    is_major: bool

    @property
    def text(self) -> str:
        """ "D major"."""
        names = _MAJOR if self.is_major else _MINOR
        return f"{names[self.accidentals + 7]} {'major' if self.is_major else 'minor'}"


E_ = TypeVar("E_", Tempo, Meter, Key)


class _Map(Sequence[E_], Generic[E_]):
    """What the three have in common; each gives the calls and how an entry reads."""

    kind = ""
    _struct: Any = None

    def __init__(self, song: "Song", handle: ctypes.c_void_p) -> None:
        self._song = song
        self._handle = handle
        self._count, self._get, self._find, self._remove, self._clear = (
            getattr(lib, f"kora_{self.kind}_map_{name}")
            for name in ("count", "get", "find", "remove", "clear")
        )

    def _entry(self, entry: Any) -> E_:
        raise NotImplementedError

    def __len__(self) -> int:
        count = ctypes.c_size_t()
        self._song._check(self._count(self._handle, count))
        return count.value

    @overload
    def __getitem__(self, index: int) -> E_:
        ...

    @overload
    def __getitem__(self, index: slice) -> list[E_]:
        ...

    def __getitem__(self, index: Union[int, slice]) -> Union[E_, list[E_]]:
        if isinstance(index, slice):
            return [self[each] for each in range(*index.indices(len(self)))]
        place = index if index >= 0 else index + len(self)
        entry = self._struct()
        status = self._get(self._handle, place, entry) if 0 <= place < 1 << 62 else NOT_FOUND
        if status == NOT_FOUND:
            raise IndexError(f"no {self.kind} {index} among {len(self)}")
        self._song._check(status)
        return self._entry(entry)

    def __iter__(self) -> Iterator[E_]:
        entry = self._struct()
        index = 0
        while True:
            status = self._get(self._handle, index, entry)
            if status == NOT_FOUND:
                return
            self._song._check(status)
            yield self._entry(entry)
            index += 1

    def at(self, position: Position) -> E_:
        """The entry in force at a position. Before the first key there is none: a KeyError."""
        entry = self._struct()
        tick = self._song._tick(position)
        if self.kind == "key" and not (len(self) and self[0].position.count <= tick):
            raise NotFoundError("no key is there yet", NOT_FOUND)
        self._song._check(self._find(self._handle, tick, entry))
        return self._entry(entry)

    def remove(self, position: Position) -> None:
        """Takes the entry exactly there; without one it is a KeyError."""
        tick = self._song._tick(position)
        with self._song._step(f"Remove {self.kind}"):
            self._song._check(self._remove(self._handle, tick))

    def clear(self, start: Position, end: Position) -> None:
        """Takes all entries of [start, end) that may go."""
        first, last = self._song._tick(start), self._song._tick(end)
        with self._song._step(f"Clear {self.kind}s"):
            self._song._check(self._clear(self._handle, first, last))

    def __delitem__(self, index: Union[int, slice, Position]) -> None:
        if not isinstance(index, (int, slice)):
            return self.remove(index)
        gone = self[index] if isinstance(index, slice) else [self[index]]
        with self._song._step(f"Remove {self.kind}"):
            for entry in gone:
                self._song._check(self._remove(self._handle, entry.position.count))

    def __eq__(self, other: object) -> bool:
        if isinstance(other, (list, tuple, _Map)):
            return list(self) == list(other)
        return NotImplemented

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return f"[{', '.join(f'{self._song.bars(each.position)} {each.text}' for each in self)}]"


class Tempos(_Map[Tempo]):
    """The tempi; the song's edits (`set_tempo`, `ramp`, `lock` ...) change them."""

    kind, _struct = "tempo", TempoStruct

    def _entry(self, entry: Any) -> Tempo:
        flags = entry.flags
        return Tempo(
            Ticks(entry.tick),
            entry.bpm,
            Ticks(entry.beat),
            Samples(entry.locked_sample) if flags & 1 else None,
            bool(flags & 2),
            bool(flags & 4),
        )


class Meters(_Map[Meter]):
    """The meters. The first stays."""

    kind, _struct = "meter", MeterStruct

    def _entry(self, entry: Any) -> Meter:
        return Meter(
            Ticks(entry.tick), entry.numerator, entry.denominator, entry.bar, bool(entry.is_off_barline)
        )

    def set(self, position: Position, numerator: int, denominator: int) -> None:
        """Adds a meter, or overwrites the one there. Inside a bar it cuts that bar short."""
        for number in (numerator, denominator):
            if not 1 <= number <= 32767:
                raise ValueError(f"{numerator}/{denominator} is no meter: both are from 1 to 32767")
        tick = self._song._tick(position)
        with self._song._step("Set meter"):
            self._song._check(lib.kora_meter_map_set(self._handle, tick, numerator, denominator))


class Keys(_Map[Key]):
    """The key signatures. There may be none."""

    kind, _struct = "key", KeyStruct

    def _entry(self, entry: Any) -> Key:
        sign = 1 if entry.is_sharps else -1
        return Key(Ticks(entry.tick), sign * entry.accidentals, bool(entry.is_major))

    def set(self, position: Position, key: Union[str, Key]) -> None:
        """Adds a key, or overwrites the one there.

        >>> import kora
        >>> song = kora.Song()
        >>> song.keys.set("1|1", "F# minor")
        >>> song.keys[0].accidentals
        3
        """
        accidentals, is_major = parse_key(key) if isinstance(key, str) else (key.accidentals, key.is_major)
        if not -7 <= accidentals <= 7:
            raise ValueError(f"{accidentals} accidentals; a key has up to 7 sharps, or flats below 0")
        entry = KeyStruct(self._song._tick(position), is_major, accidentals >= 0, abs(accidentals))
        with self._song._step("Set key"):
            self._song._check(lib.kora_key_map_set(self._handle, entry))


def parse_key(text: str) -> tuple[int, bool]:
    """Accidentals and mode of a key such as "D major", "Bb", "f# minor" or "Am".

    >>> parse_key("Bb"), parse_key("Am"), parse_key("c# minor")
    ((-2, True), (0, False), (4, False))
    """
    match = _KEY_TEXT.fullmatch(text)
    if match:
        tonic = match.group(1).upper() + match.group(2).lower()
        mode = match.group(3) or ""
        is_major = mode == "M" or not mode.lower().startswith("m") or mode.lower().startswith("maj")
        names = _MAJOR if is_major else _MINOR
        if tonic in names:
            return names.index(tonic) - 7, is_major
    raise ValueError(f'{text!r} is no key; write "D major", "Bb minor" or "F#m"')
