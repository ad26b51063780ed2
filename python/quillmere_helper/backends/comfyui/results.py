"""The pictures that a job has left on a ComfyUI server."""

import time
from typing import Any, Mapping

from ... import pictures, web
from ...errors import HelperError
from ...untrusted import as_object, objects_in
from .client import Comfy

TRIES = 4  # a download that was cut off is begun again
PAUSE = 0.5  # seconds before the next try


class Gone(HelperError):
    """The server names a picture that is not there any more."""


def named_in(entry: Mapping[str, Any], ends: list[str]) -> list[Mapping[str, Any]]:
    """The pictures of the first of the nodes `ends` that has any, or else of any node; saved ones before those that are
    only shown. They are as the server tells them: nothing in them is a path of ours."""
    outputs = as_object(entry.get("outputs"))
    for end in [*ends, *(str(node) for node in outputs)]:
        images = objects_in(as_object(outputs.get(end)).get("images"))
        named = [image for image in images if isinstance(image.get("filename"), str)]
        if named:
            return sorted(named, key=lambda image: image.get("type") != "output")
    return []


def fetch(comfy: Comfy, picture: Mapping[str, Any]) -> pictures.Picture:
    """The picture's whole content and its kind, told by the content. Raises Gone, HelperError or web.Unreachable."""
    name = picture.get("filename")
    for attempt in range(TRIES):
        if attempt:
            time.sleep(PAUSE)
        try:
            answer = comfy.view(picture)
        except web.Unreachable:
            if attempt + 1 == TRIES:
                raise
            continue
        if answer.status == 404:
            raise Gone(f'The picture "{name}" is not on the server any more; render the frame again')
        kind = pictures.kind_of(answer.body) if answer.status == 200 else None
        if kind is not None:
            return answer.body, kind
    raise HelperError(
        f'"{name}" from the server is no whole PNG, JPEG or WebP picture (status {answer.status}); '
        'end the workflow in a "Save Image" node'
    )
