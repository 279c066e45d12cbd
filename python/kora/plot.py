"""A picture of a song: tempi, meters and keys over its bars, as SVG.

>>> import kora
>>> picture = kora.Song().plot("Nothing yet")
>>> picture.svg[:4], "120 bpm" in picture.svg
('<svg', True)
"""
from __future__ import annotations

import math
import os
from html import escape
from pathlib import Path
from typing import TYPE_CHECKING, Iterable, List, NamedTuple, Sequence, Tuple, Union

from kora.units import Bars

if TYPE_CHECKING:
    from kora.song import Song

__all__ = ["Plot"]

_LEFT, _RIGHT, _TOP, _TRACK = 84, 24, 96, 220
_HEIGHT = _TOP + _TRACK + 64
_SIZE = 12  # of letters
_LETTER = 0.6 * _SIZE  # no letter of the fonts in use is much wider on the average
_GAP = 8  # between labels

_STYLE = (
    "text{font:12px 'DejaVu Sans',Verdana,Helvetica,Arial,sans-serif;fill:#24292f}"
    ".head{font-size:16px;font-weight:bold}.dim{fill:#57606a}.grid{stroke:#e4e2dc;stroke-width:1}"
    ".axis{stroke:#57606a;stroke-width:1}"
    ".tempo{fill:none;stroke:#0b6e8a;stroke-width:2;stroke-linejoin:round}"
    ".under{fill:#0b6e8a;fill-opacity:.08}.lock{fill:#b3541e}.mark{stroke:#57606a;stroke-width:1.5}"
)


class _Label(NamedTuple):
    x: float
    text: str
    anchor: str  # "start" or "middle"


def _width(text: str) -> float:
    return len(text) * _LETTER


def _apart(labels: Iterable[_Label], left: float, right: float) -> List[_Label]:
    """Those labels, from left to right, that neither touch the one before nor leave [left, right]."""
    kept = []
    free = left
    for label in labels:
        width = _width(label.text)
        first = label.x if label.anchor == "start" else label.x - width / 2
        if first >= free and first + width <= right:
            kept.append(label)
            free = first + width + _GAP
    return kept


def _nice_step(span: float, most: int) -> float:
    """The smallest of 1, 2, 5, 10, 20 ... (or its tenths) that gives at most so many steps."""
    step = 10.0 ** math.floor(math.log10(span / most))
    for factor in (1, 2, 5, 10):
        if span / (step * factor) <= most:
            return step * factor
    return step * 10


def _thinned(points: Sequence[Tuple[float, float]]) -> List[Tuple[float, float]]:
    """No more than four points for each half pixel: the first, the highest, the lowest and the last there."""
    if len(points) < 4000:
        return list(points)
    columns: dict[int, List[Tuple[float, float]]] = {}
    for point in points:
        columns.setdefault(int(point[0] * 2), []).append(point)
    kept = []
    for column in columns.values():
        extremes = {0, len(column) - 1}
        for choose in (min, max):
            extremes.add(choose(range(len(column)), key=lambda index: column[index][1]))
        kept += [column[index] for index in sorted(extremes)]
    return kept


class _Scale(NamedTuple):
    """Ticks across, beats a minute upwards."""

    first: int
    last: int
    low: float
    high: float
    right: float

    def x(self, tick: int) -> float:
        return _LEFT + (tick - self.first) / (self.last - self.first) * (self.right - _LEFT)

    def y(self, bpm: float) -> float:
        return _TOP + _TRACK * (1 - (bpm - self.low) / (self.high - self.low))


