"""Finds and opens the shared library, and describes its C interface to ctypes.

The library is taken from the environment variable KORA_LIBRARY (its path), then from this package's own
folder (a wheel carries it there), then from where the system keeps libraries. A library whose C interface is
of another version is refused.

Threads: every call holds the interpreter's lock. One that calls back into Python lets go of it meanwhile, and one
that edits has the library's own lock all the time: whoever else would wait for that, holding the interpreter's,
would wait for ever. So these take turns, by a lock that is waited for without the interpreter's.
"""
from __future__ import annotations

import collections
import ctypes
import ctypes.util
import os
import sys
import threading
from ctypes import (
    CFUNCTYPE,
    POINTER,
    Structure,
    c_char_p,
    c_double,
    c_int32,
    c_int64,
    c_size_t,
    c_ssize_t,
    c_uint8,
    c_uint32,
    c_void_p,
)
from pathlib import Path
from typing import Any, Callable, Deque, List, Optional

from kora._version import __version__

__all__ = ["lib", "Bound"]

# Of the C interface that the calls below are from.
VERSION_MAJOR = 0
VERSION_MINOR = 1


class TimeStruct(Structure):
    _fields_ = [("count", c_int64), ("unit", c_uint32), ("reserved", c_uint32)]


class BarStruct(Structure):
    _fields_ = [("bar", c_int32), ("beat", c_int32), ("ticks", c_int64)]


class TempoStruct(Structure):
    _fields_ = [
        ("tick", c_int64),
        ("bpm", c_double),
        ("beat", c_int64),
        ("locked_sample", c_int64),
        ("flags", c_uint32),
        ("reserved", c_uint32),
    ]


class MeterStruct(Structure):
    _fields_ = [
        ("tick", c_int64),
        ("numerator", c_int32),
        ("denominator", c_int32),
        ("bar", c_int32),
        ("is_off_barline", c_int32),
    ]


class KeyStruct(Structure):
    _fields_ = [
        ("tick", c_int64),
        ("is_major", c_uint8),
        ("is_sharps", c_uint8),
        ("accidentals", c_uint8),
        ("reserved", c_uint8 * 5),
    ]


class ErrorStruct(Structure):
    _fields_ = [
        ("size", c_uint32),
        ("status", c_int32),
        ("offset", c_int64),
        ("text", c_char_p),
        ("file", c_char_p),
    ]


class InfoStruct(Structure):
    _fields_ = [
        ("size", c_uint32),
        ("timecode", c_int32),
        ("rate", c_double),
        ("start", c_int64),
        ("end", c_int64),
    ]


class ResultStruct(Structure):
    _fields_ = [("size", c_uint32), ("reason", c_int32), ("nearest", c_double)]


class GridLineStruct(Structure):
    _fields_ = [
        ("tick", c_int64),
        ("sample", c_int64),
        ("count", c_int64),
        ("place", BarStruct),
        ("kind", c_int32),
        ("reserved", c_uint32),
    ]


class RulerOptionsStruct(Structure):
    _fields_ = [
        ("size", c_uint32),
        ("form", c_int32),
        ("film", c_int32),
        ("axis", c_int32),
        ("lines", c_double),
        ("majors", c_double),
        ("label_gap", c_double),
    ]


class RulerLineStruct(Structure):
    _fields_ = [
        ("pixel", c_int64),
        ("time", TimeStruct),
        ("label", c_char_p),
        ("label_size", c_uint32),
        ("is_major", c_int32),
    ]


class StepStruct(Structure):
    _fields_ = [("type", c_int32), ("item", c_int32)]


MEASURE = CFUNCTYPE(c_double, c_void_p, c_char_p, c_size_t)
FAULT_HANDLER = CFUNCTYPE(None, c_void_p, c_int64, c_char_p)
RULER_TAKE = CFUNCTYPE(None, c_void_p, POINTER(RulerLineStruct))
ASSERT_HANDLER = CFUNCTYPE(None, c_void_p, c_char_p, c_int32)
LISTENER = CFUNCTYPE(None, c_void_p, c_void_p, c_uint32)


def callback(kind: Any, body: Callable[..., Any], failed: List[BaseException], default: Any = None) -> Any:
    """What the library calls. None of what it raises may pass through the library: the caller raises it behind."""

    def call(*arguments: Any) -> Any:
        try:
            return body(*arguments)
        except BaseException as error:
            failed.append(error)
            return default

    return kind(call)


