"""What the embedded drawing has to keep: the guide's edges, the prompt's light, the same picture for the same seed."""

import io
import subprocess
import sys
import unittest
from pathlib import Path

from scratch_render import RenderCase, with_pillow

from quillmere_helper.png import file_of

try:
    from PIL import Image, ImageChops, ImageDraw, ImageFilter, ImageStat
except ImportError:
    Image = None


def a_guide(size=(320, 180), background=(150, 165, 185)):
    guide = Image.new("RGB", size, background)
    pen = ImageDraw.Draw(guide)
    pen.rectangle((100, 40, 180, 140), (70, 72, 80))
    pen.ellipse((210, 60, 290, 140), (190, 70, 60))
    return guide


def drawn(guide, prompt="", look=None, seed=7, **options):
    from quillmere_helper.backends import embedded
    from quillmere_helper.backends.embedded import drawing, prompt as words

    chosen = {parameter.name: parameter.default for parameter in embedded.PARAMETERS}
    steps = drawing.draw(guide, look, words.mood_of(prompt, chosen["tint"]), seed, {**chosen, **options})
    while True:
        try:
            next(steps)
        except StopIteration as end:
            return Image.open(io.BytesIO(end.value))


def means(picture):
    return ImageStat.Stat(picture).mean


@unittest.skipUnless(Image, "this interpreter has no Pillow")
class Drawing(unittest.TestCase):
    def test_every_edge_stays_on_its_pixel(self):
        guide = a_guide()
        for prompt in ("", "misty dawn", "stormy night"):
            with self.subTest(prompt):
                light = drawn(guide, prompt).convert("L")
                # Mean lines across the left and the top side of the rectangle, so that paper and pen average out.
                across = light.crop((80, 60, 120, 120)).resize((40, 1), Image.BOX).tobytes()
                down = light.crop((115, 20, 165, 60)).resize((1, 40), Image.BOX).tobytes()
                for line in (across, down):
                    steps = [before - after for before, after in zip(line, line[1:])]
                    self.assertIn(steps.index(max(steps)), (18, 19, 20), list(line))

    def test_edges_between_colours_of_one_lightness_get_a_line(self):
        guide = Image.new("RGB", (200, 100), (200, 60, 60))
        guide.paste((40, 129, 60), (100, 0, 200, 100))
        bare, inked = (drawn(guide, line=line, hatching=0).convert("L") for line in (0, 1))
        darker = [a - b for a, b in zip(*(p.resize((200, 1), Image.BOX).tobytes() for p in (bare, inked)))]
        self.assertGreater(max(darker[96:104]), 20)
        self.assertLess(max(darker[:90] + darker[110:]), 8)

    def test_the_same_seed_gives_the_same_bytes_and_another_seed_another_picture(self):
        guide = a_guide((96, 64))
        first, again, other = drawn(guide, seed=5), drawn(guide, seed=5), drawn(guide, seed=6)
        self.assertEqual(first.tobytes(), again.tobytes())
        self.assertNotEqual(first.tobytes(), other.tobytes())

    def test_what_is_done_beside_changes_no_picture_and_hides_no_failure(self):
        from quillmere_helper.backends.embedded.images import Beside

        guide, interval = a_guide((96, 64)), sys.getswitchinterval()
        usual = drawn(guide).tobytes()
        sys.setswitchinterval(1e-6)
        self.addCleanup(sys.setswitchinterval, interval)
        for _ in range(5):
            self.assertEqual(drawn(guide).tobytes(), usual)
        self.assertEqual(Beside(lambda: 7).result(), 7)
        with self.assertRaisesRegex(ValueError, "no ink"):
            Beside(lambda: ImageChops.offset(guide, int("no ink"))).result()

    def test_words_move_the_picture_their_way(self):
        guide = a_guide()
        plain = means(drawn(guide))
        for prompt, channel, way in (
            ("A harbour at SUNSET", lambda m: m[0] - m[2], 1),
            ("winter, ice", lambda m: m[0] - m[2], -1),
            ("in the night", sum, -1),
            ("fog", sum, 1),
            ("green leaves", lambda m: m[1] - (m[0] + m[2]) / 2, 1),
        ):
            with self.subTest(prompt):
                self.assertGreater(way * (channel(means(drawn(guide, prompt))) - channel(plain)), 6)

    def test_words_that_are_denied_or_not_of_mood_change_nothing(self):
        guide = a_guide((96, 64))
        plain = drawn(guide).tobytes()
        system = "Lock camera angle, framing, lens, perspective, horizon, and composition. Do not move anything."
        for prompt in (system, "a street without fog, no rain", "knight, bluebird, Redmond", "日本 \x00 {prompt}"):
            with self.subTest(prompt):
                self.assertEqual(drawn(guide, prompt).tobytes(), plain)

    def test_a_style_image_gives_its_colours(self):
        guide = a_guide()
        looks = (Image.new("RGB", (50, 50), colour) for colour in ((220, 150, 60), (60, 110, 220)))
        warm, cold = (means(drawn(guide, look=look)) for look in looks)
        self.assertGreater((warm[0] - warm[2]) - (cold[0] - cold[2]), 80)

    def test_blurs_and_differences_that_take_less_time_are_like_the_usual_ones(self):
        from quillmere_helper.backends.embedded import images

        grey = a_guide((321, 181)).convert("L")
        for radius, steps, most in ((0.7, images.STEPS, 0), (1.5, images.COARSE_STEPS, 9), (2.4, images.STEPS, 3)):
            with self.subTest(radius):
                usual = grey.filter(ImageFilter.GaussianBlur(radius))
                apart = ImageChops.difference(images.blurred(grey, radius, steps), usual)
                self.assertLessEqual(apart.getextrema()[1], most)
                self.assertEqual(images.without(grey, usual), ImageChops.subtract(grey, usual))

    def test_pictures_of_any_size_and_plain_ones_are_drawn(self):
        for size in ((1, 1), (1, 200), (3000, 2)):
            with self.subTest(size):
                self.assertEqual(drawn(Image.new("RGB", size, (0, 0, 0))).size, size)


