"""Principal components of the handwritten digits, computed by all ranks of an MPI program.

Rank 0 reads the digits and scatters them, in blocks of rows. Every rank has the native module
`spectral` compute the moments of its block; these are merged, pair by pair, and the components of
what is left are those of all the digits. They come back to every rank, which projects its block
onto them. At the end rank 0 computes the same of the whole matrix, and compares.
"""

import sys
from pathlib import Path

import numpy as np
from mpi4py import MPI

import orvane
import spectral
from orvane import mpi

sys.path.append(str(Path(__file__).parents[1] / "digits"))
from digits import read_digits

COUNT = 16
ranks = MPI.COMM_WORLD


def say(*words: object) -> None:
    if ranks.rank == 0:
        print(*words, flush=True)


def merged_moments(moments: orvane.double) -> orvane.double:
    """Those of the observations of all ranks, on rank 0: of 2, 4, 8 ranks at a time, and so on."""
    step = 1
    while step < ranks.size:
        if ranks.rank % (2 * step):
            mpi.send(moments, ranks.rank - step)
            break
        if ranks.rank + step < ranks.size:
            moments = spectral.merge_moments(moments, mpi.recv(ranks.rank + step))
        step *= 2
    return moments


def project(part: orvane.double, means: orvane.double, components: orvane.double) -> orvane.double:
    data, middle, axes = map(orvane.to_numpy, (part, means, components))
    scores = orvane.double(size=(len(part), COUNT))
    with orvane.writable(scores) as out:
        np.matmul(data - middle, axes.T, out=out)
    return scores


def missed(part: orvane.double, *found: orvane.double) -> float:
    """The square of what the components leave out of all rows, in place of a sum on each rank."""
    data, means, components, scores = map(orvane.to_numpy, (part, *found))
    total = orvane.double([np.sum((data - means - scores @ components) ** 2)])
    return mpi.allreduce(total, out=total)[0][0]


def compare(
    matrix: orvane.double,
    means: orvane.double,
    components: orvane.double,
    scores: orvane.double,
    left_out: float,
) -> None:
    """Holds the result beside that of one process, which decomposes the matrix itself."""
    data, *whole = map(orvane.to_numpy, (matrix, *spectral.principal_components(matrix, COUNT)))
    # Each component may as well point the other way, and its scores with it.
    signs = np.sign(np.sum(orvane.to_numpy(components) * whole[1], axis=1))
    ours = (
        orvane.to_numpy(means),
        signs[:, None] * orvane.to_numpy(components),
        orvane.to_numpy(scores) * signs,
    )
    for name, one, other in zip(("means", "components", "scores"), ours, whole, strict=True):
        difference = np.abs(one - other).max() / np.abs(other).max()
        say(f"  {name:10} of size {one.shape!s:10} differ by {difference:.1e} at most")
        if difference > 1e-10:
            raise SystemExit("these are not the same")
    centred = np.linalg.norm(data - whole[0])
    say(f"  {COUNT} components leave out {left_out**0.5 / centred:.2%} of the digits")


def main() -> None:
    matrix = None
    if ranks.rank == 0:
        matrix = orvane.asarray(read_digits().images, float)
        say(f"{len(matrix):,} digits of {matrix.size[1]} pixels, {ranks.size} ranks")

    part = mpi.scatter(matrix, axis=0)
    rows = ranks.gather(len(part))  # what is no array goes by mpi4py itself
    say("rows of each rank:", rows)

    moments = merged_moments(spectral.moments(part))
    means = components = None
    if ranks.rank == 0:
        means, components, _ = spectral.components_of_moments(moments, COUNT)
    means, components = mpi.bcast(means), mpi.bcast(components)

    own_scores = project(part, means, components)
    left_out = missed(part, means, components, own_scores)
    scores = mpi.gather(own_scores, axis=0)

    if ranks.rank == 0:
        say("beside the same by one process, to rounding:")
        compare(matrix, means, components, scores, left_out)
        say("Everything that was compared is the same.")


if __name__ == "__main__":
    main()
