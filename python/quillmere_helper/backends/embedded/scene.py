"""What a drawing does with what the host knows of the scene: washes that end where an object ends, ink by what is near,
and the air in between."""

import math
from typing import Any, Mapping, NamedTuple, Optional

from PIL import Image, ImageChops, ImageFilter, ImageStat

from ...passes import Passes
from .images import Clouds, curve, picture_of, ramp, without
from .prompt import Mood

ALIKE = 40  # of 255: how far colours of one object may be apart to run into one wash
STRIDES = (1, 3)  # pixels of the half picture between those that are mixed, one after the other
NIB, FINE = 1.2, 0.5  # how far the widest and the finest line spread, in pixels at a width of 1024
FAINTEST, CREASE = 0.5, 0.65  # ink of the farthest line, of the nearest; of a crease, of a border
SEAM = 0.1  # ink of a border on one plane between two objects of about one colour
COLOURS_PART = ramp(0.04, 0.11)  # of the guide's colours on both sides, light and shade included
DEPTHS_PART = ramp(0.008, 0.024)  # of a leap, besides what the depth changes on both sides of it anyway
GRAIN = 1.5  # of 255
PAINTS = 0.1  # how far the paints of two objects may be apart, of 0..1
AIR, FOG = 0.5, 0.9  # how much of the farthest object the air hides, on a usual day and at most
AIR_SAMPLE = (64, 36)  # pixels that are enough for the colours of the air
FARTHEST = 1  # of 255: a depth that counts as the backdrop, a dome with the sky on it above all
STEPS = ((1, -1), (3, 1), (-1, -3))  # pixels of the half picture: across a place, and beside it on both sides
OPPOSITE = [255 - value for value in range(256)]
FOUR_WAYS = ((1, 0), (-1, 0), (0, 1), (0, -1))
SKY = (206, 216, 226)  # where no background is seen


class Scene(NamedTuple):
    """Passes of the guide's size; None for those that the host has not drawn."""

    near: Optional[Image.Image] = None  # L: 255 near, 0 far, half each time that the distance grows by the same factor
    lines: Optional[Image.Image] = None  # L: 255 on a line
    objects: Optional[Image.Image] = None  # RGB: a colour for each object, black where nothing is
    backdrop: Optional[Image.Image] = None  # L: 255 where nothing is, or what is farthest; there with `near`
    tone: Optional[Image.Image] = None  # L: the depth as it was given, mostly even along planes; there with `near`

    def resized(self, size: "tuple[int, int]") -> "Scene":
        kinds = (Image.BILINEAR, Image.BILINEAR, Image.NEAREST, Image.NEAREST, Image.BILINEAR)
        return Scene(*(plane and plane.resize(size, kind) for plane, kind in zip(self, kinds)))


def read_scene(passes: Passes, size: "tuple[int, int]") -> Scene:
    """What the host has drawn and can be used."""
    depth, lines, objects = (passes.welcome(word, size, "the drawing") for word in ("depth", "lines", "object"))
    grey = picture_of(depth.content).getchannel(0) if depth else None
    flat = picture_of(objects.content) if objects else None
    return Scene(
        None if depth is None or grey is None else grey.point(_nearness(depth.facts)),
        picture_of(lines.content).getchannel(0) if lines else None,
        flat,
        grey.point([255] * (FARTHEST + 1) + [0] * (255 - FARTHEST)) if grey else None,
        grey,
    )


def _nearness(facts: Mapping[str, Any]) -> "list[int]":
    """The table from the greys of a depth pass to the logarithm of the distance, which makes the middle of a scene stand
    out from its end, however far that is."""
    near, far = facts.get("near", 0), facts.get("far", 0)
    if not 0 < near < far:
        return curve(lambda value: value**0.45)

    def distance(value: float) -> float:
        if facts["kind"] == "linear":
            return float(far + value * (near - far))
        return float(1 / (1 / far + value * (1 / near - 1 / far)))

    return curve(lambda value: math.log(far / distance(value)) / math.log(far / near))


