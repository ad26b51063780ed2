"""Where the servers are, what the user lets each of them know about who is asking, and how long to wait for them."""

import os
import re
import stat
import time
import urllib.parse
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Callable, Iterator, Mapping, Optional, Sequence, TypeVar

from . import cancellation, readable, web
from .errors import HelperError
from .untrusted import read_object

CREDENTIALS = "QUILLMERE_CREDENTIALS"  # environment: another place for the file with logins
CREDENTIALS_FILE = "~/.quillmere/credentials.json"
LARGEST_CREDENTIALS = 1 << 20  # bytes
LOGINS = (("TOKEN", "token", web.bearer), ("AUTH", "basic", web.basic))  # variable's end, key in the file, header
PATIENCE = "QUILLMERE_SERVER_PATIENCE"  # environment: seconds to wait for a server that has gone
USUAL_PATIENCE = 300.0
MOST_SERVERS = 32
PAUSE = 1.0  # seconds between two tries

Tell = Callable[[str, Optional[float]], None]
T = TypeVar("T")
_limits: list[float] = []  # of the patience, see `impatient`


@dataclass(frozen=True)
class Kind:
    """A kind of server: how to call it, and the words that its environment variables begin with.

    `version` asks a site what runs there, and raises HelperError when it is no such server.
    """

    name: str
    prefix: str
    default_url: str
    version: Callable[[web.Site], str]

    def variable(self, what: str) -> str:
        return f"{self.prefix}_{what}"


def sites_for(kind: Kind, given: Any, where: str) -> list[web.Site]:
    """The servers that `given` names (the "url" in the workflow file `where`: a text or a list of texts), else the
    environment, else the one on loopback; at least one, each once. A text may name several, with commas or spaces."""
    texts = [] if given is None else given if isinstance(given, list) else [given]
    if not all(isinstance(text, str) for text in texts):
        remedy = f'it must be a text like "{kind.default_url}", or a list of such texts'
        raise HelperError(f'"url" in {where} is no text', remedy=remedy)
    own = _named_in(os.environ.get(kind.variable("URL"), ""))
    named = [url for text in texts for url in _named_in(text)]
    source = f'"url" in {where}' if named else kind.variable("URL")
    urls = dict.fromkeys(_checked_url(url, source, kind) for url in named or own or [kind.default_url])
    if len(urls) > MOST_SERVERS:
        raise HelperError(f"{source} names {len(urls)} servers", remedy=f"at most {MOST_SERVERS} are taken")
    return [web.Site(url, _login(kind, url, own)) for url in urls]


def _named_in(text: str) -> list[str]:
    return text.replace(",", " ").split()


def patience() -> float:
    """Seconds to wait for a server that has gone: as many as the user wants, fewer while `impatient`."""
    text = os.environ.get(PATIENCE, "")
    try:
        wanted = max(0.0, float(text)) if text else USUAL_PATIENCE  # NaN is in no order
    except ValueError as error:
        raise HelperError(f'{PATIENCE} is "{text}"', remedy="it must be a number of seconds") from error
    return min(wanted, *_limits) if _limits else wanted


@contextmanager
def impatient(seconds: Optional[float]) -> Iterator[None]:
    """Within this, no server that has gone is waited for longer; None: as long as ever."""
    added = [] if seconds is None else [seconds]
    _limits.extend(added)
    try:
        yield
    finally:
        del _limits[len(_limits) - len(added) :]


def until_answered(call: Callable[[], T], tell: Tell) -> T:
    """`call` again and again until the server answers. Raises web.UnreachableServer when that takes too long."""
    end = time.monotonic() + patience()
    while True:
        try:
            return call()
        except web.UnreachableServer:
            if time.monotonic() > end:
                raise
            tell("The server does not answer; waiting for it", None)
        cancellation.stop_if_orphaned()
        time.sleep(PAUSE)


def _checked_url(url: str, where: str, kind: Kind) -> str:
    """`url` without a slash at its end. Raises HelperError that names `where` it stands."""
    try:
        parts = urllib.parse.urlsplit(url)
        usable = parts.scheme in ("http", "https") and bool(parts.hostname) and parts.port != 0
    except ValueError:
        usable = False
    if not usable or any(letter <= " " for letter in url) or parts.query or parts.fragment:
        raise HelperError(f'{where} is "{_without_secrets(url)}"', remedy=f"it must be like {kind.default_url}")
    if "@" in parts.netloc:
        raise HelperError(
            f"{where} holds a login",
            remedy=f"take it out and put it into {kind.variable('AUTH')} or {CREDENTIALS_FILE}",
        )
    return url.rstrip("/")


def _without_secrets(url: str) -> str:
    """`url` as it may be shown: what stands before the host and after the path is a login at times."""
    return re.sub(r"[?#].*", "?...", re.sub(r"//[^/]*@", "//...@", url), flags=re.S)


def _origin(url: str) -> str:
    """What has to be the same for a login to be meant for a server: scheme, host and port. Empty for what is no URL."""
    try:
        parts = urllib.parse.urlsplit(url)
        port = parts.port or (443 if parts.scheme == "https" else 80)
    except ValueError:
        return ""
    return f"{parts.scheme}://{(parts.hostname or '').lower()}:{port}"


def _login(kind: Kind, url: str, own: Sequence[str]) -> Mapping[str, str]:
    """Logins of the environment go only to the servers named there, or to the usual one when none is: a workflow file
    may come from anybody, and must not be able to have them sent to its own address, on this machine or elsewhere."""
    trusted = _origin(url) in map(_origin, own or [kind.default_url])
    for ending, _, header in LOGINS if trusted else ():
        variable = kind.variable(ending)
        if os.environ.get(variable):
            return _headers(header, os.environ[variable], variable)
    return _login_from_file(url)


def _headers(header: Callable[[str], dict[str, str]], secret: str, where: str) -> Mapping[str, str]:
    """The headers with `secret`, which from now on is shown nowhere, nor are its parts: servers may repeat them."""
    for part in (secret, secret.partition(":")[2]):
        readable.hide(part)
    headers = header(_one_line(secret, where))
    for value in headers.values():
        readable.hide(value.partition(" ")[2])
    return headers


def _login_from_file(url: str) -> Mapping[str, str]:
    path = Path(os.environ.get(CREDENTIALS) or os.path.expanduser(CREDENTIALS_FILE))
    try:
        facts = path.stat()
    except OSError:
        return {}
    if facts.st_uid != os.getuid() or facts.st_mode & (stat.S_IRWXG | stat.S_IRWXO):
        raise HelperError(f'The logins in "{path}" can be read by others', remedy=f'run: chmod 600 "{path}"')
    remedy = 'it must be like {"https://host:8188": {"token": "..."}} or {"basic": "user:password"}'
    for known, login in read_object(str(path), "file of logins", LARGEST_CREDENTIALS, remedy).items():
        wrong = HelperError(f'The entry "{known}" in "{path}" is no login', remedy=remedy)
        if not isinstance(login, dict):
            raise wrong
        if _origin(known) == _origin(url):
            for _, key, header in LOGINS:
                if isinstance(login.get(key), str):
                    return _headers(header, login[key], str(path))
            raise wrong
    return {}


def _one_line(secret: str, where: str) -> str:
    if any(not " " <= letter <= "~" for letter in secret):
        raise HelperError(f"The login in {where} holds characters that cannot be sent", remedy="correct it")
    return secret
