"""What the words of a prompt ask of a drawing: a light, a strength of colour, a wetness, and nothing else."""

from __future__ import annotations

import re
from dataclasses import dataclass
from typing import Iterable

NEGATIONS = {"no", "not", "without", "never", "non"}


@dataclass(frozen=True)
class Mood:
    """The light of a picture; `shadow` and `light` are RGB of 0..1 and count as much as `weight` says.

    `key` lightens (above 0) or darkens the tones, `saturation` multiplies, `wetness` is added.
    """

    shadow: tuple[float, float, float] = (0.0, 0.0, 0.0)
    light: tuple[float, float, float] = (1.0, 1.0, 1.0)
    weight: float = 0.0
    key: float = 0.0
    saturation: float = 1.0
    wetness: float = 0.0


def together(moods: Iterable[Mood], strength: float) -> Mood:
    """All of `moods` at once, `strength` times as much of each; the neutral mood when there are none."""
    several = list(moods)
    total = sum(mood.weight for mood in several)
    saturation = 1.0
    for mood in several:
        saturation *= 1 + (mood.saturation - 1) * min(strength, 1.0)
    return Mood(
        _mean([(mood.shadow, mood.weight) for mood in several], total),
        _mean([(mood.light, mood.weight) for mood in several], total),
        min(total * strength, 1.0),
        min(max(strength * sum(mood.key for mood in several), -0.6), 0.5),
        min(max(saturation, 0.1), 1.8),
        min(max(strength * sum(mood.wetness for mood in several), -0.5), 0.5),
    )


def words_of(prompt: str) -> list[str]:
    """The words of `prompt` in small letters, in order, without those that a "no" or "without" stands before."""
    words = re.findall(r"[^\W\d_]+", prompt.lower())
    return [word for before, word in zip(["", *words], words) if before not in NEGATIONS]


def _mean(weighted: list[tuple[tuple[float, float, float], float]], total: float) -> tuple[float, float, float]:
    if total <= 0:
        return weighted[0][0] if weighted else (0.0, 0.0, 0.0)
    red, green, blue = (sum(colour[index] * weight for colour, weight in weighted) / total for index in range(3))
    return red, green, blue
