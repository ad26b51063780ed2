"""The ComfyUI back end: runs a graph on a ComfyUI server and fetches its pictures."""

from typing import Any

from ...workflows import Workflow
from .. import Job, Result
from ..on_servers import on_best_of
from . import inspection
from .client import KIND
from .rendering import Rendering
from .source import passes_asked_for, read_source

REQUIRES = ""
SERVER = KIND


def make(job: Job) -> Result:
    each = [Rendering(job, source) for source in read_source(job.workflow).on_each()]
    return on_best_of(each, job)


def check(workflow: Workflow) -> dict[str, Any]:
    """What it would do on its server, with a "problem" when it cannot run there. Raises HelperError for a workflow that
    cannot be read and for a server that does not answer."""
    return inspection.report(workflow)


def passes(workflow: Workflow) -> list[str]:
    return passes_asked_for(workflow)


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    """What can be set in its graph. Raises HelperError."""
    return inspection.controls(workflow)
