"""Loaded first of all: what has to be installed, in words that say how."""

from .._numpy import require_numpy

require_numpy("orvane.dask")
try:
    import dask.array  # noqa: F401
except ImportError as error:
    raise ImportError("orvane.dask needs Dask: pip install orvane[dask]") from error
