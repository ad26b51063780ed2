"""The one picture of the scene: walls, windows, doors, roof tiles, stone and planks, drawn dot by dot."""

from __future__ import annotations

import random
import struct
import zlib
from typing import Callable

TILE = 96
COLUMNS, ROWS = 4, 2
TILES = {"plain": 0, "window": 1, "lit": 2, "door": 3, "roof": 4, "stone": 5, "planks": 6, "shop": 7}
Rgb = tuple[int, int, int]


def tile_uvs(name: str) -> list[tuple[float, float]]:
    """The corners of a tile: lower left, lower right, upper right, upper left; a dot inside it, against bleeding."""
    column, row = TILES[name] % COLUMNS, TILES[name] // COLUMNS
    inset = 1.0 / TILE
    left, right = (column + inset) / COLUMNS, (column + 1 - inset) / COLUMNS
    top, bottom = (row + inset) / ROWS, (row + 1 - inset) / ROWS
    return [(left, bottom), (right, bottom), (right, top), (left, top)]


def png(width: int, height: int, rows: list[list[Rgb]]) -> bytes:
    """8-bit RGB; https://www.w3.org/TR/png-3/"""
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    lines = b"".join(b"\0" + bytes(channel for dot in row for channel in dot) for row in rows)
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines, 9)) +
            chunk(b"IEND", b""))


def _inside(x: float, y: float, left: float, top: float, right: float, bottom: float) -> bool:
    return left <= x < right and top <= y < bottom


def _plain(x: float, y: float, grain: int) -> Rgb:
    shade = 244 + grain // 2 - (10 if y > 0.97 else 0)
    return (shade, shade, shade)


def _window(x: float, y: float, grain: int, glass: Callable[[float, float], Rgb]) -> Rgb:
    if _inside(x, y, 0.36, 0.24, 0.64, 0.78):
        bars = abs(x - 0.5) < 0.012 or abs(y - 0.44) < 0.012
        frame = not _inside(x, y, 0.385, 0.265, 0.615, 0.76)
        return (250, 246, 236) if bars or frame else glass(x, y)
    if _inside(x, y, 0.20, 0.25, 0.355, 0.77) or _inside(x, y, 0.645, 0.25, 0.80, 0.77):  # shutters with slats
        slat = int(y * 48) % 2
        return (66 + 14 * slat, 104 + 14 * slat, 100 + 12 * slat)
    if _inside(x, y, 0.30, 0.78, 0.70, 0.82):
        return (226, 220, 208)
    return _plain(x, y, grain)


def _dark_glass(x: float, y: float) -> Rgb:
    sheen = int(50 * max(0.0, 1 - abs(x + y * 0.6 - 0.8) * 6))
    return (44 + sheen, 62 + sheen, 84 + sheen)


def _lit_glass(x: float, y: float) -> Rgb:
    glow = int(46 * max(0.0, min(1.0, (y - 0.2) * 1.6)))
    return (255, 190 + glow, 92 + glow)


def _door(x: float, y: float, grain: int) -> Rgb:
    if _inside(x, y, 0.33, 0.22, 0.67, 1.0):
        if not _inside(x, y, 0.37, 0.26, 0.63, 1.0):
            return (232, 224, 208)
        if _inside(x, y, 0.41, 0.31, 0.59, 0.46):
            return _lit_glass(x, y)
        panel = _inside(x, y, 0.42, 0.54, 0.58, 0.72) or _inside(x, y, 0.42, 0.77, 0.58, 0.93)
        return (104, 60, 44) if panel else (128, 74, 52)
    return _plain(x, y, grain)


def _roof(x: float, y: float, grain: int) -> Rgb:
    course = int(y * 8)
    along = (x * 8 + (course % 2) / 2) % 1
    shade = 246 - int(44 * ((y * 8) % 1) ** 3) - int(26 * abs(along - 0.5)) + grain
    return (shade, shade, shade)


def _stone(x: float, y: float, grain: int) -> Rgb:
    course = int(y * 6)
    along = (x * 4 + (course % 2) / 2) % 1
    joint = (y * 6) % 1 < 0.10 or along < 0.05
    shade = 196 if joint else 226 + (course * 37 + int(x * 4 + (course % 2) / 2) * 53) % 26 + grain // 2
    return (shade, shade - 2, shade - 6)


def _planks(x: float, y: float, grain: int) -> Rgb:
    shade = 170 if (x * 6) % 1 < 0.07 else 226 + (int(x * 6) * 41) % 24 + grain
    return (shade, shade - 6, shade - 14)


def _shop(x: float, y: float, grain: int) -> Rgb:
    if _inside(x, y, 0.08, 0.12, 0.92, 0.30):  # a striped awning
        return (250, 242, 226) if int(x * 12) % 2 else (190, 74, 62)
    if _inside(x, y, 0.12, 0.30, 0.88, 0.84):
        frame = abs(x - 0.5) < 0.015 or not _inside(x, y, 0.15, 0.30, 0.85, 0.81)
        return (92, 64, 50) if frame else _lit_glass(x, y)
    return (150, 132, 116) if _inside(x, y, 0.08, 0.84, 0.92, 1.0) else _plain(x, y, grain)


def draw_atlas() -> bytes:
    """The picture as a PNG file. Tiles are near white where the colour of the geometry is to show."""
    painters: list[Callable[[float, float, int], Rgb]] = [
        _plain, lambda x, y, g: _window(x, y, g, _dark_glass), lambda x, y, g: _window(x, y, g, _lit_glass), _door,
        _roof, _stone, _planks, _shop]
    rng = random.Random(7)
    rows = []
    for v in range(ROWS * TILE):
        row = []
        for u in range(COLUMNS * TILE):
            painter = painters[v // TILE * COLUMNS + u // TILE]
            red, green, blue = painter((u % TILE) / TILE, (v % TILE) / TILE, rng.randrange(-4, 5))
            row.append((min(red, 255), min(green, 255), min(blue, 255)))
        rows.append(row)
    return png(COLUMNS * TILE, ROWS * TILE, rows)
