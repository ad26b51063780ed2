"""What the nodes of a graph are for, judged by how they are linked and by what the server says about their classes."""

from __future__ import annotations

from typing import Optional

from ...errors import HelperError
from .classes import Classes
from .graph import Graph, Node, link_of

TEXT_NAMES = ("text", "prompt", "string", "value", "clip_l", "t5xxl", "text_g", "text_l")


def all_outputs(graph: Graph, classes: Classes) -> list[str]:
    """The IDs of the nodes that the server runs the graph for."""
    described = ((node.id, classes.get(node.kind)) for node in graph.nodes.values())
    return [identifier for identifier, node_class in described if node_class and node_class.is_output]


def outputs(graph: Graph, classes: Classes, marked: Optional[Node], where: str) -> list[str]:
    """The IDs of the nodes whose pictures count, the most important first: the marked one, else those that save
    pictures, else those that only show them."""
    if marked is not None:
        return [marked.id]
    ends = all_outputs(graph, classes)
    saving = [end for end in ends if "filename_prefix" in graph.nodes[end].inputs]
    if not ends:
        raise HelperError(f'No node in {where} gives a picture out; add a "Save Image" node')
    return sorted(saving or ends, key=_number, reverse=True)


def picture_loaders(graph: Graph, classes: Classes, needed: set[str]) -> list[Node]:
    found = []
    for node in graph.nodes.values():
        node_class = classes.get(node.kind)
        picture = node_class.inputs.get("image") if node_class else None
        gives_picture = node_class is not None and "IMAGE" in node_class.outputs
        if node.id in needed and picture is not None and picture.loads_pictures and gives_picture:
            found.append(node)
    return found


def empty_latents(graph: Graph, classes: Classes, needed: set[str]) -> list[Node]:
    """The nodes that start a picture from nothing and so give its size."""
    found = []
    for node in graph.nodes.values():
        node_class = classes.get(node.kind)
        makes_latent = node_class is not None and "LATENT" in node_class.outputs
        sizes = [type(node.inputs.get(name)) is int for name in ("width", "height")]
        if node.id in needed and makes_latent and all(sizes) and not any(graph.sources(node)):
            found.append(node)
    return found


def positive_texts(graph: Graph, needed: set[str]) -> list[Node]:
    """The nodes whose text tells the samplers what to show, found upstream from their positive inputs."""
    found: list[Node] = []
    for node in graph.nodes.values():
        is_sampler = "positive" in node.inputs and ("latent_image" in node.inputs or "model" in node.inputs)
        is_guider = "conditioning" in node.inputs and "model" in node.inputs
        if node.id in needed and (is_sampler or is_guider):
            _follow(graph, node, "positive" if is_sampler else "conditioning", found, set())
    return found


def text_inputs(node: Node, classes: Classes) -> list[str]:
    """The literal texts of `node` that take a prompt: those of several lines, else one with a usual name."""
    node_class = classes.get(node.kind)
    literal = [name for name, value in node.inputs.items() if isinstance(value, str)]
    known = {name: spec for name, spec in (node_class.inputs if node_class else {}).items() if name in literal}
    several_lines = [name for name, spec in known.items() if spec.kind == "STRING" and spec.options.get("multiline")]
    return several_lines or [name for name in TEXT_NAMES if name in literal][:1]


def _follow(graph: Graph, node: Node, name: str, found: list[Node], seen: set[tuple[str, str]]) -> None:
    """Goes up from input `name` of `node` to the text encoders that it depends on, past nodes that only change what
    passes through them: of their inputs, the one that belongs to the output taken."""
    link = link_of(node.inputs.get(name))
    source = graph.nodes.get(link[0]) if link else None
    if link is None or source is None or (source.id, name) in seen:
        return
    seen.add((source.id, name))
    if "clip" in source.inputs or "TextEncode" in source.kind:
        encoder = _where_its_text_is(graph, source)
        if encoder not in found:
            found.append(encoder)
    elif "positive" in source.inputs and "negative" in source.inputs:
        _follow(graph, source, "negative" if link[1] == 1 else "positive", found, seen)
    else:
        for candidate in [key for key in source.inputs if key.startswith("conditioning")]:
            _follow(graph, source, candidate, found, seen)


def _where_its_text_is(graph: Graph, encoder: Node) -> Node:
    """The node that an encoder gets its text from, when its text is linked; else the encoder."""
    for name, source, _ in graph.sources(encoder):
        if name in TEXT_NAMES and any(isinstance(value, str) for value in source.inputs.values()):
            return source
    return encoder


def _number(identifier: str) -> int:
    return int(identifier) if identifier.isdigit() else -1
