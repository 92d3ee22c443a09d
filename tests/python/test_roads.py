"""What is computed on native elements equals what the road through Python objects gives.

Arrays of awkward elements come in through buffers, bit by bit, and go through cloning, export of
views, comparison, `toarray` and `__reduce__`. What is read as a block of numbers is compared with
the same items from a sequence of the caller's.
"""

import array
import itertools
import math
import struct
import sys

import numpy
import pytest

import orvane
from impostors import Exporter, from_stored
from reference.array import Storage, View
from support import KIND_OF, KINDS, each_kind, grid, make, nested, outcome, stored_bytes

FLOATS = [
    *(0.0, -0.0, 1.0, -1.5, math.inf, -math.inf, math.nan, 5e-324, -2.2250738585072014e-308),
    *(1.7976931348623157e308, 0.1, 2.0**53 + 2, 1e16, 123456.789, -1e-5),
]
SINGLES = [
    *(0.0, -0.0, 1.0, -1.5, math.inf, -math.inf, math.nan, 2.0**-149, -(2.0**-126)),
    *(3.4028234663852886e38, -3.4028234663852886e38, 16777216.0, 0.5, 2.0**-10, -7.0),
]
WIDE = [2**53 - 1, 2**53, 2**53 + 1, 2**62 + 1, 2**63 - 1025, 2**63 - 513, 2**63 - 512, 2**63 - 1]


def awkward_parts(element):
    if element.name == "logical":
        return [True, False, False, True]
    if not element.is_integer:
        return FLOATS if element.name == "double" else SINGLES
    wide = [2**63, 2**64 - 2049, 2**64 - 1025, 2**64 - 1024] if element.name == "uint64" else []
    signed = [-w for w in WIDE] if element.low else []
    parts = [element.low, element.low + 1, 0, 1, 7, element.high - 1, element.high]
    return parts + ([*WIDE, *wide, *signed] if element.size == 8 else [])


def awkward(kind):
    """Lists of twelve elements that together hold every awkward part in every role."""
    parts = awkward_parts(kind.element)
    elements = list(zip(parts, parts[3:] + parts[:3], strict=True)) if kind.is_complex else parts
    elements = [*elements, *elements[::-1], *[kind.zero] * (-2 * len(elements) % 12)]
    runs = [elements[i : i + 12] for i in range(0, len(elements), 12)]
    return runs + [[e, kind.zero] * 6 for e in elements[: len(parts)]]


CHAINS = ["a", "a[0]", "a[1:]", "a[::-1]", "a[1][2:0:-1]", "a[0][1]", "a[0][1][1:]", "a[2:2]"]


@each_kind
@pytest.mark.parametrize("chain", CHAINS)
def test_materialising_is_the_long_road(kind, chain):
    for stored in awkward(kind):
        ours = eval(chain, {"a": from_stored(kind, stored, 2, 3, 2)})
        theirs = eval(chain, {"a": View(Storage(kind, [2, 3, 2], list(stored)))})

        clone, expected = outcome(ours.clone), outcome(theirs.materialise)
        if expected[0] == "gave":
            assert clone[2].size == tuple(expected[2].shape)
            assert stored_bytes(clone[2]) == expected[2].pack()
        else:
            assert clone == expected
        assert outcome(lambda: stored_bytes(ours)) == outcome(lambda: theirs.export()[1])  # noqa: B023
        assert repr(ours.__reduce__()[1]) == repr(theirs.__reduce__()[1])
        assert str(ours) == str(theirs)
        if not kind.is_complex and chain.count("[") - chain.count(":") == 2:
            code = "B" if kind.name == "logical" else kind.format
            assert repr(ours.toarray()) == repr(array.array(code, nested(ours)))


PLACES = 702  # thirteen by nine by six: whole blocks of the fast paths, and a rest, for every size


def large(kind):
    """Elements that the long road can hold, no NaN among them, over and over."""
    readable = []
    for run in awkward(kind):
        for element in run:
            value = kind.read(element)
            if outcome(lambda v=value: kind.convert(v, True))[0] == "gave" and value == value:
                readable.append(element)
    return list(itertools.islice(itertools.cycle(readable), PLACES))


