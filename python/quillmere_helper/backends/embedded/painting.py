"""Everything but the lines: paper, washes of thinned ink, the guide's hues in them, the colours of a style image."""

from typing import NamedTuple, Sequence

from PIL import Image, ImageChops, ImageFilter, ImageOps, ImageStat

from .images import TWICE, Beside, Clouds, Noise, blurred, curve, fade, ramp, without
from .prompt import Mood

LIGHT_FROM = ImageFilter.Kernel((3, 3), (-2, -1, 0, -1, 0, 1, 0, 1, 2), 3, 128)  # a lamp at the upper left
SOFTNESS = 0.05  # half the width of a tone's border, in tones of 0..1
ROUNDED_OFF = 1.5 / 255  # what the mean of the washes loses, each of which is blended with those before
RIM_WIDTH = 3.0  # how far a drying wash carries its pigment to the border, in pixels at a width of 1024
SHADOWS = (0.16, 0.18, 0.36)  # the colour that shade leans to whatever its own: indigo
WHITE = (255, 255, 255)
STYLE_SAMPLE = (256, 256)  # pixels are enough for a mean and a spread
STYLE_SHARES = (0.35, 1.0, 1.0)  # of lightness and the two colour differences: the drawing keeps its own light


class Paper:
    """One sheet of cold-pressed paper; `unit` is the length in pixels that is 1 in a picture 1024 wide."""

    def __init__(self, noise: Noise, unit: float, roughness: float) -> None:
        grain, tooth = noise.grains(), noise.grains()
        self._relief = Beside(lambda: _relief(grain, tooth, unit))
        self._roughness = roughness

    @property
    def relief(self) -> Image.Image:
        """Valleys 0, hills 255."""
        relief: Image.Image = self._relief.result()
        return relief

    def sheet(self, colour: tuple[int, int, int]) -> Image.Image:
        """The empty sheet under a slanting light."""
        shade, depth = self.relief.filter(LIGHT_FROM), 0.11 * self._roughness
        lit = [[round(full * (1 - depth * max(0.0, 0.62 - value / 255))) for value in range(256)] for full in colour]
        return Image.merge("RGB", [shade.point([max(value, 0) for value in table]) for table in lit])


def _relief(grain: Image.Image, tooth: Image.Image, unit: float) -> Image.Image:
    relief = Image.blend(_worn(grain, 0.6 * unit), _worn(tooth, 1.7 * unit), 0.5)
    return ImageOps.autocontrast(relief, 0.5)


def _worn(grains: Image.Image, radius: float) -> Image.Image:
    return ImageOps.autocontrast(grains.filter(ImageFilter.GaussianBlur(radius)), 0.5)


class Brush(NamedTuple):
    """How wash is laid on: in how many `layers`, and the `strength` of all of them together."""

    layers: int
    strength: float
    wetness: float
    granulation: float


def running(noise: Noise, unit: float, brush: Brush) -> "list[tuple[Clouds, Clouds]]":
    """How the water of each layer runs: what its borders swing by, and where it stands in pools."""
    swing = (26 + 90 * brush.wetness) * unit
    return [(noise.clouds(swing), noise.clouds(150 * unit)) for _ in range(brush.layers)]


class Washes:
    """The washes of one picture, for `tones` spread over 0..255; `water` says how each layer of them runs."""

    def __init__(self, tones: Image.Image, water: "Sequence[tuple[Clouds, Clouds]]", unit: float, brush: Brush) -> None:
        self._water = water
        self._tones, self._unit, self._brush = tones, unit, brush
        amount = 0.10 + 0.05 * brush.wetness
        self._swing = curve(lambda value: 0.5 + 2 * amount * (value - 0.5))
        self._pool = curve(lambda value: 1 - 0.75 * brush.wetness + 0.75 * value)
        self._body = 0.86 * brush.strength / brush.layers
        self._light = Image.new("L", tones.size, 255)
        self._covered = Image.new("L", tones.size, 0)  # on average, by the layers so far

    def lay(self, layer: int) -> None:
        """Adds a layer, which is darker in pools and along its border.

        Layer 0 covers all but the lightest tones, the last one only the darkest. Borders wander only where the tones run
        smoothly into each other; a sharp border of the guide stays where it is.
        """
        brush = self._brush
        border = 1 - (layer + 0.7) / (brush.layers + 0.4)
        swinging, pooling = self._water[layer]
        swing = swinging.shaped(self._swing)
        wandering = ImageChops.add(self._tones, swing, 1, -128)
        covered = wandering.point(ramp(border + SOFTNESS, border - SOFTNESS))
        pools = pooling.faint(self._pool)
        self._light = ImageChops.multiply(self._light, ImageChops.multiply(covered, pools).point(fade(self._body)))
        rim = without(covered, blurred(covered, RIM_WIDTH * self._unit))
        self._light = ImageChops.multiply(self._light, rim.point(fade(2.2 * self._body)))
        self._covered = Image.blend(self._covered, covered, 1 / (layer + 1))

    def dried(self, relief: Image.Image) -> Image.Image:
        """The light that all layers let through (255: all of it), with the pigment that has gone into the valleys of the
        paper."""
        valleys = ImageChops.multiply(self._covered, relief.point(curve(lambda value: 1.5 * (0.5 - value))))
        grainy, layers = 0.4 * self._body * self._brush.granulation, self._brush.layers
        dark = curve(lambda value: max(1 - grainy * (value + ROUNDED_OFF * (value > 0)), 0.0) ** layers)
        return ImageChops.multiply(self._light, valleys.point(dark))


