"""Which Python draws: a `python3` without Pillow hands over, or says what to do."""

import sys
import unittest

from scratch_render import RenderCase, with_pillow


class Interpreter(RenderCase):
    def setUp(self):
        super().setUp()
        self.write("PIL.py", b"raise ImportError('not in this one')")
        self.environment["PYTHONPATH"] = str(self.folder)

    def test_without_any_pillow_the_answer_names_the_interpreter_and_the_remedy(self):
        self.environment["QUILLMERE_HELPER_HANDED_OVER"] = "PIL.Image"
        status, response = self.run_helper()
        self.assertEqual(status, 1)
        for part in (sys.executable, "-m pip install Pillow", "QUILLMERE_PYTHON"):
            self.assertIn(part, response["error"])

    @unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: handing over is not tested")
    def test_the_render_goes_on_in_an_interpreter_with_pillow_under_the_same_process_id(self):
        chosen = self.folder / "chosen"
        chosen.write_text(f'#!/bin/sh\n[ "$1" = -c ] || echo $$ > "{self.folder}/ran"\nexec "{with_pillow()}" "$@"\n')
        chosen.chmod(0o755)
        broken = self.folder / "python3"
        broken.write_text("#!/bin/sh\nexit 1\n")
        broken.chmod(0o755)
        for choice, path in ((chosen, "/bin"), (broken, f"{self.folder}:/bin"), ("/nowhere", "/bin"), ("", "")):
            with self.subTest(choice=str(choice), path=path):
                self.environment.update(QUILLMERE_PYTHON=str(choice), PATH=path)
                if choice != chosen and sys.executable == with_pillow():
                    self.skipTest("no second interpreter with Pillow to find")
                process = self.start()
                self.assertEqual(process.wait(timeout=60), 0, process.stderr.read())
                self.assertTrue(self.response()["ok"])
                if choice == chosen:
                    self.assertEqual(int((self.folder / "ran").read_text()), process.pid)
