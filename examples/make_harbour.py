#!/usr/bin/env python3
"""Writes an animated example scene, a small harbour town in the evening sun, as binary glTF."""

from __future__ import annotations

import argparse
import contextlib
import math
import os
import random
import sys
from pathlib import Path
from typing import Sequence

from harbour import land, sea, town
from harbour.atlas import draw_atlas
from harbour.glb import BYTE, GlbWriter
from harbour.shapes import Mesh, Point, color, turned

SECONDS = 8.0
SUN = (-0.74, 0.34, 0.58)  # towards it, unit length
DUSK = (0.62, 0.55, 0.56)  # the bright sky on the other side
LIGHTHOUSE = (-36.5, 2.6, 31.0)
HOUSE_KINDS = 9


class Harbour:
    def __init__(self) -> None:
        self.glb = GlbWriter()
        self.rng = random.Random(2024)
        view = self.glb.add_view(draw_atlas())
        self.glb.add("images", {"bufferView": view, "mimeType": "image/png", "name": "town"})
        self.glb.add("samplers", {"magFilter": 9729, "minFilter": 9987, "wrapS": 33071, "wrapT": 33071})
        self.glb.add("textures", {"source": 0, "sampler": 0})
        self.town = self.glb.add_material("Town", pbr={"baseColorTexture": {"index": 0}})
        self.paint = self.glb.add_material("Paint")
        self.cloth = self.glb.add_material("Cloth", doubleSided=True)
        self.sea = self.glb.add_material("Sea")
        self.glow = self.glb.add_material("Glow", unlit=True, doubleSided=True)
        self.sky = self.glb.add_material("Sky", unlit=True)
        self.beam = self.glb.add_material("Beam", unlit=True, doubleSided=True, alphaMode="BLEND")

    def build(self) -> bytes:
        self.add_land()
        self.add_town()
        self.add_lighthouse()
        self.add_water()
        self.add_boats()
        self.add_gulls()
        self.add_flag()
        self.add_cameras()
        return self.glb.to_bytes()

    def still(self, name: str, mesh: Mesh, material: int) -> None:
        self.glb.add_node(name, mesh=self.glb.add_mesh(name, [(mesh, material)]))

    def add_land(self) -> None:
        self.still("Sky", land.sky(SUN), self.sky)
        self.still("Islands", land.islands(), self.glow)
        self.still("Land", land.terrain(), self.paint)
        for name, towards, shade, strength in (("Sun", SUN, "#ffd6a6", 3.0), ("Dusk", DUSK, "#c9c4f0", 0.9)):
            light = self.glb.add_light(name, "directional", color(shade)[:3], strength)
            self.glb.add_node(name, rotation=look(towards, (0, 0, 0)), extensions=light)

    def add_town(self) -> None:
        kinds = [self.glb.add_mesh(f"House {k}", [(town.house(k), self.town)]) for k in range(HOUSE_KINDS)]
        houses = town.place_houses(self.rng, HOUSE_KINDS)
        for i, house in enumerate(houses):
            self.glb.add_node(f"House {i + 1}", mesh=kinds[house.kind], translation=house.foot,
                              rotation=turned("y", house.turn))
        self.still("Quay", town.quay(), self.town)
        jetty = self.glb.add_mesh("Jetty", [(town.jetty(), self.town)])
        for x in (-9.0, 15.0):
            self.glb.add_node("Jetty", mesh=jetty, translation=[x, 0.95, 1.4])
        self.add_lamps()
        taken = [(h.foot[0], h.foot[2], 5.6) for h in houses] + [(LIGHTHOUSE[0], LIGHTHOUSE[2], 9.0)]
        makers = {"cypress": land.cypress, "pine": land.pine, "bush": land.bush}
        trees = {kind: self.glb.add_mesh(kind, [(make(), self.paint)]) for kind, make in makers.items()}
        for kind, foot, size in land.plant(self.rng, taken):
            self.glb.add_node(kind, mesh=trees[kind], translation=foot, scale=[size] * 3,
                              rotation=turned("y", self.rng.uniform(0, 360)))

    def add_lamps(self) -> None:
        post = self.glb.add_mesh("Lamp", [(town.lamp_post(), self.paint), (town.lamp_glow(), self.glow)])
        light = self.glb.add_light("Lamp", "point", color("#ffb45e")[:3], 9.0, range=14)
        jetties = [(-9.9, 0.95, 18.6), (14.1, 0.95, 18.6)]
        for x, y, z in [(x, 1.2, 0.4) for x in (-31, -22, -13, -4, 5, 19, 28)] + jetties:
            lamp = self.glb.add_node("Lamp", mesh=post, translation=[x, y, z])
            if (x, y, z) in jetties:  # few lights, for a renderer samples each of them
                self.glb.add_node("Lamp light", lamp, translation=[0, 3.0, 0.35], extensions=light)
        barrel = self.glb.add_mesh("Barrel", [(town.barrel(), self.paint)])
        for x, z in ((-16.0, 0.6), (-15.2, 0.2), (-15.7, -0.5), (6.4, 0.7), (7.3, 0.5), (23.0, 0.4)):
            self.glb.add_node("Barrel", mesh=barrel, translation=[x, 1.2, z])

    def add_lighthouse(self) -> None:
        glow = Mesh()
        glow.lathe([(0.55, 13.4), (0.8, 14.2), (0.55, 15.0)], 8, lambda band: color("#fff0bd", 1.3))
        mesh = self.glb.add_mesh("Lighthouse", [(town.lighthouse(), self.paint), (glow, self.glow)])
        tower = self.glb.add_node("Lighthouse", mesh=mesh, translation=LIGHTHOUSE, rotation=turned("y", 100))
        beam = self.glb.add_mesh("Beam", [(sea.beam(), self.beam)])
        head = self.glb.add_node("Lighthouse beam", tower, translation=[0, 14.2, 0], mesh=beam)
        times = [SECONDS * i / 8 for i in range(9)]
        self.glb.animate(head, "rotation", times, [turned("y", -45 * i - 20) for i in range(9)])

    def add_water(self) -> None:
        mesh = sea.water()
        index = self.glb.add_mesh("Water", [(mesh, self.sea)], weights=[1, 0])
        targets = [{"POSITION": self.glb.add_positions(sea.swell(mesh.points, phase))} for phase in (0, 0.25)]
        self.glb.document["meshes"][index]["primitives"][0]["targets"] = targets
        node = self.glb.add_node("Water", mesh=index)
        # A travelling wave is cos(t) of one standing wave and sin(t) of another; splines follow both closely.
        times, rows = [SECONDS * i / 16 for i in range(17)], []
        speed = 2 * math.pi / (SECONDS / 2)
        for t in times:
            c, s = math.cos(speed * t), math.sin(speed * t)
            tangents = [[-speed * s], [speed * c]]
            rows += tangents + [[c], [s]] + tangents
        self.glb.animate(node, "weights", times, rows, "CUBICSPLINE")

    def rock(self, node: int, phase: float, at: Point, size: float) -> None:
        """A float rolls and heaves with the swell."""
        times = [SECONDS * i / 16 for i in range(17)]
        waves = [2 * math.pi * (t / (SECONDS / 2) + phase) for t in times]
        self.glb.animate(node, "translation", times,
                         [(at[0], at[1] + 0.09 * size * math.sin(w), at[2]) for w in waves])
        roll = self.glb.document["nodes"][node]["children"][0]
        self.glb.animate(roll, "rotation", times, [turned("x", 4.5 * size * math.sin(w + 0.8)) for w in waves])

    def add_boats(self) -> None:
        looks = [("#3f7f8c", "#f1e3c6"), ("#c9573f", "#f1e3c6"), ("#f3ecdc", "#3d6b86"), ("#d9a441", "#5a3d2e")]
        rowing = [self.glb.add_mesh("Rowing boat", [(sea.boat(*look, mast=False), self.paint)]) for look in looks]
        rigged = [[(sea.boat(*look, mast=True), self.paint), (sea.sail(cloth), self.cloth)]
                  for look, cloth in zip(looks[1:], ("#f3e3c2", "#c8644a", "#ead9b5"))]
        sailing = [self.glb.add_mesh("Sailing boat", parts) for parts in rigged]
        places = [(rowing[0], (-5.6, 7.5), 86), (rowing[1], (-12.2, 10.5), 97), (rowing[3], (11.8, 6.0), 80),
                  (rowing[2], (18.6, 9.0), 95), (sailing[0], (18.9, 15.5), 100), (sailing[1], (-5.2, 16.0), 78),
                  (rowing[1], (24.0, 3.4), 4), (rowing[0], (-22.0, 3.6), -3), (rowing[3], (24.0, 39.5), 160)]
        for i, (mesh, (x, z), turn) in enumerate(places):
            berth = self.glb.add_node(f"Boat {i + 1}", translation=[x, 0, z], rotation=turned("y", turn))
            self.glb.add_node("Hull", berth, mesh=mesh)
            self.rock(berth, 0.37 * i % 1, (x, 0.0, z), 1.0)
        self.add_cruise(sailing[2])
        mesh = self.glb.add_mesh("Buoy", [(sea.buoy(), self.paint)])
        lamp = self.glb.add_mesh("Buoy lamp", [(sea.buoy_lamp(), self.glow)])
        for i, (x, z) in enumerate(((-16.0, 30.0), (4.5, 40.0))):
            buoy = self.glb.add_node("Buoy", translation=[x, 0, z])
            head = self.glb.add_node("Buoy lamp", self.glb.add_node("Float", buoy, mesh=mesh), mesh=lamp)
            self.rock(buoy, 0.3 + 0.5 * i, (x, 0.0, z), 1.6)
            times = [0.0, 0.5, 1.0, 2.0, 2.5, 3.0, 4.0, 4.5, 5.0, 6.0, 6.5, 7.0]
            on, off = [1.0] * 3, [0.0] * 3
            self.glb.animate(head, "scale", times, [on, off, on if i else off] * 4, "STEP")

    def add_cruise(self, mesh: int) -> None:
        """One boat sails past the jetties on a spline."""
        node = self.glb.add_node("Cruising boat")
        self.glb.add_node("Hull", node, mesh=mesh, rotation=turned("x", 6))
        times = [0.0, SECONDS / 2, SECONDS]
        places, speeds = [(-14, 0, 20.5), (2.0, 0, 33), (20, 0, 30)], [(3.4, 0, 3.6), (4.6, 0, 1.2), (4.2, 0, -2.6)]
        self.glb.animate(node, "translation", times,
                         [row for place, speed in zip(places, speeds) for row in (speed, place, speed)], "CUBICSPLINE")
        headings = [-math.degrees(math.atan2(z, x)) for x, _, z in speeds]
        self.glb.animate(node, "rotation", times, [turned("y", heading) for heading in headings])

    def add_gulls(self) -> None:
        body = self.glb.add_mesh("Gull", [(sea.gull_body(), self.cloth)])
        wings = [self.glb.add_mesh("Wing", [(sea.gull_wing(side), self.cloth)]) for side in (1, -1)]
        for i in range(8):
            center = (self.rng.uniform(-22, 8), self.rng.uniform(8, 15), self.rng.uniform(14, 30))
            radius, way, start = self.rng.uniform(5, 13), self.rng.choice((1, -1)), self.rng.uniform(0, 360)
            pivot = self.glb.add_node("Gull flight", translation=center)
            bird = self.glb.add_node("Gull", pivot, mesh=body, translation=[radius, 0, 0], scale=[0.8] * 3,
                                     rotation=turned("y", 180 if way > 0 else 0))
            self.glb.animate(pivot, "rotation", [SECONDS * k / 8 for k in range(9)],
                             [turned("y", start + way * 45 * k) for k in range(9)])
            times = [SECONDS * k / 32 for k in range(33)]
            for side, wing in zip((1, -1), wings):
                node = self.glb.add_node("Wing", bird, mesh=wing)
                self.glb.animate(node, "rotation", times,
                                 [turned("z", side * (8 + 26 * (-1) ** k)) for k in range(33)])

    def add_flag(self) -> None:
        """A pennant on a skin of five joints, each lagging behind the one before it."""
        pole = Mesh()
        pole.lathe([(0.12, 0), (0.07, 9.2), (0.16, 9.3), (0, 9.5)], 6, lambda band: color("#efe6d4"))
        foot = self.glb.add_node("Flagpole", mesh=self.glb.add_mesh("Flagpole", [(pole, self.paint)]),
                                 translation=[11.6, 1.2, 0.8])
        joints, parent, length = [], self.glb.add_node("Flag root", foot, translation=[0.08, 8.2, 0]), 0.8
        for k in range(5):
            parent = self.glb.add_node(f"Flag joint {k + 1}", parent, translation=[length if k else 0, 0, 0])
            joints.append(parent)
            times = [SECONDS * i / 32 for i in range(33)]
            angles = [(14 - 2 * k if k else 6) * math.sin(2 * math.pi * (i / 8 - 0.17 * k)) for i in range(33)]
            self.glb.animate(parent, "rotation", times, [turned("y", angle) for angle in angles])
        binds = [[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -length * k, 0, 0, 1] for k in range(5)]
        skin = self.glb.add("skins", {"joints": joints, "inverseBindMatrices": self.glb.add_accessor(binds, "MAT4")})
        mesh = sea.pennant()
        index = self.glb.add_mesh("Flag", [(mesh, self.cloth)])
        attributes = self.glb.document["meshes"][index]["primitives"][0]["attributes"]
        shares = [min(3.999, max(0.0, p[0] / length - 0.5)) for p in mesh.points]
        attributes["JOINTS_0"] = self.glb.add_accessor([[int(s), int(s) + 1, 0, 0] for s in shares], "VEC4", BYTE)
        attributes["WEIGHTS_0"] = self.glb.add_accessor([[1 - s % 1, s % 1, 0, 0] for s in shares], "VEC4")
        self.glb.add_node("Flag", mesh=index, skin=skin)

    def camera(self, name: str, eye: Sequence[float], target: Sequence[float], lens: dict[str, object]) -> int:
        camera = self.glb.add("cameras", {"name": name, **lens})
        return self.glb.add_node(name, camera=camera, translation=list(eye), rotation=look(eye, target))

    def add_cameras(self) -> None:
        def lens(yfov: float) -> dict[str, object]:
            return {"type": "perspective",
                    "perspective": {"yfov": yfov, "aspectRatio": 16 / 9, "znear": 0.1, "zfar": 900}}

        self.camera("Harbour", (37.0, 6.0, 58), (-17.0, 6.4, 5.0), lens(0.55))
        self.camera("Lighthouse", (10.0, 7.0, 6.0), (-33, 7.5, 29.5), lens(0.5))
        self.camera("Quayside", (10.4, 3.0, -0.4), (-20, 4.6, 0.4), lens(0.74))
        flight = self.camera("Fly-over", (0, 0, 0), (0, 0, -1), lens(0.75))
        times = [0.0, 2.0, 4.0, 6.0, 8.0]
        eyes = [(46, 9, 58), (30, 12, 46), (8, 17, 38), (-14, 24, 30), (-30, 34, 22)]
        targets = [(-8, 5, 4), (-6, 5, 0), (-2, 5, -6), (4, 5, -12), (10, 5, -16)]
        rows = []
        for i, eye in enumerate(eyes):
            before, after = eyes[max(i - 1, 0)], eyes[min(i + 1, 4)]
            span = times[min(i + 1, 4)] - times[max(i - 1, 0)]
            speed = [(b - a) / span for a, b in zip(before, after)]
            rows += [speed, eye, speed]
        self.glb.animate(flight, "translation", times, rows, "CUBICSPLINE")
        self.glb.animate(flight, "rotation", times, [look(e, t) for e, t in zip(eyes, targets)])
        self.camera("Model", (52, 58, 80), (-9, 2, 2),
                    {"type": "orthographic", "orthographic": {"xmag": 53.3, "ymag": 30, "znear": 1, "zfar": 400}})


def look(eye: Sequence[float], target: Sequence[float]) -> list[float]:
    """The rotation of an upright camera at `eye` that looks at `target`."""
    x, y, z = (t - e for e, t in zip(eye, target))
    yaw, pitch = math.atan2(-x, -z), math.atan2(y, math.hypot(x, z))
    sy, cy, sx, cx = math.sin(yaw / 2), math.cos(yaw / 2), math.sin(pitch / 2), math.cos(pitch / 2)
    return [cy * sx, sy * cx, -sy * sx, cy * cx]


def main(arguments: Sequence[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("output", type=Path, metavar="OUT.glb", help="the file to write; its folder must exist")
    output: Path = parser.parse_args(arguments).output
    unfinished = output.with_name(output.name + ".part")
    try:
        unfinished.write_bytes(Harbour().build())
        os.replace(unfinished, output)
    except OSError as error:
        with contextlib.suppress(OSError):
            unfinished.unlink()
        reason = f"cannot write {output}: {error.strerror}; choose a folder that exists and that you may write to"
        print(f"make_harbour: {reason}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
