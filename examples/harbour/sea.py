"""The water, and what floats on it or moves in the wind: boats, buoys, gulls, a pennant, the light's beam."""

from __future__ import annotations

import math

from harbour.land import height
from harbour.shapes import Color, Mesh, Point, color, mix, smooth

CELLS = 64


def _spread(t: float) -> float:
    """-1 to 1: dense in the middle, where waves are to be seen."""
    return t * (0.16 + 0.84 * t ** 4)


def _corner(u: float, v: float) -> Point:
    return (410 * _spread(2 * u - 1), 0.0, 14 + 410 * _spread(2 * v - 1))


def _water_color(point: Point) -> Color:
    x, _, z = point
    deep, shallow, far = color("#1f6275"), color("#4fa39a"), color("#d99e86")
    depth = smooth(-0.6, -3.6, height(x, z))
    near = mix(shallow, deep, depth)
    return mix(near, far, smooth(45, 250, math.hypot(x, z)))  # type: ignore[return-value]


def water() -> Mesh:
    mesh = Mesh()
    mesh.grid(CELLS, CELLS, lambda u, v: _corner(1 - u, v)[:1] + _corner(1 - u, 1 - v)[1:], _water_color)
    for i in range(0, len(mesh.indices), 3):
        mesh.indices[i + 1], mesh.indices[i + 2] = mesh.indices[i + 2], mesh.indices[i + 1]
    return mesh


def swell(points: list[Point], phase: float) -> list[Point]:
    """Offsets of the water; the swell at any moment is a mixture of the ones for phase 0 and a quarter."""
    offsets = []
    for x, _, z in points:
        calm = 1 - smooth(55, 130, math.hypot(x, z - 14))
        lift = 0.0
        for kx, kz, size, shift in ((0.6, -0.9, 0.13, 0.0), (-1.1, -0.5, 0.09, 1.9), (0.3, -1.9, 0.055, 4.1)):
            lift += size * math.cos(kx * x + kz * z + shift - 2 * math.pi * phase)
        offsets.append((0.0, lift * calm, 0.0))
    return offsets


def boat(hull: str, trim: str, mast: bool) -> Mesh:
    """A clinker boat of 5 metres, bow to +X, water line at the origin's height."""
    mesh = Mesh()
    stations = [(-2.3, 0.62, 0.66), (-1.4, 0.88, 0.60), (0.0, 1.0, 0.58), (1.4, 0.78, 0.66), (2.2, 0.38, 0.80),
                (2.7, 0.02, 0.98)]
    levels = [(-0.45, 0.25), (-0.05, 0.72), (0.62, 0.97), (1.0, 1.0)]  # share of height and breadth

    def ring(station: tuple[float, float, float], side: int) -> list[Point]:
        x, half, rail = station
        return [(x, rail * h if h > 0 else h, side * half * b) for h, b in levels]

    shades = [color("#5a3a30"), color(hull), color(trim)]
    for side in (1, -1):
        for first, second in zip(stations, stations[1:]):
            a, b = ring(first, side), ring(second, side)
            for k in range(3):
                quad = [a[k], b[k], b[k + 1], a[k + 1]]
                mesh.add(quad if side > 0 else quad[::-1], shades[k])
    stern = ring(stations[0], 1) + ring(stations[0], -1)[::-1]
    mesh.add(stern, color(trim))
    for first, second in zip(stations, stations[1:]):  # the floor boards
        mesh.add([(first[0], 0.22, first[1] * 0.85), (second[0], 0.22, second[1] * 0.85),
                  (second[0], 0.22, -second[1] * 0.85), (first[0], 0.22, -first[1] * 0.85)], color("#a47a50"))
    for x in (-1.2, 0.5):
        mesh.box((x, 0.38, -0.85), (x + 0.35, 0.46, 0.85), color("#c49a68"))
    if mast:
        mesh.lathe([(0.07, 0.2), (0.04, 5.6)], 6, lambda band: color("#8b6844"), (0.75, 0.0, 0.0))
    return mesh


