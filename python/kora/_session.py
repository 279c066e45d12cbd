"""The process's sample rate and timecode format, which the library counts frames against.

Each song has its own rate and format. They are made the process's before a call that asks for frames, so that
songs of different rates stand beside one another.
"""
from __future__ import annotations

from typing import Optional, Tuple

from kora._library import lib
from kora.errors import check

TIMECODES = {
    "24": 1,
    "25": 2,
    "29.97": 3,
    "29.97drop": 5,
    "30": 7,
    "30drop": 8,
    "23.976": 9,
    "50": 10,
    "59.94": 11,
    "59.94drop": 12,
    "60": 13,
    "60drop": 14,
}
TIMECODE_NAMES = {number: name for name, number in TIMECODES.items()}

Session = Tuple[float, int]
DEFAULT: Session = (44100.0, 7)
_current: Optional[Session] = None


def wanted(rate: float, timecode: str) -> Session:
    """A rate and a timecode format as the library takes them."""
    if timecode not in TIMECODES:
        raise ValueError(f"timecode {timecode!r} is none of {', '.join(TIMECODES)}")
    return float(rate), TIMECODES[timecode]


def use(session: Session) -> None:
    """Makes this the process's."""
    global _current
    if session != _current:
        check(lib.kora_set_session(*session))
        _current = session
