"""Every operation, repeated, leaves the process's memory where it was.

Python objects are counted by the interpreter's allocator, everything else by what glibc says is
handed out; neither depends on how fast memory goes back to the system.
"""

import array
import copy
import ctypes
import gc
import itertools
import os
import pickle
import re
import sys
from pathlib import Path

import numpy
import pytest

import orvane
from impostors import Exporter, Sequence
from support import NAMESPACE, evaluate, grid

REPETITIONS = 4_000


class HeapUse(ctypes.Structure):
    """The `mallinfo2` of glibc."""

    _fields_ = tuple((f"field{i}", ctypes.c_size_t) for i in range(10))


heap_use = getattr(ctypes.CDLL(None), "mallinfo2", None)
if heap_use:
    heap_use.restype = HeapUse
measured = pytest.mark.skipif(
    heap_use is None or sys.getallocatedblocks() == 0 or "ORVANE_SANITIZED" in os.environ,
    reason="needs glibc's counts and the interpreter's own allocator",
)


def in_use():
    """Blocks of the interpreter's; bytes that have not been freed, mapped ones included."""
    gc.collect()
    heap = heap_use()
    return sys.getallocatedblocks(), heap.field7 + heap.field4


READS = """
a[1][2]; z[0][0]; a[0:1][0]; a[::-1][1:][0][1]; len(a); a.size; a.itemsize; a[1][2:][::-1].size
list(a); [x for row in a for x in row]; [x for row in z for x in row]; iter(a); next(iter(a[0]))
str(a); repr(z); str(a[0:1]); str(line); 5.0 in a[0]; a == a; a != z; a == b; a[0] == b[0]; a == 5
z == z; a.clone(); a[0].clone(); a[:][1:].clone(); memoryview(a); memoryview(a[:][0]); bytes(a[0:1])
a[0].toarray(); z.real(); z._imag; a.noncomplex(); a.buffer_info(); a.get_bytewise_strides()
a.reshape(3, 2).reshape(2, 3); a.__reduce__(); z.__reduce__(); copy.copy(a); copy.deepcopy(z)
pickle.loads(pickle.dumps(a)); double(); double(5); double([[1, 2], [3, 4]]); double([1, 2], (2, 1))
double(size=(2, 2)); double(vector=[1, 2, 3]); double(vector=range(4), size=(2, 2)); double(buffer)
double(rows, size=(2, 2)); double({"initializer": [1.0], "is_complex": True}); double({}, [1])
double(a); uint8(b""); double([[1j, 2]], is_complex=True); double(exporter)
double(Sequence([1, 2])); empty.reshape(0, next(count)).buffer_info()
"""

WRITES = """
a[0][1] = 5; a[0] = [0, 1, 2]; a[0:1] = [[0, 1, 2]]; a[0][0:2] = (0, 1); z[0][0] = 1j
z[0] = [1j, None]; a[0] = b[0]; a[::-1] = a; a[1:2][0] = Sequence([1, 2, 3]); a[0][1:][0:2] = [3, 4]
"""

FAILURES = """
double("x"); double([1, [2]]); double([[1, 2], [3]]); double([None]); double([1, BIG])
double(5, "x"); double(vector=[None]); double(vector=5); double([1, 2], (3,))
double([[1], [2]], (1, 2)); double(size=(-1,)); double(shape=1); double(is_complex=1)
logical(is_complex=True); double(size=(10**9, 10**9)); double(b"ab"); double({"shape": 1})
double({"is_complex": 1}, 5); double(Sequence([], 2)); double([Sequence([], 1)])
double(numpy.zeros((4, 4))[::2]); double(uneven); double([[[], []], [[1], [2]]])
double(vector=[[1]]); a[9]; a[0][9]; a["x"]; a[BIG]; a[::0]; a["x":]; a.real(); z.noncomplex()
z._data; a._imag; a < a; a.reshape(5); a.reshape(5, 5); a.reshape(2, 3, x=1); a[0].reshape(6, 1)
a.reshape(Sequence([], 2)); a[0] = 5; a[0:1] = 5; a[0:2] = []; a[0][0] = "x"; a[0] = [1, "x"]
a[0][0:2] = [1]; a[0] = Sequence([], 2)
del a[0][0]; del a[0]; a[0:1] = [[1], [[2]]]; a[9] = 1
str(column); list(iter(column)); column == row
column.clone(); column.__reduce__()
memoryview(column); len(line); line[0]; line[0] = 1
"""


CARRIED_OUT = "def repeat(times):\n for _ in range(times):\n  {}"
REFUSED = """def repeat(times):
 for _ in range(times):
  try: {}
  except Exception: continue
  raise AssertionError
"""


def names():
    cube, b, z = grid(2, 2, 2), grid(4, 2), orvane.double([[1, 2j]], is_complex=True)
    line, column, row = cube[1][1], b[3], orvane.double([3, 5, 7, 0])[0]
    cube.reshape(4, 2), b.reshape(2, 4)
    a, b, empty, count = grid(2, 3), grid(2, 3, first=1), orvane.double(), itertools.count(1)
    buffer, rows = array.array("d", [1.0, 2.0]), numpy.arange(4.0).reshape(2, 2)
    exporter, uneven = Exporter(bytes(16), "d", 8), Exporter(bytes(12), "d", 8)
    modules = {c.__name__: c for c in (Sequence, numpy, copy, pickle)}
    return NAMESPACE | modules | locals()


@measured
@pytest.mark.parametrize(("text", "loop"), [(READS + WRITES, CARRIED_OUT), (FAILURES, REFUSED)])
def test_repetition_costs_no_memory(text, loop):
    space, leaks = names(), []
    for statement in re.split(r"; |\n+", text.strip()):
        exec(loop.format(statement), space)
        space["repeat"](50)
        before = in_use()
        space["repeat"](REPETITIONS)
        blocks, heap = (now - then for now, then in zip(in_use(), before, strict=True))
        # A leak shows once a repetition; caches of the interpreter move by hundreds of blocks.
        if blocks > REPETITIONS / 4 or heap > 4 * REPETITIONS:
            leaks.append(f"{statement}: {blocks} blocks, {heap} bytes")
    assert leaks == []
    assert space["exporter"].open_views == space["uneven"].open_views == 0


@measured
def test_large_arrays_give_their_memory_back():
    for use in ("a[5][7]", "a == a[0:1]", "a.clone()", "memoryview(a)[0, 0]", "a._data"):
        pages = []
        for _ in range(13):
            a = orvane.double(size=(2000, 1000))
            a[0][0] = 1
            evaluate(use, a=a)
            del a
            pages.append(int(Path("/proc/self/statm").read_text().split()[0]))
        # Twelve arrays with their mirrors would be 384 MB.
        assert (pages[-1] - pages[0]) * os.sysconf("SC_PAGE_SIZE") < 64 << 20
