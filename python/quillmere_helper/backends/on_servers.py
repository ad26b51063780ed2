"""A job on the best of several servers, whatever their kind."""

from typing import Sequence

from ..pool import Candidate, Pool, Rests
from . import Job, Result


def on_best_of(candidates: Sequence[Candidate[Result]], job: Job) -> Result:
    """The job on one of several servers. Raises HelperError."""
    servers = Pool(candidates, Rests(job.status.path), job.request.frame)
    made = servers.run(lambda message, share: job.status.tell("render", message, share))
    return Result(made.seed, [*made.notes, *servers.passed_over])
