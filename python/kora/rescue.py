"""What is wrong in a document, and what can be brought back.

>>> import kora, os, tempfile
>>> path = os.path.join(tempfile.mkdtemp(), "takes.kora")
>>> with kora.Document.create(path) as document:
...     with document.stream(100, description="gains"):
...         document.write("float64", [0.5, 0.75])
>>> kora.check(path)
[]
>>> kora.repair(path, path + ".whole")
Repaired(recovered=1, lost=[])
"""
from __future__ import annotations

import ctypes
from typing import Any, List, NamedTuple, Optional

from kora._files import PathLike, existing, path_bytes
from kora._library import FAULT_HANDLER, callback, lib, raise_first
from kora.errors import check as check_status

__all__ = ["Fault", "Repaired", "check", "repair"]


class Fault(NamedTuple):
    """Something wrong at a byte of a file, or lost."""

    offset: int
    text: str


class Repaired(NamedTuple):
    """What a repair brought back."""

    recovered: int  # streams
    lost: List[Fault]


def _teller(faults: List[Fault], failed: List[BaseException]) -> Any:
    def tell(_user: Any, offset: int, text: Optional[bytes]) -> None:
        faults.append(Fault(offset, (text or b"").decode("utf-8", "replace")))

    return callback(FAULT_HANDLER, tell, failed)


def check(path: PathLike) -> List[Fault]:
    """Everything that is wrong in a document, in the order of the file; nothing where it is whole."""
    faults: List[Fault] = []
    failed: List[BaseException] = []
    check_status(lib.kora_document_check(existing(path), _teller(faults, failed), None, None))
    raise_first(failed)
    return faults


def repair(source: PathLike, target: PathLike) -> Repaired:
    """Writes what is whole of one to a new document, which takes the place of the file there.

    Both may be the same file. Where no stream is whole nothing is written: a NotFoundError.
    """
    lost: List[Fault] = []
    count = ctypes.c_size_t()
    call = lib.kora_document_repair
    failed: List[BaseException] = []
    check_status(call(existing(source), path_bytes(target), _teller(lost, failed), None, count))
    raise_first(failed)
    return Repaired(count.value, lost)
