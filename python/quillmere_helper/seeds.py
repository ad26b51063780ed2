"""The seed of a picture: fixed by the workflow file, one per frame, or drawn afresh."""

from __future__ import annotations

import secrets

from .parameters import LARGEST_SEED

FRAME_STEP = 0x9E3779B97F4A7C15  # 2^64 / golden ratio: neighbouring frames get seeds that have nothing in common


def seed_for(choice: int | str, frame: int) -> int:
    """A whole number of 0 to 2^64 - 1, the same again for the same fixed choice or the same frame."""
    if choice == "random":
        return secrets.randbits(64)
    if choice == "frame":
        return (frame + 1) * FRAME_STEP & LARGEST_SEED
    return int(choice)
