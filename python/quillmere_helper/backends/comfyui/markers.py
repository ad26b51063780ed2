"""The titles of nodes that say what a node is for."""

import difflib
from typing import Iterable, Optional

from ...errors import HelperError
from .graph import Graph, Node

PREFIX = "quillmere"
PARTS = ("guide", "style", "prompt", "width", "height", "size", "frame", "seed", "result")
CONTROL = "control:"


def title_of(part: str) -> str:
    return f"Quillmere {part.capitalize()}"


def marked_nodes(graph: Graph, needed: Iterable[str], where: str) -> dict[str, Node]:
    """The node for each part that a title names. Of several with one title, that of the nodes `needed` counts.

    Raises HelperError when several are left, and for titles that begin like a marker and are none.
    """
    found: dict[str, list[Node]] = {}
    for node in graph.nodes.values():
        word = word_of(node.title)
        if word is None or word.startswith(CONTROL):
            continue
        if word not in PARTS:
            near = difflib.get_close_matches(word, [*PARTS, CONTROL], 1, 0.0)[0]
            meant = title_of(near) if near != CONTROL else "Quillmere Control: NAME"
            text = f'The title "{node.title}" of node {node.id} in {where} is no marker; did you mean "{meant}"?'
            raise HelperError(f"{text} Titles that begin with Quillmere are for markers")
        found.setdefault(word, []).append(node)
    for node_id, title in graph.of_editor.items():
        if word_of(title) is not None:
            remedy = "title the node that it feeds, or one inside of the subgraph"
            raise HelperError(f'"{title}" (node {node_id}) in {where} is known to the editor alone; {remedy}')
    used = set(needed)
    return {part: _only(part, nodes, used, where) for part, nodes in found.items()}


def word_of(title: str) -> Optional[str]:
    """What follows the mark in a title, in lower case and with single spaces; None without the mark."""
    words = " ".join(title.lower().split())
    return words[len(PREFIX) :].strip() if words.startswith(PREFIX) else None


def _only(part: str, nodes: list[Node], used: set[str], where: str) -> Node:
    left = [node for node in nodes if node.id in used] if len(nodes) > 1 else nodes
    if len(left) == 1:
        return left[0]
    names = ", ".join(f"node {node.id} ({node.kind})" for node in nodes)
    remedy = "keep one of them" + ("; write {prompt} into the others" if part == "prompt" else "")
    raise HelperError(f'Several nodes in {where} are titled "{title_of(part)}": {names}; {remedy}')
