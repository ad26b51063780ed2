"""What a back end is given and what it gives back."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Mapping, Sequence

from . import provenance
from .outputs import Outputs
from .request import RenderRequest
from .status import Status
from .workflows import Workflow


@dataclass(frozen=True)
class Job:
    """One render. The back end reports to `status` and writes its pictures to `outputs`, the main one first."""

    request: RenderRequest
    workflow: Workflow
    status: Status
    outputs: Outputs

    def deliver(
        self, pictures: Sequence[tuple[bytes, str]], seeds: Sequence[int], facts: Mapping[str, Any]
    ) -> None:
        """Writes whole picture files, each given with its kind and its seed, together with what made them: the request,
        and `facts` that the back end adds or knows better."""
        self.status.tell("write", "Writing the picture", 0.99)
        for (content, kind), seed in zip(pictures, seeds):
            made = provenance.facts_of(
                self.request, self.workflow.content, seed, {**facts, "backend": self.workflow.backend}
            )
            self.outputs.write(provenance.into_png(content, made) if kind == "png" else content, kind)
            self.outputs.write_side_file(provenance.side_file(made))


@dataclass(frozen=True)
class Made:
    """How the pictures came about: the seed that they were made with, and remarks that the user should see."""

    seed: int
    notes: list[str] = field(default_factory=list)
