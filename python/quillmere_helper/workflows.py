"""Workflow files: which back end one is for, and what it asks of it."""

import os
from types import MappingProxyType
from typing import Any, Mapping, NamedTuple

from . import png, untrusted
from .errors import HelperError

LARGEST_WORKFLOW = 16 << 20  # bytes; graphs of a thousand nodes take less than one
REMEDY = "choose another one in the Workflow menu, or put the file there"
COMFYUI = "comfyui"
RECORD = "quillmere"  # the PNG text that holds what made a picture, its workflow included
GRAPHS = ("prompt", "workflow")  # PNG texts of a ComfyUI server: the graph that ran, the graph as its editor keeps it
WRAPPER = {"workflow", "controls"}  # the members of a file that names another one and sets controls of it


class Workflow(NamedTuple):
    """A workflow file that was read; `content` is checked by the back end that `backend` names.

    `controls` are the values that a wrapper has set; they stand in `content` already.
    """

    path: str  # of the workflow itself, not of a wrapper
    backend: str
    content: Mapping[str, Any]
    controls: Mapping[str, Any] = MappingProxyType({})

    @property
    def name(self) -> str:
        return f'the workflow "{os.path.basename(self.path)}"'


def read_workflow(path: str, backends: Mapping[str, str]) -> Workflow:
    """Tells by its content what a file is: our own JSON, a ComfyUI graph in either format, a picture of an earlier
    render, or a wrapper around one of these. Raises HelperError when the file cannot be read or is for none of
    `backends`."""
    content = _content_of(path)
    if not _is_wrapper(content):
        return Workflow(path, _backend_of(path, content, backends), content)
    wrapped, controls = content["workflow"], content["controls"]
    if not isinstance(wrapped, str) or not os.path.isabs(wrapped) or not isinstance(controls, dict):
        raise HelperError(f'The workflow "{path}" names no other one by its full path', remedy=REMEDY)
    content = _content_of(wrapped)
    if _is_wrapper(content):
        raise HelperError(f'The workflow "{wrapped}" only names another one', remedy=f"{REMEDY}, or name that one")
    backend = _backend_of(wrapped, content, backends)
    return Workflow(wrapped, backend, _with_controls(content, backend, controls), controls)


def is_api_graph(content: Mapping[str, Any]) -> bool:
    """Every value a node: the format that the server itself runs."""
    return bool(content) and all(isinstance(node, dict) and "class_type" in node for node in content.values())


def is_editor_graph(content: Mapping[str, Any]) -> bool:
    """The format in which the graph editor saves."""
    return isinstance(content.get("nodes"), list)


def is_graph(content: Mapping[str, Any]) -> bool:
    return is_api_graph(content) or is_editor_graph(content)


def _content_of(path: str) -> dict[str, Any]:
    raw = untrusted.read_file(os.path.expanduser(path), "workflow", LARGEST_WORKFLOW, REMEDY, untrusted.LARGEST_PICTURE)
    if not raw.startswith(png.SIGNATURE):
        return untrusted.parse_object(raw, f'The workflow "{path}"', REMEDY)
    content = _kept_in(raw, path)
    if _is_wrapper(content):  # a picture may come from anybody, and has no business with our files
        raise HelperError(f'The picture "{path}" holds no workflow', remedy=REMEDY)
    return content


def _is_wrapper(content: Mapping[str, Any]) -> bool:
    return content.keys() == WRAPPER and not is_graph(content)


def _with_controls(content: Mapping[str, Any], backend: str, controls: Mapping[str, Any]) -> dict[str, Any]:
    """Our own JSON with these values for its controls. Those of a back end without a graph are its parameters."""
    if is_graph(content):
        return {"backend": backend, "graph": content, "controls": controls}
    key = "controls" if backend == COMFYUI else "parameters"
    given = content.get(key, {})
    return {**content, key: {**given, **controls} if isinstance(given, dict) else given}


def _kept_in(picture: bytes, path: str) -> dict[str, Any]:
    """The workflow that made a picture: ours, else the graph that a ComfyUI server left in it."""
    try:
        found = png.texts(picture, (RECORD, *GRAPHS))
    except png.BadPng as error:
        raise HelperError(f'The picture "{path}" cannot be read: {error}', remedy=REMEDY) from error
    if RECORD in found:
        workflow = untrusted.parse_object(found[RECORD].encode(), f'What made "{path}"', REMEDY).get("workflow")
        if isinstance(workflow, dict):
            return workflow
    for keyword in GRAPHS:
        if keyword in found:
            return untrusted.parse_object(found[keyword].encode(), f'The graph in "{path}"', REMEDY)
    raise HelperError(f'The picture "{path}" holds no workflow', remedy=REMEDY)


def _backend_of(path: str, content: Mapping[str, Any], backends: Mapping[str, str]) -> str:
    if is_graph(content):
        return COMFYUI
    backend = content.get("backend")
    if isinstance(backend, str) and backend in backends:
        return backend
    named = isinstance(backend, str)
    found = f'names the back end "{backend}"' if named else 'is no ComfyUI graph and names no "backend"'
    supported = f"supported: {', '.join(backends)}, and ComfyUI graphs"
    raise HelperError(f'The workflow "{path}" {found}', remedy=supported)
