"""The keys and parameters of a workflow file: one table per back end says what it accepts; and what a seed becomes."""

import os
import re
from typing import Any, Mapping, NamedTuple, Sequence, Union

from .errors import HelperError

LARGEST_SEED = (1 << 64) - 1
FRAME_STEP = 0x9E3779B97F4A7C15  # 2^64 / golden ratio: neighbouring frames get seeds that have nothing in common
SEED_FROM_HOST = "QUILLMERE_SEED"  # environment: the seed of a picture that is to be made again


class Parameter(NamedTuple):
    """One accepted parameter. The type of `default` is its type; `least` and `most` bound numbers."""

    name: str
    default: Any
    meaning: str  # as the table of docs/workflows.md tells it
    least: float = 0
    most: float = 0
    words: Sequence[str] = ()  # the texts it accepts; empty: any text

    def accepted(self) -> str:
        words = ", ".join(f'"{word}"' for word in self.words)
        if self.name == "seed":
            return f"a whole number of 0 to {LARGEST_SEED}, or {words}"
        if isinstance(self.default, str):
            return f"one of {words}" if words else "a text"
        kind = "a whole number" if isinstance(self.default, int) else "a number"
        return f"{kind} of {self.least:g} to {self.most:g}"

    def accepts(self, value: Any) -> bool:
        if self.name == "seed" and type(value) is int:
            return 0 <= value <= LARGEST_SEED
        if isinstance(self.default, str):
            return isinstance(value, str) and (not self.words or value in self.words)
        whole = isinstance(self.default, int)
        return type(value) in ((int,) if whole else (int, float)) and self.least <= value <= self.most

    def control(self, value: Any) -> dict[str, Any]:
        """What a control panel has to know of it; `value` is that of the workflow file."""
        told: dict[str, Any] = {"name": self.name, "node": "", "title": "", "kind": "", "input": self.name}
        told.update(type=self._type(), default=value)
        if self.name == "seed":
            told.update(least=0, most=LARGEST_SEED)
        elif not isinstance(self.default, str):
            told.update(least=self.least, most=self.most)
        return {**told, "choices": list(self.words)} if self.words else told

    def _type(self) -> str:
        if isinstance(self.default, str) and self.name != "seed":
            return "choice" if self.words else "text"
        return "number" if isinstance(self.default, float) else "whole"


Table = Sequence[Parameter]
EMPTY: Mapping[str, Any] = {}


def read_parameters(
    content: Mapping[str, Any], keys: Sequence[str], table: Table, where: str, controls: Mapping[str, Any] = EMPTY
) -> dict[str, Any]:
    """Every parameter of `table` with its value in "parameters" of a workflow file, or its default. Those that the user
    has set as `controls` are called so.

    Raises HelperError for any that is not accepted, and for a key that is none of `keys` (none are told: any will do).
    """
    unknown = [key for key in content if keys and key not in keys]
    if unknown:
        raise HelperError(f'Unknown key "{unknown[0]}" in {where}', remedy=f"accepted: {', '.join(keys)}")
    given = content.get("parameters", {})
    if not isinstance(given, Mapping):
        raise HelperError(f'"parameters" in {where} must be a JSON object')
    return read_table(given, table, where, "parameter", controls)


def read_table(
    given: Mapping[str, Any], table: Table, where: str, noun: str, controls: Mapping[str, Any] = EMPTY
) -> dict[str, Any]:
    """Every parameter of `table`, which users call a `noun`, with its value in `given` or its default. Raises HelperError
    for any that is not accepted."""
    known = {parameter.name: parameter for parameter in table}
    for name, value in given.items():
        word = "control" if name in controls else noun
        if name not in known:
            import difflib

            close = difflib.get_close_matches(name, known, 1)
            remedy = (f'did you mean "{close[0]}"? ' if close else "") + f"accepted: {', '.join(known)}"
            raise HelperError(f'Unknown {word} "{name}" in {where}', remedy=remedy)
        if not known[name].accepts(value):
            must = f"it must be {known[name].accepted()}"
            raise HelperError(f'The {word} "{name}" in {where} is {value!r}', remedy=must)
    return {name: given.get(name, parameter.default) for name, parameter in known.items()}


def controls_of(values: Mapping[str, Any], table: Table) -> list[dict[str, Any]]:
    """The parameters of `table` as controls, with the `values` that `read_parameters` has found."""
    return [parameter.control(values[parameter.name]) for parameter in table]


def seed_for(choice: Union[int, str], frame: int) -> int:
    """A whole number of 0 to 2^64 - 1, the same again for the same fixed choice or the same frame; the host's goes
    before any choice. Raises HelperError when that is no seed."""
    given = os.environ.get(SEED_FROM_HOST, "")
    if given:
        if not re.fullmatch("[0-9]{1,20}", given) or int(given) > LARGEST_SEED:
            raise HelperError(f'{SEED_FROM_HOST} is "{given[:40]}"; it must be a whole number of 0 to {LARGEST_SEED}')
        return int(given)
    if choice == "random":
        return int.from_bytes(os.urandom(8), "big")
    if choice == "frame":
        return (frame + 1) * FRAME_STEP & LARGEST_SEED
    return int(choice)
