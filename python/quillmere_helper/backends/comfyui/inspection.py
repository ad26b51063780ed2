"""Whether a ComfyUI server has all that a workflow needs."""

from __future__ import annotations

from typing import Any

from ...errors import HelperError
from .classes import Classes
from .client import Comfy
from .graph import Graph
from .source import Source
from .wiring import Wanted, wire

TRIAL = Wanted("prompt", "guide.png", "", 512, 512, 0, 0, "quillmere/check/picture")
MOST_NAMED = 5


def inspect(source: Source) -> dict[str, Any]:
    """Facts about the server. Raises HelperError that names what is missing there, or unclear in the workflow."""
    comfy = Comfy(source.site)
    facts = {"server": source.site.url, "version": comfy.version()}
    classes = Classes(comfy.class_info)
    refuse_missing_classes(source, classes)
    graph = source.graph(classes)
    absent = missing_files(graph, classes)
    if absent:
        raise HelperError(f"Not on the server, for {source.where}: {_some(absent)}; put the files there")
    wire(graph, classes, TRIAL, source.where)
    return facts


def refuse_missing_classes(source: Source, classes: Classes) -> None:
    """Before any work: the server itself would name only one of them."""
    if "nodes" in source.content:
        return  # the conversion names them
    missing = classes.missing(node.kind for node in source.graph(classes).nodes.values())
    if missing:
        raise HelperError(
            f"The server does not know these nodes of {source.where}: {_some(missing)}; install their node packs"
        )


def missing_files(graph: Graph, classes: Classes) -> list[str]:
    """Choices of the graph that the server does not offer: models, mostly. Pictures are sent with each render."""
    absent = []
    for node in graph.nodes.values():
        described = classes.get(node.kind)
        for name, spec in (described.inputs if described else {}).items():
            value = node.inputs.get(name)
            if spec.choices is not None and not spec.loads_pictures and isinstance(value, str):
                if value not in spec.choices:
                    absent.append(f'"{value}" ({name} of {node.label})')
    return absent


def _some(names: list[str]) -> str:
    more = len(names) - MOST_NAMED
    return ", ".join(names[:MOST_NAMED]) + (f" and {more} more" if more > 0 else "")
