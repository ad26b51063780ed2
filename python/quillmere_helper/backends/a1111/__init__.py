"""The back end for servers with the API of A1111's web UI: the guide is turned into the picture."""

from typing import Any

from ...errors import HelperError
from ...parameters import controls_of
from ...workflows import Workflow
from .. import Job, Result
from .client import A1111, KIND
from .payload import OWN_UNIT, PARAMETERS, read_settings, units_for
from .rendering import Rendering
from .units import GUIDE, read_units

REQUIRES = ""
SERVER = KIND


def passes(workflow: Workflow) -> list[str]:
    words = (unit.word for unit in read_units(workflow.content, workflow.name))
    return list(dict.fromkeys(word for word in words if word != GUIDE))


def check(workflow: Workflow) -> dict[str, Any]:
    settings = read_settings(workflow)
    server = A1111(settings.site)
    checkpoint = server.checkpoint()
    units_for(settings, server)
    for name, path, key in (("sampler", "/sdapi/v1/samplers", "name"), ("checkpoint", "/sdapi/v1/sd-models", "title")):
        wanted, there = settings.options[name], server.names(path, key)
        if wanted and there is not None and not any(wanted in known for known in there):
            remedy = f"choose one that {settings.site.url} has: {', '.join(there[:8])}"
            raise HelperError(f'{settings.where} wants the {name} "{wanted}"', remedy=remedy)
    return {"server": settings.site.url, "version": "", "model": checkpoint}


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    settings = read_settings(workflow)
    count = [parameter for parameter in PARAMETERS if not (settings.units and parameter.name.startswith(OWN_UNIT))]
    return controls_of(settings.options, count)


def make(job: Job) -> Result:
    return Rendering(job, read_settings(job.workflow)).run()
