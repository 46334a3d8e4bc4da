"""Pictures of their own making and scans over them whose truth is known."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

WIDTH, HEIGHT = 240, 180


@dataclass(frozen=True)
class Place:
    x: int
    y: int


def picture(columns: int, rows: int, channels: int = 1, seed: int = 7) -> npt.NDArray[np.uint8]:
    """Blotches of several sizes, which no two places have alike; no sample is 0."""
    random = np.random.default_rng(seed)
    sum_ = np.zeros((rows, columns, channels))
    for size in (1, 4, 16):
        cells = random.integers(0, 256, (rows // size + 1, columns // size + 1, channels))
        sum_ += cells.repeat(size, axis=0).repeat(size, axis=1)[:rows, :columns]
    painted = (20 + sum_ * 0.27).astype(np.uint8)
    return painted[:, :, 0] if channels == 1 else painted


def serpentine(across: int, down: int, step_x: int, step_y: int) -> list[Place]:
    """To the right, one row down, to the left."""
    return [
        Place(step_x * (i if row % 2 == 0 else across - 1 - i), step_y * row)
        for row in range(down)
        for i in range(across)
    ]


def frame_at(whole: npt.NDArray[np.uint8], place: Place) -> npt.NDArray[np.uint8]:
    """A window of the picture: its rows lie as far apart as those of the picture."""
    return whole[place.y : place.y + HEIGHT, place.x : place.x + WIDTH]
