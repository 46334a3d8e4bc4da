"""The lines of a session on their way to the host's function."""

from __future__ import annotations

from typing import Any, Callable

from ._library import LineFunction, text


class LineListener:
    """Calls the host's function for every line and keeps what that raises, since no exception may pass through C."""

    def __init__(self, on_line: Callable[[str], Any]) -> None:
        self._on_line = on_line
        self._raised: BaseException | None = None
        self.function = LineFunction(self._hear)  # held here: the library keeps the pointer only

    def _hear(self, _user: int | None, line: bytes) -> None:
        if self._raised is not None:
            return
        try:
            self._on_line(text(line))
        except BaseException as error:  # KeyboardInterrupt arrives here, too
            self._raised = error

    def take(self) -> BaseException | None:
        """What the host's function raised since the last time."""
        raised, self._raised = self._raised, None
        return raised
