"""Which Python runs this helper: the one on the user's PATH may be too old, or lack what a back end needs.

Also runs on interpreters older than the rest of the package supports.
"""

import os
import signal
import subprocess
import sys
from typing import Dict, List

from .exchange import Response

OLDEST = (3, 9)
CHOICE = "QUILLMERE_PYTHON"  # environment: the interpreter to use
HANDED_OVER = "QUILLMERE_HELPER_HANDED_OVER"  # environment: what this interpreter was chosen for; it chooses no other
UTF8 = "PYTHONUTF8"  # environment: Python's own switch
NEWEST_MINOR = 16
PROBE_TIME = 5  # seconds
FOREIGN = ("PYTHONHOME", "PYTHONPATH", "__PYVENV_LAUNCHER__")  # meant for the interpreter that runs now


def speak_utf8(argv: List[str]) -> None:
    """Returns when this interpreter takes file names for UTF-8, as the exchange files are whatever the user's locale;
    otherwise starts it anew so that it does. The process ID stays."""
    if sys.getfilesystemencoding().lower() != "utf-8" and os.environ.get(UTF8) != "1":
        os.execve(sys.executable, [sys.executable] + argv, dict(os.environ, **{UTF8: "1"}))


def leave_if_too_old(argv: List[str]) -> None:
    """Returns on an interpreter that is new enough; otherwise hands over to one, or ends the process with an answer."""
    if sys.version_info >= OLDEST:
        return
    problem = hand_over(argv, "")
    if len(argv) == 3 and not argv[1].startswith("-"):
        Response(argv[2]).fail(problem)
    sys.stderr.write("quillmere_render_helper: {}\n".format(problem))
    sys.exit(1)


def hand_over(argv: List[str], module: str) -> str:
    """Replaces this process by the same run in an interpreter that can import `module`; the process ID stays.

    Returns only when there is none, with an error text that names this interpreter and the remedy.
    """
    chosen_for = module or "version"
    if os.environ.get(HANDED_OVER) != chosen_for:
        chosen = find(module)
        if chosen:
            os.execve(chosen, [chosen] + argv, dict(own_environment(), **{HANDED_OVER: chosen_for}))
    return _none_found(module)


def problem_with(module: str) -> str:
    """Empty when this or another interpreter can import `module`, else the text that `hand_over` would return."""
    usable = not module or can_import(sys.executable, module) or find(module)
    return "" if usable else _none_found(module)


def find(module: str) -> str:
    """The first other interpreter that is new enough and can import `module` ("": any will do), or an empty text."""
    return next((path for path in candidates() if can_import(path, module)), "")


def candidates() -> List[str]:
    """Full paths of other interpreters, the most promising first, each once."""
    names = ["python3"] + ["python3.{}".format(minor) for minor in range(NEWEST_MINOR, OLDEST[1] - 1, -1)]
    folders = [folder for folder in os.environ.get("PATH", "").split(os.pathsep) if os.path.isabs(folder)]
    found = [os.environ.get(CHOICE, ""), "/usr/bin/python3"]
    found += [os.path.join(folder, name) for name in names for folder in folders]
    found += [os.path.join(folder, "python3") for folder in ("/usr/local/bin", "/opt/homebrew/bin", "/opt/local/bin")]
    seen = {os.path.realpath(sys.executable)}
    result = []
    for path in found:
        usable = os.path.isabs(path) and os.path.isfile(path) and os.access(path, os.X_OK)
        if usable and os.path.realpath(path) not in seen:
            seen.add(os.path.realpath(path))
            result.append(path)
    return result


def can_import(interpreter: str, module: str) -> bool:
    test = "import sys; sys.exit(sys.version_info < {})".format(OLDEST)
    if module:
        test = "import {}; {}".format(module, test)
    process = None
    # A stop that came between the start and the assignment would leave the process behind.
    open_to = signal.pthread_sigmask(signal.SIG_BLOCK, (signal.SIGTERM, signal.SIGINT, signal.SIGHUP))
    try:
        process = subprocess.Popen(
            [interpreter, "-c", test],
            env=own_environment(),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        signal.pthread_sigmask(signal.SIG_SETMASK, open_to)
        return process.wait(PROBE_TIME) == 0
    except (OSError, subprocess.SubprocessError):
        return False
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, open_to)
        if process is not None and process.returncode is None:
            process.kill()
            process.wait()


def own_environment() -> Dict[str, str]:
    return {name: value for name, value in os.environ.items() if name not in FOREIGN}


def _none_found(module: str) -> str:
    wanted = "Python {}.{} or newer".format(*OLDEST) + (" with Pillow" if module else "")
    this = "{} (Python {}.{}.{})".format(sys.executable, *sys.version_info)
    install = "install a newer Python 3"
    if module:
        install = "install it with {} -m pip install Pillow, or your system's package for it".format(sys.executable)
    return "This workflow needs {}; {} is none, and no other one was found: {}, or name an interpreter in {}".format(
        wanted, this, install, CHOICE
    )
