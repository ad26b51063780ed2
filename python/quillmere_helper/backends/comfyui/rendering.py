"""One render on one ComfyUI server, from the connection to the pictures."""

import time
import uuid
from dataclasses import dataclass, replace
from functools import partial
from typing import Any, Mapping, Optional

from ... import cancellation, web
from ...errors import HelperError, PassingFailure
from ...exchange import ALMOST
from ...parameters import seed_for, seed_rule
from ...passes import Passes
from ...pictures import Stored
from ...pool import LOOK
from ...request import told_by_host
from ...servers import until_answered
from .. import Job, Result
from . import refusals, results
from .classes import Classes
from .client import Comfy, Ticket
from .follow import Follower, LostJob
from .graph import Graph
from .lacking import missing_files, not_there
from .previews import Previews
from .sending import Sending, Sent
from .source import Source
from .wiring import GraphValues, Wiring, wire
from .withdrawal import withdraw

MOST_SUBMISSIONS = 4  # a server that loses a job more often has a fault of its own
MOST_PICTURES = 64  # of one job
LARGEST_TOGETHER = 1 << 30  # bytes of them on the disk, after which no further one is fetched
NOTE_TIME = 0.3  # seconds that a remark stays in the status, which the effect reads every 0.12


@dataclass
class Made:
    """What has come of a job: its pictures, the frame first, each with the name of its node; and how its graph was."""

    pictures: list[tuple[str, Stored]]
    wired: Wiring


