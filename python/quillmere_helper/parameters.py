"""The parameters of a workflow file: one table per back end says what it accepts."""

from __future__ import annotations

import difflib
from dataclasses import dataclass
from typing import Any, Mapping, Sequence

from .errors import HelperError

LARGEST_SEED = (1 << 64) - 1


@dataclass(frozen=True)
class Parameter:
    """One accepted parameter. The type of `default` is its type; `least` and `most` bound numbers."""

    name: str
    default: Any
    meaning: str
    least: float = 0
    most: float = 0
    words: Sequence[str] = ()  # the texts it accepts; empty: any text

    def accepted(self) -> str:
        if self.name == "seed":
            return f"a whole number of 0 to {LARGEST_SEED}, or {self._words()}"
        if isinstance(self.default, bool):
            return "true or false"
        if isinstance(self.default, str):
            return f"one of {self._words()}" if self.words else "a text"
        kind = "a whole number" if isinstance(self.default, int) else "a number"
        return f"{kind} of {self.least:g} to {self.most:g}"

    def _words(self) -> str:
        return ", ".join(f'"{word}"' for word in self.words)

    def accepts(self, value: Any) -> bool:
        if self.name == "seed":
            return value in self.words if isinstance(value, str) else type(value) is int and 0 <= value <= LARGEST_SEED
        if isinstance(self.default, bool):
            return isinstance(value, bool)
        if isinstance(self.default, str):
            return isinstance(value, str) and (not self.words or value in self.words)
        whole = isinstance(self.default, int)
        return type(value) in ((int,) if whole else (int, float)) and self.least <= value <= self.most


def checked(table: Sequence[Parameter], given: Any, where: str) -> dict[str, Any]:
    """Every parameter of `table` with its given or default value. Raises HelperError for any that is not accepted."""
    if not isinstance(given, Mapping):
        raise HelperError(f'"parameters" in {where} must be a JSON object')
    known = {parameter.name: parameter for parameter in table}
    for name, value in given.items():
        if name not in known:
            close = difflib.get_close_matches(name, known, 1)
            hint = f'; did you mean "{close[0]}"?' if close else ""
            raise HelperError(f'Unknown parameter "{name}" in {where}{hint} Accepted: {", ".join(known)}')
        if not known[name].accepts(value):
            raise HelperError(f'Parameter "{name}" in {where} is {value!r}; it must be {known[name].accepted()}')
    return {name: given.get(name, parameter.default) for name, parameter in known.items()}
