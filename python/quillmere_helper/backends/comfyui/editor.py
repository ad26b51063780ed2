"""A graph in the format in which the graph editor saves, every field checked when it is read."""

import itertools
from dataclasses import dataclass, field
from typing import Any, Mapping, Optional, Union

from ...errors import HelperError
from ...untrusted import as_object, as_text
from .classes import is_number, shown
from .graph import Place

ADVICE = "save it again in ComfyUI, or use File > Export (API) there and choose that file"
MUTED, BYPASSED = 2, 4  # node modes
NOTES = ("Note", "MarkdownNote")
REROUTE, PRIMITIVE = "Reroute", "PrimitiveNode"
ENTRY, EXIT = "-10", "-20"  # inside a subgraph, the nodes that stand for its inputs and its outputs
MOST_INPUTS = 250  # of a subgraph
LinkId = Union[int, str]


@dataclass(frozen=True)
class Slot:
    name: str
    kind: str
    link: Optional[LinkId] = None
    widget: str = ""  # what is linked in place of a value; empty: nothing but a link can be there


@dataclass(frozen=True)
class Link:
    origin: str
    slot: int
    target: str
    target_slot: int


@dataclass(frozen=True)
class EditorNode:
    id: str
    kind: str
    title: str
    mode: int
    inputs: tuple[Slot, ...]
    outputs: tuple[str, ...]  # their types
    values: Union[list[Any], dict[str, Any]]  # of its widgets, one after the other or by name
    place: Place = field(compare=False)  # of `values` in the file
    # What a subgraph's instance shows of the nodes inside, in the order of `values`: the inner node, its widget.
    proxies: Optional[tuple[tuple[str, str], ...]] = None

    @property
    def is_active(self) -> bool:
        return self.mode not in (MUTED, BYPASSED)

    @property
    def label(self) -> str:
        named = self.title and self.title != self.kind
        return f'"{self.title}" ({self.kind}, node {self.id})' if named else f"{self.kind} (node {self.id})"

    def slot(self, name: str) -> Optional[Slot]:
        return next((slot for slot in self.inputs if slot.name == name), None)


@dataclass(frozen=True)
class EditorGraph:
    """The file's own graph, or the definition of a subgraph, which has names for its `inputs`."""

    name: str
    nodes: dict[str, EditorNode]
    links: dict[LinkId, Link]
    inputs: tuple[str, ...] = ()
    entries: Mapping[str, tuple[Link, ...]] = field(default_factory=dict)  # the links from each input
    exits: Mapping[int, LinkId] = field(default_factory=dict)  # the link to each output


