"""A system at its limits: memory, threads, sizes of files, a full disk. A frame ends whole, or in one true error."""

import contextlib
import json
import os
import pathlib
import resource
import subprocess
import sys
import time
import unittest

from app_case import SANITIZER, AppCase

sys.path.append(str(pathlib.Path(__file__).parents[2] / "python"))

from quillmere_helper import pictures, request  # noqa: E402

MB = 1 << 20


def limited(*limits: tuple[int, int]):
    return lambda: [resource.setrlimit(which, (most, most)) for which, most in limits]


class Limits(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.runtime = self.folder / "write/quillmere/c4d/runtime"

    def limited(self, prepare, *arguments: str) -> tuple[int, str]:
        process = self.start("--quiet", *arguments, preexec_fn=prepare, stderr=subprocess.PIPE)
        errors = process.communicate(timeout=60)[1].decode()
        self.assert_nothing_left()
        self.assertEqual([str(file) for file in self.folder.rglob("*.part")], [])
        return process.returncode, errors

    @unittest.skipIf(SANITIZER, "a sanitizer's own maps need terabytes of addresses")
    def test_little_memory_ends_in_a_picture_or_in_one_error_that_names_it(self) -> None:
        ends = set()
        for megabytes in (70, 90, 150, 200, 230, 280, 320, 600):
            with self.subTest(megabytes=megabytes):
                status, errors = self.limited(limited((resource.RLIMIT_AS, megabytes * MB)))
                self.assertEqual(len([line for line in errors.splitlines() if line[:1] != " "]), status, errors)  # but for the remedy
                self.assertRegex(errors, r"about \d+ MiB of memory|raise the limits" if status else "^$")
                self.assertEqual((self.folder / "render_0000.png").exists(), status == 0)
                ends.add(status)
        self.assertEqual(ends, {0, 1})

    def test_without_a_further_thread_one_draws(self) -> None:
        self.folder.chmod(0o777)

        def alone() -> None:
            resource.setrlimit(resource.RLIMIT_NPROC, (1, 1))
            if os.getuid() == 0:  # who may start any number
                os.setgroups([])
                os.setgid(65534)
                os.setuid(65534)

        guide = self.command("guide", "scene.glb", "-o", "guide.png", "--clip", "Walk")
        env = {**self.env, "ASAN_OPTIONS": "detect_leaks=0"}  # which takes a process
        done = subprocess.run(guide, cwd=self.folder, env=env, preexec_fn=alone, capture_output=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_a_file_that_may_grow_no_further_fails_its_frame(self) -> None:
        none = 65536 if SANITIZER == "thread" else 0  # which writes a file of its own first
        for bytes_, size, reason in [(none, "32x24", "ulimit -f"), (100_000, "32x24", "ulimit -f"), (MB, "900x900", "ulimit -f")]:
            with self.subTest(bytes_):
                status, errors = self.limited(limited((resource.RLIMIT_FSIZE, bytes_)), "--size", size)
                self.assertEqual((status, errors.count(reason)), (1, 1), errors)
                self.assertEqual(list(self.folder.glob("render_*")), [])

    def test_a_size_that_the_helper_refuses_is_refused_before_the_guide_is_drawn(self) -> None:
        side, area = request.LARGEST_SIDE, request.LARGEST_AREA
        self.assertEqual(pictures.LARGEST_PIXELS, area)
        no_room = limited((resource.RLIMIT_FSIZE, MB))  # is told next, still before the guide
        for size, status, reason in [
            (f"{side + 1}x1", 2, f"1 to {side}"),
            (f"{side}x{area // side}", 1, "ulimit -f"),
            (f"{side}x{area // side + 1}", 2, f"{area // 1_000_000} megapixels"),
        ]:
            with self.subTest(size):
                ended, errors = self.limited(no_room, "--size", size)
                self.assertEqual(ended, status)
                self.assertIn(reason, errors)
                self.assertFalse((self.runtime / "reference_0.png").exists())

    def test_closed_outputs_are_told(self) -> None:
        for command in (["cameras", "scene.glb"], ["panel", "--plugin", "plugin"]):
            with self.subTest(command):
                reading, writing = os.pipe()
                os.close(reading)
                done = subprocess.run(self.command(*command), cwd=self.folder, env=self.env, stdout=writing, stderr=subprocess.PIPE)
                os.close(writing)
                self.assertEqual(done.returncode, 1)
                self.assertIn(b"standard output", done.stderr)

    def test_temporary_files_of_dead_processes_are_swept_and_no_others(self) -> None:
        dead = subprocess.Popen(["true"])
        dead.wait()
        ended = subprocess.Popen(["true"])  # and not asked for its end
        os.waitid(os.P_PID, ended.pid, os.WEXITED | os.WNOWAIT)
        self.runtime.mkdir(parents=True)
        old, gone = time.time() - 3600, dead.pid
        rows = [
            (self.folder / f".quillmere-{gone}-0.part", old, False),
            (self.runtime / f".response_0.json.{gone}.part", old, False),
            (self.folder / f".quillmere_f0_{gone}.part", old, False),
            (self.folder / f".quillmere_f0_{ended.pid}.part", old, False),
            (self.folder / f".quillmere-{os.getpid()}-0.part", old, True),
            (self.folder / f".quillmere-{gone}-1.part", time.time(), True),  # maybe another machine's
            (self.folder / f"quillmere-{gone}-0.part", old, True),
            (self.folder / f".quillmere-{gone}-0.parts", old, True),
        ]
        for file, changed, _ in rows:
            file.touch()
            os.utime(file, (changed, changed))
        self.assertEqual(self.render("--quiet").returncode, 0)
        self.assertEqual([file.exists() for file, _, _ in rows], [stays for _, _, stays in rows])
        ended.wait()

    def test_an_error_of_an_earlier_render_is_never_told_again(self) -> None:
        self.helper("""printf '{"ok": false, "error": "the first error"}' > "$response"; exit 1""")
        told = self.render()
        self.assertEqual((told.stdout + told.stderr).count("the first error"), 1, told.stderr)
        (self.folder / "bin/python3").write_text("#!/bin/sh\nexit 127\n")
        told = self.render()
        self.assertNotIn("the first error", told.stderr)
        self.assertEqual(told.stderr.count("quillmere doctor"), 1, told.stderr)
        self.assertIn("the first error", (self.runtime / "former_response_0.json").read_text())

    def test_a_view_state_that_was_cut_off_gets_its_locked_style_back(self) -> None:
        self.render()
        state = self.runtime / "render_view_state.json"
        style = str(self.folder / "render_0000.png")
        state.write_text(json.dumps({**json.loads(state.read_text()), "locked_style_image": style}, indent=2) + "\n")
        for cut in ("", state.read_text()[:40]):
            with self.subTest(cut=cut):
                self.helper(f"printf '%s' '{cut}' > {state}; exit 1")
                self.assertEqual(self.render("--quiet").returncode, 1)
                self.assertEqual(json.loads(state.read_text())["locked_style_image"], style)
                state.write_text(cut)  # the host had no room, or was killed
                self.helper("answer")
                self.render()
                self.assertEqual(self.request()["locked_style_image"], style)


class FullDisk(AppCase):
    """A write directory on a small disk of its own."""

    def setUp(self) -> None:
        super().setUp()
        self.disk = self.folder / "write"
        self.disk.mkdir()
        made = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4m,mode=755", "none", self.disk], capture_output=True)
        if made.returncode != 0:
            self.skipTest("a disk can't be mounted here")
        self.addCleanup(subprocess.run, ["umount", "-l", self.disk])

    def fill(self, left: int) -> None:
        (self.disk / "filler").unlink(missing_ok=True)
        free = os.statvfs(self.disk)
        with open(self.disk / "filler", "wb") as filler, contextlib.suppress(OSError):
            filler.write(bytes(max(0, free.f_bavail * free.f_frsize - left)))

    def test_a_full_disk_is_told_before_the_frame_and_what_it_has_cut_off_after_it(self) -> None:
        for left, told in [(0, "No space left"), (MB // 2, "its disk is full")]:
            self.fill(left)
            done = self.render("--quiet")
            self.assertEqual((done.returncode, done.stderr.count(told), len(done.stderr.splitlines())), (1, 1, 1), done.stderr)
        self.fill(2 * MB)
        lost = "incomplete on disk: .*status_0.json"
        for then, status, text in [("exit 1", 1, f"frame 0: .*; {lost}"), ("answer", 0, f"warning: frame 0: {lost}")]:
            with self.subTest(then):
                self.helper(f': > "$(field status_path)"; {then}')
                done = self.render("--quiet")
                self.assertEqual(done.returncode, status)
                self.assertRegex(done.stderr, text)
                self.assertEqual(len(done.stderr.splitlines()), 1)
