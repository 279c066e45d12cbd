"""Documents of your own: typed streams inside one another, found by keys, in a file or in memory.

>>> import kora
>>> with kora.Document.create() as made:
...     with made.list(100, 2, version=3, description="takes"):
...         for name, start in (("drums", 0), ("voice", 48000)):
...             made.item(name)
...             made.write("int64", start)
>>> with kora.Document.read(made.to_bytes()) as document:
...     print(document.contents[100])
...     with document.enter(100) as takes:
...         print(takes.version, [(take.description, take.read("int64")) for take in takes.items()])
Entry(description='takes', items=('drums', 'voice'))
3 [('drums', 0), ('voice', 48000)]

A key is the way from an outermost stream inward, a step a stream: its type, and of a list with the item that the
next step is in, as in `((100, 0), 101)`. Every header and body has a sum, which is held against its bytes before
a value is handed out: damage is a FileError.
"""
from __future__ import annotations

import array
import contextlib
import ctypes
from types import TracebackType
from typing import (
    Any,
    Dict,
    Iterator,
    List,
    Literal,
    Mapping,
    NamedTuple,
    Optional,
    Tuple,
    Type,
    TypeVar,
    Union,
    overload,
)

from kora._columns import address_of
from kora._files import PathLike, existing, give_text, whole_bytes
from kora._handles import Handles
from kora._library import StepStruct, lib
from kora._values import Kind, WholeKind, count_in, layout
from kora.errors import BAD_FILE, NOT_FOUND, REFUSED, FileError, RefusedError
from kora.writing import DocumentWriter, whole

__all__ = ["Contents", "Document", "Entry", "Item", "Items", "Stream"]

Step = Union[int, Tuple[int, int]]
Key = Tuple[Step, ...]
T = TypeVar("T")
_NO_ITEM = -1
_MOST_STEPS = 64  # streams inside one another


class Entry(NamedTuple):
    """What the table of contents has of a stream."""

    description: str
    items: Optional[Tuple[str, ...]]  # descriptions of a list's items; None of other streams


def _as_key(key: Any) -> Key:
    return key if isinstance(key, tuple) else (key,)


def _steps(key: Key) -> Any:
    """A key in memory."""
    steps = (StepStruct * len(key))()
    for place, step in zip(steps, key):
        kind, item = step if isinstance(step, tuple) else (step, _NO_ITEM)
        place.type, place.item = whole(kind, "type"), whole(item, "item")
    return steps


class Contents(Mapping[Key, Entry]):
    """The table of contents: an `Entry` for each key, in the keys' order. A key of one step may be a number."""

    def __init__(self, document: "Document") -> None:
        # It holds the document, which therefore holds no more of it than the places.
        self._document = document
        self._places = document._known_places()

    def _description(self, index: int, item: int) -> str:
        document = self._document
        call = lib.kora_document_get_description
        return give_text(document._check, call, document._handle, index, item).decode("utf-8", "replace")

    def _item(self, key: Key, item: int) -> str:
        """The description of an item of the list of a key, "" where the table has none."""
        index, items = self._places.get(key, (0, 0))
        return self._description(index, item) if item < items else ""

    def __getitem__(self, key: Union[int, Key]) -> Entry:
        index, items = self._places[_as_key(key)]
        texts = None if items == _NO_ITEM else tuple(self._description(index, item) for item in range(items))
        return Entry(self._description(index, _NO_ITEM), texts)

    def __contains__(self, key: object) -> bool:
        return _as_key(key) in self._places

    def __iter__(self) -> Iterator[Key]:
        return iter(self._places)

    def __len__(self) -> int:
        return len(self._places)


