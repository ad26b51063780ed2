"""From the format in which the graph editor saves to the one that the server runs.

The editor does this in the browser and no server offers it. The plain cases are handled here; what would need the
editor's own code is refused by name.
"""

from __future__ import annotations

from typing import Any, Mapping, Optional

from ...errors import HelperError
from .classes import Classes, Input, NodeClass
from .graph import Graph, Node

ADVICE = "in ComfyUI, use File > Export (API) and choose that file"
MUTED, BYPASSED = 2, 4  # node modes
NOTES = ("Note", "MarkdownNote")
REROUTE, PRIMITIVE = "Reroute", "PrimitiveNode"
SEED_HABITS = ("fixed", "increment", "decrement", "randomize")  # what the editor does with a seed after a run


def to_graph(content: Mapping[str, Any], classes: Classes, where: str) -> Graph:
    """Raises HelperError that names the node which cannot be converted."""
    return _Conversion(content, classes, where).run()


class _Conversion:
    def __init__(self, content: Mapping[str, Any], classes: Classes, where: str) -> None:
        self._where = where
        self._classes = classes
        self._nodes = {str(node.get("id")): node for node in content["nodes"] if isinstance(node, dict)}
        self._links = _links(content.get("links"))
        definitions = content.get("definitions")
        listed = definitions.get("subgraphs") if isinstance(definitions, dict) else None
        self._subgraphs = {str(graph.get("id")): str(graph.get("name")) for graph in _list(listed)}
        self._content = content

    def run(self) -> Graph:
        nodes = {}
        for identifier, node in self._nodes.items():
            if node.get("mode") in (MUTED, BYPASSED) or node.get("type") in (*NOTES, REROUTE, PRIMITIVE):
                continue
            title = node.get("title")
            nodes[identifier] = Node(
                identifier, str(node.get("type")), self._inputs(node), title if isinstance(title, str) else ""
            )
        return Graph(nodes, self._content)

    def _inputs(self, node: Mapping[str, Any]) -> dict[str, Any]:
        described = self._class_of(node)
        inputs: dict[str, Any] = self._values(node, described)
        for slot in _list(node.get("inputs")):
            source = self._source(slot.get("link"))
            if source is None:
                continue
            if isinstance(source, _Value):
                inputs[str(slot.get("name"))] = source.value
            else:
                inputs[str(slot.get("name"))] = [source[0], source[1]]
        return inputs

    def _class_of(self, node: Mapping[str, Any]) -> NodeClass:
        kind = str(node.get("type"))
        if kind in self._subgraphs:
            raise HelperError(f'The subgraph "{self._subgraphs[kind]}" in {self._where} cannot be converted; {ADVICE}')
        described = self._classes.get(kind)
        if described is None:
            raise HelperError(
                f'The ComfyUI server does not know the node "{kind}" (node {node.get("id")}) in {self._where}; '
                f"install the node pack that it belongs to, or {ADVICE}"
            )
        return described

    def _values(self, node: Mapping[str, Any], described: NodeClass) -> dict[str, Any]:
        """The values that the editor keeps for the inputs of `node`: by name, or one after the other."""
        kept = node.get("widgets_values")
        widgets = [widget for widget in described.inputs.values() if widget.is_widget]
        if isinstance(kept, dict):
            return {widget.name: kept[widget.name] for widget in widgets if widget.name in kept}
        rest = list(kept) if isinstance(kept, list) else []
        values: dict[str, Any] = {}
        for widget in widgets:
            if not rest:
                break
            values[widget.name] = rest.pop(0)
            if rest and _belongs_to_editor(widget, rest[0]):
                rest.pop(0)
        return values

    def _source(self, link: Any, depth: int = 0) -> "Optional[tuple[str, int] | _Value]":
        """Where a link really comes from, through everything that only the editor knows; None: from nowhere."""
        if not isinstance(link, (int, str)) or link not in self._links or depth > len(self._nodes):
            return None
        origin, slot = self._links[link]
        node = self._nodes.get(origin)
        if node is None:
            raise HelperError(f"A link in {self._where} comes from node {origin}, which is not there; {ADVICE}")
        if node.get("type") == PRIMITIVE:
            return _Value((_list_of_values(node) or [None])[0])
        if node.get("type") == REROUTE:
            return self._source(_first_link(node), depth + 1)
        if node.get("mode") == MUTED:
            return None
        if node.get("mode") == BYPASSED:
            return self._source(_bypass(node, slot), depth + 1)
        return origin, slot


class _Value:
    """What a primitive node puts into the inputs that it is linked to."""

    def __init__(self, value: Any) -> None:
        self.value = value


def _belongs_to_editor(widget: Input, value: Any) -> bool:
    """Whether `value`, kept after that of `widget`, is one that the server never sees."""
    if widget.kind == "INT" and isinstance(value, str):
        return value in SEED_HABITS
    return widget.loads_pictures and value == "image"


def _links(listed: Any) -> dict[Any, tuple[str, int]]:
    """Origin node and slot of each link by its ID, from either of the two ways in which links are saved."""
    links: dict[Any, tuple[str, int]] = {}
    for link in listed if isinstance(listed, list) else ():
        if isinstance(link, dict):
            link = [link.get("id"), link.get("origin_id"), link.get("origin_slot")]
        if isinstance(link, list) and len(link) >= 3 and isinstance(link[0], (int, str)) and type(link[2]) is int:
            links[link[0]] = (str(link[1]), link[2])
    return links


def _list(value: Any) -> list[Mapping[str, Any]]:
    return [member for member in value if isinstance(member, dict)] if isinstance(value, list) else []


def _list_of_values(node: Mapping[str, Any]) -> list[Any]:
    values = node.get("widgets_values")
    return values if isinstance(values, list) else []


def _first_link(node: Mapping[str, Any]) -> Any:
    return next((slot.get("link") for slot in _list(node.get("inputs"))), None)


def _bypass(node: Mapping[str, Any], slot: int) -> Any:
    """The link that takes the place of output `slot` of a bypassed node: of an input of the same type, if possible
    the one at the same place."""
    outputs, inputs = _list(node.get("outputs")), _list(node.get("inputs"))
    kind = outputs[slot].get("type") if slot < len(outputs) else None
    alike = [place for place, candidate in enumerate(inputs) if candidate.get("type") == kind]
    if not alike:
        return None
    return inputs[slot if slot in alike else alike[0]].get("link")
