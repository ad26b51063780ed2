"""Tone curves: tables of 256 values for `Image.point`."""

from __future__ import annotations

from typing import Any, Callable


def curve(shape: Callable[[float], Any]) -> list[int]:
    """The table of a function from 0..1 to 0..1; values outside are held at the ends."""
    return [round(255 * min(max(shape(value / 255), 0.0), 1.0)) for value in range(256)]


def ramp(start: float, end: float) -> list[int]:
    """From 0 at `start` to 1 at `end` with soft ends; falling when `start` lies above `end`."""

    def shape(value: float) -> float:
        share = min(max((value - start) / (end - start), 0.0), 1.0)
        return share * share * (3 - 2 * share)

    return curve(shape)


def fade(strength: float) -> list[int]:
    """A covering of 0..1 as the light that it lets through: 1 down to 1 - `strength`."""
    return curve(lambda value: 1 - strength * value)
