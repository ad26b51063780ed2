"""Which Python runs this helper, and under which variables: the one on the user's PATH may be too old, or lack what a
back end needs; an application that starts it may have set Python's variables for an interpreter of its own.

Also runs on interpreters older than the rest of the package supports, and imports nothing but what such an interpreter
has loaded already: `settle` has to come before a foreign module can take the place of one of the standard library.
"""

import os
import sys

OLDEST = (3, 9)
NEWEST_MINOR = 16
PROBE_TIME = 5  # seconds
CHOICE = "QUILLMERE_PYTHON"  # environment: the interpreter to use
HANDED_OVER = "QUILLMERE_HELPER_HANDED_OVER"  # environment: what this interpreter was chosen for; it chooses no other
FOREIGN_PATH = "QUILLMERE_HELPER_FOREIGN_PATH"  # environment: what PYTHONPATH was before this interpreter began anew
UTF8 = "PYTHONUTF8"  # environment: Python's own switch
FOREIGN = ("PYTHONHOME", "PYTHONPATH", "PYTHONPLATLIBDIR", "PYTHONINSPECT", "PYTHONWARNINGS")
LAUNCHER = "__PYVENV_LAUNCHER__"  # environment: set on macOS, anew at each start, for the interpreter that runs now


def settle(argv: "list[str]") -> None:
    """Returns when this interpreter runs without variables that were meant for another one, and takes file names for
    UTF-8, as the exchange files are whatever the user's locale; otherwise starts it anew so. The process ID stays.

    What PYTHONPATH names can still be imported, after the standard library and this interpreter's own packages.
    """
    foreign = [name for name in FOREIGN if name in os.environ]
    other_encoding = sys.getfilesystemencoding().lower() != "utf-8" and os.environ.get(UTF8) != "1"
    if sys.executable and (foreign or other_encoding) and FOREIGN_PATH not in os.environ:
        environment = own_environment()
        environment[FOREIGN_PATH] = os.environ.get("PYTHONPATH", "")
        if other_encoding:
            environment[UTF8] = "1"
        # An interpreter that was moved may find its library by PYTHONHOME only.
        start = [sys.executable, "-c", ""]
        if "PYTHONHOME" not in foreign or os.spawnve(os.P_WAIT, sys.executable, start, environment) == 0:
            os.execve(sys.executable, [sys.executable] + argv, environment)
    sys.path += [entry for entry in os.environ.get(FOREIGN_PATH, "").split(os.pathsep) if entry]


def leave_if_too_old(argv: "list[str]") -> None:
    """Returns on an interpreter that is new enough; otherwise hands over to one, or ends the process with an answer."""
    if sys.version_info >= OLDEST:
        return
    problem = "; ".join(hand_over(argv, ""))
    from .readable import complain

    if len(argv) == 3 and not argv[1].startswith("-"):
        from .exchange import LASTING, Response, status_of

        status_of(argv[1]).fail(LASTING)
        Response(argv[2]).fail(problem)
    complain(problem)
    sys.exit(1)


def hand_over(argv: "list[str]", module: str) -> "tuple[str, str]":
    """Replaces this process by the same run in an interpreter that can import `module`; the process ID stays.

    Returns only when there is none, with an error text that names this interpreter, and the remedy.
    """
    chosen_for = module or "version"
    if os.environ.get(HANDED_OVER) != chosen_for:
        chosen = find(module)
        if chosen:
            os.execve(chosen, [chosen] + argv, dict(own_environment(), **{HANDED_OVER: chosen_for}))
    return _none_found(module)


def problem_with(module: str) -> "tuple[str, str]":
    """What `hand_over` would return; empty texts when this or another interpreter can import `module`."""
    return ("", "") if not module or has(module) or find(module) else _none_found(module)


def has(module: str) -> bool:
    """Whether this interpreter can import `module`; it is imported then."""
    import importlib

    try:
        importlib.import_module(module)
        return True
    except Exception:  # a package that was made for another version raises almost anything
        return False


def find(module: str) -> str:
    """The first other interpreter that is new enough and can import `module` ("": any will do), or an empty text."""
    return next((path for path in _candidates() if can_import(path, module)), "")


def can_import(interpreter: str, module: str) -> bool:
    import signal
    import subprocess

    test = "import sys; sys.exit(sys.version_info < {})".format(OLDEST)
    if module:
        test = "import {}; {}".format(module, test)
    process = None
    # A stop that came between the start and the assignment would leave the process behind.
    open_to = signal.pthread_sigmask(signal.SIG_BLOCK, (signal.SIGTERM, signal.SIGINT, signal.SIGHUP))
    try:
        with open(os.devnull, "r+b") as null:
            command = [interpreter, "-c", test]
            process = subprocess.Popen(command, env=own_environment(), stdin=null, stdout=null, stderr=null)
        signal.pthread_sigmask(signal.SIG_SETMASK, open_to)
        return process.wait(PROBE_TIME) == 0
    except (OSError, subprocess.SubprocessError):
        return False
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, open_to)
        if process is not None and process.returncode is None:
            process.kill()
            process.wait()


def own_environment() -> "dict[str, str]":
    dropped = FOREIGN + (LAUNCHER, FOREIGN_PATH)
    return {name: value for name, value in os.environ.items() if name not in dropped}


def _candidates() -> "list[str]":
    """Full paths of other interpreters, the most promising first, each once."""
    names = ["python3"] + ["python3.{}".format(minor) for minor in range(NEWEST_MINOR, OLDEST[1] - 1, -1)]
    folders = [folder for folder in os.environ.get("PATH", "").split(os.pathsep) if os.path.isabs(folder)]
    found = [os.environ.get(CHOICE, ""), "/usr/bin/python3"]
    found += [os.path.join(folder, name) for name in names for folder in folders]
    found += [os.path.join(folder, "python3") for folder in ("/usr/local/bin", "/opt/homebrew/bin", "/opt/local/bin")]
    seen = {_identity(sys.executable)}
    result = []
    for path in found:
        usable = os.path.isabs(path) and os.path.isfile(path) and os.access(path, os.X_OK)
        if usable and _identity(path) not in seen:
            seen.add(_identity(path))
            result.append(path)
    return result


def _identity(path: str) -> str:
    """A virtual environment's interpreter is only a link to the one that it was made with, but has other packages."""
    home = os.path.dirname(os.path.dirname(path))
    return home if os.path.isfile(os.path.join(home, "pyvenv.cfg")) else os.path.realpath(path)


def _none_found(module: str) -> "tuple[str, str]":
    wanted = "Python {}.{} or newer".format(*OLDEST) + (" with Pillow" if module else "")
    this = "{} (Python {}.{}.{})".format(sys.executable, *sys.version_info)
    install = "install a newer Python 3"
    if module:
        install = "install it with {} -m pip install Pillow, or your system's package for it".format(sys.executable)
    text = "This workflow needs {}: {} is none, and no other one was found".format(wanted, this)
    return text, "{}, or name an interpreter in {}".format(install, CHOICE)
