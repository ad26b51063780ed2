"""The live status line, seen through a pseudo-terminal."""

import contextlib
import fcntl
import os
import pty
import re
import signal
import struct
import subprocess
import termios
import threading
import time

from app_case import AppCase


def shown(written: bytes) -> list[str]:
    """What a terminal that knows carriage returns, line feeds and erase-in-line shows in the end, line by line."""
    lines, column = [""], 0
    for part in re.split(r"(\r|\n|\x1b\[K)", written.decode("utf-8")):
        if part == "\r":
            column = 0
        elif part == "\n":
            lines.append("")
            column = 0
        elif part == "\x1b[K":
            lines[-1] = lines[-1][:column]
        else:
            lines[-1] = lines[-1][:column].ljust(column) + part + lines[-1][column + len(part) :]
            column += len(part)
    return [line.rstrip() for line in lines]


class Terminal(AppCase):
    def on_terminal(self, *more: str, columns: int = 80, when: bytes = b"", do=None) -> tuple[int, bytes]:
        """Exit status and all that was written to a terminal of so many columns; calls `do` once it shows `when`."""
        leader, follower = pty.openpty()
        fcntl.ioctl(follower, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
        attributes = termios.tcgetattr(follower)
        ends = {"stdin": follower, "stdout": follower, "stderr": follower, "start_new_session": True}
        process = self.start(*more, env=dict(self.env, TERM="xterm", LC_ALL="C"), **ends)
        written = bytearray()

        def read() -> None:
            with contextlib.suppress(OSError):
                while block := os.read(leader, 4096):
                    written.extend(block)

        reader = threading.Thread(target=read)
        reader.start()
        begun = time.monotonic()
        while do and when not in written and time.monotonic() - begun < 20:
            time.sleep(0.02)
        if do:
            do(process)
        status = process.wait(30)
        self.assertEqual(termios.tcgetattr(follower), attributes)
        os.close(follower)
        reader.join(10)
        os.close(leader)
        return status, bytes(written)

    def test_the_line_lives_turns_and_leaves_only_results(self) -> None:
        self.helper("say 'Inking (40 %)'; sleep 0.7; answer")
        status, written = self.on_terminal("--frames", "3-4", "--clip", "Walk")
        self.assertEqual(status, 0)
        turns = set(re.findall(rb"\r([|/\\-]) \[#*\.*\] frame 4 \(2/2\)  Inking \(40 %\)", written))
        self.assertGreaterEqual(len(turns), 3)
        results = [line.split()[:2] for line in shown(written) if line and "catalog is empty" not in line and " frames: " not in line]
        self.assertEqual([row[0] for row in results], ["frame", "guide", "picture", "output"] * 2)
        self.assertNotIn(b"\x1b[?25l", written)

    def test_what_is_left_is_told_and_counted_down(self) -> None:
        self.helper("tell '\"message\": \"Inking\", \"progress\": 0.5, \"seconds_left\": 31'; sleep 1.6; answer")
        _, written = self.on_terminal()
        left = re.findall(rb"\[##########\.{10}\] frame 0  Inking  \d s, about (\d+) s left", written)
        self.assertIn(b"31", left)
        self.assertIn(b"30", left)

    def test_a_long_and_hostile_message_stays_on_its_line(self) -> None:
        message = "a\\033[2J\\033]0;b\\007" + "x" * 300
        self.helper(f"printf '{{\"message\": \"{message}\"}}' > $(field status_path); sleep 0.4; answer")
        for columns in [20, 61]:
            with self.subTest(columns=columns):
                _, written = self.on_terminal(columns=columns)
                self.assertEqual(set(re.findall(rb"\x1b.{2}", written)), {b"\x1b[K"})
                self.assertNotIn(b"\x07", written)
                for drawn in re.findall(r"\r([^\r\n]*)\x1b\[K", written.decode()):
                    self.assertLess(len(drawn), columns)

    def test_a_break_clears_the_line(self) -> None:
        stubborn, obedient = "trap '' INT TERM; say Waiting; sleep 60; :", "say Waiting; sleep 60; :"
        for helper, signals, quiet in [(stubborn, 2, ["--quiet"]), (stubborn, 2, []), (obedient, 1, [])]:
            with self.subTest(helper=helper, quiet=quiet):

                def stop(process: subprocess.Popen) -> None:
                    time.sleep(1 if quiet else 0)  # nothing tells when the helper runs
                    for _ in range(signals):
                        process.send_signal(signal.SIGINT)
                        time.sleep(0.3)

                self.helper(helper)
                status, written = self.on_terminal(*quiet, when=b"" if quiet else b"Waiting", do=stop)
                self.assertEqual((status, shown(written)[-1]), (130, ""))
                self.assertEqual(written if quiet else b"", b"")
                self.assert_nothing_left()

    def test_a_plain_terminal_gets_plain_lines(self) -> None:
        self.env["TERM"] = "dumb"
        done = subprocess.run(
            ["script", "-qec", " ".join(self.command(*self.render_arguments())), "/dev/null"],
            cwd=self.folder, env=self.env, capture_output=True, timeout=60,
        )  # fmt: skip
        self.assertIn(b"frame 0: Render complete", done.stdout)
        self.assertNotIn(b"\x1b", done.stdout)
