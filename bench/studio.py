#!/usr/bin/env python3
"""What a person waits for on the studio page: the first picture, an event, answers of a history of 10,000 pictures, and frames
while that is scrolled. What needs a browser is left out where Selenium and chromedriver aren't installed.

studio.py QUILLMERE [PICTURES]"""

from __future__ import annotations

import contextlib
import http.client
import json
import os
import pathlib
import random
import statistics
import struct
import subprocess
import sys
import tempfile
import time
import urllib.parse
import zlib
from typing import Any, Callable, Iterator

DRIVER = "/usr/bin/chromedriver"
WORDS = "harbour dusk rain lantern mist alley roof gull pier storm morning snow tower boat window crane".split()
SCROLL = """const done = arguments[0], list = document.querySelector("history-list"), gaps = [];
let last = performance.now(), end = last + 5000;
requestAnimationFrame(function step(now) {
  gaps.push(now - last); last = now; list.scrollTop += 120;
  now < end ? requestAnimationFrame(step) : done(gaps.slice(1));
});"""
MOVE = """const [zoomed, done] = arguments, viewer = document.querySelector("picture-viewer"), gaps = [];
let last = performance.now(), end = last + 3000;
requestAnimationFrame(function step(now) {
  gaps.push(now - last); last = now;
  const back = Math.floor(gaps.length / 40) % 2;
  if (zoomed) viewer.zoomTo(viewer.zoom * (back ? 1 / 1.03 : 1.03));
  else viewer.dispatchEvent(new KeyboardEvent("keydown", { key: back ? "ArrowLeft" : "ArrowRight" }));
  now < end ? requestAnimationFrame(step) : done(gaps.slice(1));
});"""
# From the start of the navigation to the frame after the one in which the pictures were given to the viewer.
SHOWN = """(function look() {
  const drawn = document.querySelector("picture-viewer .name.right")?.textContent;
  requestAnimationFrame(drawn ? () => { window.shownAt = performance.now(); } : look);
})()"""


def png(width: int, height: int, seed: int) -> bytes:
    chance = random.Random(seed)
    rows = []
    for _ in range(height):
        value = chance.randrange(256)
        rows.append(b"\0" + bytes((value + x) % 256 for x in range(width) for _ in "rgb"))
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    head = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(b"".join(rows), 1)) + chunk(b"IEND", b"")


class WriteDirectory:
    """Ten documents with all pictures, and the exchange files of 200 frames."""

    def __init__(self, folder: pathlib.Path, pictures: int, width: int = 960, height: int = 540) -> None:
        self.folder = folder
        exchange = folder / "quillmere" / "c4d"
        self.runtime, renders = exchange / "runtime", exchange / "renders"
        for made in (self.runtime, renders):
            made.mkdir(parents=True)
        kinds = [renders / f"kind_{number}.png" for number in range(min(16, pictures))]
        for number, kind in enumerate(kinds):
            kind.write_bytes(png(width, height, number))
        chance = random.Random(1)
        for number in range(pictures):
            picture = renders / f"render_f{number}_1.png"
            os.link(kinds[number % len(kinds)], picture)
            record = {"helper_version": "1", "prompt": " ".join(chance.choices(WORDS, k=12)), "seed": number, "frame": number,
                      "camera": chance.choice(["Pier", "Quayside", "Chart"]), "workflow_path": f"/w/{chance.choice(WORDS)}.json"}
            picture.with_name(picture.name + ".json").write_text(json.dumps(record))
            document = exchange / "history" / f"scene_{number % 10}.glb"
            document.mkdir(parents=True, exist_ok=True)
            (document / f"render_f{number}.json").write_text(json.dumps({"status": "complete", "frame": number, "output": str(picture)}))
            if number < 200:
                os.link(kinds[0], self.runtime / f"reference_{number}.png")
                (self.runtime / f"request_{number}.json").write_text("{}")
                (self.runtime / f"response_{number}.json").write_text(json.dumps({"ok": True, "first_output": str(picture)}))


class Studio:
    def __init__(self, quillmere: str, folder: pathlib.Path) -> None:
        self.begun = time.monotonic()
        self.process = subprocess.Popen([quillmere, "studio", "--write-dir", str(folder)], stdout=subprocess.PIPE, encoding="utf-8")
        assert self.process.stdout
        self.address = self.process.stdout.readline().strip()
        parts = urllib.parse.urlsplit(self.address)
        self.port, self.token = parts.port, urllib.parse.parse_qs(parts.query)["token"][0]
        self.connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)

    def ask(self, path: str) -> bytes:
        self.connection.request("GET", path, headers={"X-Quillmere-Token": self.token})
        return self.connection.getresponse().read()

    def told(self, path: str) -> Any:
        return json.loads(self.ask(path))

    def since(self) -> float:
        return (time.monotonic() - self.begun) * 1000

    def memory(self) -> float:
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(status.split("VmRSS:")[1].split()[0]) / 1024

    def end(self) -> None:
        self.connection.close()
        self.process.terminate()
        self.process.wait()


@contextlib.contextmanager
def studio_on(quillmere: str, folder: pathlib.Path) -> Iterator[Studio]:
    studio = Studio(quillmere, folder)
    try:
        yield studio
    finally:
        studio.end()


