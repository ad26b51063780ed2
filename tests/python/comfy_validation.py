"""What a ComfyUI server finds wrong with a graph, as it says it."""

from comfy_classes import class_info

BEYOND = (("min", "value_smaller_than_min", -1), ("max", "value_bigger_than_max", 1))


def problems_of(prompt, uploads):
    """The error of the whole, what is wrong by node, and the output nodes that can run."""
    classes = {}
    for name, node in prompt.items():
        kind = node["class_type"]
        classes[name] = class_info(kind).get(kind)
        if classes[name] is None:
            text = f"Cannot execute because node {kind} does not exist."
            return _error("invalid_prompt", f"Node ID '#{name}'", message=text), {}, []
    errors, good = {}, []
    for output in (name for name in prompt if classes[name]["output_node"]):
        bad = {}
        _check(output, output, prompt, classes, uploads, bad)
        good += [] if any(bad.values()) else [output]
        for name, found in bad.items():
            if found:
                told = {"errors": found, "dependent_outputs": [], "class_type": prompt[name]["class_type"]}
                errors.setdefault(name, told)["dependent_outputs"].append(output)
    return None if good else _error("prompt_outputs_failed_validation", ""), errors, good


def _check(name, output, prompt, classes, uploads, bad):
    """Fills `bad` with what is wrong with `name` and each node that it needs."""
    if name in bad:
        return
    bad[name], inputs = [], prompt[name]["inputs"]
    for group, specs in classes[name]["input"].items():
        for key, spec in specs.items():
            value = inputs.get(key)
            if isinstance(value, list):
                problem = _bad_link(key, spec, value, prompt, classes, name == output)
                if not problem:
                    _check(value[0], output, prompt, classes, uploads, bad)
            elif key in inputs:
                problem = _bad_value(key, spec, value, uploads)
            else:
                problem = group == "required" and _error("required_input_missing", key, input_name=key)
            bad[name] += [problem] if problem else []


def _bad_value(key, spec, value, uploads):
    kind, options = spec[0], spec[1] if len(spec) > 1 else {}
    told = {"input_name": key, "received_value": value, "input_config": spec}
    if options.get("image_upload"):
        text = f"{key} - Invalid image file: {value}"
        return value not in uploads and _error("custom_validation_failed", text, **told)
    if isinstance(kind, list):
        return value not in kind and _error("value_not_in_list", f"{key}: '{value}' not in {kind}", **told)
    if kind in ("INT", "FLOAT"):
        for limit, problem, sign in BEYOND:
            if sign * value > sign * options.get(limit, value):
                return _error(problem, key, **told)
    return None


def _bad_link(key, spec, link, prompt, classes, is_output):
    inner = "exception_during_validation" if is_output else "exception_during_inner_validation"
    if link[0] not in prompt:
        return _error(inner, f"'{link[0]}'", exception_type="KeyError")
    made = classes[link[0]]["output"]
    if not 0 <= link[1] < len(made):
        return _error(inner, "tuple index out of range", exception_type="IndexError")
    told = {"input_name": key, "input_config": spec, "received_type": made[link[1]], "linked_node": link}
    text = f"{key}, received_type({made[link[1]]}) mismatch input_type({spec[0]})"
    return made[link[1]] not in (spec[0], "*") and _error("return_type_mismatch", text, **told)


def _error(kind, details, message="", **extra):
    return {"type": kind, "message": message or kind, "details": details, "extra_info": extra}
