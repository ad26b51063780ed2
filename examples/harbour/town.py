"""Houses on terraces, the quay with its lamps, and the lighthouse."""

from __future__ import annotations

import random
from dataclasses import dataclass

from harbour.atlas import tile_uvs
from harbour.land import QUAY_HEIGHT, height
from harbour.shapes import Color, Mesh, Point, color

BAY, FLOOR = 2.1, 2.55
WALLS = ("#efd9b4", "#e39a78", "#dcb765", "#f3ead6", "#c97f73", "#a9c0b4", "#e8c3a6", "#d9a08b")
ROOFS = ("#b65a3f", "#a44c38", "#c26a48", "#97483a")


@dataclass
class House:
    foot: Point
    kind: int
    turn: float  # degrees


def _wall(mesh: Mesh, start: Point, step: tuple[float, float], bays: int, floors: int, tint: Color,
          tiles: list[str]) -> None:
    """Bays of a storey height each from `start` along `step` (x, z); one tile each, floor by floor."""
    for floor in range(floors):
        for bay in range(bays):
            x0, z0 = start[0] + step[0] * bay, start[2] + step[1] * bay
            y0, y1 = start[1] + FLOOR * floor, start[1] + FLOOR * (floor + 1)
            corners = [(x0, y0, z0), (x0 + step[0], y0, z0 + step[1]), (x0 + step[0], y1, z0 + step[1]), (x0, y1, z0)]
            mesh.add(corners, tint, tile_uvs(tiles[floor * bays + bay]))


def _front_tiles(rng: random.Random, bays: int, floors: int, ground: str) -> list[str]:
    tiles = [rng.choices(("window", "lit", "plain"), (6, 4, 0.6))[0] for _ in range(bays * floors)]
    if ground == "shop":
        tiles[:bays] = ["shop"] * bays
    tiles[rng.randrange(bays)] = "door"
    return tiles


def _roof(mesh: Mesh, width: float, depth: float, base: float, rise: float, tint: Color, wall: Color) -> None:
    """A gable whose ridge runs along X, with eaves."""
    w, d, eaves = width / 2, depth / 2, 0.38
    drop = rise * eaves / d
    left, right, y0, top = -w - 0.2, w + 0.2, base - drop, base + rise
    for side in (1, -1):
        z = side * (d + eaves)
        for i in range(round(width / 2.4)):
            count = round(width / 2.4)
            a, b = (left + (right - left) * (i + k) / count for k in ((0, 1) if side > 0 else (1, 0)))
            mesh.add([(a, y0, z), (b, y0, z), (b, top, 0), (a, top, 0)], tint, tile_uvs("roof"))
            mesh.add([(b, y0 - 0.12, z), (a, y0 - 0.12, z), (a, top - 0.12, 0), (b, top - 0.12, 0)], wall,
                     tile_uvs("plain"))
    for x, sign in ((w, 1), (-w, -1)):
        triangle = [(x, base, sign * d), (x, base, -sign * d), (x, top - 0.1, 0)]
        mesh.add(triangle, wall, tile_uvs("plain")[:3])


def house(seed: int) -> Mesh:
    """Foot at the origin, front to +Z; the walls reach down into a slope."""
    rng = random.Random(seed)
    bays, depth_bays, floors = rng.choice((2, 3, 3, 4)), rng.choice((2, 3)), rng.choice((2, 2, 3))
    wall, tint = color(WALLS[seed % len(WALLS)]), color(ROOFS[seed % len(ROOFS)])
    mesh = Mesh()
    w, d = bays * BAY / 2, depth_bays * BAY / 2
    side = ["plain" if rng.random() < 0.45 else "window" for _ in range(depth_bays * floors)]
    _wall(mesh, (-w, 0, d), (BAY, 0), bays, floors, wall, _front_tiles(rng, bays, floors, rng.choice(("shop", ""))))
    _wall(mesh, (w, 0, -d), (-BAY, 0), bays, floors, wall, ["window"] * (bays * floors))
    _wall(mesh, (w, 0, d), (0, -BAY), depth_bays, floors, wall, side)
    _wall(mesh, (-w, 0, -d), (0, BAY), depth_bays, floors, wall, side)
    footing = Mesh()
    footing.box((-w - 0.06, -4, -d - 0.06), (w + 0.06, 0.25, d + 0.06), color("#a99b86"))
    mesh.points += footing.points
    mesh.colors += footing.colors
    mesh.uvs += tile_uvs("stone") * 5
    mesh.indices += [i + len(mesh.points) - len(footing.points) for i in footing.indices]
    base, rise = floors * FLOOR, rng.uniform(1.2, 1.9)
    _roof(mesh, 2 * w, 2 * d, base, rise, tint, wall)
    stack = rng.uniform(-0.6, 0.6) * w
    chimney = Mesh()
    chimney.box((stack, base + 0.3, -0.9), (stack + 0.6, base + rise + 0.7, -0.35), color("#b98d74"))
    for i in range(0, len(chimney.points), 4):
        mesh.add(chimney.points[i:i + 4], chimney.colors[i], tile_uvs("plain"))
    return mesh


