"""The back ends, by the name that a workflow file gives. Each is loaded only when a workflow is for it."""

from __future__ import annotations

import importlib
from typing import Any, Protocol, cast

from ..jobs import Job, Made
from ..workflows import Workflow


class Backend(Protocol):
    """`REQUIRES` names a module beyond the standard library that `make` needs, or is empty.

    `check` raises HelperError when the workflow cannot be run, and returns facts about it; `make` does the render.
    """

    REQUIRES: str

    def check(self, workflow: Workflow) -> dict[str, Any]:
        ...

    def make(self, job: Job) -> Made:
        ...


MODULES = {"embedded": ".embedded", "comfyui": ".comfyui", "a1111": ".a1111"}


def load(name: str) -> Backend:
    return cast(Backend, importlib.import_module(MODULES[name], __name__))
