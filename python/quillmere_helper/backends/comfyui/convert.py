"""From the format in which the graph editor saves to the one that the server runs.

The editor does this in the browser and no server offers it. What the file and the server's own words about its nodes
decide is converted; the rest is refused by node and input.
"""

from typing import Any, Mapping, Optional

from ...errors import HelperError
from .classes import Classes, Input, NodeClass, shown
from .editor import ADVICE, NOTES, PRIMITIVE, REROUTE, Document, EditorNode, Slot
from .graph import Graph, Node
from .links import Links, Origin
from .subgraphs import Instances, Kept, Scope, shown_around, uses_in
from .widgets import align, first_misfit

LINKING = (REROUTE, PRIMITIVE)
OF_EDITOR = (*NOTES, *LINKING)


def kinds_in(content: Mapping[str, Any], classes: Classes, where: str) -> set[str]:
    """The classes of the nodes that would go to the server. Raises HelperError for a damaged file."""
    return {node.kind for scope in uses_in(Document(content, where)) for node in _to_send(scope, classes, [])}


def to_graph(content: Mapping[str, Any], classes: Classes, where: str) -> Graph:
    """Raises HelperError that names the node and the input which cannot be converted."""
    return _Conversion(Document(content, where), classes).run(content)


def _to_send(scope: Scope, classes: Classes, left_out: list[EditorNode]) -> list[EditorNode]:
    """The nodes of one use of a graph, but for those that are off or that only the editor knows. `left_out` gets those
    that the server does not know and nothing is linked to: labels and tools of node packs, mostly."""
    active = [node for node in scope.graph.nodes.values() if node.is_active and node.id not in scope.uses]
    origins = {link.origin for link in scope.graph.links.values()}
    sent: list[EditorNode] = []
    for node in active:
        linked = node.id in origins or any(slot.link is not None for slot in node.inputs)
        if node.kind not in OF_EDITOR:
            (sent if linked or classes.get(node.kind) else left_out).append(node)
    return sent


