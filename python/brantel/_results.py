"""What a session tells: answers, frames and maps."""

from __future__ import annotations

from dataclasses import dataclass
from typing import NamedTuple

from . import _library as c
from ._values import Changes, FoundBy, Reason, State


class Rectangle(NamedTuple):
    """A part of a map, in pixels: x to the right, y down, (0, 0) where the map's first frame begins."""

    x: int
    y: int
    width: int
    height: int


@dataclass(frozen=True)
class Answer:
    """What became of a frame that was added."""

    frame: int  #: the frame's index, from 0 in the order of adding
    state: State
    reason: Reason  #: why it was not placed
    found_by: FoundBy  #: how its position was found
    map: int  #: number of the map in which its place is known, from 1; 0: not known
    x: int  #: of its top-left pixel in that map, pixels to the right
    y: int  #: the same, pixels down
    matches: int  #: corner matches that support the place; 0 when corners were not asked
    confidence: float  #: 0 to 1: how well the pictures support the place
    placed_now: int  #: frames that this call placed, waiting ones included
    changes: Changes  #: what changed beside this frame
    changed: Rectangle | None  #: outside of it no pixel of the map changed; None when none did


@dataclass(frozen=True)
class Frame:
    """What is known about a frame now."""

    index: int  #: from 0 in the order of adding
    state: State
    reason: Reason  #: why it was not placed
    found_by: FoundBy  #: how its position was found
    map: int  #: number of the map in which its place is known, from 1; 0: not known
    x: int  #: of its top-left pixel in that map, pixels to the right
    y: int  #: the same, pixels down
    matches: int  #: corner matches that support the place; 0 when corners were not asked
    confidence: float  #: 0 to 1: how well the pictures support the place
    tag: int  #: as given
    joins: int  #: index of the frame that it was joined to; -1: none


@dataclass(frozen=True)
class Map:
    """What is known about a map now."""

    number: int  #: from 1
    rectangle: Rectangle  #: the smallest that holds all of its frames; all 0 once it has been joined
    frames: int  #: placed in it
    joined_into: int  #: number of the map that it moved over into; 0: it is in use
    joined_x: int  #: what was added to its coordinates then, pixels
    joined_y: int  #: the same
    canvas_columns: int  #: of the canvas behind it, which grows by leaps, pixels
    canvas_rows: int  #: the same


def answer_from(told: c.Answer) -> Answer:
    changed = Rectangle(told.changed_x, told.changed_y, told.changed_width, told.changed_height)
    return Answer(
        frame=told.frame,
        state=State(told.state),
        reason=Reason(told.reason),
        found_by=FoundBy(told.found_by),
        map=told.map,
        x=told.x,
        y=told.y,
        matches=told.matches,
        confidence=told.confidence,
        placed_now=told.placed_now,
        changes=Changes(told.changes),
        changed=changed if changed.width > 0 else None,
    )


def frame_from(index: int, told: c.Frame) -> Frame:
    return Frame(
        index=index,
        state=State(told.state),
        reason=Reason(told.reason),
        found_by=FoundBy(told.found_by),
        map=told.map,
        x=told.x,
        y=told.y,
        matches=told.matches,
        confidence=told.confidence,
        tag=told.tag,
        joins=told.joins,
    )


def map_from(number: int, told: c.Map) -> Map:
    return Map(
        number=number,
        rectangle=Rectangle(told.x, told.y, told.width, told.height),
        frames=told.frames,
        joined_into=told.joined_into,
        joined_x=told.joined_x,
        joined_y=told.joined_y,
        canvas_columns=told.canvas_columns,
        canvas_rows=told.canvas_rows,
    )
