"""What a workflow file for ComfyUI holds: a graph by itself, or one wrapped in our own JSON with a URL."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Mapping

from ... import servers, web
from ...errors import HelperError
from ...json_reader import read_object
from ...parameters import Parameter, checked
from ...workflows import LARGEST_WORKFLOW, Workflow, is_api_graph, is_editor_graph
from . import convert
from .classes import Classes
from .graph import Graph, read_api

PARAMETERS = (
    Parameter(
        "seed",
        "workflow",
        'of the samplers; "workflow" keeps what the graph has',
        words=("workflow", "frame", "random"),
    ),
)
KEYS = ("backend", "url", "graph", "parameters")


@dataclass(frozen=True)
class Source:
    content: Mapping[str, Any]  # the graph, in one of its two formats
    self_contained: Mapping[str, Any]  # the workflow file with the graph in it, wherever that came from
    site: web.Site
    options: Mapping[str, Any]
    where: str  # for messages

    def graph(self, classes: Classes) -> Graph:
        """A fresh graph each time. Raises HelperError."""
        if is_api_graph(self.content):
            return read_api(self.content, self.where)
        return convert.to_graph(self.content, classes, self.where)


def read_source(workflow: Workflow) -> Source:
    """Raises HelperError for a file that is none, and for logins and URLs that cannot be used."""
    content, given, whole = workflow.content, {}, workflow.content
    if not is_api_graph(content) and not is_editor_graph(content):
        given = dict(content)
        unknown = [key for key in given if key not in KEYS]
        if unknown:
            raise HelperError(f'Unknown key "{unknown[0]}" in {workflow.name}. Accepted: {", ".join(KEYS)}')
        content = _wrapped(given.get("graph"), workflow)
        whole = {**given, "graph": content}
    site = servers.site_for(servers.COMFYUI, given.get("url"), workflow.name)
    options = checked(PARAMETERS, given.get("parameters", {}), workflow.name)
    return Source(content, whole, site, options, workflow.name)


def _wrapped(graph: Any, workflow: Workflow) -> Mapping[str, Any]:
    remedy = f'"graph" in {workflow.name} must be a ComfyUI graph or the name of a file with one beside it'
    if isinstance(graph, str):
        if os.path.basename(graph) != graph or not graph:
            raise HelperError(remedy)
        path = os.path.join(os.path.dirname(os.path.expanduser(workflow.path)), graph)
        graph = read_object(path, "graph", LARGEST_WORKFLOW, remedy)
    if not isinstance(graph, dict) or not (is_api_graph(graph) or is_editor_graph(graph)):
        raise HelperError(remedy)
    return graph
