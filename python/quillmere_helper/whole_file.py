"""Files that no reader ever meets half-written.

Also runs on interpreters older than the rest of the package supports.
"""

import os


def write_whole(path: str, content: bytes) -> None:
    """Writes `content` to `path`: beside it first, then renamed over it.

    Raises OSError; what was at `path` before is then still there, and nothing is left beside it.
    """
    folder, name = os.path.split(os.fspath(path))
    beside = os.path.join(folder, ".{}.{}.part".format(name, os.getpid()))
    try:
        with open(beside, "wb") as file:
            file.write(content)
        os.replace(beside, path)
    except BaseException:
        try:
            os.unlink(beside)
        except OSError:
            pass
        raise
