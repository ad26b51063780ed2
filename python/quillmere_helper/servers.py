"""Where the servers are, and what the user lets each of them know about who is asking."""

from __future__ import annotations

import os
import stat
import urllib.parse
from dataclasses import dataclass
from pathlib import Path
from typing import Any, Mapping

from . import web
from .errors import HelperError
from .json_reader import read_object

CREDENTIALS = "QUILLMERE_CREDENTIALS"  # environment: another place for the file with logins
CREDENTIALS_FILE = "~/.quillmere/credentials.json"
LARGEST_CREDENTIALS = 1 << 20  # bytes
LOOPBACK = ("127.0.0.1", "localhost", "::1")


@dataclass(frozen=True)
class Kind:
    """A kind of server: how to call it, and the words that its environment variables begin with."""

    name: str
    prefix: str
    default_url: str

    def variable(self, what: str) -> str:
        return f"{self.prefix}_{what}"


COMFYUI = Kind("ComfyUI", "QUILLMERE_COMFYUI", "http://127.0.0.1:8188")
A1111 = Kind("A1111-compatible", "QUILLMERE_A1111", "http://127.0.0.1:7860")


def site_for(kind: Kind, given: Any, where: str) -> web.Site:
    """The server that `given` names (the "url" in the workflow file `where`), else the environment, else loopback."""
    if given is not None and not isinstance(given, str):
        raise HelperError(f'"url" in {where} must be a text like "{kind.default_url}"')
    own = os.environ.get(kind.variable("URL"), "")
    if given:
        url = checked_url(given, f'"url" in {where}', kind)
    else:
        url = checked_url(own, kind.variable("URL"), kind) if own else kind.default_url
    return web.Site(url, _login(kind, url, own))


def checked_url(url: str, where: str, kind: Kind) -> str:
    """`url` without a slash at its end. Raises HelperError that names `where` it stands."""
    try:
        parts = urllib.parse.urlsplit(url)
        usable = parts.scheme in ("http", "https") and bool(parts.hostname) and parts.port != 0
    except ValueError:
        usable = False
    if not usable or any(letter <= " " for letter in url) or parts.query or parts.fragment:
        raise HelperError(f'{where} is "{url}"; it must be like {kind.default_url}')
    if "@" in parts.netloc:
        raise HelperError(
            f"{where} holds a login; take it out and put it into {kind.variable('AUTH')} or {CREDENTIALS_FILE}"
        )
    return url.rstrip("/")


def origin(url: str) -> str:
    """What has to be the same for a login to be meant for a server: scheme, host and port."""
    parts = urllib.parse.urlsplit(url)
    port = parts.port or (443 if parts.scheme == "https" else 80)
    return f"{parts.scheme}://{(parts.hostname or '').lower()}:{port}"


def _login(kind: Kind, url: str, own_url: str) -> Mapping[str, str]:
    """Logins of the environment go only to the server named there or to this machine: a workflow file may come from
    anybody, and must not be able to have them sent to its own address."""
    trusted = urllib.parse.urlsplit(url).hostname in LOOPBACK or (own_url and origin(own_url) == origin(url))
    if trusted and os.environ.get(kind.variable("TOKEN")):
        return web.bearer(_one_line(os.environ[kind.variable("TOKEN")], kind.variable("TOKEN")))
    if trusted and os.environ.get(kind.variable("AUTH")):
        return web.basic(_one_line(os.environ[kind.variable("AUTH")], kind.variable("AUTH")))
    return _login_from_file(url)


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
        if not isinstance(login, dict):
            raise HelperError(f'The entry "{known}" in "{path}" is no login; {remedy}')
        if origin(known) == origin(url):
            if isinstance(login.get("token"), str):
                return web.bearer(_one_line(login["token"], str(path)))
            if isinstance(login.get("basic"), str):
                return web.basic(_one_line(login["basic"], str(path)))
            raise HelperError(f'The entry "{known}" in "{path}" is no login; {remedy}')
    return {}


def _one_line(secret: str, where: str) -> str:
    if any(not " " <= letter <= "~" for letter in secret):
        raise HelperError(f"The login in {where} holds characters that cannot be sent; correct it")
    return secret
