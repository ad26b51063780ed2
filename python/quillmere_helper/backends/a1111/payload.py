"""What a workflow file for an A1111-compatible server may set, what is sent for one picture, and what comes back."""

import base64
import binascii
from dataclasses import dataclass, replace
from typing import Any, Mapping, Sequence

from ... import pictures, servers, web
from ...errors import HelperError
from ...parameters import Parameter, read_parameters
from ...passes import WITHOUT, stands_in
from ...pool import Lacking
from ...request import RenderRequest
from ...untrusted import as_list, as_object, json_of
from ...workflows import Workflow
from .client import A1111, KIND
from .units import GUIDE, Unit, model_for, models_for, read_units

KEYS = ("backend", "url", "parameters", "units", WITHOUT)
SENT_AS_GIVEN = ("negative_prompt", "steps", "cfg_scale", "denoising_strength")
WHEN_THERE, REQUIRED, OFF = "when there", "required", "off"
OWN_UNIT = "controlnet"  # how the parameters of the guide's own unit begin

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
    sites: Sequence[web.Site]  # at least one
    options: Mapping[str, Any]
    units: Sequence[Unit]  # as the workflow lists them; empty: the one of its parameters
    stand_in: bool  # whether the guide may stand in for passes that are not there
    where: str  # for messages

    @property
    def site(self) -> web.Site:
        return self.sites[0]

    def on_each(self) -> "list[Settings]":
        """The same for each of its servers."""
        return [replace(self, sites=[site]) for site in self.sites]


def read_settings(workflow: Workflow) -> Settings:
    content, where = workflow.content, workflow.name
    options = read_parameters(content, KEYS, PARAMETERS, where, workflow.controls)
    units, sites = read_units(content, where), servers.sites_for(KIND, content.get("url"), where)
    doubled = [name for name in as_object(content.get("parameters")) if units and name.startswith(OWN_UNIT)]
    if doubled:
        raise HelperError(f'"{doubled[0]}" in {where} does not count beside "units"', remedy='write a unit with "pass": "guide"')
    return Settings(sites, options, units, stands_in(content, where), where)


def units_for(settings: Settings, server: A1111) -> list[tuple[Unit, str]]:
    """The ControlNet units and the full names of their models; the guide's own is left out where its model is absent and
    not required. Raises HelperError."""
    options, where = settings.options, settings.where
    if settings.units:
        return list(zip(settings.units, models_for(settings.units, server, where)))
    if options[OWN_UNIT] == OFF:
        return []
    model = model_for(options["controlnet_model"], server, options[OWN_UNIT] == REQUIRED, where)
    own = {"start": 0.0, "end": 1.0, "mode": "balanced"}
    own.update((name, options[f"{OWN_UNIT}_{name}"]) for name in ("model", "module", "weight"))
    return [(Unit(GUIDE, own), model)] if model else []


def refuse_lacking(settings: Settings, server: A1111) -> None:
    """Raises Lacking when the server has not what the workflow names."""
    units_for(settings, server)
    for name, path, key in (("sampler", "/sdapi/v1/samplers", "name"), ("checkpoint", "/sdapi/v1/sd-models", "title")):
        wanted, there = settings.options[name], server.names(path, key)
        if wanted and there is not None and not any(wanted in known for known in there):
            remedy = f"choose one that {server.site.url} has: {', '.join(there[:8])}"
            raise Lacking(f'{settings.where} wants the {name} "{wanted}"', remedy=remedy)


def payload(
    request: RenderRequest, settings: Settings, guide: bytes, seed: int, task: str, units: Sequence[Mapping[str, Any]]
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
    if units:
        content["alwayson_scripts"] = {"controlnet": {"args": list(units)}}
    return content


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
