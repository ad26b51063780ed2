"""The text of a graph that tells its samplers what to show, found by how the nodes are linked."""

from typing import Sequence

from ...errors import HelperError
from .classes import Classes, NodeClass
from .graph import Graph, Node, link_of

TEXT_NAMES = ("text", "prompt", "string", "value")
# One text, for each model of an encoder.
ENCODER_TEXTS = {"clip_l", "clip_g", "t5xxl", "llama", "text_g", "text_l", "bert", "mt5xl"}
POSITIVE = ("positive", "conditioning", "cond1", "cond")
NEITHER = ("neg", "empty", "uncond")  # how names of inputs begin that tell what not to show
Text = tuple[Node, str]  # a node and its input


def positive_encoders(graph: Graph, nodes: Sequence[Node], classes: Classes) -> list[Text]:
    """The nodes that tell the samplers among `nodes` what to show, each with the side of it that does ("positive" or
    "negative", for those that tell both). What takes a conditioning and gives none is a sampler, a guider too."""
    found: dict[str, Text] = {}
    for node in nodes:
        taken = _linked(node, classes, "CONDITIONING")
        if taken and "CONDITIONING" not in classes.of(node.kind).outputs:
            named = [name for name in POSITIVE if name in taken]
            for name in (named or [name for name in taken if not name.startswith(NEITHER)])[:1]:
                _follow(graph, classes, (node, name), found)
    return list(found.values())


def texts_of(graph: Graph, encoder: Text, classes: Classes, where: str) -> list[Text]:
    """Where the text stands that an encoder gets; nowhere, when it comes from no text of the graph. Raises HelperError
    when it is put together from several."""
    found, waiting, seen = [], [encoder], set()
    while waiting:
        node, side = waiting.pop()
        if node.id in seen:
            continue
        seen.add(node.id)
        names = text_inputs(node, classes)
        names = [side] if side in names else names
        if len(names) > 1 and not ENCODER_TEXTS.issuperset(names):
            raise several_texts(node, names, where)
        if not names:
            linked = _linked(node, classes, "*")
            names = linked if len(linked) == 1 else []
        for name in names:
            link = link_of(node.inputs[name])
            if link is None:
                found.append((node, name))
            elif link[0] in graph.nodes:
                waiting.append((graph.nodes[link[0]], ""))
    return found


def text_inputs(node: Node, classes: Classes) -> list[str]:
    """The inputs of `node` that hold words, or get them by a link: those of several lines and those that are linked, or
    else those with a usual name; others may be names of files."""
    specs = [spec for spec in classes.of(node.kind).inputs.values() if spec.kind == "STRING"]
    given = {name for name, value in node.inputs.items() if isinstance(value, str) or link_of(value)}
    long = [spec.name for spec in specs if spec.options.get("multiline") or link_of(node.inputs.get(spec.name))]
    short = [spec.name for spec in specs if spec.name in given]
    usual = [name for name in TEXT_NAMES if name in short]
    return [name for name in long if name in given] or usual


def several_texts(node: Node, names: Sequence[str], where: str) -> HelperError:
    listed = ", ".join(f'"{name}"' for name in names)
    remedy = "write {prompt} where the prompt belongs"
    return HelperError(f"{node.label} in {where} has several texts ({listed})", remedy=remedy)


def _follow(graph: Graph, classes: Classes, end: Text, found: dict[str, Text]) -> None:
    """Goes up from an input to the nodes that make conditionings of something else, past those that only change what
    passes through them: of their inputs, the one that belongs to the output taken."""
    waiting, seen = [end], set()
    while waiting:
        node, name = waiting.pop()
        link = link_of(node.inputs.get(name))
        source = graph.nodes.get(link[0]) if link else None
        if link is None or source is None or link in seen:
            continue
        seen.add(link)
        side = "negative" if _is_negative(classes.of(source.kind), link[1]) else "positive"
        passing = _linked(source, classes, "CONDITIONING") or _linked(source, classes, "*")
        if not passing:
            found[source.id] = (source, side)
        elif "positive" in passing and "negative" in passing:
            waiting.append((source, side))
        else:
            waiting += [(source, passed) for passed in passing]


def _linked(node: Node, classes: Classes, kind: str) -> list[str]:
    specs = classes.of(node.kind).inputs
    return [name for name, spec in specs.items() if spec.kind == kind and link_of(node.inputs.get(name))]


def _is_negative(described: NodeClass, slot: int) -> bool:
    names = [name.lower() for name in described.output_names]
    return "neg" in names[slot] if slot < len(names) and any("neg" in name for name in names) else slot == 1
