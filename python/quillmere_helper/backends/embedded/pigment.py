"""Colour in the washes: the guide's hues, thinned by water, cooled in the shadows, tinted by the mood."""

from __future__ import annotations

from PIL import Image, ImageChops, ImageFilter

from .curves import curve, ramp
from .mood import Mood
from .noise import Noise

SHADOWS = (0.16, 0.18, 0.36)  # the colour that shade leans to whatever its own: indigo
LUMA = (0.299, 0.587, 0.114)
WHITE = (255, 255, 255)


def colour(light: Image.Image, guide: Image.Image, saturation: float) -> Image.Image:
    """`light` (8-bit grey) in the hues of `guide`."""
    _, blue, red = guide.convert("YCbCr").split()
    vivid = [min(max(round(128 + 1.15 * saturation * (value - 128)), 0), 255) for value in range(256)]
    return Image.merge("YCbCr", (light, blue.point(vivid), red.point(vivid))).convert("RGB")


def thin(picture: Image.Image, bare: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Paler where water stood, and almost gone where `bare` tells that the brush left the paper out."""
    water = noise.clouds(170 * unit).point(curve(lambda value: 0.55 * min(max((value - 0.45) * 2, 0.0), 1.0)))
    pale = Image.blend(picture, Image.new("RGB", picture.size, WHITE), 0.6)
    return Image.composite(pale, picture, ImageChops.lighter(water, bare))


def left_out(guide: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Slivers of bare paper on the light side of edges, here and there."""
    light = guide.convert("L")
    narrow = light.filter(ImageFilter.GaussianBlur(0.9 * unit))
    wide = light.filter(ImageFilter.GaussianBlur(2.4 * unit))
    slivers = ImageChops.subtract(narrow, wide, 0.5).point(ramp(0.06, 0.2))
    return ImageChops.multiply(slivers, noise.clouds(40 * unit).point(ramp(0.45, 0.6)))


def graded(picture: Image.Image, mood: Mood) -> Image.Image:
    """`picture` with cool shadows and in the light of `mood`."""

    def grade(*rgb: float) -> tuple[float, ...]:
        light = sum(share * value for share, value in zip(LUMA, rgb))
        cooling = 0.38 * (1 - light) ** 1.6
        cooled = (value + (shadow - value) * cooling for value, shadow in zip(rgb, SHADOWS))
        tinted = (dark + (bright - dark) * light for dark, bright in zip(mood.shadow, mood.light))
        return tuple(value + (tint - value) * 0.6 * mood.weight for value, tint in zip(cooled, tinted))

    return picture.filter(ImageFilter.Color3DLUT.generate(9, grade))
