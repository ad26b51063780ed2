"""The user stops a render: at every stage it ends with 130, and nothing runs on."""

import json
import os
import pathlib
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time

from app_case import PLUGIN, SANITIZER, AppCase, processes_with

sys.path.append(str(pathlib.Path(__file__).parents[1] / "python"))

from comfy_classes import graph  # noqa: E402
from comfy_server import ComfyServer  # noqa: E402

POLITE = "say Waiting; trap 'echo > \"$(field output_dir)/told\"; exit 143' TERM; while :; do sleep 0.05; done"
STUBBORN = "say Waiting; trap '' TERM INT HUP; (setsid sleep 60 &); (sleep 60; :) & while :; do sleep 0.05; done"
WITH_CHILDREN = "say Waiting; (setsid sleep 60 &); sleep 60; :"


class Break(AppCase):
    def begin(self, *more: str, **popen) -> subprocess.Popen:
        return self.start("--json", *more, stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8", **popen)

    def wait_for(self, process: subprocess.Popen, text: str) -> None:
        for line in process.stdout:
            if json.loads(line).get("text", "").startswith(text):
                return
        self.fail(f"the render ended before it said {text}: {process.stderr.read()}")

    def end_of(self, process: subprocess.Popen, within: float) -> list[dict]:
        begun = time.monotonic()
        output, _ = process.communicate(timeout=30)
        self.assertEqual(process.returncode, 130)
        self.assertLess(time.monotonic() - begun, within)
        self.assert_nothing_left()
        self.assertEqual(list(self.folder.glob("render_*")), [])
        return [json.loads(line) for line in output.splitlines()]

    def test_the_first_signal_tells_the_helper_to_end_and_no_frame_follows(self) -> None:
        for number in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
            with self.subTest(number):
                self.helper(POLITE)
                process = self.begin("--frames", "0-5", "--output-dir", "pictures")
                self.wait_for(process, "Waiting")
                process.send_signal(number)
                frames = [event["result"] for event in self.end_of(process, 3) if event["event"] == "frame"]
                self.assertEqual(frames, [6])
                (self.folder / "pictures/told").unlink()  # fails unless the helper was told

    def test_what_the_helper_started_ends_with_it(self) -> None:
        self.helper(WITH_CHILDREN)
        process = self.begin()
        self.wait_for(process, "Waiting")
        process.send_signal(signal.SIGINT)
        self.end_of(process, 4)

    def test_a_second_signal_kills_what_ignores_the_first(self) -> None:
        self.helper(STUBBORN)
        process = self.begin()
        self.wait_for(process, "Waiting")
        process.send_signal(signal.SIGINT)
        with self.assertRaises(subprocess.TimeoutExpired):
            process.wait(0.5)
        process.send_signal(signal.SIGINT)
        begun = time.monotonic()
        told = [event["event"] for event in self.end_of(process, 10)]
        # The host's own giving up takes longer, and it tells of the frame.
        self.assertTrue("frame" not in told or time.monotonic() - begun < (8 if SANITIZER else 0.8), told)

    def test_stages_without_a_helper_can_be_stopped_too(self) -> None:
        rows = [
            ("while the guide is drawn", "Rendering guide", ["--guide", "final", "--size", "2400x1600"], "answer"),
            ("while the helper starts", "Preparing", [], "sleep 20; answer"),
            ("after a frame", "Render complete", ["--frames", "0-1000", "--output", "kept/a.png"], "answer"),
        ]
        for stage, text, arguments, helper in rows:
            with self.subTest(stage):
                self.helper(helper)
                process = self.begin(*arguments)
                self.wait_for(process, text)
                process.send_signal(signal.SIGTERM)
                self.end_of(process, 10)

    def test_a_break_stops_the_hosts_own_drawing(self) -> None:
        process = self.begin("--workflow", "None", "--size", "1000x800" if SANITIZER else "5000x4000")
        time.sleep(1)
        process.send_signal(signal.SIGINT)
        self.end_of(process, 15)  # the whole drawing takes much longer

    def test_children_start_with_default_dispositions(self) -> None:
        self.helper("grep -E 'Sig(Ign|Blk)' /proc/self/status > $(field output_dir)/signals; answer")
        self.render("--output-dir", "pictures")
        ends = (1 << signal.SIGINT - 1) | (1 << signal.SIGTERM - 1) | (1 << signal.SIGPIPE - 1)
        for line in (self.folder / "pictures/signals").read_text().splitlines():
            inherited = 1 << signal.SIGPIPE - 1 if "Ign" in line and signal.getsignal(signal.SIGPIPE) == signal.SIG_IGN else 0
            self.assertEqual(int(line.split()[1], 16) & ends & ~inherited, 0, line)

    def test_signals_that_the_starting_program_ignores_or_blocks_do_not_fail_renders(self) -> None:
        def ignored() -> None:
            signal.signal(signal.SIGCHLD, signal.SIG_IGN)

        def blocked() -> None:
            signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGCHLD, signal.SIGINT, signal.SIGTERM})

        for inherited in (ignored, blocked):
            with self.subTest(inherited.__name__):
                self.helper(POLITE)
                process = self.begin(preexec_fn=inherited)
                self.wait_for(process, "Waiting")
                process.send_signal(signal.SIGTERM)
                self.end_of(process, 3)
                self.helper("answer")
                whole = self.start("--quiet", "--output", "whole.png", preexec_fn=inherited, stderr=subprocess.PIPE)
                self.assertEqual((whole.communicate(timeout=30)[1], whole.returncode), (b"", 0))


