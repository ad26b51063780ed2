"""The helper as the effect sees it: two arguments, a status, a response, pictures and an exit status."""

import contextlib
import functools
import json
import resource
import subprocess
import sys
import unittest
from pathlib import Path
from unittest import mock

from scratch_render import HELPER, RenderCase, png, with_pillow

from quillmere_helper import outputs
from quillmere_helper.png import with_text

GARBAGE = (
    # what the request is, what the error has to name
    ("nothing", b"", "disk may be full"),
    ("bytes of a picture", png(2, 2), "not JSON"),
    ("an array", b"[1]", "not a JSON object"),
    ("deep nesting", b'{"a":' + b"[" * 100_000, "not JSON"),
    ("a number that takes minutes to read", b'{"frame": ' + b"9" * 3_000_000 + b"}", "3000000 digits"),
    ("more than a request can be", b" " * (5 << 20), "larger than 4 MB"),
    ("no workflow", {"workflow_path": ""}, "Workflow menu"),
    ("no output directory", {"output_dir": ""}, "Output Directory"),
    ("a missing key", {"width": None}, '"width"'),
    ("a quoted number", {"frame": "3"}, '"frame"'),
    ("true as a number", {"height": True}, '"height"'),
    ("no pixels", {"width": 0}, "0 x 36"),
    ("too long a side", {"width": 16001, "height": 1}, "16001 x 1"),
    ("too many pixels, told before all else", {"width": 16000, "height": 4001, "output_dir": str(HELPER)}, "16000 x 4001"),
    ("a NUL in a path", {"reference_image": "/a\0b"}, '"reference_image"'),
    ("half a surrogate pair", b'{"workflow_path": "\\ud800"', "not JSON"),
    ("a prefix that climbs", {"output_prefix": "../up"}, "Filename Prefix"),
    ("a prefix longer than a file name", {"output_prefix": "x" * 400}, "Filename Prefix"),
    ("an output directory that is a file", {"output_dir": str(HELPER)}, "Output Directory"),
    ("a missing workflow", {"workflow_path": "/nowhere/w.json"}, '"/nowhere/w.json": No such file'),
    ("a backslash, which the effect cannot read back", {"workflow_path": "/no\\where"}, '"/no/where": No such file'),
    ("a workflow that is a folder", {"workflow_path": "/"}, "not a file"),
)

INK = str(HELPER.parent / "workflows" / "ink_wash.json")
KEPT = json.dumps({"workflow": {"backend": "paintbox"}})
FOREIGN_NAME = json.dumps({"workflow": {"workflow": INK, "controls": {}}})
WORKFLOWS = (
    # content of the workflow file, what the error has to name
    (png(2, 2), "holds no workflow"),
    (with_text(png(2, 2), "quillmere", KEPT), '"paintbox"'),
    ({}, "embedded"),
    ({"backend": "paintbox"}, '"paintbox"'),
    ({"backend": "embedded", "parameters": []}, '"parameters"'),
    ({"backend": "embedded", "parameters": {"lines": 1}}, 'did you mean "line"?'),
    ({"backend": "embedded", "parameters": {"layers": 99}}, "a whole number of 2 to 9"),
    ({"backend": "embedded", "parameters": {"seed": 1 << 64}}, '"frame", "random"'),
    ({"backend": "embedded", "parameters": {"wash": "much"}}, "a number of 0 to 2"),
    # wrappers that set controls
    ({"workflow": INK, "controls": {"lines": 1}}, 'Unknown control "lines" in the workflow "ink_wash.json"; did you mean "line"?'),
    ({"workflow": INK, "controls": {"line": "thin"}}, 'The control "line"'),
    ({"workflow": INK, "controls": [1]}, "by its full path"),
    ({"workflow": "ink_wash.json", "controls": {}}, "by its full path"),
    ({"workflow": "/nowhere/w.json", "controls": {}}, '"/nowhere/w.json": No such file'),
    ({"workflow": INK, "controls": {}, "backend": ""}, 'names the back end ""'),
    (with_text(png(2, 2), "quillmere", FOREIGN_NAME), "holds no workflow"),
)


class RenderProcess(RenderCase):
    def test_a_request_that_cannot_be_carried_out_gets_an_answer_that_names_the_reason(self):
        valid = dict(self.members)
        for what, request, named in GARBAGE:
            with self.subTest(what):
                given = request if isinstance(request, bytes) else {**valid, **request}
                self.assert_fails(named, request=given)

    def test_a_workflow_that_cannot_be_run_gets_an_answer_that_names_what_is_accepted(self):
        for content, named in WORKFLOWS:
            with self.subTest(content):
                self.members["workflow_path"] = self.write("workflow.json", content)
                self.assert_fails(named)
                self.assertFalse(self.outputs.exists() and any(self.outputs.iterdir()))

    def test_a_wrapper_names_no_other_wrapper(self):
        inner = self.write("inner.json", {"workflow": INK, "controls": {}})
        self.members["workflow_path"] = self.write("outer.json", {"workflow": inner, "controls": {}})
        self.assert_fails('inner.json" only names another one')

    def test_wrong_use_is_told_apart_from_failure(self):
        for arguments in ([], ["one"], ["--check"], ["a", "b", "c"], ["a", "b", "--check", "c"]):
            with self.subTest(arguments):
                done = subprocess.run([sys.executable, str(HELPER), *arguments], capture_output=True, check=False)
                self.assertEqual(done.returncode, 2)

    def test_a_response_that_cannot_be_written_is_told_on_standard_error(self):
        self.response_file = self.folder / "missing" / "response.json"
        status, _ = self.run_helper()
        self.assertEqual(status, 1)
        self.assertIn(str(self.response_file), self.errors)


