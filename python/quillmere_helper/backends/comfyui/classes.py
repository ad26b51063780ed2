"""What a ComfyUI server says about the node classes that it knows."""

from dataclasses import dataclass
from typing import Any, Callable, Iterable, Mapping, Optional

from ...errors import HelperError
from ...untrusted import as_list, as_object

MOST_CLASSES = 1000  # of one graph, each of which is a question to the server
LITERALS = ("INT", "FLOAT", "STRING", "BOOLEAN", "COMBO")


@dataclass(frozen=True)
class Input:
    """`kind` is the type of what the input takes; lists of choices have the kind "COMBO"."""

    name: str
    kind: str
    options: Mapping[str, Any]
    choices: Optional[list[Any]] = None  # None: not a choice, or choices that only the editor can fetch

    @property
    def is_widget(self) -> bool:
        """Whether the editor keeps a value for it."""
        return self.kind in LITERALS and not self.options.get("forceInput")

    @property
    def loads_pictures(self) -> bool:
        return bool(self.options.get("image_upload"))


@dataclass(frozen=True)
class NodeClass:
    name: str
    inputs: Mapping[str, Input]  # in the order in which the editor shows them
    outputs: tuple[str, ...]
    is_output: bool


class Classes:
    """The classes of one server, each asked for once, when it is needed: all of them together are megabytes."""

    def __init__(self, ask: Callable[[str], Mapping[str, Any]]) -> None:
        """`ask` returns what the server says about a class: an object with the class in it, or an empty one."""
        self._ask = ask
        self._known: dict[str, Optional[NodeClass]] = {}

    def get(self, name: str) -> Optional[NodeClass]:
        """None when the server does not know the class."""
        if name not in self._known:
            if len(self._known) == MOST_CLASSES:
                raise HelperError(f"The workflow has more than {MOST_CLASSES} classes of nodes; divide it")
            described = self._ask(name).get(name)
            self._known[name] = _node_class(name, described) if isinstance(described, dict) else None
        return self._known[name]

    def of(self, name: str) -> NodeClass:
        """Without inputs and outputs when the server does not know the class."""
        return self.get(name) or NodeClass(name, {}, (), False)

    def missing(self, names: Iterable[str]) -> list[str]:
        return sorted(name for name in set(names) if self.get(name) is None)


def _node_class(name: str, described: Mapping[str, Any]) -> NodeClass:
    inputs: dict[str, Input] = {}
    for group in ("required", "optional"):
        members = as_object(as_object(described.get("input")).get(group))
        order = as_list(as_object(described.get("input_order")).get(group))
        names = order if set(map(str, order)) == set(members) else list(members)
        inputs.update((member, _input(member, members[member])) for member in names)
    outputs = tuple(map(str, as_list(described.get("output"))))
    return NodeClass(name, inputs, outputs, bool(described.get("output_node")))


def _input(name: str, described: Any) -> Input:
    parts = as_list(described) or ["*"]
    options = as_object(parts[1]) if len(parts) > 1 else {}
    if isinstance(parts[0], list):
        return Input(name, "COMBO", options, parts[0])
    choices = options.get("options")
    return Input(name, str(parts[0]), options, choices if parts[0] == "COMBO" and isinstance(choices, list) else None)
