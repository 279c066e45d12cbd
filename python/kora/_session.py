"""The process's sample rate and timecode format, which the library counts frames against.

Each song has its own rate and format. They are made the process's for a call that asks for frames, so that
songs of different rates stand beside one another, those of other threads too.
"""
from __future__ import annotations

from typing import Any, Optional, Tuple

from kora._library import lib, turns
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
_current: Optional[Session] = None  # not known while it changes
_changes = 0


def wanted(rate: float, timecode: str) -> Session:
    """A rate and a timecode format as the library takes them."""
    if timecode not in TIMECODES:
        raise ValueError(f"timecode {timecode!r} is none of {', '.join(TIMECODES)}")
    return float(rate), TIMECODES[timecode]


def _set(session: Optional[Session]) -> None:
    global _current, _changes
    if session is not None and session != _current:
        _current = None
        _changes += 1
        check(lib.kora_set_session(*session))
        _current = session


class use:
    """Makes this the process's for the calls within; other threads wait.

    Whoever is called back within, and uses another, comes back to this one.
    """

    __slots__ = ("_session", "_before")
    _depth = 0  # of those that are open, one inside another

    def __init__(self, session: Session) -> None:
        self._session = session
        self._before: Optional[Session] = None

    def __enter__(self) -> None:
        turns.acquire()
        try:
            self._before = _current
            _set(self._session)
            use._depth += 1
        except BaseException:
            turns.release()
            raise

    def __exit__(self, *_: object) -> None:
        try:
            use._depth -= 1
            if use._depth > 0:
                _set(self._before)
        finally:
            turns.release()


def ask(session: Session, call: Any, *arguments: Any) -> Any:
    """What the call answers within the session. It calls nobody back, and may be made twice.

    Where the session is the process's it waits for no turn: if another thread came between, all is asked anew.
    """
    before = _changes
    if session == _current:
        answer = call(*arguments)
        if before == _changes:
            return answer
    with use(session):
        return call(*arguments)
