"""The embedded back end: an ink-and-wash drawing of the guide image.

It is a drawing filter, not a model: it adds nothing to the scene, and of the prompt it understands words of colour,
light, weather and mood only. It needs no service and no model, only Pillow.
"""

import time
from typing import Any

from ... import cancellation
from ...parameters import Parameter, controls_of, read_parameters, seed_for
from ...passes import Passes
from ...request import told_by_host
from ...workflows import Workflow
from .. import Job, Result

REQUIRES = "PIL.Image"
SERVER = None

PACE = 0.05  # seconds from one status to the next with the same words: writing one takes as long as a small step
WELCOME = ("depth", "lines", "object")  # passes that a drawing is better with, and goes without

PARAMETERS = (
    Parameter("seed", "frame", "chance; a fixed one keeps the paper still in an animation", words=("frame", "random")),
    Parameter("layers", 5, "number of washes, one over the other", 2, 9),
    Parameter("wash", 1.0, "strength of the washes", 0, 2),
    Parameter("granulation", 1.0, "pigment in the valleys of the paper", 0, 3),
    Parameter("paper", 1.0, "relief of the paper", 0, 3),
    Parameter("saturation", 1.0, "strength of the colours", 0, 2),
    Parameter("line", 1.0, "strength of the ink lines; 0 draws none", 0, 3),
    Parameter("hatching", 1.0, "strength of the strokes over the shadows; 0 draws none", 0, 1.6),
    Parameter("tint", 1.0, "how much the words of the prompt count", 0, 2),
    Parameter("style", 0.8, "how much a style image counts", 0, 1),
)


def _options_of(workflow: Workflow) -> dict[str, Any]:
    return read_parameters(workflow.content, (), PARAMETERS, workflow.name, workflow.controls)


def passes(workflow: Workflow) -> list[str]:
    return list(WELCOME)


def check(workflow: Workflow) -> dict[str, Any]:
    _options_of(workflow)
    return {}


def controls(workflow: Workflow) -> list[dict[str, Any]]:
    return controls_of(_options_of(workflow), PARAMETERS)


def make(job: Job) -> Result:
    options = _options_of(job.workflow)
    seed = seed_for(options["seed"], job.request.frame)
    passes = Passes(told_by_host().get("passes"), job.request.frame)
    steps = _drawing(job, seed, options, passes)
    told, words = 0.0, ""
    while True:
        try:
            with cancellation.ending_at_once():
                message, share = next(steps)
        except StopIteration as end:
            picture = end.value
            break
        if message != words or time.monotonic() - told >= PACE:
            job.status.tell("draw", message, share)
            told, words = time.monotonic(), message
    job.deliver([(picture, "png")], [seed], {"passes": passes.used} if passes.used else {})
    return Result(seed, passes.notes)


def _drawing(job: Job, seed: int, options: dict[str, Any], passes: Passes) -> Any:
    from PIL import Image

    from .images import Beside, read_picture

    request = job.request
    reading = Beside(lambda: read_picture(request.reference_image, "guide image", "render the frame again"))
    from . import drawing  # these load while the guide is unpacked
    from .prompt import mood_of
    from .scene import read_scene

    size = (request.width, request.height)
    blank = drawing.blank(size, seed, options)
    guide = reading.result()
    known = read_scene(passes, guide.size)
    if guide.size != size:
        guide = guide.resize(size, Image.LANCZOS)
        known = known.resized(size)
    look = None
    if request.locked_style_image:
        look = read_picture(request.locked_style_image, "style image", "choose another one, or none")
    mood = mood_of(request.effective_prompt, options["tint"])
    return drawing.draw(guide, look, mood, seed, options, known, blank)
