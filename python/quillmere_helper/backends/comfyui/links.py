"""Where the links of an editor's graph come from, through everything that the server never sees: reroutes, primitives,
bypassed nodes, and the way into subgraphs and out of them."""

from dataclasses import dataclass
from typing import Optional, Union

from ...errors import HelperError
from .editor import BYPASSED, ENTRY, MUTED, PRIMITIVE, REROUTE, EditorNode, LinkId
from .graph import LINK_AGAIN
from .subgraphs import Instances, Kept, Scope, shown_around


@dataclass(frozen=True)
class Origin:
    """A node of the expanded graph and the number of one of its outputs."""

    id: str
    slot: int


Source = Union[Kept, Origin, None]
Step = tuple[Scope, LinkId]


class Links:
    def __init__(self, instances: Instances, where: str) -> None:
        self._instances, self._where = instances, where
        self._known: dict[Step, Source] = {}

    def of(self, scope: Scope, link: LinkId, asked: str) -> Source:
        """What a link brings; None when it comes from nowhere. Raises HelperError, which names what has `asked`, for
        one that hangs in the air, and for links in a circle."""
        trail: dict[Step, Source] = {}
        step: Optional[Step] = (scope, link)
        while step is not None and step not in self._known:
            if step in trail:
                raise HelperError(f"The links before {asked} in {self._where} run in a circle", remedy=LINK_AGAIN)
            here = step
            trail[here] = None
            step, trail[here] = self._next(*here, asked)
        found = self._known[step] if step else None
        for passed, value in reversed(list(trail.items())):
            found = value if found is None else found  # what comes from further away goes before what an instance holds
            self._known[passed] = found
        return found

    def _next(self, scope: Scope, link: LinkId, asked: str) -> tuple[Optional[Step], Source]:
        """The link that this one comes from, if any, and what it brings in case that one brings nothing."""
        told = scope.graph.links.get(link)
        if told is None:
            raise HelperError(
                f"{asked} in {self._where} hangs on link {link}, which is not there",
                remedy=LINK_AGAIN,
            )
        if told.origin == ENTRY and scope.parent is not None and scope.instance is not None:
            name = scope.graph.inputs[told.slot] if told.slot < len(scope.graph.inputs) else ""
            slot = scope.instance.slot(name)
            outside = (scope.parent, slot.link) if slot and slot.link is not None else None
            return outside, self._instances.value(scope, name)
        node = scope.graph.nodes.get(told.origin)
        if node is None:
            missing = f"node {told.origin}, which is not there"
            raise HelperError(f"{asked} in {self._where} is linked to {missing}", remedy=LINK_AGAIN)
        if node.mode == MUTED:
            return None, None
        if node.mode == BYPASSED or node.kind == REROUTE:
            before = _bypass(node, told.slot) if node.kind != REROUTE else node.inputs[0].link if node.inputs else None
            return None if before is None else (scope, before), None
        if node.kind == PRIMITIVE:
            return None, primitive_value(scope, node)
        inner = scope.uses.get(node.id)
        if inner is None:
            return None, Origin(scope.path + node.id, told.slot)
        leaving = inner.graph.exits.get(told.slot)
        return None if leaving is None else (inner, leaving), None


def primitive_value(scope: Scope, node: EditorNode) -> Optional[Kept]:
    own = Kept(node.values[0], (*node.place, 0)) if isinstance(node.values, list) and node.values else None
    return shown_around(scope, node, "value") or own


def _bypass(node: EditorNode, slot: int) -> Optional[LinkId]:
    """The link that takes the place of output `slot` of a bypassed node: of an input of the same type, if possible
    the one at the same place."""
    kind = node.outputs[slot] if slot < len(node.outputs) else None
    alike = [place for place, candidate in enumerate(node.inputs) if candidate.kind == kind]
    return node.inputs[slot if slot in alike else alike[0]].link if alike else None