def sail(tint: str) -> Mesh:
    """A gaff sail behind the mast of `boat`, full of wind."""
    mesh = Mesh()
    light, dark = color(tint), color(tint, 0.86)

    def corner(u: float, v: float) -> Point:
        length = 2.9 - 1.7 * v
        belly = 0.45 * math.sin(math.pi * u) * math.sin(math.pi * min(1.0, v * 0.8 + 0.15))
        return (0.7 - length * u, 1.0 + 4.3 * v + 0.55 * u * v, belly)

    mesh.grid(5, 8, corner, lambda point: dark if int(point[1] * 1.15) % 2 else light)
    return mesh


def buoy() -> Mesh:
    mesh = Mesh()
    shades = [color("#a83a32"), color("#c94a3c"), color("#f2ead8"), color("#c94a3c")]
    mesh.lathe([(0.35, -0.4), (0.7, 0.0), (0.62, 0.5), (0.16, 0.7), (0.1, 1.9)], 8, lambda band: shades[band])
    return mesh


def buoy_lamp() -> Mesh:
    mesh = Mesh()
    mesh.lathe([(0, 1.85), (0.2, 2.05), (0, 2.3)], 6, lambda band: color("#ff6a4a", 1.3))
    return mesh


def gull_body() -> Mesh:
    mesh = Mesh()
    white, grey, beak = color("#fbf7ee"), color("#e4e0da"), color("#e8a33c")
    top, keel = (0.0, 0.12, 0.0), (0.0, -0.1, 0.05)
    bow, tail, left, right = (0.0, 0.0, 0.55), (0.0, 0.02, -0.6), (-0.14, 0.0, 0.0), (0.14, 0.0, 0.0)
    for a, b in ((right, bow), (bow, left), (left, tail), (tail, right)):
        mesh.add([a, top, b] if a in (bow, tail) else [b, a, top][::-1], white)
        mesh.add([a, b, keel][::-1], grey)
    mesh.add([(-0.05, 0.0, 0.5), (0.05, 0.0, 0.5), (0.0, -0.02, 0.72)], beak)
    return mesh


def gull_wing(side: int) -> Mesh:
    """From the shoulder at the origin outwards along X."""
    mesh = Mesh()
    points = [(0.0, 0.0, 0.22), (0.75 * side, 0.09, 0.26), (1.5 * side, 0.0, -0.12), (0.7 * side, 0.05, -0.14),
              (0.0, 0.0, -0.2)]
    shades = [color("#f4f1ea"), color("#d6d6d8"), color("#5a5c62"), color("#d6d6d8"), color("#f4f1ea")]
    mesh.add([points[0], points[1], points[3], points[4]], [shades[0], shades[1], shades[3], shades[4]])
    mesh.add([points[1], points[2], points[3]], [shades[1], shades[2], shades[3]])
    return mesh


def pennant() -> Mesh:
    """4 metres along +X from the pole at the origin, in three stripes with a swallow's tail."""
    mesh = Mesh()
    stripes = [color("#f6efe0"), color("#dd6a45"), color("#f6efe0")]

    def corner(u: float, v: float) -> Point:
        notch = 1.3 * u ** 4 * (1 - abs(2 * v - 1))
        return (4.0 * u - notch, 1.7 * (v - 0.5) * (1 - 0.25 * u), 0.0)

    for k in range(3):
        mesh.grid(12, 2, lambda u, v: corner(u, (k + v) / 3), lambda point: stripes[k])
    return mesh


def beam() -> Mesh:
    """Light in the evening air, along -Z, fading out."""
    mesh = Mesh()
    near, far = color("#fff0c0", 1.0, 0.34), color("#ffe6b0", 1.0, 0.0)
    for i in range(12):
        a, b = (2 * math.pi * k / 12 for k in (i, i + 1))
        rim = [(r * math.cos(t), r * math.sin(t), z) for t, r, z in
               ((a, 0.3, -0.6), (b, 0.3, -0.6), (b, 2.6, -34), (a, 2.6, -34))]
        mesh.add(rim, [near, near, far, far])
    return mesh
