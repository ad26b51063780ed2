"""Workflow files larger, deeper or odder than any real one: an error, in little time and memory; and lines for people:
nothing in them steers a terminal, none is longer than can be read."""

import functools
import json
import os
import resource
import subprocess
import sys
import unittest
import zlib
from unittest import mock

from comfy_classes import graph
from scratch_render import HELPER, RenderCase, png

from quillmere_helper.backends.comfyui import rendering
from quillmere_helper.backends.comfyui.classes import MOST_CLASSES, Classes
from quillmere_helper.backends.comfyui.graph import read_api
from quillmere_helper.backends.comfyui.rendering import Rendering
from quillmere_helper.backends.comfyui.results import Named
from quillmere_helper.errors import HelperError
from quillmere_helper.png import chunk
from quillmere_helper.readable import LONGEST_LINE, readable

EVIL = "\x1b]0;title\x07\x1b[2J\x9b31m\u202etxt.exe\u2066\u061c\x08"
LITTLE = 600 << 20  # bytes of memory for all of the helper
BOMB = chunk(b"zTXt", b"prompt\0\0" + zlib.compress(bytes(60 << 20), 9))


def of_nodes(count, kind="Note {}"):
    return {str(number): {"class_type": kind.format(number), "inputs": {}} for number in range(count)}


class Workflows(RenderCase):
    def check(self, path):
        limit = functools.partial(resource.setrlimit, resource.RLIMIT_AS, (LITTLE, LITTLE))
        command = [sys.executable, str(HELPER), "--check", path]
        done = subprocess.run(command, capture_output=True, text=True, timeout=20, preexec_fn=limit, check=False)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertLess(len(done.stderr), 2100)
        return done.stderr

    def test_a_file_out_of_all_proportion_is_refused(self):
        os.mkfifo(self.folder / "pipe.json")
        for name, content, named in (
            ("pipe.json", None, "not a file"),
            ("empty.json", b"", "is empty: the disk may be full"),
            ("zeros.json", b'{"nodes": [' + b"0," * (50 << 20) + b"0]}", "larger than 16 MB"),
            ("brackets.json", b'{"nodes": ' + b"[" * (15 << 20), "not JSON"),
            ("name.json", {"backend": "x" * (12 << 20)}, "supported: embedded"),
            ("key.json", {"backend": "embedded", "parameters": {"y" * (12 << 20): 1}}, "Unknown parameter"),
            ("infinite.json", b'{"backend": "embedded", "parameters": {"line": 1e999}}', "a number that is too large"),
            ("nodes.json", of_nodes(20_000), "more than 10000 nodes"),
            ("editor.json", {"nodes": [{}] * 20_000}, "more than 10000 nodes"),
            ("bombs.png", png(2, 2)[:-12] + BOMB * 1000 + chunk(b"IEND", b""), "holds no workflow"),
            ("chunks.png", png(2, 2)[:-12] + chunk(b"abCd", b"") * 300_000, "more than 200000 parts"),
        ):
            with self.subTest(name):
                path = self.write(name, content) if content is not None else str(self.folder / name)
                self.assertIn(named, self.check(path))

    def test_a_server_is_asked_about_so_many_classes(self):
        asked = []
        with self.assertRaisesRegex(HelperError, "classes of nodes"):
            Classes(lambda name: asked.append(name) or {}).missing(map(str, range(100_000)))
        self.assertEqual(len(asked), MOST_CLASSES)

    def test_placeholders_make_so_much_text(self):
        content = {**graph(), "2": {"class_type": "CLIPTextEncode", "inputs": {"text": "{prompt}" * 100_000}}}
        with self.assertRaisesRegex(HelperError, "shorter prompt"):
            read_api(content, "w").fill({"prompt": "x" * (3 << 20), "frame": 1}, "w")
        read_api(json.loads(json.dumps(content)), "w").fill({"prompt": "red", "frame": 1}, "w")

    def test_a_job_leaves_what_is_too_much_on_the_server(self):
        render, notes = Rendering.__new__(Rendering), []
        render._comfy, render._source, render._job = mock.Mock(), mock.Mock(), mock.Mock()
        named = [Named("9", {"filename": f"{number}.jpg"}) for number in range(5)]
        fetch = mock.patch.object(rendering.results, "fetch", return_value=(b"12345678", "jpg"))
        with fetch, mock.patch.object(rendering, "LARGEST_TOGETHER", 10):
            self.assertEqual(len(render._fetched(named, read_api(graph(), "w"), notes)), 2)
        self.assertEqual([note[-5:] for note in notes], ["2.jpg", "3.jpg", "4.jpg"])


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
