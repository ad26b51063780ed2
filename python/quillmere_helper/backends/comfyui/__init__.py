"""The ComfyUI back end: runs a graph on a ComfyUI server and brings its pictures home."""

from __future__ import annotations

from typing import Any

from ...jobs import Job, Made
from ...workflows import Workflow
from . import inspection, rendering
from .source import read_source

REQUIRES = ""


def check(workflow: Workflow) -> dict[str, Any]:
    return inspection.inspect(read_source(workflow))


def make(job: Job) -> Made:
    return rendering.Rendering(job, read_source(job.workflow)).run()