class Plot:
    """A picture that notebooks show. Attribute `svg` is its text."""

    def __init__(self, song: "Song", title: str = "", width: int = 900) -> None:
        if width < 300:
            raise ValueError(f"width is {width}; axes and labels need 300")
        self._song = song
        self._title = title or "Tempo, meter and key"
        self._wide = width
        self._parts: List[str] = []
        self._tempos = [
            (each.position.count, each.bpm, each.locked is not None and not each.is_start, each.text)
            for each in song.tempos
        ]
        self._scale = self._measure()
        self.svg = self._draw()

    def _repr_svg_(self) -> str:
        return self.svg

    def save(self, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes the picture as a file."""
        Path(path).write_text(self.svg, encoding="utf-8")

    # ---- Measures

    def _measure(self) -> _Scale:
        song = self._song
        first, last = song.start.count, song.end.count
        place = song.bars(song.end)
        whole = max(place.bar + (place.beat > 1 or place.ticks > 0), song.bars(song.start).bar + 4)
        last = max(last, song.convert(Bars(whole), "ticks").count)
        low = min(bpm for _, bpm, _, _ in self._tempos)
        high = max(bpm for _, bpm, _, _ in self._tempos)
        step = _nice_step(max(high - low, 20), 5)
        low = max(0.0, math.floor((low - step * 0.4) / step) * step)
        high = math.ceil((high + step * 0.6) / step) * step
        return _Scale(first, last, low, high, self._wide - _RIGHT)

    def _bar_step(self, first: int, last: int) -> int:
        """Every how many bars there is room for a number and a time: a power of two."""
        room = max(1.0, (self._scale.right - _LEFT) / 72)
        step = 1
        while (last - first) / step > room:
            step *= 2
        return step

    # ---- Drawing

    def _add(self, text: str) -> None:
        self._parts.append(text)

    def _line(self, kind: str, x1: float, y1: float, x2: float, y2: float) -> None:
        self._add(f'<line class="{kind}" x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}"/>')

    def _text(self, x: float, y: float, text: str, anchor: str = "start", kind: str = "") -> None:
        extra = f' class="{kind}"' if kind else ""
        self._add(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{extra}>{escape(text)}</text>')

    def _draw(self) -> str:
        name = escape(self._title)
        self._add(
            f'<svg xmlns="http://www.w3.org/2000/svg" width="{self._wide}" height="{_HEIGHT}" '
            f'viewBox="0 0 {self._wide} {_HEIGHT}" role="img"><title>{name}</title><style>{_STYLE}</style>'
            f'<rect width="100%" height="100%" fill="#fdfcf9"/>'
        )
        room = int((self._wide - 32) / (0.75 * 16))
        shown = self._title if len(self._title) <= room else self._title[: room - 1] + "…"
        self._text(16, 26, shown, kind="head")
        self._bar_axis()
        self._tempo_axis()
        self._row("key", 56, [(each.position.count, each.text) for each in self._song.keys])
        self._row("meter", 80, [(each.position.count, each.text) for each in self._song.meters])
        self._tempo_line()
        self._add("</svg>")
        return "".join(self._parts)

    def _bar_axis(self) -> None:
        song, scale = self._song, self._scale
        bottom = _TOP + _TRACK
        first, last = song.bars(song.start).bar, song.convert([scale.last], "ticks", "bars")[0].bar
        step = self._bar_step(first, last)
        numbers = range(first, last + 1, step)
        ticks = song.convert([(bar, 1, 0) for bar in numbers], "bars", "ticks")
        seconds = song.convert(ticks, "ticks", "seconds")
        for tick in ticks:
            self._line("grid", scale.x(tick), _TOP, scale.x(tick), bottom)
            self._line("axis", scale.x(tick), bottom, scale.x(tick), bottom + 5)
        self._line("axis", _LEFT, bottom, scale.right, bottom)
        self._text(_LEFT - 30, bottom + 20, "bar", "end", "dim")
        self._text(_LEFT - 30, bottom + 38, "min:sec", "end", "dim")
        places = [
            (scale.x(tick), str(bar), _clock(second)) for tick, bar, second in zip(ticks, numbers, seconds)
        ]
        edge = self._wide - 2.0
        for y, kind, index in ((bottom + 20, "", 1), (bottom + 38, "dim", 2)):
            for label in _apart(
                [_Label(each[0], str(each[index]), "middle") for each in places], _LEFT - 26.0, edge
            ):
                self._text(label.x, y, label.text, "middle", kind)

    def _tempo_axis(self) -> None:
        scale = self._scale
        step = _nice_step(scale.high - scale.low, 6)
        digits = max(0, -math.floor(math.log10(step)))
        value = math.ceil(scale.low / step) * step
        while value <= scale.high + step / 1e6:
            self._line("grid", _LEFT, scale.y(value), scale.right, scale.y(value))
            self._text(_LEFT - 10, scale.y(value) + 4, f"{value:.{digits}f}", "end")
            value += step
        self._line("axis", _LEFT, _TOP, _LEFT, _TOP + _TRACK)
        middle = _TOP + _TRACK / 2
        self._add(
            f'<text x="16" y="{middle:.0f}" text-anchor="middle" class="dim" '
            f'transform="rotate(-90 16 {middle:.0f})">beats a minute</text>'
        )

    def _row(self, name: str, y: float, entries: List[Tuple[int, str]]) -> None:
        """A line of changes above the track; a mark stays where its text has no room."""
        self._text(_LEFT - 12, y, name, "end", "dim")
        labels = []
        seen = -1.0
        for tick, text in entries:
            x = self._scale.x(tick)
            labels.append(_Label(x + 4, text, "start"))
            if x - seen >= 1:  # closer marks are one
                self._line("mark", x, y - 11, x, y + 3)
                seen = x
        for label in _apart(labels, _LEFT, self._wide - 2.0):
            self._text(label.x, y, label.text)

    def _tempo_line(self) -> None:
        scale = self._scale
        points: List[Tuple[float, float]] = []
        for index, (tick, bpm, _, _) in enumerate(self._tempos):
            end = self._tempos[index + 1][0] if index + 1 < len(self._tempos) else scale.last
            points += [(scale.x(tick), scale.y(bpm)), (scale.x(end), scale.y(bpm))]
        path = " L".join(f"{x:.1f} {y:.1f}" for x, y in _thinned(points))
        bottom = _TOP + _TRACK
        self._add(
            f'<path class="under" d="M{_LEFT} {bottom} L{path} L{scale.right} {bottom} Z"/>'
            f'<path class="tempo" d="M{path}"/>'
        )
        for tick, bpm, locked, _ in self._tempos:
            if locked:
                x, y = scale.x(tick), scale.y(bpm)
                self._add(
                    f'<path class="lock" d="M{x:.1f} {y - 5:.1f} l5 5 l-5 5 l-5 -5 Z">'
                    "<title>locked</title></path>"
                )
        self._tempo_labels()

    def _tempo_labels(self) -> None:
        """Tempi above their lines, where they touch neither one another nor a line that rises beside them."""
        scale = self._scale
        free = float(_LEFT)
        xs = [scale.x(tick) for tick, _, _, _ in self._tempos]
        for index, (_, bpm, locked, text) in enumerate(self._tempos):
            x = xs[index] + (10 if locked else 6)
            right = x + _width(text)
            if x < free or right > self._wide - 2:
                continue
            following = index + 1
            while following < len(xs) and xs[following] < right + 2 and self._tempos[following][1] <= bpm:
                following += 1
            if following == len(xs) or xs[following] >= right + 2:
                self._text(x, scale.y(bpm) - 8, text)
                free = right + _GAP


def _clock(seconds: float) -> str:
    """Minutes and seconds, with a tenth: 0:06.4."""
    tenths = math.floor(seconds * 10 + 0.5)
    return f"{tenths // 600}:{tenths // 10 % 60:02d}.{tenths % 10}"
