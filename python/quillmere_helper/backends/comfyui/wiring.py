"""How a render request gets into a graph, without any extension on the server.

For each thing that a request brings, the first of these that the graph has is used: a node whose title is a marker
("Quillmere Guide", "Quillmere Prompt" ...), a placeholder in a text ("{prompt}", "{frame}" ...), the graph's own shape.
When it is not clear which node is meant, the user is told the candidates. What a control was set to stays.
"""

from dataclasses import dataclass, field
from typing import Any, Mapping, Optional, Sequence

from ...errors import HelperError
from ...parameters import LARGEST_SEED
from ...passes import called, is_word, kind_of
from . import shape, texts
from .classes import SEEDS, Classes, Input
from .graph import Graph, Node, link_of
from .markers import marked_nodes, title_of

PLACEHOLDERS = ("prompt", "guide", "style", "width", "height", "frame", "seed")
SIZES = ("width", "height")
MARKER, PLACEHOLDER, SHAPE, CONTROL = "marker", "placeholder", "shape", "control"  # how a place was found


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
    passes: Mapping[str, str] = field(default_factory=dict)  # names of files on the server, by the words of the passes


@dataclass
class Wiring:
    """What came of it: all output nodes, the most important first, the seed of the graph, remarks for the user, what
    the picture's record tells beyond the request, and where each part of the request went."""

    outputs: list[str] = field(default_factory=list)
    seed: Optional[int] = None  # None: the graph has none
    notes: list[str] = field(default_factory=list)
    facts: dict[str, Any] = field(default_factory=dict)
    places: list[dict[str, str]] = field(default_factory=list)
    passes: dict[str, bool] = field(default_factory=dict)  # words of those that are needed; whether as masks
    result: Optional[str] = None  # the ID of the output node whose title says that its picture is the frame


def wire(graph: Graph, classes: Classes, wanted: GraphValues, where: str) -> Wiring:
    """Changes `graph`. Raises HelperError when a part of the request has no place in it, or more than one."""
    placement = Placement(graph, classes, wanted, where)
    placement.run()
    return placement.wired


