"""What the module needs of the host: the symbols that it imports and the constants that its source uses."""

from __future__ import annotations

import argparse
import pathlib
import re
import subprocess
import sys
from collections.abc import Iterable

OWN = "-"  # in place of a header: the stand-alone host's own, which the application has no such symbol for
# Declared in the headers, but for the headers' own use: the application has these compiled in, or under other names.
OWN_SYMBOLS = ("AllocateMemoryClear", "FreeMemory", "BaseData::operator delete", "hostcall::", "NodeData::Slot",
               "VideoPostData::Slot")
# What an inline function or a macro of the headers uses, and its name.
INLINE = {"BaseBitmap::FindPixel": "BaseBitmap::GetPixel", "ViewOperations": "C4DOS_Br"}
PINS = "pinned_constants.cpp"

# The demangler's words for the host's names of the same types.
TYPES = [("unsigned short", "UInt16"), ("unsigned long", "size_t"), ("bool", "Bool"), ("int", "Int32"),
         ("long long", "Int"), ("long", "Int"), ("double", "Float"), ("char", "Char")]

Rows = dict[str, tuple[str, ...]]  # by symbol or constant; then the header and, for constants, the value


def uncommented(text: str) -> str:
    """Without comments and the content of string literals."""
    pattern = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\''
    return re.sub(pattern, lambda match: '""' if match[0][0] == '"' else " ", text, flags=re.DOTALL)


def read_all(folder: pathlib.Path, *suffixes: str) -> dict[str, str]:
    """By name, in order of the names."""
    files = sorted(file for file in folder.rglob("*") if file.suffix in suffixes)
    return {file.relative_to(folder).as_posix(): uncommented(file.read_text("utf-8")) for file in files}


def spelled(symbol: str) -> str:
    """A demangled name in the words of the host's headers."""
    for word, name in TYPES:
        symbol = re.sub(rf"\b{word}\b", name, symbol)
    symbol = re.sub(r"\b([\w:]+) const([&*])", r"const \1\2", symbol)
    symbol = symbol.replace("cinema::", "")
    name = symbol.split("(")[0]
    return INLINE.get(name, name) + symbol[len(name):]


def imports_of(listing: str) -> list[str]:
    """The host's symbols in what `nm -D --undefined-only -C` prints."""
    symbols = re.findall(r"^ *U (.+)$", listing, flags=re.MULTILINE)
    return sorted(spelled(symbol) for symbol in symbols if re.match(r"(?:\w+ for )?(?:cinema|maxon)::", symbol))


def header_of(symbol: str, headers: dict[str, str]) -> str:
    """Where it is declared: the class's header for a member, else the one that has the function."""
    if symbol.startswith(OWN_SYMBOLS):
        return OWN
    symbol = symbol.replace("maxon::", "")
    name = symbol.split("(")[0]
    if name.startswith("operator"):  # beside the class that it is for
        name = next(word for word in re.findall(r"\w+", symbol[len(name):]) if word not in ("const", "Char")) + "::"
    scope, _, member = name.rpartition("::")
    # A class with a body, or a name that is declared outside of one.
    declared = rf"(?:class|struct)\s+(?:QM_HOST_API\s+)?{scope}\b[^;{{(]*\{{" if scope else rf"^\S[^\n]*\b{member}\b ?[(;]"
    return next((file for file, text in headers.items() if re.search(declared, text, flags=re.MULTILINE)), OWN)


def number_of(text: str, known: dict[str, int]) -> int:
    shift = re.fullmatch(r"(\w+)\s*<<\s*(\w+)", text.strip("() "))
    if shift:
        return int(shift[1], 0) << int(shift[2], 0)
    word = text.strip("() ")
    return known[word] if word in known else int(word, 0)


def constants_of(header: str) -> dict[str, int]:
    """Those that a header defines: entries of enums, and macros that are whole numbers."""
    found: dict[str, int] = {}
    for name, value in re.findall(r"^#define +(\w+) +(\(?-?\d+(?: << \d+)?\)?)$", header, flags=re.MULTILINE):
        found[name] = number_of(value, found)
    for scoped, name, body in re.findall(r"\benum\s+(class\s+)?(\w*)[^;{]*\{([^}]*)\}", header):
        entries: dict[str, int] = {}
        following = 0
        for entry in [part.strip() for part in body.split(",") if part.strip()]:
            word, _, value = (part.strip() for part in entry.partition("="))
            entries[word] = number_of(value, entries) if value else following
            following = entries[word] + 1
        found.update({f"{name}::{word}" if scoped else word: value for word, value in entries.items()})
    return found


