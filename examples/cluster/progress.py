"""What a cluster is doing, in a line that a person can follow."""

import asyncio
import contextlib
import shutil
import sys
import time
from collections import Counter
from typing import Any

from dask.utils import key_split
from distributed import Client, Future, SchedulerPlugin, wait

BAR = 24


class Tasks(SchedulerPlugin):
    """Counts the tasks that are done, by the names of their functions."""

    def __init__(self, graph: Any) -> None:
        self.total = Counter(key_split(key) for layer in graph.layers.values() for key in layer)
        self._done: set[Any] = set()

    def transition(self, key: Any, start: str, finish: str, *more: Any, **others: Any) -> None:
        """Called by the scheduler for every change of a task's state."""
        if finish == "memory":
            self._done.add(key)
        elif finish in ("waiting", "processing"):  # again, when a worker has died
            self._done.discard(key)

    def done(self) -> Counter[str]:
        return Counter(map(key_split, self._done.copy()))


def follow(client: Client, future: Future, tasks: Tasks, names: list[str]) -> None:
    """Shows how many tasks of each of the names are done, until the future is."""
    line = Line()
    while not future.done():
        line.show(client, tasks, names)
        with contextlib.suppress(asyncio.TimeoutError):
            wait(future, timeout=0.2)
    line.show(client, tasks, names)
    if line.is_terminal:
        print()


class Line:
    """In place on a terminal; elsewhere a line whenever another tenth is done."""

    def __init__(self) -> None:
        self.is_terminal = sys.stdout.isatty()
        self._started = time.perf_counter()
        self._tenth = -1

    def show(self, client: Client, tasks: Tasks, names: list[str]) -> None:
        done = tasks.done()
        share = sum(done[name] for name in names) / sum(tasks.total[name] for name in names)
        if not self.is_terminal and self._tenth == int(10 * share):
            return
        self._tenth = int(10 * share)
        bar = ("#" * round(BAR * share)).ljust(BAR)
        seconds = time.perf_counter() - self._started
        counts = ", ".join(f"{name} {done[name]} of {tasks.total[name]}" for name in names)
        line = f"  [{bar}] {seconds:5.1f} s   {counts}   memory {memory_of(client)}"
        if self.is_terminal:
            line = f"\r\x1b[K{line[: shutil.get_terminal_size().columns - 1]}"
        print(line, end="" if self.is_terminal else "\n", flush=True)


def memory_of(client: Client) -> str:
    """What each worker's process has, as the scheduler knows."""
    workers = client.cluster.scheduler.workers.values()
    return " + ".join(f"{each.metrics['memory'] / 1e6:.0f}" for each in workers) + " MB"