def raise_first(failed: List[BaseException]) -> None:
    """Raises what a callback had to keep, if it did."""
    if failed:
        error = failed[0]
        failed.clear()
        try:
            raise error
        finally:
            del error  # whose trace has this frame, in a circle


_TIME_OUT = POINTER(TimeStruct)
_BAR_OUT = POINTER(BarStruct)
_RESULT = POINTER(ResultStruct)
_HANDLE_OUT = POINTER(c_void_p)
_SIZE_OUT = POINTER(c_size_t)
_NUMBER_OUT = POINTER(c_int32)
_STEPS = POINTER(StepStruct)
_COLUMN = [c_void_p, c_ssize_t]
_LINE_OUT = POINTER(GridLineStruct)


def _map_calls(kind: str, entry: Any) -> dict[str, list[Any]]:
    name = f"kora_{kind}_map_"
    return {
        name + "count": [c_void_p, _SIZE_OUT],
        name + "get": [c_void_p, c_size_t, entry],
        name + "find": [c_void_p, c_int64, entry],
        name + "remove": [c_void_p, c_int64],
        name + "clear": [c_void_p, c_int64, c_int64],
    }


# Every call of Kora_C.h that gives a status, with its arguments.
CALLS: dict[str, list[Any]] = {
    "kora_init": [],
    "kora_free": [],
    "kora_last_error": [POINTER(ErrorStruct)],
    "kora_set_assert_handler": [ASSERT_HANDLER, c_void_p],
    "kora_retain": [c_void_p],
    "kora_release": [c_void_p],
    "kora_set_session": [c_double, c_int32],
    "kora_song_new": [_HANDLE_OUT],
    "kora_song_open": [c_char_p, _HANDLE_OUT],
    "kora_song_read_bytes": [c_char_p, c_size_t, _HANDLE_OUT],
    "kora_song_save": [c_void_p, c_char_p],
    "kora_song_export": [c_void_p, c_char_p],
    "kora_song_write_midi": [c_void_p, c_void_p, c_size_t, _SIZE_OUT],
    "kora_song_get_info": [c_void_p, POINTER(InfoStruct)],
    "kora_song_set_listener": [c_void_p, LISTENER, c_void_p],
    "kora_song_get_tempo_map": [c_void_p, _HANDLE_OUT],
    "kora_song_get_meter_map": [c_void_p, _HANDLE_OUT],
    "kora_song_get_key_map": [c_void_p, _HANDLE_OUT],
    **_map_calls("tempo", POINTER(TempoStruct)),
    **_map_calls("meter", POINTER(MeterStruct)),
    **_map_calls("key", POINTER(KeyStruct)),
    "kora_meter_map_set": [c_void_p, c_int64, c_int32, c_int32],
    "kora_key_map_set": [c_void_p, POINTER(KeyStruct)],
    "kora_convert": [c_void_p, TimeStruct, c_uint32, _TIME_OUT],
    "kora_to_bars": [c_void_p, TimeStruct, _BAR_OUT],
    "kora_from_bars": [c_void_p, BarStruct, c_uint32, _TIME_OUT],
    "kora_convert_all": [c_void_p, c_uint32, *_COLUMN, c_uint32, *_COLUMN, c_size_t],
    "kora_to_bars_all": [c_void_p, c_uint32, *_COLUMN, *_COLUMN, c_size_t],
    "kora_from_bars_all": [c_void_p, *_COLUMN, c_uint32, *_COLUMN, c_size_t],
    "kora_format_new": [c_void_p, c_int32, _HANDLE_OUT],
    "kora_format_write": [c_void_p, c_int32, TimeStruct, c_char_p, c_size_t, _SIZE_OUT],
    "kora_format_read": [c_void_p, c_int32, c_char_p, _TIME_OUT],
    "kora_tempo_map_set": [c_void_p, c_int64, c_double, c_int64, _RESULT],
    "kora_tempo_map_ramp": [c_void_p, c_int64, c_int64, c_double, c_double, c_int32, c_size_t, _RESULT],
    "kora_tempo_map_scale": [c_void_p, c_int64, c_int64, c_double, _RESULT],
    "kora_tempo_map_offset": [c_void_p, c_int64, c_int64, c_double, _RESULT],
    "kora_tempo_map_fit": [c_void_p, c_int64, c_int64, c_int64, _RESULT],
    "kora_tempo_map_lock": [c_void_p, c_int64, c_int64, _RESULT],
    "kora_tempo_map_unlock": [c_void_p, c_int64, _RESULT],
    "kora_song_insert_time": [c_void_p, c_int64, c_int64, _RESULT],
    "kora_song_delete_time": [c_void_p, c_int64, c_int64, _RESULT],
    "kora_song_repeat_time": [c_void_p, c_int64, c_int64, c_size_t, _RESULT],
    "kora_song_move_time": [c_void_p, c_int64, c_int64, c_int64, _RESULT],
    "kora_history_new": [c_void_p, _HANDLE_OUT],
    "kora_history_begin": [c_void_p],
    "kora_history_end": [c_void_p, c_char_p, c_int64],
    "kora_history_cancel": [c_void_p],
    "kora_history_undo": [c_void_p],
    "kora_history_redo": [c_void_p],
    "kora_history_count": [c_void_p, _SIZE_OUT, _SIZE_OUT],
    "kora_history_step_name": [c_void_p, c_size_t, c_char_p, c_size_t, _SIZE_OUT],
    "kora_history_mark_saved": [c_void_p],
    "kora_history_is_saved": [c_void_p, POINTER(c_int32)],
    "kora_grid_new": [c_void_p, c_char_p, c_int32, _HANDLE_OUT],
    "kora_grid_new_by_clock": [c_void_p, c_int32, c_int64, c_int32, _HANDLE_OUT],
    "kora_grid_find": [c_void_p, TimeStruct, c_int32, _LINE_OUT],
    "kora_grid_lines": [c_void_p, TimeStruct, TimeStruct, _LINE_OUT, c_size_t, _SIZE_OUT],
    "kora_ruler_new": [c_void_p, POINTER(RulerOptionsStruct), TimeStruct, MEASURE, c_void_p, _HANDLE_OUT],
    "kora_ruler_show": [c_void_p, TimeStruct, TimeStruct, c_double],
    "kora_ruler_set_units_per_pixel": [c_void_p, c_double],
    "kora_ruler_zoom": [c_void_p, c_double, c_double],
    "kora_ruler_scroll_to": [c_void_p, TimeStruct, c_double],
    "kora_ruler_scroll_by": [c_void_p, c_int64],
    "kora_ruler_to_pixel": [c_void_p, TimeStruct, POINTER(c_double)],
    "kora_ruler_to_time": [c_void_p, c_double, c_uint32, _TIME_OUT],
    "kora_ruler_draw": [c_void_p, c_double, RULER_TAKE, c_void_p],
    "kora_document_open": [c_char_p, _HANDLE_OUT],
    "kora_document_read_bytes": [c_char_p, c_size_t, _HANDLE_OUT],
    "kora_document_create": [c_char_p, _HANDLE_OUT],
    "kora_document_create_in_memory": [_HANDLE_OUT],
    "kora_document_commit": [c_void_p],
    "kora_document_get_bytes": [c_void_p, c_void_p, c_size_t, _SIZE_OUT],
    "kora_document_begin": [c_void_p, c_int32, c_int32, c_char_p],
    "kora_document_begin_list": [c_void_p, c_int32, c_int32, c_char_p, c_int32],
    "kora_document_begin_item": [c_void_p, c_char_p],
    "kora_document_end": [c_void_p],
    "kora_document_write": [c_void_p, c_int32, c_void_p, c_size_t],
    "kora_document_write_text": [c_void_p, c_char_p],
    "kora_document_enter": [c_void_p, _STEPS, c_size_t, _NUMBER_OUT],
    "kora_document_enter_next": [c_void_p, c_int32, _NUMBER_OUT],
    "kora_document_next_type": [c_void_p, _NUMBER_OUT],
    "kora_document_enter_list": [c_void_p, _NUMBER_OUT],
    "kora_document_go_to_item": [c_void_p, c_int32],
    "kora_document_leave": [c_void_p],
    "kora_document_read": [c_void_p, c_int32, c_void_p, c_size_t],
    "kora_document_read_text": [c_void_p, c_char_p, c_size_t, _SIZE_OUT],
    "kora_document_bytes_left": [c_void_p, POINTER(c_int64)],
    "kora_document_key_count": [c_void_p, _SIZE_OUT],
    "kora_document_get_key": [c_void_p, c_size_t, _STEPS, c_size_t, _SIZE_OUT, _NUMBER_OUT],
    "kora_document_get_description": [c_void_p, c_size_t, c_int32, c_char_p, c_size_t, _SIZE_OUT],
    "kora_song_read_document": [c_void_p, _HANDLE_OUT],
    "kora_song_write_document": [c_void_p, c_void_p],
    "kora_document_check": [c_char_p, FAULT_HANDLER, c_void_p, _SIZE_OUT],
    "kora_document_repair": [c_char_p, c_char_p, FAULT_HANDLER, c_void_p, _SIZE_OUT],
}


