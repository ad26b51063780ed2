"""What the specification jobtemplate-2023-09 of Open Job Description asks of a template: the first rule that is broken."""

from __future__ import annotations

import re
from typing import Any, Optional

IDENTIFIER = r"[A-Za-z_][A-Za-z0-9_]{0,63}"
EXTENSIONS = {"TASK_CHUNKING"}
CONTROLS = {
    "STRING": {"LINE_EDIT", "MULTILINE_EDIT", "DROPDOWN_LIST", "CHECK_BOX", "HIDDEN"},
    "PATH": {"CHOOSE_INPUT_FILE", "CHOOSE_OUTPUT_FILE", "CHOOSE_DIRECTORY", "DROPDOWN_LIST", "HIDDEN"},
    "INT": {"SPIN_BOX", "DROPDOWN_LIST", "HIDDEN"},
    "FLOAT": {"SPIN_BOX", "DROPDOWN_LIST", "HIDDEN"},
}
LIMITS = {"STRING": {"minLength", "maxLength"}, "PATH": {"minLength", "maxLength"}, "INT": {"minValue", "maxValue"},
          "FLOAT": {"minValue", "maxValue"}}


class Broken(Exception):
    pass


def rule(holds: bool, told: str) -> None:
    if not holds:
        raise Broken(told)


def keys(thing: Any, name: str, needed: set[str], more: set[str] = frozenset()) -> None:
    rule(isinstance(thing, dict), f"{name} is no object")
    rule(needed <= set(thing) <= needed | more, f"{name} has {sorted(thing)}, not {sorted(needed)} and at most {sorted(more)}")


def text(value: Any, name: str, least: int = 1, most: int = 1024) -> None:
    rule(isinstance(value, str) and least <= len(value) <= most, f"{name} is no text of {least} to {most}: {value!r:.80}")


def check_interface(definition: dict, name: str) -> None:
    interface, kind = definition["userInterface"], definition["type"]
    keys(interface, name, {"control"}, {"label", "groupLabel"} | ({"fileFilters"} if kind == "PATH" else set()))
    control = interface["control"]
    rule(control in CONTROLS[kind], f"{name}: {control} is none of a {kind}")
    for label in {"label", "groupLabel"} & set(interface):
        text(interface[label], f"{name}.{label}", 1, 64)
    rule(control != "DROPDOWN_LIST" or "allowedValues" in definition, f"{name}: a list without values")
    rule(control != "CHECK_BOX" or sorted(definition.get("allowedValues", [])) == ["false", "true"], f"{name}: a box of other values")
    for filter in interface.get("fileFilters", []):
        keys(filter, f"{name}.fileFilters", {"label", "patterns"})
        rule(all(re.fullmatch(r"\*|\*\.\*|\*(\.[\w-]+)+", pattern) for pattern in filter["patterns"]), f"{name}: {filter}")


def check_value(value: Any, definition: dict, name: str) -> None:
    kind = definition["type"]
    if kind in ("STRING", "PATH"):
        text(value, name, definition.get("minLength", 0), min(definition.get("maxLength", 1024), 1024))
    else:
        rule(isinstance(value, int if kind == "INT" else (int, float)) and not isinstance(value, bool), f"{name}: {value!r} is no {kind}")
        rule(definition.get("minValue", value) <= value <= definition.get("maxValue", value), f"{name}: {value} is beyond its limits")
    rule(value in definition.get("allowedValues", [value]), f"{name}: {value!r} is none of the allowed ones")


def check_parameter(definition: dict) -> None:
    name = f"parameter {definition.get('name')}"
    kind = definition.get("type")
    rule(kind in CONTROLS, f"{name}: type {kind}")
    path = {"objectType", "dataFlow"} if kind == "PATH" else set()
    keys(definition, name, {"name", "type"}, {"default", "description", "allowedValues", "userInterface"} | LIMITS[kind] | path)
    rule(re.fullmatch(IDENTIFIER, definition["name"]) is not None, f"{name} is no identifier")
    rule(definition.get("objectType", "FILE") in ("FILE", "DIRECTORY"), f"{name}: objectType")
    rule(definition.get("dataFlow", "NONE") in ("NONE", "IN", "OUT", "INOUT"), f"{name}: dataFlow")
    if "allowedValues" in definition:
        rule(len(definition["allowedValues"]) > 0, f"{name}: no value is allowed")
    for value in [*definition.get("allowedValues", []), *([definition["default"]] if "default" in definition else [])]:
        check_value(value, definition, name)
    if "userInterface" in definition:
        check_interface(definition, name)


