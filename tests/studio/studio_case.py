"""A write directory with frames and a history, and the page's server on it."""

from __future__ import annotations

import http.client
import json
import os
import pathlib
import subprocess
import sys
import time
import urllib.parse
from typing import Any, Callable, Optional

sys.path[:0] = [str(pathlib.Path(__file__).parents[1] / "app"), str(pathlib.Path(__file__).parents[2] / "python")]

from app_case import AppCase, QUILLMERE  # noqa: E402

from PIL import Image  # noqa: E402
from selenium.common.exceptions import NoSuchElementException, StaleElementReferenceException  # noqa: E402


def until(holds: Callable[[], Any], seconds: float = 20) -> Any:
    """What `holds` comes to return that counts as true. An element that isn't there yet, or any more, is none."""
    end = time.monotonic() + seconds
    while True:
        try:
            if found := holds():
                return found
        except (NoSuchElementException, StaleElementReferenceException, StopIteration):
            pass
        if time.monotonic() > end:
            raise AssertionError("it didn't come to hold")
        time.sleep(0.02)


class StudioCase(AppCase):
    def setUp(self) -> None:
        super().setUp()
        self.exchange = self.folder / "write" / "quillmere" / "c4d"
        (self.exchange / "runtime").mkdir(parents=True)

    def picture(self, name: str, colour: tuple[int, int, int] = (200, 80, 40), **record: Any) -> pathlib.Path:
        """One outside the write directory, with a record when there is any."""
        file = self.folder / "renders" / name
        file.parent.mkdir(exist_ok=True)
        Image.new("RGB", (64, 36), colour).save(file)
        if record:
            text = json.dumps({"helper_version": "1", **record})
            (file.parent / (name + ".json")).write_text(text)
        return file

    def entry(self, document: str, frame: int, picture: pathlib.Path, seconds: int = 0) -> None:
        folder = self.exchange / "history" / document
        folder.mkdir(parents=True, exist_ok=True)
        file = folder / f"shot_f{frame}.json"
        file.write_text(json.dumps({"status": "complete", "frame": frame, "output": str(picture)}))
        os.utime(file, (1_800_000_000 + seconds,) * 2)

    def frame(self, number: int, **files: dict) -> None:
        """The exchange files of a frame: request, status, response."""
        runtime = self.exchange / "runtime"
        Image.new("RGB", (64, 36), (90, 90, 90)).save(runtime / f"reference_{number}.png")
        for kind, content in {"request": {}, **files}.items():
            beside = runtime / f".{kind}"
            beside.write_text(json.dumps(content))
            beside.replace(runtime / f"{kind}_{number}.json")

    def studio(self, *arguments: str) -> None:
        command = [QUILLMERE, "studio", "--write-dir", "write", *arguments]
        self.process = subprocess.Popen(command, cwd=self.folder, env=self.env, stdout=subprocess.PIPE, encoding="utf-8")
        self.addCleanup(self.process.stdout.close)
        self.addCleanup(self.process.wait)
        self.addCleanup(self.process.kill)
        self.entered(self.process.stdout.readline().strip())

    def entered(self, address: str) -> None:
        self.address = address
        parts = urllib.parse.urlsplit(self.address)
        self.port, self.token = parts.port, urllib.parse.parse_qs(parts.query)["token"][0]

    def ask(self, path: str, body: Optional[Any] = None, host: str = "127.0.0.1", **headers: str) -> http.client.HTTPResponse:
        connection = http.client.HTTPConnection(host, self.port, timeout=20)
        self.addCleanup(connection.close)
        sent = {"X-Quillmere-Token": self.token, "Connection": "close", **{name.replace("_", "-"): value for name, value in headers.items()}}
        if body is not None:
            sent.setdefault("Content-Type", "application/json")
        content = None if body is None else body if isinstance(body, (bytes, str)) else json.dumps(body)
        connection.request("GET" if body is None else "POST", path, content, {name: value for name, value in sent.items() if value})
        return connection.getresponse()

    def told(self, path: str, body: Optional[Any] = None) -> dict:
        response = self.ask(path, body)
        told = json.loads(response.read())
        self.assertEqual(response.status, 200, told)
        return told
