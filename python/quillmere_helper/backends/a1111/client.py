"""The calls of an A1111-compatible server that the helper uses, each with the errors that it may give."""

import json
from typing import Any, Mapping, Optional

from ... import web
from ...errors import HelperError, PassingFailure
from ...servers import Kind
from ...untrusted import as_list, objects_in


class A1111:
    """One server. Calls raise web.UnreachableServer when it does not answer and HelperError when it refuses us."""

    def __init__(self, site: web.Site) -> None:
        self.site = site

    def checkpoint(self) -> str:
        """The model that is loaded; in place of a version, which these servers do not tell. Asked for first, since the
        answer tells whether there is such a server at all."""
        answer = self.checked(self.site.get("/sdapi/v1/options", None, web.ALIVE))
        options, url = answer.json(), self.site.url
        if answer.status == 404:
            raise HelperError(f"{url} offers no API", remedy="start that server with --api, or correct the URL")
        if answer.status != 200 or not isinstance(options, dict):
            text = f"{url} is no A1111-compatible server (status {answer.status})"
            raise web.failure_of(answer, text, remedy="correct the URL")
        return str(options.get("sd_model_checkpoint") or "")

    def names(self, path: str, key: str) -> Optional[list[str]]:
        """The names that the server lists at `path`, or None when it has no such list."""
        answer = self.checked(self.site.get(path))
        listed = answer.json() if answer.status == 200 else None
        if isinstance(listed, dict):
            listed = listed.get(key)
        if not isinstance(listed, list):
            return None
        return [str(entry.get(key)) if isinstance(entry, dict) else str(entry) for entry in listed]

    def control_models(self) -> Optional[list[str]]:
        """The names of its ControlNet models; None without ControlNet."""
        return self.names("/controlnet/model_list", "model_list")

    def progress(self) -> Mapping[str, Any]:
        query = {"skip_current_image": "true"}
        return self.checked(self.site.get("/sdapi/v1/progress", query, web.ALIVE)).object()

    def interrupt(self) -> None:
        """Stops whatever the server runs: only for a task that is known to be ours."""
        self.site.post("/sdapi/v1/interrupt", {})

    def checked(self, answer: web.Answer) -> web.Answer:
        if answer.status in (401, 403, 407):
            raise HelperError(
                f"{self.site.url} refuses us (status {answer.status}); set QUILLMERE_A1111_AUTH to user:password "
                "for its URL, or put the login into ~/.quillmere/credentials.json",
                answer.text(),
            )
        return answer


class Call:
    """A request that the server answers when the picture is done. Meanwhile other requests can be sent beside it."""

    def __init__(self, site: web.Site, path: str, content: Any) -> None:
        body, headers = web.json_body(content)
        self._exchange = web.Exchange(site, "POST", site.target(path), body, headers, web.PICTURES)

    def wait(self, seconds: float) -> Optional[web.Answer]:
        """The answer when it begins within `seconds`, else None. Raises web.UnreachableServer on a lost connection."""
        if not self._exchange.begins_within(seconds):
            return None
        try:
            return self._exchange.answer()
        finally:
            self._exchange.close()


def refused(answer: web.Answer, site: web.Site, where: str) -> HelperError:
    """For any answer to a call for a picture but a plain yes."""
    content = answer.object()
    detail, errors = content.get("detail"), str(content.get("errors") or "")
    if isinstance(detail, list):  # the server's check of what was sent
        faults = [(as_list(fault.get("loc")) or ["?"], fault.get("msg")) for fault in objects_in(detail)]
        told = "; ".join(f"{place[-1]}: {message}" for place, message in faults)
    else:
        told = str(detail or errors or answer.text())
    whole = f"{content.get('error')} {told} {errors}"
    if web.out_of_memory(whole):
        return PassingFailure(f"{site.url} ran out of memory; lower the resolution or use a smaller model", whole)
    text = f"{site.url} does not make the picture (status {answer.status}: {web.shortened(told)}); correct {where}"
    return web.failure_of(answer, text, json.dumps(content, indent=2) if content else answer.text())


KIND = Kind("A1111-compatible", "QUILLMERE_A1111", "http://127.0.0.1:7860", lambda site: A1111(site).checkpoint())
