"""Arrays and files, where what other libraries do would lose something, copy, or mislead.

``save_npy`` writes Dask arrays, and views, to one column-major ``.npy`` file; ``save_arrow`` and
``open_arrow`` keep tensors in Arrow's form, the latter without a copy. What NumPy, Zarr and PyArrow
do well by themselves with `to_numpy` and `asarray` is not repeated here.
"""

from .arrow import open_arrow, save_arrow
from .npy import save_npy

__all__ = ["open_arrow", "save_arrow", "save_npy"]
