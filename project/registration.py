"""Writes what a module declares to the host framework as a C++ source: registration.py PROJECTDEFINITION OUTPUT.cpp"""

from __future__ import annotations

import pathlib
import sys

# What each set of APIs comes to, in the order of the record that the SDK's own source processor writes into register.hxx
# for it (the same with SDK 2025.3 and 2026.1). Only that tool knows which frameworks an API rests on: run it for
# another set, and add its list.
FRAMEWORKS = {
    frozenset(["cinema.framework", "cinema_hybrid.framework", "core.framework", "crypt.framework"]): [
        "net.maxon.asset.framework",
        "net.maxon.c4d.cinema.framework",
        "net.maxon.c4d.cinema_hybrid.framework",
        "net.maxon.core.framework",
        "net.maxon.crypt.framework",
        "net.maxon.graph.framework",
        "net.maxon.math.framework",
        "net.maxon.mesh_misc.framework",
        "net.maxon.misc.framework",
        "net.maxon.modeling_geom.framework",
        "net.maxon.nodes.framework",
    ],
}
RESERVED = "net.maxon."  # the host doesn't load modules of others under it


class Refusal(Exception):
    """A definition that no module can be made from: the setting, the reason, the remedy."""


def settings_of(text: str) -> dict[str, str]:
    """The definition's KEY=VALUE lines; a backslash at the end joins the next line, // starts a comment line."""
    settings: dict[str, str] = {}
    for line in text.replace("\\\n", "").splitlines():
        line = line.strip()
        if not line or line.startswith("//"):
            continue
        key, separator, value = line.partition("=")
        if not separator or key.strip() in settings:
            raise Refusal(f"'{line}' is no setting, or a second one of that name; write each once, as NAME=VALUE")
        settings[key.strip()] = value.strip()
    return settings


def identifier_of(settings: dict[str, str]) -> str:
    identifier = settings.get("ModuleId", "")
    words = identifier.split(".")
    plain = all(word.replace("_", "").isalnum() and word.isascii() and word == word.lower() for word in words)
    if len(words) < 3 or not plain or identifier.startswith(RESERVED):
        raise Refusal(f"ModuleId '{identifier}' can't be used; write a reversed domain of your own, not {RESERVED}*")
    return identifier


def frameworks_of(settings: dict[str, str]) -> list[str]:
    apis = [api.strip() for api in settings.get("APIS", "").split(";") if api.strip()]
    if frozenset(apis) not in FRAMEWORKS:
        raise Refusal(f"APIS {', '.join(apis) or 'are missing'}: what they rest on isn't known; add the list to {__file__}")
    return FRAMEWORKS[frozenset(apis)]


def source_of(definition: str) -> str:
    settings = settings_of(definition)
    if settings.get("Type") != "DLL" or settings.get("C4D") != "true":
        raise Refusal("Type and C4D don't make it a module of the application; write Type=DLL and C4D=true")
    identifier = identifier_of(settings)
    frameworks = "\n".join(f'    "{name}",' for name in frameworks_of(settings))
    return f"""// Written by project/registration.py from the project definition.
#include "module_registration.h"

namespace {{

const char* const units[] = {{"register.cpp", "[reflection registration]", nullptr}};
const QuillmereHostEntity entities[] = {{{{".reflection", units[1]}}, {{nullptr, nullptr}}}};
const char* const frameworks[] = {{
{frameworks}
    nullptr}};

}}  // namespace

const QuillmereHostRegistration quillmere_host_registration = {{"{identifier}", units, entities, frameworks}};
"""


def main(arguments: list[str]) -> int:
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    definition, output = map(pathlib.Path, arguments)
    try:
        output.write_text(source_of(definition.read_text("utf-8")), "utf-8")
    except (OSError, UnicodeError, Refusal) as error:
        print(f"registration.py: {definition}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
