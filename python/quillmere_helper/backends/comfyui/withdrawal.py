"""Taking a job back from a ComfyUI server when its render is stopped."""

import time
from dataclasses import replace
from typing import Optional

from ... import cancellation
from ...errors import HelperError
from .client import Comfy, Place, Ticket

LONGEST = 0.6  # seconds for all of it: a stopped render has to end within one
LONGEST_ANSWER = 0.4  # seconds for one answer of the server meanwhile
PAUSE = 0.1  # seconds between two looks
DONE = (Place.WAITED, Place.RAN)
FATES = {
    Place.WAITED: "its job was taken out of the queue of the server",
    Place.RAN: "its job on the server was stopped",
    Place.ENDED: "its job on the server had ended before, and its pictures stay there",
    Place.HIDDEN: "its job on the server was left alone: the server does not tell which of its jobs that is",
    Place.NOWHERE: "its job is not on the server",
}


def withdraw(comfy: Comfy, ticket: Optional[Ticket]) -> str:
    """Stops the job of `ticket`, queued or running, and no other; tells in words what has become of it.

    It is looked at again until it is gone: one that is not to be seen may just be on its way into the queue, one that
    waited may have begun.
    """
    if ticket is None:
        return cancellation.TEXT
    last, end = Place.NOWHERE, time.monotonic() + LONGEST
    while (left := end - time.monotonic()) > 0:
        try:
            place = Comfy(replace(comfy.site, timeout=min(LONGEST_ANSWER, left))).cancel(ticket)
        except HelperError:
            if last in DONE:
                break
            return f"{cancellation.TEXT}, but {comfy.site.url} could not be told: its job may still run there"
        if last in DONE and place not in DONE:
            return f"{cancellation.TEXT}; {FATES[last]}"
        last = place
        if last in (Place.ENDED, Place.HIDDEN):
            break
        time.sleep(PAUSE)
    if last is Place.RAN:
        return f"{cancellation.TEXT}; its job on the server was told to stop and does so after its present step"
    return f"{cancellation.TEXT}; {FATES[last]}"