# Held by a thread that edits or is called back, and by one that set the process's rate for its next call.
turns = threading.RLock()
# The calls that take turns: those on the model, and those that call back.
_IN_TURN = (
    "kora_release",
    "kora_set_session",
    "kora_song_new",
    "kora_song_open",
    "kora_song_read_bytes",
    "kora_song_read_document",
    "kora_song_insert_time",
    "kora_song_delete_time",
    "kora_song_repeat_time",
    "kora_song_move_time",
    "kora_history_",
    "kora_ruler_new",
    "kora_ruler_draw",
    *(f"kora_{kind}_map_{edit}" for kind in ("tempo", "meter", "key") for edit in ("set", "remove", "clear")),
    *(f"kora_tempo_map_{edit}" for edit in ("ramp", "scale", "offset", "fit", "lock", "unlock")),
)


# What the collector found while another thread had the turn. It runs anywhere, with anyone's locks, and never waits.
_left: Deque[Callable[[], None]] = collections.deque()


def _do_what_is_left() -> None:
    while _left and turns.acquire(blocking=False):
        try:
            _left.popleft()()
        except IndexError:
            return
        finally:
            turns.release()


def in_turn_or_later(work: Callable[[], None]) -> None:
    """Has it done now, or by the thread whose turn it is."""
    _left.append(work)
    _do_what_is_left()


