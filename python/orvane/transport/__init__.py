"""Arrays from one process of a program to another, as blocks of bytes instead of nested lists.

What is told here of an array is its type, its size, whether it is complex, and its elements, which
stay out of the stream where the pickle protocol allows it.
"""

from .carriers import enable_binary_pickles, tell_carrier
from .reduction import array_from_elements, arrived, reduce_array

__all__ = [
    "array_from_elements",
    "arrived",
    "enable_binary_pickles",
    "reduce_array",
    "tell_carrier",
]
