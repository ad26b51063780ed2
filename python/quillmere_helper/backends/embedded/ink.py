"""The pen: lines along the edges of the guide, in light and in colour, and strokes over its shadows."""

from __future__ import annotations

from PIL import Image, ImageChops, ImageDraw, ImageFilter

from .curves import curve, ramp
from .noise import Noise

EYE = curve(lambda light: light**0.6)  # edges in the shadows count as much as edges in the light
COLOUR_GAIN = 1.6  # an edge between two colours of one lightness counts as if they differed this much more
NIBS = ((0.6, 0.012), (1.5, 0.036))  # width in pixels at a width of 1024, and the least step of 0..1 that it draws
GRAIN_WINDOW = 8  # half the side of the surroundings of an edge, in widths of the nib
GRAIN_SHARE = 1.6  # how much of the mean depth around counts as grain
STROKE_GAP = 5.2  # pixels between two strokes of a hatching, at a width of 1024
STROKE_LEAN = 0.62  # of a stroke: how far it leans over, per height


def lines(guide: Image.Image, relief: Image.Image, noise: Noise, unit: float, strength: float) -> Image.Image:
    """How much ink lies on each pixel (255: solid). Lines swell and thin out with the pressure of the hand."""
    pressure = noise.clouds(60 * unit).point(curve(lambda value: 0.4 + 0.6 * value))
    light, blue, red = guide.convert("YCbCr").split()
    widened = curve(lambda value: 0.5 + COLOUR_GAIN * (value - 0.5))
    ink = Image.new("L", guide.size, 0)
    for channel in (light.point(EYE), blue.point(widened), red.point(widened)):
        for width, least in NIBS:
            ink = ImageChops.lighter(ink, _strokes(channel, pressure, width * unit, least / strength))
    return _dry(_without_dots(ink, unit), relief)


def hatching(tones: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Slanting strokes where `tones` are darkest, with gaps where the hand lifts."""
    strokes = Image.new("L", tones.size, 0)
    pen = ImageDraw.Draw(strokes)
    width, height = tones.size
    start = -STROKE_LEAN * height
    while start < width:
        lean = STROKE_LEAN * height + noise.between(-2.5, 2.5) * unit
        pen.line((start, height, start + lean, 0), round(noise.between(150, 255)), max(1, round(1.1 * unit)))
        start += STROKE_GAP * unit * noise.between(0.75, 1.25)
    strokes = strokes.filter(ImageFilter.GaussianBlur(0.55 * unit)).point(curve(lambda value: 1.5 * value))
    dark = ImageChops.multiply(tones.point(ramp(0.30, 0.16)), noise.clouds(30 * unit).point(ramp(0.25, 0.6)))
    return ImageChops.multiply(strokes, dark)


def _strokes(channel: Image.Image, pressure: Image.Image, width: float, least: float) -> Image.Image:
    """Ink on the dark side of each edge: where a narrow mean lies below a wide one by more than `least`."""
    narrow = channel.filter(ImageFilter.GaussianBlur(width))
    wide = channel.filter(ImageFilter.GaussianBlur(width * 2.2))
    depth = ImageChops.subtract(wide, narrow, 0.5)
    # Where everything around is as deep there is no edge but the grain of a rendering.
    around = depth.filter(ImageFilter.BoxBlur(GRAIN_WINDOW * width)).point(curve(lambda value: GRAIN_SHARE * value))
    depth = ImageChops.subtract(depth, around)
    return ImageChops.multiply(depth, pressure).point(ramp(least, 3.8 * least))


def _without_dots(ink: Image.Image, unit: float) -> Image.Image:
    """A line has more ink around each of its pixels than a dot has, which is a grain too."""
    around = ink.filter(ImageFilter.BoxBlur(2 * unit)).point(ramp(0.07, 0.17))
    return ImageChops.multiply(ink, around)


def _dry(ink: Image.Image, relief: Image.Image) -> Image.Image:
    """Thin ink skips the valleys of the paper; solid ink covers them."""
    skipping = ImageChops.subtract(ink, relief.point(curve(lambda value: 0.5 * (1 - value))))
    return Image.composite(ink, skipping, ink.point(ramp(0.35, 0.85)))
