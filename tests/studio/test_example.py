"""Several programs that show one write directory, and the example that one of them renders there."""

import os
import subprocess
import unittest

from studio_case import until  # first: it finds app_case
from app_case import PLUGIN, processes_with
from test_page import PageCase


class Together(PageCase):
    def test_the_second_shows_and_takes_over_at_the_end_of_the_first(self) -> None:
        self.studio()
        first = self.process
        self.assertIs(self.told("/api/state")["owner"], True)
        self.open()
        self.assertEqual({key: self.told("/api/state")[key] for key in ("owner", "other_owner")},
                         {"owner": False, "other_owner": str(first.pid)})
        until(lambda: str(first.pid) in self.find("#shows-only").text)
        self.assertFalse(self.find("#example").is_enabled())
        self.assertEqual(self.ask("/api/example", {}).status, 409)
        first.kill()
        until(lambda: not self.find("#shows-only").is_displayed() and self.find("#example").is_enabled())
        self.assertIs(self.told("/api/state")["owner"], True)


class Example(PageCase):
    def setUp(self) -> None:
        super().setUp()
        # The scene's maker and the helper are Python's.
        self.env["PATH"] = os.environ["PATH"]
        self.real = ("--plugin", str(PLUGIN))

    def rendering(self) -> list[str]:
        return [line for line in processes_with(self.folder.name) if line != f"/proc/{self.process.pid}/environ"]

    def test_one_click_renders_it(self) -> None:
        self.open(*self.real)
        self.assertEqual(len(self.all("#empty li")), 3)
        self.find("#example").click()
        until(lambda: self.all(".in-flight p"), 60)
        self.assertEqual(self.ask("/api/example", {}).status, 409)
        until(lambda: len(self.all("frame-timeline .done")) == 3, 120)
        until(lambda: not self.rendering())
        self.assertEqual(len(list((self.exchange / "studio" / "example").glob("harbour_*.png"))), 3)

    def test_it_ends_with_the_program_however_that_ends(self) -> None:
        for end in ("terminate", "kill"):
            with self.subTest(end):
                self.studio(*self.real)
                self.told("/api/example", {})
                until(lambda: subprocess.run(["pgrep", "-f", f"render {self.folder}"], stdout=subprocess.DEVNULL).returncode == 0, 60)
                getattr(self.process, end)()
                self.process.wait(20)
                until(lambda: not processes_with(self.folder.name))


if __name__ == "__main__":
    unittest.main()
