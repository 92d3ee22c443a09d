"""Arrays between the ranks of an MPI program, by mpi4py, without a copy on the way.

>>> from orvane import mpi                      # doctest: +SKIP
>>> part = mpi.scatter(a)                       # doctest: +SKIP
>>> ...                                         # doctest: +SKIP
>>> whole = mpi.gather(part)                    # doctest: +SKIP

The functions have the names of mpi4py's methods, take arrays or views, of complex integers too, and
give arrays back; ``out`` is filled in place instead. The last argument is the communicator,
``comm=MPI.COMM_WORLD`` if it is left out.

Ranks tell each other what they give and take first. Whoever receives need not know the type or the
size; and what does not fit together is a `RankError` on every rank that takes part, which says
whose fault it is. With ``ORVANE_MPI_TIMEOUT=60`` in the environment, ranks that do not come in
that many seconds are named as well; without it, MPI waits.
"""

from .collective import allgather, bcast, gather, scatter
from .meeting import RankError
from .point_to_point import recv, send, sendrecv
from .reductions import allreduce, reduce
from .shares import share

__all__ = [
    "RankError",
    "allgather",
    "allreduce",
    "bcast",
    "gather",
    "recv",
    "reduce",
    "scatter",
    "send",
    "sendrecv",
    "share",
]