def borders(objects: Image.Image) -> Image.Image:
    """255 on both sides of where one object ends and the next begins."""
    across, down = (_unlike(objects, _moved(objects, way), 0) for way in ((1, 0), (0, 1)))
    other_sides = ImageChops.lighter(_moved(across, (-1, 0)), _moved(down, (0, -1)))
    return ImageChops.lighter(ImageChops.lighter(across, down), other_sides)


def without_texture(guide: Image.Image, objects: Image.Image) -> Image.Image:
    """A picture of half the sides that mixes what is within objects, texture above all."""
    half = _half_of(guide)
    flat, small = guide.resize(half, Image.BOX), objects.resize(half, Image.NEAREST)
    for stride in STRIDES:
        flat = _mixed(flat, small, stride)
    return flat


def calm(guide: Image.Image, flat: Image.Image, edges: Image.Image) -> Image.Image:
    """The guide without texture, but untouched along the `edges`; `flat`: see `without_texture`."""
    return Image.composite(guide, flat.resize(guide.size, Image.BICUBIC), edges.filter(ImageFilter.BoxBlur(1)))


def parting(flat: Image.Image, scene: Scene) -> Image.Image:
    """255 around where colours or depths part, objects from the backdrop too: in other places a border between objects
    is a seam that nobody sees. `flat`: see `without_texture`."""
    assert scene.objects is not None and scene.tone is not None
    tone, small = scene.tone.resize(flat.size, Image.BOX), scene.objects.resize(flat.size, Image.NEAREST)
    parted = _unlike(small, Image.new("RGB", small.size), 0).point(OPPOSITE)
    for x, y in ((1, 0), (0, 1)):
        colours = _apart(_moved(flat, (x, y)), _moved(flat, (-x, -y)))
        steps = [ImageChops.difference(_moved(tone, (a * x, a * y)), _moved(tone, (b * x, b * y))) for a, b in STEPS]
        leap = without(without(steps[0], steps[1]), steps[2])
        parted = ImageChops.lighter(parted, ImageChops.lighter(colours.point(COLOURS_PART), leap.point(DEPTHS_PART)))
    for way in FOUR_WAYS:
        parted = ImageChops.lighter(parted, _moved(parted, way))
    return parted.resize(scene.objects.size, Image.BILINEAR)


def grained(light: Image.Image, grains: Image.Image) -> Image.Image:
    """`light`, uneven by a few steps: washes have borders where one that is even goes from one step to the next."""
    uneven = grains.point([round(128 + GRAIN * (value / 127.5 - 1)) for value in range(256)])
    return ImageChops.add(light, uneven, 1, -128)


def painted(tones: Image.Image, objects: Image.Image) -> Image.Image:
    """`tones`, a little darker or lighter for each object, which has a paint of its own."""
    paint = objects.getchannel(0).point([128] + [round(128 + PAINTS * (value - 128)) for value in range(1, 256)])
    return ImageChops.add(tones, paint, 1, -128)


def ink(
    scene: Scene,
    edges: Optional[Image.Image],
    parted: Optional[Image.Image],
    pressure: Clouds,
    unit: float,
    strength: float,
) -> Image.Image:
    """How much ink lies on each pixel (255: solid): heavy on what is near, light on what is far, less in creases,
    next to nothing on borders of objects where nothing is `parted`."""
    assert scene.lines is not None
    spread = unit * math.sqrt(strength)
    bold, fine = _spread(scene.lines, NIB * spread), _spread(scene.lines, FINE * spread)
    drawn = bold
    if scene.near is not None:
        near = _over_edges(scene.near)
        drawn = ImageChops.multiply(Image.composite(bold, fine, near), near.point(_from(FAINTEST)))
    if edges is not None:
        bordering = edges.filter(ImageFilter.BoxBlur(unit)).point(ramp(0.0, 0.3))
        drawn = ImageChops.multiply(drawn, bordering.point(_from(CREASE)))
        if parted is not None:
            seen = ImageChops.lighter(parted, bordering.point(OPPOSITE))
            drawn = ImageChops.multiply(drawn, seen.point(_from(SEAM)))
    return ImageChops.multiply(drawn, pressure.shaped(curve(lambda value: 0.55 + 0.75 * value)))


