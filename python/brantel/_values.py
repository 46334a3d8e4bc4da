"""The numbers of the C interface by their names."""

from __future__ import annotations

from enum import IntEnum, IntFlag


class _Named(IntEnum):
    """Takes values that a newer library may know, too: an answer is never lost for its number."""

    @classmethod
    def _missing_(cls, value: object) -> _Named | None:
        if not isinstance(value, int):
            return None
        member = int.__new__(cls, value)
        member._name_ = f"UNKNOWN_{value}"
        member._value_ = value
        return member


class Status(_Named):
    """Why a call failed."""

    OK = 0
    NULL_ARGUMENT = 1
    BAD_STRUCT_SIZE = 2
    BAD_FRAME_SIZE = 3  #: columns, rows or channels cannot be used
    BAD_STRIDE = 4
    BAD_SETTING = 5  #: a setting is out of its range
    BAD_POSITION = 6  #: a position or its uncertainty is not a number or out of its range
    NO_SUCH_FRAME = 7
    NO_SUCH_MAP = 8
    BAD_RECTANGLE = 9
    BAD_REDUCTION = 10  #: not a power of two from 1 to 1024
    NO_MEMORY = 11
    NO_THREADS = 12  #: the system gave no threads
    IN_USE = 13  #: another call on this session has not returned yet
    FORKED = 14  #: the session belongs to the process that this one was forked from
    TOO_LARGE = 15  #: a map would become longer than 2147483647 pixels
    INTERNAL_ERROR = 16


class State(_Named):
    """What became of a frame."""

    PLACED = 1  #: merged into a map
    SKIPPED = 2  #: its place is known, but it shows nothing new
    WAITING = 3  #: nothing joins it yet; it is tried again later
    REFUSED = 4  #: not merged, for good


class Reason(_Named):
    """Why a frame was not placed."""

    NO_REASON = 0
    SHIFT_TOO_SMALL = 1  #: less than 10 % of a side
    SHIFT_TOO_LARGE = 2  #: 90 % of a side or more, where the settings do not allow that
    TOO_FEW_CORNERS = 3
    TOO_FEW_MATCHES = 4
    BRIGHTNESS = 5  #: failed the brightness test
    MOTION = 6  #: failed the motion test
    NOTHING_JOINS = 7  #: no frame was found that it overlaps for certain
    NO_ROOM_TO_WAIT = 8  #: it waited and had to make room for a newer frame
    MAP_ENDED = 9  #: it waited when a new map was begun


class FoundBy(_Named):
    """How a frame's position was found."""

    NOT_FOUND = 0
    BY_FIRST = 1  #: it began its map
    BY_CORNERS = 2
    BY_CORRELATION = 3
    BY_POSITION = 4  #: as the host said


class Acceptance(_Named):
    """By which test a registered frame is accepted."""

    BY_BRIGHTNESS = 0  #: the overlap is about as bright in both frames
    BY_MOTION = 1  #: the frame differs little from the last one


class Changes(IntFlag):
    """What adding a frame changed beside that frame."""

    EARLIER_PLACED = 1  #: frames that waited were placed or skipped
    EARLIER_REFUSED = 2  #: a frame that waited was refused
    MAPS_JOINED = 4  #: earlier frames' maps and positions have changed
    MEMORY_MOVED = 8  #: the map's canvas grew; no position changed
    POSITION_CONTRADICTED = 16  #: the frame lies elsewhere than its position said