class KilledHost(AppCase):
    """The real helper with a job on a server, and a host that has no time to tell it anything."""

    def setUp(self) -> None:
        super().setUp()
        self.server = ComfyServer()
        self.addCleanup(self.server.stop)
        self.env["QUILLMERE_COMFYUI_URL"] = self.server.url
        (self.folder / "graph.json").write_text(json.dumps(graph()))
        shutil.rmtree(self.folder / "plugin/python")
        (self.folder / "plugin/python").symlink_to(PLUGIN / "python")

    def begin(self, shell: str, **popen) -> subprocess.Popen:
        """A render whose job runs on the server; `shell` is how python3 is started below /bin/sh."""
        self.server.go_on.clear()
        (self.folder / "bin/python3").write_text("#!/bin/sh\n" + shell.replace("python3", shlex.quote(sys.executable)) + "\n")
        process = self.start("--workflow", "graph.json", "--quiet", stderr=subprocess.DEVNULL, **popen)
        self.wait_until(lambda: self.server.running, "the job runs")
        return process

    def wait_until(self, met, what: str) -> None:
        end = time.monotonic() + 20
        while not met():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.01)

    def test_the_helper_stops_its_job_and_ends_however_the_host_died(self) -> None:
        becomes, stays = 'exec python3 "$@"', 'python3 "$@"; exit $?'
        rows = [(stays, number) for number in ("KILL", "QUIT", "USR1", "ABRT", "XCPU", "ALRM")]
        without_pipe = "exec 3<&- 4<&- 5<&- 6<&- 7<&- 8<&- 9<&-; "
        for shell, number in [*rows, (becomes, "KILL"), (without_pipe + becomes, "KILL")]:
            with self.subTest(shell=shell, signal=number):
                cores = lambda: resource.setrlimit(resource.RLIMIT_CORE, (0, 0))  # noqa: E731
                self.begin(shell, preexec_fn=cores).send_signal(getattr(signal, "SIG" + number))
                self.wait_until(lambda: not self.server.running, "the job is stopped")
                self.wait_until(lambda: not processes_with(self.folder.name), "nothing runs any more")

    def test_a_hang_up_under_nohup_stops_neither_host_nor_helper(self) -> None:
        ignoring = lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)  # noqa: E731
        process = self.begin('exec python3 "$@"', preexec_fn=ignoring, start_new_session=True)
        os.killpg(process.pid, signal.SIGHUP)
        time.sleep(0.3)
        self.server.go_on.set()
        self.assertEqual(process.wait(timeout=30), 0)
        self.assertEqual(self.server.interrupted, [])
