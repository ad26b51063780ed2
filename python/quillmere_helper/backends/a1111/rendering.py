"""One render on one A1111-compatible server."""

import time
import uuid
from dataclasses import replace
from typing import Any, Mapping, Optional, Sequence

from ... import cancellation, web
from ...errors import HelperError, PassingFailure
from ...parameters import seed_for
from ...passes import Passes
from ...pictures import given_picture
from ...pool import LOOK
from ...request import told_by_host
from ...servers import patience, until_answered
from ...untrusted import as_object
from .. import Job, Result
from .client import A1111, Call, refused
from .payload import Settings, payload, received, refuse_lacking, units_for
from .units import Unit, pictures_of

POLL = 0.7  # seconds between two looks at the progress
LARGEST_SEED = (1 << 32) - 1  # of these servers
MOST_CALLS = 3
IDLE = 60.0  # seconds without any task on the server, after which an answer that has not come is lost
STOP_TIMEOUT = 0.4  # seconds for an answer while the user waits for the end


class Rendering:
    """The server runs one job at a time and lets the others wait; its progress is that of whatever runs. `task` tells
    ours from those."""

    def __init__(self, job: Job, settings: Settings) -> None:
        self._job, self._settings = job, settings
        self._server = A1111(settings.site)
        self._task = ""
        self._interrupted = False  # by somebody else
        self._best = 0.0

    @property
    def site(self) -> web.Site:
        return self._settings.site

    def load(self) -> int:
        progress = A1111(replace(self.site, timeout=LOOK)).progress()
        return int(bool(progress.get("current_task") or as_object(progress.get("state")).get("job_count")))

    def refuse_lacking(self) -> None:
        refuse_lacking(self._settings, self._server)

    def run(self) -> Result:
        settings, request = self._settings, self._job.request
        self._tell(f"Connecting to {settings.site.url}")
        checkpoint = self._server.checkpoint()
        units = units_for(settings, self._server)
        guide, _ = given_picture(request.reference_image, "guide")
        passes = Passes(told_by_host().get("passes"), request.frame)
        sent = pictures_of([unit for unit, _ in units], guide, passes, settings.where, settings.stand_in)
        control = [unit.payload(model, picture) for (unit, model), picture in zip(units, sent)]
        seed = seed_for(settings.options["seed"], request.frame) & LARGEST_SEED
        notes = list(passes.notes)
        if request.locked_style_image:
            notes.append("The style image is not used: A1111-compatible servers take none")
        try:
            content = self._called(guide, seed, control)
        except cancellation.Cancellation:
            raise cancellation.Cancellation(self._withdraw()) from None
        pictures, seeds = received(content, seed, settings.options["pictures"])
        model = settings.options["checkpoint"] or checkpoint
        facts = {"server": settings.site.url, "checkpoint": model, "controlnet": _told_units(settings, units)}
        self._job.deliver(pictures, seeds, {**facts, "passes": passes.used} if passes.used else facts)
        return Result(seeds[0], notes)

    def _called(self, guide: bytes, seed: int, control: Sequence[Mapping[str, Any]]) -> Mapping[str, Any]:
        """The server's answer. When the connection is lost the same picture is asked for again: these servers give
        nothing back later."""
        for _ in range(MOST_CALLS):
            self._task = f"task(quillmere-{uuid.uuid4().hex})"
            content = payload(self._job.request, self._settings, guide, seed, self._task, control)
            try:
                call = until_answered(lambda: Call(self._settings.site, "/sdapi/v1/img2img", content), self._tell)
                answer = self._followed(call)
            except web.UnreachableServer:
                self._tell("The connection to the server was lost; asking again")
                until_answered(self._until_idle, self._tell)
                continue
            if answer.status != 200:
                raise refused(self._server.checked(answer), self._settings.site, self._settings.where)
            if self._interrupted:
                raise web.interrupted(self._settings.where)
            return answer.object()
        raise PassingFailure(
            f"The connection to {self._settings.site.url} was lost {MOST_CALLS} times before the picture came; "
            "the server keeps a copy in its output folder"
        )

    def _followed(self, call: Call) -> web.Answer:
        busy = time.monotonic()
        while True:
            cancellation.stop_if_orphaned()
            answer = call.wait(POLL)
            try:
                progress = self._server.progress()
            except web.UnreachableServer:
                progress = {}  # some servers answer nothing else while they work
            if answer is None:
                if progress.get("current_task") or "current_task" not in progress:
                    busy = time.monotonic()
                elif time.monotonic() - busy > IDLE:
                    raise web.UnreachableServer("The server has nothing to do, and has not answered")
                self._tell_progress(progress)
            else:
                # An interrupted job ends in an answer like any other, with half a picture; the mark outlasts the job.
                idle = not progress.get("current_task")
                self._interrupted = self._interrupted or (idle and _is_interrupted(progress))
                return answer

    def _until_idle(self) -> None:
        """Waits for a call of ours that the server still runs, so that two of them never run for one picture."""
        end = time.monotonic() + patience()
        while self._is_ours(self._server.progress()) and time.monotonic() < end:
            cancellation.stop_if_orphaned()
            time.sleep(POLL)

    def _tell_progress(self, progress: Mapping[str, Any]) -> None:
        if "current_task" in progress and not self._is_ours(progress):
            if progress["current_task"]:
                self._tell("Waiting: the server is busy with another job")
            return
        self._interrupted = _is_interrupted(progress)
        share = progress.get("progress")
        if isinstance(share, (int, float)):
            self._best = max(self._best, min(float(share), 0.99))
            self._tell("Running on the server", self._best)

    def _is_ours(self, progress: Mapping[str, Any]) -> bool:
        return bool(self._task) and progress.get("current_task") == self._task

    def _withdraw(self) -> str:
        """Interrupts our job when it runs; one that waits cannot be taken back, and older servers do not tell whose
        job runs."""
        if not self._task:
            return cancellation.TEXT
        quick = A1111(replace(self._settings.site, timeout=STOP_TIMEOUT))
        try:
            if self._is_ours(quick.progress()):
                quick.interrupt()
                return f"{cancellation.TEXT}; its job on the server was stopped"
        except HelperError:
            pass
        return f"{cancellation.TEXT}; a job that waits on {self._settings.site.url} cannot be taken back"

    def _tell(self, message: str, share: Optional[float] = None) -> None:
        self._job.status.tell("render", message, share)


def _told_units(settings: Settings, units: Sequence[tuple[Unit, str]]) -> Any:
    """For the record: the name of the model of the guide's own unit, or the list that the workflow has, with full names."""
    if settings.units:
        return [{"pass": unit.word, **unit.options, "model": model} for unit, model in units]
    return units[0][1] if units else None


def _is_interrupted(progress: Mapping[str, Any]) -> bool:
    return bool(as_object(progress.get("state")).get("interrupted"))
