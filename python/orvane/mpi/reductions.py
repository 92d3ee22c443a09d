"""One array made of those of all ranks, element by element."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

from .. import AnyArray
from ..convert.kinds import Kind
from .blocks import is_pair
from .engine import engine
from .meeting import Meeting

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]
    from mpi4py.MPI import Op as _Op  # type: ignore[import-not-found, unused-ignore]

_OPERATIONS = {
    **dict.fromkeys(("MAX", "MIN"), "fiu"),
    "SUM": "fciup",
    "PROD": "fciu",
    **dict.fromkeys(("LAND", "LOR", "LXOR"), "iub"),
    **dict.fromkeys(("BAND", "BOR", "BXOR"), "iu"),
    **dict.fromkeys(("MAXLOC", "MINLOC", "REPLACE", "NO_OP", "OP_NULL"), ""),
}
"""MPI's, and codes of elements they are for; "c" if these are complex, "p" if two integers."""


def reduce(
    array: AnyArray,
    op: _Op | None = None,
    root: int = 0,
    *,
    out: AnyArray | None = None,
    comm: _Comm | None = None,
) -> Any:
    """The sum of the arrays of all ranks, or what ``op`` makes of them, on one rank.

    It comes into ``out``, which may be ``array`` itself, or into a new array. Elsewhere than on
    ``root`` nothing comes back. Sums of integers wrap around.
    """
    with Meeting("reduce", comm, root=root) as meeting:
        return _reduced(meeting, array, op, out if meeting.is_root else None)


def allreduce(
    array: AnyArray,
    op: _Op | None = None,
    *,
    out: AnyArray | None = None,
    comm: _Comm | None = None,
) -> Any:
    """As `reduce`, on every rank."""
    with Meeting("allreduce", comm) as meeting:
        return _reduced(meeting, array, op, out)


def _reduced(meeting: Meeting, array: Any, op: Any, out: Any) -> Any:
    MPI = engine()  # noqa: N806
    with meeting.agreed():
        meeting.give(array)
        meeting.take(out)
        op = MPI.SUM if op is None else op
        assert meeting.given
        meeting.settings["op"] = _name_of(op, meeting.given.kind)
    forms = [told.given for told in meeting.told]
    for rank, form in enumerate(forms):
        if form != forms[0]:
            raise meeting.refusal(rank, f"{form} does not fit to {forms[0]} of rank 0")
    root = meeting.settings.get("root")
    meeting.make_room([form if root in (None, rank) else None for rank, form in enumerate(forms)])
    given, taken = meeting.given, meeting.taken
    assert given
    if op == MPI.SUM and given.kind.part_size in (1, 2):
        op = _wrapping_sum(given.kind.part_size)
    if taken is None:
        line = given.in_line()
        for terms in given.terms_of(line, op):
            meeting.comm.Reduce(terms, None, op, root)
        return None
    total = taken.in_line()
    if not given.is_at(taken):
        total[...] = given.numbers
    for terms in taken.terms_of(total, op):
        if root is None:
            meeting.comm.Allreduce(MPI.IN_PLACE, terms, op)
        else:
            meeting.comm.Reduce(MPI.IN_PLACE, terms, op, root)
    if total is not taken.numbers:
        taken.numbers[...] = total
    return taken.array


_wrapping_sums: dict[int, Any] = {}


def _wrapping_sum(size: int) -> Any:
    """The sum of integers of so many bytes, with a sign or without, or of pairs of them.

    Open MPI's own stops at the largest number instead, but not where the array is short.
    """
    import numpy as np

    def add(terms: Any, totals: Any, _: Any) -> None:
        total = np.frombuffer(totals, f"u{size}")
        np.add(total, np.frombuffer(terms, f"u{size}"), out=total)

    if size not in _wrapping_sums:
        _wrapping_sums[size] = engine().Op.Create(add, commute=True)
    return _wrapping_sums[size]


def _name_of(op: Any, kind: Kind) -> str:
    """What tells an operation from others, on all ranks; those that programs define are alike."""
    MPI = engine()  # noqa: N806
    if not isinstance(op, MPI.Op):
        raise TypeError(f"expected an operation of mpi4py, got {type(op).__name__}")
    if not op.is_predefined:
        return "one of the program's"
    code = "p" if is_pair(kind) else "c" if kind.is_complex else kind.code
    usable = [name for name, codes in _OPERATIONS.items() if code in codes]
    name = next((name for name in _OPERATIONS if getattr(MPI, name) == op), "another")
    if name not in usable:
        raise TypeError(f"for elements of {kind} there are {', '.join(usable)}, not {name}")
    return name