def _in_turn(call: Any) -> Any:
    def take_turn(*arguments: Any) -> Any:
        try:
            with turns:
                return call(*arguments)
        finally:
            if _left:
                _do_what_is_left()

    return take_turn


if hasattr(os, "register_at_fork"):  # no edit is half done in a child
    os.register_at_fork(before=turns.acquire, after_in_parent=turns.release, after_in_child=turns.release)


class Bound:
    """The library's calls as attributes, each bound once: `lib.kora_convert(...)`."""

    def __init__(self, path: str) -> None:
        self.path = path
        self._dll = ctypes.PyDLL(path)
        self.version = self._version()
        for name, arguments in CALLS.items():
            try:
                call = getattr(self._dll, name)
            except AttributeError:
                raise ImportError(f"{path} has no {name}, which this package needs") from None
            call.argtypes = arguments
            call.restype = c_int32
            setattr(self, name, _in_turn(call) if name.startswith(_IN_TURN) else call)

    def __getattr__(self, name: str) -> Any:
        raise AttributeError(f"{self.path} has no {name}")

    def _version(self) -> tuple[int, int]:
        try:
            ask = self._dll.kora_c_version
        except AttributeError:
            raise ImportError(f"{self.path} is no Kora library with a C interface") from None
        ask.restype = c_uint32
        number = int(ask())
        major, minor = number >> 16, number & 0xFFFF
        if major != VERSION_MAJOR or minor < VERSION_MINOR:
            raise ImportError(
                f"{self.path} has C interface {major}.{minor}; this package needs "
                f"{VERSION_MAJOR}.{VERSION_MINOR} or a later {VERSION_MAJOR}.x"
            )
        return major, minor

    def loaded_version(self) -> str:
        """The library's own, as "0.1.0"."""
        ask = self._dll.kora_version
        ask.restype = c_char_p
        return str(ask().decode())


def candidates() -> list[str]:
    """Where the library may be, most wanted first."""
    named = os.environ.get("KORA_LIBRARY")
    if named:
        return [named]  # whoever names one wants no other
    major, minor, _ = __version__.split(".")
    name = f"libKora.so.{major}" if major != "0" else f"libKora.so.0.{minor}"  # what is compatible
    system: Optional[str] = name
    if sys.platform == "win32":
        name = "Kora.dll"
        system = ctypes.util.find_library(
            "Kora"
        )  # along PATH, which Windows does not search for a name alone
    beside = Path(__file__).resolve().parent / name
    return [str(beside)] if beside.exists() else [system or name]


def _open() -> Bound:
    tried = []
    for path in candidates():
        try:
            return Bound(path)
        except OSError as error:
            tried.append(str(error))
    raise ImportError(f"the Kora library was not found; KORA_LIBRARY may name it ({'; '.join(tried)})")


lib = _open()
