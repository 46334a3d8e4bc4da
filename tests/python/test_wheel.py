"""The wheel holds all that is needed, and the library is found where it may lie."""

from __future__ import annotations

import os
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

import pytest

PACKAGE = Path(os.environ["BRANTEL_PACKAGE"])
SCRIPTS = Path(os.environ["BRANTEL_SCRIPTS"])
WITHOUT_PATH = {name: value for name, value in os.environ.items() if not name.startswith("PYTHON")}

STITCH = """
import brantel, scans
whole = scans.picture(600, 300, 3)
places = scans.serpentine(3, 2, 120, 90)
with brantel.Session(scans.WIDTH, scans.HEIGHT, 3) as session:
    answers = [session.add(scans.frame_at(whole, place)) for place in places]
    assert [(a.x, a.y) for a in answers] == [(p.x, p.y) for p in places]
    assert (session.picture() == whole[:270, :480]).all()
print(brantel.__file__)
"""


@pytest.fixture(scope="module")
def wheel(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("wheel")
    made = subprocess.run([SCRIPTS / "python-wheel", PACKAGE, folder], env=WITHOUT_PATH)
    if made.returncode == 77:
        pytest.skip("a wheel needs pip, setuptools and wheel")
    made.check_returncode()
    (only,) = folder.iterdir()
    return only


def test_the_wheel_is_one_for_every_python_on_one_platform(wheel: Path) -> None:
    name, version, python, abi, platform = wheel.stem.split("-")
    assert (name, version, python, abi) == ("brantel", os.environ["BRANTEL_VERSION"], "py3", "none")
    held = {entry for entry in zipfile.ZipFile(wheel).namelist() if entry.startswith("brantel/")}
    assert held == {f"brantel/{path.name}" for path in PACKAGE.joinpath("brantel").iterdir() if path.is_file()}
    assert {"brantel/__init__.py", "brantel/py.typed"} <= held
    if platform == "win_amd64":
        assert {"brantel/BrantelSession.dll", "brantel/libopencv_core460.dll"} <= held
    else:
        assert platform.startswith("linux_")
        assert "brantel/libBrantelSession.so" in held


def test_an_installed_wheel_stitches(wheel: Path, tmp_path: Path) -> None:
    pytest.importorskip("ensurepip")  # what Debian's python3 lacks without python3-venv
    environment = tmp_path / "venv"
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", environment], check=True)
    python = environment / "bin" / "python"
    pip = [python, "-m", "pip", "--disable-pip-version-check"]
    subprocess.run([*pip, "install", "--quiet", "--no-index", "--no-deps", wheel], check=True, env=WITHOUT_PATH)
    shutil.copy(Path(__file__).with_name("scans.py"), tmp_path)
    told = subprocess.run(
        [python, "-c", STITCH], check=True, env=WITHOUT_PATH, cwd=tmp_path, stdout=subprocess.PIPE, text=True
    )
    assert Path(told.stdout.strip()).is_relative_to(environment)


@pytest.fixture
def bare(tmp_path: Path) -> Path:
    """The package without its library."""
    shutil.copytree(PACKAGE / "brantel", tmp_path / "brantel", ignore=shutil.ignore_patterns("*.so", "__pycache__"))
    return tmp_path


def version_told(folder: Path, **environment: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [sys.executable, "-c", "import brantel; print(brantel.version())"],
        env={**WITHOUT_PATH, **environment},
        cwd=folder,
        capture_output=True,
        text=True,
    )


def test_the_library_may_be_named(bare: Path) -> None:
    library = PACKAGE / "brantel" / "libBrantelSession.so"
    told = version_told(bare, BRANTEL_SESSION_LIBRARY=str(library))
    assert told.stdout.strip() == os.environ["BRANTEL_VERSION"], told.stderr


def test_the_systems_library_will_do(bare: Path) -> None:
    """Under the name that the library gives itself."""
    library = Path(os.environ["BRANTEL_LIBRARY"])
    told = version_told(bare, LD_LIBRARY_PATH=str(library.parent))
    assert told.stdout.strip() == os.environ["BRANTEL_VERSION"], told.stderr


def test_a_library_that_is_not_there_is_an_import_error(bare: Path) -> None:
    told = version_told(bare, BRANTEL_SESSION_LIBRARY=str(bare / "absent.so"))
    assert told.returncode != 0
    assert "ImportError: cannot use" in told.stderr
    assert "absent.so" in told.stderr


def test_another_library_is_an_import_error(bare: Path) -> None:
    told = version_told(bare, BRANTEL_SESSION_LIBRARY="libc.so.6")
    assert told.returncode != 0
    assert "ImportError: cannot use libc.so.6" in told.stderr
