"""One render on one A1111-compatible server."""

import time
import uuid
from dataclasses import replace
from typing import Any, Mapping, Optional

from ... import cancellation, web
from ...errors import HelperError, PassingFailure
from ...parameters import seed_for
from ...pictures import given_picture
from ...servers import patience, until_answered
from ...untrusted import as_object
from .. import Job, Result
from .client import A1111, Call, refused
from .payload import Settings, control_model, payload, received

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

    def run(self) -> Result:
        settings, request = self._settings, self._job.request
        self._tell(f"Connecting to {settings.site.url}")
        checkpoint = self._server.checkpoint()
        control = control_model(self._server, settings)
        guide, _ = given_picture(request.reference_image, "guide")
        seed = seed_for(settings.options["seed"], request.frame) & LARGEST_SEED
        unused = "The style image is not used: A1111-compatible servers take none"
        try:
            content = self._called(guide, seed, control)
        except cancellation.Cancellation:
            raise cancellation.Cancellation(self._withdraw()) from None
        pictures, seeds = received(content, seed, settings.options["pictures"])
        model = settings.options["checkpoint"] or checkpoint
        facts = {"server": settings.site.url, "checkpoint": model, "controlnet": control}
        self._job.deliver(pictures, seeds, facts)
        return Result(seeds[0], [unused] if request.locked_style_image else [])

    def _called(self, guide: bytes, seed: int, control: Optional[str]) -> Mapping[str, Any]:
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


def _is_interrupted(progress: Mapping[str, Any]) -> bool:
    return bool(as_object(progress.get("state")).get("interrupted"))
