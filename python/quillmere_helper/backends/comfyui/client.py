"""The calls of a ComfyUI server that the helper uses, each with the errors that it may give."""

import uuid
from dataclasses import dataclass
from enum import Enum
from typing import Any, Mapping, Optional

from ... import web
from ...errors import HelperError
from ...pictures import Picture
from ...servers import Kind
from ...untrusted import Spool, as_list, as_object
from . import refusals

RECENT = "64"  # entries of the history to look through for a job that is not there under its own ID
TYPES = {"png": "image/png", "jpg": "image/jpeg", "webp": "image/webp"}
SMALL_UPLOAD = 1 << 20  # bytes that no server refuses, so that none has to be asked
MOST_CUT_OFF = 3  # uploads, until they count as too large
Entry = Mapping[str, Any]  # a job's entry in the history


class Place(Enum):
    """Where a job was when it was to be taken back."""

    NOWHERE = "not there"
    WAITED = "in the queue, which it was taken out of"
    RAN = "running, and told to stop"
    ENDED = "in the history"
    HIDDEN = "perhaps among jobs that the server does not tell apart, so left alone"


@dataclass(frozen=True)
class State:
    """Where a job is. The server knows nothing of it when all of these are false."""

    waits: bool = False
    ahead: int = 0  # jobs that come before one that waits, the running one included
    runs: bool = False
    hidden: bool = False  # perhaps among jobs that the server does not tell apart
    ended: Optional[Entry] = None

    @property
    def known(self) -> bool:
        return self.waits or self.runs or self.hidden or self.ended is not None


@dataclass
class Ticket:
    """How one job of ours is known. `job` is the ID that we ask for until the server tells which one it gave; `client`
    is our own and in no other job. `taken`: the server has said that it took the job."""

    job: str
    client: str
    taken: bool = False


