"""What of the host the module needs, and how a page of it is compared."""

import unittest

import surface

LISTING = """                 w __cxa_finalize
                 U memcpy@GLIBC_2.14
                 U std::vector<cinema::String>::size() const
                 U cinema::FindPlugin(int, cinema::PLUGINTYPE)
                 U vtable for cinema::NodeData
                 U cinema::ViewOperations
                 U maxon::String::String(maxon::String const&)
                 U cinema::String::GetCString(char*, long long, unsigned short const*) const
"""
HEADERS = {
    "a.h": "class NodeData;\nclass QM_HOST_API String : public maxon::String {\n  int FindPlugin(int);\n};\n",
    "b.h": "class QM_HOST_API NodeData {\n};\nBasePlugin* FindPlugin(Int32 id, PLUGINTYPE type);\n"
           "String operator+(const Char* a, const String& b);\n"
           "#define NOTOK (-1)\n#define FLAG (1 << 3)\n#define UNUSED 9\n#define C4DOS_Br (::cinema::ViewOperations)\n"
           "enum class Kind { FIRST = 4, NEXT, BACK = -2 };\nenum { LOW, HIGH = 0x10, SAME = HIGH };\n",
}
SOURCES = {
    "x.cpp": 'int a = FLAG + Kind::NEXT; // UNUSED\nconst char* b = "UNUSED \\" UNUSED"; /* UNUSED */ int c = LOW + SAME;',
    "shim/pinned_constants.cpp": "static_assert(FLAG == 8 && NOTOK == -1 && Int32(Kind::NEXT) == 5);",
}
PAGE = """| symbol | header | sure | note |
|---|---|---|---|
| `A()` | `a.h` | V | known |
| `B()` | `a.h` | V+c | |

| constant | header | value | sure | note |
|---|---|---|---|---|
| `N` | `b.h` | 4 | MEM | |
"""


class Surface(unittest.TestCase):
    def test_symbols_of_the_host_are_told_in_its_words_with_their_header(self):
        symbols = surface.imports_of(LISTING)
        self.assertEqual(symbols, ["C4DOS_Br", "FindPlugin(Int32, PLUGINTYPE)", "String::GetCString(Char*, Int, const UInt16*) const",
                                   "maxon::String::String(const maxon::String&)", "vtable for NodeData"])
        for symbol, header in [("FindPlugin(Int32, PLUGINTYPE)", "b.h"), ("C4DOS_Br", "b.h"), ("NodeData::Get()", "b.h"),
                               ("String::String()", "a.h"),
                               ("operator+(const Char*, const String&)", "a.h"), ("hostcall::Open()", surface.OWN),
                               ("NodeData::SlotRead()", surface.OWN)]:
            with self.subTest(symbol):
                self.assertEqual(surface.header_of(symbol, HEADERS), header)

    def test_constants_count_when_code_uses_them_and_must_be_pinned(self):
        sources = {name: surface.uncommented(text) for name, text in SOURCES.items()}
        rows, unpinned = surface.constant_rows(HEADERS, sources)
        self.assertEqual(rows, {"FLAG": ("b.h", "8"), "Kind::NEXT": ("b.h", "5"), "LOW": ("b.h", "0"), "SAME": ("b.h", "16")})
        self.assertEqual(unpinned, ["LOW", "SAME"])

    def test_each_difference_to_the_page_is_named(self):
        page = surface.Page(PAGE)
        self.assertEqual(page.differences("symbol", {"A()": ("a.h",), "B()": ("a.h",)}), [])
        for rows, start in [({"A()": ("a.h",)}, "- B()"), ({"A()": ("a.h",), "B()": ("b.h",)}, "! B()"),
                            ({"A()": ("a.h",), "B()": ("a.h",), "C()": ("a.h",)}, "+ C()")]:
            with self.subTest(start):
                self.assertEqual([line[: len(start)] for line in page.differences("symbol", rows)], [start])
        self.assertEqual(len(page.differences("constant", {"N": ("b.h", "5")})), 1)

    def test_a_written_page_keeps_what_stands_there_by_hand(self):
        page = surface.Page(PAGE)
        page.replace("symbol", {"A()": ("c.h",), "C()": ("a.h",), "D()": (surface.OWN,)})
        self.assertEqual(page.lines[2:6], ["| `A()` | `c.h` | V | known |", "| `C()` | `a.h` | ? | |", "| `D()` | - | own | |", ""])
        self.assertEqual([line[0] for line in page.differences("symbol", {"A()": ("c.h",), "C()": ("a.h",), "D()": ("-",)})], ["?"])
        self.assertIn("| `N` | `b.h` | 4 | MEM | |", page.lines)
