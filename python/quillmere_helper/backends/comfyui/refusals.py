"""What a ComfyUI server says when it does not do what it was asked, in words that a user can act on."""

import json
from typing import Any, Mapping, Optional

from ... import web
from ...errors import HelperError, PassingFailure
from ...untrusted import as_list, as_object, objects_in
from .graph import Graph, Node, link_of

LONGEST_LIST = 3  # choices that are named
FAILED_OUTPUTS = "prompt_outputs_failed_validation"
UNTOLD_LINKS = ("bad_linked_input", "exception_during_inner_validation", "exception_during_validation")
LACKING_LINKS = ("bad_linked_input", "KeyError", "IndexError")  # what servers find of a link to nowhere


def not_taken(url: str, answer: web.Answer, graph: Graph, where: str) -> HelperError:
    """For an answer to a submitted graph that is not a plain yes."""
    content = answer.json()
    details = answer.text()
    if not isinstance(content, dict):
        text = f"{url} fails to take {where} (status {answer.status}); see the server's console"
        return web.failure_of(answer, text, details)
    problems = node_problems(content.get("node_errors"), graph)
    if problems:
        more = f" (and {len(problems) - 1} more)" if len(problems) > 1 else ""
        return HelperError(f"{problems[0]}{more}; in {where}", details)
    error = content.get("error")
    error = error if isinstance(error, dict) else {"message": error}
    kind = str(error.get("type"))
    message = web.shortened(f"{error.get('message') or ''} {error.get('details') or ''}".strip())
    if kind == "missing_node_type" or "does not exist" in message:
        text = f"{message} In {where}: install the node pack on the server, or change the workflow"
        return HelperError(text, details)
    if kind == "prompt_no_outputs":
        return no_output(where, details)
    if not message and error.get("type") == FAILED_OUTPUTS:
        message = "its links may run in a circle"
    return HelperError(
        f"{url} does not take {where}: {message or 'no reason given'}",
        details,
        remedy="correct the workflow",
    )


def no_output(where: str, details: str = "") -> HelperError:
    return HelperError(f"No node in {where} gives a picture out", details, remedy='add a "Save Image" node')


def too_large(url: str, role: str, size: int, limit: Optional[int]) -> HelperError:
    """`size` and `limit` in bytes."""
    most = "" if limit is None else f"; it takes {limit / (1 << 20):.1f} MB"
    remedy = "choose a smaller one" if role == "style" else "lower the resolution"
    text = f"The {role} image, {size / (1 << 20):.1f} MB, is too large for {url}{most}"
    return HelperError(text, remedy=f"{remedy}, or start the server with a larger --max-upload-size")


def node_problems(node_errors: Any, graph: Graph) -> list[str]:
    """One text for each thing that is wrong with a node."""
    problems = []
    for identifier, told in as_object(node_errors).items():
        told, node = as_object(told), graph.nodes.get(str(identifier))
        label = node.label if node else f"node {identifier} ({told.get('class_type')})"
        errors = objects_in(told.get("errors"))
        texts = [_node_problem(label, error) or _link_problem(label, node, graph) for error in errors]
        problems += texts or [f"{label} cannot run"]
    return problems


def _node_problem(label: str, error: Mapping[str, Any]) -> str:
    """Empty for a link to what is not there."""
    extra = as_object(error.get("extra_info"))
    name, value = extra.get("input_name"), extra.get("received_value")
    details = web.shortened(str(error.get("details") or error.get("message") or "no reason given"))
    kind = error.get("type")
    if kind == "value_not_in_list":
        choices = as_list((as_list(extra.get("input_config")) or [None])[0])
        more = " ..." if len(choices) > LONGEST_LIST else ""
        some = ", ".join(map(str, choices[:LONGEST_LIST])) + more or "its own"
        return f'{label}: "{value}" for {name} is not on the server; put the file there or choose one of {some}'
    if kind in ("value_smaller_than_min", "value_bigger_than_max"):
        return f"{label}: {name} cannot be {value} ({details}); change it or the resolution"
    if kind == "custom_validation_failed":
        return f"{label}: {details}; upload the file to the server or choose another one"
    if kind == "required_input_missing":
        return f"{label}: nothing is linked to {name}; link it"
    if kind == "return_type_mismatch":
        told = f"takes {_kind_of(extra)} and is linked to {extra.get('received_type')}"
        return f"{label}: {name} {told}; link it to another output"
    if kind in UNTOLD_LINKS and extra.get("exception_type", kind) in LACKING_LINKS:
        return ""
    return f"{label}: {details}"


def _kind_of(extra: Mapping[str, Any]) -> Any:
    return (as_list(extra.get("input_config")) or ["something else"])[0]


def _link_problem(label: str, node: Optional[Node], graph: Graph) -> str:
    """Servers tell only what they have not found; which link it is stands in the graph."""
    for name, value in node.inputs.items() if node else ():
        link = link_of(value)
        if link is not None and link[0] not in graph.nodes:
            return f"{label}: {name} is linked to node {link[0]}, which is not in the workflow; link it again"
    return f"{label}: one of its links is to an output that the other node does not have; link it again"


def run_failed(data: Mapping[str, Any], graph: Graph, where: str) -> HelperError:
    """For the server's message "execution_error"."""
    node = graph.nodes.get(str(data.get("node_id")))
    label = node.label if node else f"{data.get('node_type')} (node {data.get('node_id')})"
    kind, message = str(data.get("exception_type") or ""), str(data.get("exception_message") or "").strip()
    details = json.dumps(data, indent=2, ensure_ascii=False, default=str)
    if web.out_of_memory(kind) or web.out_of_memory(message):
        text = f"The server ran out of memory in {label}; lower the resolution or use a smaller model"
        return PassingFailure(f"{text} (in {where})", details)
    if "No space left" in message:
        return HelperError(f"The disk of the server is full ({label})", details, remedy="free some space there")
    reason = web.shortened(message) or kind or "no reason given"
    return HelperError(f"{label} failed on the server: {reason}; in {where}", details)
