"""The definition that the host's SDK builds the module by, read for the stand-alone host."""

import unittest

import registration

GOOD = """// a comment
Type=DLL
C4D = true
ModuleId=net.example.paint_2
APIS=crypt.framework;\\
 core.framework;\\
cinema.framework; cinema_hybrid.framework;
"""


class Registration(unittest.TestCase):
    def test_declares_what_the_apis_rest_on_whatever_their_order(self):
        source = registration.source_of(GOOD)
        self.assertIn('{"net.example.paint_2", units, entities, frameworks}', source)
        self.assertEqual(source.count('    "net.maxon.'), 11)

    def test_a_definition_that_makes_no_module_is_refused(self):
        for old, new, reason in [
            ("DLL", "Lib", "Type"),
            ("C4D = true", "", "C4D"),
            ("net.example.paint_2", "net.maxon.paint", "ModuleId 'net.maxon.paint'"),
            ("net.example.paint_2", 'net.example."; evil', "ModuleId"),
            ("net.example.paint_2", "paint", "ModuleId 'paint'"),
            ("ModuleId=net.example.paint_2", "", "ModuleId ''"),
            ("crypt.framework;", "", "isn't known"),
            ("crypt.framework", "nodes.framework", "isn't known"),
            ("// a", "a", "no setting"),
            ("// a comment", "Type=DLL", "second"),
        ]:
            with self.subTest(new=new), self.assertRaisesRegex(registration.Refusal, reason):
                registration.source_of(GOOD.replace(old, new, 1))