def colour(light: Image.Image, hues: Sequence[Image.Image], saturation: float) -> Image.Image:
    """`light` (8-bit grey) in the `hues` of a guide: blue and red, as YCbCr has them."""
    blue, red = hues
    vivid = [min(max(round(128 + 1.15 * saturation * (value - 128)), 0), 255) for value in range(256)]
    return Image.merge("YCbCr", (light, blue.point(vivid), red.point(vivid))).convert("RGB")


def thin(picture: Image.Image, bare: Image.Image, patches: Clouds) -> None:
    """Makes it paler in irregular patches, and where `bare` (255: fully) leaves the paper out."""
    water = patches.shaped(curve(lambda value: 0.55 * min(max((value - 0.45) * 2, 0.0), 1.0)))
    pale = ImageChops.lighter(water, bare).point(curve(lambda value: 0.6 * value))
    picture.paste(WHITE, None, pale)


def left_out(light: Image.Image, patches: Clouds, unit: float) -> Image.Image:
    """Slivers of bare paper on the light side of edges, here and there; `light`: the guide in grey."""
    narrow, wide = blurred(light, 0.9 * unit), blurred(light, 2.4 * unit)
    slivers = without(narrow, wide).point(TWICE).point(ramp(0.06, 0.2))
    return ImageChops.multiply(slivers, patches.shaped(ramp(0.45, 0.6)))


def grade(picture: Image.Image, mood: Mood) -> None:
    """Gives it cool shadows and the light of `mood`."""
    weight = 0.6 * mood.weight

    def cooling(light: float) -> float:
        return 0.38 * float((1 - light) ** 1.6)

    def covering(light: float) -> float:
        return 1 - (1 - cooling(light)) * (1 - weight)

    def tint(channel: int) -> "list[int]":
        def shape(light: float) -> float:
            mooded = mood.shadow[channel] + (mood.light[channel] - mood.shadow[channel]) * light
            shade = SHADOWS[channel] * cooling(light) * (1 - weight)
            return (shade + mooded * weight) / max(covering(light), 1e-6)

        return curve(shape)

    light = picture.convert("L")
    tints = Image.merge("RGB", [light.point(tint(channel)) for channel in range(3)])
    picture.paste(tints, None, light.point(curve(covering)))


def in_colours_of(picture: Image.Image, style: Image.Image, strength: float) -> Image.Image:
    """`picture` with the mean and the spread of each channel moved to those of `style`, by `strength` of the way."""
    wanted, there = _statistics(style), _statistics(picture)
    tables: list[int] = []
    for goal, own, share in zip(wanted, there, STYLE_SHARES):
        gain = min(max(goal[1] / max(own[1], 2.0), 0.5), 2.0)
        for value in range(256):
            moved = goal[0] + (value - own[0]) * gain
            tables.append(min(max(round(value + (moved - value) * share * strength), 0), 255))
    return picture.convert("YCbCr").point(tables).convert("RGB")


def _statistics(picture: Image.Image) -> list[tuple[float, float]]:
    """Mean and standard deviation of lightness and the two colour differences."""
    small = picture.copy()
    small.thumbnail(STYLE_SAMPLE)
    statistics = ImageStat.Stat(small.convert("YCbCr"))
    return list(zip(statistics.mean, statistics.stddev))