@unittest.skipUnless(Image, "this interpreter has no Pillow")
class GivenPictures(RenderCase):
    def save(self, picture, name="reference_3.png", **options):
        picture.save(self.folder / name, **options)

    def test_a_guide_of_any_depth_and_size_is_read_for_what_it_shows(self):
        light = a_guide((64, 36)).convert("L")
        deep = Image.frombytes("I;16", light.size, b"".join(bytes((value, value)) for value in light.tobytes()))
        see_through = light.convert("RGBA")
        see_through.putalpha(0)
        self.save(light)
        wanted = means(Image.open(self.run_helper()[1]["first_output"]))
        for picture in (deep, see_through, light.convert("P"), light.resize((128, 72))):
            with self.subTest(f"{picture.mode} {picture.size}"):
                self.save(picture)
                made = Image.open(self.assert_rendered()["first_output"])
                self.assertEqual((made.size, made.mode), ((64, 36), "RGB"))
                self.assertLess(max(abs(a - b) for a, b in zip(means(made), wanted)), 12)

    def test_a_picture_that_is_none_is_an_error_that_names_it(self):
        good = (self.folder / "reference_3.png").read_bytes()
        bomb = file_of((b"IHDR", (30000).to_bytes(4, "big") * 2 + good[24:29]), (b"IDAT", b""))
        small, scans = io.BytesIO(), io.BytesIO()
        Image.new("RGB", (64, 36)).save(small, "JPEG")
        a_guide((64, 36)).save(scans, "JPEG", progressive=True)
        size, last = small.getvalue().index(b"\xff\xc0") + 5, scans.getvalue().rindex(b"\xff\xda")
        claiming = small.getvalue()[:size] + (8000).to_bytes(2, "big") * 2 + small.getvalue()[size + 4 :]
        endless = scans.getvalue()[:-2] + scans.getvalue()[last:-2] * 20_000 + b"\xff\xd9"
        rows = (
            *(("missing", None, ""), ("empty", b"", ""), ("cut off", good[:90], "")),
            ("text", b"GIF? no", "no picture that can be read"),
            *(("a bomb", bomb, "larger than 64 megapixels"), ("too small a JPEG", claiming, "it is too short")),
            ("a JPEG of many scans", endless, "scans"),
        )
        for what, content, named in rows:
            for key in ("reference_image", "locked_style_image"):
                with self.subTest(what, key=key):
                    path = str(self.folder / "absent.png") if content is None else self.write("given.png", content)
                    self.members[key] = path
                    self.assert_fails(path, named)
                    self.assertEqual(self.errors.count("\n"), 1)
                    self.members.update(reference_image=str(self.folder / "reference_3.png"), locked_style_image="")


@unittest.skipIf(Image, "drawn right here")
@unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: drawing is not tested")
class DrawingElsewhere(unittest.TestCase):
    def test_with_an_interpreter_that_has_pillow(self):
        command = [with_pillow(), "-m", "unittest", Path(__file__).stem]
        done = subprocess.run(command, cwd=Path(__file__).parent, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
