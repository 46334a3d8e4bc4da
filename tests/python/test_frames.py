"""Frames of any layout are taken, without a copy where that is possible."""

from __future__ import annotations

import ctypes
from typing import Any, Callable

import numpy as np
import numpy.typing as npt
import pytest

import brantel
import scans
from brantel._frames import usable

Picture = npt.NDArray[np.uint8]
ROWS, COLUMNS = 6, 5


def numbered(channels: int) -> Picture:
    shape = (ROWS, COLUMNS) if channels == 1 else (ROWS, COLUMNS, channels)
    return np.arange(np.prod(shape), dtype=np.uint8).reshape(shape)


def window(frame: Picture) -> Picture:
    wide = np.zeros((frame.shape[0] + 4, frame.shape[1] + 7, *frame.shape[2:]), np.uint8)
    wide[2:-2, 3:-4] = frame
    return wide[2:-2, 3:-4]


def bottom_up(frame: Picture) -> Picture:
    return np.ascontiguousarray(frame[::-1])[::-1]


def every_other_row(frame: Picture) -> Picture:
    return np.repeat(frame, 2, axis=0)[::2]


def mirrored(frame: Picture) -> Picture:
    return np.ascontiguousarray(frame[:, ::-1])[:, ::-1]


def column_major(frame: Picture) -> Picture:
    return np.asfortranarray(frame)


def every_other_column(frame: Picture) -> Picture:
    return np.repeat(frame, 2, axis=1)[:, ::2]


def as_read(array: Picture, stride: int, row_bytes: int) -> bytes:
    """What C sees: rows of packed samples from the first one's address on."""
    first = array.ctypes.data
    return b"".join(ctypes.string_at(first + row * stride, row_bytes) for row in range(ROWS))


LAYOUTS: list[tuple[Callable[[Picture], Picture], bool]] = [
    (np.copy, False),
    (window, False),
    (bottom_up, False),
    (every_other_row, False),
    (mirrored, True),
    (column_major, True),
    (every_other_column, True),
]


@pytest.mark.parametrize("channels", [1, 3])
@pytest.mark.parametrize(("layout", "copied"), LAYOUTS, ids=lambda value: getattr(value, "__name__", ""))
def test_rows_are_used_where_they_lie(channels: int, layout: Callable[[Picture], Picture], copied: bool) -> None:
    frame = numbered(channels)
    given = layout(frame)
    assert (given == frame).all()
    array, stride = usable(given, COLUMNS, ROWS, channels)
    assert np.shares_memory(array, given) != copied
    assert as_read(array, stride, COLUMNS * channels) == frame.tobytes()


def test_one_colour_of_a_picture_is_copied() -> None:
    colours = numbered(3)
    array, stride = usable(colours[:, :, 1], COLUMNS, ROWS, 1)
    assert as_read(array, stride, COLUMNS) == colours[:, :, 1].tobytes()


def test_rows_that_overlap_are_copied() -> None:
    same_row = np.broadcast_to(np.arange(COLUMNS, dtype=np.uint8), (ROWS, COLUMNS))
    array, stride = usable(same_row, COLUMNS, ROWS, 1)
    assert stride == COLUMNS
    assert as_read(array, stride, COLUMNS) == same_row.tobytes()


def test_one_row_and_one_column_may_have_any_stride() -> None:
    row, stride = usable(numbered(1)[2:3][::-1], COLUMNS, 1, 1)
    assert stride == COLUMNS
    assert (row == numbered(1)[2:3]).all()
    column = numbered(1)[:, 2:3]
    array, stride = usable(column, 1, ROWS, 1)
    assert np.shares_memory(array, column)
    assert stride == COLUMNS
    assert as_read(array, stride, 1) == column.tobytes()


def test_a_grey_frame_may_have_an_axis_of_one_channel() -> None:
    array, stride = usable(numbered(1)[:, :, np.newaxis], COLUMNS, ROWS, 1)
    assert as_read(array, stride, COLUMNS) == numbered(1).tobytes()


def test_whatever_has_a_buffer_is_a_frame() -> None:
    held = bytearray(numbered(1).tobytes())
    array, stride = usable(memoryview(held).cast("B", (ROWS, COLUMNS)), COLUMNS, ROWS, 1)
    assert as_read(array, stride, COLUMNS) == bytes(held)


@pytest.mark.parametrize("dtype", [np.int8, np.uint16, np.float32, bool])
def test_other_samples_are_refused(dtype: Any) -> None:
    with brantel.Session(COLUMNS, ROWS) as session:
        with pytest.raises(TypeError, match="must be uint8"):
            session.add(np.zeros((ROWS, COLUMNS), dtype))
        assert session.frame_count == 0


@pytest.mark.parametrize(
    "shape", [(ROWS,), (COLUMNS, ROWS), (ROWS, COLUMNS, 3), (ROWS, COLUMNS, 2), (1, ROWS, COLUMNS), (ROWS, 0)]
)
def test_other_shapes_are_refused(shape: tuple[int, ...]) -> None:
    with brantel.Session(COLUMNS, ROWS) as session:
        with pytest.raises(ValueError, match=r"must have the shape \(6, 5\)"):
            session.add(np.zeros(shape, np.uint8))
        assert session.frame_count == 0


@pytest.mark.parametrize("layout", [layout for layout, _ in LAYOUTS])
@pytest.mark.parametrize("channels", [1, 3])
def test_the_layout_changes_nothing(layout: Callable[[Picture], Picture], channels: int) -> None:
    whole = scans.picture(600, 300, channels)
    places = scans.serpentine(3, 2, 120, 90)
    with brantel.Session(scans.WIDTH, scans.HEIGHT, channels) as session:
        for place in places:
            frame = layout(scans.frame_at(whole, place))
            before = frame.copy()
            answer = session.add(frame)
            assert (answer.x, answer.y) == (place.x, place.y)
            assert (frame == before).all()
        assert session.picture().shape[:2] == (270, 480)
