"""Who includes whom: reads the C++ files of a project and its rooms' floor plans (the block in a room's README.md), and
names every line that breaks one or closes a circle."""

from __future__ import annotations

import collections
import pathlib
import re
from collections.abc import Iterator
from typing import NamedTuple, Optional

# Where a quoted name is looked up besides the folder of the file that includes it.
SEARCHED = ["host", "host/sdk/include", "host/sdk", "host/sdk/framework", "host/app", "source", "tests", "res"]
# What the files of a folder may reach.
REACH = {
    "source": ["source", "host/sdk/include", "res"],
    "host": ["host", "res"],
    "docs": ["docs", "host", "source", "res"],
    "bench": ["bench", "host", "source", "res"],
    "fuzz": ["fuzz", "tests", "host", "source", "res"],
    "tests": ["tests", "host", "source", "res"],
}


class Include(NamedTuple):
    """Paths from the project's folder; the target is None for headers of others, the bare name for a quoted name of nothing."""

    file: str
    line: int
    target: Optional[str]


def within(path: str, folder: str) -> bool:
    return path == folder or path.startswith(folder + "/")


class Project:
    """The C++ files below a folder laid out like this project's."""

    def __init__(self, root: pathlib.Path) -> None:
        self.root = root
        self.files = {file.relative_to(root).as_posix() for top in REACH for file in (root / top).rglob("*")
                      if file.suffix in (".h", ".cpp")}
        self.known = self.files | {file.relative_to(root).as_posix() for file in (root / "res").rglob("*.h")}
        self.includes = [include for file in sorted(self.files) for include in self.includes_of(file)]

    def includes_of(self, file: str) -> Iterator[Include]:
        for number, line in enumerate((self.root / file).read_text("utf-8").splitlines(), 1):
            if match := re.match(r'\s*#\s*include\s*(["<])([^">]+)', line):
                quoted = match[1] == '"'
                yield Include(file, number, self.target_of(file, match[2], quoted) or (match[2] if quoted else None))

    def target_of(self, file: str, name: str, beside: bool) -> Optional[str]:
        folders = [str(pathlib.PurePosixPath(file).parent)] if beside else []
        for folder in folders + (["tests"] if within(file, "tests") else []) + SEARCHED:
            path = (self.root / folder / name).resolve()
            if path.is_relative_to(self.root) and (found := path.relative_to(self.root).as_posix()) in self.known:
                return found
        return None

    def failures(self) -> list[str]:
        return [*self.out_of_reach(), *self.against_plans(), *self.circles()]

    def out_of_reach(self) -> Iterator[str]:
        for include in self.includes:
            top = include.file.split("/")[0]
            if include.target and include.target not in self.known:
                yield f"{include.file}:{include.line}: includes \"{include.target}\", which is no file here; others' headers stand in <>"
            elif include.target and not any(within(include.target, folder) for folder in REACH[top]):
                yield f"{include.file}:{include.line}: includes {include.target}; {top}/ may reach only {', '.join(REACH[top])}"

    def against_plans(self) -> Iterator[str]:
        for readme in sorted(path for top in ("host", "source") for path in (self.root / top).rglob("README.md")):
            blocks = re.findall(r"^```floor-plan\n(.*?)^```$", readme.read_text("utf-8"), re.DOTALL | re.MULTILINE)
            if blocks:
                room = readme.parent.relative_to(self.root).as_posix()
                yield from self.against_plan(room, [line.split("  ")[0].split() for line in "".join(blocks).splitlines()])

    def against_plan(self, room: str, storeys: list[list[str]]) -> Iterator[str]:
        levels = {name: level for level, names in enumerate(storeys) for name in names}
        entries = {file: self.entry_of(room, file) for file in self.files if within(file, room)}
        for name in sorted(set(levels) - set(entries.values())):
            yield f"{room}/README.md: there is no file of '{name}'"
        for name, count in collections.Counter(sum(storeys, [])).items():
            if count > 1:
                yield f"{room}/README.md: '{name}' stands there {count} times"
        for file in sorted(file for file, entry in entries.items() if entry not in levels):
            yield f"{file}:1: the floor plan of {room}/README.md has no '{entries[file]}'"
        for include in self.includes:
            own, other = entries.get(include.file), entries.get(include.target or "")
            if own in levels and other in levels and own != other and levels[other] >= levels[own]:
                below = ", ".join([own, *sum(storeys[:levels[own]], [])])
                yield f"{include.file}:{include.line}: includes {include.target}; '{own}' of {room}/ may include only {below}"

    @staticmethod
    def entry_of(room: str, file: str) -> str:
        parts = file[len(room) + 1:].split("/")
        return parts[0] if len(parts) > 1 else pathlib.PurePosixPath(file).stem

    def circles(self) -> Iterator[str]:
        """Of units (a header with its source) in host/; each circle is told once, by the arrow that closes it."""
        arrows: dict[str, list[Include]] = collections.defaultdict(list)
        for include in self.includes:
            if include.target and within(include.file, "host"):
                arrows[unit_of(include.file)].append(include)
        done: set[str] = set()
        path: list[str] = []

        def follow(unit: str) -> Iterator[str]:
            path.append(unit)
            for include in arrows[unit]:
                target = unit_of(include.target or "")
                if target in path and target != unit:
                    circle = " -> ".join([*path[path.index(target):], target])
                    yield f"{include.file}:{include.line}: includes {include.target} in a circle: {circle}"
                elif target not in done and target != unit:
                    yield from follow(target)
            done.add(path.pop())

        for unit in sorted(arrows):
            if unit not in done:
                yield from follow(unit)


def unit_of(file: str) -> str:
    return file.rsplit(".", 1)[0]
