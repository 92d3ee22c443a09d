"""More elements than 32 bits count. Takes gigabytes, so it is asked for by ORVANE_SCALE=1."""

import os

import numpy
import pytest

import orvane

pytestmark = pytest.mark.skipif("ORVANE_SCALE" not in os.environ, reason="takes 10 GB of memory")

COUNT = 2**31 + 5
MARKS = {0: 1, 2**31 - 1: 2, 2**31: 3, -1: 4}


def flat(array):
    """The elements in storage order, in place."""
    return orvane.to_numpy(array).ravel(order="K")


@pytest.mark.parametrize("size", [(COUNT, 1), (1, COUNT), (1, 1, COUNT)], ids=str)
def test_one_long_dimension(size):
    a = orvane.int8(size=size)
    line = a[0][0] if len(size) == 3 else a[0] if size[0] == 1 else a
    numbers = line if line is not a else None  # of a column, the rows are views
    for place, mark in MARKS.items():
        line[place] = [mark] if numbers is None else mark
    assert flat(a)[list(MARKS)].tolist() == list(MARKS.values())
    rows = line[2**31 - 1 :: 1], line[:: 2**31], line[-1 : 0 : -(2**31)]
    assert [len(row) for row in rows] == [6, 2, 2]
    assert [flat(row.clone()).tolist() for row in rows] == [[2, 3, 0, 0, 0, 4], [1, 3], [4, 0]]
    line[-2:] = [[5], [6]] if numbers is None else [5, 6]
    with pytest.raises(IndexError):
        line[COUNT]
    exported = memoryview(a)
    assert (exported.nbytes, flat(a)[-2:].tolist()) == (COUNT, [5, 6])
    clone = a.clone()
    assert clone == a
    clone.reshape(COUNT, 1)[-1] = [7]
    assert (flat(a)[-1], flat(clone)[-1], clone.reshape(*size) == a) == (6, 7, False)


@pytest.mark.parametrize(
    "shape", [(2, 2**30 + 3), (2**30 + 3, 2), (3, 5, 2**31 // 15 + 1)], ids=str
)
def test_input_is_reordered_to_the_far_end(shape):
    source = numpy.zeros(shape, "i1")
    for place in range(-1, 2):
        source[(place,) * len(shape)] = 5
    assert numpy.array_equal(orvane.to_numpy(orvane.int8(source)), source)
    assert orvane.asarray(source.T) == orvane.int8(source.T)
