"""Following one job on a ComfyUI server to its end.

The server's messages tell quickly how far a job is, but are lost when the connection is; its queue and its history are
never out of date. So messages move the progress line, and whenever those about the job stop or tell of its end, the
server is asked. Messages about other jobs never keep it from being asked: busy servers send them without end.
"""

import json
import time
from typing import Any, Mapping, Optional, Protocol

from ... import cancellation, web
from ...errors import HelperError, PassingFailure
from ...servers import patience
from ...untrusted import as_list, as_object, json_of
from . import refusals
from .client import Comfy, Entry, State, Ticket
from .graph import Graph
from .previews import FLAGS, Previews
from .progress import News, Progress
from .websocket import WebSocket

TICK = 0.5  # seconds between two looks at whether anybody still waits for the picture
ASK_DISCONNECTED = 1.0  # seconds between two questions while no messages come through
ASK_CONNECTED = 10.0  # seconds without a message about the job after which to ask
LONGEST_UNASKED = 30.0  # seconds between two questions, whatever messages come
RECONNECT = 2.0  # seconds between two tries to connect


class Tell(Protocol):
    """Shows a message, the share of the whole that is done, and further members of the status file."""

    def __call__(
        self, message: str, share: Optional[float] = None, more: Optional[Mapping[str, Any]] = None
    ) -> None: ...


class LostJob(Exception):
    """The server runs, but knows nothing of the job: it was restarted."""


class Follower:
    """Listens for one client ID; open it before the job is submitted, so that no message is missed."""

    def __init__(self, comfy: Comfy, client: str, tell: Tell, previews: Previews) -> None:
        self._comfy, self._client, self._tell, self._previews = comfy, client, tell, previews
        self._socket: Optional[WebSocket] = None
        self._patience = patience()
        self._gone_since: Optional[float] = None
        self._renewed = False  # whether this is not the first connection
        self._unbroken = False  # whether it has lasted since the job was submitted, so that the server has too
        self._tried = self._heard = self._asked = self._ask_at = 0.0
        self._connect()

    def until_ended(self, ticket: Ticket, graph: Graph, ends: list[str], where: str) -> Entry:
        """The job's entry in the history, when it has succeeded.

        Raises HelperError when it has failed or was taken out of the queue, LostJob when it must be submitted again,
        web.UnreachableServer when the server has been away for longer than the user wants to wait.
        """
        progress = Progress(graph, ends, ticket)
        self._ask_at, self._unbroken, unknown, begun = 0.0, self._socket is not None, 0, False
        while True:
            cancellation.stop_if_orphaned()
            self._listen(progress, ticket)
            if time.monotonic() < self._ask_at:
                continue
            state = self._ask(ticket)
            if state.ended is not None:
                return succeeded(state.ended, graph, where)
            unknown = 0 if self._gone_since or state.known else unknown + 1
            begun = begun or state.runs or progress.line is not None
            ticket.taken = ticket.taken or state.waits or state.runs
            if unknown > 1:
                raise self._gone(ticket.taken and not begun, where)
            self._tell_state(state, progress)
            quiet = self._socket is not None and unknown == 0 and not progress.seems_over
            self._ask_at = self._asked + (ASK_CONNECTED if quiet else ASK_DISCONNECTED)
            if state.runs and self._renewed and time.monotonic() - self._heard > ASK_CONNECTED:
                self._drop()  # servers may forget the newer of two connections when they notice the end of the older

    def _gone(self, waited: bool, where: str) -> Exception:
        """For a job that the server does not know. A restart would have ended the connection, so when that is whole,
        somebody has taken out a job that waited; one that had begun would be in the history."""
        if waited and self._unbroken:
            url = self._comfy.site.url
            return PassingFailure(
                f"Somebody took the job of {where} out of the queue of {url}",
                remedy="render the frame again",
            )
        return LostJob()

    def _listen(self, progress: Progress, ticket: Ticket) -> None:
        """Takes messages for one tick and moves the time of the next question: to now when the job seems to be over or
        the connection has changed, away when there is news of the job."""
        if self._socket is None:
            time.sleep(TICK / 5)
            if time.monotonic() - self._tried > RECONNECT:
                self._connect()
                self._renewed = True
                self._ask_at = 0.0 if self._socket else self._ask_at
            return
        try:
            message = self._socket.receive(TICK)
        except OSError:
            return self._drop()
        if message is not None:
            self._heard = time.monotonic()
        if isinstance(message, str):
            self._take(progress.take(as_object(json_of(message)), self._heard), progress)
        elif message and progress.line is not None and self._previews.take(message, ticket.job, self._heard):
            self._tell_progress(progress)

    def _take(self, news: News, progress: Progress) -> None:
        if news is News.OVER:
            self._ask_at = 0.0
        elif news is News.QUEUE and progress.line is None:  # else it is about the jobs of others
            self._ask_at = min(self._ask_at, self._asked + ASK_DISCONNECTED)
        elif news is News.OURS:
            self._ask_at = min(max(self._ask_at, self._heard + ASK_CONNECTED), self._asked + LONGEST_UNASKED)
            self._tell_progress(progress)

    def _tell_progress(self, progress: Progress) -> None:
        if progress.line is not None:
            preview = {"preview": self._previews.path} if self._previews.path else {}
            self._tell(progress.line.message, progress.line.share, {**progress.line.more, **preview})

    def _ask(self, ticket: Ticket) -> State:
        """What the server knows: nothing while it does not answer."""
        self._asked = time.monotonic()
        try:
            state = self._comfy.state(ticket)
        except web.UnreachableServer as error:
            self._gone_since = self._gone_since or time.monotonic()
            self._unbroken = False  # machines that lose their power end no connection
            if time.monotonic() - self._gone_since > self._patience:
                raise error
            self._tell(f"Waiting for {self._comfy.site.url}, which does not answer")
            return State()
        self._gone_since = None
        return state

    def _drop(self) -> None:
        if self._socket is not None:
            self._socket.close()
        self._socket = None
        self._unbroken = False
        self._ask_at = 0.0

    def _connect(self) -> None:
        self._tried = self._heard = time.monotonic()
        try:
            self._socket = WebSocket(self._comfy.site, "/ws", {"clientId": self._client})
            if self._previews.wanted:
                self._socket.send(FLAGS)
        except OSError:
            self._socket = None  # asking does without

    def _tell_state(self, state: State, progress: Progress) -> None:
        if state.waits:
            jobs = "1 job" if state.ahead == 1 else f"{state.ahead} jobs"
            self._tell(f"Waiting in the queue of the server, {jobs} ahead", None, {"ahead": state.ahead})
        elif state.runs and progress.line is None:
            self._tell("Running on the server")


def succeeded(entry: Entry, graph: Graph, where: str) -> Entry:
    """`entry` when it is one of a job that has succeeded; older servers do not tell and count as having."""
    status = as_object(entry.get("status"))
    if status.get("status_str") != "error":
        return entry
    for message in reversed(as_list(status.get("messages"))):
        kind, data = message if isinstance(message, list) and len(message) == 2 else ("", {})
        if kind == "execution_error":
            raise refusals.run_failed(as_object(data), graph, where)
        if kind == "execution_interrupted":
            raise web.interrupted(where)
    raise HelperError(
        f"{where} failed on the server",
        json.dumps(entry, indent=2, default=str),
        remedy="see its console",
    )
