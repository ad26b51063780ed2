"""The land: hill, headland, shore, far islands, trees, and the sky over them."""

from __future__ import annotations

import math
import random

from harbour.shapes import Color, Mesh, Point, color, mix, smooth

QUAY_HEIGHT = 1.1
SHORE = -2.0  # what lies deeper is never seen

GRASS, DRY, ROCK, SAND = color("#7d9a52"), color("#b3a25c"), color("#94897b"), color("#d8c091")
WOODS = color("#5c7d4a")


def _lumps(x: float, z: float) -> float:
    """Gentle unevenness between -1 and 1."""
    return (math.sin(x * 0.11 + 1.3) * math.cos(z * 0.13 - 0.4) + 0.5 * math.sin(x * 0.29 + z * 0.23)) / 1.5


def _headland(x: float, z: float) -> float:
    """A rocky headland on the left that reaches out to the lighthouse."""
    spine = -43 + 0.010 * (z - 8) ** 2 * (1 if z > 8 else 0)
    across = abs(x - spine) / (11 - 4 * smooth(8, 36, z))
    along = smooth(-60, -10, z) * (1 - smooth(31, 42, z))
    return (6.5 - 1.5 * smooth(10, 30, z)) * along * (1 - smooth(0.25, 1.25, across)) - 4.0


def height(x: float, z: float) -> float:
    """Of the ground above the sea."""
    behind = smooth(-8.5, -75, z)
    hill = QUAY_HEIGHT + 27 * behind * (0.62 + 0.38 * math.cos((x + 6) / 34)) + 2.2 * _lumps(x, z) * behind
    right = smooth(36, 62, x)
    shore = -0.5 + 4 * right
    inland = smooth(shore + 9 * right + 1.0, shore - 9 * right - 1.0, z)
    land = -4.0 + (hill + 4.0) * inland + 7 * smooth(46, 80, x) * inland
    return max(land, _headland(x, z) + 0.5 * _lumps(x * 3, z * 3))


def _ground_color(point: Point) -> Color:
    x, y, z = point
    steep = abs(height(x + 1, z) - height(x - 1, z)) + abs(height(x, z + 1) - height(x, z - 1))
    meadow = mix(GRASS, DRY, 0.5 + 0.5 * _lumps(x * 1.7 + 9, z * 1.7))
    high = mix(meadow, WOODS, smooth(12, 24, y))
    ground = mix(high, ROCK, smooth(1.6, 2.8, steep))
    return mix(SAND, ground, smooth(0.5, 1.5, y))  # type: ignore[return-value]


def terrain() -> Mesh:
    mesh = Mesh()
    mesh.grid(72, 60, lambda u, v: _ground_point(-108 + 216 * u, -118 + 164 * v), _ground_color,
              keep=lambda point: point[1] > SHORE)
    return mesh


def _ground_point(x: float, z: float) -> Point:
    return (x, height(x, z), z)


def islands() -> Mesh:
    """Ridges in the haze all around, paler the farther they are."""
    mesh = Mesh()
    rng = random.Random(11)
    for start, sweep, distance, tall, shade in ((-160, 125, 330, 46, "#b9a3ad"), (-150, 80, 270, 24, "#9c8c9d"),
                                                (52, 75, 300, 30, "#c7a9a6"), (140, 60, 340, 22, "#d8b3a4")):
        steps = 26
        arch = [max(0.0, math.sin(math.pi * i / steps)) ** 0.7 for i in range(steps + 1)]
        tops = [tall * share * rng.uniform(0.45, 1.0) for share in arch]
        for i in range(steps):
            a, b = (math.radians(start + sweep * k / steps) for k in (i, i + 1))
            left, right = ((math.sin(t) * distance, -math.cos(t) * distance) for t in (a, b))
            low = mix(color(shade), color("#f2bd94"), 0.45)
            mesh.add([(left[0], -1, left[1]), (right[0], -1, right[1]), (right[0], tops[i + 1], right[1]),
                      (left[0], tops[i], left[1])], [low, low, color(shade), color(shade)])  # type: ignore[list-item]
    return mesh


def sky(sun: Point) -> Mesh:
    """A dome seen from inside, red where the sun stands low, blue overhead."""
    mesh = Mesh()
    bands = [(-0.02, "#f0b58f"), (0.06, "#f7c795"), (0.17, "#e9b7a4"), (0.36, "#a79fbd"), (0.62, "#6b80b4"),
             (1.0, "#3d5a9b")]

    def shade(point: Point) -> Color:
        length = math.sqrt(sum(c * c for c in point))
        direction = tuple(c / length for c in point)
        base = color(bands[-1][1])
        for (low, first), (high, second) in zip(bands, bands[1:]):
            if direction[1] <= high:
                share = max(0.0, (direction[1] - low) / (high - low))
                base = mix(color(first), color(second), share)  # type: ignore[assignment]
                break
        facing = max(0.0, sum(d * s for d, s in zip(direction, sun)))
        glow = 0.75 * facing ** 6 * (1 - smooth(0.1, 0.7, direction[1])) + facing ** 90
        return mix(base, color("#ffdf9e", 1.15), min(1.0, glow))  # type: ignore[return-value]

    def corner(u: float, v: float) -> Point:
        turn, rise = 2 * math.pi * u, math.radians(-3 + 93 * v ** 1.3)
        return (-420 * math.cos(rise) * math.sin(turn), 420 * math.sin(rise), 420 * math.cos(rise) * math.cos(turn))

    mesh.grid(48, 20, corner, shade)
    return mesh


def cypress() -> Mesh:
    mesh = Mesh()
    greens = [color("#35562f"), color("#3f6437"), color("#4b7340"), color("#56804a")]
    mesh.lathe([(0.16, -0.6), (0.16, 0.7)], 5, lambda band: color("#5e4630"))
    mesh.lathe([(0.25, 0.5), (0.85, 1.4), (0.78, 2.8), (0.48, 4.6), (0, 6.4)], 7, lambda band: greens[band])
    return mesh


def pine() -> Mesh:
    """An umbrella pine."""
    mesh = Mesh()
    mesh.lathe([(0.26, -0.8), (0.2, 2.9)], 6, lambda band: color("#7a563b"))
    crown = [color("#3f6b3a"), color("#4f7d41"), color("#648f4a"), color("#739c52")]
    mesh.lathe([(0, 2.5), (1.9, 2.9), (2.3, 3.5), (1.5, 4.3), (0, 4.6)], 9, lambda band: crown[band])
    return mesh


def bush() -> Mesh:
    mesh = Mesh()
    greens = [color("#55743f"), color("#668548"), color("#7a9852")]
    mesh.lathe([(0.7, -0.5), (0.95, 0.35), (0.6, 0.9), (0, 1.1)], 7, lambda band: greens[band])
    return mesh


def plant(rng: random.Random, taken: list[tuple[float, float, float]]) -> list[tuple[str, Point, float]]:
    """Kind, foot and size of the trees, between the circles (x, z, radius) that are taken."""
    trees: list[tuple[str, Point, float]] = []
    while len(trees) < 250:
        x, z = rng.uniform(-64, 72), rng.uniform(-88, 30)
        y = height(x, z)
        room = all((x - cx) ** 2 + (z - cz) ** 2 > radius ** 2 for cx, cz, radius in taken)
        if y < 1.6 or not room or (z > -9 and -36 < x < 36):
            continue
        kind = rng.choices(("cypress", "pine", "bush"), (4, 4, 5))[0]
        trees.append((kind, (x, y, z), rng.uniform(0.75, 1.25)))
        taken.append((x, z, 1.9))
    return trees
