"""The C interface as ctypes sees it: brantel/session.h, declared once more."""

from __future__ import annotations

import ctypes
import os
import sys
from ctypes import POINTER, c_char_p, c_double, c_int32, c_int64, c_uint32, c_void_p
from pathlib import Path
from typing import TypeVar

LineFunction = ctypes.CFUNCTYPE(None, c_void_p, c_char_p)


class Settings(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("columns", c_int32),
        ("rows", c_int32),
        ("channels", c_int32),
        ("stride", c_int64),
        ("density_level", c_int32),
        ("acceptance", c_int32),
        ("strict", c_int32),
        ("correlation", c_int32),
        ("trust_correlation", c_int32),
        ("small_overlaps", c_int32),
        ("earlier_frames", c_int32),
        ("waiting_frames", c_int32),
        ("join_maps", c_int32),
        ("trust_positions", c_int32),
        ("memory", c_int64),
        ("on_line", LineFunction),
        ("user", c_void_p),
    ]


class Input(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("has_position", c_int32),
        ("stride", c_int64),
        ("tag", c_int64),
        ("x", c_double),
        ("y", c_double),
        ("uncertainty", c_double),
    ]


class Frame(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("state", c_int32),
        ("reason", c_int32),
        ("found_by", c_int32),
        ("map", c_int32),
        ("x", c_int32),
        ("y", c_int32),
        ("matches", c_int32),
        ("confidence", c_double),
        ("tag", c_int64),
        ("joins", c_int64),
    ]


class Answer(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("changes", c_uint32),
        ("frame", c_int64),
        ("state", c_int32),
        ("reason", c_int32),
        ("found_by", c_int32),
        ("map", c_int32),
        ("x", c_int32),
        ("y", c_int32),
        ("matches", c_int32),
        ("placed_now", c_int32),
        ("confidence", c_double),
        ("changed_x", c_int32),
        ("changed_y", c_int32),
        ("changed_width", c_int32),
        ("changed_height", c_int32),
    ]


class Map(ctypes.Structure):
    _fields_ = [
        ("size", c_uint32),
        ("joined_into", c_int32),
        ("joined_x", c_int32),
        ("joined_y", c_int32),
        ("x", c_int32),
        ("y", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("frames", c_int64),
        ("canvas_columns", c_int32),
        ("canvas_rows", c_int32),
    ]


#: Result and arguments of every function. A session is a plain pointer here.
PROTOTYPES = {
    "brantel_version": (c_char_p, []),
    "brantel_status_text": (c_char_p, [c_int32]),
    "brantel_state_text": (c_char_p, [c_int32]),
    "brantel_reason_text": (c_char_p, [c_int32]),
    "brantel_found_by_text": (c_char_p, [c_int32]),
    "brantel_default_settings": (c_int32, [POINTER(Settings)]),
    "brantel_session_open": (c_int32, [POINTER(Settings), POINTER(c_void_p)]),
    "brantel_session_close": (None, [c_void_p]),
    "brantel_session_add": (c_int32, [c_void_p, c_void_p, POINTER(Input), POINTER(Answer)]),
    "brantel_session_begin_map": (c_int32, [c_void_p]),
    "brantel_session_frame_count": (c_int64, [c_void_p]),
    "brantel_session_map_count": (c_int32, [c_void_p]),
    "brantel_session_frame": (c_int32, [c_void_p, c_int64, POINTER(Frame)]),
    "brantel_session_map": (c_int32, [c_void_p, c_int32, POINTER(Map)]),
    "brantel_session_read": (
        c_int32,
        [c_void_p, c_int32, c_int32, c_int32, c_int32, c_int32, c_int32, c_void_p, c_int64],
    ),
    "brantel_session_error": (c_char_p, [c_void_p]),
}

AnyStruct = TypeVar("AnyStruct", bound=ctypes.Structure)


def sized(kind: type[AnyStruct]) -> AnyStruct:
    """A struct of zeros whose size field is set."""
    struct = kind()
    struct.size = ctypes.sizeof(kind)
    return struct


def text(words: bytes) -> str:
    """What the library says, in English."""
    return words.decode(errors="replace")


def _location() -> str:
    """The library beside this file, else the one that BRANTEL_SESSION_LIBRARY names, else the system's."""
    windows = sys.platform == "win32"
    packaged = Path(__file__).with_name("BrantelSession.dll" if windows else "libBrantelSession.so")
    if packaged.exists():
        return str(packaged)
    named = os.environ.get("BRANTEL_SESSION_LIBRARY")
    if named:
        return named
    return "BrantelSession.dll" if windows else "libBrantelSession.so.0.1"


def load() -> ctypes.CDLL:
    """The library with its functions declared. ImportError when it cannot be had."""
    location = _location()
    try:
        library = ctypes.CDLL(location)
        for name, (result, arguments) in PROTOTYPES.items():
            function = getattr(library, name)
            function.restype = result
            function.argtypes = arguments
    except (OSError, AttributeError) as error:
        raise ImportError(
            f"cannot use {location}: {error}; "
            "the environment variable BRANTEL_SESSION_LIBRARY may name another library"
        ) from error
    return library


library = load()
