"""Paths, and answers of a size that only the library knows."""
from __future__ import annotations

import ctypes
import os
from typing import Any, Callable, Union

from kora.errors import TOO_SMALL

PathLike = Union[str, "os.PathLike[str]"]
Check = Callable[[int], None]
_TEXT = 256  # bytes that most texts fit into


def path_bytes(path: PathLike) -> bytes:
    """A path as the library takes it."""
    text = os.fspath(path)
    if "\0" in text:
        raise ValueError("a path has no zero character")
    return text.encode() if os.name == "nt" else os.fsencode(text)


def existing(path: PathLike) -> bytes:
    """The same of a file to read: where there is none, it is Python's own FileNotFoundError."""
    os.stat(path)
    return path_bytes(path)


def whole_bytes(data: Any) -> bytes:
    """Anyone's bytes; a number, of which bytes() would make zeros, is a TypeError."""
    return data if isinstance(data, bytes) else memoryview(data).tobytes()


def give_bytes(check: Check, call: Any, *arguments: Any) -> bytes:
    """What a call writes into a buffer, which it is asked the size of before."""
    size = ctypes.c_size_t()
    check(call(*arguments, None, 0, size))
    buffer = ctypes.create_string_buffer(size.value)
    check(call(*arguments, buffer, size.value, size))
    return buffer.raw[: size.value]


def give_text(check: Check, call: Any, *arguments: Any) -> bytes:
    """The same of a text, whose zero at the end is not part of it."""
    size, room = ctypes.c_size_t(), _TEXT
    while True:
        buffer = ctypes.create_string_buffer(room)
        status = call(*arguments, buffer, room, size)
        if status != TOO_SMALL:
            check(status)
            return buffer.raw[: size.value]
        room = size.value + 1
