"""Words in braces in the texts of a graph, replaced by what a request brings."""

from __future__ import annotations

import re
from typing import Any, Mapping

from ...errors import HelperError
from .graph import Graph


def fill(graph: Graph, values: Mapping[str, Any], where: str) -> set[str]:
    """Changes the texts of `graph`; returns the names of `values` that stood there in braces. Other braces stay.

    A text that is nothing but one placeholder becomes the value itself, so that "{width}" works where a number is due.
    Raises HelperError for a value that is None, that is to say not known.
    """
    pattern = re.compile("{(" + "|".join(values) + ")}")
    filled: set[str] = set()

    def value_of(match: "re.Match[str]") -> Any:
        name = match.group(1)
        if values[name] is None:
            raise HelperError(f'A text in {where} asks for {{{name}}}; set "{name}" in the parameters of the workflow')
        filled.add(name)
        return values[name]

    for node in graph.nodes.values():
        for name, text in node.inputs.items():
            if isinstance(text, str):
                whole = pattern.fullmatch(text)
                # In one pass: what is put in may itself hold braces.
                node.inputs[name] = value_of(whole) if whole else pattern.sub(lambda match: str(value_of(match)), text)
    return filled
