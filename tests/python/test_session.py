"""Sessions from Python: what they answer, show, refuse and end."""

from __future__ import annotations

import dataclasses
import os
import pickle
import threading
from pathlib import Path
from typing import Iterator

import numpy as np
import pytest

import brantel
import scans
from brantel import Changes, FoundBy, Reason, Rectangle, State, Status
from brantel import _library as c
from brantel._errors import check

WHOLE = scans.picture(900, 520, 3)
PLACES = scans.serpentine(5, 3, 120, 90)


@pytest.fixture
def session() -> Iterator[brantel.Session]:
    with brantel.Session(scans.WIDTH, scans.HEIGHT, 3) as opened:
        yield opened


def add_all(session: brantel.Session) -> list[brantel.Answer]:
    return [session.add(scans.frame_at(WHOLE, place), tag=100 + i) for i, place in enumerate(PLACES)]


def test_every_frame_is_placed_where_it_was_taken(session: brantel.Session) -> None:
    answers = add_all(session)
    assert [(a.x, a.y) for a in answers] == [(place.x, place.y) for place in PLACES]
    assert {a.state for a in answers} == {State.PLACED}
    assert {a.reason for a in answers} == {Reason.NO_REASON}
    assert {a.map for a in answers} == {1}
    assert [a.frame for a in answers] == list(range(len(PLACES)))
    assert answers[0].found_by is FoundBy.BY_FIRST
    assert answers[1].found_by is FoundBy.BY_CORNERS
    assert answers[1].matches > 10
    assert answers[1].changed == Rectangle(120, 0, scans.WIDTH, scans.HEIGHT)
    assert answers[1].changes == Changes(0)
    assert all(a.placed_now == 1 for a in answers)


def test_frames_and_maps_tell_the_same(session: brantel.Session) -> None:
    answers = add_all(session)
    frames = session.frames()
    assert session.frame_count == len(frames) == len(PLACES)
    assert [(f.index, f.x, f.y, f.tag) for f in frames] == [
        (i, place.x, place.y, 100 + i) for i, place in enumerate(PLACES)
    ]
    assert frames[0].joins == -1
    assert 0 <= frames[1].joins < 1
    assert session.frame(3) == frames[3]
    assert frames[3].confidence == answers[3].confidence
    assert session.map_count == 1
    assert session.maps() == [session.map(1)]
    map_ = session.map(1)
    assert map_.rectangle == (0, 0, 720, 360)
    assert map_.frames == len(PLACES)
    assert map_.joined_into == 0
    assert map_.canvas_columns >= 720


def test_the_picture_is_what_the_frames_were_taken_of(session: brantel.Session) -> None:
    add_all(session)
    assert (session.picture() == WHOLE[:360, :720]).all()


def test_any_rectangle_can_be_had(session: brantel.Session) -> None:
    add_all(session)
    part = session.picture(rectangle=Rectangle(100, 50, 30, 20))
    assert part.shape == (20, 30, 3)
    assert (part == WHOLE[50:70, 100:130]).all()
    beyond = session.picture(map=1, rectangle=(-10, -5, 20, 10))
    assert (beyond[5:, 10:] == WHOLE[:5, :10]).all()
    assert not beyond[:5].any() and not beyond[:, :10].any()


def test_a_reduced_picture_holds_means(session: brantel.Session) -> None:
    add_all(session)
    reduced = session.picture(reduction=8)
    assert reduced.shape == (45, 90, 3)
    blocks = WHOLE[:360, :720].reshape(45, 8, 90, 8, 3).astype(float).mean(axis=(1, 3))
    assert (reduced == np.floor(blocks + 0.5)).all()
    assert session.picture(rectangle=(0, 0, 9, 17), reduction=8).shape == (3, 2, 3)


def test_grey_frames_make_grey_pictures() -> None:
    with brantel.Session(scans.WIDTH, scans.HEIGHT) as session:
        session.add(scans.frame_at(WHOLE[:, :, 1], PLACES[0]))
        assert session.channels == 1
        assert (session.picture() == WHOLE[: scans.HEIGHT, : scans.WIDTH, 1]).all()


def test_results_are_values(session: brantel.Session) -> None:
    answer = add_all(session)[-1]
    with pytest.raises(dataclasses.FrozenInstanceError):
        answer.x = 1  # type: ignore[misc]
    assert pickle.loads(pickle.dumps(answer)) == answer
    assert pickle.loads(pickle.dumps(session.maps())) == session.maps()


def test_a_new_map_begins_where_the_host_says(session: brantel.Session) -> None:
    session.add(scans.frame_at(WHOLE, PLACES[0]))
    session.begin_map()
    answer = session.add(scans.frame_at(WHOLE, PLACES[1]))
    assert (answer.map, answer.x, answer.y) == (2, 0, 0)
    assert [m.number for m in session.maps()] == [1, 2]
    assert (session.picture(map=2) == scans.frame_at(WHOLE, PLACES[1])).all()


