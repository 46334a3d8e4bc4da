"""The declarations in Python are those of the C header."""

from __future__ import annotations

import ctypes
import os
import re
import shutil
import subprocess
from enum import IntEnum, IntFlag
from pathlib import Path

import pytest

import brantel
from brantel import _library as c

HEADER = Path(os.environ["BRANTEL_HEADER"])
ENUMS: dict[str, type[IntEnum] | type[IntFlag]] = {
    "BRANTEL_OK": brantel.Status,
    "BRANTEL_PLACED": brantel.State,
    "BRANTEL_NO_REASON": brantel.Reason,
    "BRANTEL_NOT_FOUND": brantel.FoundBy,
    "BRANTEL_ACCEPT_BY_BRIGHTNESS": brantel.Acceptance,
    "BRANTEL_EARLIER_PLACED": brantel.Changes,
}
STRUCTS = {
    "brantel_settings": c.Settings,
    "brantel_input": c.Input,
    "brantel_frame": c.Frame,
    "brantel_answer": c.Answer,
    "brantel_map": c.Map,
}


def declarations() -> str:
    """The header without its comments."""
    text = re.sub(r"/\*.*?\*/", "", HEADER.read_text(), flags=re.S)
    return re.sub(r"//.*", "", text)


def test_structs_have_the_compilers_sizes_and_offsets(tmp_path: Path) -> None:
    compiler = shutil.which(os.environ.get("CC", "cc"))
    if compiler is None:
        pytest.skip("no C compiler")
    wanted = []
    for name, struct in STRUCTS.items():
        wanted.append(f"sizeof({name})")
        for field, _ in struct._fields_:
            wanted += [f"offsetof({name}, {field})", f"sizeof((({name}*)0)->{field})"]
    prints = "".join(f'printf("%zu\\n", {expression});\n' for expression in wanted)
    source = tmp_path / "layout.c"
    source.write_text(
        "#include <brantel/session.h>\n#include <stddef.h>\n#include <stdio.h>\n"
        f"int main(void) {{ {prints} return 0; }}\n"
    )
    program = tmp_path / "layout"
    subprocess.run([compiler, source, f"-I{HEADER.parent.parent}", "-o", program], check=True)
    printed = subprocess.run([program], check=True, capture_output=True, text=True).stdout.split()

    declared = []
    for struct in STRUCTS.values():
        declared.append(ctypes.sizeof(struct))
        for field, _ in struct._fields_:
            place = getattr(struct, field)
            declared += [place.offset, place.size]
    assert dict(zip(wanted, map(int, printed))) == dict(zip(wanted, declared))


def test_structs_have_all_fields_in_the_same_order() -> None:
    found = re.findall(r"typedef struct \w+ \{(.*?)\} (\w+);", declarations(), flags=re.S)
    assert {name for _, name in found} == set(STRUCTS)
    for body, name in found:
        fields = re.findall(r"(\w+)\)?(?:\([^)]*\))?\s*;", body)
        assert fields == [field for field, _ in STRUCTS[name]._fields_], name


def test_enums_have_the_same_names_and_values() -> None:
    bodies = re.findall(r"enum \{(.*?)\}", declarations(), flags=re.S)
    assert len(bodies) == len(ENUMS)
    for body in bodies:
        entries = re.findall(r"(BRANTEL_\w+)\s*=\s*(\d+)", body)
        enum = ENUMS[entries[0][0]]
        prefix = "BRANTEL_ACCEPT_" if enum is brantel.Acceptance else "BRANTEL_"
        assert {name.removeprefix(prefix): int(value) for name, value in entries} == {
            member.name: member.value for member in enum
        }


C_TYPES = {
    "int32_t": ctypes.c_int32,
    "int64_t": ctypes.c_int64,
    "brantel_status": ctypes.c_int32,
    "void": None,
    "const char*": ctypes.c_char_p,
    "const void*": ctypes.c_void_p,
    "void*": ctypes.c_void_p,
    "brantel_session*": ctypes.c_void_p,
    "brantel_session**": ctypes.POINTER(ctypes.c_void_p),
}


def in_ctypes(declared: str) -> object:
    """A C type as ctypes has it; const says nothing to ctypes."""
    plain = " ".join(declared.split()).replace(" *", "*")
    if plain in C_TYPES:
        return C_TYPES[plain]
    plain = plain.removeprefix("const ")
    if plain in C_TYPES:
        return C_TYPES[plain]
    return ctypes.POINTER(STRUCTS[plain.removesuffix("*")])


def test_functions_have_the_same_results_and_arguments() -> None:
    found = re.findall(r"BRANTEL_SESSION_API ([\w\s*]+?)(brantel_\w+)\(([^)]*)\);", declarations())
    assert len(found) == 16
    prototypes = {}
    for result, name, arguments in found:
        types = [] if arguments == "void" else [re.sub(r"\w+$", "", part) for part in arguments.split(",")]
        prototypes[name] = (in_ctypes(result), [in_ctypes(kind) for kind in types])
    assert prototypes == c.PROTOTYPES


def test_the_line_function_is_declared_as_in_c() -> None:
    assert re.search(r"void \(\*on_line\)\(void\* user, const char\* line\);", declarations())
    assert c.LineFunction._restype_ is None
    assert c.LineFunction._argtypes_ == (ctypes.c_void_p, ctypes.c_char_p)


def test_settings_can_be_given_by_their_names_in_c() -> None:
    given = set(brantel.Session.__init__.__annotations__) - {"return"}
    of_the_binding = {"size", "stride", "user"}  # set by the binding itself
    assert given == {field for field, _ in c.Settings._fields_} - of_the_binding


def test_values_of_a_newer_library_are_kept() -> None:
    state = brantel.State(77)
    assert state == 77
    assert state.name == "UNKNOWN_77"
    assert brantel.state_text(state) == "unknown"
    with pytest.raises(ValueError):
        brantel.State("placed")


def test_texts_come_from_the_library() -> None:
    assert brantel.version() == os.environ["BRANTEL_VERSION"]
    assert brantel.state_text(brantel.State.PLACED) == "placed"
    assert brantel.reason_text(brantel.Reason.SHIFT_TOO_SMALL) == "shift too small"
    assert brantel.found_by_text(brantel.FoundBy.BY_CORNERS) != "unknown"
    assert brantel.status_text(brantel.Status.NO_MEMORY) != "unknown"
