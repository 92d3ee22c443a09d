"""The interpreter's own buffer tests as consumer of every export and as exporter to every type."""

import ctypes
import functools
import itertools
import math
from contextlib import suppress

import pytest

import orvane
from impostors import PyBuffer, get_buffer
from reference.array import View
from support import DOUBLE, KINDS, counted, each_kind, make, outcome, refused, stored_bytes

judge = pytest.importorskip("_testbuffer", reason="the interpreter's own tests are not installed")

REQUESTS = [flags for name, flags in vars(judge).items() if name.startswith("PyBUF_")]
PAIRS = {one | other for one, other in itertools.product(REQUESTS, repeat=2) if one < 0x200}
FLAGS = sorted(PAIRS - {0x100, 0x200})  # which are for memoryviews alone
WRITABLE, FORMAT, C_CONTIGUOUS = judge.PyBUF_WRITABLE, judge.PyBUF_FORMAT, 0x20
NOT_WRITABLE = "underlying buffer is not writable."
NOT_C = "underlying buffer not C-contiguous."
SHAPES = (3, 4, 2), (1, 5), (5, 1), (1, 1), (0, 3), (3, 0), (2, 0, 3), (1, 2, 1, 2)
CHAINS = "a", "a[1:]", "a[::-1]", "a[0]", "a[0][1:]", "a[-1][-1]", "a[1][1][::-1]", "a[9:]"


def exporters(kind):
    """Every layout, with what the reference says is exported."""
    for shape, chain in itertools.product(SHAPES, CHAINS):
        vector = counted(kind, math.prod(shape))
        with suppress(IndexError, TypeError, AttributeError):  # what leads to nothing, or a number
            sides = (m(kind, vector=vector, size=shape) for m in (make, View.make))
            ours, theirs = (eval(chain, {"a": a}) for a in sides)
            yield ours, theirs.export()


@each_kind
def test_every_request_on_every_layout(kind):
    for exporter, (shape, elements) in exporters(kind):
        strides = tuple(kind.size * math.prod(shape[:d]) for d in range(len(shape)))
        for flags in FLAGS:
            if flags & (WRITABLE | C_CONTIGUOUS):
                view = PyBuffer(obj=1)
                with refused(ValueError, NOT_WRITABLE if flags & WRITABLE else NOT_C):
                    get_buffer(exporter, ctypes.byref(view), flags)
                assert view.obj is None
                continue
            seen = judge.ndarray(exporter, getbuf=flags)
            assert (seen.obj is exporter, seen.readonly, seen.suboffsets) == (True, True, ())
            assert seen.format == (kind.format if flags & FORMAT else "")
            assert (seen.shape, seen.strides, seen.itemsize) == (shape, strides, kind.size)
            assert (seen.ndim, seen.nbytes) == (len(shape), len(elements))
        image, is_line = memoryview(exporter), math.prod(shape) == max(shape) or 0 in shape
        for order, expected in {"F": True, "C": is_line, "A": True}.items():
            assert judge.is_contiguous(exporter, order) == expected
        assert judge.py_buffer_to_contiguous(exporter, "F", judge.PyBUF_FULL_RO) == elements
        if not kind.is_complex:
            assert image == seen == memoryview(seen) == judge.get_contiguous(image, 0x100, "C")
        with pytest.raises((TypeError, ValueError)):  # as the array has none
            hash(image)
        if is_line and 0 not in shape:
            line = image.cast("B")
            assert (line, line[1::2]) == (elements, elements[1::2])


FORMATS = *"bBhHiIlLqQnN?fdcPs", "@b", "<d", ">i", "=q"
ALIKE = {"q": "l", "Q": "L", "?": "B", "B": "?"}
COPIED = 0, judge.ND_FORTRAN, judge.ND_VAREXPORT, judge.ND_REDIRECT, judge.ND_GETBUF_UNDEFINED
REFUSED = {judge.ND_GETBUF_FAIL: "ND_GETBUF_FAIL: forced test exception"}
REFUSED |= {judge.ND_PIL: "ndarray is not contiguous"}
USES = "a[0] = values", "a[:] = values", "a[0][:] = values", "a[0][::-1] = values"


def exporting(letter, count=1, **layout):
    return judge.ndarray([b"1" if letter in "cs" else 1] * count, format=letter, **layout)


@each_kind
def test_every_format_as_initializer(kind):
    images = (judge.ndarray(make(k, [1]), getbuf=judge.PyBUF_FULL_RO) for k in KINDS)
    for source in (*images, *(exporting(letter, shape=[1, 1]) for letter in FORMATS)):
        words = f"is not compatible with output format ('{kind.format}'); use a different input or"
        words += " output type"
        if kind.is_complex and source.format[0] != "Z":
            words = "does not begin with 'Z', but output type is complex"
        expected = "raised", BufferError, f"input buffer format ('{source.format}') {words}"
        if source.format in (kind.format, ALIKE.get(kind.format)):
            expected = "gave", "tuple", (1, 1)
        assert outcome(lambda source=source: make(kind, source).size) == expected


@each_kind
def test_every_format_as_right_side(kind):
    for letter, step in itertools.product(FORMATS, (1, 2, -1)):
        size = exporting(letter, shape=[1]).itemsize
        layout = {"shape": [3], "strides": [step * size], "offset": 2 * size * (step < 0)}
        values = memoryview(exporting(letter, 6, **layout))
        for use in USES:
            sides = make(kind, size=(1, 3)), View.make(kind, size=(1, 3))
            spaces = ({"a": a, "values": values} for a in sides)
            ours, theirs = (outcome(functools.partial(exec, use, space)) for space in spaces)
            assert (ours, stored_bytes(sides[0])) == (theirs, sides[1].export()[1])


@pytest.mark.parametrize("ndim", [*range(9), 63, 64, 65, 128])
def test_every_number_of_dimensions(ndim):
    shape = [1] * (ndim - 3) + [2, 3, 2][:ndim]
    numbers = [float(i) for i in range(math.prod(shape))]
    for flags in COPIED:
        source = judge.ndarray(numbers, shape=shape, format="d", flags=flags)
        made = orvane.double(source)
        assert made.size == ((1,) * (2 - ndim) + tuple(shape))[: max(2, ndim)]
        columns = judge.py_buffer_to_contiguous(source, "F", judge.PyBUF_FULL_RO)
        assert b"".join(map(DOUBLE.pack, made.noncomplex())) == columns
    for flags, words in REFUSED.items() if ndim else ():
        with refused(BufferError, words):
            orvane.double(judge.ndarray(numbers, shape=shape, format="d", flags=flags))
