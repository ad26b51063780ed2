"""Workflow files: which back end one is for, and what it asks of it."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Mapping

from . import json_reader, provenance
from .errors import HelperError
from .png_chunks import SIGNATURE

LARGEST_WORKFLOW = 256 << 20  # bytes; it may be a picture
REMEDY = "choose another one in the Workflow menu, or put the file there"
COMFYUI = "comfyui"


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
    raw = json_reader.read_file(os.path.expanduser(path), "workflow", LARGEST_WORKFLOW, REMEDY)
    if raw.startswith(SIGNATURE):
        content = provenance.workflow_in(raw, path, REMEDY)
    else:
        content = json_reader.parse_object(raw, f'The workflow "{path}"', REMEDY)
    return Workflow(path, _backend_of(path, content, backends), content)


def is_api_graph(content: Mapping[str, Any]) -> bool:
    """Every value a node: the format that the server itself runs."""
    return bool(content) and all(isinstance(node, dict) and "class_type" in node for node in content.values())


def is_editor_graph(content: Mapping[str, Any]) -> bool:
    """The format in which the graph editor saves."""
    return isinstance(content.get("nodes"), list)


def _backend_of(path: str, content: Mapping[str, Any], backends: Mapping[str, str]) -> str:
    if is_api_graph(content) or is_editor_graph(content):
        return COMFYUI
    backend = content.get("backend")
    if isinstance(backend, str) and backend in backends:
        return backend
    found = (
        f'names the back end "{backend}"' if isinstance(backend, str) else 'is no ComfyUI graph and names no "backend"'
    )
    raise HelperError(f'The workflow "{path}" {found}; supported: {", ".join(backends)}, and ComfyUI graphs')
