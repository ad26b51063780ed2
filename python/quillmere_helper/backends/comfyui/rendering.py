"""One render on one ComfyUI server, from the connection to the pictures."""

import hashlib
import time
import uuid
from dataclasses import replace
from functools import partial
from typing import Optional

from ... import cancellation, web
from ...errors import HelperError
from ...parameters import seed_for
from ...pictures import Picture, given_picture
from ...servers import until_answered
from .. import Job, Result
from . import refusals, results
from .classes import Classes
from .client import Comfy, Entry, Ticket
from .follow import Follower, LostJob
from .graph import Graph
from .source import Source
from .wiring import GraphValues, Wiring, wire

MOST_SUBMISSIONS = 4  # a server that loses a job more often has a fault of its own
TYPES = {"png": "image/png", "jpg": "image/jpeg", "webp": "image/webp"}
WITHDRAWAL = 0.6  # seconds for all of it: a stopped render has to end within one
STOP_TIMEOUT = 0.4  # seconds for one answer of the server meanwhile


class Rendering:
    """Knows the ticket of the job that was submitted last, so that it can be taken back at any moment."""

    def __init__(self, job: Job, source: Source) -> None:
        self._job, self._source = job, source
        self._comfy = Comfy(source.site)
        self._classes = Classes(self._comfy.class_info)
        self._client = uuid.uuid4().hex
        self._ticket: Optional[Ticket] = None
        self._guide = self._style = ""

    def run(self) -> Result:
        self._tell(f"Connecting to {self._source.site.url}")
        version = self._comfy.version()
        self._source.refuse_missing_classes(self._classes)
        _, trial = self._wired("")  # whether the request fits the graph, before anything is sent
        if trial.notes:
            self._tell("; ".join(trial.notes))
        try:
            pictures, wired = self._pictures()
        except cancellation.Cancellation:
            raise cancellation.Cancellation(_withdraw(self._comfy, self._ticket)) from None
        seed = wired.seed if wired.seed is not None else 0
        facts = {"server": self._source.site.url, "server_version": version, "workflow": self._source.self_contained}
        self._job.deliver(pictures, [seed] * len(pictures), facts)
        return Result(seed, wired.notes)

    def _pictures(self) -> tuple[list[Picture], Wiring]:
        """Submits as often as it takes: a restarted server has forgotten its jobs, and files may vanish."""
        follower = Follower(self._comfy, self._client, self._tell)
        for _ in range(MOST_SUBMISSIONS):
            self._guide = self._sent(self._job.request.reference_image, "guide")
            self._style = self._sent(self._job.request.locked_style_image, "style")
            try:
                return self._once(follower)
            except (LostJob, results.MissingPicture):
                self._tell("The server has lost the job; submitting it again")
        raise HelperError(f"{self._source.site.url} has lost the job {MOST_SUBMISSIONS} times; see its console")

    def _sent(self, path: str, role: str) -> str:
        """The name on the server of the picture at `path`, the `role` image; empty when there is none.

        Servers cannot delete pictures, so they get one folder per series of renders, and a name made from the content:
        the same picture never takes room twice, and two renders at the same time never see each other's.
        """
        if not path:
            return ""
        self._tell(f"Sending the {role} image")
        content, kind = given_picture(path, role)
        series = f"{self._job.request.output_dir}\n{self._job.request.output_prefix}".encode("utf-8", "surrogateescape")
        name = f"{role}_{hashlib.sha256(content).hexdigest()[:24]}.{kind}"
        folder = f"quillmere/{hashlib.sha256(series).hexdigest()[:12]}"
        return until_answered(lambda: self._comfy.upload(name, folder, content, TYPES[kind]), self._tell)

    def _once(self, follower: Follower) -> tuple[list[Picture], Wiring]:
        job = str(uuid.uuid4())
        graph, wired = self._wired(job)
        self._tell("Submitting the job")
        self._submit(graph, Ticket(job, self._client))
        assert self._ticket is not None
        entry = follower.until_ended(self._ticket, graph, wired.outputs, self._source.where)
        return self._fetch(entry, wired), wired

    def _wired(self, job: str) -> tuple[Graph, Wiring]:
        request = self._job.request
        choice = self._source.options["seed"]
        graph = self._source.graph(self._classes)
        seed = None if choice == "workflow" else seed_for(choice, request.frame)
        style = self._style or request.locked_style_image
        size, place = (request.width, request.height), f"quillmere/{job}/picture"
        wanted = GraphValues(request.effective_prompt, self._guide, style, *size, request.frame, seed, place)
        return graph, wire(graph, self._classes, wanted, self._source.where)

    def _submit(self, graph: Graph, ticket: Ticket) -> None:
        """Whether a server that goes away in the middle has taken the job is found out by following it."""
        self._ticket = ticket
        editor = graph.to_editor()
        extra = {"extra_pnginfo": {"workflow": editor}} if editor else {}
        try:
            answer = self._comfy.submit(graph.to_api(), ticket, extra)
        except web.UnreachableServer:
            return
        content = answer.object()
        taken = answer.status == 200 and isinstance(content.get("prompt_id"), str)
        if taken:
            ticket.job = content["prompt_id"]
        if not taken or content.get("node_errors"):
            if taken:  # the server would run the part of the graph that it finds right
                _withdraw(self._comfy, ticket)
            raise refusals.not_taken(self._source.site.url, answer, graph, self._source.where)

    def _fetch(self, entry: Entry, wired: Wiring) -> list[Picture]:
        named = results.named_in(entry, wired.outputs)
        if not named:
            raise HelperError(f'{self._source.where} has made no picture; end it in a "Save Image" node')
        self._tell("Fetching the picture", 0.99)
        return [until_answered(partial(results.fetch, self._comfy, told), self._tell) for told in named]

    def _tell(self, message: str, share: Optional[float] = None) -> None:
        self._job.status.tell("render", message, share)


def _withdraw(comfy: Comfy, ticket: Optional[Ticket]) -> str:
    """Stops the job of `ticket`, queued or running, and no other; tells in words what has become of it.

    A job that is not to be seen may just be on its way into the queue, so it is looked for until the time is over.
    """
    if ticket is None:
        return cancellation.TEXT
    quick = Comfy(replace(comfy.site, timeout=STOP_TIMEOUT))
    end = time.monotonic() + WITHDRAWAL
    try:
        while time.monotonic() < end:
            if quick.cancel(ticket):
                return f"{cancellation.TEXT}; its job on the server was stopped"
            time.sleep(0.1)
    except HelperError:
        return f"{cancellation.TEXT}, but {comfy.site.url} could not be told: its job may still run there"
    return cancellation.TEXT
