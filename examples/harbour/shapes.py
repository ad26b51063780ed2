"""Triangles with a colour for each corner, and the solids that the scene is made of."""

from __future__ import annotations

import math
from dataclasses import dataclass, field
from typing import Callable, Sequence

Point = tuple[float, float, float]
Color = tuple[float, float, float, float]
Uv = tuple[float, float]


def color(text: str, light: float = 1.0, alpha: float = 1.0) -> Color:
    """'#rrggbb' as a display shows it to linear RGBA, `light` times as bright."""
    channels = [int(text[i:i + 2], 16) / 255 for i in (1, 3, 5)]
    r, g, b = (light * (c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4) for c in channels)
    return (r, g, b, alpha)


def mix(a: Sequence[float], b: Sequence[float], share: float) -> tuple[float, ...]:
    return tuple(x + (y - x) * share for x, y in zip(a, b))


def smooth(low: float, high: float, x: float) -> float:
    """0 below `low`, 1 above `high`, smooth between."""
    t = max(0.0, min(1.0, (x - low) / (high - low)))
    return t * t * (3 - 2 * t)


def turned(axis: str, degrees: float) -> list[float]:
    """A rotation about an axis as a quaternion x, y, z, w."""
    half = math.radians(degrees) / 2
    return [math.sin(half) if axis == a else 0.0 for a in "xyz"] + [math.cos(half)]


@dataclass
class Mesh:
    points: list[Point] = field(default_factory=list)
    colors: list[Color] = field(default_factory=list)
    uvs: list[Uv] = field(default_factory=list)
    indices: list[int] = field(default_factory=list)

    def add(self, corners: Sequence[Point], shade: Color | Sequence[Color], uvs: Sequence[Uv] | None = None) -> None:
        """A convex polygon, counter-clockwise as seen from outside."""
        first = len(self.points)
        self.points += corners
        self.colors += shade if isinstance(shade[0], tuple) else [shade] * len(corners)  # type: ignore[list-item]
        self.uvs += uvs or [(0.0, 0.0)] * len(corners)
        for i in range(1, len(corners) - 1):
            self.indices += [first, first + i, first + i + 1]

    def box(self, low: Point, high: Point, shade: Color) -> None:
        (x0, y0, z0), (x1, y1, z1) = low, high
        self.add([(x0, y0, z1), (x1, y0, z1), (x1, y1, z1), (x0, y1, z1)], shade)
        self.add([(x1, y0, z0), (x0, y0, z0), (x0, y1, z0), (x1, y1, z0)], shade)
        self.add([(x1, y0, z1), (x1, y0, z0), (x1, y1, z0), (x1, y1, z1)], shade)
        self.add([(x0, y0, z0), (x0, y0, z1), (x0, y1, z1), (x0, y1, z0)], shade)
        self.add([(x0, y1, z1), (x1, y1, z1), (x1, y1, z0), (x0, y1, z0)], shade)

    def lathe(self, profile: Sequence[tuple[float, float]], sides: int, shade: Callable[[int], Color],
              at: Point = (0.0, 0.0, 0.0)) -> None:
        """Rings of (radius, height) from below to above around `at`; `shade` colours each band."""
        def ring(radius: float, height: float) -> list[Point]:
            angles = [2 * math.pi * i / sides for i in range(sides)]
            return [(at[0] + radius * math.sin(a), at[1] + height, at[2] + radius * math.cos(a)) for a in angles]

        for band, (low, high) in enumerate(zip(profile, profile[1:])):
            below, above = ring(*low), ring(*high)
            for i in range(sides):
                j = (i + 1) % sides
                corners = [below[i], below[j], above[j], above[i]]
                if low[0] == 0:
                    corners = [below[i], above[j], above[i]]
                elif high[0] == 0:
                    corners = [below[i], below[j], above[i]]
                self.add(corners, shade(band))

    def grid(self, columns: int, rows: int, corner: Callable[[float, float], Point],
             shade: Callable[[Point], Color], keep: Callable[[Point], bool] = lambda point: True) -> None:
        """A sheet over u, v in 0-1 with shared corners; triangles none of whose corners is kept are left out."""
        first = len(self.points)
        for j in range(rows + 1):
            for i in range(columns + 1):
                point = corner(i / columns, j / rows)
                self.points.append(point)
                self.colors.append(shade(point))
                self.uvs.append((0.0, 0.0))
        for j in range(rows):
            for i in range(columns):
                a = first + j * (columns + 1) + i
                b, c, d = a + 1, a + columns + 2, a + columns + 1
                # Diagonals that alternate keep a flat-shaded sheet from looking combed.
                halves = [(a, b, c), (a, c, d)] if (i + j) % 2 == 0 else [(a, b, d), (b, c, d)]
                for half in halves:
                    if any(keep(self.points[k]) for k in half):
                        self.indices += half
