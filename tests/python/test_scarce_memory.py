"""Every operation again and again, with each of its allocations failing in turn, or each call that
the data-array library may refuse.

What comes is the usual result or refusal, or MemoryError; the arrays are as they were or as the
operation leaves them; nothing is lost, also where nothing fails. What the library refuses for
another reason is a RuntimeError of constructors, and else an exception for the program in C++ that
has called. Child processes do it, under `tests/native/scarce_memory.c` and `refusals.cpp`.
"""

import array
import binascii
import copy
import ctypes
import gc
import itertools
import operator
import os
import pickle
import re
import sys
from pathlib import Path

import numpy
import pytest

import orvane
from impostors import Sequence
from native_clients import build_directory, run
from orvane import _bridge as bridge
from support import FREE_THREADED, NAMESPACE, grid
from test_packaging import REPLACEMENT

READS = """
a[1][2]; z[0][0]; a[0:1][0]; a[::-1][1:][0][1]; len(a); a.size; a.itemsize; a[1][2:][::-1].size
list(a); [x for row in a for x in row]; [x for row in z for x in row]; iter(a); next(iter(a[0]))
str(a); repr(z); str(a[0:1]); str(line); 5.0 in a[0]; a == a; a != z; a == b; a[0] == b[0]; a == 5
z == z; a.clone(); a[0].clone(); a[:][1:].clone(); memoryview(a); memoryview(a[:][0]); bytes(a[0:1])
memoryview(shared); a[0].toarray(); z.real(); z._imag; a.noncomplex(); a.buffer_info()
a.get_bytewise_strides(); a.reshape(3, 2); a.__reduce__(); z.__reduce__(); copy.copy(a)
copy.deepcopy(z); pickle.loads(pickle.dumps(a)); double(); double(5); double([[1, 2], [3, 4]])
double([1, 2], (2, 1)); double(size=(2, 2)); double(vector=[1, 2, 3]); double(buffer); double(a)
double(vector=range(4), size=(2, 2)); double(rows, size=(2, 2)); double({}, [1]); uint8(b"")
double({"initializer": [1.0], "is_complex": True}); double([[1j, 2]], is_complex=True)
double(Sequence([1, 2])); empty.reshape(0, next(count)); kept.reshape(3, 2)
"""