class Names(RenderCase):
    def test_a_name_that_another_render_takes_first_is_left_to_it(self):
        no_links = mock.patch("os.link", side_effect=PermissionError(1, "no hard links here"))
        for links in (contextlib.nullcontext(), no_links):
            with self.subTest(links), links, mock.patch.object(outputs.Outputs, "_highest", return_value=0):
                mine = outputs.Outputs(str(self.outputs), "shot", 3)
                mine.prepare()
                (self.outputs / "shot_f3_1.jpg").write_bytes(b"theirs")
                mine.write(b"mine", "jpg", {})
                self.assertEqual(mine.paths, [str(self.outputs / "shot_f3_2.jpg")])
                contents = {path.name: path.read_bytes() for path in self.outputs.iterdir() if path.suffix == ".jpg"}
                self.assertEqual(contents, {"shot_f3_1.jpg": b"theirs", "shot_f3_2.jpg": b"mine"})
                (self.outputs / "shot_f3_2.jpg").unlink()

    def test_a_picture_whose_side_file_does_not_fit_is_a_picture(self):
        mine = outputs.Outputs(str(self.outputs), "shot", 3)
        mine.prepare()
        with mock.patch.object(outputs.exchange, "write_whole", side_effect=OSError(28, "No space left on device")):
            mine.write(b"mine", "jpg", {})
        self.assertEqual(Path(mine.paths[0]).read_bytes(), b"mine")
        self.assertIn("No space left", mine.notes[0])

    def test_a_side_file_that_did_not_fit_is_written_by_the_next_render(self):
        record = {"helper_version": "1", "prompt": "Zürich"}
        for name, content in (("shot_f-2_7", record), ("shot_f1_1", {"made": "by others"}), ("other_f1_1", record)):
            picture = with_text(png(2, 2), "quillmere", json.dumps(content))
            self.outputs.mkdir(exist_ok=True)
            (self.outputs / f"{name}.png").write_bytes(picture)
        (self.outputs / "shot_f0_1.png").write_bytes(b"damaged")
        (self.outputs / "shot_f0_2.png").symlink_to("/dev/zero")
        outputs.Outputs(str(self.outputs), "shot", 3).prepare()
        self.assertEqual([path.name for path in self.outputs.glob("*.json")], ["shot_f-2_7.png.json"])
        self.assertEqual(json.loads((self.outputs / "shot_f-2_7.png.json").read_text("utf-8")), record)


@unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: pictures are not tested")
class Pictures(RenderCase):
    def test_a_render_answers_with_its_pictures_and_replaces_an_earlier_answer(self):
        self.write("response_3.json", {"ok": False, "error": "of an earlier render"})
        response, first = self.assert_rendered(), self.outputs / "shot_f3_1.png"
        self.assertEqual((response["first_output"], "error" in response), (str(first), False))
        self.assertEqual(first.read_bytes()[16:24], (64).to_bytes(4, "big") + (36).to_bytes(4, "big"))
        self.assertIn("%", self.message())

    def test_names_count_up_past_what_is_there_whatever_its_extension(self):
        self.outputs.mkdir()
        for name in ("shot_f3_4.jpg", "shot_f33_9.png", "other_f3_8.png", "shot_f3_x.png"):
            (self.outputs / name).touch()
        self.assertEqual(self.run_helper()[1]["first_output"], str(self.outputs / "shot_f3_5.png"))

    def test_names_that_are_not_ascii_and_prompts_with_raw_control_characters_pass_through(self):
        directory = self.folder / 'Bilder "Küste"'
        self.members.update(output_dir=str(directory), output_prefix="évé nement", effective_prompt="a\tb – c")
        request = json.dumps(self.members, ensure_ascii=False).replace("a\\tb", "a\x01b").encode()
        escaped = str(directory).replace('"', '\\"')
        # The second time Python takes file names for ASCII, as it does for Latin 1 in a locale of that encoding.
        ascii_only = {"LC_ALL": "C", "PYTHONUTF8": "0", "PYTHONCOERCECLOCALE": "0"}
        for number, environment in enumerate(({}, ascii_only), 1):
            with self.subTest(environment):
                self.environment.update(environment)
                self.assert_rendered(request=request)
                first = f'"first_output": "{escaped}/évé nement_f3_{number}.png"'
                self.assertIn(first, self.response_file.read_text("utf-8"))

    def test_no_poll_reads_a_half_written_status(self):
        self.members.update(width=640, height=360)
        process, seen = self.start(), []
        while process.poll() is None:
            if self.status_file.exists():
                seen.append(json.loads(self.status_file.read_bytes())["message"])
        self.assertGreater(len(set(seen)), 3)
        self.assertEqual(process.returncode, 0)

    def test_a_disk_that_is_full_leaves_no_half_picture(self):
        self.members.update(width=320, height=180)
        largest = (16384, 16384)  # bytes of a file; the picture is larger, the answer is not
        limit = functools.partial(resource.setrlimit, resource.RLIMIT_FSIZE, largest)
        self.assert_fails(f'Cannot write a picture into "{self.outputs}"', python=with_pillow(), preexec_fn=limit)
        self.assertEqual(list(self.outputs.iterdir()), [])

    def test_a_status_that_cannot_be_written_costs_no_picture(self):
        for path in ("", "/nowhere/status.json"):
            with self.subTest(path):
                self.members["status_path"] = path
                self.assert_rendered()