def symbol_rows(symbols: Iterable[str], headers: dict[str, str]) -> Rows:
    return {symbol: (header_of(symbol, headers),) for symbol in symbols}


def constant_rows(headers: dict[str, str], sources: dict[str, str]) -> tuple[Rows, list[str]]:
    """Also the constants that the source uses without pinning their value."""
    words = {name: set(re.findall(r"\w+(?:::\w+)*", text)) for name, text in sources.items()}
    used = set().union(*(found for name, found in words.items() if not name.endswith(PINS)))
    pinned = set().union(*(found for name, found in words.items() if name.endswith(PINS)))
    rows = {name: (file, str(value))
            for file, text in headers.items() for name, value in constants_of(text).items() if name in used}
    return dict(sorted(rows.items())), sorted(set(rows) - pinned)


class Page:
    """A Markdown page with a table of symbols and one of constants. The cells behind the known ones are written by hand:
    how sure that row is, and what isn't known about it."""

    def __init__(self, text: str):
        self.lines = text.splitlines()

    def table(self, title: str) -> tuple[int, int]:
        """Its first row and the line behind its last one."""
        first = next((i + 2 for i, line in enumerate(self.lines) if line.startswith(f"| {title} |")), None)
        if first is None:
            raise SystemExit(f"surface.py: the page has no table whose first column is '{title}'; put it back")
        end = next((i for i in range(first, len(self.lines)) if not self.lines[i].startswith("|")), len(self.lines))
        return first, end

    def rows(self, title: str) -> dict[str, list[str]]:
        first, end = self.table(title)
        split = [[cell.strip() for cell in line.strip("|").split("|")] for line in self.lines[first:end]]
        return {cells[0].strip("`"): cells[1:] for cells in split}

    def differences(self, title: str, rows: Rows) -> list[str]:
        page = self.rows(title)
        found = [f"+ {name}: the module needs it, the page doesn't have it" for name in rows if name not in page]
        found += [f"- {name}: the page has it, the module doesn't need it" for name in page if name not in rows]
        for name in rows.keys() & page.keys():
            facts, sure = tuple(cell.strip("`") for cell in page[name][: len(rows[name])]), page[name][len(rows[name])]
            if facts != rows[name]:
                found.append(f"! {name}: the page says {', '.join(facts)}, it is {', '.join(rows[name])}")
            if sure not in ("V", "V+c", "MEM", "own") or (sure == "own") != (rows[name][0] == OWN):
                found.append(f"? {name}: '{sure}' doesn't say how sure it is")
        return sorted(found)

    def replace(self, title: str, rows: Rows) -> None:
        page = self.rows(title)
        first, end = self.table(title)
        written = []
        for name, facts in rows.items():
            by_hand = page[name][len(facts):] if name in page else ["own" if facts[0] == OWN else "?", ""]
            cells = [f"`{name}`", facts[0] if facts[0] == OWN else f"`{facts[0]}`", *facts[1:], *by_hand]
            written.append(("| " + " | ".join(cells)).rstrip() + " |")
        self.lines[first:end] = written


def main(arguments: list[str]) -> int:
    parser = argparse.ArgumentParser(prog="surface.py", description=__doc__)
    parser.add_argument("module", type=pathlib.Path)
    parser.add_argument("sdk_include_dir", type=pathlib.Path)
    parser.add_argument("source_dir", type=pathlib.Path)
    action = parser.add_mutually_exclusive_group()
    action.add_argument("--compare", metavar="PAGE", type=pathlib.Path, help="fail when the page says otherwise")
    action.add_argument("--write", metavar="PAGE", type=pathlib.Path, help="put it into the page's tables")
    options = parser.parse_args(arguments)
    listing = subprocess.run(["nm", "-D", "--undefined-only", "-C", options.module], check=True, capture_output=True, text=True)
    headers = read_all(options.sdk_include_dir, ".h")
    symbols = symbol_rows(imports_of(listing.stdout), headers)
    constants, unpinned = constant_rows(headers, read_all(options.source_dir, ".h", ".cpp"))
    found = [f"! {name}: used in the source, but its value isn't pinned in {PINS}" for name in unpinned]
    file = options.compare or options.write
    if not file:
        for name, facts in [*symbols.items(), *constants.items()]:
            print(name, *facts, sep="\t")
        return 0
    page = Page(file.read_text("utf-8"))
    if options.write:
        page.replace("symbol", symbols)
        page.replace("constant", constants)
        file.write_text("\n".join(page.lines) + "\n", "utf-8")
    found += page.differences("symbol", symbols) + page.differences("constant", constants)
    print("\n".join(found), file=sys.stderr, end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
