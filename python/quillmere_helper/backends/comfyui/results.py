"""The pictures that a job has left on a ComfyUI server."""

import time
from typing import Any, Mapping

from ... import pictures, web
from ...errors import HelperError
from ...untrusted import as_object, objects_in
from .client import Comfy

TRIES = 4  # downloads, when the one before was cut off
PAUSE = 0.5  # seconds before the next try


class MissingPicture(HelperError):
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
    """The whole picture and its kind. Raises HelperError, MissingPicture or web.UnreachableServer."""
    name = picture.get("filename")
    for attempt in range(TRIES):
        if attempt:
            time.sleep(PAUSE)
        try:
            answer = comfy.view(picture)
        except web.UnreachableServer:
            if attempt + 1 == TRIES:
                raise
            continue
        if answer.status == 404:
            raise MissingPicture(f'The picture "{name}" is not on the server any more; render the frame again')
        kind = pictures.kind_of(answer.body) if answer.status == 200 else None
        if kind is not None:
            return answer.body, kind
    raise HelperError(
        f'"{name}" from the server is no whole PNG, JPEG or WebP picture (status {answer.status}); '
        'end the workflow in a "Save Image" node'
    )
