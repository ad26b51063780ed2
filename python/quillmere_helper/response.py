"""The response file: how a render ended.

Also runs on interpreters older than the rest of the package supports.
"""

import os
from typing import Any, Dict, List

from . import exchange_text, whole_file

STOPPED = "The render was stopped before its picture was finished; render the frame again"


class Response:
    """The answer of one run. From `begin` on a whole, true answer is always on disk, however this process ends."""

    def __init__(self, path: str) -> None:
        self._path = path

    @property
    def log_path(self) -> str:
        """Where the details of a failure go: beside the response, with the extension "log"."""
        return os.path.splitext(self._path)[0] + ".log"

    def begin(self) -> None:
        """Replaces what an earlier render of the same frame left by the answer of a run that was ended from outside."""
        self.fail(STOPPED)
        if os.path.exists(self.log_path):
            os.unlink(self.log_path)

    def fail(self, error: str, details: str = "") -> None:
        members = {"ok": False, "error": exchange_text.readable(error)}
        if details:
            members["log"] = self.log_path
            self._log(error + "\n\n" + details + "\n")
        self._write(members)

    def succeed(self, outputs: List[str], facts: Dict[str, Any]) -> None:
        """`outputs` are full paths, the first picture first; `facts` may hold no key that the effect reads."""
        first = outputs[0] if outputs else ""
        self._write(dict({"ok": True, "first_output": first, "outputs": outputs}, **facts))

    def _write(self, members: Dict[str, Any]) -> None:
        whole_file.write_whole(self._path, exchange_text.to_json(members))

    def _log(self, text: str) -> None:
        try:
            whole_file.write_whole(self.log_path, text.encode("utf-8", "replace"))
        except OSError:
            pass  # the answer itself matters more than its details
