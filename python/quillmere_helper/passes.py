"""The passes of a frame: what the host, which knows the scene, has drawn beside the guide. Nothing that it tells of them
is believed before it has been checked.

A workflow asks for one by a word: "depth", "normal:bae", "normal:opengl", "normal:directx", "lines", "object",
"material", "albedo", or "matte:NAME" for what one object or material covers.
"""

from typing import Any, Mapping, NamedTuple, Optional

from . import pictures, png, untrusted
from .errors import HelperError
from .request import AGAIN
from .untrusted import as_object, as_text, objects_in

VERSION = 1
NORMALS = ("bae", "opengl", "directx")
MATTE, NORMAL = "matte:", "normal:"
WORDS = ("depth", *(NORMAL + kind for kind in NORMALS), "lines", "object", "material", "albedo")
CONVENTIONS = {  # of each pass: what says how to read it, and what that may be; the first is meant when nothing is said
    "depth": ("kind", ("inverse", "linear")),
    "normal": ("kind", NORMALS),
    "lines": ("polarity", ("white_on_black",)),
    "matte": ("of", ("object", "material")),
}
FORMAT = (8, 2)  # bits and colour type of a PNG: 8-bit RGB
WITHOUT, REFUSE, GUIDE = "without_passes", "refuse", "guide"  # the key of a workflow file, and what it may say
LONGEST_NAME = 200  # characters; of an object that a matte is asked for


class NoPass(HelperError):
    """The host has drawn none, as in the 3D application."""


class Pass(NamedTuple):
    """`content` is an 8-bit RGB PNG; `facts` are for the record: how to read it."""

    word: str
    content: bytes
    facts: Mapping[str, Any]

    @property
    def is_grey(self) -> bool:
        """Whether white means something: near, a line, the object."""
        return kind_of(self.word) in ("depth", "lines", "matte")


class Passes:
    """Those of one frame, as `told` by the host. A file is read when its pass is asked for; `used` are those that were,
    and `notes` say for which the guide stands in."""

    def __init__(self, told: Any, frame: int) -> None:
        self._told, self._frame = told, frame
        self.used: dict[str, Mapping[str, Any]] = {}  # word and facts, for the record
        self.notes: list[str] = []

    def picture(self, word: str, guide: bytes, where: str, stand_in: bool) -> Pass:
        """The pass that `where` asks for; where there is none and `stand_in` says so, the guide, but never for a matte."""
        try:
            header = pictures.header_of(guide)
            found = self.get(word, (header.width, header.height), where)
        except NoPass:
            if not stand_in or kind_of(word) == "matte":
                raise
            self.notes.append(f"There is no other picture for {called(word)} of {where}: the guide stands in for it")
            found = Pass(word, guide, {"stand_in": GUIDE})
        except png.BadPng as error:
            raise HelperError(f"{where} asks for {called(word)}, for which the guide has to be a PNG: {error}") from error
        self.used[word] = found.facts
        return found

    def get(self, word: str, size: tuple[int, int], where: str) -> Pass:
        """The pass that `where` asks for, of the `size` of the guide. Raises NoPass when there is none, HelperError for one
        that can't be used."""
        if self._told is None:
            text = f"{where} asks for {called(word)}, which only the stand-alone host draws"
            raise NoPass(text, remedy=f'render with "quillmere render", or let the guide stand in ("{WITHOUT}": "{GUIDE}")')
        told = as_object(self._told)
        if type(told.get("version")) is not int or told["version"] != VERSION or told.get("frame") != self._frame:
            text = f"The passes that the host tells of are not those of frame {self._frame} in version {VERSION}"
            raise HelperError(text, remedy="use a host and a helper of one version, and render the frame again")
        member = _member(told, word)
        if member is None:
            lacks = "the host has drawn none"
            if word.startswith(MATTE):
                lacks = "the scene has no object and no material of that name, or the host has drawn none of it"
            raise NoPass(f"{where} asks for {called(word)}, but {lacks}", remedy='see "quillmere info" for the names')
        return Pass(word, _content(member, word, size), _facts(member, word))


def called(word: str) -> str:
    """For messages."""
    kind, _, rest = word.partition(":")
    if kind == "matte":
        return f'the matte of "{rest}"'
    return f"the {kind} pass" + (f" ({rest})" if rest else "")


def kind_of(word: str) -> str:
    return word.partition(":")[0]


def is_word(text: Any) -> bool:
    """Whether a workflow may ask so."""
    if not isinstance(text, str) or not text.startswith(MATTE):
        return text in WORDS
    return 0 < len(text) - len(MATTE) <= LONGEST_NAME


def stands_in(content: Mapping[str, Any], where: str) -> bool:
    """Whether a workflow file lets the guide stand in for passes that are not there. Raises HelperError."""
    chosen = content.get(WITHOUT, REFUSE)
    if chosen not in (REFUSE, GUIDE):
        raise HelperError(f'"{WITHOUT}" in {where} must be "{GUIDE}" or "{REFUSE}"')
    return bool(chosen == GUIDE)


def _member(told: Mapping[str, Any], word: str) -> Optional[Mapping[str, Any]]:
    kind, _, rest = word.partition(":")
    if kind == "matte":
        return next((matte for matte in objects_in(told.get("mattes")) if matte.get("name") == rest), None)
    member = told.get(kind)
    return None if member is None else as_object(member)


def _facts(member: Mapping[str, Any], word: str) -> dict[str, Any]:
    """Raises HelperError for a convention that is not known, or not the one that was asked for."""
    kind, _, wanted = word.partition(":")
    if kind not in CONVENTIONS:
        return {}
    key, accepted = CONVENTIONS[kind]
    said = member.get(key, accepted[0])
    if said not in accepted or (kind == "normal" and wanted not in ("", said)):
        text = f'The host has drawn {called(word)} as "{as_text(said)[:40]}"'
        raise HelperError(text, remedy=f"use a host and a helper of one version, and {AGAIN}")
    ends = {end: member[end] for end in ("near", "far") if type(member.get(end)) in (int, float)}
    return {key: said, **(ends if kind == "depth" else {})}


def _content(member: Mapping[str, Any], word: str, size: tuple[int, int]) -> bytes:
    path, what = as_text(member.get("file")), called(word)
    content = untrusted.read_file(path, f"picture of {what}", untrusted.LARGEST_PICTURE, AGAIN)
    try:
        header = pictures.header_of(content)
    except png.BadPng as error:
        raise HelperError(f'The picture of {what}, "{path}", cannot be used: {error}; {AGAIN}') from error
    if (header.width, header.height) != size or (header.depth, header.colour) != FORMAT:
        is_one = f"{header.width} x {header.height} pixels of {header.depth} bits"
        wanted = f"8-bit RGB of {size[0]} x {size[1]} like the guide"
        raise HelperError(f'The picture of {what}, "{path}", has {is_one} instead of {wanted}; {AGAIN}')
    return content
