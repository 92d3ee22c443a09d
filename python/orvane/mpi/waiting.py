"""Waiting no longer than ``ORVANE_MPI_TIMEOUT`` says, and finding out who has not come.

MPI waits for ever, and so do these functions unless that variable holds a number of seconds. A rank
that has waited so long calls the others; those who wait as well hear it, and answer. Who does not
is missing. Nothing can be taken back of what has been begun, so the communicator is of no use then.
"""

from __future__ import annotations

import os
import time
from typing import Any

from .engine import engine

VARIABLE = "ORVANE_MPI_TIMEOUT"
_PAUSE = 5e-4
_GRACE = 1.0
"""Seconds from the first call to the verdict; those who wait look for calls all the time."""

_ABANDONED: list[object] = []
"""What MPI may still read or write."""


def time_limit() -> float | None:
    """In seconds, the same on all ranks, as they are started in the same environment."""
    told = os.environ.get(VARIABLE)
    if not told:
        return None
    try:
        limit = float(told)
    except ValueError:
        limit = 0.0
    if not limit > 0:
        raise ValueError(f"{VARIABLE} must be a number of seconds, not {told!r}")
    return limit


def is_done_in_time(request: Any, *used: object) -> bool:
    """Waits for what takes two ranks; `used` is kept where that never ends."""
    limit = time_limit()
    if limit is None:
        request.Wait()
        return True
    deadline = time.monotonic() + limit
    while not request.Test():
        if time.monotonic() > deadline:
            _ABANDONED.extend((request, *used))
            return False
        time.sleep(_PAUSE)
    return True


def message_in_time(comm: Any, source: int, tag: int, status: Any) -> Any:
    """The next message, which only this thread can receive then; None if none comes."""
    limit = time_limit()
    if limit is None:
        return comm.Mprobe(source, tag, status)
    deadline = time.monotonic() + limit
    while True:
        message = comm.Improbe(source, tag, status)
        if message is not None or time.monotonic() > deadline:
            return message
        time.sleep(_PAUSE)


def missing_ranks(comm: Any, sent: list[Any], heard: list[Any]) -> list[int]:
    """Has all ranks hear what each sends: nobody, when that is done; else those who have not come.

    It is this rank itself where all others have waited and gone. As what they had sent may have
    come all the same, a barrier tells that they are still there.
    """
    limit = time_limit()
    if limit is None:
        comm.Allgather(sent, heard)
        return []
    MPI = engine()  # noqa: N806
    tag = comm.Get_attr(MPI.TAG_UB)
    for begin, messages in ((comm.Iallgather, (sent, heard)), (comm.Ibarrier, ())):
        request = begin(*messages)
        deadline = time.monotonic() + limit
        while not request.Test():
            if time.monotonic() > deadline or comm.Iprobe(MPI.ANY_SOURCE, tag):
                _ABANDONED.extend((request, messages))
                return _those_who_do_not_answer(comm, tag)
            time.sleep(_PAUSE)
    return []


def _those_who_do_not_answer(comm: Any, tag: int) -> list[int]:
    MPI = engine()  # noqa: N806
    missing = {*range(comm.size)} - {comm.rank}
    nothing = [b"", 0, MPI.BYTE]
    _ABANDONED.extend(comm.Isend(nothing, rank, tag) for rank in missing)
    status = MPI.Status()
    verdict = time.monotonic() + _GRACE
    while missing and time.monotonic() < verdict:
        if comm.Iprobe(MPI.ANY_SOURCE, tag, status):
            comm.Recv([bytearray(), 0, MPI.BYTE], status.source, tag)
            missing.discard(status.source)
        else:
            time.sleep(_PAUSE)
    return sorted(missing) or [comm.rank]