class Comfy:
    """One server. Calls raise web.UnreachableServer when it does not answer and HelperError when it refuses us."""

    def __init__(self, site: web.Site) -> None:
        self.site = site
        self._cut_off = 0  # uploads that were

    def version(self) -> str:
        """Of the server, "" when it does not tell. Raises HelperError when something else answers there."""
        answer = self._checked(self.site.get("/system_stats", None, web.ALIVE))
        system = answer.object().get("system")
        if answer.status != 200 or not isinstance(system, dict):
            text = f"{self.site.url} is no ComfyUI server (status {answer.status})"
            raise web.failure_of(answer, text, remedy="correct the URL")
        return str(system.get("comfyui_version") or "")

    def jobs(self) -> int:
        """How many it has, the running one included. Raises HelperError when something else answers there."""
        answer = self._checked(self.site.get("/prompt", None, web.ALIVE))
        count = as_object(answer.object().get("exec_info")).get("queue_remaining")
        if answer.status != 200 or type(count) is not int:
            text = f"{self.site.url} is no ComfyUI server (status {answer.status})"
            raise web.failure_of(answer, text, remedy="correct the URL")
        return count

    def class_info(self, name: str) -> Mapping[str, Any]:
        """An object with the class in it, or an empty one."""
        answer = self._checked(self.site.get("/object_info/" + web.quoted(name)))
        return answer.object() if answer.status == 200 else {}

    def upload(self, role: str, name: str, subfolder: str, picture: Picture) -> str:
        """Puts the `role` image into the server's input folder; returns what to write into a loader's "image"."""
        fields = {"type": "input", "subfolder": subfolder, "overwrite": "true"}
        body, headers = _form(fields, name, picture)
        limit = self._largest_upload() if len(body) > SMALL_UPLOAD else None
        if limit is not None and len(body) > limit:  # it would hang up in the middle
            raise refusals.too_large(self.site.url, role, len(body), limit)
        try:
            answer = self._checked(self.site.exchange("POST", self.site.target("/upload/image"), body, headers))
        except web.UnreachableServer:
            self._cut_off += 1
            if self._cut_off < MOST_CUT_OFF or len(body) <= SMALL_UPLOAD:
                raise
            self.version()  # it answers all the same: something does not want that much, and hangs up in the middle
            raise refusals.too_large(self.site.url, role, len(body), limit) from None
        stored = answer.object()
        if answer.status == 413:
            raise refusals.too_large(self.site.url, role, len(body), limit)
        if answer.status != 200 or not isinstance(stored.get("name"), str):
            text = f"{self.site.url} does not take the {role} image (status {answer.status}); see the server's console"
            raise web.failure_of(answer, text, answer.text())
        folder = stored.get("subfolder")
        return f"{folder}/{stored['name']}" if folder else str(stored["name"])

    def _largest_upload(self) -> Optional[int]:
        """In bytes; None when the server does not tell."""
        limit = self._checked(self.site.get("/features")).object().get("max_upload_size")
        return limit if type(limit) is int else None

    def submit(self, graph: Mapping[str, Any], ticket: Ticket, extra: Mapping[str, Any]) -> web.Answer:
        content = {"prompt": graph, "client_id": ticket.client, "prompt_id": ticket.job, "extra_data": extra}
        return self._checked(self.site.post("/prompt", content))

    def state(self, ticket: Ticket) -> State:
        """Where a job is. The queue is asked first: the other way round, a job that ends in between would be lost."""
        running, pending = self.queue()
        for ahead, item in enumerate(running + sorted(pending, key=_turn)):
            if is_ours(item, ticket):
                ticket.job = str(item[1])
                return State(runs=True) if ahead < len(running) else State(waits=True, ahead=ahead)
        return State(ended=self._history(ticket), hidden=not all(map(_is_told, running + pending)))

    def queue(self) -> tuple[list[Any], list[Any]]:
        """The running and the waiting jobs."""
        content = self._checked(self.site.get("/queue")).json()
        if not isinstance(content, dict):
            raise web.UnreachableServer(f"{self.site.url} does not tell its queue", remedy="see its console")
        return as_list(content.get("queue_running")), as_list(content.get("queue_pending"))

    def _history(self, ticket: Ticket) -> Optional[Entry]:
        """The entry of a job that has ended; also of one whose ID the server chose but could not tell us."""
        for path, query in (("/history/" + web.quoted(ticket.job), None), ("/history", {"max_items": RECENT})):
            for job, entry in self._checked(self.site.get(path, query)).object().items():
                if isinstance(entry, dict) and (job == ticket.job or is_ours(entry.get("prompt"), ticket)):
                    ticket.job = str(job)
                    return entry
        return None

    def view(self, picture: Mapping[str, Any], into: Spool) -> web.Answer:
        query = {"filename": str(picture.get("filename", "")), "subfolder": str(picture.get("subfolder", ""))}
        query["type"] = str(picture.get("type", "output"))
        return self._checked(self.site.get("/view", query, web.PICTURES, into))

    def cancel(self, ticket: Ticket) -> Place:
        """Takes our job out of the queue or interrupts it; returns where it was.

        No other job is touched: servers that do not know targeted interrupts stop whatever runs, so one is sent only
        while ours does, alone.
        """
        running, pending = self.queue()
        waiting = [item[1] for item in pending if is_ours(item, ticket)]
        if waiting:
            self.site.post("/queue", {"delete": waiting})
            running, _ = self.queue()  # it may have begun in between
        ours = [item[1] for item in running if is_ours(item, ticket)]
        if ours and len(running) == 1:
            self.site.post("/interrupt", {"prompt_id": ours[0]})
            return Place.RAN
        if waiting:
            return Place.WAITED
        if ours or not all(map(_is_told, running + pending)):
            return Place.HIDDEN
        return Place.ENDED if self._history(ticket) else Place.NOWHERE

    def _checked(self, answer: web.Answer) -> web.Answer:
        if answer.status in (401, 403, 407):
            raise HelperError(
                f"{self.site.url} refuses us (status {answer.status})",
                answer.text(),
                remedy=(
                    "set QUILLMERE_COMFYUI_TOKEN or "
                    "QUILLMERE_COMFYUI_AUTH for its URL, or put the login into ~/.quillmere/credentials.json"
                ),
            )
        return answer


def is_ours(item: Any, ticket: Ticket) -> bool:
    if not _is_told(item):
        return False
    extra = as_object(item[3]) if len(item) > 3 else {}
    return bool(item[1] == ticket.job or extra.get("client_id") == ticket.client)


def _is_told(item: Any) -> bool:
    return isinstance(item, list) and len(item) > 1


def _turn(item: Any) -> float:
    number = (as_list(item) or [0])[0]
    return float(number) if isinstance(number, (int, float)) else 0.0


def _form(fields: Mapping[str, str], name: str, picture: Picture) -> tuple[bytes, dict[str, str]]:
    """The body that sends `fields` and a picture file, and its headers."""
    content, kind = picture
    boundary = uuid.uuid4().hex
    start = f'--{boundary}\r\nContent-Disposition: form-data; name="'
    head = "".join(f'{start}{field}"\r\n\r\n{value}\r\n' for field, value in fields.items())
    head += f'{start}image"; filename="{name}"\r\nContent-Type: {TYPES[kind]}\r\n\r\n'
    body = head.encode() + content + f"\r\n--{boundary}--\r\n".encode()
    return body, {"Content-Type": f"multipart/form-data; boundary={boundary}"}


KIND = Kind("ComfyUI", "QUILLMERE_COMFYUI", "http://127.0.0.1:8188", lambda site: Comfy(site).version())
