"""Where the servers are, what the user lets each of them know about who is asking, and how long to wait for them."""

import os
import re
import stat
import time
import urllib.parse
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Callable, Mapping, Optional, TypeVar

from . import cancellation, readable, web
from .errors import HelperError
from .untrusted import read_object

CREDENTIALS = "QUILLMERE_CREDENTIALS"  # environment: another place for the file with logins
CREDENTIALS_FILE = "~/.quillmere/credentials.json"
LARGEST_CREDENTIALS = 1 << 20  # bytes
LOGINS = (("TOKEN", "token", web.bearer), ("AUTH", "basic", web.basic))  # variable's end, key in the file, header
PATIENCE = "QUILLMERE_SERVER_PATIENCE"  # environment: seconds to wait for a server that has gone
USUAL_PATIENCE = 300.0
PAUSE = 1.0  # seconds between two tries

Tell = Callable[[str, Optional[float]], None]
T = TypeVar("T")


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


def site_for(kind: Kind, given: Any, where: str) -> web.Site:
    """The server that `given` names (the "url" in the workflow file `where`), else the environment, else loopback."""
    if given is not None and not isinstance(given, str):
        raise HelperError(f'"url" in {where} must be a text like "{kind.default_url}"')
    own = os.environ.get(kind.variable("URL"), "")
    if given:
        url = _checked_url(given, f'"url" in {where}', kind)
    else:
        url = _checked_url(own, kind.variable("URL"), kind) if own else kind.default_url
    return web.Site(url, _login(kind, url, own))


def patience() -> float:
    """Seconds that the user wants to wait for a server that has gone."""
    text = os.environ.get(PATIENCE, "")
    try:
        return max(0.0, float(text)) if text else USUAL_PATIENCE  # NaN is in no order
    except ValueError as error:
        raise HelperError(f'{PATIENCE} is "{text}"; it must be a number of seconds') from error


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
        raise HelperError(f'{where} is "{_without_secrets(url)}"; it must be like {kind.default_url}')
    if "@" in parts.netloc:
        raise HelperError(
            f"{where} holds a login; take it out and put it into {kind.variable('AUTH')} or {CREDENTIALS_FILE}"
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


def _login(kind: Kind, url: str, own_url: str) -> Mapping[str, str]:
    """Logins of the environment go only to the server named there, or to the usual one when none is: a workflow file
    may come from anybody, and must not be able to have them sent to its own address, on this machine or elsewhere."""
    trusted = _origin(own_url or kind.default_url) == _origin(url)
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
        raise HelperError(f'The logins in "{path}" can be read by others; run: chmod 600 "{path}"')
    remedy = 'it must be like {"https://host:8188": {"token": "..."}} or {"basic": "user:password"}'
    for known, login in read_object(str(path), "file of logins", LARGEST_CREDENTIALS, remedy).items():
        wrong = HelperError(f'The entry "{known}" in "{path}" is no login; {remedy}')
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
        raise HelperError(f"The login in {where} holds characters that cannot be sent; correct it")
    return secret
