"""What a workflow would do on its server, told before a job is ever sent."""

from dataclasses import replace
from typing import Any, Sequence

from ...errors import HelperError
from ...parameters import seed_for, seed_rule
from ...web import UnreachableServer
from ...workflows import Workflow, is_api_graph
from . import shape
from .classes import Classes
from .client import Comfy
from .control import controls_of, set_controls
from .graph import Graph
from .lacking import missing_files, not_there
from .markers import title_of
from .results import latest_first
from .source import Source, read_source, unknown_nodes
from .wiring import SHAPE, GraphValues, Placement, Wiring

TRIAL = GraphValues("prompt", "guide.png", "style.png", 512, 512, 0, None, "quillmere/check/picture")


def report(workflow: Workflow) -> dict[str, Any]:
    """Where each part of a request would go, what comes back, and what is missing on the server; with a "problem" when
    the workflow cannot run as it is. Raises HelperError for one that cannot be read."""
    sources = read_source(workflow).on_each()
    if len(sources) == 1:
        return {**_report(sources[0]), "servers": 1}
    reports = [_report_or_problem(source) for source in sources]
    chosen = next((one for one in reports if not one["problem"]), reports[0])
    passed = [f"{one['server']} would be passed over: {one['problem']}" for one in reports if one["problem"]]
    notes = [] if chosen["problem"] else [*chosen.get("notes", []), *passed]
    return {**chosen, "notes": notes or chosen.get("notes", []), "servers": len(sources)}


def _report_or_problem(source: Source) -> dict[str, Any]:
    try:
        return _report(source)
    except HelperError as error:
        return {"server": source.site.url, **_told([error])}


def _report(source: Source) -> dict[str, Any]:
    comfy = Comfy(source.site)
    classes = Classes(comfy.class_info)
    facts: dict[str, Any] = {"server": source.site.url, "version": comfy.version()}
    facts.update(places=[], results=[], notes=[], missing={"nodes": source.missing_classes(classes), "files": []})
    if facts["missing"]["nodes"]:
        return {**facts, **_told([unknown_nodes(facts["missing"]["nodes"], source.where)])}
    problems: list[HelperError] = []
    try:
        _try(source, classes, facts)
    except HelperError as error:
        problems.append(error)
    absent = facts["missing"]["files"]
    if absent:
        problems.append(not_there(absent, source.where))
    return {**facts, **_told(problems)}


def _told(problems: Sequence[HelperError]) -> dict[str, str]:
    """Of several each stands with its remedy in the problem."""
    if len(problems) == 1:
        return {"problem": problems[0].text, "remedy": problems[0].remedy}
    return {"problem": ". ".join(map(str, problems)), "remedy": ""}


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    """What can be set in the graph of a workflow. Without its server only what the graph itself tells, with a note; a
    graph in the editor's format then tells nothing. Raises HelperError, also for values of a wrapper that it doesn't
    take."""
    source = read_source(workflow)
    try:
        classes = Classes(Comfy(source.site).class_info)
        return _controls(source, classes, workflow)
    except UnreachableServer as error:
        if not is_api_graph(source.content):
            raise
        classes, note = Classes(lambda name: {}), f"without limits and choices: {error}"
        return [{**told, "note": note} for told in _controls(source, classes, workflow)]


def _controls(source: Source, classes: Classes, workflow: Workflow) -> list[dict[str, Any]]:
    set_controls(source.graph_as_saved(classes), classes, workflow.controls, source.where)
    return [control.told() for control in controls_of(source.graph_as_saved(classes), classes, source.where)]


def _try(source: Source, classes: Classes, facts: dict[str, Any]) -> None:
    choice = seed_rule(source.options["seed"])
    wanted = replace(TRIAL, seed=None if choice == "workflow" else seed_for(choice, TRIAL.frame))
    graph = source.graph(classes)
    placement = Placement(graph, classes, wanted, source.where)
    wired = placement.wired
    try:
        placement.run()
    finally:
        facts["places"] = [_with_marker(place) for place in wired.places]
        facts["notes"] = wired.notes
        facts["results"] = _results(graph, wired)
        facts["missing"]["files"] = missing_files(graph, wired, classes)


def _with_marker(place: dict[str, str]) -> dict[str, str]:
    """Where the shape of the graph has decided, the title that would do so instead."""
    return {**place, "marker": title_of(place["part"])} if place["how"] == SHAPE else place


def _results(graph: Graph, wired: Wiring) -> list[dict[str, Any]]:
    """The nodes whose pictures come back, that of the frame first; of several that save, it says how it was chosen."""
    ends = latest_first(graph, wired.outputs)
    nodes = sorted((graph.nodes[end] for end in ends), key=lambda node: (node.id != wired.result, not shape.saves(node)))
    saving = [node for node in nodes if shape.saves(node)] or nodes
    if not wired.result and len(saving) > 1:
        others = ", ".join(node.label for node in saving[1:])
        text = f'{saving[0].label} gives the frame, since it runs later than {others}; title one "{title_of("result")}" to choose'
        wired.notes.append(text)
    return [
        {"node": node.id, "title": node.title, "kind": node.kind, "frame": place == 0} for place, node in enumerate(nodes)
    ]
