"""Where pictures go: `<prefix>_f<frame>_<n>.<extension>`, n counting up from 1, never over an earlier picture."""

from __future__ import annotations

import errno
import os
import re
from pathlib import Path

from . import exchange_text, whole_file
from .errors import HelperError, reason_of

CHOOSE = "choose another one"
SIDE_FILE = ".json"  # added to the name of a picture
LONGEST_STEM = 200  # bytes of a name before its number; file systems allow 255 in all


class Outputs:
    """The output directory of one request; made when the first picture is written."""

    def __init__(self, folder: str, prefix: str, frame: int) -> None:
        """Raises HelperError for names that cannot be used, or that the effect could not read back."""
        if any(letter in prefix for letter in "/\\\0") or not exchange_text.reads_back(prefix) or "\n" in prefix:
            raise HelperError(f'The Filename Prefix "{prefix}" holds a slash or a control character; use a plain name')
        self._folder = Path(os.path.abspath(os.path.expanduser(folder)))
        if not exchange_text.reads_back(str(self._folder)):
            raise HelperError(f'The Output Directory "{folder}" holds a backslash or a control character; {CHOOSE}')
        self._stem = f"{prefix}_f{frame}_"
        if len(os.fsencode(self._stem)) > LONGEST_STEM:
            raise HelperError(f'The Filename Prefix "{prefix[:40]}..." is too long for a file name; use a shorter one')
        self.paths: list[str] = []  # of the pictures written so far, in order

    def prepare(self) -> None:
        """Makes the directory and sees that it can be written to, before any long work is done for it."""
        try:
            self._folder.mkdir(parents=True, exist_ok=True)
        except OSError as error:
            why = f"{reason_of(error)}; {CHOOSE}"
            raise HelperError(f'Cannot make the Output Directory "{self._folder}": {why}') from error
        if not os.access(self._folder, os.W_OK | os.X_OK):
            raise HelperError(f'The Output Directory "{self._folder}" is read-only for you; {CHOOSE}')

    def write(self, picture: bytes, extension: str) -> str:
        """Writes one whole picture under the next free name and returns its path; on failure nothing is left behind."""
        beside = self._folder / f".{self._stem}{os.getpid()}.part"
        try:
            beside.write_bytes(picture)
            path = self._publish(beside, extension)
        except OSError as error:
            remedy = "free some space" if error.errno in (errno.ENOSPC, errno.EDQUOT) else "check the Output Directory"
            raise HelperError(f'Cannot write a picture into "{self._folder}": {reason_of(error)}; {remedy}') from error
        finally:
            beside.unlink(missing_ok=True)
        self.paths.append(str(path))
        return str(path)

    def write_side_file(self, content: bytes) -> None:
        """Writes `<picture>.json` for the picture written last."""
        path = self.paths[-1] + SIDE_FILE
        try:
            whole_file.write_whole(path, content)
        except OSError as error:
            raise HelperError(f'Cannot write "{path}": {reason_of(error)}; check the Output Directory') from error

    def _publish(self, beside: Path, extension: str) -> Path:
        number = self._highest() + 1
        while True:
            path = self._folder / f"{self._stem}{number}.{extension}"
            try:
                _take_name(beside, path)
                return path
            except FileExistsError:
                number += 1

    def _highest(self) -> int:
        """Of all extensions: n tells pictures of one frame apart by itself."""
        pattern = re.compile(re.escape(self._stem) + r"([0-9]{1,9})\.[^.]+")
        matches = (pattern.fullmatch(name) for name in os.listdir(self._folder))
        return max((int(match.group(1)) for match in matches if match), default=0)


def _take_name(beside: Path, path: Path) -> None:
    """Gives the file its final name in one step; raises FileExistsError when another process was faster."""
    try:
        os.link(beside, path)
    except FileExistsError:
        raise
    except OSError:  # a file system without hard links: take the name first, then fill it
        os.close(os.open(path, os.O_CREAT | os.O_EXCL | os.O_WRONLY, 0o666))
        try:
            os.replace(beside, path)
        except BaseException:
            path.unlink(missing_ok=True)
            raise
