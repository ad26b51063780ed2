"""What a workflow file for ComfyUI holds: a graph by itself, or one wrapped in our own JSON with a URL."""

import os
from dataclasses import dataclass, replace
from typing import Any, Mapping, Sequence

from ... import servers, web
from ...errors import HelperError
from ...untrusted import as_list, read_object
from ...parameters import Parameter, read_parameters
from ...passes import WITHOUT, stands_in
from ...pool import Lacking
from ...workflows import LARGEST_WORKFLOW, Workflow, is_api_graph, is_editor_graph, is_graph
from . import convert
from .classes import Classes
from .client import KIND
from .control import set_controls
from .graph import Graph, read_api
from .markers import passes_in

SEEDS = ("workflow", "frame", "random")
PARAMETERS = (Parameter("seed", "workflow", 'of the samplers; "workflow": those of the graph', words=SEEDS),)
KEYS = ("backend", "url", "graph", "parameters", "controls", WITHOUT)
MOST_NAMED = 5
MOST_NODES = 10_000


@dataclass(frozen=True)
class Source:
    content: Mapping[str, Any]  # the graph, in one of its two formats
    self_contained: Mapping[str, Any]  # the workflow file with the graph in it, wherever that came from
    sites: Sequence[web.Site]  # at least one
    options: Mapping[str, Any]
    controls: Mapping[str, Any]  # values by name
    where: str  # for messages
    stand_in: bool = False  # whether the guide may stand in for passes that are not there

    @property
    def site(self) -> web.Site:
        return self.sites[0]

    def on_each(self) -> "list[Source]":
        """The same for each of its servers."""
        return [replace(self, sites=[site]) for site in self.sites]

    def graph(self, classes: Classes) -> Graph:
        """A fresh graph each time, with its controls set. Raises HelperError."""
        graph = self.graph_as_saved(classes)
        set_controls(graph, classes, self.controls, self.where)
        return graph

    def graph_as_saved(self, classes: Classes) -> Graph:
        if is_api_graph(self.content):
            return read_api(self.content, self.where)
        return convert.to_graph(self.content, classes, self.where)

    def missing_classes(self, classes: Classes) -> list[str]:
        if is_editor_graph(self.content):
            return classes.missing(convert.kinds_in(self.content, classes, self.where))
        return classes.missing(node.kind for node in self.graph_as_saved(classes).nodes.values())

    def refuse_missing_classes(self, classes: Classes) -> None:
        """Before any work: the server itself would name only one of them."""
        missing = self.missing_classes(classes)
        if missing:
            raise unknown_nodes(missing, self.where)


def unknown_nodes(missing: list[str], where: str) -> Lacking:
    remedy = "install their node packs there; when they are the editor's own, use File > Export (API)"
    return Lacking(f"The server does not know these nodes of {where}: {some(missing)}", remedy=remedy)


def read_source(workflow: Workflow) -> Source:
    """Raises HelperError for a file that is none, and for logins and URLs that cannot be used."""
    given, graph = _parts_of(workflow)
    options = read_parameters(given, KEYS, PARAMETERS, workflow.name)
    if max(len(graph), len(as_list(graph.get("nodes")))) > MOST_NODES:
        raise HelperError(f"{workflow.name} has more than {MOST_NODES} nodes", remedy="divide it")
    sites = servers.sites_for(KIND, given.get("url"), workflow.name)
    controls = given.get("controls", {})
    if not isinstance(controls, dict):
        remedy = "it must be a JSON object of names and values"
        raise HelperError(f'"controls" in {workflow.name} is none', remedy=remedy)
    whole, where = {**given, "graph": graph} if given else graph, workflow.name
    return Source(graph, whole, sites, options, controls, where, stands_in(given, where))


def passes_asked_for(workflow: Workflow) -> list[str]:
    """The words of the passes that its titles ask for; no server is asked. Raises HelperError for a file that is none."""
    return passes_in(_parts_of(workflow)[1])


def some(names: list[str]) -> str:
    more = len(names) - MOST_NAMED
    return ", ".join(names[:MOST_NAMED]) + (f" and {more} more" if more > 0 else "")


def _parts_of(workflow: Workflow) -> tuple[Mapping[str, Any], Mapping[str, Any]]:
    """Our own JSON around the graph, empty where there is none, and the graph."""
    content = workflow.content
    return ({}, content) if is_graph(content) else (content, _graph_of(content, workflow))


def _graph_of(given: Mapping[str, Any], workflow: Workflow) -> Mapping[str, Any]:
    remedy = "it must be a ComfyUI graph, or the name of a file with one beside the workflow"
    wrong = HelperError(f'"graph" in {workflow.name} is none', remedy=remedy)
    graph = given.get("graph")
    if isinstance(graph, str):
        if os.path.basename(graph) != graph or not graph:
            raise wrong
        path = os.path.join(os.path.dirname(os.path.expanduser(workflow.path)), graph)
        graph = read_object(path, "graph", LARGEST_WORKFLOW, remedy)
    if not isinstance(graph, dict) or not is_graph(graph):
        raise wrong
    return graph
