"""HTTP exchanges with a server, whole or as a stream, with clear errors and nothing sent that was not asked for.

Redirects are not followed and proxies of the environment are not used: guide, prompt and login go to the server that
was named and to no other. No `Origin` is sent, since servers take one for a foreign web page.
"""

import base64
import http.client
import io
import json
import socket
import ssl
import urllib.parse
from dataclasses import dataclass, field, replace
from typing import Any, Mapping, Optional, Union, cast

from .errors import HelperError, PassingFailure, reason_of
from .transport import PIECE, Limits, TooMuch, Transport
from .untrusted import as_object, json_of

CONNECT_TIME = 10.0  # seconds
ANSWER_TIME = 30.0  # seconds without a byte
ALIVE = Limits(2 << 20, 15.0)  # for what a server is and how far it is
ANSWER = Limits(64 << 20, 60.0)  # a queue or a history holds whole graphs
PICTURES = Limits(256 << 20, 3600.0)  # which have to move meanwhile, see transport.py
LONGEST_REASON = 200  # characters
OVERRUN = (429, 502, 503, 504)  # status: too much to do, or nobody behind the server that answers
MEMORY = ("OutOfMemory", "out of memory", "Allocation on device")  # a server's words for too little of it

Connection = Union[http.client.HTTPConnection, http.client.HTTPSConnection]


class UnreachableServer(PassingFailure):
    """The server did not answer, or stopped in the middle of an answer; it may do so later."""


@dataclass(frozen=True)
class Answer:
    status: int
    kind: str  # the content type, without parameters
    body: bytes

    def json(self) -> Any:
        """The JSON that the body holds, or None when it holds none: errors often come as text."""
        return json_of(self.body) if self.kind == "application/json" else None

    def object(self) -> dict[str, Any]:
        """The JSON object that the body holds, or an empty one."""
        return as_object(self.json())

    def text(self) -> str:
        return self.body.decode("utf-8", "replace")


@dataclass(frozen=True)
class Site:
    """One server. `login` holds the headers that go with every request; it is never printed."""

    url: str
    login: Mapping[str, str] = field(default_factory=dict, repr=False)
    timeout: float = ANSWER_TIME  # seconds without a byte until an exchange counts as failed; less: of all of it

    @property
    def parts(self) -> urllib.parse.SplitResult:
        return urllib.parse.urlsplit(self.url)

    def connect(self, timeout: float = CONNECT_TIME) -> Connection:
        parts = self.parts
        host = parts.hostname or ""
        if parts.scheme == "https":
            return http.client.HTTPSConnection(host, parts.port, timeout=timeout, context=ssl.create_default_context())
        return http.client.HTTPConnection(host, parts.port, timeout=timeout)

    def target(self, path: str, query: Optional[Mapping[str, str]] = None) -> str:
        """`path` below the server's own path, as it stands in a request line."""
        suffix = "?" + urllib.parse.urlencode(query, errors="replace") if query else ""
        return self.parts.path.rstrip("/") + path + suffix

    def get(self, path: str, query: Optional[Mapping[str, str]] = None, limits: Limits = ANSWER) -> Answer:
        return self.exchange("GET", self.target(path, query), None, {}, limits)

    def post(self, path: str, content: Any) -> Answer:
        body, headers = json_body(content)
        return self.exchange("POST", self.target(path), body, headers)

    def exchange(
        self, method: str, target: str, body: Optional[bytes], headers: Mapping[str, str], limits: Limits = ANSWER
    ) -> Answer:
        """Raises UnreachableServer. The caller looks at the status."""
        exchange = Exchange(self, method, target, body, headers, limits)
        try:
            return exchange.answer()
        finally:
            exchange.close()


class Exchange:
    """One request, sent, and its answer. Both raise UnreachableServer, or HelperError for what trying again won't
    help against."""

    def __init__(
        self, site: Site, method: str, target: str, body: Optional[bytes], headers: Mapping[str, str], limits: Limits
    ) -> None:
        hurried = site.timeout < ANSWER_TIME
        self._limits = replace(limits, time=min(limits.time, site.timeout)) if hurried else limits
        self._site = site
        self._transport: Optional[Transport] = None
        try:
            self._connection = site.connect(min(site.timeout, CONNECT_TIME))
            self._connection.connect()
            self._transport = Transport(self._connection.sock, self._limits, site.timeout)
            self._connection.sock = cast(socket.socket, self._transport)
            self._connection.request(method, target, body, {**headers, **site.login})
            self._transport.start_clock()
        except ssl.SSLCertVerificationError as error:
            raise HelperError(
                f"{site.url} shows a certificate that cannot be trusted ({error.verify_message}); "
                "correct its certificate, or name its authority in SSL_CERT_FILE"
            ) from error
        except (OSError, http.client.HTTPException, UnicodeError) as error:
            self.close()
            raise self._unreachable(error) from error

    def begins_within(self, seconds: float) -> bool:
        """Whether the answer has begun; as long as it has not, its time does not run."""
        assert self._transport is not None
        begins = self._transport.begins_within(seconds)
        self._transport.start_clock()
        return begins

    def answer(self) -> Answer:
        try:
            response = self._connection.getresponse()
            body = _whole(response)
            kind = response.headers.get_content_type() if "Content-Type" in response.headers else ""
            return Answer(response.status, kind, body)
        except TooMuch as error:
            size = self._limits.size >> 20
            raise HelperError(f"{self._site.url} sends more than {size} MB in one answer; check the URL") from error
        except (OSError, http.client.HTTPException, ValueError) as error:
            raise self._unreachable(error) from error

    def close(self) -> None:
        if self._transport is not None:
            self._transport.hang_up()

    def _unreachable(self, error: BaseException) -> UnreachableServer:
        why = reason_of(error)
        url = self._site.url
        return UnreachableServer(f"{url} does not answer ({why})", remedy="start the server there or correct the URL")


def _whole(response: http.client.HTTPResponse) -> bytes:
    """Piece by piece: the module takes memory for as much as it is asked for, or told, at once."""
    body = io.BytesIO()
    while piece := response.read(PIECE):
        body.write(piece)
    if response.length:  # what a whole body would still have to bring
        raise http.client.IncompleteRead(b"", response.length)
    return body.getvalue()


def json_body(content: Any) -> tuple[bytes, dict[str, str]]:
    return json.dumps(content).encode(), {"Content-Type": "application/json"}


def shortened(text: str) -> str:
    """A server's own words on one line, for an error; the rest of a long text belongs into the log."""
    flat = " ".join(text.split())
    return flat if len(flat) <= LONGEST_REASON else flat[: LONGEST_REASON - 3] + "..."


def out_of_memory(text: str) -> bool:
    return any(word in text for word in MEMORY)


def failure_of(answer: Answer, text: str, details: str = "", remedy: str = "") -> HelperError:
    """For an answer that isn't the one hoped for."""
    return (PassingFailure if answer.status in OVERRUN else HelperError)(text, details, remedy)


def interrupted(where: str) -> PassingFailure:
    """For a job that somebody else has stopped."""
    return PassingFailure(f"{where} was interrupted on the server; render the frame again")


def bearer(token: str) -> dict[str, str]:
    return {"Authorization": f"Bearer {token}"}


def basic(user_and_password: str) -> dict[str, str]:
    return {"Authorization": "Basic " + base64.b64encode(user_and_password.encode()).decode()}


def quoted(part: str) -> str:
    """`part` as one step of a path."""
    return urllib.parse.quote(part, safe="", errors="replace")
