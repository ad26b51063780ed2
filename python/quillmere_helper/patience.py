"""Waiting for a server that has gone and may come back: a restart loses nothing that was asked of it."""

from __future__ import annotations

import os
import time
from typing import Callable, Optional, TypeVar

from . import cancellation, web
from .errors import HelperError

PATIENCE = "QUILLMERE_SERVER_PATIENCE"  # environment: seconds to wait
USUAL_PATIENCE = 300.0
PAUSE = 1.0  # seconds between two tries

Tell = Callable[[str, Optional[float]], None]
Result = TypeVar("Result")


def patience() -> float:
    """Seconds that the user is ready to wait."""
    text = os.environ.get(PATIENCE, "")
    try:
        return max(float(text), 0.0) if text else USUAL_PATIENCE
    except ValueError as error:
        raise HelperError(f'{PATIENCE} is "{text}"; it must be a number of seconds') from error


def patiently(call: Callable[[], Result], tell: Tell) -> Result:
    """`call` again and again until the server answers. Raises web.Unreachable when the patience is over."""
    end = time.monotonic() + patience()
    while True:
        try:
            return call()
        except web.Unreachable:
            if time.monotonic() > end:
                raise
            tell("The server does not answer; waiting for it", None)
        cancellation.stop_if_orphaned()
        time.sleep(PAUSE)
