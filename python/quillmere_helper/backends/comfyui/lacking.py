"""What a graph needs that is not on its server: models, mostly."""

from typing import Sequence

from ...pool import Lacking
from .classes import Classes, Input
from .graph import Graph
from .source import some
from .wiring import Wiring

Missing = dict[str, str]  # a value that the server does not offer: "node", "title", "kind", "input", "value"


def missing_files(graph: Graph, wired: Wiring, classes: Classes) -> list[Missing]:
    """Choices of the graph that the server does not offer: models, mostly. Ours are sent with each render."""
    placed = {(place["node"], place["input"]) for place in wired.places}
    parts = {place["part"] for place in wired.places}
    absent = []
    for identifier in sorted(graph.upstream(wired.outputs)):
        node = graph.nodes[identifier]
        for name, spec in classes.of(node.kind).inputs.items():
            value = node.inputs.get(name)
            if not isinstance(value, str) or (identifier, name) in placed or _offers(spec, value):
                continue
            if "guide" in parts or not spec.loads_pictures:  # else it may be the one that is to load the guide
                told = {"node": identifier, "title": node.title, "kind": node.kind}
                absent.append({**told, "input": name, "value": value})
    return absent


def not_there(absent: Sequence[Missing], where: str) -> Lacking:
    names = [f'"{file["value"]}" ({file["input"]} of {file["kind"]}, node {file["node"]})' for file in absent]
    return Lacking(f"Not on the server, for {where}: {some(names)}", remedy="put the files there")


def _offers(spec: Input, value: str) -> bool:
    """Servers list no pictures in folders."""
    return spec.choices is None or value in spec.choices or (spec.loads_pictures and ("/" in value or "[" in value))