def line(what: str, values: list[float], unit: str = "ms") -> None:
    ordered = sorted(values)
    high = ordered[min(len(ordered) - 1, int(len(ordered) * 0.95))]
    print(f"{what:58} median {statistics.median(ordered):8.1f} {unit}   95 of 100 below {high:8.1f}   longest {ordered[-1]:8.1f}")


def start(quillmere: str, folder: pathlib.Path) -> None:
    pictures, answers = [], []
    for _ in range(7):
        with studio_on(quillmere, folder) as studio:
            frame = studio.told("/api/state")["frames"][-1]
            studio.ask(f"/api/picture/{frame['picture']['id']}")
            pictures.append(studio.since())
            studio.told("/api/history")
            answers.append(studio.since())
    line("start to first picture", pictures)
    line("start to first answer of the history", answers)


def history(quillmere: str, folder: pathlib.Path) -> None:
    with studio_on(quillmere, folder) as studio:
        while studio.told("/api/history?count=1")["unread"]:
            time.sleep(0.05)
        print(f"{'all records read after':58} {studio.since():15.1f} ms")
        for what, question in (("answer without words", ""), ("answer to words", "words=lantern+gull"),
                               ("answer to camera: and workflow:", "words=camera:pier+workflow:storm")):
            times = []
            for _ in range(30):
                begun = time.monotonic()
                studio.told("/api/history?" + question)
                times.append((time.monotonic() - begun) * 1000)
            line(what, times)
        print(f"{'memory':58} {studio.memory():15.1f} MB")


def events(quillmere: str, write: WriteDirectory) -> None:
    with studio_on(quillmere, write.folder) as studio:
        listening = http.client.HTTPConnection("127.0.0.1", studio.port, timeout=60)
        listening.request("GET", "/api/events", headers={"X-Quillmere-Token": studio.token})
        stream = listening.getresponse()
        while studio.told("/api/history?count=1")["unread"]:
            time.sleep(0.05)
        (write.runtime / "request_199.json").write_text("{}")  # is rendered again
        times = []
        for number in range(100):
            time.sleep(random.uniform(0.02, 0.08))
            beside = write.runtime / ".status"
            beside.write_text(json.dumps({"phase": "generate", "message": f"step {number}"}))
            beside.replace(write.runtime / "status_199.json")
            begun = time.monotonic()
            while f'"step {number}"' not in stream.readline().decode():
                pass
            times.append((time.monotonic() - begun) * 1000)
        line("a file of a frame changes to its event", times)
        listening.close()
        (write.runtime / "response_199.json").touch()


def until(told: Callable[[], Any], seconds: float = 60) -> Any:
    end = time.monotonic() + seconds
    while not (found := told()):
        if time.monotonic() > end:
            raise SystemExit("studio: the page doesn't come to show what it should")
        time.sleep(0.02)
    return found


def moved(quillmere: str, chrome: Any) -> None:
    with tempfile.TemporaryDirectory() as folder:
        write = WriteDirectory(pathlib.Path(folder), 1, 3840, 2160)
        chrome.set_window_size(3840, 2160)
        with studio_on(quillmere, write.folder) as studio:
            chrome.get(studio.address)
            until(lambda: chrome.execute_script("return window.shownAt"))
            for what in ("panned", "zoomed"):
                line(f"between two frames while two pictures of 4K are {what}", chrome.execute_async_script(MOVE, what == "zoomed"))
            chrome.get("about:blank")


def browser(quillmere: str, folder: pathlib.Path) -> None:
    try:
        from selenium import webdriver
    except ImportError:
        return print("no Selenium here: what needs a browser is left out")
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--window-size=1440,900"):
        options.add_argument(argument)
    chrome = webdriver.Chrome(service=webdriver.chrome.service.Service(DRIVER), options=options)
    chrome.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": SHOWN})
    shown = []
    try:
        for _ in range(7):
            with studio_on(quillmere, folder) as studio:
                begun = studio.since()
                chrome.get(studio.address)
                shown.append(begun + until(lambda: chrome.execute_script("return window.shownAt")))
                chrome.get("about:blank")
        line("start to first picture on the page", shown)
        with studio_on(quillmere, folder) as studio:
            chrome.get(studio.address)
            until(lambda: chrome.execute_script("return /pictures$/.test(document.querySelector('#found').textContent)"))
            for what in ("between two frames while the history is scrolled", "the same again, with thumbnails that are there"):
                chrome.execute_script("document.querySelector('history-list').scrollTop = 0")
                line(what, chrome.execute_async_script(SCROLL))
            chrome.get("about:blank")
        moved(quillmere, chrome)
    finally:
        chrome.quit()


def main() -> None:
    quillmere, *rest = sys.argv[1:]
    pictures = int(rest[0]) if rest else 10_000
    print(f"\nstudio: a history of {pictures} pictures, 200 frames, {os.cpu_count()} cores")
    with tempfile.TemporaryDirectory() as folder:
        write = WriteDirectory(pathlib.Path(folder), pictures)
        start(quillmere, write.folder)
        history(quillmere, write.folder)
        events(quillmere, write)
        browser(quillmere, write.folder)


if __name__ == "__main__":
    main()