class _Conversion:
    def __init__(self, document: Document, classes: Classes) -> None:
        self._where, self._classes, self._document = document.where, classes, document
        self._notes: list[str] = []
        self._links = Links(Instances(document, classes), document.where)

    def run(self, content: Mapping[str, Any]) -> Graph:
        graph = Graph({}, content)
        left_out: list[EditorNode] = []
        for scope in uses_in(self._document):
            for node in _to_send(scope, self._classes, left_out):
                made = self._node(scope, node)
                if made.id in graph.nodes:
                    raise HelperError(f"Two nodes in {self._where} get the number {made.id}", remedy=ADVICE)
                graph.nodes[made.id] = made
            alone = [node for node in scope.graph.nodes.values() if node.id in scope.uses or node.kind in LINKING]
            graph.of_editor.update((scope.path + node.id, node.title) for node in alone if node.is_active)
        unknown = "is left out: the server does not know it, and nothing is linked to it"
        graph.notes += [*self._notes, *(f"{node.label} in {self._where} {unknown}" for node in left_out)]
        return graph

    def _node(self, scope: Scope, node: EditorNode) -> Node:
        described = self._classes.get(node.kind)
        if described is None:
            raise HelperError(
                f"The ComfyUI server does not know {node.label} in {self._where}",
                remedy=f"install the node pack that it belongs to, or {ADVICE}",
            )
        made = Node(scope.path + node.id, node.kind, {}, node.title)
        for name, kept in self._values(scope, node, described).items():
            self._put(made, described.inputs.get(name), name, kept)
        for slot in node.inputs:
            source = None if slot.link is None else self._links.of(scope, slot.link, f'"{slot.name}" of {node.label}')
            if source is None:
                continue
            name = self._name_today(node, slot, described)
            if isinstance(source, Origin):
                made.inputs[name] = [source.id, source.slot]
            elif source.value is not None:
                self._put(made, described.inputs.get(name), name, source)
        return made

    def _put(self, made: Node, spec: Optional[Input], name: str, kept: Kept) -> None:
        """A value that comes from elsewhere than the node itself can be of any kind."""
        value = spec.standard() if spec is not None and kept.value is None else kept.value
        if value is None:
            return
        if isinstance(value, (dict, list)) and spec is None or spec is not None and spec.misfit(value) == 2:
            kind = f" ({spec.kind})" if spec else ""
            raise HelperError(
                f'{made.label} in {self._where}: "{name}"{kind} cannot be {shown(value)}',
                remedy=ADVICE,
            )
        whole = spec is not None and spec.kind == "INT"
        made.inputs[name] = {"__value__": value} if isinstance(value, list) else int(value) if whole else value
        made.places[name] = kept.place

    def _values(self, scope: Scope, node: EditorNode, described: NodeClass) -> dict[str, Kept]:
        """What is kept for the widgets of `node`, by itself or by an instance around it; nothing for those that the
        node has gained since."""
        places = self._places(node, described)
        self._refuse_lost(node, described, places)
        values: dict[str, Kept] = {}
        known = [name for name, spec in described.inputs.items() if spec.is_widget]
        linked = [slot.name for slot in node.inputs if slot.link is not None]
        for name in [*known, *(name for name in places if name not in known and _is_known(name, described))]:
            own = Kept(None, ())
            if name in places:
                own = Kept(node.values[places[name]], (*node.place, places[name]))
                if name in linked and name in known and described.inputs[name].misfit(own.value) == 2:
                    own = Kept(None, own.place)  # of no meaning any more
            values[name] = shown_around(scope, node, name) or own
        return values

    def _places(self, node: EditorNode, described: NodeClass) -> dict[str, Any]:
        """Where in the values of `node` that of each input is, by the names of the inputs when it was saved."""
        values = node.values
        if isinstance(values, dict):
            return {name: name for name in described.inputs if name in values}
        linked = [slot.name for slot in node.inputs if slot.link is not None]
        named = [described.inputs.get(slot.widget) or Input(slot.widget, slot.kind, {}) for slot in _widgets_of(node)]
        order = list(described.inputs)
        ranks = [order.index(widget.name) for widget in named if widget.name in described.inputs]
        if named and ranks == sorted(ranks):  # editors since 2025 list them all, so that gained inputs don't matter
            alignment = align(named, values, linked)
            if alignment is not None and len(alignment.places) == len(named) and alignment.count == len(values):
                return dict(alignment.places)
        slots = {slot.name for slot in node.inputs}
        specs = described.inputs.values()
        widgets = [spec for spec in specs if spec.is_widget or (spec.may_be_widget and spec.name not in slots)]
        alignment = align(widgets, values, linked)
        if alignment is None:
            spec, value = first_misfit(widgets, values)
            raise HelperError(
                f"The values of {node.label} in {self._where} do not fit its inputs any more: {shown(value)} cannot be "
                f'"{spec.name}" ({spec.kind})',
                remedy=f"set the values of the node again and {ADVICE}",
            )
        if any(isinstance(value, dict) and value for value in values[alignment.count :]):
            self._notes.append(f"Values of {node.label} in {self._where} that only the editor understands are left out")
        return dict(alignment.places)

    def _refuse_lost(self, node: EditorNode, described: NodeClass, places: Mapping[str, Any]) -> None:
        """Values of inputs that the node has no longer, when another input may have taken their place; without any
        that may, they are left out."""
        for slot in _widgets_of(node):
            if slot.link is None and slot.widget in places and not _is_known(slot.widget, described):
                value = node.values[places[slot.widget]]
                gained = [spec for name, spec in described.inputs.items() if spec.is_widget and name not in places]
                self._refuse_renamed(node, slot.widget, [spec.name for spec in gained if spec.misfit(value) < 2])
                text = f'has no input "{slot.widget}" any more: it is left out'
                self._notes.append(f"{node.label} in {self._where} {text}")

    def _name_today(self, node: EditorNode, slot: Slot, described: NodeClass) -> str:
        """The name of the input that a linked slot belongs to. Names that the server does not tell may be those of a
        node that takes any, as long as the node lacks none that it needs."""
        names = [name for name in (slot.name, slot.widget) if name and _is_known(name, described)]
        if names:
            return names[0]
        taken = {other.name for other in node.inputs}
        free = [spec for spec in described.inputs.values() if spec.name not in taken]
        alike = [spec for spec in free if spec.kind == slot.kind or "*" in (spec.kind, slot.kind)]
        fits = [spec for spec in alike if (spec.is_widget if slot.widget else spec.required and not spec.is_widget)]
        gained = [spec.name for spec in fits]
        lost = [other for other in node.inputs if other.link is not None and other.kind == slot.kind]
        lost = [other for other in lost if not _is_known(other.name, described)]
        if len(gained) == 1 and len(lost) == 1 and not slot.widget:
            return gained[0]
        self._refuse_renamed(node, slot.name, gained)
        return slot.name

    def _refuse_renamed(self, node: EditorNode, name: str, gained: list[str]) -> None:
        if gained:
            names = ", ".join(f'"{gain}"' for gain in gained)
            raise HelperError(
                f'{node.label} in {self._where} has no input "{name}" on this server, and it is not clear whether it '
                f"is {names} now",
                remedy=f"put a new node of this kind in its place and {ADVICE}",
            )


def _widgets_of(node: EditorNode) -> list[Slot]:
    return [slot for slot in node.inputs if slot.widget]


def _is_known(name: str, described: NodeClass) -> bool:
    """Inputs that appear with a choice of another one have its name before a dot."""
    return name in described.inputs or name.split(".")[0] in described.inputs
