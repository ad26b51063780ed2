"""The calls of a ComfyUI server that the helper uses, each with the errors that it may give."""

from __future__ import annotations

import uuid
from dataclasses import dataclass
from typing import Any, Iterator, Mapping, Optional

from ... import web
from ...errors import HelperError
from ...servers import Kind

RECENT = "64"  # entries of the history to look through for a job that is not there under its own ID


@dataclass(frozen=True)
class Pending:
    """A job that waits; `ahead` counts all jobs that come first, the running one included."""

    ahead: int


@dataclass(frozen=True)
class Running:
    pass


@dataclass(frozen=True)
class Ended:
    entry: Mapping[str, Any]  # the job's entry in the history


@dataclass(frozen=True)
class Unknown:
    pass


@dataclass
class Ticket:
    """How one job of ours is known. `job` is the ID that we ask for until the server tells which one it gave; `client`
    is our own and in no other job."""

    job: str
    client: str


class Comfy:
    """One server. Every call raises web.Unreachable when it does not answer and HelperError when it refuses us."""

    def __init__(self, site: web.Site) -> None:
        self.site = site

    def version(self) -> str:
        """Of the server, "" when it does not tell. Raises HelperError when something else answers there."""
        answer = self._checked(self.site.get("/system_stats"))
        system = answer.json()
        system = system.get("system") if isinstance(system, dict) else None
        if answer.status != 200 or not isinstance(system, dict):
            raise HelperError(f"{self.site.url} is no ComfyUI server (status {answer.status}); correct the URL")
        return str(system.get("comfyui_version") or "")

    def class_info(self, name: str) -> Any:
        answer = self._checked(self.site.get("/object_info/" + web.quoted(name)))
        return answer.json() if answer.status == 200 else {}

    def upload(self, name: str, subfolder: str, content: bytes, kind: str) -> str:
        """Puts a picture into the server's input folder; returns what to write into a loader's "image"."""
        boundary = uuid.uuid4().hex
        body = b"".join(_fields(boundary, {"type": "input", "subfolder": subfolder, "overwrite": "true"}))
        body += _file(boundary, name, content, kind) + f"--{boundary}--\r\n".encode()
        headers = {"Content-Type": f"multipart/form-data; boundary={boundary}"}
        answer = self._checked(self.site.exchange("POST", self.site.target("/upload/image"), body, headers))
        stored = answer.json()
        if answer.status == 413:
            raise HelperError(
                f"{self.site.url} takes no picture of {len(body) >> 20} MB; start it with --max-upload-size"
            )
        if answer.status != 200 or not isinstance(stored, dict) or not isinstance(stored.get("name"), str):
            raise HelperError(f"{self.site.url} does not take the guide image (status {answer.status})", answer.text())
        folder = stored.get("subfolder")
        return f"{folder}/{stored['name']}" if folder else str(stored["name"])

    def submit(self, graph: Mapping[str, Any], ticket: Ticket, extra: Mapping[str, Any]) -> web.Answer:
        content = {"prompt": graph, "client_id": ticket.client, "prompt_id": ticket.job, "extra_data": extra}
        return self._checked(self.site.post("/prompt", content))

    def state(self, ticket: Ticket) -> "Pending | Running | Ended | Unknown":
        """Where a job is. The queue is asked first: the other way round, a job that ends in between would be lost."""
        running, pending = self.queue()
        for ahead, item in enumerate(running + sorted(pending, key=_turn)):
            if is_ours(item, ticket):
                ticket.job = str(item[1])
                return Running() if ahead < len(running) else Pending(ahead)
        entry = self._history(ticket)
        return Unknown() if entry is None else Ended(entry)

    def queue(self) -> tuple[list[Any], list[Any]]:
        """The running and the waiting jobs."""
        content = self._checked(self.site.get("/queue")).json()
        if not isinstance(content, dict):
            raise web.Unreachable(f"{self.site.url} does not tell its queue; see its console")
        running, pending = (content.get(key) for key in ("queue_running", "queue_pending"))
        return running if isinstance(running, list) else [], pending if isinstance(pending, list) else []

    def _history(self, ticket: Ticket) -> Optional[Mapping[str, Any]]:
        """The entry of a job that has ended; also of one whose ID the server chose but could not tell us."""
        places: tuple[tuple[str, dict[str, str]], ...] = (
            ("/history/" + web.quoted(ticket.job), {}),
            ("/history", {"max_items": RECENT}),
        )
        for path, query in places:
            entries = self._checked(self.site.get(path, query)).json()
            for job, entry in entries.items() if isinstance(entries, dict) else ():
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
    extra = item[3] if len(item) > 3 and isinstance(item[3], dict) else {}
    return bool(item[1] == ticket.job or extra.get("client_id") == ticket.client)


def _turn(item: Any) -> float:
    number = item[0] if isinstance(item, list) and item else 0
    return float(number) if isinstance(number, (int, float)) else 0.0


def _fields(boundary: str, fields: Mapping[str, str]) -> Iterator[bytes]:
    for name, value in fields.items():
        yield f'--{boundary}\r\nContent-Disposition: form-data; name="{name}"\r\n\r\n{value}\r\n'.encode()


def _file(boundary: str, name: str, content: bytes, kind: str) -> bytes:
    head = f'--{boundary}\r\nContent-Disposition: form-data; name="image"; filename="{name}"\r\n'
    return f"{head}Content-Type: {kind}\r\n\r\n".encode() + content + b"\r\n"


KIND = Kind("ComfyUI", "QUILLMERE_COMFYUI", "http://127.0.0.1:8188", lambda site: Comfy(site).version())
