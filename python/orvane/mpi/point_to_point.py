"""From one rank to another: a few bytes that say what comes, and then the elements."""

from __future__ import annotations

import pickle
from contextlib import ExitStack
from typing import TYPE_CHECKING, Any

from .. import AnyArray
from .blocks import Block, Form
from .engine import communicator, engine
from .meeting import RankError
from .waiting import VARIABLE, Begun, message_in_time, time_limit

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]
    from mpi4py.MPI import Status as _Status  # type: ignore[import-not-found, unused-ignore]

_MARK = b"array of orvane\n"


def send(array: AnyArray, dest: int, tag: int = 0, *, comm: _Comm | None = None) -> None:
    """To another rank, which calls `recv`."""
    with ExitStack() as owned:
        _finish(_begun(communicator(comm), Block(array, owned), dest, tag), dest, tag)


def recv(
    source: int | None = None,
    tag: int | None = None,
    *,
    out: AnyArray | None = None,
    status: _Status | None = None,
    comm: _Comm | None = None,
) -> Any:
    """The array that another rank sends, in ``out`` or in a new array.

    From whatever rank and with whatever tag, unless they are given; ``status`` tells them. A
    RankError says that something else than `send` has sent, or that ``out`` is not of the same type
    and size; the message is gone then. From ``PROC_NULL`` comes ``out``, untouched.
    """
    with ExitStack() as owned:
        target = None if out is None else Block(out, owned, is_written=True)
        return _received(communicator(comm), target, source, tag, status)


def sendrecv(
    array: AnyArray,
    dest: int,
    sendtag: int = 0,
    source: int | None = None,
    recvtag: int | None = None,
    *,
    out: AnyArray | None = None,
    status: _Status | None = None,
    comm: _Comm | None = None,
) -> Any:
    """To one rank and from one, both at a time, where `send` and `recv` would wait for each other.

    ``out`` may be ``array`` itself.
    """
    with ExitStack() as owned:
        ranks, given = communicator(comm), Block(array, owned)
        target = None if out is None else Block(out, owned, is_written=True)
        if target:
            given.set_apart(target)
        begun = _begun(ranks, given, dest, sendtag)
        try:
            return _received(ranks, target, source, recvtag, status)
        finally:
            _finish(begun, dest, sendtag)


def _begun(comm: Any, given: Block, dest: int, tag: int) -> list[Begun]:
    """Both messages."""
    # With a limit in time, who sends waits for who receives, even if the message were small.
    begin = comm.Isend if time_limit() is None else comm.Issend
    told = _MARK + pickle.dumps(tuple(given.form))
    begun = [Begun(begin, [told, engine().BYTE], dest, tag)]
    if given.numbers.size:
        begun.append(Begun(begin, given.message(), dest, tag, used=given))
    return begun


def _finish(begun: list[Begun], dest: int, tag: int) -> None:
    for each in begun:
        if not each.is_done_in_time():
            words = f"rank {dest} has received nothing with tag {tag}"
            raise RankError(f"send: {words} within the time that {VARIABLE} gives", dest)


def _received(
    comm: Any, target: Block | None, source: int | None, tag: int | None, status: Any
) -> Any:
    MPI = engine()  # noqa: N806
    wanted = MPI.ANY_SOURCE if source is None else source, MPI.ANY_TAG if tag is None else tag
    status = MPI.Status() if status is None else status
    message = message_in_time(comm, *wanted, status)
    if message is None:
        whence = "any rank" if wanted[0] == MPI.ANY_SOURCE else f"rank {source}"
        words = f"nothing has come from {whence}" + (f" with tag {tag}" if tag is not None else "")
        raise RankError(f"recv: {words} within the time that {VARIABLE} gives", wanted[0])
    if message == MPI.MESSAGE_NO_PROC:
        return target and target.array
    told = bytearray(status.Get_count(MPI.BYTE))
    message.Recv([told, MPI.BYTE], status)
    rank, tag = status.source, status.tag
    no_array = f"recv: rank {rank} has sent no array with tag {tag}"
    if not told.startswith(_MARK):
        raise RankError(no_array, rank)
    form = Form(*pickle.loads(told[len(_MARK) :]))
    with ExitStack() as owned:
        block = target
        if block is None or block.form != form:
            block = Block(form.make(), owned, is_written=True)
        if block.numbers.size:
            comm.Recv(block.message(), rank, tag, status)
            # After an interrupt between both messages it is the first of the next array that comes.
            if status.Get_count(MPI.BYTE) not in (block.numbers.nbytes, MPI.UNDEFINED):
                raise RankError(no_array, rank)
        if target and block is not target:
            words = f"out is {target.form}, what comes is {form}"
            raise RankError(f"recv: rank {rank}: {words}", rank)
        return block.array
