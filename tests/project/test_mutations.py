"""Every listed fault can still be put in: its file is there and holds the text exactly once."""

import pathlib
import shutil
import tempfile
import unittest

from mutate import HERE, ROOMS, SOURCES, read_list


class List(unittest.TestCase):
    def test_every_fault_applies_once(self) -> None:
        self.assertEqual({file.stem for file in HERE.glob("*.list")}, set(ROOMS))
        with tempfile.TemporaryDirectory() as folder:
            for fault in (fault for room in ROOMS for fault in read_list(room)):
                with self.subTest(f"{fault.room}: {fault.meaning}"):
                    copy = pathlib.Path(folder) / fault.file
                    copy.parent.mkdir(parents=True, exist_ok=True)
                    shutil.copy(SOURCES / fault.file, copy)
                    fault.put_into(pathlib.Path(folder))
