"""The titles of nodes that say what a node is for."""

import difflib
from typing import Any, Iterable, Mapping, Optional

from ...errors import HelperError
from ...passes import MATTE, NORMALS, called, is_word
from ...untrusted import as_object, as_text, objects_in
from .editor import BYPASSED, MUTED
from .graph import Graph, Node

PREFIX = "quillmere"
PARTS = ("guide", "style", "prompt", "width", "height", "size", "frame", "seed", "result")
CONTROL = "control:"
MASK = "object mask:"  # before the name of an object or a material
PASSES = {"depth": "depth", "normal": "normal:bae", "lines": "lines"}  # what a title says, and the word of the pass
PASSES.update((f"normal: {kind}", f"normal:{kind}") for kind in NORMALS)
LIKE = {**{part: f"Quillmere {part.capitalize()}" for part in (*PARTS, *PASSES)}, MASK: "Quillmere Object Mask: NAME"}
LIKE[CONTROL] = "Quillmere Control: NAME"


def title_of(part: str) -> str:
    return LIKE[part]


def pass_in(title: str) -> Optional[str]:
    """The word of the pass that a title asks for, see passes.py."""
    word = word_of(title)
    if word is None:
        return None
    if word.startswith(MASK):
        asked = MATTE + " ".join(title.partition(":")[2].split())
        return asked if is_word(asked) else None
    return PASSES.get(": ".join(part.strip() for part in word.split(":")))


def passes_in(content: Mapping[str, Any]) -> list[str]:
    """The words of the passes that a graph of either format asks for, told by its titles alone. Of a graph in the editor's
    format that are those of all nodes that aren't muted, be they needed or not."""
    waiting, titles = [content], []
    while waiting:
        graph = waiting.pop()
        waiting += objects_in(as_object(graph.get("definitions")).get("subgraphs"))
        active = [node for node in objects_in(graph.get("nodes")) if node.get("mode") not in (MUTED, BYPASSED)]
        titles += [as_text(node.get("title")) for node in active]
    titles += [as_text(as_object(as_object(node).get("_meta")).get("title")) for node in content.values()]
    return list(dict.fromkeys(asked for asked in map(pass_in, titles) if asked))


def marked_nodes(graph: Graph, needed: Iterable[str], where: str) -> dict[str, Node]:
    """The node for each part that a title names. Of several with one title, that of the nodes `needed` counts.

    Raises HelperError when several are left, and for titles that begin like a marker and are none.
    """
    found: dict[str, list[Node]] = {}
    for node in graph.nodes.values():
        word = word_of(node.title)
        if word is None or word.startswith(CONTROL):
            continue
        word = pass_in(node.title) or word
        if word not in PARTS and not is_word(word):
            meant = title_of(difflib.get_close_matches(word, LIKE, 1, 0.0)[0])
            text = f'The title "{node.title}" of node {node.id} in {where} is no marker; did you mean "{meant}"?'
            raise HelperError(f"{text} Titles that begin with Quillmere are for markers")
        found.setdefault(word, []).append(node)
    for node_id, title in graph.of_editor.items():
        if word_of(title) is not None:
            remedy = "title the node that it feeds, or one inside of the subgraph"
            raise HelperError(f'"{title}" (node {node_id}) in {where} is known to the editor alone', remedy=remedy)
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
    if is_word(part):
        raise HelperError(
            f"Several nodes in {where} ask for {called(part)}: {names}",
            remedy="keep one, and link it to all",
        )
    remedy = "keep one of them" + ("; write {prompt} into the others" if part == "prompt" else "")
    raise HelperError(f'Several nodes in {where} are titled "{title_of(part)}": {names}', remedy=remedy)
