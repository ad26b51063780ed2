"""What a ComfyUI server says about the node classes that it knows."""

import json
from dataclasses import dataclass
from typing import Any, Callable, Iterable, Mapping, Optional, Union

from ...errors import HelperError
from ...untrusted import as_list, as_object

MOST_CLASSES = 1000  # of one graph, each of which is a question to the server
LITERALS = ("INT", "FLOAT", "STRING", "BOOLEAN", "COMBO")
LARGEST_LIMIT = 1 << 64  # what a server tells beyond it limits nothing
LONGEST_SHOWN = 60  # letters of a value in a message
SEEDS = ("seed", "noise_seed")
Number = Union[int, float]


@dataclass(frozen=True)
class Input:
    """`kind` is the type of what the input takes; lists of choices have the kind "COMBO"."""

    name: str
    kind: str
    options: Mapping[str, Any]
    choices: Optional[list[Any]] = None  # None: not a choice, or choices that only the editor can fetch
    required: bool = False

    @property
    def is_widget(self) -> bool:
        """Whether the editor keeps a value for it."""
        return self.kind in LITERALS and not self.options.get("forceInput")

    @property
    def may_be_widget(self) -> bool:
        """Packs have widgets of types of their own, which look like those of links."""
        return self.required and self.kind not in LITERALS

    @property
    def loads_pictures(self) -> bool:
        return bool(self.options.get("image_upload"))

    @property
    def uploads(self) -> bool:
        """Whether the editor puts a button for files beside it."""
        return any(key.endswith("_upload") and value for key, value in self.options.items())

    @property
    def is_seed(self) -> bool:
        """Whether the editor keeps a word beside it: what becomes of the value after a run."""
        told = self.options.get("control_after_generate")
        return bool(told) if told is not None else self.kind == "INT" and self.name in SEEDS

    def number(self, option: str) -> Optional[Number]:
        """One of "min", "max", "step"; None when the server tells none that can be reckoned with."""
        value: Any = self.options.get(option)
        if value is None or not is_number(value):
            return None
        return int(value) if self.kind == "INT" else value

    def nearest(self, value: int) -> int:
        """The step that is nearest to `value`."""
        step = int(self.number("step") or 1)
        return max(step, round(value / step) * step) if step > 1 else value

    def wrapped(self, value: int) -> int:
        """`value` on a step within the limits, beyond which counting begins anew at the lowest."""
        least, most = int(self.number("min") or 0), self.number("max")
        count = max((LARGEST_LIMIT - 1 if most is None else int(most)) - least, 0) + 1
        turn = (value - least) % count
        return least + turn - turn % max(int(self.number("step") or 1), 1)

    def standard(self) -> Any:
        """What the editor shows in a new node; None when only the editor knows."""
        default = self.options.get("default")
        if default is not None and self.misfit(default) < 2:
            return default
        if self.kind == "COMBO":
            return self.choices[0] if self.choices else None
        least = self.number("min") or 0
        return {"INT": max(0, least), "FLOAT": max(0.0, least), "STRING": "", "BOOLEAN": False}.get(self.kind)

    def chosen(self, value: Any) -> Any:
        """The choice that `value` stands for; None when it is none of them."""
        same = [choice for choice in self.choices or () if choice == value and _kind_of(choice) == _kind_of(value)]
        return same[0] if same else None

    def misfit(self, value: Any) -> int:
        """0: the input can hold `value`; 1: it may, if the server gets another choice or the editor an update; 2: it
        cannot."""
        if self.kind == "BOOLEAN":
            return 0 if isinstance(value, bool) else 2
        if self.kind == "STRING":
            return 0 if isinstance(value, str) else 2
        if self.kind in ("INT", "FLOAT"):
            return 0 if is_number(value) and (self.kind == "FLOAT" or value == int(value)) else 2
        if self.kind != "COMBO":
            return 1 if isinstance(value, (str, int, float)) else 2
        if isinstance(value, list):
            return 0 if self.options.get("multiselect") else 2
        if self.choices is None:
            return 0 if isinstance(value, (str, int, float)) else 2
        if self.chosen(value) is not None:
            return 0
        kinds = {_kind_of(choice) for choice in self.choices} or {"str"}
        return 1 if _kind_of(value) in kinds else 2


@dataclass(frozen=True)
class NodeClass:
    name: str
    inputs: Mapping[str, Input]  # in the order in which the editor shows them
    outputs: tuple[str, ...]
    is_output: bool
    output_names: tuple[str, ...] = ()


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
                raise HelperError(f"The workflow has more than {MOST_CLASSES} classes of nodes", remedy="divide it")
            described = self._ask(name).get(name)
            self._known[name] = _node_class(name, described) if isinstance(described, dict) else None
        return self._known[name]

    def of(self, name: str) -> NodeClass:
        """Without inputs and outputs when the server does not know the class."""
        return self.get(name) or NodeClass(name, {}, (), False)

    def missing(self, names: Iterable[str]) -> list[str]:
        return sorted(name for name in set(names) if self.get(name) is None)


def is_number(value: Any) -> bool:
    """One of a size that servers reckon with, and no truth value."""
    return type(value) in (int, float) and abs(value) <= LARGEST_LIMIT  # NaN is in no order


def shown(value: Any) -> str:
    """For messages."""
    if isinstance(value, (dict, list)):
        return "a list" if isinstance(value, list) else "an object"
    if type(value) is int and abs(value) > LARGEST_LIMIT:
        return "a number of many digits"
    text = f'"{value}"' if isinstance(value, str) else json.dumps(value)
    return text if len(text) <= LONGEST_SHOWN else text[:LONGEST_SHOWN] + "..."


def _kind_of(value: Any) -> str:
    """Of numbers, JSON has but one kind; `True` is none, though Python takes it for 1."""
    return "number" if type(value) in (int, float) else type(value).__name__


def _node_class(name: str, described: Mapping[str, Any]) -> NodeClass:
    inputs: dict[str, Input] = {}
    for group in ("required", "optional"):
        members = as_object(as_object(described.get("input")).get(group))
        order = list(map(str, as_list(as_object(described.get("input_order")).get(group))))
        names = order if set(order) == set(members) else list(members)
        inputs.update((member, _input(member, members[member], group == "required")) for member in names)
    outputs, named = (tuple(map(str, as_list(described.get(key)))) for key in ("output", "output_name"))
    return NodeClass(name, inputs, outputs, bool(described.get("output_node")), named)


def _input(name: str, described: Any, required: bool) -> Input:
    parts = as_list(described) or ["*"]
    options = as_object(parts[1]) if len(parts) > 1 else {}
    if isinstance(parts[0], list):
        return Input(name, "COMBO", options, parts[0], required)
    choices = options.get("options")
    is_list = parts[0] == "COMBO" and isinstance(choices, list)
    return Input(name, str(parts[0]), options, choices if is_list else None, required)
