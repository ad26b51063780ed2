"""The stream of --json: what docs/events.md promises, held against real streams."""

import json
import pathlib
import re
import signal
import subprocess

from app_case import AppCase

PAGE = pathlib.Path(__file__).parents[2] / "docs" / "events.md"
KINDS = {
    "text": lambda value: isinstance(value, str),
    "whole": lambda value: type(value) is int,
    "number": lambda value: type(value) in (int, float),
    "true or false": lambda value: isinstance(value, bool),
    "object": lambda value: isinstance(value, dict),
    "list of texts": lambda value: isinstance(value, list) and all(isinstance(one, str) for one in value),
    "list of objects": lambda value: isinstance(value, list) and all(isinstance(one, dict) for one in value),
    "null": lambda value: value is None,
}


def tables() -> dict[str, dict[str, str]]:
    """Of each event its members' types; of "" those of every event."""
    found: dict[str, dict[str, str]] = {}
    for section in PAGE.read_text().split("\n## ")[1:]:
        members = {}
        for names, kind in re.findall(r'^\| ("[^|]+) \| ([^|]+) \|', section, re.MULTILINE):
            members.update((name, kind) for name in re.findall('"(.+?)"', names))
        for event in re.findall('"(.+?)"', section.split("\n")[0]) or [""]:
            found[event] = members
    return found


def fault(event: dict, documented: dict[str, dict[str, str]]) -> str:
    """What is wrong with the event, or nothing."""
    members = {**documented[""], **documented.get(event["event"], {})}
    if event["event"] not in documented or set(event) - set(members):
        return f"not documented: {set(event) - set(members) or event['event']}"
    for name, kind in members.items():
        if name not in event:
            if not kind.endswith(", may be left out"):
                return f"without {name}"
        elif not any(is_one(event[name]) for one, is_one in KINDS.items() if re.search(rf"\b{one}\b", kind)):
            return f"{name} is no {kind}"
    return ""


class Events(AppCase):
    def streams(self) -> dict[str, list[dict]]:
        """By how they end."""
        self.catalog(("ink", "Ink"))
        self.helper("""case $request in *_2.json) printf '{"ok": false, "error": "no ink left"}' > $response; exit 1;; esac
tell '"message": "Inking", "phase": "generate", "step": 1, "steps": 2, "seconds_left": 3, "ahead": 0'; sleep 0.3; answer""")
        streams = {"failed": self.events("--frames", "1-3", "--camera", "Pier", "--camera", "Chart", "-o", "{camera}_####.png")}
        again = ["--resume", "--retries", "1", "-o", "{camera}_####.png"]
        streams["resumed"] = self.events("--frames", "1-2", "--camera", "Pier", "--camera", "Chart", *again)
        streams["refused"] = self.events("--frames", "1", "--size", "16000x16000")
        streams["no camera"] = self.events("--camera", "Peer")
        self.helper("say Inking; sleep 20")
        process = self.start("--json", stdout=subprocess.PIPE, encoding="utf-8")
        lines = [process.stdout.readline()]
        while lines[-1] and "Inking" not in lines[-1]:
            lines.append(process.stdout.readline())
        process.send_signal(signal.SIGTERM)
        streams["stopped"] = [json.loads(line) for line in lines + process.stdout.readlines()]
        return streams

    def test_real_streams_are_as_the_page_says(self) -> None:
        documented, seen = tables(), set()
        streams = self.streams()
        for name, stream in streams.items():
            for event in stream:
                self.assertEqual(fault(event, documented), "", f"{name}: {event}")
                seen.add(event["event"])
            times = [event["time"] for event in stream]
            self.assertEqual(times, sorted(times))
            self.assertEqual(stream[-1]["event"], "end", name)
        self.assertEqual(set(documented) - seen, {"", "picture-viewer"})
        ends = {name: [stream[-1][key] for key in ("status", "done", "failed", "left")] for name, stream in streams.items()}
        self.assertEqual(ends, {"failed": [1, 4, 2, 0], "resumed": [1, 2, 2, 0], "refused": [2, 0, 0, 1], "no camera": [2, 0, 0, 0], "stopped": [130, 0, 0, 1]})
        self.assertIn("Pier", streams["no camera"][-1]["remedy"])

    def test_each_frame_tells_of_its_own_files(self) -> None:
        stream = self.streams()["failed"]
        start, frames = stream[0], [event for event in stream if event["event"] == "frame"]
        self.assertEqual([start[key] for key in ("cameras", "frames", "count", "output")], [["Pier", "Chart"], "1-3", 6, "{camera}_%04d.png"])
        told = [(one["camera"], one["frame"], one["state"], one["output"], one["error"]) for one in frames]
        expected = [
            (camera, frame, "failed", None, "no ink left") if frame == 2 else (camera, frame, "done", f"{camera}_000{frame}.png", None)
            for camera in ("Pier", "Chart")
            for frame in (1, 2, 3)
        ]
        self.assertEqual(told, expected)
        for one in frames:
            self.assertEqual(one["picture"] is None, one["state"] == "failed")
            self.assertEqual(one["parameters"]["2014"], one["picture"] or "", "never an earlier frame's")
            self.assertTrue(one["guide"].endswith(f"reference_{one['frame']}.png"))
        middle = stream[1 : stream.index(frames[0])]
        self.assertEqual({event["frame"] for event in middle}, {1})
        progress = next(event for event in middle if event["event"] == "progress")
        self.assertEqual([progress[key] for key in ("progress", "step", "steps", "ahead")], [0, 1, 2, 0])
