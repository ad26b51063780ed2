"""How much each node of a graph weighs in the progress of the whole, before anything has run: in steps of a sampler."""

from typing import Any, Optional

from .graph import Graph, Node, link_of

USUAL_STEPS = 20  # of a sampler whose number of steps is not to be seen
MOST_STEPS = 1000
HEAVY = (  # the name of an input, and what nodes that have it weigh
    ("upscale_model", 10.0),
    ("ckpt_name", 3.0),
    ("unet_name", 3.0),
    ("vae", 2.0),
    ("samples", 2.0),
)


def weight_of(graph: Graph, node: Node) -> float:
    if is_sampler(node):
        return 1.0 + steps_of(graph, node)
    return next((weight for name, weight in HEAVY if name in node.inputs), 1.0)


def is_sampler(node: Node) -> bool:
    """Whether `node` works in steps: it has a number or a schedule of them, and something to apply it to."""
    guided = any(name in node.inputs for name in ("positive", "conditioning", "guider", "latent_image"))
    return ("steps" in node.inputs or "sigmas" in node.inputs) and (guided or "sampler" in node.kind.lower())


def steps_of(graph: Graph, sampler: Node) -> int:
    steps = _number(graph, sampler, "steps")
    if steps is None and link_of(sampler.inputs.get("sigmas")):
        schedules = [graph.nodes[name] for name in graph.upstream([str(sampler.inputs["sigmas"][0])])]
        steps = max((found for found in (_number(graph, node, "steps") for node in schedules) if found), default=None)
    steps = USUAL_STEPS if steps is None else steps
    first, end = (_number(graph, sampler, name) for name in ("start_at_step", "end_at_step"))
    return min(max(min(steps, steps if end is None else end) - (first or 0), 1), MOST_STEPS)


def _number(graph: Graph, node: Node, name: str) -> Optional[int]:
    """The whole number of an input, also of one that is linked to a node which holds nothing but a number."""
    value: Any = node.inputs.get(name)
    link = link_of(value)
    if link is not None and link[0] in graph.nodes:
        numbers = [found for found in graph.nodes[link[0]].inputs.values() if type(found) is int]
        value = numbers[0] if len(numbers) == 1 else None
    return value if type(value) is int else None
