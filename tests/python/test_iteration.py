"""Iteration and length."""

from __future__ import annotations

import operator

import pytest

from support import WORDS, each_kind, grid, nested, refused


@each_kind
@pytest.mark.parametrize("every", [1, 2, 3])
def test_numbers_that_a_loop_keeps_stay_as_they_are(kind, every):
    row = grid(1, 60, kind=kind)[0]
    kept = []
    for i, number in enumerate(row):
        if i % every == 0:
            kept.append(number)
    assert kept == [row[i] for i in range(0, 60, every)]


def test_an_exhausted_iterator_stays_so():
    iterator = iter(grid(1, 2)[0])
    assert iter(iterator) is iterator
    assert [*iterator, *iterator, *iterator] == [0.0, 1.0]


def test_the_protocols_that_rest_on_iteration():
    row = grid(1, 3)[0]
    assert (2.0 in row, 3.0 in row, operator.countOf(row, 1)) == (True, False, 1)
    assert list(reversed(row)) == [2.0, 1.0, 0.0]


def test_a_reshape_under_way_is_seen_through_the_old_indices():
    array = grid(2, 3, 2)
    walk, rows = iter(array), iter(array[0:2])
    next(walk)
    array.reshape(6, 2)  # the second item has the index 1 of a first dimension of 6
    assert nested(next(walk)) == [1.0, 7.0]
    assert [nested(row) for row in rows] == [[0.0, 6.0], [1.0, 7.0]]


def test_an_iterator_whose_indices_outgrow_the_shape_is_exhausted():
    array = grid(2, 2, 2, 2)
    walks = planes, vectors, elements = iter(array[1]), iter(array[1][1]), iter(array[1][1][1])
    for walk in walks:
        next(walk)
    array.reshape(4, 4)
    whole = next(planes)  # two indices in two dimensions: nothing is left to subscript
    assert (whole.size, str(whole), list(iter(whole))) == ((), "[]", [])
    with refused(RuntimeError, WORDS["TOO_MANY"]):
        len(whole)
    assert [*vectors, *elements] == []
    array.reshape(2, 2, 2, 2)
    assert [*vectors, *elements] == []


def test_a_new_iteration_of_an_outdated_chain_says_so_and_gives_nothing(capfd):
    array = grid(2, 2, 2)
    view = array[1][1]
    array.reshape(4, 2)
    assert list(iter(view)) == []
    assert capfd.readouterr().out == "numDims (3) >= numShapeDims (2)\n"


def test_a_step_that_fails_has_consumed_its_position():
    array = grid(4, 2)
    column = array[3]
    array.reshape(2, 4)
    walk = iter(column)  # places 3, 5, 7 of the storage, then one beyond it
    assert [next(walk) for _ in range(3)] == [3.0, 5.0, 7.0]
    with refused(IndexError, "index has an invalid value: 3"):
        next(walk)
    assert list(walk) == []
