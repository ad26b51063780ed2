"""What a back end is given and what it gives back."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

from .outputs import Outputs
from .request import RenderRequest
from .status import Status
from .workflows import Workflow


@dataclass(frozen=True)
class Job:
    """One render. The back end reports to `status` and writes its pictures to `outputs`, the most important one first."""

    request: RenderRequest
    workflow: Workflow
    status: Status
    outputs: Outputs


@dataclass(frozen=True)
class Made:
    """What is worth knowing about finished pictures; `facts` goes into the response."""

    seed: int
    facts: dict[str, Any] = field(default_factory=dict)
