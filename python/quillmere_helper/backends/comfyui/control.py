"""Inputs of a graph that can be set from outside, by titles such as "Quillmere Control: Strength=denoise".

One title may name several, with commas between them. A name alone stands for the only value that a node holds.
"""

import difflib
from dataclasses import dataclass
from typing import Any, Mapping, Optional

from ...errors import HelperError
from .classes import Classes, Input, Number, is_number, shown
from .graph import Graph, Node, link_of
from .markers import CONTROL, PREFIX, word_of

TYPES = {"INT": "whole", "FLOAT": "number", "STRING": "text", "BOOLEAN": "switch"}
WORDS = {"whole": "a whole number", "number": "a number", "text": "a text", "switch": "true or false"}
BY_VALUE = {bool: "BOOLEAN", int: "INT", float: "FLOAT", str: "STRING"}
MOST_NAMED = 8  # choices in a message


@dataclass(frozen=True)
class Control:
    name: str
    node: Node
    input: str
    spec: Input

    @property
    def type(self) -> str:
        return TYPES.get(self.spec.kind, "choice" if self.choices else "text")

    @property
    def is_number(self) -> bool:
        return self.type in ("whole", "number")

    @property
    def limits(self) -> tuple[Optional[Number], Optional[Number]]:
        return (self.spec.number("min"), self.spec.number("max")) if self.is_number else (None, None)

    @property
    def choices(self) -> list[Any]:
        """Empty: any will do. A picture may lie in a folder that the server doesn't list."""
        return [] if self.spec.loads_pictures else self.spec.choices or []

    def told(self) -> dict[str, Any]:
        """As a program reads it."""
        node = self.node
        told: dict[str, Any] = {"name": self.name, "node": node.id, "title": node.title, "kind": node.kind}
        told.update(input=self.input, type=self.type, default=node.inputs[self.input])
        step = self.spec.number("step") if self.is_number else None
        numbers = dict(zip(("least", "most", "step"), (*self.limits, step)))
        told.update((key, number) for key, number in numbers.items() if number is not None)
        return {**told, "choices": self.choices} if self.choices else told

    def accepted(self) -> str:
        if self.choices:
            more = f" and {len(self.choices) - MOST_NAMED} more" if len(self.choices) > MOST_NAMED else ""
            return "one of " + ", ".join(map(shown, self.choices[:MOST_NAMED])) + more
        least, most = self.limits
        below = "" if least is None else f" from {least}"
        return WORDS[self.type] + below + ("" if most is None else f" up to {most}")

    def fitting(self, value: Any) -> Any:
        """`value` in the type that the server takes; None when it is not accepted."""
        if self.choices:
            return self.spec.chosen(value)
        if not self.is_number:
            return value if isinstance(value, bool if self.type == "switch" else str) else None
        if not is_number(value) or (self.type == "whole" and value != int(value)):
            return None
        least, most = self.limits
        if (least is not None and value < least) or (most is not None and value > most):
            return None
        return int(value) if self.type == "whole" else value


def controls_of(graph: Graph, classes: Classes, where: str) -> list[Control]:
    """In the order of the nodes. Raises HelperError for titles that do not say which input is meant."""
    found: dict[str, Control] = {}
    for node in graph.nodes.values():
        word = word_of(node.title)
        if word is None or not word.startswith(CONTROL):
            continue
        for asked in node.title.partition(":")[2].split(","):
            name, _, wanted = (part.strip() for part in asked.partition("="))
            if not name or ("=" in asked and not wanted):
                text = f'"{node.title}" (node {node.id}) in {where} names no control'
                raise HelperError(text, remedy=f"write {PREFIX.capitalize()} Control: NAME, or NAME=INPUT")
            if name.lower() in found:
                both = f"{found[name.lower()].node.id} and {node.id}"
                raise HelperError(f'Two nodes in {where} have the control "{name}": {both}', remedy="rename one")
            chosen = _input_of(node, name, wanted, where)
            spec = classes.of(node.kind).inputs.get(chosen)
            if spec is None or (spec.kind not in TYPES and not spec.choices):
                spec = Input(chosen, BY_VALUE[type(node.inputs[chosen])], {})
            found[name.lower()] = Control(name, node, chosen, spec)
    return list(found.values())


def set_controls(graph: Graph, classes: Classes, given: Mapping[str, Any], where: str) -> None:
    """Raises HelperError for a control that is not there and for a value that it does not accept."""
    known = {control.name.lower(): control for control in controls_of(graph, classes, where)}
    for name, value in given.items():
        control = known.get(name.strip().lower())
        if control is None:
            names = [control.name for control in known.values()]
            near = difflib.get_close_matches(name, names, 1, 0.0)
            there = f'did you mean "{near[0]}"? It has: {", ".join(names)}' if near else "it has none"
            raise HelperError(f'There is no control "{name}" in {where}', remedy=there)
        fitting = control.fitting(value)
        if fitting is None:
            place = f'{control.input} of {control.node.label}'
            raise HelperError(
                f'The control "{control.name}" ({place}) in {where} cannot be {shown(value)}',
                remedy=f"it must be {control.accepted()}",
            )
        control.node.inputs[control.input] = fitting
        graph.controls[control.name] = fitting
        graph.controlled.add((control.node.id, control.input))


def _input_of(node: Node, name: str, wanted: str, where: str) -> str:
    literal = [key for key, value in node.inputs.items() if type(value) in BY_VALUE]
    listed = ", ".join(f'"{key}"' for key in literal)
    if wanted in literal:
        return wanted
    what = f'The control "{name}" (node {node.id}, {node.kind}) in {where}'
    if wanted and link_of(node.inputs.get(wanted)):
        raise HelperError(
            f'{what} names "{wanted}", which is linked',
            remedy="title the node that the link comes from",
        )
    if wanted:
        raise HelperError(
            f'{what} names "{wanted}", which is no value of the node',
            remedy=f'it has {listed or "none"}',
        )
    if not literal:
        raise HelperError(f"{what} has no value to set: all is linked", remedy="title another node")
    if len(literal) > 1:
        example = f'write it behind, as in "{name}={literal[0]}"'
        raise HelperError(f"{what} does not say which value is meant: {listed}", remedy=example)
    return literal[0]
