"""Sheets and films of finished frames."""

import os
import shutil
import subprocess
import time
import unittest

import png_pixels
from app_case import PLUGIN, AppCase

FAKE_FFMPEG = "#!/bin/sh\nfor last; do :; done\nprintf half > \"$last\"\necho \"$@\" > said\n{}\n"


class Review(AppCase):
    def frames(self, *numbers: int) -> None:
        (self.folder / "shots").mkdir(exist_ok=True)
        for number in numbers:
            png_pixels.write(self.folder / f"shots/a_{number:04}.png", 40, 20, (10 * number, 100, 200))

    def ffmpeg(self, then: str) -> None:
        (self.folder / "bin/ffmpeg").write_text(FAKE_FFMPEG.format(then))
        (self.folder / "bin/ffmpeg").chmod(0o755)

    def movie(self, *more: str) -> subprocess.CompletedProcess:
        return self.run_command("movie", "shots/a_####.png", "-o", "film.mp4", *more)

    def sheet(self, *more: str) -> list[bytes]:
        done = self.run_command("sheet", "-o", "sheet.png", "--width", "100", "--columns", "1", *more)
        self.assertEqual((done.returncode, done.stdout), (0, "sheet.png\n"), done.stderr)
        return png_pixels.read(self.folder / "sheet.png")

    def test_a_sheet_shows_guides_beside_results_and_others_alone(self) -> None:
        (self.folder / "bin/python3").unlink()  # the real helper tells the guide
        done = self.run_command("render", "scene.glb", "--plugin", str(PLUGIN), "--write-dir", "write", "--size", "40x20", "-o", "r.png")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.frames(7)
        rows = self.sheet("shots/a_0007.png", "r.png")
        self.assertEqual((len(rows[0]) // 3, len(rows)), (2 * 100 + 6 + 2 * 12, 2 * (50 + 6 + 14 + 12) + 12))
        cells = {(x, y): tuple(rows[y][3 * x:3 * x + 3]) for x in (60, 160) for y in (15, 97)}
        blank = (48, 48, 51)
        self.assertEqual((cells[60, 15], cells[160, 15]), (blank, (70, 100, 200)))
        self.assertNotIn(cells[60, 97], (blank, cells[160, 97]))
        self.assertGreater(len(set(rows[75])), 3)  # the caption
        os.utime(self.folder / "write/quillmere/c4d/runtime/reference_0.png", (2**31, 2**31))  # a later render's
        self.assertEqual(len(self.sheet("r.png")[0]) // 3, 100 + 2 * 12)

    def test_what_makes_no_sheet_is_refused_and_nothing_written(self) -> None:
        self.frames(*range(1, 4))
        (self.folder / "broken.png").write_bytes((self.folder / "shots/a_0001.png").read_bytes()[:60])
        for arguments, status, told in [
            (["shots/a_0001.png", "gone.png"], 1, "gone.png"),
            (["broken.png"], 1, "broken.png"),
            (["shots/a_0001.png"] * 9 + ["--width", "4096"], 2, "give a smaller --width"),
            (["shots/a_0001.png", "--width", "0"], 2, "--width"),
        ]:
            with self.subTest(told):
                done = self.run_command("sheet", *arguments, "-o", "sheet.png")
                self.assertEqual((done.returncode, done.stdout), (status, ""))
                self.assertIn(told, done.stderr)
                self.assertFalse((self.folder / "sheet.png").exists())

    def test_a_film_holds_the_frames_that_are_asked_for_and_no_hole(self) -> None:
        self.frames(8, 9, 10, 12)
        self.ffmpeg("ls -l \"$(dirname \"$(echo \"$@\" | sed 's/.*-i //; s/ .*//')\")\" >> said")
        for arguments, told in [([], "frames 11: their pictures are missing"), (["--frames", "8-13"], "frames 11,13:"), (["b_1.png"], "no option of ffmpeg")]:
            done = self.movie(*arguments)
            self.assertNotEqual(done.returncode, 0)
            self.assertIn(told, done.stderr)
        done = self.movie("--frames", "8-10,12", "--fps", "23.976", "--", "-crf", "30")
        self.assertEqual((done.returncode, done.stdout), (0, "film.mp4\n"), done.stderr)
        said = (self.folder / "said").read_text()
        self.assertRegex(said, r"-framerate 24000/1001 .* -crf 30 -f mp4 ")
        self.assertRegex(said, r"(?s)0000000\.png -> .*a_0008\.png.*0000003\.png -> .*a_0012\.png")

    def test_a_film_that_fails_leaves_the_former_one(self) -> None:
        self.frames(1, 2)
        (self.folder / "film.mp4").write_text("former")
        for then, told in [("echo 'no such codec' >&2; exit 1", "ffmpeg could not make it: no such codec"), ("kill -9 $$", "ffmpeg could not")]:
            self.ffmpeg(then)
            done = self.movie()
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertIn(told, done.stderr)
        self.ffmpeg("exec sleep 60")
        (self.folder / "said").unlink()
        process = subprocess.Popen(self.command("movie", "shots/a_####.png", "-o", "film.mp4"), cwd=self.folder, env=self.env)
        while not (self.folder / "said").exists():
            time.sleep(0.02)
        self.addCleanup(process.kill)
        process.terminate()
        self.assertEqual(process.wait(timeout=20), 130)
        self.assertEqual((self.folder / "film.mp4").read_text(), "former")
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith(".part")], [])
        self.env["PATH"] = str(self.folder / "empty")
        self.assertIn("apt install ffmpeg", self.movie().stderr)

    @unittest.skipIf(shutil.which("ffmpeg") is None, "no ffmpeg")
    def test_the_real_ffmpeg_makes_a_film_of_odd_pictures(self) -> None:
        (self.folder / "shots").mkdir()
        for number in (1, 2, 3):
            png_pixels.write(self.folder / f"shots/a_{number:04}.png", 41, 21, (0, 200, 0))
        self.assertEqual(self.movie("--fps", "24").returncode, 0)
        subprocess.run(["ffmpeg", "-v", "error", "-i", "film.mp4", "-frames:v", "1", "-pix_fmt", "rgb24", "still.png"], cwd=self.folder, check=True)
        rows = png_pixels.read(self.folder / "still.png")
        self.assertEqual((len(rows[0]) // 3, len(rows)), (42, 22))
        self.assertLess(max(abs(a - b) for a, b in zip(rows[10][30:33], (0, 200, 0))), 12)


if __name__ == "__main__":
    unittest.main()
