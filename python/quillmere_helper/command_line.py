"""The command line of the helper: a render, or a look at what could be rendered here."""

import argparse
import json
from typing import Any, Callable, Optional

from . import VERSION, backends, cancellation, interpreter, render, servers, web
from .errors import HelperError
from .readable import complain, masked, readable
from .workflows import Workflow, read_workflow

EPILOG = "Exit status: 0 done, 1 failed, 2 wrong use, 143 cancelled. The reason of a failure is in the response file."
PATIENCE = 3.0  # seconds for a server to tell what it is


def run(argv: list[str]) -> int:
    parser = _parser()
    given = parser.parse_args(argv[1:])
    looks = given.check is not None or given.controls is not None or given.servers
    if given.request is not None and looks:
        parser.error("--check, --controls and --servers take no request")
    if looks:
        with cancellation.ending_with_reader():
            return _look(given)
    if given.response is None:
        parser.error("a request file and a response file are needed")
    return render.run(argv, given.request, given.response)


def _look(given: argparse.Namespace) -> int:
    if given.servers:
        return _show_servers(given.json)
    if given.check is not None:
        return _show(_checked(given.check), _runs_on, given.json)
    return _show(_controls_of(given.controls), _control_lines, given.json)


def _parser() -> argparse.ArgumentParser:
    what = "Makes the pictures of one Quillmere render request."
    parser = argparse.ArgumentParser(prog="quillmere_render_helper.py", description=what, epilog=EPILOG)
    parser.add_argument("request", nargs="?", metavar="REQUEST", help="render request (JSON) to carry out")
    parser.add_argument("response", nargs="?", metavar="RESPONSE", help="file for the answer (JSON)")
    parser.add_argument("--check", metavar="WORKFLOW", help="tell whether a workflow file can be run, and by what")
    parser.add_argument("--controls", metavar="WORKFLOW", help="tell what can be set without changing a workflow file")
    parser.add_argument("--servers", action="store_true", help="tell which servers answer where renders look for them")
    parser.add_argument("--json", action="store_true", help="with these three: print JSON objects")
    parser.add_argument("--version", action="version", version=f"quillmere_render_helper {VERSION}")
    return parser


def _show(report: dict[str, Any], lines: Callable[[dict[str, Any]], str], as_json: bool) -> int:
    """Prints the report as a JSON object, its `lines`, or its problem; returns the exit status."""
    if as_json:
        _print_object(report)
    elif report["ok"]:
        print("\n".join(map(readable, lines(report).split("\n"))))
    else:
        complain(_trouble(report))
    return 0 if report["ok"] else 1


def _print_object(report: dict[str, Any]) -> None:
    """In ASCII, whatever the locale; of the names of files that aren't UTF-8, question marks take the place of what isn't."""
    whole = json.dumps(report, ensure_ascii=False).encode("utf-8", "replace")
    print(json.dumps(json.loads(whole)))


def _trouble(report: dict[str, Any]) -> str:
    return "; ".join(filter(None, (report["problem"], report["remedy"])))


def _runs_on(report: dict[str, Any]) -> str:
    return f'{report["workflow"]}: ok, for the back end "{report["backend"]}"'


def _control_lines(report: dict[str, Any]) -> str:
    lines = [f"{one['name']}: {one['type']}, {one['default']!r}" for one in report["controls"]]
    return "\n".join(lines) or f"{report['workflow']}: no controls"


def _checked(path: str) -> dict[str, Any]:
    """Where each part of a request goes: a list of "part", "node", "title", "kind", "input" and "how" (marker,
    placeholder, shape or control). What comes back: "node", "title", "kind", whether it is the "frame". Missing files:
    "node", "title", "input", "value". Passes: the words of passes.py."""
    report: dict[str, Any] = {"workflow": path, "ok": False, "backend": "", "problem": "", "remedy": ""}
    report.update(server="", version="", passes=[], places=[], results=[], notes=[], missing={"nodes": [], "files": []})
    return _filled(report, lambda backend, workflow: _check(backend, workflow, report))


def _check(backend: backends.Backend, workflow: Workflow, report: dict[str, Any]) -> dict[str, Any]:
    report["passes"] = backend.passes(workflow)  # which is known also when a server isn't there to ask for the rest
    facts = backend.check(workflow)
    problem, remedy = interpreter.problem_with(backend.REQUIRES)
    return facts if facts.get("problem") or not problem else {**facts, "problem": problem, "remedy": remedy}


def _controls_of(path: str) -> dict[str, Any]:
    report = {"workflow": path, "ok": False, "backend": "", "problem": "", "remedy": "", "controls": []}
    return _filled(report, lambda backend, workflow: {"controls": backend.controls(workflow)})


def _filled(report: dict[str, Any], look: Callable[[backends.Backend, Workflow], dict[str, Any]]) -> dict[str, Any]:
    """`report` with what `look` finds out about its workflow, or with what has kept it from that."""
    try:
        workflow = read_workflow(report["workflow"], backends.MODULES)
        report["backend"] = workflow.backend
        report.update(look(backends.load(workflow.backend), workflow))
    except HelperError as error:
        report.update(problem=error.text, remedy=error.remedy)
    report.update(problem=masked(report["problem"]), remedy=masked(report["remedy"]))
    report["ok"] = not report["problem"]
    return report


def _show_servers(as_json: bool) -> int:
    """Prints a line, or a JSON object, for each kind of server; none that answers is no failure."""
    for kind in [backends.load(name).SERVER for name in backends.MODULES]:
        if kind is not None:
            for report in _asked(kind):
                state = f"answers {report['version']}".rstrip() if report["ok"] else _trouble(report)
                if as_json:
                    _print_object(report)
                else:
                    print(readable(f"{kind.name} at {report['url']}: {state}"))
    return 0


def _asked(kind: servers.Kind) -> list[dict[str, Any]]:
    try:
        return [_answer_of(kind, site) for site in servers.sites_for(kind, None, "the environment")]
    except HelperError as error:
        return [_server_report(kind, "", error)]


def _answer_of(kind: servers.Kind, site: web.Site) -> dict[str, Any]:
    try:
        version = kind.version(web.Site(site.url, site.login, PATIENCE))
        return {**_server_report(kind, site.url), "version": version, "ok": True}
    except HelperError as error:
        return _server_report(kind, site.url, error)


def _server_report(kind: servers.Kind, url: str, error: Optional[HelperError] = None) -> dict[str, Any]:
    told = (masked(error.text), masked(error.remedy)) if error else ("", "")
    return {"kind": kind.name, "url": url, "ok": False, "version": "", "problem": told[0], "remedy": told[1]}
