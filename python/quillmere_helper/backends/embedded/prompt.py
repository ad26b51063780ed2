"""The words of a prompt that a drawing answers to, and what each asks of it: a light, a strength of colour, a wetness.

Add a row to teach it one.
"""

import re
from typing import Iterable, NamedTuple

NEGATIONS = {"no", "not", "without", "never", "non"}


class Mood(NamedTuple):
    """The light of a picture; `shadow` and `light` are RGB of 0..1 and count as much as `weight` says.

    `key` lightens (above 0) or darkens the tones, `saturation` multiplies, `wetness` is added.
    """

    shadow: tuple[float, float, float] = (0.0, 0.0, 0.0)
    light: tuple[float, float, float] = (1.0, 1.0, 1.0)
    weight: float = 0.0
    key: float = 0.0
    saturation: float = 1.0
    wetness: float = 0.0


def _light(dark: str, bright: str, weight: float = 0.45, *rest: float) -> Mood:
    return Mood(_rgb(dark), _rgb(bright), weight, *rest)


def _rgb(code: str) -> tuple[float, float, float]:
    return int(code[0:2], 16) / 255, int(code[2:4], 16) / 255, int(code[4:6], 16) / 255


ROWS: tuple[tuple[str, Mood], ...] = (
    # colours
    ("red crimson scarlet ruby", _light("5a0f14", "ffd0c4")),
    ("orange amber copper rust rusty", _light("5e2608", "ffdcae")),
    ("yellow lemon", _light("6b4c06", "fff0a8")),
    ("gold golden honey", _light("5c3a08", "ffe3a0")),
    ("green emerald mossy jade", _light("0f3a22", "d8f2cc")),
    ("olive", _light("34340f", "e9e8c0")),
    ("teal turquoise cyan aqua", _light("06383d", "c9f3ee")),
    ("blue azure cobalt sapphire", _light("0f1f57", "cfe2ff")),
    ("indigo", _light("1b1450", "d5d3fb")),
    ("purple violet lilac lavender", _light("351152", "ead6fb")),
    ("pink rose rosy magenta", _light("5c1238", "ffd3e2")),
    ("brown sepia umber tan", _light("3c2410", "f4e2c6")),
    ("white ivory", _light("4a4c55", "ffffff", 0.2, 0.18)),
    ("grey gray silver monochrome monochromatic colourless", _light("26272b", "f1f2f4", 0.5, 0.0, 0.35)),
    ("black", _light("0b0b10", "e6e6ea", 0.3, -0.18, 0.8)),
    # times of day
    ("dawn sunrise daybreak", _light("4b3f72", "ffd9c2", 0.6, 0.06, 1.0, 0.1)),
    ("morning", _light("4a567c", "fff0d2", 0.35, 0.08)),
    ("noon midday daylight", _light("38506e", "fffdf0", 0.2, 0.12, 1.1)),
    ("afternoon", _light("4d4257", "ffe9c0", 0.3, 0.04)),
    ("sunset sundown", _light("4a1f4f", "ffb878", 0.75, -0.06, 1.15)),
    ("evening dusk twilight", _light("241c4e", "e9b9b0", 0.65, -0.16)),
    ("night midnight nocturnal nighttime", _light("0a1030", "8ea4d8", 0.8, -0.42, 0.75)),
    ("moonlit moonlight moon starlit", _light("0c1636", "c2d2f2", 0.6, -0.2, 0.7)),
    # seasons
    ("spring blossom", _light("35503a", "fdeef0", 0.35, 0.12, 1.1)),
    ("summer summery", _light("2f4a52", "fff3c4", 0.35, 0.08, 1.2)),
    ("autumn autumnal fall", _light("4f220c", "ffd9a0", 0.55, -0.02, 1.1)),
    ("winter wintry frost frosty ice icy", _light("16346c", "d6e8ff", 0.9, 0.12, 0.7)),
    # weather
    ("fog foggy mist misty haze hazy", _light("737a88", "f4f4f2", 0.5, 0.22, 0.6, 0.35)),
    ("rain rainy drizzle wet", _light("27323f", "d9e1e6", 0.5, -0.1, 0.7, 0.4)),
    ("storm stormy thunder thunderstorm", _light("141b2b", "b9c2cc", 0.6, -0.26, 0.7, 0.25)),
    ("snow snowy snowfall blizzard", _light("3b4d70", "fbfdff", 0.5, 0.26, 0.55, 0.1)),
    ("sun sunny sunlit sunlight", _light("49405c", "fff2c2", 0.4, 0.1, 1.2, -0.1)),
    ("cloud cloudy overcast", _light("3c4450", "e9ebee", 0.4, 0.0, 0.75, 0.15)),
    # moods
    ("warm cosy cozy", _light("4f2a18", "ffe6c2")),
    ("cool cold chilly", _light("16294a", "e2efff")),
    ("dark gloomy sombre somber noir", _light("0c0d16", "c8c8cc", 0.45, -0.3, 0.7)),
    ("bright light airy luminous", _light("4d5468", "fffdf6", 0.2, 0.22, 1.05)),
    ("dreamy soft ethereal gentle", _light("5a4f7c", "fdeef6", 0.4, 0.14, 0.85, 0.3)),
    ("calm peaceful serene quiet", _light("2f4c5c", "eef6f2", 0.35, 0.06, 0.85, 0.1)),
    ("dramatic", _light("100d18", "fff0dc", 0.3, -0.16, 1.1)),
    ("melancholy melancholic sad lonely", _light("1f2c48", "d4dde8", 0.5, -0.08, 0.6, 0.2)),
    ("vivid vibrant colourful colorful saturated", Mood(saturation=1.5)),
    ("muted pale faded desaturated pastel", Mood(key=0.12, saturation=0.55)),
    ("vintage nostalgic antique aged old", _light("3a2614", "f6e3bd", 0.55, 0.0, 0.7)),
    ("fire fiery burning lava", _light("3a0606", "ffb050", 0.7, -0.12, 1.3)),
    ("neon cyberpunk", _light("1c0a48", "ff9bf0", 0.6, -0.25, 1.5)),
    ("underwater ocean sea", _light("042c40", "c6efef", 0.4, -0.04)),
)

WORDS = {word: mood for words, mood in ROWS for word in words.split()}


def mood_of(prompt: str, strength: float) -> Mood:
    """The mood of the words of `prompt` that stand above, each counted once; the others change nothing."""
    known = dict.fromkeys(word if word in WORDS else word[:-1] for word in _words_of(prompt))
    return _together((WORDS[word] for word in known if word in WORDS), strength)


def _together(moods: Iterable[Mood], strength: float) -> Mood:
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


def _words_of(prompt: str) -> list[str]:
    """The words of `prompt` in small letters, in order, without those that a "no" or "without" stands before."""
    words = re.findall(r"[^\W\d_]+", prompt.lower())
    return [word for before, word in zip(["", *words], words) if before not in NEGATIONS]


def _mean(weighted: list[tuple[tuple[float, float, float], float]], total: float) -> tuple[float, float, float]:
    if total <= 0:
        return weighted[0][0] if weighted else (0.0, 0.0, 0.0)
    red, green, blue = (sum(colour[index] * weight for colour, weight in weighted) / total for index in range(3))
    return red, green, blue
