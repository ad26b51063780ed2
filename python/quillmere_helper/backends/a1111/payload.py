"""What a workflow file for an A1111-compatible server may set, what is sent for one picture, and what comes back."""

import base64
import binascii
from dataclasses import dataclass
from typing import Any, Mapping, Optional

from ... import pictures, servers, web
from ...errors import HelperError
from ...parameters import Parameter, read_parameters
from ...request import RenderRequest
from ...untrusted import as_list, as_object, json_of
from ...workflows import Workflow
from .client import A1111, KIND

KEYS = ("backend", "url", "parameters")
SENT_AS_GIVEN = ("negative_prompt", "steps", "cfg_scale", "denoising_strength")
WHEN_THERE, REQUIRED, OFF = "when there", "required", "off"

PARAMETERS = (
    Parameter("seed", "frame", "of the sampler, which takes the lower 32 bits", words=("frame", "random")),
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
    options = read_parameters(workflow.content, KEYS, PARAMETERS, workflow.name, workflow.controls)
    return Settings(servers.site_for(KIND, workflow.content.get("url"), workflow.name), options, workflow.name)


def payload(
    request: RenderRequest, settings: Settings, guide: bytes, seed: int, task: str, control_model: Optional[str]
) -> dict[str, Any]:
    """`task` is our own name for the job. The server saves the pictures too, so that one survives a lost connection."""
    options = settings.options
    picture = base64.b64encode(guide).decode()
    content: dict[str, Any] = {name: options[name] for name in SENT_AS_GIVEN}
    content.update(init_images=[picture], prompt=request.effective_prompt, seed=seed, force_task_id=task)
    content.update(width=request.width, height=request.height, resize_mode=0)
    content.update(n_iter=options["pictures"], batch_size=1)
    content.update(send_images=True, save_images=True, include_init_images=False)
    for name, key in (("sampler", "sampler_name"), ("scheduler", "scheduler")):
        if options[name]:
            content[key] = options[name]
    if options["checkpoint"]:
        content["override_settings"] = {"sd_model_checkpoint": options["checkpoint"]}
    if control_model is not None:
        unit = {"enabled": True, "image": picture, "module": options["controlnet_module"], "model": control_model}
        unit.update(weight=options["controlnet_weight"], guidance_start=0.0, guidance_end=1.0)
        unit.update(control_mode=0, resize_mode=0, pixel_perfect=True)
        content["alwayson_scripts"] = {"controlnet": {"args": [unit]}}
    return content


def control_model(server: A1111, settings: Settings) -> Optional[str]:
    """The full name of the ControlNet model to use, None for none. Raises HelperError when a required one is absent."""
    options = settings.options
    if options["controlnet"] == OFF:
        return None
    models = server.names("/controlnet/model_list", "model_list")
    wanted = options["controlnet_model"].lower()
    found = next((model for model in models or [] if wanted in model.lower()), None)
    if found is None and options["controlnet"] == REQUIRED:
        but = "" if models is None else f" model like it, but {', '.join(models[:5])}"
        needs = f'{settings.where} needs the ControlNet model "{wanted}"'
        raise HelperError(f"{needs}; {server.site.url} has no ControlNet{but}")
    return found


def received(content: Mapping[str, Any], asked: int, most: int) -> tuple[list[pictures.Picture], list[int]]:
    """At most `most` pictures of an answer, without the overview that may come first and the maps that may come last,
    and the seed of each: the one `asked` for where the server doesn't tell."""
    info = content.get("info")
    info = as_object(json_of(info) if isinstance(info, str) else None)  # JSON within JSON
    seeds = info.get("all_seeds")
    seeds = seeds if isinstance(seeds, list) else [info.get("seed")]
    first = info.get("index_of_first_image")
    first = first if type(first) is int and first >= 0 else 0
    count = min(max(len(seeds), 1), most)
    made = [_picture(encoded) for encoded in as_list(content.get("images"))[first : first + count]]
    if not made:
        raise HelperError("The server has sent no picture; see its console")
    told = [told if type(told) is int else asked for told in seeds[:count]]
    return made, (told + [asked] * len(made))[: len(made)]


def _picture(encoded: Any) -> pictures.Picture:
    try:
        content = base64.b64decode(str(encoded).rpartition(",")[2], validate=True)
    except (binascii.Error, ValueError):
        content = b""
    kind = pictures.kind_of(content)
    if kind is None:
        raise HelperError("The server has sent something that is no whole PNG, JPEG or WebP picture; see its console")
    return content, kind
