"""What a cluster sends and how long it takes with arrays, beside the same with NumPy's.

Each row is done by arrays and by NumPy's in turn, many times, on two worker processes of this
machine. Bytes are all that the processes of the cluster send each other meanwhile, what they say of
themselves included; seconds are those of the processor, user and system, in all of these processes:
others that run meanwhile do not count. Printed are medians and their ratios.
`scripts/cluster.sh --bench` prepares what is needed and runs this.
"""

import argparse
import functools
import logging
import statistics
import time
from collections.abc import Callable, Iterator
from typing import Any, NamedTuple, TypeAlias

import dask
import dask.array as da
import numpy as np
from distributed import Client, LocalCluster, wait
from distributed.comm.tcp import TCP

import orvane
import orvane.dask

ROWS, COLUMNS, BLOCKS = 16_000, 500, 8  # 64 MB in blocks of 8


def begin_counting() -> None:
    """Has this process count the bytes that it hands to sockets for others."""
    write = TCP.write
    TCP.bytes_sent = 0

    @functools.wraps(write)
    async def counted(self: TCP, *arguments: Any, **keywords: Any) -> int:
        size = await write(self, *arguments, **keywords)
        TCP.bytes_sent += size
        return size

    TCP.write = counted


def spent() -> tuple[int, float]:
    """Bytes and seconds of this process."""
    return TCP.bytes_sent, time.process_time()


Prepared: TypeAlias = Callable[[], object]


class Row(NamedTuple):
    name: str
    ours: Callable[[], Prepared]
    peer: Callable[[], Prepared]


# What is computed: with arrays, and with NumPy's in column-major order, by the same functions.


def numbers(seed: int) -> np.ndarray:
    return np.random.default_rng(seed).random((COLUMNS, ROWS // BLOCKS)).T


def array(seed: int) -> orvane.double:
    return orvane.asarray(numbers(seed), "double")


def doubled(x: np.ndarray) -> np.ndarray:
    return x * 2


def doubled_array(a: orvane.double) -> orvane.double:
    return orvane.asarray(doubled(orvane.to_numpy(a)), "double")


def products(x: np.ndarray) -> np.ndarray:
    return np.asfortranarray(x.T @ x)


def products_of_array(a: orvane.double) -> orvane.double:
    return orvane.asarray(products(orvane.to_numpy(a)), "double")


def both(x: np.ndarray, y: np.ndarray) -> np.ndarray:
    return x + y


def both_arrays(a: orvane.double, b: orvane.double) -> orvane.double:
    return orvane.asarray(both(orvane.to_numpy(a), orvane.to_numpy(b)), "double")


def same(x: object) -> object:
    return x


def tree_of_numpy(x: da.Array) -> Any:
    """As `tree_reduce` does it, with `dask.delayed`."""
    parts = [dask.delayed(products)(block) for block in x.to_delayed().ravel()]
    add = dask.delayed(lambda *group: functools.reduce(both, group))
    while len(parts) > 1:
        parts = [add(*parts[i : i + 4]) for i in range(0, len(parts), 4)]
    return parts[0]


def rows_of(client: Client) -> Iterator[Row]:
    workers = list(client.scheduler_info(n_workers=-1)["workers"])
    in_blocks = (ROWS // BLOCKS, COLUMNS)
    whole = np.asfortranarray(np.vstack([numbers(seed) for seed in range(BLOCKS)]))
    ours = orvane.asarray(whole.copy(order="F"))
    there = [
        client.submit(numbers, seed, workers=[workers[seed % 2]], pure=False)
        for seed in range(BLOCKS)
    ]
    x = da.concatenate([da.from_delayed(each, in_blocks, float) for each in there])
    wait(there)
    known = {"type": "double", "chunks": x.chunks}

    def moved(make: Callable[[int], object]) -> Prepared:
        result = client.submit(make, 0, workers=[workers[0]], pure=False)
        wait(result)
        return lambda: wait(client.submit(same, result, workers=[workers[1]], pure=False))

    def done(lazy: Callable[[], Any]) -> Callable[[], Prepared]:
        return lambda: lambda: wait(client.persist(lazy()))

    yield Row(
        "a result of 8 MB goes to another worker",
        functools.partial(moved, array),
        functools.partial(moved, numbers),
    )
    yield Row(
        "64 MB in 8 blocks come into one array",
        lambda: lambda: orvane.dask.from_dask(x),
        lambda: lambda: np.asfortranarray(x.compute()),
    )
    yield Row(
        "64 MB are cut into 8 blocks of rows, and sent",
        done(lambda: orvane.dask.to_dask(ours, in_blocks)),
        done(lambda: da.from_array(whole, in_blocks)),
    )
    yield Row(
        "a function of 8 blocks of 8 MB, which are cut anew, by columns",
        done(lambda: orvane.dask.map_blocks(doubled_array, x, **known).rechunk((ROWS, 100))),
        done(lambda: da.map_blocks(doubled, x, meta=x._meta).rechunk((ROWS, 100))),
    )
    yield Row(
        "products of 8 blocks, 2 MB each, summed up by a tree",
        done(lambda: orvane.dask.tree_reduce(products_of_array, both_arrays, x)),
        done(lambda: tree_of_numpy(x)),
    )


def measured(client: Client, prepare: Callable[[], Prepared]) -> tuple[int, float]:
    do = prepare()
    before = [spent(), *client.run(spent).values()]
    result = do()
    after = [spent(), *client.run(spent).values()]
    del result
    count, seconds = (
        sum(b) - sum(a)
        for a, b in zip(zip(*before, strict=False), zip(*after, strict=False), strict=False)
    )
    return count, seconds


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--repeats", type=int, default=15, help="of each (default: %(default)s)")
    repeats = parser.parse_args().repeats
    dask.config.set({"distributed.admin.large-graph-warning-threshold": "1GB"})
    options = {"n_workers": 2, "threads_per_worker": 1, "dashboard_address": None}
    with (
        LocalCluster(silence_logs=logging.CRITICAL, **options) as cluster,
        Client(cluster) as client,
    ):
        begin_counting()
        client.run(begin_counting)
        print("| what | MB sent | NumPy's | ratio | ms | NumPy's | ratio |")
        print("|---|---|---|---|---|---|---|")
        for row in rows_of(client):
            print(line_of(row, client, repeats), flush=True)


def line_of(row: Row, client: Client, repeats: int) -> str:
    sides: list[list[tuple[int, float]]] = [[], []]
    for turn in range(repeats + 1):  # the first of all is not counted
        for side in (0, 1) if turn % 2 else (1, 0):
            sides[side].append(measured(client, row[1 + side]))
    cells = [row.name]
    for place, unit, digits in ((0, 1e6, 2), (1, 1e-3, 0)):
        ours, peers = ([each[place] / unit for each in side[1:]] for side in sides)
        medians = [statistics.median(each) for each in (ours, peers)]
        cells += [f"{each:.{digits}f}" for each in medians]
        cells.append(f"{medians[0] / medians[1]:.2f}")
    return f"| {' | '.join(cells)} |"


if __name__ == "__main__":
    main()
