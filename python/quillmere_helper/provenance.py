"""What made a picture, kept in the picture itself (PNG text "quillmere") and in a side file `<picture>.json`.

Both hold the same JSON object, so that a picture can be made again, and can itself stand in for a workflow file.
"""

from __future__ import annotations

import json
import os
from typing import Any, Mapping

from . import VERSION, json_reader, png_chunks
from .errors import HelperError
from .request import RenderRequest

KEYWORD = "quillmere"
FILE_FROM_HOST = "QUILLMERE_PROVENANCE_FILE"  # environment: a JSON file of what only the host knows (scene, camera, ...)
LARGEST_FROM_HOST = 16 << 20  # bytes


def facts_of(request: RenderRequest, workflow: Mapping[str, Any], seed: int, more: Mapping[str, Any]) -> dict[str, Any]:
    """`workflow` is the content of the workflow file; `more` comes from the back end and goes before the rest. What the
    host tells never hides what is known here."""
    ours = {
        "helper_version": VERSION,
        "effective_prompt": request.effective_prompt,
        "workflow_path": request.workflow_path,
        "frame": request.frame,
        "width": request.width,
        "height": request.height,
        "seed": seed,
        "guide": request.reference_image,
        "style": request.locked_style_image,
        "workflow": workflow,
        **more,
    }
    return {**_from_host(), **ours}


def _from_host() -> dict[str, Any]:
    """Nothing when there is no such file or something is wrong with it: that costs no picture."""
    try:
        return json_reader.read_object(os.environ[FILE_FROM_HOST], "provenance", LARGEST_FROM_HOST, "")
    except (KeyError, HelperError):
        return {}


def side_file(facts: Mapping[str, Any]) -> bytes:
    return (json.dumps(facts, ensure_ascii=False, indent=2) + "\n").encode("utf-8", "replace")


def into_png(png: bytes, facts: Mapping[str, Any]) -> bytes:
    """ASCII only, so that a reader without UTF-8 reads it too."""
    return png_chunks.with_text(png, KEYWORD, json.dumps(facts))


def workflow_in(png: bytes, path: str, remedy: str) -> dict[str, Any]:
    """The workflow that made the picture `path`: ours, else the graph that a ComfyUI server left in it.

    Raises HelperError when there is none.
    """
    try:
        found = png_chunks.texts(png)
    except png_chunks.BadPng as error:
        raise HelperError(f'The picture "{path}" cannot be read: {error}; {remedy}') from error
    if KEYWORD in found:
        workflow = json_reader.parse_object(found[KEYWORD].encode(), f'What made "{path}"', remedy).get("workflow")
        if isinstance(workflow, dict):
            return workflow
    for keyword in ("prompt", "workflow"):  # the graph that ran, the graph as its editor keeps it
        if keyword in found:
            return json_reader.parse_object(found[keyword].encode(), f'The graph in "{path}"', remedy)
    raise HelperError(f'The picture "{path}" holds no workflow; {remedy}')
