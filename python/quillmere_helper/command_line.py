"""The command line of the helper: a render, or a look at what could be rendered here."""

import argparse
import json
import sys
from typing import Any

from . import VERSION, backends, interpreter, render, servers, web
from .errors import HelperError
from .workflows import read_workflow

EPILOG = "Exit status: 0 done, 1 failed, 2 wrong use, 143 cancelled. The reason of a failure is in the response file."
PATIENCE = 3.0  # seconds for a server to tell what it is


def run(argv: list[str]) -> int:
    parser = _parser()
    given = parser.parse_args(argv[1:])
    if given.request is not None and (given.check is not None or given.servers):
        parser.error("--check and --servers take no request")
    if given.servers:
        return _show_servers(given.json)
    if given.check is not None:
        return _show_check(given.check, given.json)
    if given.response is None:
        parser.error("a request file and a response file are needed")
    return render.run(argv, given.request, given.response)


def _parser() -> argparse.ArgumentParser:
    what = "Makes the pictures of one Quillmere render request."
    parser = argparse.ArgumentParser(prog="quillmere_render_helper.py", description=what, epilog=EPILOG)
    parser.add_argument("request", nargs="?", metavar="REQUEST", help="render request (JSON) to carry out")
    parser.add_argument("response", nargs="?", metavar="RESPONSE", help="file for the answer (JSON)")
    parser.add_argument("--check", metavar="WORKFLOW", help="tell whether a workflow file can be run, and by what")
    parser.add_argument("--servers", action="store_true", help="tell which servers answer where renders look for them")
    parser.add_argument("--json", action="store_true", help="with --check and --servers: print JSON objects")
    parser.add_argument("--version", action="version", version=f"quillmere_render_helper {VERSION}")
    return parser


def _show_check(path: str, as_json: bool) -> int:
    """Prints a line, or a JSON object with at least "workflow", "ok", "backend", "problem"; returns the exit status."""
    report = _checked(path)
    if as_json:
        print(json.dumps(report))
    elif report["ok"]:
        print(f'{path}: ok, for the back end "{report["backend"]}"')
    else:
        print(f"quillmere_render_helper: {report['problem']}", file=sys.stderr)
    return 0 if report["ok"] else 1


def _checked(path: str) -> dict[str, Any]:
    report: dict[str, Any] = {"workflow": path, "ok": False, "backend": "", "problem": ""}
    try:
        workflow = read_workflow(path, backends.MODULES)
        report["backend"] = workflow.backend
        backend = backends.load(workflow.backend)
        report.update(backend.check(workflow))
        report["problem"] = report["problem"] or interpreter.problem_with(backend.REQUIRES)
    except HelperError as error:
        report["problem"] = str(error)
    report["ok"] = not report["problem"]
    return report


def _show_servers(as_json: bool) -> int:
    """Prints a line, or a JSON object, for each kind of server; none that answers is no failure."""
    for kind in [backends.load(name).SERVER for name in backends.MODULES]:
        if kind is not None:
            report = _asked(kind)
            state = f"answers {report['version']}".rstrip() if report["ok"] else report["problem"]
            print(json.dumps(report) if as_json else f"{kind.name} at {report['url']}: {state}")
    return 0


def _asked(kind: servers.Kind) -> dict[str, Any]:
    report: dict[str, Any] = {"kind": kind.name, "url": "", "ok": False, "version": "", "problem": ""}
    try:
        site = servers.site_for(kind, None, "the environment")
        report["url"] = site.url
        report.update(version=kind.version(web.Site(site.url, site.login, PATIENCE)), ok=True)
    except HelperError as error:
        report["problem"] = str(error)
    return report
