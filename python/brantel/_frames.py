"""Frames as the library takes them: rows of packed samples, any distance apart."""

from __future__ import annotations

import numpy as np
import numpy.typing as npt


def shape_of(columns: int, rows: int, channels: int) -> tuple[int, ...]:
    """The shape of a picture: grey ones have two axes, coloured ones three."""
    return (rows, columns) if channels == 1 else (rows, columns, channels)


def _has_usable_rows(frame: npt.NDArray[np.uint8]) -> bool:
    """Samples follow each other within a row, and rows do not overlap."""
    expected = 1
    for axis in range(frame.ndim - 1, 0, -1):
        if frame.shape[axis] > 1 and frame.strides[axis] != expected:
            return False
        expected *= frame.shape[axis]
    return frame.shape[0] == 1 or abs(frame.strides[0]) >= expected


def usable(frame: npt.ArrayLike, columns: int, rows: int, channels: int) -> tuple[npt.NDArray[np.uint8], int]:
    """The frame, copied only when its rows cannot be used as they lie, and the bytes from row to row.

    TypeError when its samples are not uint8, ValueError when it has another shape.
    """
    array = np.asarray(frame)
    if array.dtype != np.uint8:
        raise TypeError(f"a frame's samples must be uint8, not {array.dtype}")
    if channels == 1 and array.ndim == 3 and array.shape[2] == 1:
        array = array[:, :, 0]
    shape = shape_of(columns, rows, channels)
    if array.shape != shape:
        raise ValueError(f"a frame must have the shape {shape}, not {array.shape}")
    if not _has_usable_rows(array):
        array = np.ascontiguousarray(array)
    return array, array.strides[0] if rows > 1 else columns * channels
