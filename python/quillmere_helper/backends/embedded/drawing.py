"""An ink-and-wash drawing of a guide image: the steps, and the lines along its edges."""

import math
from typing import Any, Generator, Mapping, NamedTuple, Optional, Sequence

from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageOps

from . import painting
from . import scene as scenery
from .images import COARSE_STEPS, TWICE, Beside, Clouds, Noise, blurred, curve, enlarged, png_of, ramp, shrunk
from .images import softened, step_for, without
from .painting import Paper
from .prompt import Mood
from .scene import Scene

REFERENCE_AREA = 1024 * 576  # pixels of the picture that all lengths are given for
SHEET = (253, 250, 241)
INK = (30, 30, 44)
BRIGHTENED = curve(lambda light: light**0.6)  # edges in the shadows count as much as edges in the light
COLOUR_GAIN = 1.6  # an edge between two colours of one lightness counts as if they differed this much more
NIBS = ((0.6, 0.012), (1.5, 0.036))  # width in pixels at a width of 1024, and the least step of 0..1 that it draws
GRAIN_WINDOW = 8  # half the side of the surroundings of an edge, in widths of the nib
GRAINY = curve(lambda value: 1.6 * value)  # how much of the mean depth around counts as grain
STROKE_GAP = 5.2  # pixels between two strokes of a hatching, at a width of 1024
STROKE_LEAN = 0.62  # of a stroke: how far it leans over, per height

Options = Mapping[str, Any]
Steps = Generator["tuple[str, float]", None, bytes]


class Blank(NamedTuple):
    """What a drawing is begun with before the guide is known. Noise comes in one order; `unit`: see `Paper`."""

    noise: Noise
    unit: float
    paper: Paper


def blank(size: "tuple[int, int]", seed: int, options: Options) -> Blank:
    noise, unit = Noise(seed, size), max(0.5, math.sqrt(size[0] * size[1] / REFERENCE_AREA))
    return Blank(noise, unit, Paper(noise, unit, options["paper"]))


def draw(
    guide: Image.Image,
    look: Optional[Image.Image],
    mood: Mood,
    seed: int,
    options: Options,
    scene: Scene = Scene(),
    begun: Optional[Blank] = None,
) -> Steps:
    """Yields what it is about to do and the share that is done, and returns the PNG file of the drawing.

    `guide` is RGB and gives the size; `look` is the style image; `scene` may hold passes of the same size; `begun` is the
    blank sheet where it has been begun already. The same arguments give the same picture.
    """
    noise, unit, paper = begun or blank(guide.size, seed, options)
    strength = options["wash"] * (1 - 0.6 * mood.key)
    wetness = min(max(0.6 + mood.wetness, 0.1), 1.0)
    brush = painting.Brush(options["layers"], strength, wetness, options["granulation"])
    yield "Stretching the paper", 0.0
    grains = noise.grains() if scene.objects is not None or scene.near is not None else None
    # Drawn before anything is done beside, so that the noise keeps its order.
    running, sparing, thinning = painting.running(noise, unit, brush), noise.clouds(40 * unit), noise.clouds(170 * unit)
    pressure = noise.clouds(60 * unit) if options["line"] > 0 else None
    yield "Looking at the guide", 0.1
    grey, planes = guide.convert("L"), guide.convert("YCbCr").split()
    subject = _subject(guide, scene, mood)
    lines = Beside(lambda: _lined(subject, planes, paper, pressure, unit, options["line"]))
    calm = _untextured(grey, unit) if grains is None else scenery.grained(subject.painted.convert("L"), grains)
    tones = _spread(calm, mood.key)
    if scene.objects is not None:
        tones = scenery.painted(tones, scene.objects)
    strokes = Beside(lambda: _hatching(tones, noise, unit) if options["hatching"] > 0 else None)
    rest = Beside(lambda: (painting.left_out(grey, sparing, unit), _hues(subject.painted, unit), paper.sheet(SHEET)))
    washes = painting.Washes(tones, running, unit, brush)
    for layer in range(brush.layers):
        yield "Washing tones", 0.2 + 0.4 * layer / brush.layers
        washes.lay(layer)
    yield "Adding colour", 0.6
    light = washes.dried(paper.relief)
    bare, hues, sheet = rest.result()
    colour = painting.colour(ImageChops.lighter(light, bare), hues, options["saturation"] * mood.saturation)
    painting.thin(colour, bare, thinning)
    painting.grade(colour, mood)
    if look is not None:
        colour = painting.in_colours_of(colour, look, options["style"])
    page = ImageChops.multiply(colour, sheet)
    yield "Drawing lines", 0.75
    covered = _ink(guide.size, lines.result(), strokes.result(), options["hatching"])
    yield "Finishing the picture", 0.9
    page.paste(INK, None, covered)  # in place, as all that is large: new memory takes longer than what is done in it
    return png_of(page)


class _Subject(NamedTuple):
    """What is drawn: the guide as it is painted, and with what is known of the scene where its objects end."""

    guide: Image.Image
    scene: Scene
    painted: Image.Image
    edges: Optional[Image.Image] = None
    parted: Optional[Image.Image] = None


def _subject(guide: Image.Image, scene: Scene, mood: Mood) -> _Subject:
    painted, edges, parted = guide, None, None
    if scene.objects is not None:
        edges = scenery.borders(scene.objects)
        flat = scenery.without_texture(guide, scene.objects)
        painted = scenery.calm(guide, flat, _stops(scene, edges))
        parted = scenery.parting(flat, scene) if scene.tone is not None else None
    if scene.near is not None:
        painted = scenery.air(painted, scene, mood)
    return _Subject(guide, scene, painted, edges, parted)


