"""An ink-and-wash drawing of a guide image, from bare paper to the last line, every edge where the guide has it."""

from __future__ import annotations

import io
import math
from typing import Any, Generator, Mapping, Optional

from PIL import Image, ImageChops, ImageFilter, ImageOps

from . import ink, pigment, style, washes
from .curves import curve, ramp
from .mood import Mood
from .noise import Noise
from .paper import Paper

REFERENCE_AREA = 1024 * 576  # pixels of the picture that all lengths are given for
SHEET = (253, 250, 241)
INK = (30, 30, 44)

Options = Mapping[str, Any]
Steps = Generator["tuple[str, float]", None, bytes]


def draw(guide: Image.Image, look: Optional[Image.Image], mood: Mood, seed: int, options: Options) -> Steps:
    """Yields what it is about to do and the share that is done, and returns the PNG file of the drawing.

    `guide` is RGB and gives the size; `look` is the style image. The same arguments give the same picture.
    """
    unit = max(0.5, math.sqrt(guide.width * guide.height / REFERENCE_AREA))
    noise = Noise(seed, guide.size)
    yield "Stretching the paper", 0.0
    paper = Paper(noise, unit, options["paper"])
    yield "Looking at the guide", 0.1
    calm = _calm(guide, unit)
    tones = _spread(calm, mood.key)
    light = Image.new("L", guide.size, 255)
    strength = options["wash"] * (1 - 0.6 * mood.key)
    brush = washes.Brush(options["layers"], strength, _between(0.6 + mood.wetness), options["granulation"])
    for layer in range(brush.layers):
        yield "Washing tones", 0.2 + 0.4 * layer / brush.layers
        light = ImageChops.multiply(light, washes.wash(layer, tones, paper.relief, noise, unit, brush))
    yield "Adding colour", 0.6
    bare = pigment.left_out(guide, noise, unit)
    soft = calm.filter(ImageFilter.GaussianBlur(1.6 * unit))
    colour = pigment.colour(ImageChops.lighter(light, bare), soft, options["saturation"] * mood.saturation)
    colour = pigment.graded(pigment.thin(colour, bare, noise, unit), mood)
    if look is not None:
        colour = style.in_colours_of(colour, look, options["style"])
    page = ImageChops.multiply(colour, paper.sheet(SHEET))
    yield "Drawing lines", 0.75
    covered = _ink(guide, tones, paper, noise, unit, options)
    yield "Finishing the picture", 0.9
    return _png(Image.composite(Image.new("RGB", guide.size, INK), page, covered))


def _calm(guide: Image.Image, unit: float) -> Image.Image:
    """The guide without small texture, but untouched around its edges."""
    half = (max(1, guide.width // 2), max(1, guide.height // 2))
    soft = guide.resize(half, Image.BOX).filter(ImageFilter.MedianFilter(3)).resize(guide.size, Image.BICUBIC)
    edges = soft.convert("L").filter(ImageFilter.FIND_EDGES).filter(ImageFilter.GaussianBlur(2 * unit))
    return Image.composite(guide, soft, edges.point(ramp(0.01, 0.05)))


def _spread(guide: Image.Image, key: float) -> Image.Image:
    """The tones of `guide` spread over black to white, lighter or darker as the mood has it."""
    light = guide.convert("L")
    spread = Image.blend(ImageOps.autocontrast(light, 1), ImageOps.equalize(light), 0.35)
    return spread.filter(ImageFilter.GaussianBlur(0.7)).point(curve(lambda value: value ** math.exp(-1.4 * key)))


def _ink(
    guide: Image.Image, tones: Image.Image, paper: Paper, noise: Noise, unit: float, options: Options
) -> Image.Image:
    """How much ink covers each pixel; even the heaviest line lets a little of the page through."""
    inked = Image.new("L", guide.size, 0)
    if options["line"] > 0:
        inked = ink.lines(guide, paper.relief, noise, unit, options["line"])
    if options["hatching"] > 0:
        strokes = ink.hatching(tones, noise, unit).point(curve(lambda value: 0.6 * options["hatching"] * value))
        inked = ImageChops.lighter(inked, strokes)
    return inked.point(curve(lambda value: 0.88 * value))


def _between(wetness: float) -> float:
    return min(max(wetness, 0.1), 1.0)


def _png(page: Image.Image) -> bytes:
    file = io.BytesIO()
    page.save(file, "PNG", compress_level=2)
    return file.getvalue()
