"""How far one job is, from the messages that a ComfyUI server sends about it."""

import math
from dataclasses import dataclass, field
from enum import Enum
from typing import Any, Mapping, Optional, Union

from ...exchange import ALMOST
from ...untrusted import as_list, as_object
from .client import Ticket
from .graph import Graph
from .weights import MOST_STEPS, is_sampler, weight_of

LONGEST_NAME = 60  # characters of a node's title in a message
LARGEST = 1 << 53  # of a number that progress is told in
OVER = ("execution_success", "execution_error", "execution_interrupted")
TOLD = ("execution_start", "execution_cached", "executing", "executed", "progress", "progress_state")


class News(Enum):
    """What a message is to the one who follows a job."""

    FOREIGN = "about something else"
    QUEUE = "the server's queue has changed"
    OURS = "about the job"
    OVER = "the job has ended"


@dataclass(frozen=True)
class Line:
    """What to show: a message, the share of the whole job that is done, further members of the status file."""

    message: str
    share: float
    more: Mapping[str, Any] = field(default_factory=dict)


class Progress:
    """`line` is None until the job begins; its share never falls."""

    def __init__(self, graph: Graph, ends: list[str], ticket: Ticket) -> None:
        self._graph, self._ticket = graph, ticket
        self._weights = {name: weight_of(graph, graph.nodes[name]) for name in graph.upstream(ends)}
        self._done: set[str] = set()
        self._running: dict[str, float] = {}  # the share done of each node
        self._current = ""
        self._has_states = False  # whether the server tells of each node whether it has finished
        self._best = 0.0
        self._steps = _Steps()
        self.line: Optional[Line] = None
        self.seems_over = False

    def take(self, message: Mapping[str, Any], now: float) -> News:
        """`message` at the time `now`, in seconds. One that cannot be understood is about something else."""
        kind, data = message.get("type"), as_object(message.get("data"))
        if kind == "status":
            return News.QUEUE
        if not self._is_ours(kind, data) or kind not in (*OVER, *TOLD):
            return News.FOREIGN
        if kind in OVER or (kind == "executing" and data.get("node") is None):
            self.seems_over = True
            return News.OVER
        self._take(str(kind), data, now)
        self.line = self._told()
        return News.OURS

    def _is_ours(self, kind: Any, data: Mapping[str, Any]) -> bool:
        """Servers leave the job out where they tell a client that has connected again what runs, and older ones beside
        the steps."""
        if "prompt_id" in data:
            return bool(data["prompt_id"] == self._ticket.job)
        begun = self.line is not None and kind == "progress"
        return begun or (kind == "executing" and str(data.get("node")) in self._graph.nodes)

    def _take(self, kind: str, data: Mapping[str, Any], now: float) -> None:
        node = str(data.get("node"))
        if kind == "execution_cached":  # nothing is done for these, so they do not count
            for name in map(str, as_list(data.get("nodes"))):
                self._weights.pop(name, None)
        elif kind == "executing":
            self._start(node, data.get("display_node"))
        elif kind == "progress":
            self._advance(self._current if data.get("node") is None else node, data, now)
        elif kind == "progress_state":
            for name, state in as_object(data.get("nodes")).items():
                self._take_state(name, as_object(state), now)
        elif kind == "executed":
            self._done.add(node)

    def _take_state(self, name: str, state: Mapping[str, Any], now: float) -> None:
        self._has_states = True
        if state.get("state") == "finished":
            self._done.add(name)
        elif state.get("state") == "running":
            self._start(name, state.get("display_node_id"))
            self._advance(name, state, now)

    def _start(self, node: str, display: Any) -> None:
        """Older servers run nodes one after the other: when the next one starts, the one before has finished. Nodes
        that others bring forth while they run are shown under those."""
        node = node if node in self._graph.nodes else str(display)
        if self._current and self._current != node and not self._has_states:
            self._done.add(self._current)
        self._current = node

    def _advance(self, name: str, data: Mapping[str, Any], now: float) -> None:
        value, most = _number(data.get("value")), _number(data.get("max"))
        if name not in self._graph.nodes or most <= 0:
            return
        self._running[name] = min(max(value / most, 0.0), 1.0)
        if is_sampler(self._graph.nodes[name]) and type(value) is int and type(most) is int and 1 < most <= MOST_STEPS:
            self._steps.take(name, value, most, now)
            if name in self._weights:
                self._weights[name] = 1.0 + most

    def _told(self) -> Line:
        share, left = self._share()
        node = self._graph.nodes.get(self._current)
        if node is None:
            return Line("Running on the server", share)
        message, steps = f'Running "{node.short[:LONGEST_NAME]}"', self._steps
        more: dict[str, Any] = {}
        if steps.node == self._current and steps.value:
            message += f", step {steps.value} of {steps.most}"
            more = {"step": steps.value, "steps": steps.most}
        if steps.seconds is not None:
            more["seconds_left"] = max(math.ceil(left * steps.seconds), 1)
        return Line(message, share, more)

    def _share(self) -> tuple[float, float]:
        """The share that is done, and the weight of what is left."""
        whole = sum(self._weights.values())
        shares = {name: 1.0 if name in self._done else self._running.get(name, 0.0) for name in self._weights}
        done = sum(self._weights[name] * share for name, share in shares.items())
        self._best = max(self._best, min(done / whole if whole else 0.0, ALMOST))
        return self._best, whole - done


class _Steps:
    """The steps of the sampler that runs: `value` of `most`; `seconds` that one takes, None until two were timed."""

    def __init__(self) -> None:
        self.node, self.value, self.most = "", 0, 0
        self.seconds: Optional[float] = None
        self._first, self._since = 0, 0.0

    def take(self, node: str, value: int, most: int, now: float) -> None:
        if node != self.node or value < self.value:  # another one, or another pass of the same
            self._first, self._since = value, now
        self.node, self.value, self.most = node, min(max(value, 0), most), most
        if value > self._first + 1 and now > self._since:
            self.seconds = (now - self._since) / (value - self._first)


def _number(value: Any) -> Union[int, float]:
    """0 for what is none, or none to reckon with."""
    return value if type(value) in (int, float) and abs(value) <= LARGEST else 0
