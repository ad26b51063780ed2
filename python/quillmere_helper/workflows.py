"""Workflow files: which back end one is for, and what it asks of it."""

import os
from dataclasses import dataclass
from typing import Any, Mapping

from . import png, untrusted
from .errors import HelperError

LARGEST_WORKFLOW = 16 << 20  # bytes; graphs of a thousand nodes take less than one
REMEDY = "choose another one in the Workflow menu, or put the file there"
COMFYUI = "comfyui"
RECORD = "quillmere"  # the PNG text that holds what made a picture, its workflow included
GRAPHS = ("prompt", "workflow")  # PNG texts of a ComfyUI server: the graph that ran, the graph as its editor keeps it


@dataclass(frozen=True)
class Workflow:
    """A workflow file that was read; `content` is checked by the back end that `backend` names."""

    path: str
    backend: str
    content: Mapping[str, Any]

    @property
    def name(self) -> str:
        return f'the workflow "{os.path.basename(self.path)}"'


def read_workflow(path: str, backends: Mapping[str, str]) -> Workflow:
    """Tells by its content what a file is: our own JSON, a ComfyUI graph in either format, or a picture of an earlier
    render. Raises HelperError when the file cannot be read or is for none of `backends`."""
    raw = untrusted.read_file(os.path.expanduser(path), "workflow", LARGEST_WORKFLOW, REMEDY, untrusted.LARGEST_PICTURE)
    if raw.startswith(png.SIGNATURE):
        content = _kept_in(raw, path)
    else:
        content = untrusted.parse_object(raw, f'The workflow "{path}"', REMEDY)
    return Workflow(path, _backend_of(path, content, backends), content)


def is_api_graph(content: Mapping[str, Any]) -> bool:
    """Every value a node: the format that the server itself runs."""
    return bool(content) and all(isinstance(node, dict) and "class_type" in node for node in content.values())


def is_editor_graph(content: Mapping[str, Any]) -> bool:
    """The format in which the graph editor saves."""
    return isinstance(content.get("nodes"), list)


def is_graph(content: Mapping[str, Any]) -> bool:
    return is_api_graph(content) or is_editor_graph(content)


def _kept_in(picture: bytes, path: str) -> dict[str, Any]:
    """The workflow that made a picture: ours, else the graph that a ComfyUI server left in it."""
    try:
        found = png.texts(picture, (RECORD, *GRAPHS))
    except png.BadPng as error:
        raise HelperError(f'The picture "{path}" cannot be read: {error}; {REMEDY}') from error
    if RECORD in found:
        workflow = untrusted.parse_object(found[RECORD].encode(), f'What made "{path}"', REMEDY).get("workflow")
        if isinstance(workflow, dict):
            return workflow
    for keyword in GRAPHS:
        if keyword in found:
            return untrusted.parse_object(found[keyword].encode(), f'The graph in "{path}"', REMEDY)
    raise HelperError(f'The picture "{path}" holds no workflow; {REMEDY}')


def _backend_of(path: str, content: Mapping[str, Any], backends: Mapping[str, str]) -> str:
    if is_graph(content):
        return COMFYUI
    backend = content.get("backend")
    if isinstance(backend, str) and backend in backends:
        return backend
    named = isinstance(backend, str)
    found = f'names the back end "{backend}"' if named else 'is no ComfyUI graph and names no "backend"'
    raise HelperError(f'The workflow "{path}" {found}; supported: {", ".join(backends)}, and ComfyUI graphs')