class Rendering:
    """Knows the ticket of the job that was submitted last, so that it can be taken back at any moment."""

    def __init__(self, job: Job, source: Source) -> None:
        self._job, self._source = job, source
        self._comfy = Comfy(source.site)
        self._classes = Classes(self._comfy.class_info)
        self._client = uuid.uuid4().hex
        self._ticket: Optional[Ticket] = None
        self._passes = Passes(told_by_host().get("passes"), job.request.frame)
        self._sending: Optional[Sending] = None
        self._sent = Sent()
        self._previews = Previews(job.status.path, job.request.frame)

    @property
    def site(self) -> web.Site:
        return self._source.site

    def load(self) -> int:
        return Comfy(replace(self.site, timeout=LOOK)).jobs()

    def refuse_lacking(self) -> None:
        self._source.refuse_missing_classes(self._classes)
        absent = missing_files(*self._wired(""), self._classes)
        if absent:
            raise not_there(absent, self._source.where)

    def run(self) -> Result:
        self._tell(f"Connecting to {self._source.site.url}")
        version = self._comfy.version()
        self._source.refuse_missing_classes(self._classes)
        wired = self._wired("")[1]  # whether the request fits the graph, before anything is sent
        self._sending = Sending(self._job.request, self._passes)
        self._sending.take_passes(wired.passes, self._source.where, self._source.stand_in)
        for note in wired.notes + self._passes.notes:
            self._tell(note)
            time.sleep(NOTE_TIME)
        try:
            made = self._made()
        except cancellation.Cancellation:
            raise cancellation.Cancellation(withdraw(self._comfy, self._ticket)) from None
        finally:
            self._previews.remove()
        self._deliver(made, version)
        return Result(made.wired.seed, made.wired.notes + self._passes.notes)

    def _deliver(self, made: Made, version: str) -> None:
        wired, nodes = made.wired, [node for node, _ in made.pictures]
        notes = wired.notes + self._passes.notes
        facts = {"server": self._source.site.url, "server_version": version, "workflow": self._source.self_contained}
        facts.update(wired.facts)
        if self._passes.used:
            facts["passes"] = self._passes.used
        if notes:
            facts["notes"] = notes
        own: list[dict[str, Any]] = [{"node": node} for node in nodes]
        if nodes[1:]:
            own[0]["others"] = nodes[1:]
        self._job.deliver([picture for _, picture in made.pictures], [wired.seed] * len(nodes), facts, own)

    def _made(self) -> Made:
        """Submits as often as it takes: a restarted server has forgotten its jobs, and files may vanish."""
        follower = Follower(self._comfy, self._client, self._tell, self._previews)
        for _ in range(MOST_SUBMISSIONS):
            assert self._sending is not None
            self._sent = self._sending.to(self._comfy, self._tell)
            try:
                return self._once(follower)
            except (LostJob, results.MissingPicture):
                self._tell("The server has lost the job; submitting it again")
        raise PassingFailure(
            f"{self._source.site.url} has lost the job {MOST_SUBMISSIONS} times",
            remedy="see its console",
        )

    def _once(self, follower: Follower) -> Made:
        job = str(uuid.uuid4())
        graph, wired = self._wired(job)
        ends = results.latest_first(graph, wired.outputs)
        self._tell("Submitting the job")
        self._submit(graph, Ticket(job, self._client))
        assert self._ticket is not None
        entry = follower.until_ended(self._ticket, graph, ends, self._source.where)
        named = results.named_in(entry, ends, wired.result)
        if not named:
            raise HelperError(f"{self._source.where} has made no picture", remedy='end it in a "Save Image" node')
        if wired.result and named[0].node != wired.result:
            label, node = graph.nodes[wired.result].label, named[0].node
            wired.notes.append(f"{label} has made no picture: the frame is that of node {node}")
        return Made(self._fetched(named, graph, wired.notes), wired)

    def _wired(self, job: str) -> tuple[Graph, Wiring]:
        request = self._job.request
        choice = seed_rule(self._source.options["seed"])
        graph = self._source.graph(self._classes)
        seed = None if choice == "workflow" else seed_for(choice, request.frame)
        sent, style = self._sent, self._sent.style or request.locked_style_image
        size, place = (request.width, request.height), f"quillmere/{job}/picture"
        wanted = GraphValues(request.effective_prompt, sent.guide, style, *size, request.frame, seed, place, sent.passes)
        return graph, wire(graph, self._classes, wanted, self._source.where)

    def _submit(self, graph: Graph, ticket: Ticket) -> None:
        """Whether a server that goes away in the middle has taken the job is found out by following it."""
        self._ticket, editor = ticket, graph.to_editor()
        extra = {"extra_pnginfo": {"workflow": editor}} if editor else {}
        try:
            answer = self._comfy.submit(graph.to_api(), ticket, extra)
        except web.UnreachableServer:
            return
        content = answer.object()
        taken = answer.status == 200 and isinstance(content.get("prompt_id"), str)
        if taken:
            ticket.job, ticket.taken = content["prompt_id"], True
        if not taken or content.get("node_errors"):
            if taken:  # the server would run the part of the graph that it finds right
                withdraw(self._comfy, ticket)
            raise refusals.not_taken(self._source.site.url, answer, graph, self._source.where)

    def _fetched(self, named: list[results.Named], graph: Graph, notes: list[str]) -> list[tuple[str, Stored]]:
        """The picture of the frame, and of the others those that can be had; what is wrong with one becomes a note."""
        self._tell("Fetching the picture", ALMOST)
        spool, size = self._job.outputs.spool, 0
        fetched: list[tuple[str, Stored]] = []
        for number, one in enumerate(named[:MOST_PICTURES]):
            if size > LARGEST_TOGETHER:
                notes.append(f"Left on the server, for the pictures take too much together: {one.told.get('filename')}")
                continue
            try:
                picture = until_answered(partial(results.fetch, self._comfy, one.told, spool), self._tell)
            except HelperError as error:
                if number == 0:
                    raise
                notes.append(f"Not fetched: {error}")
                continue
            size += len(picture[0])
            node = graph.nodes.get(one.node)
            content = results.with_graphs(picture, graph.to_api(), graph.to_editor(), spool)
            fetched.append((node.label if node else f"node {one.node}", (content, picture[1])))
        if len(named) > MOST_PICTURES:
            notes.append(f"{len(named) - MOST_PICTURES} more pictures of the job stay on {self._source.site.url}")
        return fetched

    def _tell(self, message: str, share: Optional[float] = None, more: Optional[Mapping[str, Any]] = None) -> None:
        self._job.status.tell("render", message, share, more)
