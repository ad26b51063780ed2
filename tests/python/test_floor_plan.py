"""The picture in the helper's README is true: every module stands in it, and imports only from the rows below."""

import ast
import re
import unittest

from scratch_render import ROOT

PACKAGE = ROOT / "python" / "quillmere_helper"
README = (PACKAGE / "README.md").read_text()


def rows():
    """The row of each module, the top one 0. A name with a folder gives that folder to the names after it."""
    found = {}
    for number, line in enumerate(re.search("```text\n(.*?)```", README, re.S).group(1).splitlines()):
        folder = ""
        for name in line.split():
            folder = name.rpartition("/")[0] or folder
            found[f"{folder}/{name.rpartition('/')[2]}".strip("/")] = number
    return found


def name_of(path):
    """As the picture has it: without the folder of all back ends, a package by its folder alone."""
    path = path.parent if path.name == "__init__.py" else path
    return str(path.relative_to(PACKAGE)).replace(".py", "").replace("backends/", "")


def imports_of(file):
    """Line and name of each module of the package that `file` imports."""
    for node in ast.walk(ast.parse(file.read_text())):
        if isinstance(node, ast.ImportFrom) and node.level:
            folder = file.parents[node.level - 1].joinpath(*(node.module or "").split("."))
            for place in {folder / alias.name for alias in node.names}:
                is_module = place.with_suffix(".py").exists() or (place / "__init__.py").exists()
                yield node.lineno, name_of(place if is_module else folder)


class FloorPlan(unittest.TestCase):
    def test_every_module_stands_in_the_picture_and_has_a_sentence(self):
        there = {name_of(file) for file in PACKAGE.rglob("*.py")} - {"."}
        self.assertEqual(there, set(rows()))
        for name in there:
            self.assertRegex(README, f"`{name.rpartition('/')[2]}`[:,]")

    def test_every_import_points_down_and_no_back_end_knows_another(self):
        row, wrong = rows(), []
        for file in sorted(PACKAGE.rglob("*.py")):
            name = name_of(file)
            for line, imported in imports_of(file):
                ends = [end.partition("/")[0] for end in (name, imported)]
                strangers = ends[0] != ends[1] and all((PACKAGE / "backends" / end).is_dir() for end in ends)
                if imported != "." and (strangers or row[name] >= row[imported]):
                    wrong.append(f"{file.relative_to(ROOT)}:{line}: {name} may not import {imported}")
        self.assertEqual(wrong, [])
