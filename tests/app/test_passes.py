"""Passes as files: what compositors and the helper find in them."""

from __future__ import annotations

import json
import math
import pathlib
import struct
import sys
import unittest
import zlib

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "python"))

import scratch_render  # noqa: E402
from app_case import AppCase  # noqa: E402


def murmur(text: bytes) -> int:
    """MurmurHash3_x86_32 with the seed 0, as its author describes it."""
    mask, hash = 0xFFFFFFFF, 0
    rotated = lambda number, by: (number << by | number >> (32 - by)) & mask  # noqa: E731
    for at in range(0, len(text), 4):
        block = int.from_bytes(text[at : at + 4], "little") * 0xCC9E2D51 & mask
        hash ^= rotated(block, 15) * 0x1B873593 & mask
        if at + 4 <= len(text):
            hash = (rotated(hash, 13) * 5 + 0xE6546B64) & mask
    hash ^= len(text)
    hash = (hash ^ hash >> 16) * 0x85EBCA6B & mask
    hash = (hash ^ hash >> 13) * 0xC2B2AE35 & mask
    return hash ^ hash >> 16


class Exr:
    """A scan-line file of floats, packed with ZIP: `header` by name, `channels` as lists of all pixels."""

    def __init__(self, file: pathlib.Path) -> None:
        content, at, self.header = file.read_bytes(), 8, {}
        while content[at]:
            name, kind = content[at:].split(b"\0", 2)[:2]
            at += len(name) + len(kind) + 2
            size = struct.unpack_from("<i", content, at)[0]
            self.header[name.decode()] = content[at + 4 : at + 4 + size]
            at += 4 + size
        left, top, right, bottom = struct.unpack("<4i", self.header["dataWindow"])
        self.width, self.height = right - left + 1, bottom - top + 1
        names = [part.split(b"\0")[-1].decode() for part in self._names(self.header["channels"])]
        self.channels: dict[str, list[float]] = {name: [] for name in names}
        blocks = -(-self.height // 16)
        for (place,) in struct.iter_unpack("<Q", content[at + 1 : at + 1 + 8 * blocks]):
            first, size = struct.unpack_from("<ii", content, place)
            self._read(content[place + 8 : place + 8 + size], min(16, self.height - first))

    @staticmethod
    def _names(listed: bytes):
        while listed[0]:
            name, listed = listed.split(b"\0", 1)
            yield name
            listed = listed[16:]

    def _read(self, packed: bytes, lines: int) -> None:
        size = 4 * self.width * lines * len(self.channels)
        if len(packed) < size:
            told = bytearray(zlib.decompress(packed))
            for i in range(1, size):
                told[i] = (told[i - 1] + told[i] - 128) & 255
            half = (size + 1) // 2
            packed = bytes(told[i // 2 + half * (i % 2)] for i in range(size))
        values = struct.unpack(f"<{size // 4}f", packed)
        for line in range(lines):
            for index, name in enumerate(self.channels):
                begin = (line * len(self.channels) + index) * self.width
                self.channels[name] += values[begin : begin + self.width]

    def text(self, key: str) -> str:
        return self.header[key].decode()

    def at(self, x: int, y: int, *names: str) -> list[float]:
        return [self.channels[name][y * self.width + x] for name in names]


class Passes(AppCase):
    def write(self, *arguments: str) -> str:
        done = self.run_command("guide", "scene.glb", "--size", "33x33", *arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stderr

    def test_an_exr_holds_the_layers_that_compositors_know(self) -> None:
        for name, bits in (("bunny", 0x13851A76), ("default", 0x42C9679F), ("bunny_porcelain_mat", 0xB24B26D4)):
            self.assertEqual(murmur(name.encode()), bits)
        for mode in ("quick", "final"):
            self.write("--pass", "all", "-o", "all.exr", "--guide", mode)
            exr = Exr(self.folder / "all.exr")
            key = f"cryptomatte/{murmur(b'CryptoObject'):08x}"[:19] + "/"
            self.assertEqual([exr.text(key + name) for name in ("name", "hash", "conversion")], ["CryptoObject", "MurmurHash3_32", "uint32_to_float32"])
            bits = int(json.loads(exr.text(key + "manifest"))["Sail"], 16)
            self.assertEqual(bits, murmur(b"Sail"))
            ids = [f"CryptoObject0{layer}.{letter}" for layer in range(3) for letter in "RB"]
            shares = [f"CryptoObject0{layer}.{letter}" for layer in range(3) for letter in "GA"]
            for y in range(33):
                for x in range(33):
                    found = {struct.unpack("<I", struct.pack("<f", id))[0]: share for id, share in zip(exr.at(x, y, *ids), exr.at(x, y, *shares)) if share}
                    self.assertLessEqual(set(found), {bits})
                    (alpha,) = exr.at(x, y, "A")
                    self.assertAlmostEqual(found.get(bits, 0), alpha, places=6, msg="coverage from the guide's own samples")
                    depth, red = exr.at(x, y, "Z", "R")
                    self.assertEqual(math.isinf(depth), alpha == 0)
                    self.assertTrue(red == 0 if alpha == 0 else red > 0, "colours stand on nothing")
            self.assertEqual([round(value, 4) for value in exr.at(16, 20, "Z", "N.X", "N.Y", "N.Z", "P.Z")], [4, 0, 0, 1, 0])
            row = (*exr.at(16, 20, "P.X", "P.Y", "P.Z"), 1)
            matrix = struct.unpack("<16f", exr.header["worldToNDC"])
            x, y, _, w = (sum(row[i] * matrix[4 * i + column] for i in range(4)) for column in range(4))
            self.assertAlmostEqual(33 * x / w, 16.5, delta=0.5)
            self.assertAlmostEqual(33 * y / w, 20.5, delta=0.5)

    def test_one_range_of_depths_holds_for_a_sequence_and_can_be_given(self) -> None:
        told = self.write("--pass", "depth", "--pass", "lines", "--frames", "0-30x15", "-o", "p_{pass}_####.png")
        self.assertRegex(told, r"--depth-range 3\.8:4\.2")
        depths = {(self.folder / f"p_depth_{frame:04}.png").read_bytes() for frame in (0, 15, 30)}
        self.assertEqual(len(depths), 3, "the sail moves")
        self.assertTrue((self.folder / "p_lines_0015.png").exists())
        again = self.write("--pass", "depth", "--frames", "15", "-o", "again.png", "--depth-range", "3.8:4.2")
        self.assertNotIn("--depth-range", again)
        self.assertEqual((self.folder / "again.png").read_bytes(), (self.folder / "p_depth_0015.png").read_bytes())

    def test_what_no_file_can_hold_is_refused(self) -> None:
        for arguments, why in (
            (["--pass", "position", "-o", "a.png"], "end the file's name in .exr"),
            (["--pass", "colour", "-o", "a.png"], "--pass"),
            (["--pass", "depth", "-o", "a.png", "--depth-range", "5:2"], "NEAR:FAR"),
            (["--pass", "depth", "-o", "a.png", "--depth-range", "0:2"], "NEAR:FAR"),
        ):
            done = self.run_command("guide", "scene.glb", *arguments)
            self.assertEqual((done.returncode, why in done.stderr), (2, True), done.stderr)

    def asking_for(self, *passes: str) -> None:
        answer = json.dumps({"ok": True, "backend": "embedded", "passes": passes})
        # The last lines keep what the helper was told while it rendered.
        self.helper('cp "$QUILLMERE_PROVENANCE_FILE" "$(dirname "$request")/told_$(basename "$request")"\nanswer', f"printf '%s\\n' '{answer}'")

    def test_the_helper_is_told_of_the_passes_of_its_frame(self) -> None:
        self.asking_for("depth", "lines", "object", "normal:bae", "matte:sail")
        workflow = self.folder / "w.json"
        workflow.write_text("{}")
        done = self.render("--workflow", "w.json", "--frames", "3-4", "--jobs", "1", "-o", "f_####.png")
        self.assertEqual(done.returncode, 0, done.stderr)
        runtime = self.folder / "write/quillmere/c4d/runtime"
        for frame in (3, 4):
            told = json.loads((runtime / f"told_request_{frame}.json").read_text())["passes"]
            self.assertEqual((told["version"], told["frame"]), (1, frame))
            self.assertEqual({told[key]["file"] for key in ("depth", "lines", "object", "normal")}, {str(runtime / f"{key}_{frame}.png") for key in ("depth", "lines", "object", "normal")})
            self.assertEqual((told["depth"]["kind"], told["normal"]["kind"], told["lines"]["polarity"]), ("inverse", "bae", "white_on_black"))
            self.assertLess(told["depth"]["near"], told["depth"]["far"])
            self.assertEqual(list(told["object"]["names"].values()), ["Sail"])
            self.assertEqual(told["mattes"], [{"name": "sail", "of": "object", "file": str(runtime / f"matte_1_{frame}.png")}])
            self.assertNotIn("material", told)
            for key in ("depth", "lines", "object", "normal", "matte_1"):
                header = (runtime / f"{key}_{frame}.png").read_bytes()[16:26]
                self.assertEqual(struct.unpack(">IIBB", header), (32, 24, 8, 2), "as large as the guide, 8-bit RGB")
        self.asking_for("matte:Sal")
        done = self.render("--workflow", "w.json", "-o", "g.png")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, "mask of 'Sal'.*\n.*did you mean 'Sail'")
        self.assertFalse((self.folder / "g.png").exists())

    def test_a_repeated_picture_has_the_passes_that_it_had(self) -> None:
        self.asking_for("depth", "normal")
        (self.folder / "w.json").write_text("{}")
        (self.folder / "like.png").write_bytes(scratch_render.png(1, 1))
        record = {"helper_version": "0.1.0", "frame": 0, "width": 32, "height": 24, "seed": 1, "prompt": "", "system_prompt": "", "workflow_path": str(self.folder / "w.json"), "workflow": {}}
        told = []
        for arguments in (["--workflow", "w.json", "--depth-range", "1.5:9", "--depth-kind", "linear", "--normal-kind", "directx"], ["--like", "like.png"]):
            done = self.render(*arguments, "-o", "a.png")
            self.assertEqual(done.returncode, 0, done.stderr)
            told.append(json.loads((self.folder / "write/quillmere/c4d/runtime/told_request_0.json").read_text()))
            (self.folder / "like.png.json").write_text(json.dumps({**record, **told[-1]}))
        first, again = ([one["passes"][key] for key in ("depth", "normal")] for one in told)
        self.assertEqual((first[0]["near"], first[0]["far"], first[0]["kind"], first[1]["kind"]), (1.5, 9, "linear", "directx"))
        self.assertEqual(again, first)


if __name__ == "__main__":
    unittest.main()
