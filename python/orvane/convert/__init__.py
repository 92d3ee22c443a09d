"""Arrays of what other libraries have, and what other libraries take of arrays.

Nothing here loads NumPy unless it is needed.
"""

from .dlpack import from_dlpack, to_dlpack
from .entry import asarray
from .exports import to_numpy, tolist, writable

__all__ = ["asarray", "from_dlpack", "to_dlpack", "to_numpy", "tolist", "writable"]
