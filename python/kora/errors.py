"""What is raised: one class for each way in which the library refuses.

Each is also the built-in exception that Python's own sequences and files would raise, so that `except
ValueError` or `except KeyError` works as expected.

>>> import kora
>>> song = kora.Song()
>>> try:
...     song.set_tempo("1|1", 100000)
... except kora.RefusedError as error:
...     print(error.reason, error.nearest)
out_of_limits 500.0
"""
from __future__ import annotations

import ctypes
import math
from typing import Optional, Type

from kora._library import ErrorStruct, ResultStruct, lib

__all__ = [
    "Error",
    "ArgumentError",
    "BusyError",
    "ClosedError",
    "FileError",
    "InternalError",
    "NotFoundError",
    "OutOfMemoryError",
    "RefusedError",
    "StorageError",
]

OK = 0
_REASONS = (
    "done",
    "empty_range",
    "out_of_limits",
    "locked",
    "before_song_start",
    "lock_order",
    "no_lock",
    "too_many_steps",
    "inside_range",
    "no_such_beat",
)
_WITHOUT_NEAREST = (None, "done", "empty_range", "no_lock")


class Error(Exception):
    """Whatever the library refused.

    Attributes: `status`, the number of the C interface; `text`, the library's words; `file` and `offset`,
    where the fault is in a file, or None.
    """

    def __init__(
        self, text: str, status: int = 0, file: Optional[str] = None, offset: Optional[int] = None
    ) -> None:
        super().__init__(text)
        self.text = text
        self.status = status
        self.file = file
        self.offset = offset

    def __str__(self) -> str:
        return f"{self.file}: {self.text}" if self.file and self.file not in self.text else self.text


class ArgumentError(Error, ValueError):
    """A value out of range, a form or a unit that is none."""


class ClosedError(Error, ValueError):
    """The song or the document was closed."""


class NotFoundError(Error, KeyError):
    """No entry there, no such key, no step to undo."""


class RefusedError(Error, ValueError):
    """An edit that would break a lock or a limit, a text that is no time, or a call out of turn of a document.

    Nothing was changed. Attributes: `reason`, a word such as "locked" or "out_of_limits", None but of edits; `nearest`, what could be
    had instead (a tempo, a factor, a length, a sample or a tick, as the edit's argument), or None.
    """

    reason: Optional[str] = None
    nearest: Optional[float] = None


class FileError(Error, ValueError):
    """Bytes that cannot be understood, or a song that a file cannot hold."""


class StorageError(Error, OSError):
    """The operating system refused."""

    __str__ = Error.__str__


class OutOfMemoryError(Error, MemoryError):
    """There is no memory left."""


class BusyError(Error, RuntimeError):
    """Another step is recorded, or none is."""


class InternalError(Error, RuntimeError):
    """A fault of the library, or of this package."""


_CLASSES: dict[int, Type[Error]] = {
    3: ArgumentError,
    5: NotFoundError,
    7: RefusedError,
    8: FileError,
    9: StorageError,
    10: OutOfMemoryError,
    11: BusyError,
}
NOT_FOUND = 5
TOO_SMALL = 6
REFUSED = 7
BAD_FILE = 8
BUSY = 11


def last_error(status: int) -> Error:
    """The exception that says why the thread's last call gave this status."""
    said = ErrorStruct(size=ctypes.sizeof(ErrorStruct))
    lib.kora_last_error(ctypes.byref(said))
    text = (said.text or b"").decode("utf-8", "replace")
    file = (said.file or b"").decode("utf-8", "replace") or None
    kind = _CLASSES.get(status, InternalError)
    return kind(text, status, file, int(said.offset) if said.offset >= 0 else None)


def check(status: int) -> None:
    """Raises what a status that is not OK stands for."""
    if status != OK:
        raise last_error(status)


def check_edit(status: int, result: ResultStruct) -> None:
    """The same for an edit, with the reason and what is nearest."""
    if status == OK:
        return
    error = last_error(status)
    if isinstance(error, RefusedError):
        error.reason = _REASONS[result.reason] if 0 <= result.reason < len(_REASONS) else None
        has_nearest = error.reason not in _WITHOUT_NEAREST and not math.isnan(result.nearest)
        error.nearest = float(result.nearest) if has_nearest else None
    try:
        raise error
    finally:
        del error  # whose trace has this frame, and with it the song, in a circle
