"""What is measured: one table of rows, each a piece of work and the same work done by a peer."""

from __future__ import annotations

from .assignment import ASSIGNMENT
from .construction import CONSTRUCTION
from .conversions import CONVERSIONS
from .kinds import KINDS_AGAIN
from .native import NATIVE
from .processes import PROCESSES
from .reading import READING
from .reordering import REORDERING
from .row import Row
from .small import SMALL_ARRAYS
from .text_and_pickle import TEXT_AND_PICKLE
from .values import VALUES
from .whole_arrays import WHOLE_ARRAYS

ROWS: list[Row] = [
    *CONSTRUCTION,
    *SMALL_ARRAYS,
    *REORDERING,
    *READING,
    *ASSIGNMENT,
    *VALUES,
    *WHOLE_ARRAYS,
    *TEXT_AND_PICKLE,
    *CONVERSIONS,
    *PROCESSES,
    *NATIVE,
    *KINDS_AGAIN,
]
