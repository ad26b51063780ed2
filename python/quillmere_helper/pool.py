"""Several servers for one workflow: a render goes to the least busy one that has what it needs, and to the next when that
fails. One that has failed is left alone for a while, by later renders too."""

import os
import threading
import time
from typing import Any, Callable, Generic, Protocol, Sequence, TypeVar

from . import untrusted, web
from .errors import HelperError, PassingFailure
from .exchange import to_json, write_whole
from .servers import Tell, impatient

LOOK = 5.0  # seconds for a server to tell how busy it is
FILE = "servers.json"  # beside the exchange files
LARGEST_FILE = 1 << 16  # bytes
FIRST_REST, LONGEST_REST = 60.0, 900.0  # seconds that one is left alone, twice as long after each failure
HURRY = 15.0  # seconds to wait for a server that has gone, while there is another one

T = TypeVar("T")
T_co = TypeVar("T_co", covariant=True)


class Candidate(Protocol[T_co]):
    """One server, and a render on it. All three raise HelperError."""

    @property
    def site(self) -> web.Site: ...
    def load(self) -> int:
        """How many jobs it has."""
    def refuse_lacking(self) -> None:
        """Raises when it lacks a node, a model or a file."""
    def run(self) -> T_co: ...


class Rests:
    """Which servers have failed lately: their addresses, until when each is left alone, and for how long that is."""

    def __init__(self, beside: str) -> None:
        """`beside`: one of the exchange files."""
        self._path = os.path.join(os.path.dirname(beside), FILE)

    def left_alone(self, url: str) -> bool:
        return time.time() < self._read().get(url, (0.0, 0.0))[0]

    def fail(self, url: str) -> None:
        known = self._read()
        rest = min(2 * known[url][1], LONGEST_REST) if url in known else FIRST_REST
        self._write({**known, url: (time.time() + rest, rest)})

    def succeed(self, url: str) -> None:
        known = self._read()
        if known.pop(url, None):
            self._write(known)

    def _read(self) -> dict[str, tuple[float, float]]:
        """Times too far away come from a clock that was set; those long gone say nothing any more."""
        try:
            told = untrusted.read_object(self._path, "file of servers", LARGEST_FILE, "")
        except HelperError:
            return {}
        known = {}
        for url, one in told.items():
            pair = [untrusted.as_object(one).get(key) for key in ("until", "rest")]
            numbers = [value for value in pair if isinstance(value, (int, float))]
            if len(numbers) == 2 and abs(numbers[0] - time.time()) <= LONGEST_REST:
                known[url] = (numbers[0], numbers[1])
        return known

    def _write(self, known: dict[str, tuple[float, float]]) -> None:
        members = {url: {"until": round(until), "rest": rest} for url, (until, rest) in known.items()}
        try:
            write_whole(self._path, to_json(members), mode=0o600)
        except OSError:
            pass  # the next render finds out by itself


class Pool(Generic[T]):
    """`passed_over` says why a server was, for the user."""

    def __init__(self, candidates: Sequence[Candidate[T]], rests: Rests, turn: int) -> None:
        """`turn`: of equals, renders of neighbouring turns take neighbouring servers."""
        self._candidates, self._rests, self._turn = candidates, rests, turn
        self._failures: list[HelperError] = []
        self.passed_over: list[str] = []

    def run(self, tell: Tell) -> T:
        """Raises HelperError: of the only server, or what each of them says."""
        if len(self._candidates) == 1:
            return self._candidates[0].run()
        tell(f"Looking for the least busy of {len(self._candidates)} servers", None)
        for last, candidate in self._in_order():
            try:
                with impatient(HURRY if not last else None):
                    candidate.refuse_lacking()
                    made = candidate.run()
                self._rests.succeed(candidate.site.url)
                return made
            except HelperError as error:
                if not _is_of_server(error):
                    raise
                self._pass_over(candidate, error)
                tell(f"{candidate.site.url} fails; looking for another server", None)
        raise self._none()

    def _in_order(self) -> list[tuple[bool, Candidate[T]]]:
        """Those that answer, the least busy first, with whether it is the last one; those that are left alone come after
        the others."""
        loads = _together([candidate.load for candidate in self._candidates])
        ranked = []
        for place, (candidate, load) in enumerate(zip(self._candidates, loads)):
            if isinstance(load, HelperError):
                self._pass_over(candidate, load)
            else:
                turn = (place - self._turn) % len(self._candidates)
                ranked.append((self._rests.left_alone(candidate.site.url), load, turn, candidate))
        ranked.sort(key=lambda entry: entry[:3])
        return [(number == len(ranked), entry[3]) for number, entry in enumerate(ranked, 1)]

    def _pass_over(self, candidate: Candidate[T], error: HelperError) -> None:
        if isinstance(error, PassingFailure):
            self._rests.fail(candidate.site.url)
        self._failures.append(error)
        self.passed_over.append(f"{candidate.site.url} was passed over: {error.text}")

    def _none(self) -> HelperError:
        kind = PassingFailure if any(isinstance(error, PassingFailure) for error in self._failures) else HelperError
        told = ". ".join(dict.fromkeys(map(str, self._failures)))
        details = "\n\n".join(error.details for error in self._failures if error.details)
        return kind(f"None of {len(self._candidates)} servers makes the picture. {told}", details)


class Lacking(HelperError):
    """A server has not what the workflow needs; another one may."""


def _is_of_server(error: HelperError) -> bool:
    return isinstance(error, (PassingFailure, Lacking))


def _together(looks: Sequence[Callable[[], int]]) -> list[Any]:
    """What each look returns, or its HelperError; a server that takes too long gets one of ours."""
    found: list[Any] = [web.UnreachableServer("It does not answer in time")] * len(looks)

    def look(place: int) -> None:
        try:
            found[place] = looks[place]()
        except HelperError as error:
            found[place] = error

    threads = [threading.Thread(target=look, args=(place,), daemon=True) for place in range(len(looks))]
    for thread in threads:
        thread.start()
    end = time.monotonic() + LOOK
    for thread in threads:
        thread.join(max(0.0, end - time.monotonic()))
    return list(found)
