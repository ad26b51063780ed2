#!/usr/bin/env python3
"""Renders with one fault after another and tells what was found; QUILLMERE and QUILLMERE_PLUGIN name the build.

A run is made again by its seed and number: faults/run.py --seed 1 --only 17.
"""

from __future__ import annotations

import argparse
import os
import random
import sys
import time
from concurrent.futures import ThreadPoolExecutor

import checks
from classes import CLASSES
from place import Place


def main() -> int:
    options = _options()
    begun = time.monotonic()
    numbers = [options.only] if options.only is not None else range(options.runs or sys.maxsize)
    counts = {fault.name: [0, 0] for fault in CLASSES}
    told: list[str] = []

    def one(number: int) -> None:
        if options.seconds and time.monotonic() - begun > options.seconds:
            return
        name, found = _run(options.seed, number)
        counts[name][0] += 1
        counts[name][1] += bool(found)
        told.extend(f"run {number} ({name}): {text}" for text in found)

    with ThreadPoolExecutor(options.jobs) as pool:
        for batch in range(0, len(numbers), 50):
            list(pool.map(one, numbers[batch : batch + 50]))
            if options.seconds and time.monotonic() - begun > options.seconds:
                break
    _print(counts, told, options.seed, time.monotonic() - begun)
    return 1 if told else 0


def _options() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("seconds", nargs="?", type=float, help="how long to go on (default: 60, without --runs)")
    parser.add_argument("--runs", type=int, help="how many runs at most")
    parser.add_argument("--seed", type=int, default=1, help="what all that is left to chance follows from")
    parser.add_argument("--only", type=int, help="the one run of this number")
    parser.add_argument("--jobs", type=int, default=3 * (os.cpu_count() or 1), help="how many at a time; they mostly wait")
    options = parser.parse_args()
    if options.seconds is None and options.runs is None and options.only is None:
        options.seconds = 60.0
    return options


def _run(seed: int, number: int) -> "tuple[str, list[str]]":
    """Each class in its turn, everything else by chance."""
    fault = CLASSES[number % len(CLASSES)]
    place = Place(random.Random(f"{seed}:{number}"), fault.name, fault.helper)
    try:
        found = list(checks.findings(place, fault.render(place), fault.statuses))
        return fault.name, [f"helper {place.helper}: {text}" for text in found]
    finally:
        place.close()


def _print(counts: "dict[str, list[int]]", told: "list[str]", seed: int, seconds: float) -> None:
    print(f"{'fault':<24}{'runs':>8}{'findings':>10}")
    for name, (runs, found) in counts.items():
        print(f"{name:<24}{runs:>8}{found:>10}")
    print(f"{'in ' + format(seconds, '.0f') + ' s, seed ' + str(seed):<24}{sum(c[0] for c in counts.values()):>8}{len(told):>10}")
    for text in told:
        print(text)


if __name__ == "__main__":
    sys.exit(main())
