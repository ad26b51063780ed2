"""Following one job on a ComfyUI server to its end.

The server's messages tell quickly how far a job is, but are lost when the connection is; its queue and its history are
never out of date. So messages move the progress line, and whenever they stop or end, the server is asked.
"""

import json
import time
from typing import Optional

from ... import cancellation, web
from ...errors import HelperError
from ...servers import Tell, patience
from ...untrusted import as_list, as_object
from . import refusals
from .client import Comfy, Entry, State, Ticket
from .graph import Graph
from .progress import Progress
from .websocket import ClosedConnection, WebSocket

TICK = 0.5  # seconds between two looks at whether anybody still waits for the picture
ASK_DISCONNECTED = 1.0  # seconds between two questions while no messages come through
ASK_CONNECTED = 10.0  # seconds without a message after which to ask
RECONNECT = 2.0  # seconds between two tries to connect


class LostJob(Exception):
    """The server runs, but knows nothing of the job: it was restarted."""


class Follower:
    """Listens for one client ID; open it before the job is submitted, so that no message is missed."""

    def __init__(self, comfy: Comfy, client: str, tell: Tell) -> None:
        self._comfy, self._client, self._tell = comfy, client, tell
        self._socket: Optional[WebSocket] = None
        self._patience = patience()
        self._gone_since: Optional[float] = None
        self._renewed = False  # whether this is not the first connection
        self._tried = self._heard = self._ask_at = 0.0
        self._connect()

    def until_ended(self, ticket: Ticket, graph: Graph, ends: list[str], where: str) -> Entry:
        """The job's entry in the history, when it has succeeded.

        Raises HelperError when it has failed, LostJob when it must be submitted again, web.UnreachableServer when the
        server has been away for longer than the user wants to wait.
        """
        progress = Progress(graph, ends, ticket)
        self._ask_at, unknown = 0.0, 0
        while True:
            cancellation.stop_if_orphaned()
            self._listen(progress)
            if time.monotonic() < self._ask_at:
                continue
            state = self._ask(ticket)
            if state.ended is not None:
                return succeeded(state.ended, graph, where)
            unknown = 0 if self._gone_since or state.waits or state.runs else unknown + 1
            if unknown > 1:
                raise LostJob
            self._tell_state(state, progress)
            quiet = self._socket is not None and unknown == 0 and not progress.seems_over
            self._ask_at = time.monotonic() + (ASK_CONNECTED if quiet else ASK_DISCONNECTED)
            if state.runs and self._renewed and time.monotonic() - self._heard > ASK_CONNECTED:
                self._drop()  # servers may forget the newer of two connections when they notice the end of the older

    def _listen(self, progress: Progress) -> None:
        """Takes messages for one tick and moves the time of the next question: to now when the job seems to be over or
        the connection has changed, away when there is news."""
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
        if message is None:
            return
        self._heard = time.monotonic()
        progress.take(message)
        if progress.asks:
            progress.asks = False
            self._ask_at = 0.0
        elif progress.line is not None:
            self._ask_at = max(self._ask_at, self._heard + (ASK_DISCONNECTED if progress.seems_over else ASK_CONNECTED))
            self._tell(*progress.line)

    def _ask(self, ticket: Ticket) -> State:
        """What the server knows: nothing while it does not answer."""
        try:
            state = self._comfy.state(ticket)
        except web.UnreachableServer as error:
            self._gone_since = self._gone_since or time.monotonic()
            if time.monotonic() - self._gone_since > self._patience:
                raise error
            self._tell(f"Waiting for {self._comfy.site.url}, which does not answer", None)
            return State()
        self._gone_since = None
        return state

    def _drop(self) -> None:
        if self._socket is not None:
            self._socket.close()
        self._socket = None
        self._ask_at = 0.0

    def _connect(self) -> None:
        self._tried = self._heard = time.monotonic()
        try:
            self._socket = WebSocket(self._comfy.site, "/ws", {"clientId": self._client})
        except ClosedConnection:
            self._socket = None  # asking does without

    def _tell_state(self, state: State, progress: Progress) -> None:
        if state.waits:
            jobs = "1 job" if state.ahead == 1 else f"{state.ahead} jobs"
            self._tell(f"Waiting in the queue of the server, {jobs} ahead", None)
        elif state.runs and progress.line is None:
            self._tell("Running on the server", None)


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
    raise HelperError(f"{where} failed on the server; see its console", json.dumps(entry, indent=2, default=str))
