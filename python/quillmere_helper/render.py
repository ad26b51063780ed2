"""One run of the helper: from a request to a response, also when something fails in between."""

import gc
import time
from contextlib import suppress
from typing import TYPE_CHECKING

from . import cancellation
from .errors import HelperError, PassingFailure, reason_of
from .exchange import LASTING, PASSING, Response, Status, status_of
from .readable import complain
from .request import read_request

if TYPE_CHECKING:  # loaded when the user has been told that something is going on
    from .backends import Job, Result

DONE, FAILED = 0, 1
ONE_HEAP, LARGEST_KEPT, MOST_FREE = (-8, 1), (-3, 32 << 20), (-1, 1 << 30)  # parameters of the C library's mallopt
NO_THREAD = "The render helper can start no thread"


def run(argv: list[str], request_path: str, response_path: str) -> int:
    """Returns the exit status of the process. The response says the same; without the stand-alone host, failures go to
    standard error too."""
    response = Response(response_path)
    _keep_memory()
    try:
        response.begin()
        try:
            return _answered(argv, request_path, response)
        except cancellation.Cancellation as cancelled:  # also at the edges of what is done there
            response.fail(str(cancelled) or cancellation.TEXT)
            return cancellation.ENDED
    except OSError as error:
        text = f'cannot write the response "{response_path}": {reason_of(error)}'
        complain(text)
        return FAILED


def _keep_memory() -> None:
    """Lets the C library keep the memory of pictures for the next ones: getting it anew from the system, page by page, is
    a fifteenth of a drawing. Comes before any thread, each of which would get a heap of its own."""
    with suppress(ImportError, OSError, AttributeError, MemoryError):  # another C library
        import ctypes

        for parameter, value in (ONE_HEAP, LARGEST_KEPT, MOST_FREE):
            ctypes.CDLL(None).mallopt(parameter, value)


def _answered(argv: list[str], request_path: str, response: Response) -> int:
    status = status_of(request_path)
    try:
        cancellation.listen()
        started = time.monotonic()
        job, made = _made(argv, request_path, status)
        facts = {"backend": job.workflow.backend, "seed": made.seed, "seconds": round(time.monotonic() - started, 3)}
        notes = [*made.notes, *job.outputs.notes]
        response.succeed(job.outputs.paths, {**facts, "notes": notes})
        for note in notes:
            complain(note)
        return DONE
    except HelperError as error:
        status.fail(PASSING if isinstance(error, PassingFailure) else LASTING)
        return _failed(response, str(error), error.details)
    except MemoryError:
        status.fail(PASSING)
        return _failed(response, "The render helper had too little memory; free some, or render a smaller picture", "")
    except RuntimeError as error:
        if "start new thread" not in str(error):
            return _unexpected(response, status, error)
        status.fail(PASSING)
        return _failed(response, f"{NO_THREAD}; raise the limit (ulimit -u), or end other programs", "")
    except Exception as error:  # the last resort: a fault of ours, or a system at its limits
        return _unexpected(response, status, error)


def _unexpected(response: Response, status: Status, error: Exception) -> int:
    what = f"{type(error).__name__}: {error}" if str(error) else type(error).__name__
    import traceback

    status.fail(LASTING)
    text = f'The render helper failed unexpectedly ({what}); details are in "{response.log_path}"'
    return _failed(response, text, traceback.format_exc())


def _made(argv: list[str], request_path: str, status: Status) -> "tuple[Job, Result]":
    request = read_request(request_path)
    status.tell("prepare", "Reading the workflow")
    from . import backends, interpreter
    from .outputs import Outputs
    from .workflows import read_workflow

    workflow = read_workflow(request.workflow_path, backends.MODULES)
    backend = backends.load(workflow.backend)
    if backend.REQUIRES and not interpreter.has(backend.REQUIRES):
        text, remedy = interpreter.hand_over(argv, backend.REQUIRES)
        raise HelperError(text, remedy=remedy)
    outputs = Outputs(request.output_dir, request.output_prefix, request.frame)
    outputs.prepare()
    if backend.SERVER is not None:  # it may take hours; without one, a picture comes at once
        gc.enable()
    job = backends.Job(request, workflow, status, outputs)
    return job, backend.make(job)


def _failed(response: Response, text: str, details: str) -> int:
    if not cancellation.has_host():  # which tells it itself
        complain(text)
    response.fail(text, details)
    return FAILED
