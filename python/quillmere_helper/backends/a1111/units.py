"""The ControlNet units of a picture: what each holds fast, by which model, and with which picture."""

import base64
from dataclasses import dataclass
from typing import Any, Mapping, Optional, Sequence

from ...errors import HelperError
from ...parameters import Parameter, read_table
from ...passes import WORDS, Passes, is_word, kind_of
from ...pool import Lacking
from ...untrusted import as_list
from .client import A1111

MOST_UNITS = 10  # as many as these servers can be set to
GUIDE = "guide"
NONE = "none"  # the module that leaves a picture as it is
MODELS = {"depth": "depth", "normal": "normal", "lines": "lineart", GUIDE: "canny"}  # that go with a picture
MODES = ("balanced", "prompt", "control")  # what matters more; the servers number them
TABLE = (
    Parameter("pass", "", "the picture that is sent: a pass, or \"guide\""),
    Parameter("model", "", "words in the name of the ControlNet model"),
    Parameter("module", NONE, 'how ControlNet prepares the picture; "none": not at all'),
    Parameter("weight", 1.0, "how much the unit counts", 0, 2),
    Parameter("start", 0.0, "the share of the steps after which the unit begins to count", 0, 1),
    Parameter("end", 1.0, "the share of the steps after which it no longer does", 0, 1),
    Parameter("mode", MODES[0], "what matters more where they disagree", words=MODES),
)


@dataclass(frozen=True)
class Unit:
    """One of the workflow's; `options` has the values of TABLE."""

    word: str  # of a pass, or GUIDE
    options: Mapping[str, Any]

    def payload(self, model: str, picture: bytes) -> dict[str, Any]:
        options = self.options
        told = {"enabled": True, "image": base64.b64encode(picture).decode(), "module": options["module"], "model": model}
        told.update(weight=options["weight"], guidance_start=options["start"], guidance_end=options["end"])
        told.update(control_mode=MODES.index(options["mode"]), resize_mode=0, pixel_perfect=True)
        return told


def read_units(content: Mapping[str, Any], where: str) -> list[Unit]:
    """The "units" of a workflow file, none when it has none. Raises HelperError."""
    given = content.get("units", [])
    if not isinstance(given, list) or not all(isinstance(one, dict) for one in given) or len(given) > MOST_UNITS:
        raise HelperError(f'"units" in {where} must be a list of at most {MOST_UNITS} objects')
    return [_unit(one, f"unit {number} of {where}") for number, one in enumerate(given, 1)]


def _unit(given: Mapping[str, Any], where: str) -> Unit:
    options = read_table(given, TABLE, where, "key")
    word = {"normal": "normal:bae"}.get(options["pass"], options["pass"])
    if word != GUIDE and not is_word(word):
        accepted = ", ".join(f'"{one}"' for one in (GUIDE, *WORDS, "matte:NAME"))
        raise HelperError(f'The "pass" of {where} is "{word}"', remedy=f"it must be one of {accepted}")
    model = options["model"] or MODELS.get(kind_of(word), "")
    if not model:
        raise HelperError(f'{where[0].upper()}{where[1:]} has no "model"', remedy="write words of the model's name there")
    return Unit(word, {**options, "model": model, "module": given.get("module", "canny" if word == GUIDE else NONE)})


def models_for(units: Sequence[Unit], server: A1111, where: str) -> list[str]:
    """The full name of each unit's model. Raises HelperError when one is absent."""
    models = server.control_models()
    found = [_named(unit.options["model"], models) for unit in units]
    lacking = [unit.options["model"] for unit, name in zip(units, found) if name is None]
    if lacking:
        raise no_model(lacking[0], models, server, where)
    return [name for name in found if name is not None]


def model_for(words: str, server: A1111, required: bool, where: str) -> Optional[str]:
    """The full name of the model of the only unit that a workflow without "units" has; None when it is absent and not
    `required`."""
    models = server.control_models()
    found = _named(words, models)
    if found is None and required:
        raise no_model(words, models, server, where)
    return found


def no_model(words: str, models: Optional[list[str]], server: A1111, where: str) -> HelperError:
    but = "" if models is None else f" model like it, but {', '.join(models[:5])}"
    return Lacking(f'{where} needs the ControlNet model "{words.lower()}"; {server.site.url} has no ControlNet{but}')


def pictures_of(units: Sequence[Unit], guide: bytes, passes: Passes, where: str, stand_in: bool) -> list[bytes]:
    """What each unit is sent. Raises HelperError."""
    return [guide if unit.word == GUIDE else passes.picture(unit.word, guide, where, stand_in).content for unit in units]


def _named(words: str, models: Optional[list[str]]) -> Optional[str]:
    return next((model for model in as_list(models) if words.lower() in model.lower()), None)
