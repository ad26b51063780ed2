"""What lies in the place of a file that is read or written: something else than a file, a link, somebody else's folder."""

import contextlib
import json
import os
import pathlib
import shutil
import socket
import subprocess
import time

from app_case import AppCase

SOON = 5  # seconds: what waits for a pipe, or reads a device, never ends


class HostileFiles(AppCase):
    def put(self, kind: str, place: pathlib.Path) -> None:
        place.parent.mkdir(parents=True, exist_ok=True)
        with contextlib.suppress(FileNotFoundError):
            shutil.rmtree(place) if place.is_dir() and not place.is_symlink() else place.unlink()
        if kind == "pipe":
            os.mkfifo(place)
        elif kind == "device":
            place.symlink_to("/dev/zero")
        else:
            with socket.socket(socket.AF_UNIX) as unix:
                unix.bind(str(place))

    def soon(self, *arguments: str) -> subprocess.CompletedProcess[str]:
        begun = time.monotonic()
        done = self.run_command(*arguments)
        self.assertLess(time.monotonic() - begun, SOON)
        return done

    def write_gltf(self, **more: object) -> None:
        camera = {"type": "perspective", "perspective": {"yfov": 1, "znear": 0.1}}
        node = {"camera": 0, **({"mesh": 0} if "meshes" in more else {})}
        document = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [node], "cameras": [camera]}
        (self.folder / "named.gltf").write_text(json.dumps({**document, **more}))

    def test_only_files_are_read_wherever_one_is_named(self) -> None:
        self.run_command("guide", "scene.glb", "-o", "whole.png", "--size", "8x8")
        buffer = {"buffers": [{"uri": "data", "byteLength": 12}]}
        accessors = [{"bufferView": 0, "componentType": 5126, "count": 3, "type": kind} for kind in ("VEC3", "VEC2")]
        inside = {"uri": "data:application/octet-stream;base64," + "A" * 48, "byteLength": 36}
        triangle = {"buffers": [inside], "bufferViews": [{"buffer": 0, "byteLength": 36}], "accessors": accessors}
        texture = {"images": [{"uri": "data"}], "textures": [{"source": 0}]}
        material = {"materials": [{"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}}]}
        mesh = {"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1}, "material": 0}]}
        textured = {**triangle, **texture, **material, "meshes": [mesh]}
        render = ["render", "scene.glb", "--plugin", "plugin", "--write-dir", "write", "--size", "8x8"]
        named = ["guide", "named.gltf", "-o", "guide.png", "--size", "8x8"]
        for place, arguments, content, status in [
            ("data", ["guide", "data", "-o", "guide.png"], {}, 1),
            ("data", named, buffer, 1),
            ("data", named, textured, 0),  # told as a warning; the rest of the scene is drawn
            ("data", [*render, "--prompt-file", "data"], {}, 2),
            ("data", [*render, "--settings", "data"], {}, 1),
            ("data", [*render, "--style", "data"], {}, 2),
            ("data", [*render, "--workflow", "data"], {}, None),
            ("data", ["render", "--like", "data", "--plugin", "plugin"], {}, 1),
            ("whole.png.json", ["show", "whole.png"], {}, 1),
            ("data", ["show", "data"], {}, 1),
            ("data", ["workflows", "add", "data", "--plugin", "plugin"], {}, None),
            ("home/.quillmere/state.json", render, {}, 1),
            ("home/.quillmere/state.json", ["workflows", "--plugin", "plugin"], {}, 1),
            ("home/.tallowcrest/state.json", ["panel", "--plugin", "plugin"], {}, 1),
            ("write/quillmere/c4d/runtime/render_view_state.json", render, {}, 1),
        ]:
            for kind in ("pipe", "socket", "device"):
                with self.subTest(arguments=arguments[:3], place=place, kind=kind):
                    shutil.rmtree(self.folder / "home", ignore_errors=True)
                    shutil.rmtree(self.folder / "write", ignore_errors=True)
                    self.write_gltf(**content)
                    self.put(kind, self.folder / place)
                    done = self.soon(*arguments)
                    self.assertIn(done.returncode, (1, 2) if status is None else (status,), done.stderr)
                    self.assertRegex(done.stderr, "not a (regular )?file|no such picture|nor a file|nothing tells|a link that leads out")

    def test_links_lead_nowhere_and_the_write_directory_is_the_users_own(self) -> None:
        runtime = "write/quillmere/c4d/runtime"
        elsewhere = self.folder / "elsewhere"
        for place, kind, reason in [
            (f"{runtime}/request_0.json", "link", "is a link"),
            (f"{runtime}/status_0.json", "link", "is a link"),
            (f"{runtime}/response_0.json", "link", "is a link"),
            (f"{runtime}/reference_0.png", "link", "is a link"),
            (f"{runtime}/render_view_state.json", "link", "is a link"),
            (f"{runtime}/provenance.json", "link", "is a link"),
            ("write/quillmere/c4d/history/untitled/quillmere_f0.json", "link", "is a link"),
            ("write/quillmere/c4d/render.lock", "link", "cannot be written"),
            ("write/quillmere", "folder", "it is no folder"),
            (runtime, "folder", "it is no folder"),
            ("write/quillmere/c4d/history", "folder", "it is no folder"),
            ("write", "open to all", "every user may write to it"),
            *([("write/quillmere/c4d", "foreign", "it belongs to another user")] if os.getuid() == 0 else []),
        ]:
            with self.subTest(place=place, kind=kind):
                shutil.rmtree(self.folder / "write", ignore_errors=True)
                shutil.rmtree(elsewhere, ignore_errors=True)
                elsewhere.mkdir()
                (self.folder / place).parent.mkdir(parents=True, exist_ok=True)
                if kind == "link":
                    (elsewhere / "file").write_text("kept")
                    (self.folder / place).symlink_to(elsewhere / "file")
                elif kind == "folder":
                    (self.folder / place).symlink_to(elsewhere)
                else:
                    (self.folder / place).mkdir()
                    (self.folder / place).chmod(0o777 if kind == "open to all" else 0o755)
                    os.chown(self.folder / place, 65534 if kind == "foreign" else os.getuid(), -1)
                done = self.render("--quiet")
                self.assertEqual((done.returncode, done.stderr.count(reason)), (1, 1), done.stderr)
                self.assertEqual([file.read_text() for file in elsewhere.iterdir()], ["kept"] if kind == "link" else [])
        self.write_gltf(buffers=[{"uri": "data", "byteLength": 4}])
        (self.folder / "data").symlink_to("/etc/hostname")
        self.assertIn("a link that leads out", self.run_command("cameras", "named.gltf").stderr)
        (self.folder / "data").unlink()
        (self.folder / "four").write_text("four")
        (self.folder / "data").symlink_to("four")
        self.assertEqual(self.run_command("cameras", "named.gltf").stderr, "")
