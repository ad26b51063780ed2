"""`--check`: whether a workflow file can be run here, without running it."""

from __future__ import annotations

import json
import sys
from typing import Any

from . import backends, interpreter
from .errors import HelperError
from .workflows import read_workflow


def run(path: str, as_json: bool) -> int:
    """Prints a line, or a JSON object with at least "workflow", "ok", "backend", "problem"; returns the exit status."""
    report = check(path)
    if as_json:
        print(json.dumps(report))
    elif report["ok"]:
        print(f'{path}: ok, for the back end "{report["backend"]}"')
    else:
        print(f"quillmere_render_helper: {report['problem']}", file=sys.stderr)
    return 0 if report["ok"] else 1


def check(path: str) -> dict[str, Any]:
    report: dict[str, Any] = {"workflow": path, "ok": False, "backend": "", "problem": ""}
    try:
        workflow = read_workflow(path, backends.MODULES)
        report["backend"] = workflow.backend
        backend = backends.load(workflow.backend)
        report.update(backend.check(workflow))
        report["problem"] = interpreter.problem_with(backend.REQUIRES)
    except HelperError as error:
        report["problem"] = str(error)
    report["ok"] = not report["problem"]
    return report