class _Source:
    """What numbers, texts and streams are read from, from the first on."""

    _document: "Document"

    def _ready(self) -> None:
        """Refuses what is asked out of turn."""
        raise NotImplementedError

    def _bytes_behind(self) -> int:
        """Of the stream, those that are of another item."""
        return 0

    @property
    def bytes_left(self) -> int:
        """Those that were not read."""
        self._ready()
        return max(self._document._bytes_left() - self._bytes_behind(), 0)

    @overload
    def read(self, kind: WholeKind) -> int:
        ...

    @overload
    def read(self, kind: Literal["float64"]) -> float:
        ...

    @overload
    def read(self, kind: WholeKind, count: int) -> List[int]:
        ...

    @overload
    def read(self, kind: Literal["float64"], count: int) -> List[float]:
        ...

    @overload
    def read(self, kind: Kind, *, out: T) -> T:
        ...

    def read(self, kind: str, count: Optional[int] = None, *, out: Any = None) -> Any:
        """The next number, a list of the next so many, or memory that is filled with them where it stands.

        Kinds are those of `DocumentWriter.write`; out is an array.array or numpy's array of the kind. Fewer bytes
        than that are a FileError, and none is read.
        """
        if out is not None and count is not None:
            raise TypeError("out says how many there are; count has no place beside it")
        known = layout(kind)
        number = count_in(known, out) if out is not None else 1 if count is None else count
        if number < 0:
            raise ValueError(f"count is {number}")
        left = self.bytes_left
        if number * known.size > left:
            raise FileError(f"{number} numbers of {kind} are more than the {left} bytes left", BAD_FILE)
        memory = array.array(known.typecode, bytes(number * known.size)) if out is None else out
        with address_of(memory, writable=True) as address:
            self._document._check(lib.kora_document_read(self._document._handle, known.code, address, number))
        if out is not None:
            return out
        return memory[0] if count is None else memory.tolist()

    def text(self) -> str:
        """The next text; what is none, or goes on behind the stream or the item, is a FileError."""
        if not self.bytes_left:
            raise FileError("a text is more than the 0 bytes left", BAD_FILE)
        words = give_text(self._document._check, lib.kora_document_read_text, self._document._handle)
        if self._document._bytes_left() < self._bytes_behind():
            raise FileError("a text goes on behind its item", BAD_FILE)
        try:
            return words.decode()
        except UnicodeDecodeError as error:
            raise FileError(f"a text is not UTF-8: {error}", BAD_FILE) from None

    @property
    def next_type(self) -> Optional[int]:
        """The type of the stream that stands next inside, None at the end."""
        if not self.bytes_left:
            return None
        out = ctypes.c_int32()
        status = lib.kora_document_next_type(self._document._handle, out)
        if status == NOT_FOUND:
            return None
        self._document._check(status)
        return out.value

    def enter_next(self, type: Optional[int] = None) -> contextlib.AbstractContextManager["Stream"]:
        """Opens the stream that stands next inside; one of another type than was asked for is a FileError."""
        return self._enter_next(0 if type is None else whole(type, "type"))

    @contextlib.contextmanager
    def _enter_next(self, wanted: int) -> Iterator["Stream"]:
        found = self.next_type
        if found is None:
            raise FileError("no stream is left inside", BAD_FILE)
        version = ctypes.c_int32()
        self._document._check(lib.kora_document_enter_next(self._document._handle, wanted, version))
        with self._document._inside(Stream(self._document, (*self._way(), found), version.value)) as stream:
            yield stream

    def _way(self) -> Key:
        raise NotImplementedError

    def streams(self) -> Iterator["Stream"]:
        """The streams inside, one after another; each is left when the next is asked for."""
        while self.next_type is not None:
            with self.enter_next() as stream:
                yield stream


class Stream(_Source):
    """An open stream of a document that is read: `Document.enter` and `enter_next` open one.

    Attributes: `key`, the way to it; `type` and `version`. It is left at the end of its `with`, whatever was read
    of it. While a stream inside is open, nothing is read of this one.
    """

    def __init__(self, document: "Document", key: Key, version: int) -> None:
        self._document = document
        self.key = key
        self.version = version
        self._count: Optional[int] = None  # of the items, once they were asked for
        self._turn = 0  # goes on with each item that is gone to; items hold the stream, and it none of them

    @property
    def type(self) -> int:
        """What kind of stream it is."""
        last = self.key[-1]
        return last[0] if isinstance(last, tuple) else last

    def __repr__(self) -> str:
        return f"<kora.document.Stream {self.key}, version {self.version}>"

    def _way(self) -> Key:
        return self.key

    def _ready(self) -> None:
        self._innermost()
        if self._count is not None:
            raise RefusedError("what is in a list is read from its items", REFUSED)

    def _innermost(self) -> None:
        opened = self._document._open
        if not self._document.closed and (not opened or opened[-1] is not self):
            inside = "a stream inside it is open" if self in opened else "it was left"
            raise RefusedError(f"the stream {self.key} is not read from now: {inside}", REFUSED)

    def items(self) -> "Items":
        """The items of a list; asked for before anything else is read of it."""
        if self._count is None:
            self._innermost()
            count = ctypes.c_int32()
            self._document._check(lib.kora_document_enter_list(self._document._handle, count))
            self._count = count.value
        return Items(self, self._count)


class Items:
    """The items of a list in their order, by a loop or by number. One is read at a time, again from its start."""

    def __init__(self, stream: Stream, count: int) -> None:
        self._stream = stream
        self._count = count

    def __len__(self) -> int:
        return self._count

    def __getitem__(self, index: int) -> "Item":
        place = index + self._count if index < 0 else index
        if not 0 <= place < self._count:
            raise IndexError(f"the list has {self._count} items, and none of number {index}")
        behind = 0  # the next item begins where this one ends, which nothing else says
        if place + 1 < self._count:
            self._go_to(place + 1)
            behind = self._stream._document._bytes_left()
        self._go_to(place)
        self._stream._turn += 1
        return Item(self._stream, place, behind)

    def _go_to(self, item: int) -> None:
        self._stream._innermost()
        document = self._stream._document
        document._check(lib.kora_document_go_to_item(document._handle, item))

    def __iter__(self) -> Iterator["Item"]:
        for index in range(self._count):
            yield self[index]


