"""Measures the rows.

Ours, the peer's and the physical limit take turns, so that all meet the same weather. A row is
measured in several processes, one after the other, and all values are kept as runs of pyperf. What
is taken is the time of the processor, user and system: processes that run meanwhile do not count.
Nothing that is measured here waits or has threads.
"""

from __future__ import annotations

import json
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterable
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import pyperf

from . import fresh_process
from .rows.operands import COMMON
from .rows.row import Meter, Row

Sample = Callable[[int], float]

MEMCPY_SETUP = (
    "source = memoryview(bytearray(b'x' * {0}))\ntarget = memoryview(bytearray(b'y' * {0}))\n"
)
MEMCPY = "target[:] = source"

LOOP = """
def sample(loops):
    for _ in range(loops):
        {statement}
"""
TIMED_LOOP = """
def sample(loops, clock=clock):
    iterations = range(loops)
    start = clock()
    for _ in iterations:
        {statement}
    return clock() - start
"""
TIMED_STATEMENT = """
def sample(loops, clock=clock):
    taken = 0.0
    for _ in range(loops):
        {fresh}
        start = clock()
        {statement}
        taken += clock() - start
    return taken
"""


@dataclass(frozen=True)
class Effort:
    """How long to measure."""

    processes: int
    seconds_per_sample: float
    seconds_per_side: float
    """In one process; at least three samples are taken whatever they cost."""


THOROUGH = Effort(processes=3, seconds_per_sample=0.004, seconds_per_side=0.35)
QUICK = Effort(processes=1, seconds_per_sample=0.004, seconds_per_side=0.2)


def sides_of(row: Row) -> list[str]:
    return ["ours", "peer", "memcpy"] if row.moved_bytes else ["ours", "peer"]


def benchmark_name(row: Row, side: str) -> str:
    return f"{row.name} | {side}"


def compiled(template: str, statement: str, names: dict[str, object], fresh: str = "") -> Sample:
    scope = dict(names, clock=time.process_time)
    exec(template.format(statement=statement, fresh=fresh), scope)
    return scope["sample"]  # type: ignore[return-value]


def samplers_of(row: Row) -> dict[str, Sample]:
    names: dict[str, object] = {}
    exec(COMMON + row.setup, names)
    template = TIMED_STATEMENT if row.fresh else TIMED_LOOP
    samplers = {
        "ours": compiled(template, row.ours, names, row.fresh),
        "peer": compiled(template, row.peer, names, row.fresh),
    }
    if row.moved_bytes:
        memory: dict[str, object] = {}
        exec(MEMCPY_SETUP.format(row.moved_bytes), memory)
        samplers["memcpy"] = compiled(TIMED_LOOP, MEMCPY, memory)
    return samplers


def calibrated(sample: Sample, seconds: float) -> int:
    """The number of loops, a power of two, that fill a sample."""
    loops = 1
    while sample(loops) < seconds and loops < 1 << 24:
        loops *= 2
    return loops


def measure_repeatedly(row: Row, effort: Effort) -> pyperf.BenchmarkSuite:
    """One process's worth of values, taken in this process."""
    samplers = samplers_of(row)
    # As many loops for each side: all have the same share of executions that find the caches cold.
    loops = max(calibrated(samplers[side], effort.seconds_per_sample) for side in ("ours", "peer"))
    warmups = {side: sample(loops) for side, sample in samplers.items()}
    slowest = max(warmups["ours"], warmups["peer"])
    count = max(3, min(101, round(effort.seconds_per_side / slowest)))

    values: dict[str, list[float]] = {side: [] for side in samplers}
    # Ours and the peer's swap places, so that both come as often after the other and after
    # `memcpy`, which leaves the caches to neither.
    order = sides_of(row)
    swapped = [order[1], order[0], *order[2:]]
    for turn in range(count):
        for side in swapped if turn % 2 else order:
            values[side].append(samplers[side](loops) / loops)

    calls = {"ours": row.calls, "peer": row.calls, "memcpy": 1}
    return pyperf.BenchmarkSuite(
        [
            pyperf.Benchmark(
                [
                    pyperf.Run(
                        [value / calls[side] for value in values[side]],
                        warmups=[(loops, warmups[side] / loops / calls[side])],
                        metadata={"name": benchmark_name(row, side), "loops": loops},
                    )
                ]
            )
            for side in samplers
        ]
    )


def measure_in_worker(index: int, effort: Effort) -> pyperf.BenchmarkSuite:
    with tempfile.TemporaryDirectory() as directory:
        file = Path(directory) / "suite.json"
        arguments = [
            str(index),
            str(effort.seconds_per_sample),
            str(effort.seconds_per_side),
            str(file),
        ]
        subprocess.run([sys.executable, "-m", f"{__package__}.worker", *arguments], check=True)
        return pyperf.BenchmarkSuite.load(str(file))


def measure_once_each(row: Row) -> pyperf.BenchmarkSuite:
    """One value of each side, each from an interpreter of its own."""
    benchmarks = []
    for side, statement in (("ours", row.ours), ("peer", row.peer)):
        value = in_fresh_process(row.meter.value, row.setup, statement) / row.calls
        metadata = {"name": benchmark_name(row, side), "unit": row.meter.unit}
        run = pyperf.Run([value], metadata=metadata)
        benchmarks.append(pyperf.Benchmark([run]))
    return pyperf.BenchmarkSuite(benchmarks)


def in_fresh_process(measure: str, setup: str, statement: str) -> Any:
    """What `fresh_process` reports of a statement."""
    command = [sys.executable, fresh_process.__file__, measure, setup, statement]
    counted = {"PYTHONMALLOC": "malloc"} if measure == Meter.HELD_MEMORY.value else {}
    environment = {**os.environ, **counted}
    process = subprocess.run(
        command, check=True, stdout=subprocess.PIPE, text=True, env=environment
    )
    return json.loads(process.stdout)


ONCE_EACH_REPEATS = 5


def measure_all(
    chosen: Iterable[tuple[int, Row]], effort: Effort, progress: Callable[[str], None]
) -> pyperf.BenchmarkSuite:
    """All values of the chosen rows (with their places in the table), process after process."""
    rows = list(chosen)
    merged: dict[str, pyperf.Benchmark] = {}
    for process in range(effort.processes):
        for index, row in rows:
            progress(f"{process + 1}/{effort.processes} {row.name}")
            if row.meter is Meter.REPEATED:
                parts = [measure_in_worker(index, effort)]
            else:
                parts = [measure_once_each(row) for _ in range(ONCE_EACH_REPEATS)]
            for suite in parts:
                for benchmark in suite:
                    name = benchmark.get_name()
                    if name in merged:
                        merged[name].add_runs(benchmark)
                    else:
                        merged[name] = benchmark
    return pyperf.BenchmarkSuite(list(merged.values()))
