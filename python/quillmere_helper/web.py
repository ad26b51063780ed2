"""HTTP exchanges with a server, whole or as a stream, with clear errors and nothing sent that was not asked for.

Redirects are not followed and proxies of the environment are not used: guide, prompt and login go to the server that
was named and to no other. No `Origin` is sent, since servers take one for a foreign web page.
"""

import base64
import http.client
import json
import ssl
import urllib.parse
from dataclasses import dataclass, field
from typing import Any, Mapping, Optional, Union

from .errors import HelperError, reason_of
from .untrusted import as_object, json_of

CONNECT_TIME = 10.0  # seconds
ANSWER_TIME = 30.0  # seconds without a byte
LARGEST_ANSWER = 1 << 30  # bytes
LONGEST_REASON = 200  # characters
MEMORY = ("OutOfMemory", "out of memory", "Allocation on device")  # a server's words for too little of it

Connection = Union[http.client.HTTPConnection, http.client.HTTPSConnection]


class UnreachableServer(HelperError):
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
    timeout: float = ANSWER_TIME  # seconds without a byte until an exchange counts as failed

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
        suffix = "?" + urllib.parse.urlencode(query) if query else ""
        return self.parts.path.rstrip("/") + path + suffix

    def get(self, path: str, query: Optional[Mapping[str, str]] = None) -> Answer:
        return self.exchange("GET", self.target(path, query), None, {})

    def post(self, path: str, content: Any) -> Answer:
        body, headers = json_body(content)
        return self.exchange("POST", self.target(path), body, headers)

    def exchange(self, method: str, target: str, body: Optional[bytes], headers: Mapping[str, str]) -> Answer:
        """Raises UnreachableServer. The caller looks at the status."""
        connection = self.connect(min(self.timeout, CONNECT_TIME))
        try:
            self.send(connection, method, target, body, headers)
            return self.receive(connection)
        finally:
            connection.close()

    def send(
        self, connection: Connection, method: str, target: str, body: Optional[bytes], headers: Mapping[str, str]
    ) -> None:
        try:
            connection.request(method, target, body, {**headers, **self.login})
            if connection.sock is not None:
                connection.sock.settimeout(self.timeout)
        except ssl.SSLCertVerificationError as error:
            raise HelperError(
                f"{self.url} shows a certificate that cannot be trusted ({error.verify_message}); "
                "correct its certificate, or name its authority in SSL_CERT_FILE"
            ) from error
        except (OSError, http.client.HTTPException, UnicodeError) as error:
            raise self._unreachable(error) from error

    def receive(self, connection: Connection) -> Answer:
        try:
            response = connection.getresponse()
            body = response.read(LARGEST_ANSWER + 1)
            if len(body) > LARGEST_ANSWER:
                raise HelperError(f"{self.url} sends more than {LARGEST_ANSWER >> 30} GB in one answer; check the URL")
            if response.length:  # what a whole body would still have to bring
                raise http.client.IncompleteRead(body, response.length)
            kind = response.headers.get_content_type() if "Content-Type" in response.headers else ""
            return Answer(response.status, kind, body)
        except (OSError, http.client.HTTPException) as error:
            raise self._unreachable(error) from error

    def _unreachable(self, error: BaseException) -> UnreachableServer:
        why = reason_of(error)
        return UnreachableServer(f"{self.url} does not answer ({why})", remedy="start the server there or correct the URL")


def json_body(content: Any) -> tuple[bytes, dict[str, str]]:
    return json.dumps(content).encode(), {"Content-Type": "application/json"}


def shortened(text: str) -> str:
    """A server's own words on one line, for an error; the rest of a long text belongs into the log."""
    flat = " ".join(text.split())
    return flat if len(flat) <= LONGEST_REASON else flat[: LONGEST_REASON - 3] + "..."


def out_of_memory(text: str) -> bool:
    return any(word in text for word in MEMORY)


def interrupted(where: str) -> HelperError:
    """For a job that somebody else has stopped."""
    return HelperError(f"{where} was interrupted on the server; render the frame again")


def bearer(token: str) -> dict[str, str]:
    return {"Authorization": f"Bearer {token}"}


def basic(user_and_password: str) -> dict[str, str]:
    return {"Authorization": "Basic " + base64.b64encode(user_and_password.encode()).decode()}


def quoted(part: str) -> str:
    """`part` as one step of a path."""
    return urllib.parse.quote(part, safe="")
