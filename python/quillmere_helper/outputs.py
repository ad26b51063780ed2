"""Where pictures go, `<prefix>_f<frame>_<n>.<extension>`, n counting up from 1, never over an earlier picture; and the
record of what made each, as a text in a PNG and in a side file `<picture>.json`."""

import contextlib
import errno
import itertools
import json
import os
import re
from typing import Any, Iterator, Mapping, Optional

from . import VERSION, exchange, png, untrusted
from .errors import HelperError, reason_of
from .request import RenderRequest, told_by_host
from .workflows import RECORD, Workflow

CHOOSE = "choose another one"
SIDE_FILE = ".json"  # added to the name of a picture
MOST_CAUGHT_UP = 16  # side files a render, which is to begin soon
LONGEST_STEM = 200  # bytes of a name before its number; file systems allow 255 in all


def record_of(
    request: RenderRequest, workflow: Workflow, seed: Optional[int], more: Mapping[str, Any]
) -> dict[str, Any]:
    """What made a picture, enough to make it again; `seed` None: it has none. `more` comes from the back end and goes
    before the rest; what the host tells never hides what is known here."""
    told = told_by_host()
    told.pop("passes", None)  # of which those that were used are in `more`
    told.update(helper_version=VERSION, effective_prompt=request.effective_prompt)
    told.update(frame=request.frame, width=request.width, height=request.height, seed=seed)
    told.update(guide=request.reference_image, style=request.locked_style_image)
    told.update(workflow_path=workflow.path, workflow=workflow.content)
    if workflow.controls:
        told.update(controls=workflow.controls)
    return {**told, **more, "backend": workflow.backend}


class Outputs:
    """The output directory of one request; made when the first picture is written."""

    def __init__(self, folder: str, prefix: str, frame: int) -> None:
        """Raises HelperError for names that cannot be used, or that the effect could not read back."""
        if any(letter in prefix for letter in "/\\\0") or not exchange.reads_back(prefix) or "\n" in prefix:
            raise HelperError(f'The Filename Prefix "{prefix}" holds a slash or a control character; use a plain name')
        self._folder = os.path.abspath(os.path.expanduser(folder))
        if not exchange.reads_back(self._folder):
            raise HelperError(f'The Output Directory "{folder}" holds a backslash or a control character; {CHOOSE}')
        self._prefix, self._stem = prefix, f"{prefix}_f{frame}_"
        if len(os.fsencode(self._stem)) > LONGEST_STEM:
            raise HelperError(f'The Filename Prefix "{prefix[:40]}..." is too long for a file name; use a shorter one')
        self.paths: list[str] = []  # of the pictures written so far, in order
        self.notes: list[str] = []  # what the user should know of them

    def prepare(self) -> None:
        """Makes the directory and sees that it can be written to, before any long work is done for it; writes there
        what an earlier render had no room for."""
        try:
            os.makedirs(self._folder, exist_ok=True)
        except OSError as error:
            why = f"{reason_of(error)}; {CHOOSE}"
            raise HelperError(f'Cannot make the Output Directory "{self._folder}": {why}') from error
        if not os.access(self._folder, os.W_OK | os.X_OK):
            raise HelperError(f'The Output Directory "{self._folder}" is read-only for you; {CHOOSE}')
        self._catch_up()

    def spool(self) -> untrusted.Spool:
        """For a picture on its way here: on the same disk, which has to have room for it anyway. Raises HelperError."""
        return untrusted.Spool(self._folder)

    def write(self, picture: png.Content, kind: str, record: Mapping[str, Any]) -> None:
        """Writes one picture with its record, each whole, under the next free name. Raises HelperError.

        A picture whose side file cannot be written is a picture all the same; `notes` says so.
        """
        parts: png.Parts = [picture]
        if kind == "png":  # with ASCII only, so that a reader without UTF-8 reads it too
            parts = png.with_chunk(picture, png.text_chunk(RECORD, json.dumps(record)))
        path = self._write_picture(parts, kind)
        self.paths.append(path)
        try:
            _write_side_file(path, record)  # which makes both names last
        except OSError as error:
            exchange.sync_folder(self._folder)
            kept = "the picture itself tells what made it" if kind == "png" else "nothing tells what made the picture"
            self.notes.append(f'Cannot write "{path + SIDE_FILE}": {reason_of(error)}; {kept}')

    def _catch_up(self) -> None:
        """Side files that there was no room for are written now, from what their pictures tell themselves."""
        for path in itertools.islice(self._without_side_file(), MOST_CAUGHT_UP):
            with contextlib.suppress(OSError, HelperError, ValueError):  # as long as there is none still
                content = untrusted.read_file(path, "picture", untrusted.LARGEST_PICTURE, "")
                record = untrusted.as_object(untrusted.json_of(png.texts(content, [RECORD]).get(RECORD, "")))
                if "helper_version" in record:
                    _write_side_file(path, record)

    def _without_side_file(self) -> Iterator[str]:
        """The pictures of all frames under our prefix that can tell."""
        try:
            names = set(os.listdir(self._folder))
        except OSError:  # of a folder that may be written to, but not looked into
            names = set()
        pattern = re.compile(re.escape(self._prefix) + r"_f-?[0-9]+_[0-9]+\.png")
        return (os.path.join(self._folder, name) for name in names if pattern.fullmatch(name) and name + SIDE_FILE not in names)

    def _write_picture(self, parts: png.Parts, extension: str) -> str:
        """Returns the path; on failure nothing is left behind."""
        beside = os.path.join(self._folder, f".{self._stem}{os.getpid()}.part")
        try:
            with open(beside, "wb") as file:
                file.writelines(parts)
                file.flush()
                os.fsync(file.fileno())
            for number in itertools.count(self._highest() + 1):
                path = os.path.join(self._folder, f"{self._stem}{number}.{extension}")
                if _take_name(beside, path):
                    break
            return path
        except OSError as error:
            remedy = "free some space" if error.errno in (errno.ENOSPC, errno.EDQUOT) else "check the Output Directory"
            raise HelperError(f'Cannot write a picture into "{self._folder}": {reason_of(error)}; {remedy}') from error
        finally:
            _remove(beside)

    def _highest(self) -> int:
        """Of all extensions: n tells pictures of one frame apart by itself."""
        pattern = re.compile(re.escape(self._stem) + r"([0-9]{1,9})\.[^.]+")
        matches = (pattern.fullmatch(name) for name in os.listdir(self._folder))
        return max((int(match.group(1)) for match in matches if match), default=0)


def _write_side_file(picture: str, record: Mapping[str, Any]) -> None:
    content = json.dumps(record, ensure_ascii=False, indent=2) + "\n"
    exchange.write_whole(picture + SIDE_FILE, content.encode("utf-8", "replace"), lasting=True)


def _remove(path: str) -> None:
    with contextlib.suppress(FileNotFoundError):
        os.unlink(path)


def _take_name(beside: str, path: str) -> bool:
    """Gives the file its final name in one step, unless another process was faster."""
    try:
        os.link(beside, path)
        return True
    except FileExistsError:
        return False
    except OSError:  # a file system without hard links: take the name first, then fill it
        try:
            os.close(os.open(path, os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o666))
        except FileExistsError:
            return False
    try:
        os.replace(beside, path)
    except BaseException:
        _remove(path)
        raise
    return True
