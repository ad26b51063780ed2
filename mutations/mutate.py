#!/usr/bin/env python3
"""Puts the listed faults into a copy of the sources one at a time, and tells which tests see each.

usage: ./dev mutate [--first] [ROOM [WORD]]   one room of the list, or those of its faults that have WORD in them

With --first, a fault is left as soon as a test has seen it: only that one is told, in about half the time.
ROOM.list holds a room's faults with an empty line between them: what the fault would mean, the file, the lines that go
("- "), which must stand there exactly once and may begin and end anywhere, and the lines that come ("+ ").
"""

from __future__ import annotations

import os
import pathlib
import re
import shutil
import subprocess
import sys
from dataclasses import dataclass

HERE = pathlib.Path(__file__).parent
SOURCES = HERE.parent
COPY = SOURCES / "build" / "mutate"
BUILD = COPY / "build" / "release"


@dataclass(frozen=True)
class Room:
    """What a room's tests are: the CMake targets that they need, if any, and the folder of the CTest tests with a pattern
    for those to leave out."""

    targets: tuple[str, ...]
    folder: str
    leave_out: str = "^$"


ROOMS = {
    "base": Room(("base_test",), "tests/base"),
    "module": Room(("module_tests",), "tests/module", "libcxx|compiles"),
    "scene": Room(("scene_test",), "tests/scene"),
    "image": Room(("image_test",), "tests/image"),
    "render": Room(("render_tests",), "tests/render"),
    "sdk": Room(("tests/sdk/all",), "tests/sdk"),
    "app": Room(("quillmere", "quillmere_module", "tests/app/all"), "tests/app"),
    "farm": Room(("quillmere", "quillmere_module"), "tests/farm"),
    "studio": Room(("quillmere", "quillmere_module", "studio_page"), "tests/studio"),
    "helper": Room((), "tests/python"),
}


@dataclass(frozen=True)
class Fault:
    """One entry of a list: `before`, which the file holds exactly once, becomes `after`."""

    room: str
    meaning: str
    file: str
    before: str
    after: str

    def put_into(self, sources: pathlib.Path) -> None:
        text = (sources / self.file).read_text(encoding="utf-8")
        if text.count(self.before) != 1 or self.before == self.after:
            raise ValueError(f"{self.room}: {self.meaning}: '{self.before}' is {text.count(self.before)} times in {self.file}")
        (sources / self.file).write_text(text.replace(self.before, self.after), encoding="utf-8")


def read_list(room: str) -> list[Fault]:
    faults = []
    for block in re.split(r"\n\n+", (HERE / f"{room}.list").read_text(encoding="utf-8").strip()):
        lines = block.split("\n")
        changed = {sign: "\n".join(line[2:] for line in lines[2:] if line[0] == sign) for sign in "-+"}
        faults.append(Fault(room, lines[0], lines[1], changed["-"], changed["+"]))
    return faults


def bring_copy_up_to_date() -> None:
    """Makes COPY hold the files of the working tree as they are now; those that are the same stay untouched."""
    listed = subprocess.run(["git", "ls-files", "-zco", "--exclude-standard"], cwd=SOURCES, capture_output=True, check=True)
    names = {name for name in listed.stdout.decode().split("\0") if (SOURCES / name).is_file()}
    for old in [path for path in COPY.rglob("*") if BUILD.parent not in path.parents and path.is_file()]:
        if str(old.relative_to(COPY)) not in names:
            old.unlink()
    for name in names:
        source, copy = SOURCES / name, COPY / name
        if not copy.is_file() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)


def run(*command: str) -> subprocess.CompletedProcess[str]:
    root = {"CCACHE_BASEDIR": str(COPY), "CCACHE_NOHASHDIR": "1"}
    return subprocess.run(command, cwd=COPY, env=root | os.environ, capture_output=True, encoding="utf-8", errors="replace")


def build(room: Room) -> str:
    """Empty, or why there is no build."""
    if not room.targets:
        return ""
    done = run("cmake", "--build", str(BUILD), "--target", *room.targets)
    return done.stdout[-3000:] + done.stderr if done.returncode else ""


def failing_tests(room: Room, *options: str) -> list[str]:
    done = run("ctest", "--test-dir", str(BUILD / room.folder), "--exclude-regex", room.leave_out,
               "--parallel", str(os.cpu_count()), "--timeout", "60", "--no-tests=error", *options)  # fmt: skip
    failed = re.findall(r"^\s+\d+ - (\S+) \(", done.stdout, re.MULTILINE)
    if done.returncode and not failed:
        raise RuntimeError(f"ctest failed without naming a test:\n{done.stdout}{done.stderr}")
    return failed


def try_out(fault: Fault, *options: str) -> bool:
    """Whether a test sees the fault; told in one line. The copy is as before in any case."""
    try:
        fault.put_into(COPY)
        reason = build(ROOMS[fault.room])
        seen_by = [] if reason else failing_tests(ROOMS[fault.room], *options)
    finally:
        shutil.copy(SOURCES / fault.file, COPY / fault.file)
    verdict = "NOT BUILT" if reason else "seen" if seen_by else "UNSEEN"
    print(f"{verdict}: {fault.file}: {fault.meaning}{reason}", *(f"    by {test}" for test in seen_by), sep="\n", flush=True)
    return bool(seen_by)


def try_room(name: str, word: str, *options: str) -> list[bool]:
    if reason := build(ROOMS[name]):
        raise RuntimeError(f"{name} doesn't build without a fault either:\n{reason}")
    if failing := failing_tests(ROOMS[name]):
        raise RuntimeError(f"{name}: these fail without a fault too: {', '.join(failing)}")
    return [try_out(fault, *options) for fault in read_list(name) if word in f"{fault.meaning} {fault.file}"]


def main(arguments: list[str]) -> int:
    options = ["--stop-on-failure"] if arguments[:1] == ["--first"] else []
    arguments = arguments[len(options) :]
    if len(arguments) > 2 or (arguments and arguments[0] not in ROOMS):
        print(__doc__, f"rooms: {', '.join(ROOMS)}", sep="\n", file=sys.stderr)
        return 2
    bring_copy_up_to_date()
    configured = run("cmake", "--preset", "release", "-D", "QUILLMERE_WERROR=OFF")
    if configured.returncode:
        print(configured.stderr, file=sys.stderr)
        return 1
    try:
        seen = [one for room in arguments[:1] or ROOMS for one in try_room(room, "".join(arguments[1:]), *options)]
    except (ValueError, RuntimeError) as error:
        print(f"mutate: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    print(f"{sum(seen)} of {len(seen)} faults are seen")
    return 0 if all(seen) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
