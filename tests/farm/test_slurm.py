"""Array jobs in a real Slurm of one node: what is killed, started again or started twice loses nothing."""

import os
import signal
import subprocess
import tempfile
import pathlib
import shutil
import unittest

import loopback_slurm
from farm_case import FarmCase

TASKS = 4


@unittest.skipIf(loopback_slurm.missing(), f"not installed: {', '.join(loopback_slurm.missing())}")
class Slurm(FarmCase):
    @classmethod
    def setUpClass(cls) -> None:
        folder = tempfile.mkdtemp(prefix="quillmere-slurm-")
        cls.addClassCleanup(shutil.rmtree, folder, ignore_errors=True)
        cls.slurm = loopback_slurm.LoopbackSlurm(pathlib.Path(folder), TASKS)
        cls.addClassCleanup(cls.slurm.stop)
        cls.slurm.start()

    def setUp(self) -> None:
        super().setUp()
        self.env.update(SLURM_CONF=self.slurm.env["SLURM_CONF"])

    def submitted(self, frames: str) -> str:
        done = self.submit("slurm", "--frames", frames, "--array-size", str(TASKS))
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout.strip()

    def kill(self, task: int) -> None:
        """Everything of the task at once, as a power failure does it."""
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                environment = (process / "environ").read_bytes().split(b"\0")
                if f"SLURM_ARRAY_TASK_ID={task}".encode() in environment and f"QUILLMERE_TEST_MARK={self.folder.name}".encode() in environment:
                    os.kill(int(process.name), signal.SIGKILL)
            except (FileNotFoundError, PermissionError, ProcessLookupError):
                pass

    def log(self) -> str:
        return "\n".join(file.read_text() for file in sorted((self.folder / "job/logs").glob("*_?.log")))

    def wait_for_states(self, job: str, wanted: set[str]) -> None:
        try:
            self.slurm.wait_for(lambda: set(self.slurm.states(job).values()) == wanted, f"{wanted}", 80)
        except TimeoutError as error:
            self.fail(f"{self.slurm.states(job)} {error}\n{self.log()}")

    def test_a_task_that_is_killed_and_started_again_loses_nothing(self) -> None:
        job = self.submitted("1-24")
        share = range(7, 13)  # of the second task
        self.slurm.wait_for(lambda: (self.folder / "shots/a_0008.png").exists(), "second frame of the second task")
        self.kill(1)
        self.slurm.wait_for(lambda: self.slurm.states(job).get("1") in ("FAILED", "NODE_FAIL"), "end of the killed task")
        there = [frame for frame in share if (self.folder / f"shots/a_{frame:04}.png").exists()]
        self.assertLess(len(there), len(share))
        self.slurm.command("scontrol", "requeue", f"{job}_1")
        self.wait_for_states(job, {"COMPLETED"})
        self.assertEqual(self.whole_frames(), list(range(1, 25)))
        starts = self.starts()
        for frame in range(1, 25):
            once = frame not in share or frame in there
            self.assertLessEqual(starts[frame], 1 if once else 2, f"frame {frame}\n{self.log()}")
        self.assertEqual(os.listdir(self.folder / "tmp"), [])

    def test_a_cancelled_job_leaves_whole_frames_alone_and_goes_on_when_it_is_submitted_again(self) -> None:
        job = self.submitted("1-16")
        self.slurm.wait_for(lambda: list((self.folder / "shots").glob("a_*.png")) != [], "first frame")
        self.slurm.command("scancel", job)
        self.wait_for_states(job, {"CANCELLED"})
        self.slurm.wait_for(lambda: os.listdir(self.folder / "tmp") == [], "clean disk of the node")
        self.assertLess(len(self.whole_frames()), 16)
        again = subprocess.run(["sbatch", "--parsable", "--wait", "job/render.sh"], cwd=self.folder, env=self.env, capture_output=True, timeout=80)
        self.assertEqual(again.returncode, 0, self.log())
        self.assertEqual(self.whole_frames(), list(range(1, 17)))

    def test_what_sbatch_refuses_is_told_with_the_job_that_stays(self) -> None:
        done = self.submit("slurm", "--frames", "1-4", "--", "--partition=none")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, "sbatch: .*invalid partition.*\n.*the job lies in '.*/job'")
        self.assertTrue((self.folder / "job/render.sh").exists())


if __name__ == "__main__":
    unittest.main()
