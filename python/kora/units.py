"""Times as values: counts of ticks, samples or frames, and positions in bars.

>>> from kora import Bars, Samples, Ticks
>>> Samples(48000) + Samples(500)
Samples(48500)
>>> str(Ticks.quarters(4)), str(Bars(33, 1))
('3840000 ticks', '33|1|0')
>>> sorted([Bars(2, 1), Bars(1, 4, 240000)])
[Bars(1, 4, 240000), Bars(2, 1, 0)]

Values of a unit add and compare among themselves. With another unit they do not: only a song knows how long a
tick is.

>>> Ticks(960000) + Samples(500)
Traceback (most recent call last):
TypeError: ticks and samples do not add; a song's convert() turns one into the other
"""
from __future__ import annotations

import math
import operator
from typing import Any, NamedTuple, NoReturn, SupportsIndex, Type, TypeVar, Union

__all__ = ["Bars", "Frames", "Position", "Samples", "Ticks", "Time", "TICKS_PER_QUARTER"]

TICKS_PER_QUARTER = 960000

T = TypeVar("T", bound="Time")


class Time:
    """A whole count of one unit, as a place or a distance. Use Ticks, Samples or Frames."""

    __slots__ = ("_count",)
    unit = ""
    code = -1  # the C interface's number of the unit

    def __init__(self, count: SupportsIndex) -> None:
        number = operator.index(count)
        if not -(1 << 63) <= number < 1 << 63:
            raise ValueError(f"{number} {self.unit} are out of the range of 64 bits")
        self._count = number

    @property
    def count(self) -> int:
        """The number alone."""
        return self._count

    def _refuse(self, other: object, does: str) -> NoReturn:
        if isinstance(other, Time):
            raise TypeError(
                f"{self.unit} and {other.unit} do not {does}; a song's convert() turns one into the other"
            )
        raise TypeError(
            f"{self.unit} and {type(other).__name__} do not {does}; "
            f"write {type(self).__name__}({other!r}) for {self.unit}"
        )

    def _same(self, other: object, does: str) -> int:
        if type(other) is not type(self):
            self._refuse(other, does)
        return other._count  # type: ignore[no-any-return, attr-defined]

    def __add__(self: T, other: T) -> T:
        return type(self)(self._count + self._same(other, "add"))

    def __sub__(self: T, other: T) -> T:
        return type(self)(self._count - self._same(other, "subtract"))

    def __mul__(self: T, factor: int) -> T:
        if isinstance(factor, int):
            return type(self)(self._count * factor)
        return NotImplemented

    __rmul__ = __mul__

    def __floordiv__(self, other: Any) -> Any:
        """By a whole number a time, by a time how often that fits in."""
        if isinstance(other, int):
            return type(self)(self._count // other)
        return self._count // self._same(other, "divide")

    def __neg__(self: T) -> T:
        return type(self)(-self._count)

    def __abs__(self: T) -> T:
        return type(self)(abs(self._count))

    def __bool__(self) -> bool:
        return self._count != 0

    def __eq__(self, other: object) -> bool:
        if type(other) is type(self):
            return self._count == self._same(other, "compare")
        return NotImplemented  # of another unit: not equal, as the keys of one dict may be

    def __lt__(self, other: "Time") -> bool:
        return self._count < self._same(other, "compare")

    def __le__(self, other: "Time") -> bool:
        return self._count <= self._same(other, "compare")

    def __gt__(self, other: "Time") -> bool:
        return self._count > self._same(other, "compare")

    def __ge__(self, other: "Time") -> bool:
        return self._count >= self._same(other, "compare")

    def __hash__(self) -> int:
        return hash(self._count)

    def __int__(self) -> int:
        return self._count

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self._count})"

    def __str__(self) -> str:
        return f"{self._count} {self.unit}"

    def __reduce__(self: T) -> tuple[Type[T], tuple[int]]:
        return type(self), (self._count,)


class Samples(Time):
    """Audio samples at the song's rate; the song begins with sample 0."""

    __slots__ = ()
    unit = "samples"
    code = 0


class Ticks(Time):
    """Parts of a quarter note, 960000 to one. A new song begins at tick 1000000000000."""

    __slots__ = ()
    unit = "ticks"
    code = 1

    @classmethod
    def quarters(cls, count: float) -> "Ticks":
        """So many quarter notes, to the nearest tick.

        >>> Ticks.quarters(1.5)
        Ticks(1440000)
        """
        return cls(math.floor(count * TICKS_PER_QUARTER + 0.5))


class Frames(Time):
    """Video frames of the song's timecode format; frame 0 is at sample 0."""

    __slots__ = ()
    unit = "frames"
    code = 2


class Bars(NamedTuple):
    """A place in bars and beats, which count from 1, and ticks behind the beat."""

    bar: int
    beat: int = 1
    ticks: int = 0

    def __repr__(self) -> str:
        return f"Bars({self.bar}, {self.beat}, {self.ticks})"

    def __str__(self) -> str:
        return f"{self.bar}|{self.beat}|{self.ticks}"


# What every call takes for a place: a typed value, a place in bars, or a text such as "33|1".
Position = Union[Ticks, Samples, Frames, Bars, str]

BY_UNIT: dict[str, Type[Time]] = {each.unit: each for each in (Samples, Ticks, Frames)}
