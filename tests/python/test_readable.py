"""Lines for people: nothing in them steers a terminal, none is longer than can be read."""

import json
import subprocess
import sys
import unittest

from scratch_render import HELPER

from quillmere_helper.errors import HelperError
from quillmere_helper.readable import LONGEST_LINE, readable

EVIL = "\x1b]0;title\x07\x1b[2J\x9b31m\u202etxt.exe\u2066\u061c\x08"


class Readable(unittest.TestCase):
    def test_each_steering_character_is_replaced_by_one_that_is_seen(self):
        for given, expected in (
            ("a\x1bb\x7fc\x9bd", "a\ufffdb\ufffdc\ufffdd"),
            ("\u061c\u200e\u200f\u202a\u202e\u2066\u2069\ufeff", "\ufffd" * 8),
            ("half \ud800 \udfff", "half \ufffd \ufffd"),
            (" two\r\nlines\tand\x0cmore\u2028", "two lines and more"),
            ("Küste – 日本 😀 \\", "Küste – 日本 😀 \\"),
        ):
            self.assertEqual(readable(given), expected)

    def test_what_is_too_long_keeps_its_start_and_its_end(self):
        error = str(HelperError("The workflow " + "x" * 10**6 + "; choose another one"))
        self.assertLessEqual(len(error), LONGEST_LINE)
        self.assertRegex(error, "^The workflow x+ ... x+; choose another one$")
        self.assertEqual(readable(error), error)
        self.assertLessEqual(len(readable(error * 9)), LONGEST_LINE)

    def test_what_the_command_line_prints_steers_no_terminal_and_its_json_says_it_all(self):
        for arguments, variables in (
            (["--check", f"/nowhere/{EVIL}"], {}),
            (["--servers"], {"QUILLMERE_COMFYUI_URL": f"http://{EVIL}", "QUILLMERE_A1111_URL": "http://127.0.0.1:9"}),
            ([f"/nowhere/{EVIL}", "/nowhere/response"], {}),
        ):
            with self.subTest(arguments):
                command = [sys.executable, str(HELPER), *arguments]
                done = subprocess.run(command, env=variables, capture_output=True, check=False)
                self.assertNotRegex((done.stdout + done.stderr).decode(), "[^\\n -~\ufffd]")
                done = subprocess.run([*command, "--json"], env=variables, capture_output=True, check=False)
                if "--check" in arguments:
                    self.assertIn(EVIL, json.loads(done.stdout)["problem"])