def test_a_frame_that_joins_nothing_waits(session: brantel.Session) -> None:
    session.add(scans.frame_at(WHOLE, PLACES[0]))
    answer = session.add(scans.picture(scans.WIDTH, scans.HEIGHT, 3, seed=99))
    assert answer.state is State.WAITING
    assert answer.reason is Reason.NOTHING_JOINS
    assert answer.map == 0
    assert answer.changed is None
    assert session.frame(1).state is State.WAITING


def test_positions_place_what_shows_nothing() -> None:
    flat = np.full((scans.HEIGHT, scans.WIDTH), 100, np.uint8)
    with brantel.Session(scans.WIDTH, scans.HEIGHT, trust_positions=True) as session:
        session.add(flat, position=(1000.0, 50.0), uncertainty=2)
        answer = session.add(flat, position=(1100.0, 50.0), uncertainty=2)
    assert answer.found_by is FoundBy.BY_POSITION
    assert (answer.x, answer.y) == (100, 0)


def test_a_wrong_position_is_told(session: brantel.Session) -> None:
    session.add(scans.frame_at(WHOLE, PLACES[0]), position=(0, 0), uncertainty=3)
    answer = session.add(scans.frame_at(WHOLE, PLACES[1]), position=(60, 80), uncertainty=3)
    assert (answer.x, answer.y) == (120, 0)
    assert Changes.POSITION_CONTRADICTED in answer.changes


@pytest.mark.parametrize(
    ("settings", "status"),
    [
        ({"columns": 0}, Status.BAD_FRAME_SIZE),
        ({"rows": -1}, Status.BAD_FRAME_SIZE),
        ({"channels": 2}, Status.BAD_FRAME_SIZE),
        ({"density_level": 201}, Status.BAD_SETTING),
        ({"earlier_frames": 1001}, Status.BAD_SETTING),
        ({"waiting_frames": -1}, Status.BAD_SETTING),
        ({"memory": -1}, Status.BAD_SETTING),
        ({"acceptance": 2}, Status.BAD_SETTING),
    ],
)
def test_settings_that_cannot_be_used_are_refused(settings: dict[str, int], status: Status) -> None:
    with pytest.raises(brantel.BrantelError) as caught:
        brantel.Session(**{"columns": 240, "rows": 180, "channels": 1, **settings})
    assert caught.value.status is status
    assert str(caught.value) == brantel.status_text(status)


def test_numbers_are_never_cut_off(session: brantel.Session) -> None:
    with pytest.raises(ValueError, match="columns is out of range"):
        brantel.Session(240 + (1 << 32), 180)
    with pytest.raises(ValueError, match="earlier_frames is out of range"):
        brantel.Session(240, 180, earlier_frames=6 + (1 << 32))
    with pytest.raises(TypeError):
        brantel.Session(240.5, 180)  # type: ignore[arg-type]
    session.add(scans.frame_at(WHOLE, PLACES[0]), tag=(1 << 63) - 1)
    assert session.frame(0).tag == (1 << 63) - 1
    with pytest.raises(ValueError, match="tag is out of range"):
        session.add(scans.frame_at(WHOLE, PLACES[1]), tag=1 << 63)
    with pytest.raises(ValueError, match="out of range"):
        session.picture(map=1 + (1 << 32), rectangle=(0, 0, 1, 1))
    with pytest.raises(ValueError, match="out of range"):
        session.frame(1 << 64)
    assert session.frame_count == 1


def test_settings_reach_the_session() -> None:
    with brantel.Session(240, 180, waiting_frames=0) as session:
        session.add(scans.picture(240, 180, seed=1))
        answer = session.add(scans.picture(240, 180, seed=2))
        assert (answer.state, answer.reason) == (State.REFUSED, Reason.NOTHING_JOINS)
        assert (session.columns, session.rows, session.channels) == (240, 180, 1)


def test_refused_calls_say_why(session: brantel.Session) -> None:
    session.add(scans.frame_at(WHOLE, PLACES[0]))
    refusals = [
        (lambda: session.frame(1), Status.NO_SUCH_FRAME),
        (lambda: session.frame(-1), Status.NO_SUCH_FRAME),
        (lambda: session.map(0), Status.NO_SUCH_MAP),
        (lambda: session.picture(map=2), Status.NO_SUCH_MAP),
        (lambda: session.picture(reduction=3), Status.BAD_REDUCTION),
        (lambda: session.picture(rectangle=(0, 0, 1000001, 1)), Status.BAD_RECTANGLE),
        (lambda: session.add(scans.frame_at(WHOLE, PLACES[1]), position=(float("nan"), 0)), Status.BAD_POSITION),
    ]
    for call, status in refusals:
        with pytest.raises(brantel.BrantelError) as caught:
            call()
        assert caught.value.status is status
        assert caught.value.text == brantel.status_text(status)
        assert pickle.loads(pickle.dumps(caught.value)).status is status
    for rectangle in [(0, 0, 0, 1), (0, 0, 1, -1)]:
        with pytest.raises(ValueError, match="empty"):
            session.picture(rectangle=rectangle)
    with pytest.raises(ValueError, match="at least 1"):
        session.picture(reduction=0)
    assert session.add(scans.frame_at(WHOLE, PLACES[1])).state is State.PLACED


