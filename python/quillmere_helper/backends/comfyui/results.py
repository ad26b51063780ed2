"""The pictures that a job has left on a ComfyUI server."""

import json
import time
from dataclasses import dataclass
from typing import Any, Callable, Mapping, Optional

from ... import pictures, png, web
from ...errors import HelperError, PassingFailure
from ...untrusted import Spool, as_object, objects_in
from ...workflows import GRAPHS
from .client import Comfy, Entry
from .graph import Graph

TRIES = 4  # downloads, when the one before was cut off
PAUSE = 0.5  # seconds before the next try


class MissingPicture(PassingFailure):
    """The server names a picture that is not there any more."""


@dataclass(frozen=True)
class Named:
    """A picture as the server tells it: nothing in `told` is a path of ours."""

    node: str  # the ID of the node that made it
    told: Mapping[str, Any]


def latest_first(graph: Graph, outputs: list[str]) -> list[str]:
    """The nodes `outputs`, the last one that runs first. That is the one that needs the most other nodes, of equals the
    one with the highest number: which of two that don't need each other a server runs first changes from frame to frame
    with what it still has."""

    def place(name: str) -> tuple[int, list[int]]:
        return len(graph.upstream([name])), [int(part[:9]) for part in name.split(":") if part.isdecimal()]

    return sorted(outputs, key=place, reverse=True)


def named_in(entry: Entry, ends: list[str], marked: Optional[str]) -> list[Named]:
    """All pictures of the job, the frame first: that of the node `marked`, else of the first of `ends` that has saved
    any, else of the first that has shown any. Nodes that are not among `ends` come last."""
    outputs = as_object(entry.get("outputs"))
    order = dict.fromkeys([*ends, *map(str, outputs)])
    told = [Named(node, image) for node in order for image in objects_in(as_object(outputs.get(node)).get("images"))]
    usable = [one for one in told if isinstance(one.told.get("filename"), str)]
    return sorted(usable, key=lambda one: (one.node != marked, one.told.get("type") != "output"))


def fetch(comfy: Comfy, picture: Mapping[str, Any], spool: Callable[[], Spool]) -> pictures.Stored:
    """The whole picture, mapped from a file that `spool` makes, and its kind. Raises HelperError, MissingPicture or web.UnreachableServer."""
    name = picture.get("filename")
    for attempt in range(TRIES):
        if attempt:
            time.sleep(PAUSE)
        try:
            answer = comfy.view(picture, spool())
        except web.UnreachableServer:
            if attempt + 1 == TRIES:
                raise
            continue
        if answer.status == 404:
            raise MissingPicture(f'The picture "{name}" is not on the server any more; render the frame again')
        kind = pictures.kind_of(answer.body) if answer.status == 200 else None
        if kind is not None:
            return answer.body, kind
    raise HelperError(
        f'"{name}" from the server is no whole PNG, JPEG or WebP picture (status {answer.status})',
        remedy='end the workflow in a "Save Image" node',
    )


def with_graphs(
    picture: pictures.Stored,
    prompt: Mapping[str, Any],
    editor: Optional[Mapping[str, Any]],
    spool: Callable[[], Spool],
) -> png.Content:
    """The content of `picture` with the graph that made it in both its formats, as servers write them unless they are
    told not to: whoever drops it into the editor sees what made it."""
    content, kind = picture
    there = png.texts(content, GRAPHS) if kind == "png" else GRAPHS
    for keyword, graph in zip(GRAPHS, (prompt, editor)):
        if keyword not in there and graph:
            file = spool()
            for part in png.with_chunk(content, png.ascii_text_chunk(keyword, json.dumps(graph))):
                file.write(part)
            content = file.content()
    return content
