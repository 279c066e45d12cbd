"""The edits of a song, each one undoable step, or part of the step that `edit` opened."""
from __future__ import annotations

import contextlib
import ctypes
import math
from typing import TYPE_CHECKING, Any, Callable, FrozenSet, Iterator, List, Optional, Tuple, Union

from kora._columns import nearest
from kora._handles import Handles, log
from kora._library import LISTENER, ResultStruct, callback, lib, raise_first
from kora.errors import BUSY, BusyError, check_edit
from kora.units import TICKS_PER_QUARTER, Bars, Position, Samples, Ticks
from kora.writing import whole

if TYPE_CHECKING:
    from kora.maps import Keys

__all__ = ["Edits"]

CURVES = {"bars": 0, "linear": 1, "s": 2}
_NAMES = ((1, "tempos"), (2, "meters"), (4, "keys"))
Listener = Callable[[FrozenSet[str]], None]


def _finite(value: float, name: str) -> float:
    number = float(value)
    if not math.isfinite(number):
        raise ValueError(f"{name} is {value!r}, not a finite number")
    return number


def _count(value: int, name: str) -> int:
    if not 0 <= value < 1 << 31:
        raise ValueError(f"{name} is {value!r}, which is no count")
    return value


class Edits:
    """What `Song` can do to its maps. Positions may be of any kind; see `kora.units.Position`."""

    _handles: Handles
    _handle: ctypes.c_void_p
    _tempi: ctypes.c_void_p
    rate: float

    if TYPE_CHECKING:
        keys: Keys

        def _tick(self, position: Position) -> int:
            ...

        def bars(self, position: Position) -> Bars:
            ...

    def _open_history(self) -> None:
        self._history = self._handles.make(lib.kora_history_new, self._handle)
        self._recording = False
        self._changes = [0]
        self._failed: List[BaseException] = []  # of what the library called
        self._listeners: List[Listener] = []
        self._tell: Any = None

    # ---- Steps

    @contextlib.contextmanager
    def edit(self, name: str, merge: int = 0) -> Iterator[None]:
        """All that is edited within is one step of this name; an exception takes it back.

        Steps of the same merge number other than 0 that follow one another become one, as when something is
        dragged.

        >>> import kora
        >>> song = kora.Song()
        >>> with song.edit("Ritardando"):
        ...     song.ramp("33|1", "37|1", 120, 90)
        ...     song.set_tempo("37|1", 90)
        >>> song.steps
        ['Ritardando']
        """
        title = name.encode()
        if b"\0" in title:
            raise ValueError("a step's name has no zero character")
        number = whole(merge, "merge", 64)
        if self._recording:
            raise BusyError("a step is open already; single edits within it join it", 11)
        self._handles.check(lib.kora_history_begin(self._history))
        self._recording = True
        try:
            yield
            self._handles.check(lib.kora_history_end(self._history, title, number))
        except BaseException:
            self._recording = False
            if not self._handles.closed:
                status = lib.kora_history_cancel(self._history)
                if status != BUSY:  # as when it is interrupted behind its end
                    self._handles.check(status)
                self._notify()
            raise
        self._recording = False
        self._notify()

    @contextlib.contextmanager
    def _step(self, name: str) -> Iterator[None]:
        """A single edit: a step of its own, unless one is open."""
        with contextlib.nullcontext() if self._recording else self.edit(name):
            yield

    def undo(self) -> None:
        """Takes the last step back; without one it is a NotFoundError."""
        self._travel(lib.kora_history_undo)

    def redo(self) -> None:
        """Does the step again that was taken back; without one it is a NotFoundError."""
        self._travel(lib.kora_history_redo)

    def _travel(self, call: Any) -> None:
        self._handles.check(call(self._history))
        self._notify()

    def _places(self) -> Tuple[int, int]:
        steps, position = ctypes.c_size_t(), ctypes.c_size_t()
        self._handles.check(lib.kora_history_count(self._history, steps, position))
        return steps.value, position.value

    @property
    def steps(self) -> List[str]:
        """The names of all steps, those that were undone too."""
        return [self._step_name(index) for index in range(self._places()[0])]

    def _step_name(self, index: int) -> str:
        size = ctypes.c_size_t()
        lib.kora_history_step_name(self._history, index, None, 0, size)
        buffer = ctypes.create_string_buffer(size.value + 1)
        self._handles.check(lib.kora_history_step_name(self._history, index, buffer, size.value + 1, size))
        return buffer.value.decode()

    @property
    def step(self) -> int:
        """How many of the steps are done; `undo` lowers it."""
        return self._places()[1]

    @property
    def is_saved(self) -> bool:
        """Whether the song is as it was opened, made or saved last."""
        out = ctypes.c_int32()
        self._handles.check(lib.kora_history_is_saved(self._history, out))
        return bool(out.value)

    # ---- Listeners

    def listen(self, listener: Listener) -> Callable[[], None]:
        """Calls the listener behind each step, undo and redo with what changed.

        That is a set of "tempos", "meters", "keys". It runs after the step is complete and may ask and edit the
        song. What it raises goes to the log "kora". The result of `listen` is a call that ends it.
        """
        if self._tell is None:
            changed = self._changes

            def note(_user: Any, _song: Any, what: int) -> None:
                changed[0] |= what

            self._tell = callback(LISTENER, note, self._failed)
            self._handles.keep(self._tell)
            self._handles.check(lib.kora_song_set_listener(self._handle, self._tell, None))
        self._listeners.append(listener)

        def end() -> None:
            if listener in self._listeners:
                self._listeners.remove(listener)

        return end

    def _notify(self) -> None:
        raise_first(self._failed)
        flags, self._changes[0] = self._changes[0], 0
        if not flags:
            return
        what = frozenset(name for flag, name in _NAMES if flags & flag)
        for listener in list(self._listeners):
            try:
                listener(what)
            except Exception:
                log.exception("a listener of a song failed")

    # ---- The tempo track

    def _run(self, name: str, call: Any, handle: ctypes.c_void_p, *arguments: Any) -> None:
        result = ResultStruct(size=ctypes.sizeof(ResultStruct), nearest=math.nan)
        with self._step(name):
            status = call(handle, *arguments, result)
            if self._handles.closed:
                self._handles.check(status)
            check_edit(status, result)

    def set_tempo(self, position: Position, bpm: float, beat: Ticks = Ticks(TICKS_PER_QUARTER)) -> None:
        """This tempo from the position to the next change; beat is the length of one."""
        self._run(
            "Set tempo",
            lib.kora_tempo_map_set,
            self._tempi,
            self._tick(position),
            _finite(bpm, "bpm"),
            self._length(beat),
        )

    def ramp(
        self,
        start: Position,
        end: Position,
        from_bpm: float,
        to_bpm: float,
        curve: str = "bars",
        steps: Optional[int] = None,
    ) -> None:
        """From one tempo to another over [start, end), in steps of equal length, 16 a bar by default.

        Curves are linear in ticks ("bars"), linear in time ("linear"), or half a cosine in ticks ("s").
        """
        if curve not in CURVES:
            raise ValueError(f"curve {curve!r} is none of {', '.join(CURVES)}")
        first, last = self._tick(start), self._tick(end)
        if steps is None:
            steps = self._steps_of(first, last)
        self._run(
            "Ramp",
            lib.kora_tempo_map_ramp,
            self._tempi,
            first,
            last,
            _finite(from_bpm, "from_bpm"),
            _finite(to_bpm, "to_bpm"),
            CURVES[curve],
            _count(steps, "steps"),
        )

    def _steps_of(self, first: int, last: int) -> int:
        """16 for each bar, of which a part counts whole."""
        start, end = self.bars(Ticks(first)), self.bars(Ticks(last))
        return 16 * max(1, end.bar - start.bar + (end[1:] > start[1:]))

    def scale(self, start: Position, end: Position, factor: float) -> None:
        """All tempi of [start, end) times a factor."""
        self._run(
            "Scale tempi",
            lib.kora_tempo_map_scale,
            self._tempi,
            self._tick(start),
            self._tick(end),
            _finite(factor, "factor"),
        )

    def offset(self, start: Position, end: Position, bpm: float) -> None:
        """All tempi of [start, end) faster by so many beats a minute, or slower below 0."""
        self._run(
            "Offset tempi",
            lib.kora_tempo_map_offset,
            self._tempi,
            self._tick(start),
            self._tick(end),
            _finite(bpm, "bpm"),
        )

    def fit(self, start: Position, end: Position, length: Union[Samples, float]) -> None:
        """Scales the tempi of [start, end) so that it lasts so many samples, or seconds as a plain number."""
        samples = (
            length.count if isinstance(length, Samples) else nearest(_finite(length, "length") * self.rate)
        )
        self._run(
            "Fit",
            lib.kora_tempo_map_fit,
            self._tempi,
            self._tick(start),
            self._tick(end),
            Samples(samples).count,
        )

    def lock(self, position: Position, at: Union[Samples, float]) -> None:
        """The position is at this sample, or second, from now on; the tempi on both sides follow."""
        sample = at.count if isinstance(at, Samples) else nearest(_finite(at, "at") * self.rate)
        self._run("Lock", lib.kora_tempo_map_lock, self._tempi, self._tick(position), Samples(sample).count)

    def unlock(self, position: Position) -> None:
        """Takes the lock there."""
        self._run("Unlock", lib.kora_tempo_map_unlock, self._tempi, self._tick(position))

    # ---- Time itself, in all three maps

    def insert_time(self, at: Position, length: Ticks) -> None:
        """Moves all from there on back by a length."""
        self._run(
            "Insert time", lib.kora_song_insert_time, self._handle, self._tick(at), self._length(length)
        )

    def delete_time(self, start: Position, end: Position) -> None:
        """Takes [start, end) out of the song."""
        self._run("Delete time", lib.kora_song_delete_time, self._handle, self._tick(start), self._tick(end))

    def repeat_time(self, start: Position, end: Position, count: int = 1) -> None:
        """Puts [start, end) behind itself so many times more."""
        self._run(
            "Repeat time",
            lib.kora_song_repeat_time,
            self._handle,
            self._tick(start),
            self._tick(end),
            _count(count, "count"),
        )

    def move_time(self, start: Position, end: Position, to: Position) -> None:
        """Takes [start, end) from its place and puts it in at another."""
        self._run(
            "Move time",
            lib.kora_song_move_time,
            self._handle,
            self._tick(start),
            self._tick(end),
            self._tick(to),
        )

    @staticmethod
    def _length(length: Ticks) -> int:
        if not isinstance(length, Ticks):
            raise TypeError(f"a length is in Ticks, as Ticks.quarters(4), not {type(length).__name__}")
        return length.count