def _hues(painted: Image.Image, unit: float) -> "list[Image.Image]":
    step = step_for(painted, 1.6 * unit, COARSE_STEPS)
    hues = shrunk(painted, step).convert("YCbCr").split()[1:]
    return [enlarged(softened(hue, 1.6 * unit, step), painted.size, step) for hue in hues]


def _lined(
    subject: _Subject,
    planes: Sequence[Image.Image],
    paper: Paper,
    pressure: Optional[Clouds],
    unit: float,
    strength: float,
) -> Optional[Image.Image]:
    """The lines alone; None where none are wanted."""
    if pressure is None:
        return None
    if subject.scene.lines is None:
        return _lines(planes, paper, pressure, unit, strength)
    return _dry(scenery.ink(subject.scene, subject.edges, subject.parted, pressure, unit, strength), paper.relief)


def _stops(scene: Scene, edges: Image.Image) -> Image.Image:
    return edges if scene.lines is None else ImageChops.lighter(edges, scene.lines)


def _untextured(light: Image.Image, unit: float) -> Image.Image:
    """The light of the guide without small texture, but untouched around its edges."""
    half = (max(1, light.width // 2), max(1, light.height // 2))
    soft = light.resize(half, Image.BOX).filter(ImageFilter.MedianFilter(3))
    edges = blurred(soft.filter(ImageFilter.FIND_EDGES), unit).point(ramp(0.028, 0.14)).resize(light.size, Image.BILINEAR)
    return Image.composite(light, soft.resize(light.size, Image.BICUBIC), edges)


def _spread(light: Image.Image, key: float) -> Image.Image:
    """The tones of `light` spread over black to white, lighter or darker as the mood has it."""
    spread = Image.blend(ImageOps.autocontrast(light, 1), ImageOps.equalize(light), 0.35)
    return blurred(spread, 0.7).point(curve(lambda value: value ** math.exp(-1.4 * key)))


def _ink(
    size: "tuple[int, int]", lines: Optional[Image.Image], strokes: Optional[Image.Image], hatching: float
) -> Image.Image:
    """How much ink covers each pixel; even the heaviest line lets a little of the page through."""
    inked = lines or Image.new("L", size, 0)
    if strokes is not None:
        inked = ImageChops.lighter(inked, strokes.point(curve(lambda value: 0.6 * hatching * value)))
    return inked.point(curve(lambda value: 0.88 * value))


def _lines(
    planes: Sequence[Image.Image], paper: Paper, patches: Clouds, unit: float, strength: float
) -> Image.Image:
    """How much ink lies on each pixel (255: solid). Noise varies the width of lines."""
    pressure = patches.shaped(curve(lambda value: 0.4 + 0.6 * value))
    light, blue, red = planes
    widened = curve(lambda value: 0.5 + COLOUR_GAIN * (value - 0.5))
    channels = (light.point(BRIGHTENED), blue.point(widened), red.point(widened))
    ink = Image.new("L", light.size, 0)
    for width, least in NIBS:
        deep = ImageChops.multiply(_edges(channels, width * unit), pressure)
        ink = ImageChops.lighter(ink, deep.point(ramp(least / strength, 3.8 * least / strength)))
    return _dry(_without_dots(ink, unit), paper.relief)


def _hatching(tones: Image.Image, noise: Noise, unit: float) -> Image.Image:
    """Slanting strokes where `tones` are darkest, with gaps."""
    strokes = Image.new("L", tones.size, 0)
    pen = ImageDraw.Draw(strokes)
    width, height = tones.size
    start = -STROKE_LEAN * height
    while start < width:
        lean = STROKE_LEAN * height + noise.between(-2.5, 2.5) * unit
        pen.line((start, height, start + lean, 0), round(noise.between(150, 255)), max(1, round(1.1 * unit)))
        start += STROKE_GAP * unit * noise.between(0.75, 1.25)
    strokes = blurred(strokes, 0.55 * unit).point(curve(lambda value: 1.5 * value))
    dark = ImageChops.multiply(tones.point(ramp(0.30, 0.16)), noise.clouds(30 * unit).shaped(ramp(0.25, 0.6)))
    return ImageChops.multiply(strokes, dark)


def _edges(channels: Sequence[Image.Image], width: float) -> Image.Image:
    """How deep the dark side of each edge is: how far a narrow mean lies below a wide one, in any of the channels."""
    step = step_for(channels[0], width, COARSE_STEPS)
    deepest = None
    for channel in channels:
        small = shrunk(channel, step)
        narrow, wide = softened(small, width, step), softened(small, 2.2 * width, step)
        depth = without(wide, narrow).point(TWICE)
        # Where everything around is as deep, that is the grain of a rendering and no edge.
        around = depth.filter(ImageFilter.BoxBlur(GRAIN_WINDOW * width / step)).point(GRAINY)
        depth = without(depth, around)
        deepest = depth if deepest is None else ImageChops.lighter(deepest, depth)
    assert deepest is not None
    return enlarged(deepest, channels[0].size, step)


def _without_dots(ink: Image.Image, unit: float) -> Image.Image:
    """Keeps ink that has more ink around it: the pixels of lines, not those of grain."""
    around = ink.filter(ImageFilter.BoxBlur(2 * unit)).point(ramp(0.07, 0.17))
    return ImageChops.multiply(ink, around)


def _dry(ink: Image.Image, relief: Image.Image) -> Image.Image:
    """Thin ink skips the valleys of the paper; solid ink covers them."""
    skipping = without(ink, relief.point(curve(lambda value: 0.5 * (1 - value))))
    return Image.composite(ink, skipping, ink.point(ramp(0.35, 0.85)))
