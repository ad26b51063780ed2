"""PNG files without a picture library: their texts, damaged ones, their conversion to 8-bit RGB."""

import struct
import time
import unittest
import zlib

from scratch_render import png

from quillmere_helper.pictures import kind_of, plain_png
from quillmere_helper.png import SIGNATURE, BadPng, chunk, chunks, file_of, texts, with_text

PIXELS = [(10, 20, 30), (200, 100, 0), (7, 7, 7), (255, 0, 128)]  # 2 x 2


def raw(colour, depth, rows, palette=b"", interlaced=0, size=(2, 2)):
    """`rows` come with their filter bytes."""
    header = struct.pack(">IIBBBBB", *size, depth, colour, 0, 0, interlaced)
    colours = [(b"PLTE", palette)] if palette else []
    return file_of((b"IHDR", header), *colours, (b"IDAT", zlib.compress(rows)))


def filtered(kind, rows, step):
    """`rows` of bytes as an encoder stores them with filter `kind`."""
    out, above = b"", bytes(len(rows[0]))
    for row in rows:
        out += bytes([kind])
        for place, value in enumerate(row):
            left, corner = (row[place - step], above[place - step]) if place >= step else (0, 0)
            up = above[place]
            guess = left + up - corner
            nearest = min((abs(guess - left), 0, left), (abs(guess - up), 1, up), (abs(guess - corner), 2, corner))[2]
            out += bytes([(value - (0, left, up, (left + up) // 2, nearest)[kind]) % 256])
        above = row
    return out


def pixels_of(picture):
    """Of an unfiltered 2 x 2 RGB picture."""
    rows = zlib.decompress(bytes(dict(chunks(picture))[b"IDAT"]))
    flat = rows[1:7] + rows[8:14]
    return [tuple(flat[place : place + 3]) for place in range(0, 12, 3)]


class Png(unittest.TestCase):
    def test_every_kind_and_filter_becomes_plain_rgb(self):
        rows = PIXELS[:2], PIXELS[2:]
        rgba = [b"".join(bytes((*pixel, 9)) for pixel in row) for row in rows]
        deep = [bytes(value for pixel in row for sample in pixel for value in (sample, 77)) for row in rows]
        for kind in range(5):
            with self.subTest(filter=kind):
                self.assertEqual(pixels_of(plain_png(raw(6, 8, filtered(kind, rgba, 4)))), PIXELS)
                self.assertEqual(pixels_of(plain_png(raw(2, 16, filtered(kind, deep, 6)))), PIXELS)
        palette = b"".join(map(bytes, PIXELS))
        self.assertEqual(pixels_of(plain_png(raw(3, 8, b"\0\0\1\0\2\3", palette))), PIXELS)
        grey = pixels_of(plain_png(raw(4, 8, b"\0\5\xff\6\xff\0\7\xff\x08\xff")))
        self.assertEqual(grey, [(5, 5, 5), (6, 6, 6), (7, 7, 7), (8, 8, 8)])

    def test_what_cannot_be_read_is_an_error(self):
        for what, picture in (
            ("no header", SIGNATURE + chunk(b"IEND", b"")),
            ("interlaced", raw(6, 8, b"\0" * 18, interlaced=1)),
            ("too few rows", raw(6, 8, b"\0" * 10)),
            ("an unknown filter", raw(6, 8, b"\x09" + b"\0" * 17)),
            ("gigantic", raw(6, 8, b"", size=(1 << 30, 1 << 30))),
            ("a header that is cut off", SIGNATURE + chunk(b"IHDR", b"12")),
        ):
            with self.subTest(what), self.assertRaises(BadPng):
                plain_png(picture)

    def test_a_text_is_read_back_and_leaves_the_picture_whole(self):
        picture = with_text(png(3, 2), "quillmere", "Zürich")
        wanted = ("quillmere", "k", "b")
        self.assertEqual(texts(picture, wanted), {"quillmere": "Zürich"})
        self.assertEqual(kind_of(picture), "png")
        packed = b"k\0\1\0\0\0" + zlib.compress(b"packed")
        body = chunk(b"iTXt", packed) + chunk(b"tEXt", b"none") + chunk(b"iTXt", b"b\0\0")
        body += chunk(b"tEXt", b"k\0a later one")
        more = picture[:-12] + body + picture[-12:]
        self.assertEqual(texts(more, wanted), {"quillmere": "Zürich", "k": "packed"})

    def test_only_wanted_texts_are_unpacked_and_all_together_no_more_than_one_may_take(self):
        bomb, large = b"\0\0" + zlib.compress(bytes(80 << 20), 9), b"\0\0" + zlib.compress(bytes(20 << 20), 9)
        cut_off = large[:-9]
        for before, expected in (
            (((b"other", bomb),) * 500, {"k": "text"}),
            (((b"b", bomb),) * 500, {}),
            (((b"b", cut_off),) * 500, {}),
            (((b"b", large), (b"c", large)), {"b": "\0" * (20 << 20)}),
        ):
            parts = (*before, (b"k", b"\0\0" + zlib.compress(b"text")))
            body = b"".join(chunk(b"zTXt", keyword + data) for keyword, data in parts)
            started = time.process_time()
            found = texts(png(3, 2)[:-12] + body + chunk(b"IEND", b""), ("k", "b", "c"))
            self.assertEqual({name: found.get(name) for name in expected}, expected)
            self.assertNotIn("c", found)
            self.assertLess(time.process_time() - started, 3)

    def test_only_whole_pictures_count(self):
        whole = png(30, 20)
        damaged = whole[:50] + bytes([whole[50] ^ 1]) + whole[51:]
        for content, kind in (
            (whole, "png"),
            (whole[:-1], None),
            (damaged, None),
            (SIGNATURE, None),
            (b"\xff\xd8\xff\xe0 \xff\xd9", "jpg"),
            (b"\xff\xd8\xff\xe0 ", None),
            (b"RIFF\x04\0\0\0WEBP", "webp"),
            (b"RIFF\x05\0\0\0WEBP", None),
            (b"<html>", None),
            (b"", None),
        ):
            self.assertEqual(kind_of(content), kind, content[:20])
