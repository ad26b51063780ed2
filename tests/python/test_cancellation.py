"""Signal 15 at every stage of a drawing."""

import os
import signal
import sys
import time
import unittest

from scratch_render import RenderCase, png, with_pillow


@unittest.skipUnless(with_pillow(), "NO INTERPRETER WITH PILLOW: stopping a drawing is not tested")
class Cancellation(RenderCase):
    def setUp(self):
        super().setUp()
        self.members.update(width=2560, height=1440)  # long enough to be met in the middle

    def test_a_render_stops_within_a_second_at_any_stage(self):
        for stage in ("Stretching", "Looking", "Washing", "Drawing", "Finishing"):
            with self.subTest(stage):
                process = self.start(python=with_pillow())
                self.wait_for(lambda stage=stage: self.message().startswith(stage), stage)
                time.sleep(0.02)  # into the long work that was announced
                self.assert_cancelled(process)
                self.assertEqual(list(self.outputs.iterdir()), [])
                self.status_file.unlink()

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
                self.status_file.unlink()

    def test_a_stop_during_the_search_for_an_interpreter_ends_the_search_too(self):
        slow = self.folder / "slow"
        slow.write_text(f"#!/bin/sh\necho $$ > '{self.folder}/searching'\nexec sleep 30\n")
        slow.chmod(0o755)
        self.write("PIL.py", b"raise ImportError")
        self.environment.update(QUILLMERE_PYTHON=str(slow), PYTHONPATH=str(self.folder))
        process = self.start(python=sys.executable)
        self.wait_for(lambda: (self.folder / "searching").exists() and (self.folder / "searching").read_text(), "the search")
        self.assert_cancelled(process)
        with self.assertRaises(ProcessLookupError):
            os.kill(int((self.folder / "searching").read_text()), 0)


if __name__ == "__main__":
    unittest.main()
