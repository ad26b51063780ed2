"""Signal 15 at every stage of a drawing."""

import os
import signal
import socket
import subprocess
import sys
import time
import unittest

from scratch_render import HELPER, RenderCase, with_pillow, without_pillow


class LongCalls(unittest.TestCase):
    def test_work_in_c_code_and_tidying_up_without_end_are_ended_too(self):
        begin = "from quillmere_helper import cancellation\ncancellation.listen()\nprint(flush=True)\n"
        in_c = "with cancellation.ending_at_once(): sum(range(10**12))"
        tidying = "import time\ntry: time.sleep(60)\nexcept cancellation.Cancellation: time.sleep(60)"
        for code in (in_c, tidying):
            with self.subTest(code):
                command = [sys.executable, "-c", begin + code]
                process = subprocess.Popen(command, cwd=HELPER.parent, stdout=subprocess.PIPE)
                self.addCleanup(lambda process=process: (process.kill(), process.wait(), process.stdout.close()))
                process.stdout.readline()
                time.sleep(0.3)  # into the work
                process.send_signal(signal.SIGTERM)
                self.assertNotEqual(process.wait(timeout=5), 0)


class Looks(RenderCase):
    def test_a_check_whose_answer_nobody_reads_any_more_ends_although_its_server_is_silent(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            self.environment["QUILLMERE_COMFYUI_URL"] = f"http://127.0.0.1:{silent.getsockname()[1]}"
            graph = {"1": {"class_type": "SaveImage", "inputs": {"images": ["2", 0]}}, "2": {"class_type": "LoadImage", "inputs": {}}}
            command = [sys.executable, str(HELPER), "--check", self.write("graph.json", graph)]
            process = subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE)
            self.addCleanup(lambda: (process.kill(), process.wait()))
            asking = silent.accept()[0]
            process.stdout.close()
            self.assertEqual(process.wait(timeout=1.5), 143)  # long before it would give up
            asking.close()


@unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: stopping a drawing is not tested")
class Cancellation(RenderCase):
    def setUp(self):
        super().setUp()
        self.members.update(width=2560, height=1440)  # long enough to be stopped in the middle

    def test_a_render_stops_within_a_second_at_any_stage(self):
        for stage in ("Looking", "Washing", "Drawing", "Finishing"):
            with self.subTest(stage):
                process = self.start(python=with_pillow())
                self.wait_for(lambda stage=stage: self.message().startswith(stage), stage)
                time.sleep(0.02)  # into the long work that was announced
                self.assert_cancelled(process)
                self.assertEqual(list(self.outputs.iterdir()), [])

    def test_a_helper_that_is_killed_leaves_no_answer_of_an_earlier_render(self):
        self.write("response_3.json", {"ok": True, "first_output": "/an/earlier/picture.png"})
        process = self.start(python=with_pillow())
        self.wait_for(lambda: self.message().startswith("Washing"), "the washes")
        process.kill()
        process.wait()
        self.assertFalse(self.response()["ok"])
        self.assertIn("stopped", self.response()["error"])

    def test_a_signal_that_the_host_blocks_or_ignores_still_stops_the_render(self):
        def blocked():
            signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGTERM})

        def ignored():
            signal.signal(signal.SIGTERM, signal.SIG_IGN)

        for prepare in (blocked, ignored):
            with self.subTest(prepare.__name__):
                process = self.start(python=with_pillow(), preexec_fn=prepare)
                self.wait_for(lambda: self.message().startswith("Washing"), "the washes")
                self.assert_cancelled(process)

    def test_a_stop_during_the_search_for_an_interpreter_ends_the_search_too(self):
        slow = self.folder / "slow"
        slow.write_text(f"#!/bin/sh\necho $$ > '{self.folder}/searching'\nexec sleep 30\n")
        slow.chmod(0o755)
        self.environment["QUILLMERE_PYTHON"] = str(slow)
        process = self.start(python=without_pillow(self.folder))
        searching = self.folder / "searching"
        self.wait_for(lambda: searching.exists() and searching.read_text(), "the search")
        self.assert_cancelled(process)
        with self.assertRaises(ProcessLookupError):
            os.kill(int(searching.read_text()), 0)
