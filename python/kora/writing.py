"""Documents that are made: streams inside one another, of numbers, texts and lists.

>>> import kora
>>> with kora.Document.create() as document:
...     with document.stream(100, version=1, description="gains"):
...         document.write("float64", [0.5, 0.75])
...     with document.list(101, 2, description="takes"):
...         document.item("drums")
...         document.write("int64", 0)
...         document.item("voice")
...         document.write("int64", 48000)
>>> [entry.description for entry in kora.Document.read(document.to_bytes()).contents.values()]
['gains', 'takes']
"""
from __future__ import annotations

import contextlib
import operator
from types import TracebackType
from typing import Any, Iterable, Iterator, Optional, SupportsFloat, Type, Union

from kora._columns import address_of
from kora._files import PathLike, give_bytes, path_bytes
from kora._handles import Handles
from kora._library import lib
from kora._values import Kind, as_memory, layout
from kora.errors import REFUSED, RefusedError

__all__ = ["DocumentWriter"]


def whole(value: int, name: str, bits: int = 32) -> int:
    """A whole number that fits into so many bits with its sign."""
    number = operator.index(value)
    if not -1 << (bits - 1) <= number < 1 << (bits - 1):
        raise ValueError(f"{name} {value} has more than {bits} bits")
    return number


def _words(text: Optional[str], name: str) -> Optional[bytes]:
    if text is None:
        return None
    if "\0" in text:
        raise ValueError(f"a {name} has no zero character")
    return text.encode()


class DocumentWriter:
    """A document that is being made. `kora.Document.create` gives one.

    At the end of its `with` it is complete, and in the place of the file; an exception drops it, and the file is
    what it was. What is written goes into the innermost stream.
    """

    def __init__(self, path: Optional[PathLike] = None) -> None:
        self._handles = Handles("document")
        self._in_memory = path is None
        self._bytes: Optional[bytes] = None
        self._depth = 0  # of open streams
        self._handle = (
            self._handles.make(lib.kora_document_create_in_memory)
            if path is None
            else self._handles.make(lib.kora_document_create, path_bytes(path))
        )

    # ---- Life

    def __enter__(self) -> "DocumentWriter":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        try:
            if kind is None and not self.closed:
                self.commit()
        finally:
            self.close()

    def commit(self) -> None:
        """Makes it complete and puts it in the place of the file, in one step and on the disk.

        The end of a `with` does so. All streams have ended; afterwards it is closed. After a StorageError the old
        file is where it was, and this may be tried again.
        """
        self._check(lib.kora_document_commit(self._handle))
        if self._in_memory:
            self._bytes = give_bytes(self._check, lib.kora_document_get_bytes, self._handle)
        self.close()

    def close(self) -> None:
        """Drops what was not committed; once more does nothing."""
        self._handles.close()

    @property
    def closed(self) -> bool:
        """Whether it was committed or dropped."""
        return self._handles.closed

    def to_bytes(self) -> bytes:
        """The bytes of one that was made without a path and is complete."""
        if self._bytes is None:
            raise RefusedError("the document is not one in memory that was committed", REFUSED)
        return self._bytes

    def __repr__(self) -> str:
        return f"<kora.DocumentWriter, {'closed' if self.closed else f'{self._depth} streams open'}>"

    def _check(self, status: int) -> None:
        self._handles.check(status)

    # ---- Streams

    @contextlib.contextmanager
    def _inside(self, call: Any, *arguments: Any) -> Iterator[None]:
        self._check(call(self._handle, *arguments))
        self._depth += 1
        depth = self._depth
        # Deliberate: after an exception the stream stays open, so that a half of it is never committed.
        yield
        if not self.closed and self._depth != depth:
            raise RefusedError("a stream inside this one has not ended", REFUSED)
        self._check(lib.kora_document_end(self._handle))
        self._depth -= 1

    def stream(
        self, type: int, version: int = 1, description: Optional[str] = None
    ) -> contextlib.AbstractContextManager[None]:
        """A stream, inside the innermost one: `with document.stream(100, description="takes"):`.

        Types and versions are of 16 bits with a sign; types 0 and 2 are the document's own, 16, 17, 18 and 32
        a song's. A type stands in files and is never used for anything else again. The description is what people
        see in a table of contents; a stream with one is found by its key, which no other has, and beside it stands
        no other of its type. One without is found by what is around it: outermost ones need a description.
        """
        words = _words(description, "description")
        return self._inside(lib.kora_document_begin, whole(type, "type"), whole(version, "version"), words)

    def list(
        self, type: int, count: int, version: int = 1, description: Optional[str] = None
    ) -> contextlib.AbstractContextManager[None]:
        """The same of a list, which has a key whatever its description.

        So many items follow, each begun by `item`, and nothing else.
        """
        words = _words(description, "description")
        call, items = lib.kora_document_begin_list, whole(count, "count")
        return self._inside(call, whole(type, "type"), whole(version, "version"), words, items)

    def item(self, description: Optional[str] = None) -> None:
        """Begins the next item of the innermost stream, which is a list: numbers, texts and streams, not nothing.

        It ends with the next one, or with the list.
        """
        self._check(lib.kora_document_begin_item(self._handle, _words(description, "description")))

    # ---- Values

    def write(self, kind: Kind, values: Union[SupportsFloat, Iterable[Any]]) -> None:
        """Numbers side by side: "uint8", "int16", "uint16", "int32", "uint32", "int64" or "float64".

        One number or many: bytes, array.array, memoryviews and numpy's arrays of the kind are taken where they
        stand. Nothing says in the file how many or of what kind they are; the reader knows.
        """
        known = layout(kind)
        memory = as_memory(known, values)
        with address_of(memory) as address:
            count = memoryview(memory).nbytes // known.size
            self._check(lib.kora_document_write(self._handle, known.code, address, count))

    def write_text(self, text: str) -> None:
        """A text with its length, as UTF-8."""
        self._check(lib.kora_document_write_text(self._handle, _words(text, "text")))
