"""What a row of the table is."""

from __future__ import annotations

from dataclasses import dataclass
from enum import Enum


class Meter(Enum):
    """How a row is measured."""

    REPEATED = "repeated"
    """Time of a statement that is repeated, ours and the peer's in turn in one process."""
    FIRST_TIME = "first time"
    """Time of a statement that runs once in a fresh interpreter."""
    PEAK_MEMORY = "peak memory"
    """Bytes by which a statement, run once in a fresh interpreter, raises the peak of memory."""
    HELD_MEMORY = "held memory"
    """Bytes that `malloc` counts more after a statement, run once in a fresh interpreter that has
    no other allocator."""

    @property
    def unit(self) -> str:
        return "byte" if self in (Meter.PEAK_MEMORY, Meter.HELD_MEMORY) else "second"


@dataclass(frozen=True)
class Row:
    """A piece of work. All code is Python source; `setup` sees the names of `COMMON`."""

    name: str
    setup: str
    ours: str
    peer: str
    at_least: float | None
    """The ratio, peer's measure divided by ours, to be reached; None where it is only told."""
    fresh: str = ""
    """Runs before every single execution of `ours` and of `peer`, outside the time taken."""
    moved_bytes: int = 0
    """So many bytes are copied by `memcpy` in the same run: the limit that the memory sets."""
    calls: int = 1
    """How many pieces of work one execution stands for."""
    at_most: float | None = None
    """Seconds that ours may take, whatever the peer does."""
    meter: Meter = Meter.REPEATED
    peer_is: str = ""
    """What the table calls the peer, if not by its code."""