class Item(_Source):
    """An item of a list: numbers, texts and streams. It is read until another of the list is asked for.

    Attributes: `index`, from 0 on.
    """

    def __init__(self, stream: Stream, index: int, behind: int) -> None:
        self._document = stream._document
        self._stream = stream
        self._behind = behind
        self._turn = stream._turn
        self.index = index

    @property
    def description(self) -> str:
        """What the table of contents has for it, "" where it has nothing."""
        return self._document.contents._item(self._stream.key, self.index)

    def __repr__(self) -> str:
        return f"<kora.document.Item {self.index} of {self._stream.key}>"

    def _way(self) -> Key:
        return (*self._stream.key[:-1], (self._stream.type, self.index))

    def _ready(self) -> None:
        self._stream._innermost()
        if self._stream._turn != self._turn:
            raise RefusedError("another item of the list is read now", REFUSED)

    def _bytes_behind(self) -> int:
        return self._behind


class Document:
    """A document that is read; `Document.open` and `Document.read` give one. `with` closes it at its end."""

    def __init__(self, make: Any, *arguments: Any) -> None:
        self._handles = Handles("document")
        self._handle = self._handles.make(make, *arguments)
        self._open: List[Stream] = []  # innermost last
        self._places: Optional[Dict[Key, Tuple[int, int]]] = None  # indices and items by key

    @staticmethod
    def create(path: Optional[PathLike] = None) -> DocumentWriter:
        """A new one, which takes the place of the file when it is complete; without a path, in memory."""
        return DocumentWriter(path)

    @classmethod
    def open(cls, path: PathLike) -> "Document":
        """That of a file. What is created there meanwhile takes the file's place, and the old one is read on."""
        return cls(lib.kora_document_open, existing(path))

    @classmethod
    def read(cls, data: bytes) -> "Document":
        """That of the bytes of one."""
        held = whole_bytes(data)
        return cls(lib.kora_document_read_bytes, held, len(held))

    # ---- Life

    def close(self) -> None:
        """Releases it; whatever is asked of it from then on is a ClosedError."""
        self._handles.close()
        self._open.clear()

    @property
    def closed(self) -> bool:
        """Whether `close` was called."""
        return self._handles.closed

    def __enter__(self) -> "Document":
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<kora.Document, {'closed' if self.closed else f'{len(self.contents)} keys'}>"

    def _check(self, status: int) -> None:
        self._handles.check(status)

    def _bytes_left(self) -> int:
        """Of the innermost stream."""
        left = ctypes.c_int64()
        self._check(lib.kora_document_bytes_left(self._handle, left))
        return left.value

    # ---- What it has

    @property
    def contents(self) -> Contents:
        """The table of contents, a mapping from keys to entries."""
        return Contents(self)

    def _known_places(self) -> Dict[Key, Tuple[int, int]]:
        if self._places is None:
            count = ctypes.c_size_t()
            self._check(lib.kora_document_key_count(self._handle, count))
            places = {}
            for index in range(count.value):
                key, items = self._key(index)
                places[key] = (index, items)
            self._places = places
        return self._places

    def _key(self, index: int) -> Tuple[Key, int]:
        steps, depth, items = (StepStruct * _MOST_STEPS)(), ctypes.c_size_t(), ctypes.c_int32()
        self._check(
            lib.kora_document_get_key(self._handle, index, steps, _MOST_STEPS, depth, ctypes.byref(items))
        )
        way = [(step.type, step.item) for step in steps[: depth.value]]
        return tuple(kind if item == _NO_ITEM else (kind, item) for kind, item in way), items.value

    def enter(self, *key: Step) -> contextlib.AbstractContextManager[Stream]:
        """Opens the stream of a key: `with document.enter((100, 0), 101) as take:`. One that is not there is a KeyError.

        Another may be open; at the end of this one reading goes on there.
        """
        return self._enter(key)

    @contextlib.contextmanager
    def _enter(self, key: Key) -> Iterator[Stream]:
        steps, version = _steps(key), ctypes.c_int32()
        self._check(lib.kora_document_enter(self._handle, steps, len(key), version))
        with self._inside(Stream(self, key, version.value)) as stream:
            yield stream

    @contextlib.contextmanager
    def _inside(self, stream: Stream) -> Iterator[Stream]:
        """Leaves the stream at the end, and what is still open inside it."""
        self._open.append(stream)
        try:
            yield stream
        finally:
            while stream in self._open:
                self._open.pop()
                self._check(lib.kora_document_leave(self._handle))