WRITES = """
a[0][1] = 5; a[0] = [0, 1, 2]; a[0:1] = [[0, 1, 2]]; a[0][0:2] = (0, 1); z[0][0] = 1j
z[0] = [1j, None]; a[0] = b[0]; a[::-1] = a; a[1:2][0] = Sequence([1, 2, 3]); a[0][1:][0:2] = [3, 4]
shared[0][1] = 5; shared[0] = [7, 8, 9]; shared[::-1] = b
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

MORE = """
large.clone(); double(large); double(rows); double(plane); double(steps); double(numbers)
large[::2].clone(); str(large[::9]); large == large[:]; pickle.loads(pickle.dumps(large[:9]))
memoryview(large[::3]); wide.real(); copy.deepcopy(wide); large.reshape(65, 260)
large[::2] = large[1::2]; large[:] = plane; large[:] = large[::-1]; wide[0] = rows[0]; write(large)
orvane.tolist(b); bridge.copy(large[0]); bridge.copy_memory(plane, 'd', (130, 130))
bridge.adopt(plane, 'd', (130, 130))[0]; bridge.adopt(plane, 'd', (16900, 1)).clone()
orvane.from_dlpack(orvane.to_dlpack(large), copy=False)[1]; orvane.asarray([[1, 2], [3, 4.5]])
"""

# Functions and their arguments, for refusals that no code of the interpreter's is to be unwound by.
CALLS = """
setitem, a[0], 1, 5; setitem, a, 0, [1, 2, 3]; setitem, z[0], 0, 1j; setitem, a, 1, a[0]
setitem, kept, 0, [1, 2, 3]; setitem, shared, 0, [7, 8, 9]; crc32, a; crc32, z; crc32, a[::-1]
a.clone; a[0].clone; a[:][1:].clone; z.real; getattr, z, "_imag"; double; double, 5; double, buffer
double, rows, (2, 2); double, [[1, 2], [3, 4]]; single, [1j], None, None, True; uint8, b"ab"
"""

# What runs code of the interpreter's that is written in Python is not tried with its objects
# failing: such code loses them itself, and on some versions crashes.
OF_PYTHON = re.compile(r"copy\.|pickle\.|orvane\.|Sequence|write")


def names():
    cube, b, z = grid(2, 2, 2), grid(4, 2), orvane.double([[1, 2j]], is_complex=True)
    line, column, row = cube[1][1], b[3], orvane.double([3, 5, 7, 0])[0]
    cube.reshape(4, 2), b.reshape(2, 4)
    a, b, empty, count = grid(2, 3), grid(2, 3, first=1), orvane.double(), itertools.count(1)
    kept, origin = grid(2, 3), [grid(2, 3)]
    export, shared = memoryview(kept), origin[0].clone()
    buffer, rows = array.array("d", [1.0, 2.0]), numpy.arange(4.0).reshape(2, 2)
    modules = {c.__name__: c for c in (Sequence, numpy, copy, pickle)}
    return vars(binascii) | vars(operator) | NAMESPACE | modules | locals()


def write(array):
    elements = bridge.Elements(array, writable=True)
    memoryview(elements)[0, 0] = 5
    elements.close()


def more_names():
    large, rows = grid(130, 130), [[float(i)] * 130 for i in range(130)]
    plane, numbers = numpy.arange(16900.0).reshape(130, 130), list(range(10000))
    steps, wide = plane.T[::2], orvane.single([[1j] * 130] * 130, is_complex=True)
    return names() | globals() | locals()


def shown(value):
    """A value as a text that is the same in every call; arrays by their elements."""
    try:
        is_array = isinstance(value, orvane.ARRAY_TYPES)
        text = f"{value.size} {value!r}" if is_array else repr(value)
    except IndexError as error:  # a stale view
        text = str(error)
    return re.sub(r"0x\w+|\d{8,}", "", text)


def arrays_in(space):
    return [shown(value) for value in space.values() if isinstance(value, orvane.ARRAY_TYPES)]


class Tried:
    """A statement, or a call, and how to carry it out while allocations or calls fail."""

    failed = 0

    def __init__(self, call, in_use, names, statement, is_call=False):
        self.call, self.in_use = call, in_use
        self.call.restype, self.in_use.restype = ctypes.py_object, ctypes.c_long
        self.statement, self.names, self.expected = statement, names, "MemoryError"
        code = f"use = {statement}"
        if is_call:
            constructs = re.match("double|single|uint8", statement)
            self.expected = f"{'Runtime' if constructs else 'System'}Error('Data type mismatch.')"
        else:
            value = "" if re.search(r" = |^del |^write", statement) else "return "
            code = f"def use(): {value}{statement}"
        self.code = compile(code, statement, "exec")
        self.before, (self.usual, self.after, _) = arrays_in(names()), self.run(0, 0)

    def run(self, first, end):
        """What it gives when the allocations from `first` on fail, before `end`; what it leaves;
        how many there were."""
        space, count, answer = self.names(), ctypes.c_long(), None
        exec(self.code, space)
        try:
            limits = ctypes.c_long(first), ctypes.c_long(end), ctypes.byref(count)
            answer = shown(self.call(ctypes.py_object(space["use"]), *limits))
        except SystemError as error:  # of the frame of `use`, on some versions
            answer = "MemoryError" if "<function use" in str(error) else repr(error)
        except BaseException as error:
            answer = repr(error) if "(" in self.expected else type(error).__name__
        space["origin"].clear()
        return answer, arrays_in(space), count.value

    def faults(self, number):
        """What is wrong when so many allocations fail, one after the other. Of more than some, the
        interpreter does not recover."""
        for first in range(10_000):
            answer, left, count = self.run(first, first + number)
            Tried.failed += answer == self.expected
            if answer not in (self.usual, self.expected):
                yield f"{self.statement}: allocation {first} fails, {answer[:200]}"
            wrote_a_part = self.usual.endswith("Error") and left == self.after
            if left != (self.after if answer == self.usual else self.before) and not wrote_a_part:
                yield f"{self.statement}: allocation {first} fails, and leaves {left}"
            if count <= first:
                return

    def growth(self):
        """The blocks that each time leaves, at least."""
        marks = array.array("q", [0] * 4)  # measuring leaves nothing itself
        for i in range(4):
            list(self.faults(1))
            gc.collect()
            marks[i] = self.in_use()
        return min(b - a for a, b in itertools.pairwise(marks))

    def judge(self):
        for fault in (*self.faults(1), *self.faults(5)):
            print(fault)
        growth = self.growth()
        if growth > 0:
            print(f"{self.statement}: {growth} blocks are lost")


def tried(table):
    """The statements of a table; unless all are asked for every third, another on each interpreter
    that is tested as a rule."""
    statements = re.split(r"; |\n+", table.strip())
    whole = "ORVANE_SCARCE_MEMORY" in os.environ
    return statements if whole else statements[sys.version_info.minor // 2 % 3 :: 3]


def main(memory, refusals, failing):
    orvane.enable_binary_pickles()
    for _ in range(10_000):  # the other library keeps so many that are gone
        orvane.double()
    memory, refusals = ctypes.PyDLL(memory), ctypes.PyDLL(refusals)
    call = refusals.call_refused if failing == "statuses" else memory.call_short_of_memory
    for table, names_of in (READS + WRITES + FAILURES, names), (MORE, more_names):
        for statement in tried(table):
            if failing != "objects" or not OF_PYTHON.search(statement):
                Tried(call, memory.blocks_handed_out, names_of, statement).judge()
    assert Tried.failed > 50
    if failing == "statuses":
        ctypes.c_int.in_dll(refusals, "refusal").value = 8
        for statement in tried(CALLS):
            Tried(call, memory.blocks_handed_out, names, statement, is_call=True).judge()


@pytest.mark.skipif("ORVANE_SANITIZED" in os.environ, reason="a sanitizer has its own allocator")
@pytest.mark.parametrize(
    ("failing", "library"),
    [("objects", ""), ("elements", ""), ("statuses", ""), ("statuses", REPLACEMENT)],
    ids=["objects", "elements", "statuses", "statuses of another library"],
)
def test_no_success_is_taken_for_granted(failing, library):
    if failing == "objects" and hasattr(sys, "gettotalrefcount"):
        pytest.skip("an interpreter for debugging ends where its own frames run short")
    if failing == "objects" and FREE_THREADED:
        pytest.skip("objects lie in memory of the interpreter's own")
    preloaded = [str(build_directory() / f"{name}.so") for name in ("scarce_memory", "refusals")]
    environment = {
        "LD_PRELOAD": ":".join(preloaded),
        "LD_LIBRARY_PATH": str(library and library.parent),
        "PYTHONMALLOC": "malloc" if failing == "objects" else "default",
        "MALLOC_PERTURB_": "165",  # what is used after it is gone shows
        "PYTHONPATH": os.pathsep.join([str(Path(__file__).parent), *sys.path[1:]]),
    }
    assert run(sys.executable, __file__, *preloaded, failing, **environment) == ""


if __name__ == "__main__":
    main(*sys.argv[1:])
