"""Arrays and Dask: blocks in, blocks out, and what is combined of them.

The blocks of a Dask array are NumPy's, so that all of ``dask.array`` works on them; a function that
takes and returns arrays, a native module's for example, meets each block as an array.

>>> import dask.array as da
>>> import orvane
>>> x = da.arange(12, chunks=4).reshape(6, 2)
>>> orvane.dask.from_dask(x)
orvane.int64([[0,1],[2,3],[4,5],[6,7],[8,9],[10,11]])
"""

import sys

from orvane_carriers.dask import register

from .collecting import from_dask
from .cutting import to_dask
from .mapping import map_blocks
from .reducing import tree_reduce

# Dask finds the entry point by itself where the package is installed; where it only lies on the
# path, this is how it hears of arrays.
register(sys.modules["dask.sizeof"].sizeof)
del sys, register

__all__ = ["from_dask", "map_blocks", "to_dask", "tree_reduce"]
