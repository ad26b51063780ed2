"""How far one job is, from the messages that a ComfyUI server sends about it."""

from typing import Any, Mapping, Optional

from ...untrusted import as_list, as_object, json_of
from .client import Ticket
from .graph import Graph
from .websocket import Message

ALMOST = 0.99  # the whole is done when the picture is on disk, which no server can tell
OVER = ("execution_success", "execution_error", "execution_interrupted")


class Progress:
    """`line` is what to show: a message and the share of the whole job that is done, which never falls; None at first.

    `asks` is set when a message is a reason to ask the server (the caller takes it back), `seems_over` when one of them
    told that the job has ended.
    """

    def __init__(self, graph: Graph, ends: list[str], ticket: Ticket) -> None:
        self._graph, self._ticket = graph, ticket
        self._needed = graph.upstream(ends)
        self._done: set[str] = set()
        self._running: dict[str, float] = {}  # the share done of each node
        self._current = ""
        self._best = 0.0
        self.line: Optional[tuple[str, Optional[float]]] = None
        self.asks = self.seems_over = False

    def take(self, message: Message) -> None:
        """Messages of other jobs, previews and what cannot be read change nothing."""
        if not isinstance(message, str):
            return
        content = as_object(json_of(message))
        kind, data = content.get("type"), as_object(content.get("data"))
        if kind == "status":  # the queue has moved; while the job runs that is about the jobs of others
            self.asks = self.asks or self.line is None
        elif data.get("prompt_id") == self._ticket.job or (kind == "progress" and "prompt_id" not in data):
            self._take(str(kind), data)

    def _take(self, kind: str, data: Mapping[str, Any]) -> None:
        node = data.get("node")
        if kind in OVER or (kind == "executing" and node is None):
            self.asks = self.seems_over = True
            return
        if kind == "execution_cached":
            self._done.update(map(str, as_list(data.get("nodes"))))
        elif kind == "executing":
            self._start(str(node))
        elif kind == "progress":
            self._running[self._current if node is None else str(node)] = _ratio(data)
        elif kind == "progress_state":
            self._take_states(as_object(data.get("nodes")))
        elif kind == "executed":
            self._done.add(str(node))
        elif kind != "execution_start":
            return
        current = self._graph.nodes.get(self._current)
        self.line = (f'Running "{current.short}"' if current else "Running on the server", self._share())

    def _take_states(self, states: Mapping[str, Any]) -> None:
        for identifier, state in states.items():
            if as_object(state).get("state") == "finished":
                self._done.add(identifier)
            elif as_object(state).get("state") == "running":
                self._running[identifier] = _ratio(state)
                self._current = identifier

    def _start(self, node: str) -> None:
        """Nodes run one after the other: when the next one starts, the one before has finished."""
        if self._current and self._current != node:
            self._done.add(self._current)
        self._current = node

    def _share(self) -> float:
        done = len(self._done & self._needed)
        running = sum(share for node, share in self._running.items() if node in self._needed - self._done)
        self._best = max(self._best, min((done + running) / max(len(self._needed), 1), ALMOST))
        return self._best


def _ratio(data: Mapping[str, Any]) -> float:
    value, most = data.get("value"), data.get("max")
    if not isinstance(value, (int, float)) or not isinstance(most, (int, float)) or most <= 0:
        return 0.0
    return float(min(max(value / most, 0.0), 1.0))
