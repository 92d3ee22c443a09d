"""What the process holds, as it can be counted."""

import ctypes
import gc
import os
import sys


class HeapUse(ctypes.Structure):
    """The `mallinfo2` of glibc."""

    _fields_ = tuple((f"field{i}", ctypes.c_size_t) for i in range(10))


heap_use = getattr(ctypes.CDLL(None), "mallinfo2", None)
if heap_use:
    heap_use.restype = HeapUse
is_measured = bool(heap_use and sys.getallocatedblocks()) and "ORVANE_SANITIZED" not in os.environ


def in_use() -> tuple[int, int]:
    """Blocks of the interpreter's; bytes that have not been freed, mapped ones included."""
    gc.collect()
    heap = heap_use()
    return sys.getallocatedblocks(), heap.field7 + heap.field4
