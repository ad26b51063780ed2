"""What a workflow file for an A1111-compatible server may set."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Mapping

from ... import servers, web
from ...errors import HelperError
from ...parameters import Parameter, checked
from ...workflows import Workflow

KEYS = ("backend", "url", "parameters")
WHEN_THERE, REQUIRED, OFF = "when there", "required", "off"

PARAMETERS = (
    Parameter("seed", "frame", "of the sampler", words=("frame", "random")),
    Parameter("steps", 20, "of the sampler", 1, 150),
    Parameter("cfg_scale", 7.0, "how much the prompt counts", 1, 30),
    Parameter("denoising_strength", 0.6, "how far the picture may leave the guide", 0, 1),
    Parameter("negative_prompt", "", "what not to show"),
    Parameter("sampler", "", "name of a sampler of the server; empty: the server's own choice"),
    Parameter("scheduler", "", "name of a scheduler of the server; empty: the server's own choice"),
    Parameter("checkpoint", "", "name of a model of the server; empty: the one that is loaded"),
    Parameter("pictures", 1, "how many to make", 1, 8),
    Parameter("controlnet", WHEN_THERE, "whether ControlNet holds the composition", words=(WHEN_THERE, REQUIRED, OFF)),
    Parameter("controlnet_model", "canny", "words in the name of the ControlNet model"),
    Parameter("controlnet_module", "canny", 'how ControlNet prepares the guide; "none": not at all'),
    Parameter("controlnet_weight", 1.0, "how much ControlNet counts", 0, 2),
)


@dataclass(frozen=True)
class Settings:
    site: web.Site
    options: Mapping[str, Any]
    where: str  # for messages


def read_settings(workflow: Workflow) -> Settings:
    unknown = [key for key in workflow.content if key not in KEYS]
    if unknown:
        raise HelperError(f'Unknown key "{unknown[0]}" in {workflow.name}. Accepted: {", ".join(KEYS)}')
    options = checked(PARAMETERS, workflow.content.get("parameters", {}), workflow.name)
    return Settings(servers.site_for(servers.A1111, workflow.content.get("url"), workflow.name), options, workflow.name)
