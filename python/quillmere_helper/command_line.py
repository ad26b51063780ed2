"""The command line of the helper."""

from __future__ import annotations

import argparse

from . import VERSION, render, server_check, workflow_check

EPILOG = "Exit status: 0 done, 1 failed, 2 wrong use, 143 cancelled. The reason of a failure is in the response file."


def run(argv: list[str]) -> int:
    parser = _parser()
    given = parser.parse_args(argv[1:])
    if given.request is not None and (given.check is not None or given.servers):
        parser.error("--check and --servers take no request")
    if given.servers:
        return server_check.run(given.json)
    if given.check is not None:
        return workflow_check.run(given.check, given.json)
    if given.response is None:
        parser.error("a request file and a response file are needed")
    return render.run(argv, given.request, given.response)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="quillmere_render_helper.py",
        description="Makes the pictures of one Quillmere render request.",
        epilog=EPILOG,
    )
    parser.add_argument("request", nargs="?", metavar="REQUEST", help="render request (JSON) to carry out")
    parser.add_argument("response", nargs="?", metavar="RESPONSE", help="file for the answer (JSON)")
    parser.add_argument("--check", metavar="WORKFLOW", help="tell whether a workflow file can be run, and by what")
    parser.add_argument("--servers", action="store_true", help="tell which servers answer where renders look for them")
    parser.add_argument("--json", action="store_true", help="with --check and --servers: print JSON objects")
    parser.add_argument("--version", action="version", version=f"quillmere_render_helper {VERSION}")
    return parser
