"""Small scenes that are hard to draw without grain: each has one kind of light or surface that needs many samples."""

from __future__ import annotations

import math
import random
import sys
from pathlib import Path
from typing import Any, Callable, Sequence

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "examples"))
from harbour.atlas import png
from harbour.glb import GlbWriter
from harbour.shapes import Color, Mesh, Point, turned

WHITE: Color = (1.0, 1.0, 1.0, 1.0)


def camera(glb: GlbWriter, place: Point, turn: float, yfov: float) -> None:
    """One that looks `turn` degrees down along -Z."""
    lens = {"type": "perspective", "perspective": {"yfov": yfov, "aspectRatio": 16 / 9, "znear": 0.05}}
    glb.add_node("Camera", camera=glb.add("cameras", lens), translation=place, rotation=turned("x", -turn))


def put(glb: GlbWriter, name: str, mesh: Mesh, material: int) -> None:
    glb.add_node(name, mesh=glb.add_mesh(name, [(mesh, material)]))


def tiles(glb: GlbWriter) -> int:
    """A material of fine tiles with dark joints: edges that nothing may smear."""
    rows = [[(70, 62, 56) if x % 16 < 2 or y % 16 < 2 else (214 - 60 * ((x // 16 + y // 16) % 2), 190, 160)
             for x in range(64)] for y in range(64)]
    image = glb.add("images", {"bufferView": glb.add_view(png(64, 64, rows)), "mimeType": "image/png"})
    texture = glb.add("textures", {"source": image, "sampler": glb.add("samplers", {})})
    return glb.add_material("Tiles", pbr={"baseColorTexture": {"index": texture}})


def floor(glb: GlbWriter, half: float, repeats: float) -> None:
    mesh = Mesh()
    mesh.add([(-half, 0, half), (half, 0, half), (half, 0, -half), (-half, 0, -half)], WHITE,
             [(0, 0), (repeats, 0), (repeats, repeats), (0, repeats)])
    put(glb, "Floor", mesh, tiles(glb))


def walls(glb: GlbWriter, half: float, height: float) -> None:
    mesh = Mesh()
    corners = [(-half, half), (-half, -half), (half, -half), (half, half)]
    for (ax, az), (bx, bz), shade in zip(corners, corners[1:], [(0.7, 0.2, 0.15, 1.0), WHITE, (0.15, 0.3, 0.7, 1.0)]):
        mesh.add([(ax, 0, az), (bx, 0, bz), (bx, height, bz), (ax, height, az)], shade)
    mesh.add([(-half, height, -half), (half, height, -half), (half, height, half), (-half, height, half)], WHITE)
    put(glb, "Walls", mesh, glb.add_material("Walls", doubleSided=True))


def pillars(glb: GlbWriter) -> None:
    mesh = Mesh()
    for x, z in ((-2.4, -1.0), (-0.8, 0.6), (0.9, -1.4), (2.3, 0.4)):
        mesh.lathe([(0.3, 0.0), (0.3, 1.9), (0.0, 1.9)], 24, lambda band: (0.8, 0.78, 0.72, 1.0), (x, 0.0, z))
    put(glb, "Pillars", mesh, glb.add_material("Stone"))


def ball(radius: float) -> Mesh:
    angles = [math.pi * i / 24 for i in range(25)]
    mesh = Mesh()
    mesh.lathe([(radius * math.sin(a) if 0 < i < 24 else 0.0, radius - radius * math.cos(a))
                for i, a in enumerate(angles)], 48, lambda band: WHITE)
    return mesh


def lamps(glb: GlbWriter) -> None:
    """A room with a dozen lamps."""
    floor(glb, 4.0, 6.0)
    walls(glb, 4.0, 3.2)
    pillars(glb)
    rng = random.Random(7)
    for i in range(12):
        light = glb.add_light(f"Lamp {i}", "point", [1.0, 0.6 + 0.4 * rng.random(), 0.3 + 0.5 * rng.random()], 25.0)
        glb.add_node(f"Lamp {i}", extensions=light,
                     translation=[rng.uniform(-3.4, 3.4), rng.uniform(1.6, 2.8), rng.uniform(-3.4, 2.5)])
    camera(glb, (0.0, 1.7, 3.9), 12.0, 0.9)


def neon(glb: GlbWriter) -> None:
    """The same room under tubes that glow."""
    floor(glb, 4.0, 6.0)
    walls(glb, 4.0, 3.2)
    pillars(glb)
    for x, glow in ((-2.0, [1.0, 0.25, 0.6]), (0.2, [0.9, 0.9, 1.0]), (2.2, [0.2, 0.8, 1.0])):
        mesh = Mesh()
        mesh.box((x - 0.06, 2.7, -3.0), (x + 0.06, 2.8, 1.5), (0.05, 0.05, 0.05, 1.0))
        put(glb, "Tube", mesh, glb.add_material("Tube", emissiveFactor=glow, extensions={
            "KHR_materials_emissive_strength": {"emissiveStrength": 8.0}}))
    glb.document["extensionsUsed"].append("KHR_materials_emissive_strength")
    camera(glb, (0.0, 1.7, 3.9), 12.0, 0.9)


def metal(glb: GlbWriter) -> None:
    """Balls from polished to brushed under the sky."""
    floor(glb, 9.0, 14.0)
    for i, roughness in enumerate((0.08, 0.2, 0.35, 0.5, 0.7)):
        for row, (tint, metallic) in enumerate((((0.95, 0.7, 0.35, 1.0), 1), ((0.5, 0.08, 0.08, 1.0), 0))):
            material = glb.add_material("Ball", pbr={"baseColorFactor": tint, "metallicFactor": metallic,
                                                     "roughnessFactor": roughness})
            mesh = glb.add_mesh("Ball", [(ball(0.45), material)])
            glb.add_node("Ball", mesh=mesh, translation=[1.05 * (i - 2), 0.0, 1.2 * row - 0.6])
    camera(glb, (0.0, 2.2, 5.0), 20.0, 0.6)


def leaves(glb: GlbWriter) -> None:
    """A hedge of single leaves under the sun: edges and shadows finer than the filter's reach."""
    floor(glb, 6.0, 9.0)
    rng = random.Random(3)
    mesh = Mesh()
    for _ in range(6000):
        angle, height = rng.uniform(0, 2 * math.pi), rng.uniform(0.25, 1.8)
        radius = 1.7 * math.sqrt(rng.random()) * math.sqrt(math.sin(math.pi * height / 2.0))
        x, z, turn, lean = radius * math.sin(angle) * 1.5, radius * math.cos(angle), rng.uniform(0, 7), rng.uniform(-1, 1)
        u = (0.07 * math.cos(turn), 0.07 * lean, 0.07 * math.sin(turn))
        v = (-0.04 * math.sin(turn), 0.05, 0.04 * math.cos(turn))
        green = (rng.uniform(0.05, 0.2), rng.uniform(0.25, 0.45), 0.05, 1.0)
        mesh.add([(x - a * u[0] + b * v[0], height - a * u[1] + b * v[1], z - a * u[2] + b * v[2])
                  for a, b in ((1, 0), (0, -1), (-1, 0), (0, 1))], green)
    put(glb, "Leaves", mesh, glb.add_material("Leaves", doubleSided=True))
    camera(glb, (0.0, 1.6, 4.6), 9.0, 0.7)


SCENES: Sequence[Callable[[GlbWriter], Any]] = (lamps, neon, metal, leaves)


def write_scenes(folder: Path) -> list[Path]:
    """Those that aren't there yet; their files."""
    folder.mkdir(parents=True, exist_ok=True)
    files = []
    for scene in SCENES:
        file = folder / f"{scene.__name__}.glb"
        if not file.exists():
            glb = GlbWriter()
            scene(glb)
            file.write_bytes(glb.to_bytes())
        files.append(file)
    return files