def place_houses(rng: random.Random, kinds: int) -> list[House]:
    """A closed row along the quay and looser rows up the hill."""
    houses: list[House] = []
    rows = ((-7.2, -30.0, 30.0, 7.6, 0.0), (-19.0, -29.0, 33.0, 9.2, 5.0), (-30.0, -24.0, 36.0, 10.5, 9.0),
            (-42.0, -18.0, 26.0, 12.5, 14.0))
    for z, first, last, step, sway in rows:
        x, kind = first, rng.randrange(kinds)
        while x <= last:
            kind = (kind + rng.randrange(1, kinds)) % kinds
            depth = z + rng.uniform(-0.12, 0.12) * (-z - 4)
            foot = max(height(x, depth + 3), height(x, depth)) if z < -10 else QUAY_HEIGHT
            houses.append(House((x, foot - 0.1, depth), kind, rng.uniform(-sway, sway)))
            x += step * rng.uniform(0.96, 1.1)
    return houses


def quay() -> Mesh:
    """The stone edge of the town and a wooden jetty."""
    mesh = Mesh()
    stone, top = color("#cdbd9f"), color("#dccdb0")
    for i in range(-18, 18):
        x = i * 2.0
        mesh.add([(x, -1.4, 1.5), (x + 2, -1.4, 1.5), (x + 2, 1.2, 1.5), (x, 1.2, 1.5)], stone, tile_uvs("stone"))
        for j in range(3):
            z = 1.5 - 2 * j
            mesh.add([(x, 1.2, z), (x + 2, 1.2, z), (x + 2, 1.2, z - 2), (x, 1.2, z - 2)], top, tile_uvs("stone"))
    for x in (-36.0, 36.0):
        ends = [(x, -1.4, 1.5), (x, -1.4, -6.0), (x, 1.2, -6.0), (x, 1.2, 1.5)]
        mesh.add(ends if x > 0 else ends[::-1], stone, tile_uvs("stone"))
    return mesh


def jetty() -> Mesh:
    """Runs out from the quay along +Z, 18 metres long, its deck at the height of the origin."""
    mesh, wood = Mesh(), color("#b38a63")
    for i in range(9):
        z = 2.0 * i
        mesh.add([(-1.1, 0, z + 2), (1.1, 0, z + 2), (1.1, 0, z), (-1.1, 0, z)], wood, tile_uvs("planks"))
        for x in (-1.0, 1.0):
            post = Mesh()
            post.box((x - 0.12, -3, z + 1.8), (x + 0.12, 0.55, z + 2.04), color("#7d5c42"))
            for k in range(0, 20, 4):
                mesh.add(post.points[k:k + 4], post.colors[k], tile_uvs("plain"))
    for x in (-1.1, 1.1):
        side = [(x, -0.25, 0), (x, -0.25, 18), (x, 0, 18), (x, 0, 0)]
        mesh.add(side if x < 0 else side[::-1], color("#8d6a4c"), tile_uvs("plain"))
    mesh.add([(-1.1, -0.25, 18), (1.1, -0.25, 18), (1.1, 0, 18), (-1.1, 0, 18)], color("#8d6a4c"), tile_uvs("plain"))
    return mesh


def lamp_post() -> Mesh:
    mesh, iron = Mesh(), color("#3c4248")
    mesh.lathe([(0.16, 0), (0.16, 0.25), (0.06, 0.35), (0.05, 2.8)], 6, lambda band: iron)
    mesh.lathe([(0.3, 3.28), (0, 3.55)], 6, lambda band: iron)
    return mesh


def lamp_glow() -> Mesh:
    mesh = Mesh()
    mesh.lathe([(0.12, 2.8), (0.24, 3.02), (0.2, 3.28)], 6, lambda band: color("#ffd98a", 1.25))
    return mesh


def barrel() -> Mesh:
    mesh = Mesh()
    shades = [color("#8a5a3a"), color("#a06c45"), color("#8a5a3a"), color("#6f4a32")]
    mesh.lathe([(0.3, 0), (0.4, 0.35), (0.4, 0.65), (0.3, 1.0), (0, 1.0)], 9, lambda band: shades[band])
    return mesh


def lighthouse() -> Mesh:
    mesh = Mesh()
    stripes = [color("#8f8576"), color("#f6f0e4"), color("#c4483c"), color("#f6f0e4"), color("#c4483c"),
               color("#f6f0e4"), color("#4a4f57"), color("#4a4f57")]
    profile = [(2.7, -2), (2.5, 1), (2.25, 3.6), (2.05, 6.0), (1.85, 8.4), (1.7, 10.6), (1.55, 12.4), (2.1, 12.9),
               (2.1, 13.2)]
    mesh.lathe(profile, 14, lambda band: stripes[band])
    mesh.lathe([(2.1, 13.2), (0.7, 13.2)], 14, lambda band: color("#7a7f86"))
    mesh.lathe([(0.16, 13.2), (0.16, 15.2)], 6, lambda band: color("#4a4f57"))
    mesh.lathe([(1.45, 15.1), (0.9, 16.0), (0, 16.6)], 10, lambda band: (color("#a8382f"), color("#b84438"))[band])
    mesh.box((1.4, -1, -2.2), (5.6, 3.0, 2.2), color("#f1e7d4"))
    mesh.add([(1.2, 2.9, 2.5), (5.9, 2.9, 2.5), (5.9, 4.6, 0), (1.2, 4.6, 0)], color("#b65a3f"))
    mesh.add([(5.9, 2.9, -2.5), (1.2, 2.9, -2.5), (1.2, 4.6, 0), (5.9, 4.6, 0)], color("#b65a3f"))
    mesh.add([(5.6, 3.0, 2.2), (5.6, 3.0, -2.2), (5.6, 4.5, 0)], color("#f1e7d4"))
    mesh.box((3.0, -1, 2.2), (4.0, 2.0, 2.28), color("#6b8f8c"))
    return mesh
