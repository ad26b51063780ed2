"""What an install lays out works where it lies, with nothing of the build tree."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["QUILLMERE_BUILD"])


class Install(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="quillmere it's ")
        self.addCleanup(scratch.cleanup)
        self.prefix = pathlib.Path(scratch.name).resolve()

    def install(self, *arguments):
        subprocess.run(["cmake", "--install", BUILD, "--prefix", self.prefix, *arguments], check=True, capture_output=True)

    def quillmere(self, *arguments):
        program = self.prefix / "bin" / "quillmere"
        return subprocess.run([program, *arguments], check=True, capture_output=True, text=True).stdout

    def test_the_program_finds_its_library_and_plugin_beside_it(self):
        self.install()
        self.assertFalse((self.prefix / "quillmere").exists(), "the application's folder is made only when asked for")
        libraries = subprocess.run(["ldd", self.prefix / "bin" / "quillmere"], check=True, capture_output=True, text=True).stdout
        self.assertIn(f"{self.prefix}/bin/../lib/quillmere/libquillmere_host.so", libraries)
        findings = json.loads(self.quillmere("doctor", "--json", "--write-dir", self.prefix / "data"))
        details = {finding["check"]: (finding["state"], finding["detail"]) for finding in findings}
        plugin = f"{self.prefix}/lib/quillmere/plugin/quillmere"
        self.assertEqual(details["module"], ("ok", plugin))
        self.assertEqual(details["render helper"], ("ok", f"{plugin}/python/quillmere_render_helper.py"))

        helper = subprocess.run(["python3", f"{plugin}/python/quillmere_render_helper.py", "--version"], check=True, capture_output=True, text=True)
        self.assertEqual(self.quillmere("--version").split()[-1], helper.stdout.split()[-1])

        scene, frame = self.prefix / "harbour.glb", self.prefix / "frame_0024.png"
        subprocess.run(["python3", self.prefix / "share/quillmere/examples/make_harbour.py", scene], check=True, capture_output=True)
        self.quillmere("render", scene, "--frames", "24", "--size", "64x36", "--write-dir", self.prefix / "data",
                       "--output", self.prefix / "frame_####.png")
        self.assertTrue(frame.is_file())

    def test_the_plugin_s_folder_is_whole_and_nothing_else(self):
        self.install("--component", "plugin")
        folder = self.prefix / "quillmere"
        self.assertEqual([entry.name for entry in self.prefix.iterdir()], ["quillmere"])
        self.assertEqual({entry.name for entry in folder.iterdir()}, {"quillmere.xso64", "res", "python", "LICENSE"})
        source = pathlib.Path(__file__).parents[2]
        for part in ("res", "python"):
            kept = {file.relative_to(source) for file in (source / part).rglob("*")
                    if file.is_file() and file.suffix in (".py", ".json", ".h", ".res", ".str")}
            self.assertEqual({file.relative_to(folder) for file in (folder / part).rglob("*") if file.is_file()}, kept)