class Placement:
    """`wired` holds what has been found so far, also when `run` raises HelperError."""

    def __init__(self, graph: Graph, classes: Classes, wanted: GraphValues, where: str) -> None:
        self._graph, self._classes, self._wanted, self._where = graph, classes, wanted, where
        self.wired = Wiring(notes=list(graph.notes))
        if graph.controls:
            self.wired.facts["controls"] = dict(graph.controls)
        self._marked: dict[str, Node] = {}
        self._filled: set[str] = set()
        self._needed: list[Node] = []

    def run(self) -> None:
        self._look_at_the_graph()
        self._place_passes()
        self._place_guide()
        self._place_style()
        self._place_prompt()
        self._place_size()
        if "frame" in self._marked:
            node = self._marked["frame"]
            self._put("frame", node, self._number_input(node, "frame"), self._wanted.frame, MARKER)
        self.wired.seed = self._place_seed()
        for node in self._graph.nodes.values():
            if isinstance(node.inputs.get("filename_prefix"), str):
                node.inputs["filename_prefix"] = self._wanted.save_as

    def _look_at_the_graph(self) -> None:
        graph, where = self._graph, self._where
        if graph.editor is not None:  # whoever exports for a server has muted nothing
            self._leave_out(shape.starved(graph, self._classes))
        needed = graph.upstream(shape.all_outputs(graph, self._classes))
        self._needed = [node for node in graph.nodes.values() if node.id in needed]
        self._marked = marked_nodes(graph, needed, where)
        marked = self._marked.get("result")
        self.wired.outputs = shape.outputs(graph, self._classes, marked, where)
        self.wired.result = marked.id if marked else None
        problem = shape.dangling(graph, self._needed, where)
        if problem:
            raise problem
        for part, node, name in graph.fill({name: getattr(self._wanted, name) for name in PLACEHOLDERS}, where):
            self._filled.add(part)
            self._tell_place("size" if part in SIZES else part, node, name, PLACEHOLDER)
            if part == "seed" and type(node.inputs[name]) is int:
                self._put_fitted("seed", node, name, node.inputs[name])

    def _leave_out(self, starved: Mapping[str, str]) -> None:
        """What comes behind a muted node, as the editor would have it; when nothing can run, the server says why."""
        if len(starved) < len(shape.all_outputs(self._graph, self._classes)):
            for end, reason in starved.items():
                self.wired.notes.append(f"{self._graph.nodes.pop(end).label} in {self._where} is left out: {reason}")

    def _place_passes(self) -> None:
        for word, node in self._marked.items():
            if is_word(word) and node in self._needed:
                sent = self._wanted.passes.get(word, f"{kind_of(word)}.png")
                if self._set_picture(word, node, sent, MARKER):
                    self.wired.passes[word] = shape.gives_mask(node, self._needed, self._classes)

    def _place_guide(self) -> None:
        node, how = self._marked.get("guide"), MARKER
        if node is None and "guide" in self._filled:
            return
        if node is None:
            loaders = shape.picture_loaders(self._needed, self._classes)
            free = [loader for loader in loaders if loader not in self._marked.values()]
            if not free and self.wired.passes:
                return
            if not free:
                remedy = f'add a "Load Image" node, or title the right node "{title_of("guide")}"'
                raise HelperError(f"No node in {self._where} loads the guide image", remedy=remedy)
            node, how = self._only(free, "loads the guide image", "guide"), SHAPE
        self._set_picture("guide", node, self._wanted.guide, how)

    def _place_style(self) -> None:
        if not self._wanted.style or "style" in self._filled:
            return
        if "style" in self._marked:
            self._set_picture("style", self._marked["style"], self._wanted.style, MARKER)
        else:
            lacks = f'has no picture loader titled "{title_of("style")}"'
            self.wired.notes.append(f"A style image is not used: {self._where} {lacks}")

    def _place_prompt(self) -> None:
        if not self._wanted.prompt or "prompt" in self._filled:
            return
        marked, how = self._marked.get("prompt"), SHAPE if "prompt" not in self._marked else MARKER
        places = self._texts_found() if marked is None else self._texts_of_marked(marked)
        for node, name in places:
            self._put("prompt", node, name, self._wanted.prompt, how)
        if not places:
            remedy = f'write {{prompt}} into one, or title a node with a text "{title_of("prompt")}"'
            self.wired.notes.append(f"The prompt is not used: no text in {self._where} leads to a sampler; {remedy}")

    def _texts_found(self) -> list[texts.Text]:
        encoders = texts.positive_encoders(self._graph, self._needed, self._classes)
        found = [texts.texts_of(self._graph, encoder, self._classes, self._where) for encoder in encoders]
        # Two encoders may get the same text.
        places = {tuple((node.id, name) for node, name in text): text for text in found if text}
        if len(places) > 1:
            several = [text[0][0] for text in places.values()]
            self._only(several, "takes the prompt", "prompt", " or write {prompt} into all that are to have it")
        return next(iter(places.values()), [])

    def _texts_of_marked(self, node: Node) -> list[texts.Text]:
        held = [name for name, value in node.inputs.items() if isinstance(value, str)]
        names = [name for name in texts.text_inputs(node, self._classes) if name in held] or held
        if not names:
            raise HelperError(
                f"{node.label} in {self._where} has no text to put the prompt into",
                remedy="give it one",
            )
        if len(names) > 1 and not texts.ENCODER_TEXTS.issuperset(names):
            raise texts.several_texts(node, names, self._where)
        return [(node, name) for name in names]

    def _place_size(self) -> None:
        sizes = dict(zip(SIZES, (self._wanted.width, self._wanted.height)))
        places = {name: self._marked[name] for name in sizes if name in self._marked}
        both, how = self._marked.get("size"), MARKER
        if both is None and not places and not self._filled & set(sizes):
            latents, how = shape.empty_latents(self._needed, self._classes), SHAPE
            both = self._only(latents, "gives the size of the picture", "size") if latents else None
        for name, node in [*places.items(), *((name, both) for name in sizes)]:
            if node is not None:
                self._put_fitted("size", node, self._number_input(node, name), sizes[name], how)

    def _place_seed(self) -> Optional[int]:
        """Returns the seed that the graph then has, if any."""
        wanted, marked, how = self._wanted.seed, self._marked.get("seed"), SHAPE
        places = [(node, name) for node in self._needed for name in SEEDS if type(node.inputs.get(name)) is int]
        if marked is not None:
            places, how = [(marked, self._number_input(marked, "seed"))], MARKER
        if wanted is None:
            return _as_seed(places[0][0].inputs[places[0][1]]) if places else None
        if "seed" in self._filled and marked is None:
            return wanted
        for node, name in places:
            self._put_fitted("seed", node, name, wanted, how)
        free = [place for place in places if (place[0].id, place[1]) not in self._graph.controlled]
        return wanted if free else _as_seed(places[0][0].inputs[places[0][1]]) if places else None

    def _only(self, candidates: Sequence[Node], does: str, part: str, other_remedy: str = "") -> Node:
        if len(candidates) == 1:
            return candidates[0]
        names = ", ".join(_told(node, candidates) for node in candidates)
        remedy = f'title one of them "{title_of(part)}"{other_remedy}'
        raise HelperError(f"It is not clear which node in {self._where} {does}: {names}", remedy=remedy)

    def _set_picture(self, part: str, node: Node, name: str, how: str) -> bool:
        if "image" not in node.inputs or link_of(node.inputs["image"]) is not None:
            raise HelperError(
                f"{node.label} in {self._where} loads no picture",
                remedy='title a "Load Image" node so',
            )
        return self._put(part, node, "image", name, how)

    def _put_fitted(self, part: str, node: Node, name: str, value: int, how: str = "") -> None:
        spec = self._classes.of(node.kind).inputs.get(name) or Input(name, "INT", {})
        sent = spec.nearest(value) if part == "size" else spec.wrapped(value)
        if self._put(part, node, name, sent, how) and sent != value:
            told = {"input": f"{name} of {node.label}", "given": value, "sent": sent}
            self.wired.facts.setdefault(f"{part}_fitted", []).append(told)

    def _put(self, part: str, node: Node, name: str, value: Any, how: str) -> bool:
        if (node.id, name) in self._graph.controlled:
            self._tell_place(part, node, name, CONTROL)
            if part in ("prompt", "guide", "style") or is_word(part):
                what = called(part) if is_word(part) else f"the {part}"
                self.wired.notes.append(f'T{what[1:]} is not used: "{name}" of {node.label} is set by a control')
            return False
        node.inputs[name] = value
        if how:
            self._tell_place(part, node, name, how)
        return True

    def _tell_place(self, part: str, node: Node, name: str, how: str) -> None:
        place = {"part": part, "node": node.id, "title": node.title, "kind": node.kind, "input": name, "how": how}
        self.wired.places.append(place)

    def _number_input(self, node: Node, name: str) -> str:
        """The input of a marked node that takes a number: by its name, else the only literal number that it has."""
        names = SEEDS if name == "seed" else (name,)
        numbers = [key for key, value in node.inputs.items() if type(value) in (int, float)]
        for candidate in (*names, "value", *(numbers if len(numbers) == 1 else ())):
            if candidate in numbers:
                return candidate
        raise HelperError(
            f"{node.label} in {self._where} has no number to put the {name} into",
            remedy="title another node so",
        )


def _told(node: Node, candidates: Sequence[Node]) -> str:
    """Nodes of one title are told apart by the files that they load."""
    file = node.inputs.get("image")
    alike = sum(candidate.short == node.short for candidate in candidates) > 1
    return f'{node.label} with "{file}"' if alike and isinstance(file, str) else node.label


def _as_seed(value: Any) -> Optional[int]:
    return value if type(value) is int and 0 <= value <= LARGEST_SEED else None
