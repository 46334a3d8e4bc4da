"""Failed calls as exceptions."""

from __future__ import annotations

from ._library import library, text
from ._values import Status


class BrantelError(Exception):
    """A call that the library refused or broke off. The session may be used as before."""

    def __init__(self, status: int, text: str) -> None:
        super().__init__(status, text)
        self.status = Status(status)  #: what went wrong, as a number
        self.text = text  #: what went wrong, in English

    def __str__(self) -> str:
        return self.text


class NoMemoryError(BrantelError, MemoryError):
    """Memory was short."""


def status_text(status: int) -> str:
    """A status in English."""
    return text(library.brantel_status_text(status))


def check(status: int, session: int | None = None) -> None:
    """Raises what a status calls for, in the words of the session where there is one."""
    if status == Status.OK:
        return
    # A session in use writes its text for the call that runs.
    spoken = session is not None and status != Status.IN_USE
    said = text(library.brantel_session_error(session)) if spoken else ""
    kind = NoMemoryError if status == Status.NO_MEMORY else BrantelError
    raise kind(status, said or status_text(status))