def test_missing_memory_is_a_memory_error() -> None:
    with pytest.raises(MemoryError) as caught:
        check(Status.NO_MEMORY)
    assert isinstance(caught.value, brantel.BrantelError)
    assert caught.value.status is Status.NO_MEMORY


def test_a_new_session_is_empty(session: brantel.Session) -> None:
    assert (session.frame_count, session.map_count) == (0, 0)
    assert (session.frames(), session.maps()) == ([], [])


def test_a_closed_session_says_so() -> None:
    session = brantel.Session(240, 180)
    assert not session.closed
    session.close()
    session.close()
    assert session.closed
    for call in (session.frames, session.begin_map, session.picture, lambda: session.frame_count):
        with pytest.raises(ValueError, match="the session is closed"):
            call()
    with brantel.Session(240, 180) as other:
        pass
    assert other.closed


def test_a_session_that_nobody_holds_ends_its_threads() -> None:
    def threads() -> int:
        return len(list(Path("/proc/self/task").iterdir()))

    if not Path("/proc/self/task").exists():
        pytest.skip("threads cannot be counted here")
    before = threads()
    session = brantel.Session(240, 180, on_line=print)
    assert threads() == before + 2
    del session
    assert threads() == before


def test_lines_arrive_during_the_call() -> None:
    lines: list[str] = []
    with brantel.Session(scans.WIDTH, scans.HEIGHT, 3, on_line=lines.append) as session:
        session.add(scans.frame_at(WHOLE, PLACES[0]))
        session.add(scans.frame_at(WHOLE, PLACES[1]))
        heard = len(lines)
        assert heard > 0
        assert all(line and "\n" not in line for line in lines)
    assert len(lines) == heard


@pytest.mark.parametrize("kind", [RuntimeError, KeyboardInterrupt])
def test_what_the_line_function_raises_arrives_after_the_call(kind: type[BaseException]) -> None:
    angry = False

    def on_line(line: str) -> None:
        if angry:
            raise kind(line)

    with brantel.Session(scans.WIDTH, scans.HEIGHT, 3, on_line=on_line) as session:
        raised = 0
        angry = True
        for place in PLACES[:3]:
            try:
                session.add(scans.frame_at(WHOLE, place))
            except kind:
                raised += 1
        angry = False
        assert raised > 0
        # The calls had done their work, and nothing is raised twice.
        assert [(f.x, f.y) for f in session.frames()] == [(p.x, p.y) for p in PLACES[:3]]


def test_a_line_function_that_raises_while_a_session_is_opened_leaves_none(monkeypatch: pytest.MonkeyPatch) -> None:
    def open_with_a_line(settings: c.Settings, handle: object) -> int:
        settings.on_line(None, b"good morning")
        return real(settings, handle)

    def on_line(line: str) -> None:
        raise RuntimeError(line)

    real = c.library.brantel_session_open
    closed: list[int] = []
    monkeypatch.setattr(c.library, "brantel_session_open", open_with_a_line)
    monkeypatch.setattr(c.library, "brantel_session_close", closed.append)
    with pytest.raises(RuntimeError, match="good morning"):
        brantel.Session(scans.WIDTH, scans.HEIGHT, on_line=on_line)
    monkeypatch.undo()
    assert len(closed) == 1
    c.library.brantel_session_close(closed[0])


def test_a_session_in_use_refuses_calls_of_its_own_line_function() -> None:
    refused: list[Status] = []
    opened: list[brantel.Session] = []

    def on_line(_line: str) -> None:
        for session in opened:
            for call in (session.frames, session.close):
                try:
                    call()
                except brantel.BrantelError as error:
                    refused.append(error.status)

    with brantel.Session(scans.WIDTH, scans.HEIGHT, 3, on_line=on_line) as session:
        opened.append(session)
        for place in PLACES[:2]:
            session.add(scans.frame_at(WHOLE, place))
        assert session.frame_count == 2
    assert refused and set(refused) == {Status.IN_USE}


def test_sessions_in_threads_do_not_disturb_each_other() -> None:
    results: list[list[tuple[int, int]]] = []

    def stitch() -> None:
        with brantel.Session(scans.WIDTH, scans.HEIGHT, 3) as own:
            results.append([(a.x, a.y) for a in add_all(own)])

    threads = [threading.Thread(target=stitch) for _ in range(3)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [[(place.x, place.y) for place in PLACES]] * 3


@pytest.mark.skipif(not hasattr(os, "fork"), reason="no fork here")
def test_a_forked_child_is_refused_and_may_close(session: brantel.Session) -> None:
    session.add(scans.frame_at(WHOLE, PLACES[0]))
    child = os.fork()
    if child == 0:
        refused = 0
        try:
            for call in (session.frames, session.maps, session.begin_map, lambda: session.map_count):
                try:
                    call()
                except brantel.BrantelError as error:
                    refused += error.status is Status.FORKED
            session.close()
        finally:
            os._exit(refused)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 4
    assert session.add(scans.frame_at(WHOLE, PLACES[1])).state is State.PLACED
