"""What the nodes of a graph are for, judged by how they are linked and by what the server says about their classes."""

from typing import Iterable, Optional, Sequence

from ...errors import HelperError
from .classes import Classes, NodeClass
from .graph import LINK_AGAIN, Graph, Node, link_of
from .refusals import no_output


def all_outputs(graph: Graph, classes: Classes) -> list[str]:
    """The IDs of the nodes that the server runs the graph for."""
    return [node.id for node in graph.nodes.values() if classes.of(node.kind).is_output]


def saves(node: Node) -> bool:
    """Whether an output node writes files, rather than only showing what it gets."""
    return "filename_prefix" in node.inputs


def outputs(graph: Graph, classes: Classes, marked: Optional[Node], where: str) -> list[str]:
    """The IDs of all output nodes, the most important first: the marked one, then those that save pictures, then those
    that only show them."""
    ends = all_outputs(graph, classes)
    if marked is not None and marked.id not in ends:
        raise HelperError(f"{marked.label} in {where} gives no picture out", remedy='title a "Save Image" node so')
    if not ends:
        raise no_output(where)

    def rank(end: str) -> tuple[bool, bool, bool, list[int]]:
        node = graph.nodes[end]
        numbers = [int(step) if step.isdecimal() and len(step) < 20 else -1 for step in end.split(":")]
        pictures = any(spec.kind == "IMAGE" for spec in classes.of(node.kind).inputs.values())
        return marked is not None and end == marked.id, saves(node) and pictures, saves(node), numbers

    return sorted(ends, key=rank, reverse=True)


def starved(graph: Graph, classes: Classes) -> dict[str, str]:
    """The output nodes that cannot run, with the reason: some node before them lacks a link, mostly to a muted one."""
    reasons: dict[str, str] = {}
    fed: dict[str, list[str]] = {}  # the nodes that each node is linked to
    for node in graph.nodes.values():
        for _, source in graph.sources(node):
            fed.setdefault(source.id, []).append(node.id)
        specs = classes.of(node.kind).inputs.values()
        given = {name.split(".")[0] for name in node.inputs}  # an input of many links has them behind a dot
        lacks = [spec.name for spec in specs if spec.required and not spec.is_widget and spec.name not in given]
        if lacks:
            reasons[node.id] = f'nothing is linked to "{lacks[0]}" of {node.label}'
    waiting = list(reasons)
    for starved_node in waiting:  # which grows meanwhile
        for after in fed.get(starved_node, ()):
            if after not in reasons:
                reasons[after] = reasons[starved_node]
                waiting.append(after)
    return {end: reasons[end] for end in all_outputs(graph, classes) if end in reasons}


def picture_loaders(nodes: Sequence[Node], classes: Classes) -> list[Node]:
    def loads_picture(described: NodeClass) -> bool:
        return "IMAGE" in described.outputs and "image" in described.inputs and described.inputs["image"].loads_pictures

    return [node for node in nodes if loads_picture(classes.of(node.kind))]


def gives_mask(loader: Node, nodes: Sequence[Node], classes: Classes) -> bool:
    """Whether the mask that a picture loader gives is linked to any of `nodes`."""
    outputs = classes.of(loader.kind).outputs
    taken = {link[1] for node in nodes for link in map(link_of, node.inputs.values()) if link and link[0] == loader.id}
    return any(0 <= slot < len(outputs) and outputs[slot] == "MASK" for slot in taken)


def empty_latents(nodes: Sequence[Node], classes: Classes) -> list[Node]:
    """The nodes that start a picture from nothing and so give its size."""
    sized = [node for node in nodes if all(type(node.inputs.get(name)) is int for name in ("width", "height"))]
    making = [node for node in sized if "LATENT" in classes.of(node.kind).outputs]
    return [node for node in making if not any(link_of(value) for value in node.inputs.values())]


def dangling(graph: Graph, nodes: Iterable[Node], where: str) -> Optional[HelperError]:
    """What is wrong with the first link of `nodes` that leads nowhere."""
    for node in nodes:
        for name, value in node.inputs.items():
            link = link_of(value)
            if link is None:
                continue
            source = graph.nodes.get(link[0])
            end = f"node {link[0]}, which is not there" if source is None else f"output {link[1]} of {source.label}"
            if source is None or link[1] < 0:
                return HelperError(f'"{name}" of {node.label} in {where} is linked to {end}', remedy=LINK_AGAIN)
    return None
