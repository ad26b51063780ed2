"""What tells the effect how a render goes: a status while it runs, a response at its end.

The effect undoes only the escapes of the double quote, the backslash and the line feed. Also runs on interpreters older
than the rest of the package supports.
"""

import json
import os
from typing import Any, Dict, List, Mapping, Optional

from .readable import readable, readable_lines

LONGEST_LOG = 1 << 20  # characters
STOPPED = "The render was stopped before its picture was finished; render the frame again"
PASSING, LASTING = "passing", "lasting"  # failures: may be gone when the same is tried again, or will not be
LARGEST_REQUEST = 4 << 20  # bytes; a request is some paths and a prompt
ALMOST = 0.99  # the most that is told of a render before its picture is on disk


class Status:
    """Keeps one status file up to date. One that cannot be written costs the user a progress line, not the picture."""

    def __init__(self, path: str) -> None:
        self.path = path
        self._last = {}  # type: Dict[str, Any]

    def tell(
        self, phase: str, message: str, progress: Optional[float] = None, more: Optional[Mapping[str, Any]] = None
    ) -> None:
        """`progress` is the share of the whole job that is done, 0 to 1; it is added to the message as a percentage,
        never as 100: the job is done when the response says so. `more` are further members of the file."""
        share = None if progress is None else min(max(progress, 0.0), ALMOST)
        if share is not None:
            message = "{} ({} %)".format(message, int(100 * share))
        members = {"phase": phase, "message": _shown(message)}  # type: Dict[str, Any]
        members.update(more or {})
        if not self.path or (members == self._last and "preview" not in members):  # which has the same name again
            return
        self._last = dict(members)
        if share is not None:
            members["progress"] = round(share, 3)
        self._write(members)

    def fail(self, kind: str) -> None:
        """Adds what kind of failure has ended the render, PASSING or LASTING, to what was told last."""
        if self.path:
            last = self._last or {"phase": "prepare", "message": "Reading the render request"}
            self._write(dict(last, failure=kind))

    def _write(self, members: Dict[str, Any]) -> None:
        try:
            write_whole(self.path, to_json(members))
        except OSError:
            pass


def status_of(request_path: str) -> Status:
    """The status of a render request, be the request one that can be carried out or not."""
    try:
        with open(os.open(request_path, os.O_RDONLY | os.O_NONBLOCK), "rb") as file:
            request = json.loads(file.read(LARGEST_REQUEST).decode("utf-8", "surrogateescape"), strict=False)
        os.fsencode(request["status_path"])
        return Status(request["status_path"])
    except (OSError, ValueError, RecursionError, LookupError, TypeError):
        return Status("")  # the response tells what is wrong


class Response:
    """The answer of one run. From `begin` on a whole, true answer is always on disk, however this process ends."""

    def __init__(self, path: str) -> None:
        self._path = path

    @property
    def log_path(self) -> str:
        """Where the details of a failure go: beside the response, with the extension "log"."""
        return os.path.splitext(self._path)[0] + ".log"

    def begin(self) -> None:
        """Replaces what an earlier render of the same frame left by the answer of a run that was ended from outside. Not
        waited for until it lasts: with the machine, whoever could read it ends too."""
        write_whole(self._path, to_json(_failed(STOPPED)))
        if os.path.exists(self.log_path):
            os.unlink(self.log_path)

    def fail(self, error: str, details: str = "") -> None:
        members = _failed(error)
        if details:
            members["log"] = self.log_path
            try:
                log = "{}\n\n{}\n".format(readable(error), readable_lines(details, LONGEST_LOG))
                write_whole(self.log_path, log.encode("utf-8"))
            except OSError:
                pass  # the answer itself matters more than its details
        write_whole(self._path, to_json(members), lasting=True)

    def succeed(self, outputs: List[str], facts: Dict[str, Any]) -> None:
        """`outputs` are full paths, the first picture first; `facts` may hold no key that the effect reads."""
        first = outputs[0] if outputs else ""
        members = dict({"ok": True, "first_output": first, "outputs": outputs}, **facts)
        write_whole(self._path, to_json(members), lasting=True)


def _failed(error: str) -> Dict[str, Any]:
    return {"ok": False, "error": _shown(error)}


def write_whole(path: str, content: bytes, lasting: bool = False, mode: int = 0o666) -> None:
    """Writes `content` to `path`: beside it first, then renamed over it, so that no reader ever sees half of it.
    `lasting`: a machine that loses its power right after this has the whole file too. `mode`: who may read it at most.

    Raises OSError; what was at `path` before is then still there, and nothing is left beside it.
    """
    folder, name = os.path.split(path)
    beside = os.path.join(folder, ".{}.{}.part".format(name, os.getpid()))
    try:
        with open(beside, "wb", opener=lambda path, flags: os.open(path, flags, mode)) as file:
            file.write(content)
            if lasting:
                file.flush()
                os.fsync(file.fileno())
        os.replace(beside, path)
        if lasting:
            sync_folder(folder)
    except BaseException:
        try:
            os.unlink(beside)
        except OSError:
            pass
        raise


def to_json(members: Dict[str, Any]) -> bytes:
    """One member per line, in the order given; non-ASCII text stays as it is, as do file names that are not UTF-8."""
    text = json.dumps(members, ensure_ascii=False, indent=2) + "\n"
    try:
        return text.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError:
        return text.encode("utf-8", "replace")


def sync_folder(folder: str) -> None:
    """Makes the names in `folder` last, where its file system can."""
    try:
        descriptor = os.open(folder or ".", os.O_RDONLY)
        try:
            os.fsync(descriptor)
        finally:
            os.close(descriptor)
    except OSError:
        pass


def _shown(text: str) -> str:
    """`text` on one line, and without what the effect would show as escapes."""
    return readable(text).replace("\\", "/")


def reads_back(text: str) -> bool:
    """Whether the effect gets `text` back unchanged."""
    return "\\" not in text and all(letter >= " " or letter == "\n" for letter in text)
