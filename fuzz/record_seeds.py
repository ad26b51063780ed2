#!/usr/bin/env python3
"""record_seeds.py FOLDER: writes what record_fuzz starts from, a side file and a picture that carries the same."""

import json
import sys
from pathlib import Path

from quillmere_helper.png import with_text

TREE = Path(__file__).resolve().parent.parent
RECORD = {
    "helper_version": "1", "scene": "a.glb", "camera": "Front", "workflow_path": "w.json", "frame": 3, "fps": 24,
    "seed": 7, "width": 64, "height": 32, "system_prompt": "ink", "prompt": "fog", "effective_prompt": "ink fog",
    "guide_mode": "final", "workflow": {"graph": {}},
}

folder, text = Path(sys.argv[1]), json.dumps(RECORD)
picture = (TREE / "tests/image/pictures/png-1-bit.png").read_bytes()
(folder / "side").write_text(text)
(folder / "latin").write_bytes(with_text(picture, "quillmere", text))
(folder / "unicode").write_bytes(with_text(picture, "quillmere", text.replace("fog", "Nebel \u2601")))
