"""Waiting no longer than ``ORVANE_MPI_TIMEOUT`` says, and finding out who has not come.

MPI waits for ever, and so do these functions unless that variable holds a number of seconds. A rank
that has waited so long calls the others; those who wait as well hear it, and answer. Who does not
is missing. Nothing can be taken back of what has been begun, so the communicator is of no use then.
"""

from __future__ import annotations

import os
import time
from collections.abc import Callable
from typing import Any, ClassVar

from .engine import engine

VARIABLE = "ORVANE_MPI_TIMEOUT"
_PAUSE = 5e-4
_GRACE = 1.0
"""Seconds from the first call to the verdict; those who wait look for calls all the time."""


class Begun:
    """What MPI has begun, and does while the program goes on: one of its functions, called.

    What it reads or writes stays where it is until that is known to be done: for good where nobody
    waits so long, as after an interrupt.
    """

    _under_way: ClassVar[set[Begun]] = set()

    def __init__(self, begin: Callable[..., Any], *arguments: Any, used: object = None) -> None:
        self._used = arguments, used
        self._under_way.add(self)
        try:
            self._request = begin(*arguments)
        except Exception:
            self._under_way.discard(self)
            raise

    def is_done(self) -> bool:
        if self._request.Test():
            self._under_way.discard(self)
        return self not in self._under_way

    def is_done_in_time(self) -> bool:
        """Waits for what takes two ranks."""
        limit = time_limit()
        deadline = time.monotonic() + (limit or 0)
        if limit is None:
            self._request.Wait()
        while not self.is_done():
            if time.monotonic() > deadline:
                return False
            time.sleep(_PAUSE)
        return True


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
        begun = Begun(begin, *messages)
        deadline = time.monotonic() + limit
        while not begun.is_done():
            if time.monotonic() > deadline or comm.Iprobe(MPI.ANY_SOURCE, tag):
                return _those_who_do_not_answer(comm, tag)
            time.sleep(_PAUSE)
    return []


def _those_who_do_not_answer(comm: Any, tag: int) -> list[int]:
    MPI = engine()  # noqa: N806
    missing = {*range(comm.size)} - {comm.rank}
    nothing = [b"", 0, MPI.BYTE]
    for rank in missing:
        Begun(comm.Isend, nothing, rank, tag)
    status = MPI.Status()
    verdict = time.monotonic() + _GRACE
    while missing and time.monotonic() < verdict:
        if comm.Iprobe(MPI.ANY_SOURCE, tag, status):
            comm.Recv([bytearray(), 0, MPI.BYTE], status.source, tag)
            missing.discard(status.source)
        else:
            time.sleep(_PAUSE)
    return sorted(missing) or [comm.rank]