class Document:
    """A file: its graph, and the subgraphs that it defines, by ID. Raises HelperError for one that is damaged."""

    def __init__(self, content: Mapping[str, Any], where: str) -> None:
        self.where = where
        self.subgraphs: dict[str, EditorGraph] = {}
        self.graph = self._graph(content, (), f"The graph in {where}")
        waiting: list[tuple[Mapping[str, Any], Place]] = [(content, ())]
        while waiting:
            owner, place = waiting.pop()
            definitions = self._field(owner, "definitions", dict, {}, f"The graph in {where}")
            listed = self._objects(definitions, "subgraphs", f"The graph in {where}")
            for number, definition in enumerate(listed):
                below: Place = (*place, "definitions", "subgraphs", number)
                self._define(definition, below)
                waiting.append((definition, below))

    def _define(self, definition: Mapping[str, Any], place: Place) -> None:
        what = f"A subgraph in {self.where}"
        identifier = self._field(definition, "id", str, "", what)
        graph = self._graph(definition, place, what)
        if not identifier or self.subgraphs.setdefault(identifier, graph) != graph:
            raise HelperError(f"{what} has no ID of its own", remedy=ADVICE)

    def _graph(self, given: Mapping[str, Any], place: Place, what: str) -> EditorGraph:
        name = as_text(given.get("name"))
        what = f'The subgraph "{name}" in {self.where}' if name and place else what
        nodes: dict[str, EditorNode] = {}
        for number, told in enumerate(self._objects(given, "nodes", what)):
            node = self._node(told, (*place, "nodes", number, "widgets_values"))
            if node.id in nodes:
                raise HelperError(f"{what} has two nodes with the number {node.id}", remedy=ADVICE)
            nodes[node.id] = node
        inputs = tuple(as_text(slot.get("name")) for slot in self._objects(given, "inputs", what)) if place else ()
        if len(inputs) > MOST_INPUTS:
            raise HelperError(f"{what} has {len(inputs)} inputs", remedy=ADVICE)
        links = self._links(given, what)
        entering = sorted((link for link in links.values() if link.origin == ENTRY), key=lambda link: link.slot)
        from_slot = {slot: tuple(group) for slot, group in itertools.groupby(entering, lambda link: link.slot)}
        entries = {named: from_slot.get(slot, ()) for slot, named in enumerate(inputs)}
        exits = {link.target_slot: identifier for identifier, link in links.items() if link.target == EXIT}
        return EditorGraph(name, nodes, links, inputs, entries, exits)

    def _node(self, told: Mapping[str, Any], place: Place) -> EditorNode:
        identifier = self._identifier(told.get("id"), f"A node in {self.where}")
        what = f"Node {identifier} in {self.where}"
        kind = self._field(told, "type", str, "", what)
        title, mode = as_text(told.get("title")), self._field(told, "mode", int, 0, what)
        inputs = tuple(self._slot(slot, what) for slot in self._objects(told, "inputs", what))
        outputs = tuple(_type_of(slot) for slot in self._objects(told, "outputs", what))
        values = self._field(told, "widgets_values", (list, dict), [], what)
        shows = as_object(told.get("properties")).get("proxyWidgets")
        proxies = None if shows is None else self._proxies(shows, what)
        return EditorNode(identifier, kind, title, mode, inputs, outputs, values, place, proxies)

    def _slot(self, told: Mapping[str, Any], what: str) -> Slot:
        link = told.get("link")
        if link is not None and type(link) not in (int, str):
            raise self._damaged(what, "link", link)
        widget = as_text(self._field(told, "widget", dict, {}, what).get("name"))
        return Slot(self._field(told, "name", str, "", what), _type_of(told), link, widget)

    def _proxies(self, listed: Any, what: str) -> tuple[tuple[str, str], ...]:
        pairs = listed if isinstance(listed, list) else [listed]
        for pair in pairs:
            if not isinstance(pair, list) or len(pair) < 2 or not isinstance(pair[1], str):
                raise self._damaged(what, "proxyWidgets", pair)
        return tuple((self._identifier(pair[0], what), pair[1]) for pair in pairs)

    def _links(self, given: Mapping[str, Any], what: str) -> dict[LinkId, Link]:
        """From either of the two ways in which links are saved; some editors leave gaps between them."""
        links: dict[LinkId, Link] = {}
        for told in self._field(given, "links", list, [], what):
            if told is None:
                continue
            if isinstance(told, dict):
                told = [told.get(key) for key in ("id", "origin_id", "origin_slot", "target_id", "target_slot")]
            if not isinstance(told, list) or len(told) < 5 or type(told[0]) not in (int, str):
                raise self._damaged(what, "links", told)
            if type(told[2]) is not int or type(told[4]) is not int or told[2] < 0:
                raise self._damaged(what, "links", told)
            origin, target = self._identifier(told[1], what), self._identifier(told[3], what)
            links[told[0]] = Link(origin, told[2], target, told[4])
        return links

    def _objects(self, given: Mapping[str, Any], key: str, what: str) -> list[dict[str, Any]]:
        listed: list[Any] = self._field(given, key, list, [], what)
        for member in listed:
            if not isinstance(member, dict):
                raise self._damaged(what, key, member)
        return listed

    def _identifier(self, value: Any, what: str) -> str:
        if not value or not isinstance(value, str):
            if type(value) is not int or not is_number(value):
                raise self._damaged(what, "id", value)
        return str(value)

    def _field(self, given: Mapping[str, Any], key: str, kinds: Any, absent: Any, what: str) -> Any:
        value = given.get(key)
        if value is None:
            return absent
        if not isinstance(value, kinds) or isinstance(value, bool):
            raise self._damaged(what, key, value)
        return value

    def _damaged(self, what: str, key: str, value: Any) -> HelperError:
        return HelperError(f'{what} is damaged: "{key}" cannot be {shown(value)}', remedy=ADVICE)


def _type_of(slot: Mapping[str, Any]) -> str:
    kind = slot.get("type")  # -1 and 0 stand for any, and widgets that are lists have lists
    return kind if isinstance(kind, str) else "COMBO" if isinstance(kind, list) else "*"
