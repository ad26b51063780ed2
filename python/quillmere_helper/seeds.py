"""The seed of a picture: fixed by the host or the workflow file, one per frame, or drawn afresh."""

from __future__ import annotations

import os
import re
import secrets

from .errors import HelperError
from .parameters import LARGEST_SEED

FRAME_STEP = 0x9E3779B97F4A7C15  # 2^64 / golden ratio: neighbouring frames get seeds that have nothing in common
FROM_HOST = "QUILLMERE_SEED"  # environment: the seed of a picture that is to be made again


def seed_for(choice: int | str, frame: int) -> int:
    """A whole number of 0 to 2^64 - 1, the same again for the same fixed choice or the same frame; the host's goes
    before any choice. Raises HelperError when that is no seed."""
    given = os.environ.get(FROM_HOST, "")
    if given:
        if not re.fullmatch("[0-9]{1,20}", given) or int(given) > LARGEST_SEED:
            raise HelperError(f'{FROM_HOST} is "{given[:40]}"; it must be a whole number of 0 to {LARGEST_SEED}')
        return int(given)
    if choice == "random":
        return secrets.randbits(64)
    if choice == "frame":
        return (frame + 1) * FRAME_STEP & LARGEST_SEED
    return int(choice)
