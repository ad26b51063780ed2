"""Workflow files: which back end one is for, and what it asks of it."""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Any, Mapping

from .errors import HelperError
from .json_reader import read_object

LARGEST_WORKFLOW = 64 << 20  # bytes
REMEDY = "choose another one in the Workflow menu, or put the file there"


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
    """Raises HelperError when the file cannot be read or is for none of `backends`."""
    content = read_object(os.path.expanduser(path), "workflow", LARGEST_WORKFLOW, REMEDY)
    backend = content.get("backend")
    if not isinstance(backend, str) or backend not in backends:
        found = f'names the back end "{backend}"' if isinstance(backend, str) else 'names no "backend"'
        raise HelperError(f'The workflow "{path}" {found}; supported: {", ".join(backends)}')
    return Workflow(path, backend, content)