def check_space(space: dict, extensions: list[str]) -> set[str]:
    keys(space, "parameterSpace", {"taskParameterDefinitions"}, {"combination"})
    names = set()
    for definition in space["taskParameterDefinitions"]:
        chunked = definition.get("type") == "CHUNK[INT]"
        keys(definition, "task parameter", {"name", "type", "range"} | ({"chunks"} if chunked else set()))
        rule(definition["type"] in ("INT", "FLOAT", "STRING", "PATH", "CHUNK[INT]"), f"task parameter of {definition['type']}")
        if chunked:
            rule("TASK_CHUNKING" in extensions, "chunks without the extension")
            keys(definition["chunks"], "chunks", {"defaultTaskCount", "rangeConstraint"}, {"targetRuntimeSeconds"})
            rule(definition["chunks"]["defaultTaskCount"] >= 1, "chunks of nothing")
            rule(definition["chunks"]["rangeConstraint"] in ("CONTIGUOUS", "NONCONTIGUOUS"), "rangeConstraint")
        names.add(definition["name"])
    return names


def check_references(argument: str, known: set[str]) -> None:
    for reference in re.findall(r"\{\{(.*?)\}\}", argument):
        rule(reference.strip() in known, f"'{argument}' refers to {reference}")
    rule("{{" not in re.sub(r"\{\{.*?\}\}", "", argument), f"'{argument}' holds braces")


def check_step(step: dict, job_names: set[str], extensions: list[str]) -> None:
    keys(step, "step", {"name", "script"}, {"description", "dependencies", "hostRequirements", "stepEnvironments", "parameterSpace"})
    task_names = check_space(step["parameterSpace"], extensions) if "parameterSpace" in step else set()
    keys(step["script"], "script", {"actions"}, {"embeddedFiles"})
    keys(step["script"]["actions"], "actions", {"onRun"})
    run = step["script"]["actions"]["onRun"]
    keys(run, "onRun", {"command"}, {"args", "timeout", "cancelation"})
    cancelation = run.get("cancelation", {"mode": "TERMINATE"})
    keys(cancelation, "cancelation", {"mode"}, {"notifyPeriodInSeconds"} if cancelation["mode"] == "NOTIFY_THEN_TERMINATE" else set())
    known = {f"{kind}.{name}" for name in job_names for kind in ("Param", "RawParam")} | {f"Task.Param.{name}" for name in task_names}
    for argument in [run["command"], *run.get("args", [])]:
        check_references(argument, known | {"Session.WorkingDirectory"})
    for definition in step.get("parameterSpace", {}).get("taskParameterDefinitions", []):
        if isinstance(definition["range"], str):
            check_references(definition["range"], {f"Param.{name}" for name in job_names})


def broken_rule(template: Any) -> Optional[str]:
    try:
        keys(template, "template", {"specificationVersion", "name", "steps"},
             {"description", "extensions", "parameterDefinitions", "jobEnvironments"})
        rule(template["specificationVersion"] == "jobtemplate-2023-09", "specificationVersion")
        text(template["name"], "name", 1, 128)
        extensions = template.get("extensions", ["TASK_CHUNKING"])
        rule(0 < len(extensions) and set(extensions) <= EXTENSIONS, f"extensions {extensions}")
        definitions = template.get("parameterDefinitions", [])
        rule("parameterDefinitions" not in template or 1 <= len(definitions) <= 50, f"{len(definitions)} parameters")
        for definition in definitions:
            check_parameter(definition)
        names = {definition["name"] for definition in definitions}
        rule(len(names) == len(definitions), "a parameter is defined twice")
        rule(len(template["steps"]) >= 1, "no steps")
        for step in template["steps"]:
            check_step(step, names, template.get("extensions", []))
    except Broken as broken:
        return str(broken)
    return None
