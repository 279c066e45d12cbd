"""Columns of numbers in anyone's memory: numpy arrays, array.array, memoryviews, or lists that are copied.

A column is an address, a distance in bytes from element to element, and a count; the library steps through it
where it stands. Memory is reached through Python's buffer protocol, so numpy is not needed.
"""
from __future__ import annotations

import array
import contextlib
import ctypes
import math
from typing import Any, Callable, Iterable, Iterator, Optional, Sequence

try:
    import numpy
except ImportError:  # numbers come in lists and array.array then
    numpy = None  # type: ignore[assignment]

_STRIDES, _FORMAT, _WRITABLE = 0x10 | 0x08, 0x04, 0x01
_SIGNED = {"q", "l", "=q", "<q", "@q", "@l"}


class _Buffer(ctypes.Structure):
    """CPython's Py_buffer."""

    _fields_ = [
        ("buf", ctypes.c_void_p),
        ("obj", ctypes.c_void_p),
        ("len", ctypes.c_ssize_t),
        ("itemsize", ctypes.c_ssize_t),
        ("readonly", ctypes.c_int),
        ("ndim", ctypes.c_int),
        ("format", ctypes.c_char_p),
        ("shape", ctypes.POINTER(ctypes.c_ssize_t)),
        ("strides", ctypes.POINTER(ctypes.c_ssize_t)),
        ("suboffsets", ctypes.POINTER(ctypes.c_ssize_t)),
        ("internal", ctypes.c_void_p),
    ]


_get = ctypes.pythonapi.PyObject_GetBuffer
_get.argtypes = [ctypes.py_object, ctypes.POINTER(_Buffer), ctypes.c_int]
_get.restype = ctypes.c_int
_release = ctypes.pythonapi.PyBuffer_Release
_release.argtypes = [ctypes.POINTER(_Buffer)]
_release.restype = None


class Column:
    """Elements of eight or sixteen bytes where they stand, held until `release`."""

    __slots__ = ("address", "stride", "count", "shape", "_buffer")

    def __init__(self, owner: Any, itemsize: int, writable: bool) -> None:
        self._buffer = _Buffer()
        try:
            _get(owner, self._buffer, _STRIDES | _FORMAT | (_WRITABLE if writable else 0))
        except (BufferError, ValueError) as error:
            raise TypeError(f"{type(owner).__name__} cannot be used as a column: {error}") from None
        view = self._buffer
        self.shape = tuple(view.shape[i] for i in range(view.ndim))
        strides = [view.strides[i] for i in range(view.ndim)] if view.strides else None
        self.address = view.buf
        self.count = 1
        for extent in self.shape:
            self.count *= extent
        self.stride = itemsize
        fault = self._fault(view, strides, itemsize)
        if fault:
            self.release()
            raise TypeError(fault)

    def _fault(self, view: _Buffer, strides: Optional[list[int]], itemsize: int) -> Optional[str]:
        text = (view.format or b"B").decode()
        if view.itemsize != itemsize or (itemsize == 8 and text not in _SIGNED):
            return f"whole numbers of 64 bits are needed, not elements of format {text!r}"
        if strides is None:
            return None  # contiguous
        if view.ndim == 1:
            self.stride = strides[0] if self.count > 1 else itemsize
            return None
        expected = itemsize
        for extent, stride in zip(reversed(self.shape), reversed(strides)):
            if extent > 1 and stride != expected:
                return "an array of several dimensions has to be contiguous"
            expected *= extent
        return None

    def release(self) -> None:
        """Gives the memory back to its owner."""
        _release(self._buffer)


@contextlib.contextmanager
def address_of(owner: Any, writable: bool = False) -> Iterator[int]:
    """Where someone's memory begins, which has no gaps and is held meanwhile."""
    buffer = _Buffer()
    _get(owner, buffer, _WRITABLE if writable else 0)
    try:
        yield buffer.buf or 0
    finally:
        _release(buffer)


def is_array(values: Any) -> bool:
    """Whether values are numbers in memory, of any kind."""
    return isinstance(values, (array.array, memoryview)) or (
        numpy is not None and isinstance(values, numpy.ndarray)
    )


def as_counts(values: Any, unit: str) -> Any:
    """Values as a buffer of 64-bit whole numbers: themselves where they are that, else a copy."""
    if numpy is not None and isinstance(values, numpy.ndarray):
        if (
            values.dtype == numpy.int64
            and values.dtype.isnative
            and (values.ndim == 1 or values.flags.c_contiguous)
        ):
            return values
        if values.dtype.kind not in "iu" or values.dtype == numpy.uint64:
            raise TypeError(f"{unit} are whole numbers of 64 bits, not {values.dtype}")
        return numpy.ascontiguousarray(values, dtype=numpy.int64)
    if isinstance(values, (array.array, memoryview)):
        if values.itemsize == 8:
            return values
        values = values.tolist()
    return array.array("q", values)


def new_like(values: Any) -> Any:
    """Fresh memory for the counts of a result, of the kind that values are of."""
    if numpy is not None and isinstance(values, numpy.ndarray):
        return numpy.empty(values.shape, dtype=numpy.int64)
    return array.array("q", bytes(8 * len(values)))


def overlaps(one: Any, other: Any) -> bool:
    """Whether numpy arrays share elements without being the same column."""
    if numpy is None or not isinstance(one, numpy.ndarray) or not isinstance(other, numpy.ndarray):
        return False
    if one.ctypes.data == other.ctypes.data and one.strides == other.strides:
        return False
    return bool(numpy.may_share_memory(one, other) and numpy.shares_memory(one, other))


def through(
    call: Callable[[Column, Column], Any], source: Any, target: Any, sizes: Sequence[int] = (8, 8)
) -> Any:
    """The status of a call that reads one column and writes another; the two have equally many elements."""
    if overlaps(source, target):
        source = source.copy()
    read = Column(source, sizes[0], writable=False)
    try:
        write = Column(target, sizes[1], writable=True)
        try:
            if read.count != write.count or (len(read.shape) > 1 and read.shape != write.shape):
                raise ValueError(
                    f"out has {write.count} elements of shape {write.shape}, "
                    f"the values have {read.count} of shape {read.shape}"
                )
            return call(read, write)
        finally:
            write.release()
    finally:
        read.release()


def nearest(value: float) -> int:
    """The nearest whole number, of two the upper; no half is lost to an addition."""
    whole = math.floor(value)
    return whole + (value - whole >= 0.5)


def scaled(values: Any, factor: float) -> Any:
    """Floating values times a factor as counts, to the nearest; halves go upwards."""
    if numpy is not None and isinstance(values, numpy.ndarray):
        # At least as wide as a float: a narrow one has no bits for the product.
        wide = values.astype(numpy.result_type(values.dtype, numpy.float64), copy=False)
        exact = wide * factor
        if not (abs(exact) < 1 << 62).all():  # nor not a number
            raise ValueError("a time is not finite, or out of limits")
        whole = numpy.floor(exact)
        return (whole + (exact - whole >= 0.5)).astype(numpy.int64)
    try:
        return array.array("q", [nearest(value * factor) for value in as_list(values)])
    except OverflowError:
        raise ValueError("a time is out of limits") from None
    except ValueError:
        raise ValueError("a time is not finite") from None


def as_list(values: Iterable[Any]) -> list[Any]:
    return values.tolist() if isinstance(values, (array.array, memoryview)) else list(values)
