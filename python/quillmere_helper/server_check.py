"""`--servers`: which servers answer where renders would look for them."""

from __future__ import annotations

import json
from typing import Any, Callable

from . import servers, web
from .backends.a1111.client import A1111
from .backends.comfyui.client import Comfy
from .errors import HelperError

PATIENCE = 3.0  # seconds for a server to answer


def run(as_json: bool) -> int:
    """Prints a line, or a JSON object, for each kind of server; none that answers is no failure."""
    reports = [_report(servers.COMFYUI, _comfy_version), _report(servers.A1111, _a1111_model)]
    for report in reports:
        state = f"answers {report['version']}".rstrip() if report["ok"] else report["problem"]
        print(json.dumps(report) if as_json else f"{report['kind']} at {report['url']}: {state}")
    return 0


def _report(kind: servers.Kind, ask: Callable[[web.Site], str]) -> dict[str, Any]:
    report: dict[str, Any] = {"kind": kind.name, "url": "", "ok": False, "version": "", "problem": ""}
    try:
        site = servers.site_for(kind, None, "the environment")
        report["url"] = site.url
        report.update(version=ask(web.Site(site.url, site.login, PATIENCE)), ok=True)
    except HelperError as error:
        report["problem"] = str(error)
    return report


def _comfy_version(site: web.Site) -> str:
    return Comfy(site).version()


def _a1111_model(site: web.Site) -> str:
    """These servers do not tell a version; the model that is loaded tells more anyway."""
    return str(A1111(site).options().get("sd_model_checkpoint") or "")
