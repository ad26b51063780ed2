"""The back end for servers with the API of A1111's web UI: the guide is turned into the picture."""

from typing import Any

from ...errors import HelperError
from ...parameters import controls_of
from ...workflows import Workflow
from .. import Job, Result
from ..on_servers import on_best_of
from .client import A1111, KIND
from .payload import OWN_UNIT, PARAMETERS, Settings, read_settings, refuse_lacking
from .rendering import Rendering
from .units import GUIDE, read_units

REQUIRES = ""
SERVER = KIND


def passes(workflow: Workflow) -> list[str]:
    words = (unit.word for unit in read_units(workflow.content, workflow.name))
    return list(dict.fromkeys(word for word in words if word != GUIDE))


def check(workflow: Workflow) -> dict[str, Any]:
    reports = [_look(settings) for settings in read_settings(workflow).on_each()]
    good = [report for report in reports if not report["problem"]]
    passed = [f"{report['server']} would be passed over: {report['problem']}" for report in reports if report["problem"]]
    return {**(good or reports)[0], "notes": passed if good else [], "servers": len(reports)}


def _look(settings: Settings) -> dict[str, Any]:
    server, facts = A1111(settings.site), {"server": settings.site.url, "version": "", "problem": "", "remedy": ""}
    try:
        facts["model"] = server.checkpoint()
        refuse_lacking(settings, server)
    except HelperError as error:
        facts.update(problem=error.text, remedy=error.remedy)
    return facts


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    settings = read_settings(workflow)
    count = [parameter for parameter in PARAMETERS if not (settings.units and parameter.name.startswith(OWN_UNIT))]
    return controls_of(settings.options, count)


def make(job: Job) -> Result:
    return on_best_of([Rendering(job, settings) for settings in read_settings(job.workflow).on_each()], job)
