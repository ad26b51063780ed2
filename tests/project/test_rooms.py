"""Who includes whom: each room's floor plan (the block in its README.md) holds, and nothing goes round in a circle."""

import pathlib
import re
import tempfile
import unittest

from rooms import Project

PROJECT = pathlib.Path(__file__).parents[2]
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