@each_kind
def test_large_arrays_take_the_same_road(kind):
    stored = large(kind)
    a, b = from_stored(kind, stored, 13, 9, 6), View(Storage(kind, [13, 9, 6], stored))
    for chain in ("a", "a[3]", "a[::-2]", "a[4:5]", "a[2][1:8:3]", "a[12][8]", "a[0][::-1]"):
        ours, theirs = eval(chain, {"a": a}), eval(chain, {"a": b})
        clone, expected = ours.clone(), theirs.materialise()
        assert (list(clone.size), stored_bytes(clone)) == (expected.shape, expected.pack())
        assert (str(ours), repr(ours.__reduce__()[1])) == (
            str(theirs),
            repr(theirs.__reduce__()[1]),
        )


@each_kind
def test_one_element_among_many_decides(kind):
    stored = large(kind)
    a = from_stored(kind, stored, 13, 9, 6)
    one = type(awkward_parts(kind.element)[0])(1)
    alike, unlike = [], [(kind.zero, one)]
    if kind.element.format in "df":
        alike, unlike = [(0.0, -0.0)], [*unlike, (math.nan, math.nan)]
    if kind.is_complex:
        alike, unlike = ([((x, 0), (y, 0)) for x, y in pairs] for pairs in (alike, unlike))
        unlike = [((0, 0), (0, 1)), ((0, 0), (1, 0)), *unlike[1:]]
        if kind.element.size == 8 and kind.element.is_integer:
            alike = [((2**53, 0), (2**53 + 1, 0)), ((1, 2**53 + 1), (1, 2**53))]
    assert a == from_stored(kind, stored, 13, 9, 6)
    for place in (0, 1, 15, 31, 32, 63, 127, 255, 256, 511, 640, 690, PLACES - 1):
        for pairs, equal in ((alike, True), (unlike, False)):
            for pair in pairs:
                runs = ([*stored[:place], element, *stored[place + 1 :]] for element in pair)
                x, y = (from_stored(kind, run, 13, 9, 6) for run in runs)
                assert (x == y, y != x, x[:] == y[:]) == (equal, not equal, equal)
                i, j = place % 13, place // 13 % 9
                assert (x[i] == y[i], x[i][j][::-1] == y[i][j][::-1]) == (equal, equal)
                assert (x[i::2] == y[i::2], x[i + 1 :] == y[i + 1 :]) == (equal, True)


def test_bits_of_single():
    """Minus infinity becomes plus infinity, a signalling NaN is quieted, in both parts."""
    bits = [0x7F800001, 0xFF800000, 0xFFC00005, 0x80000001, 0x7F800000]
    quiet = [0x7FC00001, 0x7F800000, 0xFFC00005, 0x80000001, 0x7F800000]
    data, expected = (struct.pack("=5I", *x) for x in (bits, quiet))
    for kind, repeats in ((KIND_OF["f"], 1), (KIND_OF["Zf"], 2)):
        strides = kind.size, 5 * kind.size
        a = make(kind, Exporter(data * repeats, kind.format, kind.size, (5, 1), strides))
        assert stored_bytes(a) == data * repeats
        assert stored_bytes(a.clone()) == stored_bytes(a[0:5]) == expected * repeats
    expected = struct.pack("=5I", *quiet[:1], *bits[1:])  # toarray keeps minus infinity
    row = make(KIND_OF["f"], Exporter(data, "f", 4, (1, 5), (4, 4)))[0]
    assert row.toarray().tobytes() == expected


@pytest.mark.parametrize("place", [0, 3, 2047, 2048, 4999])
def test_one_infinity_in_a_long_run_of_single(place):
    numbers = array.array("f", [1.5]) * 5000
    numbers[place] = -math.inf
    a = orvane.single(numbers)
    numbers[place] = math.inf
    assert stored_bytes(a[:]) == numbers.tobytes()


class Items:
    """The items of a sequence by methods of the caller's, which only the long road calls."""

    def __init__(self, sequence):
        self.sequence = sequence

    def __len__(self):
        return len(self.sequence)

    def __getitem__(self, i):
        item = self.sequence[i]
        return Items(item) if hasattr(item, "__len__") and not isinstance(item, str) else item


LIMITS = [0, 1, 127, 128, 255, 256, 2**31, 2**32, 2**53 + 1, 2**63 - 1025, 2**63, 2**64 - 1]


def rows_of(code):
    """Four at a time, the awkward numbers that `array.array` takes under a type code."""
    numbers = [*(SINGLES if code == "f" else FLOATS), *LIMITS, *(-n - 1 for n in LIMITS)]
    fit = [n for n in numbers if outcome(lambda n=n: array.array(code, [n]))[0] == "gave"]
    return [(fit[i:] + fit[:i])[:4] for i in range(0, len(fit), 4)]


