"""What a cluster is doing, in a line that a person can follow."""

import contextlib
import shutil
import sys
import time
from collections.abc import Callable
from typing import Any

from distributed import Client, Future, wait

BAR = 24
UNDER_WAY = ("waiting", "queued", "processing", "no-worker")


def follow(
    client: Client, future: Future, names: dict[str, int], meanwhile: Callable[[float], None]
) -> None:
    """Shows how many tasks of each name are done until the future is.

    `names` says how many there are of each. `meanwhile` is called with the share that is done.
    """
    started = time.perf_counter()
    told = ""
    while not future.done():
        left = client.run_on_scheduler(tasks_left)
        if left:  # before, the scheduler has not got the graph yet
            done = {name: total - left.get(name, 0) for name, total in names.items()}
            share = sum(done.values()) / sum(names.values())
            told = show(done, names, share, memory_of(client), time.perf_counter() - started, told)
            meanwhile(share)
        with contextlib.suppress(TimeoutError):
            wait(future, timeout=0.2)
    if future.status == "finished":
        show(names, names, 1.0, memory_of(client), time.perf_counter() - started, told)
    if sys.stdout.isatty():
        print()


def tasks_left(dask_scheduler: Any) -> dict[str, int]:
    """How many tasks of each name are not done. Runs in the scheduler."""
    return {
        prefix.name: sum(prefix.states.get(state, 0) for state in UNDER_WAY)
        for prefix in dask_scheduler.task_prefixes.values()
    }


def memory_of(client: Client) -> list[int]:
    """Bytes that each worker's process has, as the scheduler knows."""
    workers = client.scheduler_info(n_workers=-1)["workers"].values()
    return [int(each["metrics"]["memory"]) for each in workers if each.get("metrics")]


def show(
    done: dict[str, int],
    names: dict[str, int],
    share: float,
    memory: list[int],
    seconds: float,
    told: str,
) -> str:
    """In place on a terminal; elsewhere a line whenever another tenth is done."""
    tasks = ", ".join(f"{name} {done[name]} of {total}" for name, total in names.items())
    used = " + ".join(f"{each / 1e6:.0f}" for each in memory)
    bar = ("#" * round(share * BAR)).ljust(BAR)
    line = f"  [{bar}] {seconds:5.1f} s   {tasks}   memory {used} MB"
    if sys.stdout.isatty():
        width = shutil.get_terminal_size().columns - 1
        print(f"\r\x1b[K{line[:width]}", end="", flush=True)
        return line
    tenth = str(int(share * 10))
    if tenth != told:
        print(line, flush=True)
    return tenth
