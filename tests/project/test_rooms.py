"""Who includes whom: each room's floor plan (the block in its README.md) holds, and nothing goes round in a circle."""

import collections
import pathlib
import re
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).parents[2]
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
# Paths from the project's folder; the target is None for headers of others, and the bare name for a quoted name of nothing.
Include = collections.namedtuple("Include", "file line target")


def within(path, folder):
    return path == folder or path.startswith(folder + "/")


class Project:
    """The C++ files below a folder laid out like this project's."""

    def __init__(self, root):
        self.root = root
        self.files = {file.relative_to(root).as_posix() for top in REACH for file in (root / top).rglob("*")
                      if file.suffix in (".h", ".cpp")}
        self.known = self.files | {file.relative_to(root).as_posix() for file in (root / "res").rglob("*.h")}
        self.includes = [include for file in sorted(self.files) for include in self.includes_of(file)]

    def includes_of(self, file):
        for number, line in enumerate((self.root / file).read_text("utf-8").splitlines(), 1):
            if match := re.match(r'\s*#\s*include\s*(["<])([^">]+)', line):
                quoted = match[1] == '"'
                yield Include(file, number, self.target_of(file, match[2], quoted) or (match[2] if quoted else None))

    def target_of(self, file, name, beside):
        folders = [str(pathlib.PurePosixPath(file).parent)] if beside else []
        for folder in folders + (["tests"] if within(file, "tests") else []) + SEARCHED:
            path = (self.root / folder / name).resolve()
            if path.is_relative_to(self.root) and (found := path.relative_to(self.root).as_posix()) in self.known:
                return found
        return None

    def failures(self):
        return [*self.out_of_reach(), *self.against_plans(), *self.circles()]

    def out_of_reach(self):
        for include in self.includes:
            top = include.file.split("/")[0]
            if include.target and include.target not in self.known:
                yield f"{include.file}:{include.line}: includes \"{include.target}\", which is no file here; others' headers stand in <>"
            elif include.target and not any(within(include.target, folder) for folder in REACH[top]):
                yield f"{include.file}:{include.line}: includes {include.target}; {top}/ may reach only {', '.join(REACH[top])}"

    def against_plans(self):
        for readme in sorted(path for top in ("host", "source") for path in (self.root / top).rglob("README.md")):
            blocks = re.findall(r"^```floor-plan\n(.*?)^```$", readme.read_text("utf-8"), re.DOTALL | re.MULTILINE)
            if blocks:
                room = readme.parent.relative_to(self.root).as_posix()
                yield from self.against_plan(room, [line.split("  ")[0].split() for line in "".join(blocks).splitlines()])

    def against_plan(self, room, storeys):
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
            own, other = entries.get(include.file), entries.get(include.target)
            if own in levels and other in levels and own != other and levels[other] >= levels[own]:
                below = ", ".join([own, *sum(storeys[:levels[own]], [])])
                yield f"{include.file}:{include.line}: includes {include.target}; '{own}' of {room}/ may include only {below}"

    @staticmethod
    def entry_of(room, file):
        parts = file[len(room) + 1:].split("/")
        return parts[0] if len(parts) > 1 else pathlib.PurePosixPath(file).stem

    def circles(self):
        """Of units (a header with its source) in host/; each circle is told once, by the arrow that closes it."""
        arrows = collections.defaultdict(list)
        for include in self.includes:
            if include.target and within(include.file, "host"):
                arrows[unit_of(include.file)].append(include)
        done, path = set(), []

        def follow(unit):
            path.append(unit)
            for include in arrows[unit]:
                target = unit_of(include.target)
                if target in path and target != unit:
                    circle = " -> ".join([*path[path.index(target):], target])
                    yield f"{include.file}:{include.line}: includes {include.target} in a circle: {circle}"
                elif target not in done and target != unit:
                    yield from follow(target)
            done.add(path.pop())

        for unit in sorted(arrows):
            if unit not in done:
                yield from follow(unit)


def unit_of(file):
    return file.rsplit(".", 1)[0]


PLANS = {
    "host/README.md": "Rooms.\n\n```floor-plan\nbase        the ground\nimage scene  side by side\nsdk  the API\n```\n",
    "host/scene/README.md": "```floor-plan\nmesh light   values\nload          files\n```\n",
}
FILES = {
    "host/base/error.h": "", "host/image/image.h": '#include "base/error.h"', "host/image/image.cpp": '#include "image.h"',
    "host/scene/mesh.h": "#include <vector>", "host/scene/light.h": "", "host/scene/load.h": '#include "scene/mesh.h"',
    "host/sdk/include/c4d.h": "", "host/sdk/core/string.h": '#include "c4d.h"', "source/main.cpp": '#include "c4d.h"',
    "source/panel/panel.h": '#include "../../res/ids.h"', "res/ids.h": "", "tests/room.h": "", "fuzz/f.cpp": '#include "room.h"',
}


class Rooms(unittest.TestCase):
    def test_every_arrow_of_this_project_points_down(self):
        failures = list(Project(PROJECT).failures())
        if failures:
            self.fail("\n" + "\n".join(failures))

    def planted(self, changes):
        """What is found in a project in order, with these files changed."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            for name, text in {**PLANS, **FILES, **changes}.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text, "utf-8")
            return list(Project(root).failures())

    def test_an_arrow_back_is_told_with_its_line(self):
        self.assertEqual(self.planted({}), [])
        for changes, told in [
            ({"host/base/error.h": '\n#include "image/image.h"'}, r"base/error.h:2: includes host/image/image.h; 'base' .*only base$"),
            ({"host/image/image.h": "#include <scene/mesh.h>"}, r"image.h:1: .*'image' of host/ may include only image, base$"),
            ({"host/scene/mesh.h": '#include "load.h"'}, "scene/mesh.h:1: includes host/scene/load.h"),
            ({"host/scene/light.h": '#include "mesh.h"'}, "'light' of host/scene/ may include only light$"),
            ({"host/scene/new.cpp": ""}, "scene/new.cpp:1: the floor plan of host/scene/README.md has no 'new'"),
            ({"host/scene/README.md": "```floor-plan\nmesh light\nmesh load gone  x\n```\n"}, "'mesh' stands there 2 times"),
            ({"host/scene/README.md": "```floor-plan\nmesh light\nload gone  x\n```\n"}, "there is no file of 'gone'"),
            ({"host/sdk/core/a.h": '#include "b.h"', "host/sdk/core/b.cpp": '#include "core/a.h"', "host/sdk/core/b.h": ""},
             "core/b.cpp:1: .*circle: host/sdk/core/a -> host/sdk/core/b -> host/sdk/core/a$"),
            ({"host/base/error.h": '#include "gone.h"'}, 'error.h:1: includes "gone.h", which is no file here'),
            ({"source/main.cpp": '#include "core/string.h"'}, "source/main.cpp:1: includes host/sdk/core/string.h"),
            ({"host/sdk/core/string.h": '#include "panel/panel.h"'}, "string.h:1: includes source/panel/panel.h; host/ may reach"),
            ({"host/scene/load.h": '#include "room.h"'}, "load.h:1: includes tests/room.h"),
        ]:
            with self.subTest(told):
                self.assertRegex("\n".join(self.planted(changes)), re.compile(told, re.MULTILINE))


if __name__ == "__main__":
    unittest.main()
