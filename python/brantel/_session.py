"""Sessions."""

from __future__ import annotations

import ctypes
import threading
import weakref
from contextlib import contextmanager
from operator import index as as_integer
from types import TracebackType
from typing import Any, Callable, Iterator

import numpy as np
import numpy.typing as npt

from . import _library as c
from ._errors import BrantelError, check, status_text
from ._frames import shape_of, usable
from ._lines import LineListener
from ._results import Answer, Frame, Map, answer_from, frame_from, map_from
from ._values import Acceptance, Status


def _in_bits(value: int, bits: int, name: str) -> int:
    """The integer itself: ctypes would cut off what does not fit."""
    number = as_integer(value)
    if not -(1 << (bits - 1)) <= number < 1 << (bits - 1):
        raise ValueError(f"{name} is out of range: {number}")
    return number


class Session:
    """Live mosaicking of frames of one kind. To be closed, or used by ``with``.

    A session is to be used by one thread at a time; a call while another one runs raises
    :class:`BrantelError` with ``Status.IN_USE``. Other threads of Python run meanwhile.

    :param columns: width of a frame, pixels
    :param rows: height of a frame, pixels
    :param channels: 1 (grey) or 3 (blue, green, red)
    :param density_level: -100 to 200, default 8: corners per frame = ((level + 8) * 500) // 16 - 100
    :param acceptance: by which test frames are accepted, default brightness
    :param strict: the tests' narrow limits, for a standing camera; default False
    :param correlation: keep the track by correlation, default True
    :param trust_correlation: use a certain correlation where corners say nothing, default True
    :param small_overlaps: merge frames shifted by 90 % of a side and more, too; default True
    :param earlier_frames: 0 to 1000, default 6: with how many earlier frames a frame is compared at most
    :param waiting_frames: 0 to 10000, default 64: how many frames may wait
    :param join_maps: maps that a frame connects become one, default True
    :param trust_positions: place a frame whose picture says nothing by its position, default False
    :param memory: bytes for waiting frames and what is kept of placed ones, default 512 MiB
    :param on_line: receives what the session has to say, line by line, for diagnosis. What it raises is raised
        again by the call that was under way, which has done its work all the same; only no session is opened.
    """

    def __init__(
        self,
        columns: int,
        rows: int,
        channels: int = 1,
        *,
        density_level: int | None = None,
        acceptance: Acceptance | None = None,
        strict: bool | None = None,
        correlation: bool | None = None,
        trust_correlation: bool | None = None,
        small_overlaps: bool | None = None,
        earlier_frames: int | None = None,
        waiting_frames: int | None = None,
        join_maps: bool | None = None,
        trust_positions: bool | None = None,
        memory: int | None = None,
        on_line: Callable[[str], Any] | None = None,
    ) -> None:
        given = {name: value for name, value in locals().items() if name not in ("self", "on_line")}
        settings = c.sized(c.Settings)
        check(c.library.brantel_default_settings(settings))
        for name, value in given.items():
            if value is not None:
                setattr(settings, name, _in_bits(value, 64 if name == "memory" else 32, name))
        self._listener = LineListener(on_line) if on_line is not None else None
        if self._listener is not None:
            settings.on_line = self._listener.function
        self._columns: int = settings.columns
        self._rows: int = settings.rows
        self._channels: int = settings.channels
        self._lock = threading.Lock()
        handle = ctypes.c_void_p()
        check(c.library.brantel_session_open(settings, handle))
        # Not at the interpreter's end: a thread may still be in a call, and the memory goes with the process.
        self._close = weakref.finalize(self, c.library.brantel_session_close, handle.value)
        self._close.atexit = False
        self._handle = handle.value or 0
        try:
            self._raise_heard()
        except BaseException:
            self._close()
            raise

    @property
    def columns(self) -> int:
        """Width of a frame, pixels."""
        return self._columns

    @property
    def rows(self) -> int:
        """Height of a frame, pixels."""
        return self._rows

    @property
    def channels(self) -> int:
        """1 (grey) or 3 (blue, green, red)."""
        return self._channels

    @property
    def closed(self) -> bool:
        """Whether the session has been closed."""
        return not self._close.alive

    def close(self) -> None:
        """Ends the session and frees all that it holds. A second time nothing happens."""
        if not self._lock.acquire(blocking=False):
            raise BrantelError(Status.IN_USE, status_text(Status.IN_USE))
        try:
            self._close()
        finally:
            self._lock.release()

    def __enter__(self) -> Session:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def add(
        self,
        frame: npt.ArrayLike,
        *,
        position: tuple[float, float] | None = None,
        uncertainty: float = 0.0,
        tag: int = 0,
    ) -> Answer:
        """Adds a frame.

        :param frame: uint8 samples of the shape (rows, columns) or (rows, columns, 3). Neither written to nor kept;
            copied only when the samples of a row do not follow each other.
        :param position: where the frame's top-left pixel is believed to lie, pixels to the right and down, in a
            system of the host's own: only differences count
        :param uncertainty: how far a difference of positions may be off, pixels; 0: unknown
        :param tag: any number, for instance a time; handed back with the frame
        :return: what became of it. A frame that was not placed is no error.
        """
        rows, stride = usable(frame, self._columns, self._rows, self._channels)
        given = c.sized(c.Input)
        given.stride = stride
        given.tag = _in_bits(tag, 64, "tag")
        if position is not None:
            given.has_position = 1
            given.x, given.y = position
            given.uncertainty = uncertainty
        told = c.sized(c.Answer)
        with self._call() as handle:
            check(c.library.brantel_session_add(handle, rows.ctypes.data, given, told), handle)
        return answer_from(told)

    def begin_map(self) -> None:
        """Ends the present map: the next frame begins a new one, which is never joined to those before."""
        with self._call() as handle:
            check(c.library.brantel_session_begin_map(handle), handle)

    @property
    def frame_count(self) -> int:
        """How many frames were added."""
        with self._call() as handle:
            return self._count(handle, c.library.brantel_session_frame_count)

    @property
    def map_count(self) -> int:
        """How many maps were ever begun."""
        with self._call() as handle:
            return self._count(handle, c.library.brantel_session_map_count)

    def frame(self, index: int) -> Frame:
        """What is known about a frame now.

        :param index: from 0 in the order of adding
        """
        with self._call() as handle:
            return self._frame(handle, index)

    def frames(self) -> list[Frame]:
        """What is known about all frames now, in the order of adding."""
        with self._call() as handle:
            count = self._count(handle, c.library.brantel_session_frame_count)
            return [self._frame(handle, index) for index in range(count)]

    def map(self, number: int) -> Map:
        """What is known about a map now.

        :param number: from 1
        """
        with self._call() as handle:
            return self._map(handle, number)

    def maps(self) -> list[Map]:
        """What is known about all maps that were ever begun; number 1 comes first."""
        with self._call() as handle:
            count = self._count(handle, c.library.brantel_session_map_count)
            return [self._map(handle, number) for number in range(1, count + 1)]

    def picture(
        self,
        map: int = 1,
        rectangle: tuple[int, int, int, int] | None = None,
        reduction: int = 1,
    ) -> npt.NDArray[np.uint8]:
        """A copy of a part of a map; 0 where there is no frame.

        :param map: the map's number, from 1. A map that was joined into another one is read there, at its own
            coordinates.
        :param rectangle: x, y, width and height in pixels of the map; may reach beyond it. Default: all of the map
        :param reduction: 1, 2, 4, ... 1024: so many pixels of the map become one each way, by their mean. What the
            last ones cover may reach beyond the rectangle.
        :return: uint8 samples of the shape (rows, columns) or (rows, columns, 3)
        """
        if as_integer(reduction) < 1:
            raise ValueError(f"a reduction must be at least 1, not {reduction}")
        with self._call() as handle:
            if rectangle is None:
                rectangle = self._map(handle, map).rectangle
                if rectangle.width == 0:
                    raise ValueError(f"map {map} holds no frame of its own any more: name a rectangle")
            x, y, width, height = (_in_bits(value, 32, "rectangle") for value in rectangle)
            if width < 1 or height < 1:
                raise ValueError(f"a rectangle must not be empty: {tuple(rectangle)}")
            columns, rows = -(-width // reduction), -(-height // reduction)
            pixels = np.empty(shape_of(columns, rows, self._channels), np.uint8)
            number, factor = _in_bits(map, 32, "map"), _in_bits(reduction, 32, "reduction")
            status = c.library.brantel_session_read(
                handle, number, x, y, columns, rows, factor, pixels.ctypes.data, 0
            )
            check(status, handle)
        return pixels

    @contextmanager
    def _call(self) -> Iterator[int]:
        """Keeps other threads and the host's own line function out while the library is called."""
        if not self._lock.acquire(blocking=False):
            raise BrantelError(Status.IN_USE, status_text(Status.IN_USE))
        try:
            if self.closed:
                raise ValueError("the session is closed")
            yield self._handle
        except Exception as error:
            error.__cause__ = self._heard() or error.__cause__
            raise
        finally:
            self._lock.release()
        self._raise_heard()

    def _heard(self) -> BaseException | None:
        """What the host's own line function has raised."""
        return self._listener.take() if self._listener is not None else None

    def _raise_heard(self) -> None:
        heard = self._heard()
        if heard is not None:
            raise heard

    @staticmethod
    def _count(handle: int, function: Callable[[int], int]) -> int:
        count = function(handle)
        if count == 0:  # also what a session answers that cannot be asked: a question with a status tells
            status = c.library.brantel_session_frame(handle, -1, c.sized(c.Frame))
            if status != Status.NO_SUCH_FRAME:
                check(status, handle)
        return count

    @staticmethod
    def _frame(handle: int, index: int) -> Frame:
        told = c.sized(c.Frame)
        check(c.library.brantel_session_frame(handle, _in_bits(index, 64, "index"), told), handle)
        return frame_from(index, told)

    @staticmethod
    def _map(handle: int, number: int) -> Map:
        told = c.sized(c.Map)
        check(c.library.brantel_session_map(handle, _in_bits(number, 32, "number"), told), handle)
        return map_from(number, told)