def parts_of(table):
    row = table[0]
    return [table, table[::-2], row, row[::-1], row[1::2], table[1:1]]


def blocks():
    for kind in KINDS:
        for run in awkward(kind)[:2]:
            yield from parts_of(from_stored(kind, run, 3, 4))
    for code in "bBhHiIlLqQfd":
        for row in rows_of(code):
            packed = array.array(code, row)
            yield from (packed, memoryview(packed)[::-1])
        yield from (memoryview(numpy.array(row, ">" + code)), numpy.array(row, code))
    for bits in (b"\0\1\2\xff", b""):
        yield from (bits, bytearray(bits), memoryview(bits), memoryview(bits).cast("c"))
    yield memoryview(b"\0\1\2\xff").cast("?")
    floats = numpy.array(FLOATS[:12]).reshape(3, 4)
    for exact in (floats, floats.astype(complex).conj()):
        yield from (*parts_of(exact), *parts_of(numpy.asfortranarray(exact)), exact[0, :, None])
        yield from (numpy.array(exact[0, 0]), numpy.broadcast_to(exact[0], (2, 4)))
        yield from (numpy.ma.array(exact[0]), exact[0].astype(exact.dtype.newbyteorder()))
    yield array.array("u" if sys.version_info < (3, 13) else "w", "four")
    for first in (0, -2, 253, 2**31 - 2, 2**63 - 4, 2**63 - 3, 2**64 - 4, -(2**63), 2**70):
        yield from (range(first, first + 4), range(first + 9, first, -3))


BLOCKS = list(blocks())
WORKS = [compile(text, text, "eval") for text in """
make(kind, v)
make(kind, v, size=(4, 3))
make(kind, v, size=(2, 2))
make(kind, vector=v)
make(kind, vector=v, size=(4, 1))
make(kind, several(v, 2))
make(kind, several(several(v, 2), 9))
make(kind, several(v, 9))
a.__setitem__(0, v)
a[1:].__setitem__(1, v)
a[2].__setitem__(slice(None, None, -1), v)
a[0].__setitem__(slice(1, 3), v)
a.__setitem__(slice(3), v)
a.__setitem__(slice(None, None, 3), several(v, 2))
""".strip().splitlines()]  # fmt: skip


@each_kind
def test_blocks_of_numbers_are_the_long_road(kind):
    taken = 0
    for block in BLOCKS:
        # What exports a buffer is another matter as the initializer itself.
        is_buffer = not isinstance(block, range) and not hasattr(block, "_is_complex")
        for work in WORKS[3 * is_buffer :]:
            answers = []
            for v, several in (block, list), (Items(block), Items):
                a = grid(4, 4, kind=kind)
                names = {"kind": kind, "make": make, "a": a, "v": v}
                names["several"] = lambda v, n, several=several: several([v] * n)
                result, _, made = (*outcome(lambda n=names, w=work: eval(w, n)), None)[:3]
                made = (made.size, stored_bytes(made)) if hasattr(made, "size") else str(made)
                answers.append((result, _, made, stored_bytes(a)))
            assert answers[0] == answers[1], (work.co_filename, block)
            taken += result == "gave"
    assert taken > 300


def copied(value):
    return [copied(item) if hasattr(item, "__len__") else item for item in value]


@each_kind
@pytest.mark.parametrize("text", """
a[0:2] = a[1:3]
a[1:3] = a[0:2]
a[::-1] = a
a[:] = a
a[0] = a[0][::-1]
a[1][:] = a[2]
a[0:2] = [a[1], a[0]]
a[:] = numpy.asarray(a)[::-1]
row[0][2:6] = memoryview(row).cast('B').cast('d')[0:4]
row[0][2:6] = row[0][0:4]
row.reshape(4, 2); row[:] = a[:4]
""".strip().splitlines())  # fmt: skip
def test_a_right_side_is_as_if_it_had_been_read_before(kind, text):
    before, value = text.rsplit(" = ", 1)
    answers = []
    for program in (text, f"{before} = Items(copied({value}))"):
        names = {"a": grid(6, 2, kind=kind), "row": grid(1, 8, kind=kind), "numpy": numpy}
        names |= {"Items": Items, "copied": copied}
        done = outcome(lambda p=program, n=names: exec(p, n))
        answers.append((done, stored_bytes(names["a"]), stored_bytes(names["row"])))
    assert answers[0] == answers[1]
