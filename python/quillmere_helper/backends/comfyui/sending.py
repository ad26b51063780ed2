"""The pictures of a request on their way to a ComfyUI server: guide, style image and passes."""

import hashlib
from dataclasses import dataclass, field
from typing import Mapping

from ... import png
from ...errors import HelperError
from ...passes import Passes, kind_of
from ...pictures import Picture, given_picture, with_mask
from ...request import RenderRequest
from ...servers import Tell, until_answered
from .client import Comfy


@dataclass(frozen=True)
class Sent:
    """Names on the server, as loaders take them; empty for what there is none of."""

    guide: str = ""
    style: str = ""
    passes: Mapping[str, str] = field(default_factory=dict)  # by the words of the passes


class Sending:
    """Reads the pictures once; sends them as often as it takes: files on a server may vanish."""

    def __init__(self, request: RenderRequest, passes: Passes) -> None:
        self._request, self._passes = request, passes
        self._pictures: dict[str, Picture] = {}  # by role: "guide", "style", or the word of a pass
        self._guide = given_picture(request.reference_image, "guide")
        self._pictures["guide"] = self._guide
        if request.locked_style_image:
            self._pictures["style"] = given_picture(request.locked_style_image, "style")

    def take_passes(self, wanted: Mapping[str, bool], where: str, stand_in: bool) -> None:
        """Reads the passes `wanted`, by their words; true for those that are used as masks. Raises HelperError."""
        for word, as_mask in wanted.items():
            found = self._passes.picture(word, self._guide[0], where, stand_in)
            try:
                content = with_mask(found.content) if as_mask and found.is_grey else found.content
            except png.BadPng as error:
                raise HelperError(
                    f"A pass for {where} cannot be used as a mask: {error}",
                    remedy="render the frame again",
                ) from error
            self._pictures[word] = content, "png"

    def to(self, comfy: Comfy, tell: Tell) -> Sent:
        """Raises HelperError."""
        names = {role: self._one(role, picture, comfy, tell) for role, picture in self._pictures.items()}
        return Sent(names.pop("guide"), names.pop("style", ""), names)

    def _one(self, role: str, picture: Picture, comfy: Comfy, tell: Tell) -> str:
        """Servers cannot delete pictures, so they get one folder per series of renders, and a name made from the content:
        the same picture never takes room twice, and two renders at the same time never see each other's."""
        kind = kind_of(role)
        tell(f"Sending the {kind} image", None)
        series = f"{self._request.output_dir}\n{self._request.output_prefix}".encode("utf-8", "surrogateescape")
        name = f"{kind}_{hashlib.sha256(picture[0]).hexdigest()[:24]}.{picture[1]}"
        folder = f"quillmere/{hashlib.sha256(series).hexdigest()[:12]}"
        return until_answered(lambda: comfy.upload(kind, name, folder, picture), tell)
