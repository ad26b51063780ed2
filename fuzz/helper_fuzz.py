"""helper_fuzz.py FAILURES SECONDS [SEED]: feeds what the render helper reads with changed files and answers.

Each input has a second of CPU time for each 100 kB, ten at least, and a gigabyte of memory; whatever ends otherwise than
in a result or an error for people stays in FAILURES, as a folder with the input. One number names an input again:
helper_fuzz.py FAILURES 0 NUMBER.
"""

import contextlib
import os
import random
import resource
import shutil
import signal
import sys
import tempfile
import time
import traceback
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tests" / "python"), str(ROOT / "fuzz")]

from helper_targets import ALLOWED, TARGETS  # noqa: E402

MEMORY = 1 << 30  # bytes
TIME = 10  # seconds of CPU
BATCH = 200  # inputs of one process


def run_one(number: int, folder: Path) -> None:
    """Raises what the helper must not raise. What has been read is in `folder` then."""
    chance = random.Random(number)
    name, target = TARGETS[number % len(TARGETS)]
    signal.setitimer(signal.ITIMER_PROF, TIME)  # kills, also in the middle of C code
    try:
        with contextlib.suppress(*ALLOWED):
            target(chance, folder)
    finally:
        signal.setitimer(signal.ITIMER_PROF, 0)


def run_batch(first: int, folder: Path) -> None:
    """In a process of its own: tells in `folder` which input it is at, and exits with 1 at the first failure."""
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    os.chdir(folder)
    for number in range(first, first + BATCH):
        for entry in folder.iterdir():
            shutil.rmtree(entry) if entry.is_dir() and not entry.is_symlink() else entry.unlink()
        (folder / "number").write_text(str(number))
        try:
            run_one(number, folder)
        except BaseException:
            (folder / "failure").write_text(traceback.format_exc(), errors="backslashreplace")
            os._exit(1)
    os._exit(0)


def main() -> int:
    failures, seconds = Path(sys.argv[1]).resolve(), float(sys.argv[2])
    first = int(sys.argv[3]) if len(sys.argv) > 3 else random.SystemRandom().randrange(1 << 40) * BATCH
    end, count, found = time.monotonic() + seconds, 0, 0
    print(f"helper: from input {first}, targets {', '.join(name for name, _ in TARGETS)}", flush=True)
    while count == 0 or time.monotonic() < end:
        with tempfile.TemporaryDirectory(prefix="quillmere-fuzz-") as scratch:
            folder = Path(scratch)
            child = os.fork()
            if child == 0:
                run_batch(first, folder)
            status = os.waitpid(child, 0)[1]
            at = int((folder / "number").read_text())
            count += at - first + 1
            first = at + 1
            if status != 0:
                found += 1
                kept = failures / f"helper-{at}"
                shutil.rmtree(kept, ignore_errors=True)
                shutil.copytree(folder, kept)
                told = f"ended by signal {status}"  # SIGPROF: took too long
                if (kept / "failure").exists():
                    told = (kept / "failure").read_text().splitlines()[-1]
                print(f"helper: input {at} ({TARGETS[at % len(TARGETS)][0]}): {told[:200]}; see {kept}", flush=True)
    print(f"helper: {count} inputs, {found} failures")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
