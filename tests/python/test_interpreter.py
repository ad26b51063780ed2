"""Which Python draws, and under which variables: a `python3` that will not do hands over, or says what to do."""

import ast
import json
import subprocess
import unittest
from pathlib import Path

from scratch_render import HELPER, RenderCase, with_pillow, without_pillow

POISON = b"raise SystemExit('a module that is not ours was imported: ' + __name__)"


class Interpreter(RenderCase):
    def test_without_any_pillow_the_answer_names_the_interpreter_and_the_remedy(self):
        self.environment["QUILLMERE_HELPER_HANDED_OVER"] = "PIL.Image"
        bare = without_pillow(self.folder)
        self.assert_fails(bare, "-m pip install Pillow", "QUILLMERE_PYTHON", python=bare)

    @unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: handing over is not tested")
    def test_the_render_goes_on_in_an_interpreter_with_pillow_under_the_same_process_id(self):
        bare = without_pillow(self.folder)
        chosen = self.folder / "chosen"
        chosen.write_text(f'#!/bin/sh\n[ "$1" = -c ] || echo $$ > "{self.folder}/ran"\nexec "{with_pillow()}" "$@"\n')
        chosen.chmod(0o755)
        broken = self.folder / "python3"
        broken.write_text("#!/bin/sh\nexit 1\n")
        broken.chmod(0o755)
        there = str(Path(with_pillow()).parent)
        for choice, path in ((chosen, "/bin"), (broken, f"{self.folder}:{there}"), ("/nowhere", there)):
            with self.subTest(choice=str(choice), path=path):
                self.environment.update(QUILLMERE_PYTHON=str(choice), PATH=path)
                process = self.start(python=bare)
                self.assertEqual(process.wait(timeout=60), 0, process.stderr.read())
                self.assertTrue(self.response()["ok"])
                if choice == chosen:
                    self.assertEqual(int((self.folder / "ran").read_text()), process.pid)

    def test_what_comes_first_can_be_read_by_the_oldest_interpreters(self):
        for module in ("../quillmere_render_helper", "__init__", "interpreter", "exchange", "readable"):
            source = (HELPER.parent / "quillmere_helper" / f"{module}.py").read_text()
            ast.parse(source, module, feature_version=(3, 5))


class InheritedVariables(RenderCase):
    """An application that starts the helper may have set Python's variables for an interpreter of its own."""

    def setUp(self):
        super().setUp()
        self.environment.update(PATH="/bin", QUILLMERE_PYTHON=with_pillow() or "")
        self.bare = without_pillow(self.folder)
        self.foreign = self.folder / "foreign"
        self.foreign.mkdir()
        for name in ("json", "typing", "signal", "subprocess", "argparse", "quillmere_helper"):
            (self.foreign / f"{name}.py").write_bytes(POISON)

    def check(self, **variables):
        """What the helper says of a workflow that needs Pillow, run by an interpreter that has none of its own."""
        command = [self.bare, str(HELPER), "--json", "--check", self.members["workflow_path"]]
        environment = {**self.environment, **variables}
        done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True)
        self.assertEqual((done.stderr, done.returncode in (0, 1)), ("", True))
        return json.loads(done.stdout)

    def library(self):
        """A PYTHONHOME that this interpreter starts with, all but one of its modules this interpreter's own."""
        own = Path(ast.__file__).parent
        home = self.folder / "home" / own.parent.name / own.name
        home.mkdir(parents=True)
        for entry in own.iterdir():
            (home / entry.name).symlink_to(entry)
        (home / "json").unlink()
        (home / "json.py").write_bytes(POISON)
        return str(home.parents[1])

    def test_none_of_them_keeps_the_helper_from_its_work(self):
        expected = self.check()
        for name, value in (
            ("PYTHONPATH", f"{self.foreign}:relative:"),
            ("PYTHONHOME", self.library()),
            ("PYTHONSAFEPATH", "1"),
            ("PYTHONSTARTUP", str(self.foreign / "json.py")),
            ("PYTHONINSPECT", "1"),
            ("PYTHONWARNINGS", "error"),
        ):
            with self.subTest(name):
                self.assertEqual(self.check(**{name: value}), expected)

    def test_a_package_that_only_a_variable_leads_to_is_found_after_all_others(self):
        (self.foreign / "PIL").mkdir()
        (self.foreign / "PIL" / "Image.py").write_text(f"open({str(self.folder / 'imported')!r}, 'w').close()")
        self.assertTrue(self.check(PYTHONPATH=str(self.foreign))["ok"])
        self.assertTrue((self.folder / "imported").exists())
