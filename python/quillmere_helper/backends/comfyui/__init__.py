"""The ComfyUI back end: runs a graph on a ComfyUI server and fetches its pictures."""

from typing import Any

from ...errors import HelperError
from ...workflows import Workflow
from .. import Job, Result
from .classes import Classes
from .client import KIND, Comfy
from .graph import Graph
from .rendering import Rendering
from .source import read_source, some
from .wiring import GraphValues, wire

REQUIRES = ""
SERVER = KIND
TRIAL = GraphValues("prompt", "guide.png", "", 512, 512, 0, 0, "quillmere/check/picture")


def make(job: Job) -> Result:
    return Rendering(job, read_source(job.workflow)).run()


def check(workflow: Workflow) -> dict[str, Any]:
    """Names what is missing on the server, or unclear in the workflow."""
    source = read_source(workflow)
    comfy = Comfy(source.site)
    facts = {"server": source.site.url, "version": comfy.version()}
    classes = Classes(comfy.class_info)
    source.refuse_missing_classes(classes)
    graph = source.graph(classes)
    absent = _missing_files(graph, classes)
    if absent:
        raise HelperError(f"Not on the server, for {source.where}: {some(absent)}; put the files there")
    wire(graph, classes, TRIAL, source.where)
    return facts


def _missing_files(graph: Graph, classes: Classes) -> list[str]:
    """Choices of the graph that the server does not offer: models, mostly. Pictures are sent with each render."""
    absent = []
    for node in graph.nodes.values():
        for name, spec in classes.of(node.kind).inputs.items():
            value = node.inputs.get(name)
            choices = None if spec.loads_pictures else spec.choices
            if choices is not None and isinstance(value, str) and value not in choices:
                absent.append(f'"{value}" ({name} of {node.label})')
    return absent
