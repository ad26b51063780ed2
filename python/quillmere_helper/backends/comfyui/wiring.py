"""How a render request gets into a graph, without any extension on the server.

For each thing that a request brings, the first of these that the graph has is used: a node whose title is a marker
("Quillmere Guide", "Quillmere Prompt" ...), a placeholder in a text ("{prompt}", "{frame}" ...), the graph's own shape.
When it is not clear which node is meant, the user is told the candidates.
"""

from dataclasses import dataclass, field
from typing import Any, Optional

from ...errors import HelperError
from ...parameters import LARGEST_SEED
from . import shape
from .classes import Classes
from .graph import Graph, Node, link_of

MARK = "quillmere "
PLACEHOLDERS = ("prompt", "guide", "style", "width", "height", "frame", "seed")
SEED_INPUTS = ("seed", "noise_seed")


@dataclass(frozen=True)
class GraphValues:
    """What to put into a graph; `guide` and `style` are names of files on the server, `style` may be empty.

    `seed` None: the graph keeps its own. An empty prompt leaves the texts of the graph as they are.
    """

    prompt: str
    guide: str
    style: str
    width: int
    height: int
    frame: int
    seed: Optional[int]
    save_as: str  # where the server is to save pictures, below its output folder; unique to this job


@dataclass
class Wiring:
    """What came of it: the `outputs` to take pictures from, the seed of the graph, remarks for the user, and facts for
    the record; `result` is the output that a title marks, if any."""

    outputs: list[str]
    seed: Optional[int]
    notes: list[str] = field(default_factory=list)
    facts: dict[str, Any] = field(default_factory=dict)
    result: Optional[str] = None


def wire(graph: Graph, classes: Classes, wanted: GraphValues, where: str) -> Wiring:
    """Changes `graph`. Raises HelperError when a part of the request has no place in it, or more than one."""
    return _Placement(graph, classes, wanted, where).run()


class _Placement:
    def __init__(self, graph: Graph, classes: Classes, wanted: GraphValues, where: str) -> None:
        self._graph, self._classes, self._wanted, self._where = graph, classes, wanted, where
        titles = {node.title.strip().lower(): node for node in graph.nodes.values()}
        self._marked = {title[len(MARK) :]: node for title, node in titles.items() if title.startswith(MARK)}
        self._filled = graph.fill({name: getattr(wanted, name) for name in PLACEHOLDERS}, where)
        needed = graph.upstream(shape.all_outputs(graph, classes))
        self._needed = [node for node in graph.nodes.values() if node.id in needed]

    def run(self) -> Wiring:
        wired = Wiring(shape.outputs(self._graph, self._classes, self._marked.get("result"), self._where), None)
        marked = self._marked.get("result")
        wired.result = marked.id if marked else None
        self._place_guide()
        self._place_style(wired)
        self._place_prompt()
        self._place_size()
        if "frame" in self._marked:
            self._set_number(self._marked["frame"], "frame", self._wanted.frame)
        wired.seed = self._place_seed()
        for node in self._graph.nodes.values():
            if isinstance(node.inputs.get("filename_prefix"), str):
                node.inputs["filename_prefix"] = self._wanted.save_as
        return wired

    def _place_guide(self) -> None:
        node = self._marked.get("guide")
        if node is None and "guide" in self._filled:
            return
        if node is None:
            loaders = shape.picture_loaders(self._needed, self._classes)
            free = [loader for loader in loaders if loader != self._marked.get("style")]
            node = self._only(free, "loads the guide image", "Quillmere Guide", 'add a "Load Image" node')
        self._set_picture(node, self._wanted.guide)

    def _place_style(self, wired: Wiring) -> None:
        if not self._wanted.style or "style" in self._filled:
            return
        if "style" in self._marked:
            self._set_picture(self._marked["style"], self._wanted.style)
        else:
            wired.notes.append(f'{self._where} has no node titled "Quillmere Style": the style image is not used')

    def _place_prompt(self) -> None:
        if not self._wanted.prompt or "prompt" in self._filled:
            return
        node = self._marked.get("prompt")
        if node is None:
            encoders = shape.positive_texts(self._graph, self._needed)
            node = self._only(encoders, "takes the prompt", "Quillmere Prompt", "add a text encoder before the sampler")
        names = shape.text_inputs(node, self._classes)
        if not names:
            raise HelperError(f"{node.label} in {self._where} has no text to put the prompt into; give it one")
        node.inputs.update(dict.fromkeys(names, self._wanted.prompt))

    def _place_size(self) -> None:
        sizes = {"width": self._wanted.width, "height": self._wanted.height}
        places = {name: self._marked[name] for name in sizes if name in self._marked}
        both = self._marked.get("size")
        if both is None and not places and not self._filled & set(sizes):
            latents = shape.empty_latents(self._needed, self._classes)
            both = self._only(latents, "gives the size of the picture", "Quillmere Size", "") if latents else None
        for name, node in [*places.items(), *((name, both) for name in sizes)]:
            if node is not None:
                self._set_number(node, name, sizes[name])

    def _place_seed(self) -> Optional[int]:
        """Returns the seed that the graph then has, if any."""
        wanted, marked = self._wanted.seed, self._marked.get("seed")
        places = [(node, name) for node in self._needed for name in SEED_INPUTS if type(node.inputs.get(name)) is int]
        if marked is not None:
            places = [(marked, self._number_input(marked, "seed"))]
        if wanted is None:
            return _as_seed(places[0][0].inputs[places[0][1]]) if places else None
        for node, name in places if marked is not None or "seed" not in self._filled else ():
            node.inputs[name] = wanted
        return wanted

    def _only(self, candidates: list[Node], does: str, marker: str, remedy: str) -> Node:
        if len(candidates) == 1:
            return candidates[0]
        if not candidates:
            raise HelperError(f'No node in {self._where} {does}; {remedy}, or title the right node "{marker}"')
        names = ", ".join(node.label for node in candidates)
        raise HelperError(f'It is not clear which node in {self._where} {does}: {names}; title one of them "{marker}"')

    def _set_picture(self, node: Node, name: str) -> None:
        if "image" not in node.inputs or link_of(node.inputs["image"]) is not None:
            raise HelperError(f'{node.label} in {self._where} loads no picture; title a "Load Image" node so')
        node.inputs["image"] = name

    def _set_number(self, node: Node, name: str, value: int) -> None:
        place = self._number_input(node, name)
        described = self._classes.of(node.kind).inputs.get(place)
        step = described.options.get("step", 1) if described else 1
        if name in ("width", "height") and type(step) is int and step > 1:
            value = max(step, round(value / step) * step)
        node.inputs[place] = value

    def _number_input(self, node: Node, name: str) -> str:
        """The input of a marked node that takes a number: by its name, else the only literal number that it has."""
        names = SEED_INPUTS if name == "seed" else (name,)
        numbers = [key for key, value in node.inputs.items() if type(value) in (int, float)]
        for candidate in (*names, "value", *(numbers if len(numbers) == 1 else ())):
            if candidate in numbers:
                return candidate
        raise HelperError(f"{node.label} in {self._where} has no number to put the {name} into; title another node so")


def _as_seed(value: Any) -> Optional[int]:
    return value if type(value) is int and 0 <= value <= LARGEST_SEED else None
