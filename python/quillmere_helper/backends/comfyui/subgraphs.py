"""The uses of graphs in a file: its own, and a subgraph for each of its instances; and what is shown of nodes inside.

Widgets of inner nodes can be shown on an instance, whose values then go before theirs: by name in a list of its own
(`proxies`), or by linking them to one of its inputs.
"""

import re
from dataclasses import dataclass, field
from typing import Any, Iterator, Optional

from ...errors import HelperError
from .classes import Classes, Input
from .editor import ADVICE, Document, EditorGraph, EditorNode
from .graph import Place
from .widgets import Alignment, align

DEEPEST = 100  # instances within instances
MOST_PARTS = 200_000  # nodes and links of all uses together
ID = re.compile("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}")  # of a subgraph, as the type of its instances
ITSELF = "-1"  # in `proxies`: the instance's own unlinked input


@dataclass(eq=False)
class Scope:
    """One use of a graph. The IDs of its nodes begin with `path` once they are all in one graph."""

    graph: EditorGraph
    path: str = ""
    parent: Optional["Scope"] = None
    instance: Optional[EditorNode] = None  # in `parent`
    uses: dict[str, "Scope"] = field(default_factory=dict)  # by the ID of the instance; active ones only

    def around(self) -> Iterator["Scope"]:
        scope = self.parent
        while scope is not None:
            yield scope
            scope = scope.parent


@dataclass(frozen=True)
class Kept:
    """A value that the editor keeps, and where in the file."""

    value: Any
    place: Place


def uses_in(document: Document) -> list[Scope]:
    """The file's own graph first. Raises HelperError for subgraphs within themselves and for too many."""
    uses, count = [Scope(document.graph)], 0
    for scope in uses:  # which grows meanwhile
        around = list(scope.around())
        count += 1 + len(scope.graph.nodes) + len(scope.graph.links)
        if any(other.graph is scope.graph for other in around):
            raise HelperError(f'The subgraph "{scope.graph.name}" in {document.where} holds itself', remedy=ADVICE)
        if len(around) > DEEPEST or count > MOST_PARTS:
            raise HelperError(f"The subgraphs in {document.where} are too many or too deep", remedy=ADVICE)
        for node in scope.graph.nodes.values():
            if node.kind in document.subgraphs and node.is_active:
                used = Scope(document.subgraphs[node.kind], f"{scope.path}{node.id}:", scope, node)
                scope.uses[node.id] = used
                uses.append(used)
            elif ID.fullmatch(node.kind) and node.is_active:
                raise HelperError(
                    f"The definition of the subgraph {node.label} is not in {document.where}",
                    remedy=ADVICE,
                )
    return uses


def shown_around(scope: Scope, node: EditorNode, widget: str) -> Optional[Kept]:
    """What the instances around show for a widget of `node`, the outermost one's value; None when they show none."""
    found = None
    while scope.parent is not None and scope.instance is not None:
        found_here = _proxied(scope.instance, node.id, widget)
        if found_here is None:
            break
        found = found_here if found_here.value is not None else found
        node, scope = scope.instance, scope.parent
    return found


class Instances:
    """The values that instances hold for their own inputs."""

    def __init__(self, document: Document, classes: Classes) -> None:
        self._document, self._classes = document, classes
        self._read: dict[Place, dict[str, Kept]] = {}

    def value(self, use: Scope, name: str) -> Optional[Kept]:
        """For the input `name` of the instance of `use`; None when the inner nodes have their own."""
        instance = use.instance
        if instance is None or use.parent is None:
            return None
        if instance.proxies:
            own = _proxied(instance, ITSELF, name)
        else:
            if instance.place not in self._read:
                self._read[instance.place] = self._by_order(use.graph, instance)
            own = self._read[instance.place].get(name)
        outer = shown_around(use.parent, instance, name)
        return outer or (own if own is not None and own.value is not None else None)

    def _by_order(self, graph: EditorGraph, instance: EditorNode) -> dict[str, Kept]:
        values = instance.values
        if isinstance(values, dict):
            return {name: Kept(values[name], (*instance.place, name)) for name in graph.inputs if name in values}
        count = max((place + 1 for place, value in enumerate(values) if value is not None), default=0)
        alignment = self._alignment(graph, instance, values[:count]) if count else None
        places = alignment.places if alignment else {}
        return {name: Kept(values[place], (*instance.place, place)) for name, place in places.items()}

    def _alignment(self, graph: EditorGraph, instance: EditorNode, values: list[Any]) -> Alignment:
        """The editor writes the values of those inputs that nothing is linked to; some keep the others' places."""
        widgets = [widget for widget in map(lambda name: self._widget(graph, instance, name), graph.inputs) if widget]
        linked = [slot.name for slot in instance.inputs if slot.link is not None]
        free = [widget for widget in widgets if widget.name not in linked]
        found = [align(free, values), align(widgets, values, linked)]
        for alignment, count in zip(found, (len(free), len(widgets))):
            if alignment is not None and alignment.count == len(values) and len(alignment.places) == count:
                return alignment
        for alignment in found:
            if alignment is not None and alignment.count == len(values):
                return alignment
        names = ", ".join(f'"{widget.name}"' for widget in free) or "none"
        raise HelperError(
            f"The {len(values)} values of the subgraph {instance.label} in {self._document.where} do not fit the "
            f"inputs that it shows ({names})",
            remedy=ADVICE,
        )

    def _widget(self, graph: EditorGraph, instance: EditorNode, name: str) -> Optional[Input]:
        """What kind of value an instance can hold for its input `name`; None when it takes nothing but a link."""
        behind = self._behind(graph, name)
        slot = instance.slot(name)
        if behind is None and slot is not None and slot.widget:
            behind = Input(name, slot.kind, {})
        return Input(name, behind.kind, behind.options, behind.choices) if behind else None

    def _behind(self, graph: EditorGraph, name: str) -> Optional[Input]:
        """The widget of an inner node that an input leads to, through as many subgraphs as it takes."""
        waiting, seen = [(graph, name)], set()
        while waiting:
            graph, name = waiting.pop()
            if (id(graph), name) in seen:
                continue
            seen.add((id(graph), name))
            for link in graph.entries.get(name, ()):
                node = graph.nodes.get(link.target)
                if node is None or not 0 <= link.target_slot < len(node.inputs):
                    continue
                inner = node.inputs[link.target_slot].name
                if node.kind in self._document.subgraphs:
                    waiting.append((self._document.subgraphs[node.kind], inner))
                    continue
                spec = self._classes.of(node.kind).inputs.get(inner)
                if spec is not None and spec.is_widget:
                    return spec
        return None


def _proxied(instance: EditorNode, inner: str, widget: str) -> Optional[Kept]:
    """The value that an instance shows for a widget of the node `inner`; its value is None when it keeps none."""
    if instance.proxies is None or (inner, widget) not in instance.proxies:
        return None
    place = instance.proxies.index((inner, widget))
    values = instance.values
    value = values[place] if isinstance(values, list) and place < len(values) else None
    return Kept(value, (*instance.place, place))
