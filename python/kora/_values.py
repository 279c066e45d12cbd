"""Numbers of documents: the seven kinds, and the memory that they come from and go to."""
from __future__ import annotations

import array
import sys
from numbers import Real
from typing import Any, Literal, NamedTuple

try:
    import numpy
except ImportError:
    numpy = None  # type: ignore[assignment]


__all__ = ["Kind"]

WholeKind = Literal["uint8", "int16", "uint16", "int32", "uint32", "int64"]
Kind = Literal["uint8", "int16", "uint16", "int32", "uint32", "int64", "float64"]


class Layout(NamedTuple):
    """A kind of number as the library and as arrays know it."""

    name: str
    code: int
    typecode: str  # of array.array
    size: int  # bytes of one


LAYOUTS = {
    name: Layout(name, code, typecode, array.array(typecode).itemsize)
    for code, (name, typecode) in enumerate(
        {
            "uint8": "B",
            "int16": "h",
            "uint16": "H",
            "int32": "i",
            "uint32": "I",
            "int64": "q",
            "float64": "d",
        }.items()
    )
}
_ORDERS = ("", "@", "=", "<" if sys.byteorder == "little" else ">")
_ALIKE = ("bhilqn", "BHILQN", "d")  # formats that differ in size alone


def layout(kind: str) -> Layout:
    """The layout of a kind by its name."""
    if kind not in LAYOUTS:
        raise ValueError(f"kind {kind!r} is none of {', '.join(LAYOUTS)}")
    return LAYOUTS[kind]


def fits(view: memoryview, kind: Layout) -> bool:
    """Whether what stands in memory is of this kind."""
    order, mark = view.format[:-1], view.format[-1:]
    alike = next(marks for marks in _ALIKE if kind.typecode in marks)
    return view.itemsize == kind.size and order in _ORDERS and mark in alike


def as_memory(kind: Layout, values: Any) -> Any:
    """One number, any numbers in a row, or memory, as numbers of the kind side by side.

    Memory of this kind is taken where it stands. All else is copied, and a number that the kind cannot hold
    is a ValueError, a fraction in a whole kind a TypeError.
    """
    if isinstance(values, Real):
        values = (values,)
    try:
        view = memoryview(values)
    except (TypeError, ValueError):
        pass  # no memory
    else:
        if fits(view, kind):
            return values if view.c_contiguous else view.tobytes()
        values = view.tolist() if numpy is None else numpy.asarray(view).ravel().tolist()
    try:
        return array.array(kind.typecode, values)
    except OverflowError:
        raise ValueError(f"a number is out of the range of {kind.name}") from None


def count_in(kind: Layout, memory: Any) -> int:
    """How many numbers of the kind memory has room for; memory of another kind is a TypeError."""
    view = memoryview(memory)
    if not fits(view, kind) or view.readonly or not view.c_contiguous:
        raise TypeError(f"out is to be memory of {kind.name}, side by side and not read only")
    return view.nbytes // kind.size
