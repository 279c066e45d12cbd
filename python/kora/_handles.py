"""The process's start and end, assertions, and the handles of one song or document."""
from __future__ import annotations

import ctypes
import logging
import weakref
from typing import Any, Optional

from kora._library import ASSERT_HANDLER, in_turn_or_later, lib, turns
from kora.errors import ClosedError, Error, check, last_error

log = logging.getLogger("kora")


def _report(_user: Any, text: Optional[bytes], line: int) -> None:
    """What the library holds to be impossible happened: an error of the log, execution goes on."""
    broken, _, source = (text or b"").decode("utf-8", "replace").partition("@$^$@")
    log.error("assertion: %s in %s, line %d", broken, source, line)


_reporter = ASSERT_HANDLER(_report)
_nobody = ctypes.cast(0, ASSERT_HANDLER)


class _Process:
    """Made first and ended last: finalizers at exit run in reverse order."""


def _end() -> None:
    lib.kora_set_assert_handler(_nobody, None)
    lib.kora_free()


def _start() -> None:
    check(lib.kora_init())
    check(lib.kora_set_assert_handler(_reporter, None))


_process = _Process()
_start()
_ending = weakref.finalize(_process, _end)


class Handles:
    """What a song or a document holds in the library; released when it is closed, collected, or at exit.

    A handle is a c_void_p that its users share. When it is released it becomes null, which every call
    refuses: use after that is a ClosedError and touches no memory.
    """

    def __init__(self, owner: str = "song") -> None:
        self._owner = owner
        self._held: list[ctypes.c_void_p] = []
        self._kept: list[Any] = []
        self._release = weakref.finalize(self, _release_all, self._held, self._kept)

    def make(self, call: Any, *arguments: Any) -> ctypes.c_void_p:
        """The handle that a call gives through its last argument."""
        handle = ctypes.c_void_p()
        status = call(*arguments, ctypes.byref(handle))
        if status:
            raise self.error(status)
        self._held.append(handle)
        return handle

    def keep(self, callback: Any) -> None:
        """Holds what the library may call until the handles are released: taking a step back calls listeners."""
        self._kept.append(callback)

    def error(self, status: int) -> Error:
        """The exception of a failed call."""
        if not self._release.alive:
            return ClosedError(f"the {self._owner} is closed", status)
        return last_error(status)

    def check(self, status: int) -> None:
        """Raises what a status that is not OK stands for."""
        if status:
            raise self.error(status)

    @property
    def closed(self) -> bool:
        """Whether all was released."""
        return not self._release.alive

    def close(self) -> None:
        """Releases all; once more does nothing."""
        with turns:
            self._release()


def _release_all(held: list[ctypes.c_void_p], kept: list[Any]) -> None:
    in_turn_or_later(lambda: _release_now(held, kept))


def _release_now(held: list[ctypes.c_void_p], kept: list[Any]) -> None:
    for handle in reversed(held):
        lib.kora_release(handle)
        handle.value = None
    kept.clear()
