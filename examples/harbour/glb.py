"""Writes binary glTF 2.0: https://registry.khronos.org/glTF/specs/2.0/glTF-2.0.html"""

from __future__ import annotations

import json
import struct
from typing import Any, Sequence

from harbour.shapes import Mesh

FLOAT, BYTE, SHORT = 5126, 5121, 5123
COMPONENTS = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}
FORMATS = {FLOAT: "f", BYTE: "B", SHORT: "H"}


class GlbWriter:
    """Collects a document; every add_ method returns the index of what it added."""

    def __init__(self) -> None:
        self.document: dict[str, Any] = {
            "asset": {"version": "2.0", "generator": "make_harbour.py"},
            "scene": 0,
            "scenes": [{"nodes": []}],
            "extensionsUsed": ["KHR_lights_punctual", "KHR_materials_unlit"],
            "extensions": {"KHR_lights_punctual": {"lights": []}},
        }
        self._data = bytearray()
        self._shared: dict[tuple[bytes, int, str], int] = {}

    def add(self, list_name: str, item: dict[str, Any]) -> int:
        items = self.document.setdefault(list_name, [])
        items.append(item)
        return len(items) - 1

    def add_view(self, data: bytes) -> int:
        self._data += b"\0" * (-len(self._data) % 4)
        view = {"buffer": 0, "byteOffset": len(self._data), "byteLength": len(data)}
        self._data += data
        return self.add("bufferViews", view)

    def add_accessor(self, rows: Sequence[Sequence[float]], kind: str, component: int = FLOAT, **more: Any) -> int:
        """Rows of numbers; equal data is stored once. FLOAT data of positions gets its bounds through `more`."""
        flat = [number for row in rows for number in row]
        data = struct.pack(f"<{len(flat)}{FORMATS[component]}", *flat)
        key = (data, component, kind)
        if key not in self._shared or more.get("max"):
            accessor = {"bufferView": self.add_view(data), "componentType": component, "type": kind}
            accessor.update(count=len(flat) // COMPONENTS[kind], **more)
            self._shared[key] = self.add("accessors", accessor)
        return self._shared[key]

    def add_positions(self, points: Sequence[Sequence[float]]) -> int:
        columns = list(zip(*points))
        single = struct.Struct("<f")
        rounded = [[single.unpack(single.pack(v))[0] for v in (min(c), max(c))] for c in columns]
        return self.add_accessor(points, "VEC3", min=[r[0] for r in rounded], max=[r[1] for r in rounded])

    def add_material(self, name: str, *, unlit: bool = False, **more: Any) -> int:
        pbr = {"metallicFactor": 0, "roughnessFactor": 1, **more.pop("pbr", {})}
        material: dict[str, Any] = {"name": name, "pbrMetallicRoughness": pbr, **more}
        if unlit:
            material["extensions"] = {"KHR_materials_unlit": {}}
        return self.add("materials", material)

    def add_mesh(self, name: str, parts: Sequence[tuple[Mesh, int]], **more: Any) -> int:
        """One primitive for each (mesh, material) that has triangles. Without normals each triangle is flat."""
        primitives = []
        for mesh, material in parts:
            if not mesh.indices:
                continue
            attributes = {"POSITION": self.add_positions(mesh.points)}
            colors = [[round(max(0.0, min(1.0, c)) * 65535) for c in color] for color in mesh.colors]
            attributes["COLOR_0"] = self.add_accessor(colors, "VEC4", SHORT, normalized=True)
            if any(uv != (0.0, 0.0) for uv in mesh.uvs):
                attributes["TEXCOORD_0"] = self.add_accessor(mesh.uvs, "VEC2")
            indices = self.add_accessor([[i] for i in mesh.indices], "SCALAR", SHORT)
            primitives.append({"attributes": attributes, "indices": indices, "material": material})
        return self.add("meshes", {"name": name, "primitives": primitives, **more})

    def add_node(self, name: str, parent: int | None = None, **more: Any) -> int:
        index = self.add("nodes", {"name": name, **more})
        if parent is None:
            self.document["scenes"][0]["nodes"].append(index)
        else:
            self.document["nodes"][parent].setdefault("children", []).append(index)
        return index

    def add_light(self, name: str, kind: str, color: Sequence[float], intensity: float, **more: Any) -> dict[str, Any]:
        """Returns the extension that puts the light on a node."""
        lights = self.document["extensions"]["KHR_lights_punctual"]["lights"]
        lights.append({"name": name, "type": kind, "color": list(color), "intensity": intensity, **more})
        return {"KHR_lights_punctual": {"light": len(lights) - 1}}

    def animate(self, node: int, path: str, times: Sequence[float], rows: Sequence[Sequence[float]],
                interpolation: str = "LINEAR") -> None:
        """Keys of one property; CUBICSPLINE has three rows a key: in-tangent, value, out-tangent."""
        kind = {"translation": "VEC3", "scale": "VEC3", "rotation": "VEC4", "weights": "SCALAR"}[path]
        animations = self.document.setdefault("animations", [{"name": "Evening", "channels": [], "samplers": []}])
        bounds = {"min": [min(times)], "max": [max(times)]}
        sampler = {"input": self.add_accessor([[t] for t in times], "SCALAR", **bounds),
                   "output": self.add_accessor(rows, kind), "interpolation": interpolation}
        animations[0]["samplers"].append(sampler)
        target = {"sampler": len(animations[0]["samplers"]) - 1, "target": {"node": node, "path": path}}
        animations[0]["channels"].append(target)

    def to_bytes(self) -> bytes:
        self.document["buffers"] = [{"byteLength": len(self._data)}]
        text = json.dumps(self.document, separators=(",", ":")).encode()
        text += b" " * (-len(text) % 4)
        data = bytes(self._data) + b"\0" * (-len(self._data) % 4)
        chunks = struct.pack("<II", len(text), 0x4E4F534A) + text + struct.pack("<II", len(data), 0x004E4942) + data
        return struct.pack("<III", 0x46546C67, 2, 12 + len(chunks)) + chunks
