"""Live mosaicking of overlapping camera frames.

>>> import brantel
>>> with brantel.Session(640, 480) as session:
...     for frame in camera:                    # uint8, shape (480, 640)
...         answer = session.add(frame)
...         print(answer.state.name, answer.x, answer.y)
...     mosaic = session.picture()
"""

from __future__ import annotations

from ._errors import BrantelError, NoMemoryError, status_text
from . import _library as _c
from ._results import Answer, Frame, Map, Rectangle
from ._session import Session
from ._values import Acceptance, Changes, FoundBy, Reason, State, Status

__all__ = [
    "Acceptance",
    "Answer",
    "BrantelError",
    "Changes",
    "FoundBy",
    "Frame",
    "Map",
    "NoMemoryError",
    "Reason",
    "Rectangle",
    "Session",
    "State",
    "Status",
    "found_by_text",
    "reason_text",
    "state_text",
    "status_text",
    "version",
]


def version() -> str:
    """The library's version, for instance "0.1.0"."""
    return _c.text(_c.library.brantel_version())


def state_text(state: int) -> str:
    """A frame's state in English, for messages."""
    return _c.text(_c.library.brantel_state_text(state))


def reason_text(reason: int) -> str:
    """Why a frame was not placed, in English, for messages."""
    return _c.text(_c.library.brantel_reason_text(reason))


def found_by_text(found_by: int) -> str:
    """How a frame's position was found, in English, for messages."""
    return _c.text(_c.library.brantel_found_by_text(found_by))
