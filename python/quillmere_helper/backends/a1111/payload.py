"""What is sent to an A1111-compatible server for one picture, and what comes back."""

from __future__ import annotations

import base64
import binascii
import json
from typing import Any, Mapping, Optional

from ... import picture_files
from ...errors import HelperError
from ...request import RenderRequest
from .client import A1111
from .settings import OFF, REQUIRED, Settings


def payload(
    request: RenderRequest, settings: Settings, guide: bytes, seed: int, task: str, control_model: Optional[str]
) -> dict[str, Any]:
    """`task` is our own name for the job. The server saves the pictures too, so that one survives a lost connection."""
    options = settings.options
    picture = base64.b64encode(guide).decode()
    content: dict[str, Any] = {
        "init_images": [picture],
        "prompt": request.effective_prompt,
        "negative_prompt": options["negative_prompt"],
        "width": request.width,
        "height": request.height,
        "resize_mode": 0,
        "steps": options["steps"],
        "cfg_scale": options["cfg_scale"],
        "denoising_strength": options["denoising_strength"],
        "seed": seed,
        "batch_size": 1,
        "n_iter": options["pictures"],
        "send_images": True,
        "save_images": True,
        "include_init_images": False,
        "force_task_id": task,
    }
    for name, key in (("sampler", "sampler_name"), ("scheduler", "scheduler")):
        if options[name]:
            content[key] = options[name]
    if options["checkpoint"]:
        content["override_settings"] = {"sd_model_checkpoint": options["checkpoint"]}
    if control_model is not None:
        content["alwayson_scripts"] = {"controlnet": {"args": [_unit(picture, control_model, options)]}}
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
        there = (
            "has no ControlNet" if models is None else f"has no ControlNet model like it, but {', '.join(models[:5])}"
        )
        raise HelperError(f'{settings.where} needs the ControlNet model "{wanted}"; {server.site.url} {there}')
    return found


def pictures(content: Any, asked: int) -> tuple[list[tuple[bytes, str]], list[int]]:
    """The pictures of an answer, without the overview that may come first and the maps that may come last, and the
    seed of each: the one `asked` for where the server doesn't tell."""
    listed = content.get("images") if isinstance(content, dict) else None
    info = _info(content.get("info")) if isinstance(content, dict) else {}
    seeds = info.get("all_seeds")
    seeds = seeds if isinstance(seeds, list) else [info.get("seed")]
    first = info.get("index_of_first_image")
    first = first if type(first) is int and first >= 0 else 0
    chosen = listed[first : first + max(len(seeds), 1)] if isinstance(listed, list) else []
    made = [_picture(encoded) for encoded in chosen]
    if not made:
        raise HelperError("The server has sent no picture; see its console")
    told = [told if type(told) is int else asked for told in seeds]
    return made, (told + [asked] * len(made))[: len(made)]


def _unit(picture: str, model: str, options: Mapping[str, Any]) -> dict[str, Any]:
    return {
        "enabled": True,
        "image": picture,
        "module": options["controlnet_module"],
        "model": model,
        "weight": options["controlnet_weight"],
        "control_mode": 0,
        "resize_mode": 0,
        "pixel_perfect": True,
        "guidance_start": 0.0,
        "guidance_end": 1.0,
    }


def _info(text: Any) -> dict[str, Any]:
    """JSON within JSON."""
    try:
        info = json.loads(text) if isinstance(text, str) else None
    except (ValueError, RecursionError):
        info = None
    return info if isinstance(info, dict) else {}


def _picture(encoded: Any) -> tuple[bytes, str]:
    try:
        content = base64.b64decode(str(encoded).rpartition(",")[2], validate=True)
    except (binascii.Error, ValueError):
        content = b""
    kind = picture_files.kind_of(content)
    if kind is None:
        raise HelperError("The server has sent something that is no whole PNG, JPEG or WebP picture; see its console")
    return content, kind
