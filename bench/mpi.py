"""How long arrays take between the ranks of an MPI program, beside mpi4py with NumPy's arrays.

Each row is done by `orvane.mpi` and by mpi4py's upper-case methods over the same memory in turn,
many times. A turn begins when all ranks are there and lasts until the last has finished. Printed
are the lower quartiles, by the clock, and their ratio. `scripts/mpi.sh --bench` prepares what is
needed and runs this.
"""

import argparse
import statistics
from collections.abc import Callable
from typing import NamedTuple

import numpy as np
from mpi4py import MPI
from numpy.typing import NDArray

import orvane
import orvane.mpi

ROWS = 2000
ranks = MPI.COMM_WORLD
is_root = ranks.rank == 0


class Row(NamedTuple):
    name: str
    ours: Callable[[], object]
    theirs: Callable[[], object]


def lasts(call: Callable[[], object]) -> float:
    """Seconds until the last rank has finished."""
    ranks.Barrier()
    start = MPI.Wtime()
    call()
    return ranks.allreduce(MPI.Wtime() - start, MPI.MAX)


def rows(columns: int) -> list[Row]:
    """With so many columns a rank."""
    whole = orvane.asarray(np.random.default_rng(1).random((ROWS, ranks.size * columns)))
    part, other = orvane.double(size=(ROWS, columns)), orvane.double(size=(ROWS, columns))
    lines = orvane.double(size=(ROWS // ranks.size, ranks.size * columns))
    given, taken, spare, strip = (
        orvane.to_numpy(each, writable=True).T for each in (whole, part, other, lines)
    )
    after, before = (ranks.rank + 1) % ranks.size, (ranks.rank - 1) % ranks.size
    at_root = whole if is_root else None

    def send() -> None:
        if is_root:
            orvane.mpi.send(part, 1)
        elif ranks.rank == 1:
            orvane.mpi.recv(0, out=other)

    def send_theirs() -> None:
        if is_root:
            ranks.Send(taken, 1)
        elif ranks.rank == 1:
            ranks.Recv(spare, 0)

    def scatter_new() -> NDArray[np.float64]:
        new = np.empty_like(taken)
        ranks.Scatter(given, new)
        return new

    def scatter_packed() -> None:
        packed = None
        if is_root:
            height = ROWS // ranks.size
            cut = [given[:, height * i : height * (i + 1)] for i in range(ranks.size)]
            packed = np.concatenate([each.ravel() for each in cut])
        ranks.Scatter(packed, strip)

    mpi = orvane.mpi
    return [
        Row("send, recv(out=)", send, send_theirs),
        Row(
            "sendrecv(out=)",
            lambda: mpi.sendrecv(part, after, source=before, out=other),
            lambda: ranks.Sendrecv(taken, after, recvbuf=spare, source=before),
        ),
        Row("bcast", lambda: mpi.bcast(part), lambda: ranks.Bcast(taken)),
        Row(
            "scatter(out=)",
            lambda: mpi.scatter(at_root, out=part),
            lambda: ranks.Scatter(given, taken),
        ),
        Row("scatter", lambda: mpi.scatter(at_root), scatter_new),
        Row(
            "scatter(axis=0, out=)", lambda: mpi.scatter(at_root, axis=0, out=lines), scatter_packed
        ),
        Row(
            "gather(out=)",
            lambda: mpi.gather(part, out=at_root),
            lambda: ranks.Gather(taken, given),
        ),
        Row(
            "allgather(out=)",
            lambda: mpi.allgather(part, out=whole),
            lambda: ranks.Allgather(taken, given),
        ),
        Row(
            "allreduce in place",
            lambda: mpi.allreduce(part, MPI.MAX, out=part),
            lambda: ranks.Allreduce(MPI.IN_PLACE, taken, MPI.MAX),
        ),
    ]


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--megabytes", type=int, default=32, help="of each rank (32)")
    parser.add_argument("--turns", type=int, default=25, help="of each row (25)")
    options = parser.parse_args()
    columns = max(1, options.megabytes * 1_000_000 // (8 * ROWS))
    if is_root:
        print(
            MPI.Get_library_version().split(",")[0].strip("\0\n"), f"{ranks.size} ranks", sep=", "
        )
        print(f"{'':24}{'orvane.mpi':>12}{'mpi4py':>12}{'ratio':>8}")
    for row in rows(columns):
        times: tuple[list[float], list[float]] = ([], [])
        for turn in range(options.turns + 2):
            for place in (0, 1) if turn % 2 else (1, 0):
                seconds = lasts((row.ours, row.theirs)[place])
                if turn >= 2:  # all memory has been touched
                    times[place].append(seconds)
        ours, theirs = (1e3 * statistics.quantiles(each, n=4)[0] for each in times)
        if is_root:
            print(f"{row.name:24}{ours:9.2f} ms{theirs:9.2f} ms{ours / theirs:8.2f}", flush=True)


if __name__ == "__main__":
    main()
