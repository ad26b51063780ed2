"""What the nodes of a graph are for, judged by how they are linked and by what the server says about their classes."""

from typing import Optional, Sequence

from ...errors import HelperError
from .classes import Classes, NodeClass
from .graph import Graph, Node, link_of
from .refusals import no_output

TEXT_NAMES = ("text", "prompt", "string", "value", "clip_l", "t5xxl", "text_g", "text_l")


def all_outputs(graph: Graph, classes: Classes) -> list[str]:
    """The IDs of the nodes that the server runs the graph for."""
    return [node.id for node in graph.nodes.values() if classes.of(node.kind).is_output]


def outputs(graph: Graph, classes: Classes, marked: Optional[Node], where: str) -> list[str]:
    """The IDs of the nodes whose pictures count, the most important first: the marked one, else those that save
    pictures, else those that only show them."""
    if marked is not None:
        return [marked.id]
    ends = all_outputs(graph, classes)
    if not ends:
        raise HelperError(no_output(where))
    saving = [end for end in ends if "filename_prefix" in graph.nodes[end].inputs]
    return sorted(saving or ends, key=lambda end: int(end) if end.isdigit() else -1, reverse=True)


def picture_loaders(nodes: Sequence[Node], classes: Classes) -> list[Node]:
    def loads_picture(described: NodeClass) -> bool:
        return "IMAGE" in described.outputs and "image" in described.inputs and described.inputs["image"].loads_pictures

    return [node for node in nodes if loads_picture(classes.of(node.kind))]


def empty_latents(nodes: Sequence[Node], classes: Classes) -> list[Node]:
    """The nodes that start a picture from nothing and so give its size."""
    sized = [node for node in nodes if all(type(node.inputs.get(name)) is int for name in ("width", "height"))]
    making = [node for node in sized if "LATENT" in classes.of(node.kind).outputs]
    return [node for node in making if not any(link_of(value) for value in node.inputs.values())]


def positive_texts(graph: Graph, nodes: Sequence[Node]) -> list[Node]:
    """The nodes whose text tells the samplers among `nodes` what to show, found upstream from their positive inputs."""
    found: list[Node] = []
    for node in nodes:
        if "positive" in node.inputs and ("latent_image" in node.inputs or "model" in node.inputs):
            _follow(graph, node, "positive", found, set())
        elif "conditioning" in node.inputs and "model" in node.inputs:
            _follow(graph, node, "conditioning", found, set())
    return found


def text_inputs(node: Node, classes: Classes) -> list[str]:
    """The literal texts of `node` that take a prompt: those of several lines, else one with a usual name."""
    literal = [name for name, value in node.inputs.items() if isinstance(value, str)]
    specs = classes.of(node.kind).inputs
    long = [name for name in specs if specs[name].kind == "STRING" and specs[name].options.get("multiline")]
    return [name for name in long if name in literal] or [name for name in TEXT_NAMES if name in literal][:1]


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
    for name, source in graph.sources(encoder):
        if name in TEXT_NAMES and any(isinstance(value, str) for value in source.inputs.values()):
            return source
    return encoder
