"""From the format in which the graph editor saves to the one that the server runs.

The editor does this in the browser and no server offers it. The plain cases are handled here; what would need the
editor's own code is refused by name.
"""

from typing import Any, Mapping

from ...errors import HelperError
from ...untrusted import as_list, as_object, as_text, objects_in
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
        self._nodes = {str(node.get("id")): node for node in objects_in(content["nodes"])}
        self._links = _links(content.get("links"))
        subgraphs = objects_in(as_object(content.get("definitions")).get("subgraphs"))
        self._subgraphs = {str(graph.get("id")): str(graph.get("name")) for graph in subgraphs}
        self._content = content

    def run(self) -> Graph:
        nodes = {}
        for identifier, node in self._nodes.items():
            if node.get("mode") in (MUTED, BYPASSED) or node.get("type") in (*NOTES, REROUTE, PRIMITIVE):
                continue
            kind, title = str(node.get("type")), as_text(node.get("title"))
            nodes[identifier] = Node(identifier, kind, self._inputs(node), title)
        return Graph(nodes, self._content)

    def _inputs(self, node: Mapping[str, Any]) -> dict[str, Any]:
        inputs = self._values(node, self._class_of(node))
        for slot in objects_in(node.get("inputs")):
            source = self._source(slot.get("link"))
            if source is not None:
                inputs[str(slot.get("name"))] = source
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
        rest = list(as_list(kept))
        values: dict[str, Any] = {}
        for widget in widgets:
            if not rest:
                break
            values[widget.name] = rest.pop(0)
            if rest and _belongs_to_editor(widget, rest[0]):
                rest.pop(0)
        return values

    def _source(self, link: Any, depth: int = 0) -> Any:
        """What a link brings, through everything that only the editor knows: a node's ID and the number of one of its
        outputs, or the value of a primitive; None when it comes from nowhere."""
        if not isinstance(link, (int, str)) or link not in self._links or depth > len(self._nodes):
            return None
        origin, slot = self._links[link]
        node = self._nodes.get(origin)
        if node is None:
            raise HelperError(f"A link in {self._where} comes from node {origin}, which is not there; {ADVICE}")
        if node.get("type") == PRIMITIVE:
            return (as_list(node.get("widgets_values")) or [None])[0]
        if node.get("type") == REROUTE:
            return self._source(next((slot.get("link") for slot in objects_in(node.get("inputs"))), None), depth + 1)
        if node.get("mode") == MUTED:
            return None
        if node.get("mode") == BYPASSED:
            return self._source(_bypass(node, slot), depth + 1)
        return [origin, slot]


def _belongs_to_editor(widget: Input, value: Any) -> bool:
    """Whether `value`, kept after that of `widget`, is one that the server never sees."""
    if widget.kind == "INT" and isinstance(value, str):
        return value in SEED_HABITS
    return widget.loads_pictures and value == "image"


def _links(listed: Any) -> dict[Any, tuple[str, int]]:
    """Origin node and slot of each link by its ID, from either of the two ways in which links are saved."""
    links: dict[Any, tuple[str, int]] = {}
    for link in as_list(listed):
        if isinstance(link, dict):
            link = [link.get("id"), link.get("origin_id"), link.get("origin_slot")]
        if isinstance(link, list) and len(link) >= 3 and isinstance(link[0], (int, str)) and type(link[2]) is int:
            links[link[0]] = (str(link[1]), link[2])
    return links


def _bypass(node: Mapping[str, Any], slot: int) -> Any:
    """The link that takes the place of output `slot` of a bypassed node: of an input of the same type, if possible
    the one at the same place."""
    outputs, inputs = objects_in(node.get("outputs")), objects_in(node.get("inputs"))
    kind = outputs[slot].get("type") if slot < len(outputs) else None
    alike = [place for place, candidate in enumerate(inputs) if candidate.get("type") == kind]
    if not alike:
        return None
    return inputs[slot if slot in alike else alike[0]].get("link")
