"""The render request, as the effect writes it, and what the host tells beside it."""

import os
from typing import Any, NamedTuple

from .errors import HelperError
from .exchange import LARGEST_REQUEST
from .untrusted import read_object

LARGEST_SIDE = 16000  # pixels; of the host's pictures, the guide among them
LARGEST_AREA = 64_000_000  # pixels
AGAIN = "render the frame again"
STYLE_FROM_HOST = "QUILLMERE_STYLE"  # environment: a style image in place of the request's; empty: none
FILE_FROM_HOST = "QUILLMERE_PROVENANCE_FILE"  # environment: a JSON file that the host writes before each frame
LARGEST_FROM_HOST = 16 << 20  # bytes
KINDS = {str: "text", int: "whole number"}


class RenderRequest(NamedTuple):
    """What to make, checked; the field names are the keys of the file. Paths are as the effect wrote them."""

    workflow_path: str
    output_dir: str
    output_prefix: str
    effective_prompt: str
    reference_image: str  # the guide image
    locked_style_image: str  # empty: no style image
    status_path: str
    width: int  # pixels
    height: int
    frame: int


def read_request(path: str) -> RenderRequest:
    """Raises HelperError when the file is not a request that can be carried out. Keys that are not ours are ignored."""
    members = read_object(path, "render request", LARGEST_REQUEST, AGAIN)
    values: dict[str, Any] = {}
    for name, kind in RenderRequest.__annotations__.items():
        value = members.get(name)
        if type(value) is not kind:
            problem = f'lacks "{name}"' if value is None else f'has no {KINDS[kind]} in "{name}"'
            raise HelperError(f'The render request "{path}" {problem}; {AGAIN}')
        values[name] = value
    values["locked_style_image"] = os.environ.get(STYLE_FROM_HOST, values["locked_style_image"])
    request = RenderRequest(**values)
    _check(request)
    return request


def told_by_host() -> dict[str, Any]:
    """What only the host knows of this frame: scene, camera, passes ...; empty when it tells nothing that can be read,
    which costs no picture."""
    try:
        return read_object(os.environ[FILE_FROM_HOST], "provenance", LARGEST_FROM_HOST, "")
    except (KeyError, HelperError):
        return {}


def _check(request: RenderRequest) -> None:
    for value, missing in (
        (request.workflow_path, "No workflow is selected; choose one in the Workflow menu"),
        (request.output_dir, "The Output Directory is empty; choose a folder for the pictures"),
        (request.reference_image, f"The render request names no guide image; {AGAIN}"),
    ):
        if not value:
            raise HelperError(missing)
    for name, value in request._asdict().items():
        if isinstance(value, str) and not _may_be_a_path(value):
            raise HelperError(f'"{name}" in the render request holds characters that no text has; enter it anew')
    width, height = request.width, request.height
    if min(width, height) < 1 or max(width, height) > LARGEST_SIDE or width * height > LARGEST_AREA:
        raise HelperError(
            f"A picture of {width} x {height} pixels cannot be made; set a resolution of "
            f"1 to {LARGEST_SIDE} pixels a side and at most {LARGEST_AREA // 1_000_000} megapixels"
        )


def _may_be_a_path(text: str) -> bool:
    try:
        return b"\0" not in os.fsencode(text)
    except UnicodeEncodeError:  # half of a surrogate pair
        return False
