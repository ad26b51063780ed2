#!/usr/bin/env python3
"""What a large workflow catalog costs: seconds of `quillmere panel`, which shows its menu, and of `quillmere workflows`,
which also tells each workflow's identifier; medians of several runs.

catalog.py QUILLMERE PLUGIN [ENTRIES ...]"""

from __future__ import annotations

import json
import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

RUNS = 5
SIZES = (1000, 4000, 16000, 100000)


def write_catalog(home: Path, entries: int) -> None:
    state = home / ".quillmere" / "state.json"
    state.parent.mkdir(parents=True, exist_ok=True)
    workflows = [{"id": f"workflow-{number:06}", "name": f"Workflow {number}"} for number in range(entries)]
    state.write_text(json.dumps({"workflows": workflows}))


def seconds(command: list[str], home: Path) -> float:
    """The median run; raises when one fails."""
    environment = {**os.environ, "HOME": str(home), "XDG_DATA_HOME": str(home / "data")}
    runs = []
    for _ in range(RUNS):
        start = time.perf_counter()
        subprocess.run(command, env=environment, stdout=subprocess.DEVNULL, check=True)
        runs.append(time.perf_counter() - start)
    return statistics.median(runs)


def main() -> None:
    quillmere, plugin, *sizes = sys.argv[1:]
    print(f"\nworkflow catalog, median of {RUNS} runs")
    for entries in map(int, sizes) if sizes else SIZES:
        with tempfile.TemporaryDirectory() as folder:
            home = Path(folder)
            write_catalog(home, entries)
            panel = seconds([quillmere, "panel", "--plugin", plugin], home)
            workflows = seconds([quillmere, "workflows", "--plugin", plugin], home)
        print(f"{entries:>7} entries   panel {panel:7.3f} s   workflows {workflows:7.3f} s   {workflows / panel:5.2f} times")


if __name__ == "__main__":
    main()
