"""Pictures on their way to a ComfyUI server."""

from __future__ import annotations

import hashlib

from ...given_pictures import ready
from ...request import RenderRequest
from .client import Comfy

TYPES = {"png": "image/png", "jpg": "image/jpeg", "webp": "image/webp"}


def send(comfy: Comfy, request: RenderRequest, path: str, role: str) -> str:
    """Uploads the picture at `path`, which is the `role` image ("guide" or "style"); returns its name on the server.

    Servers cannot delete pictures, so they get one folder per series of renders, and a name made from the content: the
    same picture never takes room twice, and two renders at the same time never see each other's.
    """
    content, kind = ready(path, role)
    series = hashlib.sha256(f"{request.output_dir}\n{request.output_prefix}".encode("utf-8", "surrogateescape"))
    name = f"{role}_{hashlib.sha256(content).hexdigest()[:24]}.{kind}"
    return comfy.upload(name, f"quillmere/{series.hexdigest()[:12]}", content, TYPES[kind])
