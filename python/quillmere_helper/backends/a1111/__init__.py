"""The back end for servers with the API of A1111's web UI: the guide is turned into the picture."""

from typing import Any

from ...errors import HelperError
from ...parameters import controls_of
from ...workflows import Workflow
from .. import Job, Result
from .client import A1111, KIND
from .payload import PARAMETERS, control_model, read_settings
from .rendering import Rendering

REQUIRES = ""
SERVER = KIND


def check(workflow: Workflow) -> dict[str, Any]:
    settings = read_settings(workflow)
    server = A1111(settings.site)
    checkpoint = server.checkpoint()
    control_model(server, settings)
    for name, path, key in (("sampler", "/sdapi/v1/samplers", "name"), ("checkpoint", "/sdapi/v1/sd-models", "title")):
        wanted, there = settings.options[name], server.names(path, key)
        if wanted and there is not None and not any(wanted in known for known in there):
            remedy = f"choose one that {settings.site.url} has: {', '.join(there[:8])}"
            raise HelperError(f'{settings.where} wants the {name} "{wanted}"', remedy=remedy)
    return {"server": settings.site.url, "version": "", "model": checkpoint}


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    return controls_of(read_settings(workflow).options, PARAMETERS)


def make(job: Job) -> Result:
    return Rendering(job, read_settings(job.workflow)).run()
