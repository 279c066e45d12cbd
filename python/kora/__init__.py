"""Kora: one model of musical and audio time, from Python.

>>> import kora
>>> song = kora.Song(rate=48000)
>>> song.ramp("9|1", "13|1", 120, 90)
>>> song.text("13|1", "minsec")
'0:25.206'
>>> song.undo()

`kora.open` reads MIDI files and documents, `kora.read` the bytes of one; `Song` has what can be asked and edited; values are in
`kora.units`, exceptions in `kora.errors`. `Document` has files of a host's own streams.
"""
from kora._convert import bars_dtype
from kora._library import lib as _lib
from kora._version import __version__
from kora.document import Document, Entry
from kora.errors import (
    ArgumentError,
    BusyError,
    ClosedError,
    Error,
    FileError,
    InternalError,
    NotFoundError,
    OutOfMemoryError,
    RefusedError,
    StorageError,
)
from kora.grid import Grid, GridLine, Ruler, RulerLine, grid_dtype
from kora.maps import Key, Keys, Meter, Meters, Tempo, Tempos
from kora.plot import Plot
from kora.rescue import Fault, Repaired, check, repair
from kora.song import FORMS, Info, Song, open, read
from kora.units import TICKS_PER_QUARTER, Bars, Frames, Position, Samples, Ticks, Time
from kora.writing import DocumentWriter

# Where the library came from: a path, or the name by which the system found it.
library_path: str = _lib.path
# Its version, as "0.1.0"; the package's own is __version__.
loaded_version: str = _lib.loaded_version()

__all__ = [
    "__version__",
    "ArgumentError",
    "Bars",
    "BusyError",
    "ClosedError",
    "Document",
    "DocumentWriter",
    "Entry",
    "Error",
    "FORMS",
    "Grid",
    "GridLine",
    "Ruler",
    "RulerLine",
    "grid_dtype",
    "Fault",
    "FileError",
    "Frames",
    "Info",
    "InternalError",
    "Key",
    "Keys",
    "Meter",
    "Meters",
    "NotFoundError",
    "OutOfMemoryError",
    "Plot",
    "Position",
    "RefusedError",
    "Repaired",
    "Samples",
    "Song",
    "StorageError",
    "TICKS_PER_QUARTER",
    "Tempo",
    "Tempos",
    "Ticks",
    "Time",
    "bars_dtype",
    "check",
    "library_path",
    "loaded_version",
    "open",
    "read",
    "repair",
]
