"""Taking a job of ours back from a ComfyUI server."""

from __future__ import annotations

import time
from dataclasses import replace
from typing import Optional

from ...errors import HelperError
from .client import Comfy, Ticket

TIME = 0.6  # seconds for all of it: a stopped render has to end within one
ANSWER = 0.4  # seconds for one answer of the server


def withdraw(comfy: Comfy, ticket: Optional[Ticket]) -> str:
    """Stops the job of `ticket`, queued or running, and no other; tells in words what has become of it.

    A job that is not to be seen may just be on its way into the queue, so it is looked for until the time is over.
    """
    if ticket is None:
        return "Quillmere render cancelled"
    hasty = Comfy(replace(comfy.site, patience=ANSWER))
    end = time.monotonic() + TIME
    try:
        while time.monotonic() < end:
            if hasty.cancel(ticket):
                return "Quillmere render cancelled; its job on the server was stopped"
            time.sleep(0.1)
    except HelperError:
        return f"Quillmere render cancelled, but {comfy.site.url} could not be told: its job may still run there"
    return "Quillmere render cancelled"
