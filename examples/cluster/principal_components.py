"""Principal components of more numbers than a worker may hold, on a cluster of processes.

The data are handwritten digits, over and over, each time with other noise. Each block of rows is
made where it is needed, and a native module, which knows nothing of Dask, computes its moments;
those of blocks are merged until there is one matrix of 65 x 65, from which the same module computes
the components. Then all rows are collected in one array, and the module computes the components of
that in one go, by another way.
"""

import argparse
import functools
import logging
import os
import signal
import sys
import time
from pathlib import Path
from typing import Any, TypeAlias

import dask
import dask.array as da
import numpy as np
from dask.utils import format_bytes, parse_bytes
from distributed import Client, LocalCluster
from numpy.typing import NDArray

import orvane
import orvane.dask
import spectral
from progress import Tasks, follow

sys.path.append(str(Path(__file__).parents[1] / "digits"))
from digits import SIDE, read_digits

COLUMNS = SIDE * SIDE
Arrays: TypeAlias = tuple[orvane.double, orvane.double, orvane.double]
FIGURES = {"means": "the means", "components": "the components", "values": "the singular values"}


def noisy_digits(digits: NDArray[np.uint8], block_info: dict) -> NDArray[np.float64]:
    """A block of rows; the same whenever and wherever it is made."""
    start, end = block_info[None]["array-location"][0]
    noise = np.random.default_rng(start).standard_normal((COLUMNS, end - start))
    noise += digits[:, np.arange(start, end) % digits.shape[1]]
    return noise.T  # in column-major order, as native engines want it


def rows_of(bytes_in_all: int, bytes_of_block: int) -> da.Array:
    rows, rows_of_block = (each // (8 * COLUMNS) for each in (bytes_in_all, bytes_of_block))
    digits = np.array(read_digits().images, np.uint8).T
    chunks = da.core.normalize_chunks((rows_of_block, COLUMNS), (rows, COLUMNS))
    return da.map_blocks(
        noisy_digits, dask.delayed(digits), chunks=chunks, dtype=float, meta=np.empty((0, 0))
    )


def peak_memory() -> int:
    """The most memory that this process has had. Runs in the workers."""
    status = Path("/proc/self/status").read_text("ascii")
    return 1024 * int(status.partition("VmHWM:")[2].split()[0])


class Killer(Tasks):
    """Kills one of the workers' processes, without a warning, when half of the work is done."""

    def __init__(self, graph: Any, client: Client) -> None:
        super().__init__(graph)
        self._process = next(iter(client.run(os.getpid).values()))
        self._is_done = False

    def transition(self, key: Any, start: str, finish: str, *more: Any, **others: Any) -> None:
        super().transition(key, start, finish)
        if not self._is_done and 2 * self.done()["moments"] >= self.total["moments"]:
            self._is_done = True
            os.kill(self._process, signal.SIGKILL)
            print(f"\n  killed the worker with process number {self._process}\n", flush=True)

    def check(self, client: Client) -> None:
        client.wait_for_workers(len(client.cluster.workers))
        if not self._is_done or self._process in client.run(os.getpid).values():
            raise SystemExit("WRONG: the worker has survived")
        print("  checked: it is gone, another has its place, and nothing was lost")


def on_cluster(client: Client, x: da.Array, count: int, kill_one: bool) -> Arrays:
    """Means, components and singular values, of moments merged of blocks."""
    lazy = orvane.dask.tree_reduce(
        spectral.moments,
        spectral.merge_moments,
        x,
        finish=functools.partial(spectral.components_of_moments, count=count),
    )
    tasks = Killer(lazy.dask, client) if kill_one else Tasks(lazy.dask)
    client.cluster.scheduler.add_plugin(tasks, name="progress")
    started = time.perf_counter()
    future = client.compute(lazy)
    follow(client, future, tasks, ["moments", "merge_moments"])
    result = future.result()
    print(f"  {time.perf_counter() - started:.1f} s")
    if isinstance(tasks, Killer):
        tasks.check(client)
    return result


def in_one_go(x: da.Array, count: int) -> Arrays:
    """The same of one array with all rows."""
    whole = orvane.dask.from_dask(x)
    print(f"  an array of size {whole.size}, {format_bytes(x.nbytes)}, has been collected")
    means, components, scores = spectral.principal_components(whole, count, overwrite=True)
    values = np.linalg.norm(orvane.to_numpy(scores), axis=0, keepdims=True)
    return means, components, orvane.asarray(values)


def differences(some: Arrays, others: Arrays) -> dict[str, float]:
    """The largest, each relative to the largest number."""
    found = {}
    for name, one, other in zip(FIGURES, some, others, strict=True):
        a, b = orvane.to_numpy(one), orvane.to_numpy(other)
        if name == "components":  # of which each is as good with the other sign
            a = a * np.sign((a * b).sum(axis=1, keepdims=True))
        found[name] = float(np.abs(a - b).max() / np.abs(b).max())
    return found


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", default="1 GB", help="of numbers in all (default: %(default)s)")
    parser.add_argument("--block", default="16 MB", help="of one block (default: %(default)s)")
    parser.add_argument("--workers", type=int, default=2, help="processes (default: %(default)s)")
    parser.add_argument("--memory-limit", default="400 MB", help="of each (default: %(default)s)")
    parser.add_argument("--count", type=int, default=10, help="of components")
    parser.add_argument("--kill-one", action="store_true", help="kill a worker half-way")
    parser.add_argument("--no-check", action="store_true", help="do not compute it in one go")
    options = parser.parse_args()

    limit = parse_bytes(options.memory_limit)
    x = rows_of(parse_bytes(options.data), parse_bytes(options.block))
    cluster = LocalCluster(
        n_workers=options.workers,
        threads_per_worker=1,
        memory_limit=limit,
        dashboard_address=None,
        silence_logs=logging.CRITICAL,
    )
    with cluster, Client(cluster) as client:
        size = format_bytes(x.nbytes)
        print(f"{x.shape[0]:,} x {COLUMNS} numbers, {size}, in {x.npartitions} blocks")
        print(f"{options.workers} worker processes with at most {format_bytes(limit)} each")
        print("\nOn the cluster")
        result = on_cluster(client, x, options.count, options.kill_one)
        peaks = " and ".join(format_bytes(each) for each in client.run(peak_memory).values())
        print(f"  the most memory that the workers had: {peaks}")
        if options.no_check:
            return
        print("\nIn one go, in this process")
        started = time.perf_counter()
        expected = in_one_go(x, options.count)
        print(f"  {time.perf_counter() - started:.1f} s\n")
    found = differences(result, expected)
    for name, words in FIGURES.items():
        print(f"  {words} differ by {found[name]:.1e}")
    if not max(found.values()) < 1e-10:
        raise SystemExit("WRONG: that is more than rounding")
    print("  checked: that is rounding, and no more")


if __name__ == "__main__":
    main()
