"""The calls of a ComfyUI server that the helper uses, each with the errors that it may give."""

import uuid
from dataclasses import dataclass
from typing import Any, Mapping, Optional

from ... import web
from ...errors import HelperError
from ...servers import Kind
from ...untrusted import as_list, as_object

RECENT = "64"  # entries of the history to look through for a job that is not there under its own ID
Entry = Mapping[str, Any]  # a job's entry in the history


@dataclass(frozen=True)
class State:
    """Where a job is. The server knows nothing of it when it neither waits nor runs nor has ended."""

    waits: bool = False
    ahead: int = 0  # jobs that come before one that waits, the running one included
    runs: bool = False
    ended: Optional[Entry] = None


@dataclass
class Ticket:
    """How one job of ours is known. `job` is the ID that we ask for until the server tells which one it gave; `client`
    is our own and in no other job."""

    job: str
    client: str


class Comfy:
    """One server. Calls raise web.UnreachableServer when it does not answer and HelperError when it refuses us."""

    def __init__(self, site: web.Site) -> None:
        self.site = site

    def version(self) -> str:
        """Of the server, "" when it does not tell. Raises HelperError when something else answers there."""
        answer = self._checked(self.site.get("/system_stats"))
        system = answer.object().get("system")
        if answer.status != 200 or not isinstance(system, dict):
            text = f"{self.site.url} is no ComfyUI server (status {answer.status})"
            raise HelperError(text, remedy="correct the URL")
        return str(system.get("comfyui_version") or "")

    def class_info(self, name: str) -> Mapping[str, Any]:
        """An object with the class in it, or an empty one."""
        answer = self._checked(self.site.get("/object_info/" + web.quoted(name)))
        return answer.object() if answer.status == 200 else {}

    def upload(self, name: str, subfolder: str, content: bytes, kind: str) -> str:
        """Puts a picture into the server's input folder; returns what to write into a loader's "image"."""
        fields = {"type": "input", "subfolder": subfolder, "overwrite": "true"}
        body, headers = _form(fields, name, content, kind)
        answer = self._checked(self.site.exchange("POST", self.site.target("/upload/image"), body, headers))
        stored = answer.object()
        if answer.status == 413:
            size = len(body) >> 20
            raise HelperError(f"{self.site.url} takes no picture of {size} MB; start it with --max-upload-size")
        if answer.status != 200 or not isinstance(stored.get("name"), str):
            raise HelperError(f"{self.site.url} does not take the guide image (status {answer.status})", answer.text())
        folder = stored.get("subfolder")
        return f"{folder}/{stored['name']}" if folder else str(stored["name"])

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
        return State(ended=self._history(ticket))

    def queue(self) -> tuple[list[Any], list[Any]]:
        """The running and the waiting jobs."""
        content = self._checked(self.site.get("/queue")).json()
        if not isinstance(content, dict):
            raise web.UnreachableServer(f"{self.site.url} does not tell its queue; see its console")
        return as_list(content.get("queue_running")), as_list(content.get("queue_pending"))

    def _history(self, ticket: Ticket) -> Optional[Entry]:
        """The entry of a job that has ended; also of one whose ID the server chose but could not tell us."""
        for path, query in (("/history/" + web.quoted(ticket.job), None), ("/history", {"max_items": RECENT})):
            for job, entry in self._checked(self.site.get(path, query)).object().items():
                if isinstance(entry, dict) and (job == ticket.job or is_ours(entry.get("prompt"), ticket)):
                    ticket.job = str(job)
                    return entry
        return None

    def view(self, picture: Mapping[str, Any]) -> web.Answer:
        query = {"filename": str(picture.get("filename", "")), "subfolder": str(picture.get("subfolder", ""))}
        return self._checked(self.site.get("/view", {**query, "type": str(picture.get("type", "output"))}))

    def cancel(self, ticket: Ticket) -> bool:
        """Takes our job out of the queue or interrupts it; returns whether it was there.

        No other job is touched: servers that do not know targeted interrupts stop whatever runs, so one is sent only
        while ours does.
        """
        running, pending = self.queue()
        waiting = [item[1] for item in pending if is_ours(item, ticket)]
        if waiting:
            self.site.post("/queue", {"delete": waiting})
            running, _ = self.queue()  # it may have begun in between
        if running and is_ours(running[0], ticket):
            self.site.post("/interrupt", {"prompt_id": running[0][1]})
            return True
        return bool(waiting)

    def _checked(self, answer: web.Answer) -> web.Answer:
        if answer.status in (401, 403, 407):
            raise HelperError(
                f"{self.site.url} refuses us (status {answer.status}); set QUILLMERE_COMFYUI_TOKEN or "
                "QUILLMERE_COMFYUI_AUTH for its URL, or put the login into ~/.quillmere/credentials.json",
                answer.text(),
            )
        return answer


def is_ours(item: Any, ticket: Ticket) -> bool:
    if not isinstance(item, list) or len(item) < 2:
        return False
    extra = as_object(item[3]) if len(item) > 3 else {}
    return bool(item[1] == ticket.job or extra.get("client_id") == ticket.client)


def _turn(item: Any) -> float:
    number = (as_list(item) or [0])[0]
    return float(number) if isinstance(number, (int, float)) else 0.0


def _form(fields: Mapping[str, str], name: str, picture: bytes, kind: str) -> tuple[bytes, dict[str, str]]:
    """The body that sends `fields` and a picture file, and its headers."""
    boundary = uuid.uuid4().hex
    start = f'--{boundary}\r\nContent-Disposition: form-data; name="'
    head = "".join(f'{start}{field}"\r\n\r\n{value}\r\n' for field, value in fields.items())
    head += f'{start}image"; filename="{name}"\r\nContent-Type: {kind}\r\n\r\n'
    body = head.encode() + picture + f"\r\n--{boundary}--\r\n".encode()
    return body, {"Content-Type": f"multipart/form-data; boundary={boundary}"}


KIND = Kind("ComfyUI", "QUILLMERE_COMFYUI", "http://127.0.0.1:8188", lambda site: Comfy(site).version())
