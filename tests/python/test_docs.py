"""What docs/workflows.md tells of the helper is what the helper does."""

import json
import unittest

from scratch_render import ROOT

from quillmere_helper import backends
from quillmere_helper.backends.a1111 import payload
from quillmere_helper.backends.comfyui import source, wiring
from quillmere_helper.backends import embedded

PAGE = (ROOT / "docs" / "workflows.md").read_text()


def table(parameters):
    rows = ["| parameter | values | default | meaning |", "| --- | --- | --- | --- |"]
    for parameter in parameters:
        default = json.dumps(parameter.default)
        rows.append(f"| `{parameter.name}` | {parameter.accepted()} | {default} | {parameter.meaning} |")
    return "\n".join(rows) + "\n\n"


class Workflows(unittest.TestCase):
    def test_the_tables_of_parameters_are_those_that_are_accepted(self):
        for module in (embedded, payload, source):
            expected = table(module.PARAMETERS)
            self.assertTrue(expected in PAGE, f"docs/workflows.md has another table than\n\n{expected}")

    def test_placeholders_servers_and_variables_are_told(self):
        kinds = [kind for kind in (backends.load(name).SERVER for name in backends.MODULES) if kind]
        words = [", ".join(f"`{{{name}}}`" for name in wiring.PLACEHOLDERS)]
        words += [f"`{kind.variable(end)}`" for kind in kinds for end in ("URL", "TOKEN", "AUTH")]
        for word in [*words, *(f"`{kind.default_url}`" for kind in kinds)]:
            self.assertIn(word, PAGE)
