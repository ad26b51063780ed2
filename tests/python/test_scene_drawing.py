"""What the embedded drawing makes of passes: ink from the scene's lines alone, by distance; air before what is far."""

import io
import json
import subprocess
import unittest
from pathlib import Path

from scratch_render import RenderCase, with_pillow

try:
    from PIL import Image, ImageChops, ImageDraw, ImageStat
    from test_drawing import a_guide
except ImportError:
    Image = None

SIZE, BOX, BALL = (320, 180), (100, 40, 180, 140), (210, 60, 290, 140)
SKY = (150, 165, 185)


def shapes(box, ball, ground=0):
    picture = Image.new("L", SIZE, ground)
    pen = ImageDraw.Draw(picture)
    pen.rectangle(BOX, box)
    pen.ellipse(BALL, ball)
    return picture


def outlines():
    picture = Image.new("L", SIZE, 0)
    pen = ImageDraw.Draw(picture)
    pen.rectangle(BOX, outline=255, width=2)
    pen.ellipse(BALL, outline=255, width=2)
    return picture


def known(box=200, ball=200):
    """The scene of the guide; `box` and `ball` are how near they are."""
    from quillmere_helper.backends.embedded.scene import Scene

    objects = Image.merge("RGB", (shapes(40, 90), shapes(200, 10), shapes(7, 99)))
    backdrop = shapes(0, 0, 255)
    return Scene(shapes(box, ball), outlines(), objects, backdrop)


def drawn(guide, scene, **options):
    from quillmere_helper.backends import embedded
    from quillmere_helper.backends.embedded import drawing
    from quillmere_helper.backends.embedded.prompt import Mood

    chosen = {parameter.name: parameter.default for parameter in embedded.PARAMETERS}
    steps = drawing.draw(guide, None, Mood(), 7, {**chosen, **options}, scene)
    while True:
        try:
            next(steps)
        except StopIteration as end:
            return Image.open(io.BytesIO(end.value))


def mean(picture, box):
    return ImageStat.Stat(picture.crop(box)).mean


def ink(guide, scene):
    """What the pen adds: 0..255."""
    bare, inked = (drawn(guide, scene, line=line, hatching=0).convert("L") for line in (0, 1))
    return ImageChops.subtract(bare, inked)


@unittest.skipUnless(Image, "this interpreter has no Pillow")
class SceneDrawing(unittest.TestCase):
    def test_ink_follows_the_lines_of_the_scene_and_no_texture(self):
        guide = a_guide(SIZE, SKY)
        pen = ImageDraw.Draw(guide)
        for y in range(50, 130, 8):
            pen.line((110, y, 170, y), (230, 230, 90), 3)
        added = ink(guide, known())
        self.assertGreater(mean(added, (99, 60, 103, 120))[0], 8)
        self.assertLess(mean(added, (112, 50, 168, 130))[0], 1)

    def test_a_seam_that_nobody_sees_has_next_to_no_ink(self):
        from quillmere_helper.backends.embedded.scene import Scene

        right = (SIZE[0] // 2, 0, *SIZE)
        alike, seam = Image.new("RGB", SIZE, SKY), Image.new("L", SIZE, 0)
        seam.paste(255, (right[0] - 1, 0, right[0] + 1, SIZE[1]))
        objects = Image.new("RGB", SIZE, (40, 90, 7))
        objects.paste((200, 10, 99), right)
        slope = Image.linear_gradient("L").resize(SIZE)
        guides, tones = [alike, alike.copy()], [slope, slope.copy()]
        guides[1].paste((150, 165, 140), right)
        tones[1].paste(ImageChops.subtract(slope, Image.new("L", SIZE, 30)), (-right[0], 0))
        inks = []
        for guide, tone in ((guides[0], tones[0]), (guides[1], tones[0]), (guides[0], tones[1])):
            scene = Scene(tone, seam, objects, Image.new("L", SIZE, 0), tone)
            inks.append(mean(ink(guide, scene), (right[0] - 2, 60, right[0] + 2, 160))[0])
        self.assertLess(4 * inks[0], min(inks[1:]), inks)

    def test_what_is_near_has_the_heavier_line(self):
        sides = (96, 60, 106, 120), (205, 75, 220, 125)
        for box, ball, heavy in ((255, 30, 0), (30, 255, 1)):
            added = ink(a_guide(SIZE, SKY), known(box, ball))
            weights = [mean(added, side)[0] for side in sides]
            self.assertGreater(weights[heavy], 1.3 * weights[1 - heavy])

    def test_what_is_far_goes_towards_the_sky(self):
        guide = a_guide(SIZE, SKY)
        near, far = (mean(drawn(guide, known(255, ball)), (230, 80, 270, 120)) for ball in (255, 10))
        sky = mean(drawn(guide, known()), (10, 20, 80, 160))
        apart = [sum(abs(one - other) for one, other in zip(colour, sky)) for colour in (near, far)]
        self.assertLess(apart[1], 0.75 * apart[0])

    def test_every_edge_stays_on_its_pixel(self):
        light = drawn(a_guide(SIZE, SKY), known()).convert("L")
        across = light.crop((80, 60, 120, 120)).resize((40, 1), Image.BOX).tobytes()
        steps = [before - after for before, after in zip(across, across[1:])]
        self.assertIn(steps.index(max(steps)), (18, 19, 20), list(across))


@unittest.skipUnless(Image, "this interpreter has no Pillow")
class GivenPasses(RenderCase):
    def test_a_pass_that_cannot_be_used_costs_a_note_and_no_picture(self):
        grey = Image.new("RGB", (64, 36), (90, 90, 90))
        grey.save(self.folder / "lines.png")
        depth = {"file": self.write("depth.png", (self.folder / "lines.png").read_bytes()[:-30]), "kind": "inverse"}
        passes = {"version": 1, "frame": 3, "depth": depth, "lines": {"file": str(self.folder / "lines.png")}}
        self.environment["QUILLMERE_PROVENANCE_FILE"] = self.write("provenance.json", {"passes": passes})
        self.assertEqual(self.run_helper()[0], 0, self.errors)
        self.assertIn("Drawn without the depth pass", self.response()["notes"][0])
        record = json.loads(Path(self.response()["first_output"] + ".json").read_text())
        self.assertEqual(record["passes"], {"lines": {"polarity": "white_on_black"}})


@unittest.skipIf(Image, "drawn right here")
@unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: drawing is not tested")
class DrawingElsewhere(unittest.TestCase):
    def test_with_an_interpreter_that_has_pillow(self):
        command = [with_pillow(), "-m", "unittest", Path(__file__).stem]
        done = subprocess.run(command, cwd=Path(__file__).parent, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