def air(calm: Image.Image, scene: Scene, mood: Mood) -> Image.Image:
    """`calm` behind as much air as lies before it, which has the colours of the backdrop above it."""
    assert scene.near is not None and scene.backdrop is not None
    thick = min(AIR + max(mood.wetness, 0.0), FOG)
    veil = scene.near.point(curve(lambda value: thick * (1 - value) ** 1.5))
    if not scene.backdrop.getextrema()[1]:
        return Image.composite(Image.new("RGB", calm.size, SKY), calm, veil)
    small = calm.resize(AIR_SAMPLE, Image.BOX)
    _drop_down(small, scene.backdrop.resize(AIR_SAMPLE, Image.BOX))
    soft = small.filter(ImageFilter.BoxBlur(2)).resize(calm.size, Image.BICUBIC)
    return Image.composite(soft, calm, veil)


def _drop_down(picture: Image.Image, backdrop: Image.Image) -> None:
    """Puts the colour of the backdrop that is nearest above it onto each pixel that isn't backdrop itself."""
    colours, shares = picture.load(), backdrop.load()
    most = backdrop.point([0] * 128 + [255] * 128)
    mean = tuple(round(value) for value in ImageStat.Stat(picture, most).mean) if most.getextrema()[1] else SKY
    for x in range(picture.width):
        colour = mean
        for y in range(picture.height):
            colour = colours[x, y] if shares[x, y] > 250 else colour
            colours[x, y] = colour


def _half_of(picture: Image.Image) -> "tuple[int, int]":
    return (max(1, picture.width // 2), max(1, picture.height // 2))


def _from(least: float) -> "list[int]":
    """The table that lifts 0..1 to `least`..1."""
    return curve(lambda value: least + (1 - least) * value)


def _moved(picture: Image.Image, way: "tuple[int, int]") -> Image.Image:
    """At the rim, where nothing comes from, it stays what it was."""
    moved = picture.copy()
    moved.paste(picture, way)
    return moved


def _apart(one: Image.Image, other: Image.Image) -> Image.Image:
    """How far the two are apart, in the channel where that is furthest."""
    red, green, blue = ImageChops.difference(one, other).split()
    return ImageChops.lighter(ImageChops.lighter(red, green), blue)


def _unlike(one: Image.Image, other: Image.Image, most: int) -> Image.Image:
    """255 where a channel of the two is further apart than `most`."""
    return _apart(one, other).point([0] * (most + 1) + [255] * (255 - most))


def _mixed(picture: Image.Image, objects: Image.Image, stride: int) -> Image.Image:
    """Each pixel with those a `stride` away that are of the same object and of about the same colour."""
    mixed, number = picture, 1
    for x, y in ((stride, 0), (0, stride)):
        apart = ImageChops.lighter(
            _unlike(picture, _moved(picture, (x, y)), ALIKE), _unlike(objects, _moved(objects, (x, y)), 0)
        )
        # What lies the other way is as far apart as that is from here.
        for way, split in (((x, y), apart), ((-x, -y), _moved(apart, (-x, -y)))):
            number += 1
            mixed = Image.blend(mixed, Image.composite(picture, _moved(picture, way), split), 1 / number)
    return mixed


def _spread(lines: Image.Image, radius: float) -> Image.Image:
    """Lines of two pixels, wider by `radius`, which a blur alone would make paler too."""
    peak = min(1.0, 2 / (2.5 * radius + 1e-6))
    return lines.filter(ImageFilter.GaussianBlur(radius)).point(ramp(0.12 * peak, 0.85 * peak))


def _over_edges(near: Image.Image) -> Image.Image:
    """What is near reaches a little beyond itself: a line along its border is as near as it is."""
    reaching = near.resize(_half_of(near), Image.BOX)
    for way in 2 * FOUR_WAYS:  # two pixels each way, in a third of the time of MaxFilter
        reaching = ImageChops.lighter(reaching, _moved(reaching, way))
    return reaching.resize(near.size, Image.BILINEAR)
