"""Which of the values that the editor keeps for a node belongs to which of its inputs.

The editor writes them one after the other, without names, together with some that no server sees. Where the node has
changed since, what the server says about its inputs decides as far as it can: of all ways to give the values out in
their order, the one that needs the least to have changed, if there is but one.
"""

from dataclasses import dataclass
from typing import Any, Optional, Sequence

from .classes import LITERALS, Input

HABITS = ("fixed", "increment", "decrement", "randomize", "increment-wrap")  # what becomes of a value after a run
BUTTONS = ("image", "video", "audio", "upload", None)  # what is kept for a button that picks files
# What a deviation counts. A choice that is not there is mostly a missing model.
ODD_VALUE, NO_HABIT, ODD_HABIT, REST, GAP = 2, 2, 1, 3, 4
MOST_RESTS = 64  # values that may be left over: what packs keep for parts of the editor


@dataclass(frozen=True)
class Alignment:
    """`places` has the position of the value of each input that has one; the node has gained the others since."""

    places: dict[str, int]
    cost: int
    count: int  # of values that have found a place


def align(widgets: Sequence[Input], values: Sequence[Any], linked: Sequence[str] = ()) -> Optional[Alignment]:
    """None when no way fits, or more than one. What is kept for inputs that are `linked` may be anything."""
    values = values[: 3 * len(widgets) + MOST_RESTS]
    # best[j] for the widgets from i on and the values from j on: cost, ways, and (takes the value, values used).
    rest = [(REST * (len(values) - j), 1, (False, 0)) for j in range(len(values) + 1)]
    table = [rest]
    for widget in reversed(widgets):
        after = table[-1]
        table.append([_best(widget, values, j, after, widget.name in linked) for j in range(len(values) + 1)])
    table.reverse()
    cost, ways, _ = table[0][0]
    places, j, gaps = {}, 0, 0
    for widget, row in zip(widgets, table):
        takes, used = row[j][2]
        if takes:
            places[widget.name] = j
        gaps += not takes and j < len(values) and widget.kind in LITERALS
        j += used
    is_guess = gaps and j < len(values)  # both gained inputs and lost ones
    return None if ways != 1 or is_guess else Alignment(places, cost, j)


def first_misfit(widgets: Sequence[Input], values: Sequence[Any]) -> tuple[Input, Any]:
    """Where the plain order goes wrong, for a message; the last of both when it does nowhere."""
    j, found = 0, (widgets[-1], values[-1])
    for widget in [widget for widget in widgets if widget.kind in LITERALS]:
        if j < len(values) and widget.misfit(values[j]) == 2:
            return widget, values[j]
        j += max(used for used, _ in _used(widget, values[j + 1 : j + 2]))
    return found


_Way = tuple[int, int, tuple[bool, int]]


def _best(widget: Input, values: Sequence[Any], j: int, after: Sequence[_Way], is_linked: bool) -> _Way:
    if j == len(values):
        return after[j][0], after[j][1], (False, 0)
    tries: list[tuple[int, tuple[bool, int]]] = []
    if widget.kind not in LITERALS or widget.standard() is not None:
        tries.append((GAP if widget.kind in LITERALS else 0, (False, 0)))
    misfit = widget.misfit(values[j])
    misfit = min(misfit, 1) if is_linked or values[j] is None else misfit
    if misfit < 2:
        used = _used(widget, values[j + 1 : j + 2])
        tries += [(misfit * ODD_VALUE + cost, (True, count)) for count, cost in used]
    ways = [(after[j + step[1]][0] + cost, after[j + step[1]][1], step) for cost, step in tries]
    ways = [way for way in ways if way[1]]
    least = min((cost for cost, _, _ in ways), default=0)
    cheapest = [way for way in ways if way[0] == least]
    return (least, min(sum(way[1] for way in cheapest), 2), cheapest[0][2]) if cheapest else (0, 0, (False, 0))


def _used(widget: Input, following: Sequence[Any]) -> list[tuple[int, int]]:
    """How many values an input may use, its own and what the editor keeps beside it; and what each costs."""
    if not following:
        return [(1, 0)]
    value = following[0]
    if widget.is_seed:  # the graphs of 2023 have a tick there
        return [(2, 0), (1, NO_HABIT)] if value in HABITS or isinstance(value, bool) else [(1, NO_HABIT)]
    if widget.uploads:
        return [(2, 0), (1, 1)] if value in BUTTONS else [(1, 0)]
    if widget.kind in ("INT", "FLOAT", "COMBO") and isinstance(value, str) and value in HABITS:
        return [(1, 0), (2, ODD_HABIT)]
    return [(1, 0)]
