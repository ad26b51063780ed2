"""The back ends, by the name that a workflow file gives: what each is given and what it gives back. One is loaded only
when a workflow is for it."""

import importlib
from typing import TYPE_CHECKING, Any, Mapping, NamedTuple, Optional, Protocol, Sequence, cast

from ..exchange import ALMOST, Status
from ..outputs import Outputs, record_of
from ..request import RenderRequest
from ..workflows import Workflow

if TYPE_CHECKING:  # what servers need takes longer to load than a drawing to begin
    from ..pictures import Stored
    from ..servers import Kind

MODULES = {"embedded": ".embedded", "comfyui": ".comfyui", "a1111": ".a1111"}


class Job(NamedTuple):
    """One render. The back end reports to `status` and delivers its pictures, the main one first."""

    request: RenderRequest
    workflow: Workflow
    status: Status
    outputs: Outputs

    def deliver(
        self,
        pictures: "Sequence[Stored]",
        seeds: Sequence[Optional[int]],
        facts: Mapping[str, Any],
        own: Sequence[Mapping[str, Any]] = (),
    ) -> None:
        """Writes the pictures, each with its seed and what else made it: the request, and before that `facts`, and
        before those what is its `own`, where there is any."""
        self.status.tell("write", "Writing the picture", ALMOST)
        for (content, kind), seed, more in zip(pictures, seeds, own or [{}] * len(pictures)):
            self.outputs.write(content, kind, record_of(self.request, self.workflow, seed, {**facts, **more}))


class Result(NamedTuple):
    """How the pictures came about: the seed that they were made with, None when the workflow has none, and remarks that
    the user should see."""

    seed: Optional[int]
    notes: Sequence[str] = ()


class Backend(Protocol):
    """`REQUIRES` names a module beyond the standard library that `make` needs, or is empty; `SERVER` is the kind of
    server that it works with, if any.

    `passes` are the words of the passes that the workflow asks for, see passes.py; no server is asked.
    `check` returns facts about the workflow, as `command_line` lists them; when something is missing, a "problem" and
    its "remedy" are among them. `controls` are what a user may set without changing the file: objects with "name",
    "node", "title", "kind", "input", "type" (number, whole, text, choice or switch), "default" and, where there are any,
    "least", "most", "step" and "choices". All three raise HelperError for a workflow that cannot be read so far. `make` does
    the render.
    """

    REQUIRES: str
    SERVER: "Optional[Kind]"
    def passes(self, workflow: Workflow) -> list[str]: ...
    def check(self, workflow: Workflow) -> dict[str, Any]: ...
    def controls(self, workflow: Workflow) -> list[dict[str, Any]]: ...
    def make(self, job: Job) -> Result: ...


def load(name: str) -> Backend:
    return cast(Backend, importlib.import_module(MODULES[name], __name__))
