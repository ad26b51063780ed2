"""A graph of nodes in the format that a ComfyUI server runs (its editor calls it the API format)."""

import re
from dataclasses import dataclass, field
from typing import Any, Iterable, Mapping, Optional

from ...errors import HelperError
from ...untrusted import as_object, as_text

LARGEST_FILLING = 16 << 20  # characters that placeholders become


@dataclass
class Node:
    """`inputs` holds literals and links; a link is a list of a node ID and the number of one of its outputs."""

    id: str
    kind: str
    inputs: dict[str, Any]
    title: str = ""

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

    def to_api(self) -> dict[str, Any]:
        return {
            node.id: {"class_type": node.kind, "inputs": node.inputs, "_meta": {"title": node.title or node.kind}}
            for node in self.nodes.values()
        }

    def to_editor(self) -> Optional[Mapping[str, Any]]:
        """The editor's graph, None when there is none."""
        return self.editor

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

    def fill(self, values: Mapping[str, Any], where: str) -> set[str]:
        """Replaces the names of `values` that stand in braces in texts; returns those that did. Other braces stay.

        A text that is nothing but one placeholder becomes the value itself, so that "{width}" works where a number is
        due. Raises HelperError for a value that is None, that is to say not known.
        """
        pattern = re.compile("{(" + "|".join(values) + ")}")
        filled: set[str] = set()
        size = 0

        def value_of(match: "re.Match[str]") -> Any:
            name = match.group(1)
            if values[name] is None:
                lacks = f'set "{name}" in the parameters of the workflow'
                raise HelperError(f"A text in {where} asks for {{{name}}}; {lacks}")
            filled.add(name)
            return values[name]

        for node in self.nodes.values():
            for name, text in [(name, text) for name, text in node.inputs.items() if isinstance(text, str)]:
                size += sum(len(str(values[asked])) for asked in pattern.findall(text))
                if size > LARGEST_FILLING:
                    least = f"more than {LARGEST_FILLING >> 20} MB of text"
                    raise HelperError(f"The placeholders in {where} become {least}; use fewer, or a shorter prompt")
                whole = pattern.fullmatch(text)
                # In one pass: what is put in may itself hold braces.
                node.inputs[name] = value_of(whole) if whole else pattern.sub(lambda match: str(value_of(match)), text)
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
            raise HelperError(f"Node {identifier} in {where} is damaged; export the workflow again (Export (API))")
        nodes[identifier] = Node(identifier, kind, dict(inputs), as_text(as_object(given.get("_meta")).get("title")))
    return Graph(nodes)
