"""A graph of nodes in the format that a ComfyUI server runs (its editor calls it the API format)."""

import re
from dataclasses import dataclass, field
from typing import Any, Iterable, Mapping, Optional, Union

from ...errors import HelperError
from ...untrusted import as_object, as_text

LARGEST_FILLING = 16 << 20  # characters that placeholders become


LINK_AGAIN = "link it again in ComfyUI and save the workflow anew"
Place = tuple[Union[str, int], ...]  # of a value in a JSON file: keys and positions, from the outside inwards


@dataclass
class Node:
    """`inputs` holds literals and links; a link is a list of a node ID and the number of one of its outputs."""

    id: str
    kind: str
    inputs: dict[str, Any]
    title: str = ""
    places: dict[str, Place] = field(default_factory=dict, repr=False)  # of literals in the editor's graph

    @property
    def label(self) -> str:
        """For messages and progress: the title that its user gave it, else what it is."""
        return f'"{self.title}" ({self.kind}, node {self.id})' if self.named else f"{self.kind} (node {self.id})"

    @property
    def short(self) -> str:
        return self.title if self.named else self.kind

    @property
    def named(self) -> bool:
        return bool(self.title) and self.title != self.kind


@dataclass
class Graph:
    nodes: dict[str, Node]
    # The editor's own format of the same graph, when that is what the file held; goes into the server's pictures.
    editor: Optional[Mapping[str, Any]] = field(default=None, repr=False)
    of_editor: dict[str, str] = field(default_factory=dict)  # titles of its subgraphs, reroutes and primitives
    controls: dict[str, Any] = field(default_factory=dict)  # by name, as they were set
    controlled: set[tuple[str, str]] = field(default_factory=set)  # their nodes and inputs
    notes: list[str] = field(default_factory=list)

    def to_api(self) -> dict[str, Any]:
        return {
            node.id: {"class_type": node.kind, "inputs": node.inputs, "_meta": {"title": node.title or node.kind}}
            for node in self.nodes.values()
        }

    def to_editor(self) -> Optional[dict[str, Any]]:
        """The editor's graph with the values that the nodes have now, None when there is none. Nodes that share their
        values, as those of a subgraph that is used twice do, keep them where they have come to differ."""
        if self.editor is None:
            return None
        wanted: dict[Place, list[Any]] = {}
        for node in self.nodes.values():
            for name, place in node.places.items():
                if place and isinstance(node.inputs.get(name), (str, int, float)):
                    wanted.setdefault(place, []).append(node.inputs[name])
        changed: dict[str, Any] = dict(self.editor)
        for place, values in wanted.items():
            stands: Any = self.editor
            for key in place:
                stands = stands[key]
            if values[0] != stands and all(value == values[0] for value in values):
                changed = _with(changed, place, values[0])
        return changed

    def sources(self, node: Node) -> Iterable[tuple[str, Node]]:
        """The name of each linked input of `node` with the node that it comes from."""
        for name, value in node.inputs.items():
            link = link_of(value)
            if link is not None and link[0] in self.nodes:
                yield name, self.nodes[link[0]]

    def upstream(self, ends: Iterable[str]) -> set[str]:
        """The IDs of `ends` and of all nodes that they depend on."""
        found: set[str] = set()
        waiting = [end for end in ends if end in self.nodes]
        while waiting:
            node = waiting.pop()
            if node not in found:
                found.add(node)
                waiting += [source.id for _, source in self.sources(self.nodes[node])]
        return found

    def fill(self, values: Mapping[str, Any], where: str) -> list[tuple[str, Node, str]]:
        """Replaces the names of `values` that stand in braces in texts; returns them with their places: node and input.
        Other braces stay.

        A text that is nothing but one placeholder becomes the value itself, so that "{width}" works where a number is
        due. Raises HelperError for a value that is None, that is to say not known.
        """
        pattern = re.compile("{(" + "|".join(values) + ")}")
        filled: list[tuple[str, Node, str]] = []
        size = 0
        for node in self.nodes.values():
            for name, text in [(name, text) for name, text in node.inputs.items() if isinstance(text, str)]:
                found = pattern.findall(text)
                size += sum(len(str(values[asked])) for asked in found)
                if size > LARGEST_FILLING:
                    least = f"more than {LARGEST_FILLING >> 20} MB of text"
                    raise HelperError(
                        f"The placeholders in {where} become {least}",
                        remedy="use fewer, or a shorter prompt",
                    )
                for asked in dict.fromkeys(found):
                    if values[asked] is None:
                        lacks = f'set "{asked}" in the parameters of the workflow'
                        raise HelperError(f"A text in {where} asks for {{{asked}}}", remedy=lacks)
                    filled.append((asked, node, name))
                whole = pattern.fullmatch(text)
                # In one pass: what is put in may itself hold braces.
                filling = pattern.sub(lambda match: str(values[match.group(1)]), text)
                node.inputs[name] = values[whole.group(1)] if whole else filling
        return filled


def link_of(value: Any) -> Optional[tuple[str, int]]:
    if isinstance(value, list) and len(value) == 2 and isinstance(value[0], (str, int)) and type(value[1]) is int:
        return str(value[0]), value[1]
    return None


def read_api(content: Mapping[str, Any], where: str) -> Graph:
    """Raises HelperError for a graph that no server would take."""
    nodes: dict[str, Node] = {}
    for identifier, given in content.items():
        kind, inputs = given.get("class_type"), given.get("inputs", {})
        if not isinstance(kind, str) or not isinstance(inputs, dict):
            raise HelperError(
                f"Node {identifier} in {where} is damaged",
                remedy="export the workflow again (Export (API))",
            )
        nodes[identifier] = Node(identifier, kind, dict(inputs), as_text(as_object(given.get("_meta")).get("title")))
    return Graph(nodes)


def _with(content: dict[str, Any], place: Place, value: Any) -> dict[str, Any]:
    """A copy of `content` with `value` at `place`, as far as there is one; what lies beside the way is shared."""
    copied = dict(content)
    inner: Any = copied
    for key in place[:-1]:
        inner[key] = inner[key].copy()
        inner = inner[key]
    inner[place[-1]] = value
    return copied
