"""Clones and other arrays made of views: shapes, contents, and when a snapshot goes stale."""

from __future__ import annotations

import pytest

import orvane
from support import evaluate, grid, nested, refused


@pytest.mark.parametrize("chain", ["a", "a[0]", "a[0:1]", "a[0][0:2]"])
def test_the_first_snapshot_of_an_object_is_its_last(chain):
    a = grid(2, 2)
    view = evaluate(chain, a=a)
    first = view.clone()
    a[0][0] = -5
    first[0][1] = 99  # a clone's own affair
    assert list(view.clone()[0]) == [0.0, 2.0]
    assert (a[0][1], evaluate(chain, a=a[:])[0:1].clone()[0][0]) == (2.0, -5.0)
    assert memoryview(view)[0, 0] == (-5.0 if chain == "a" else 0.0)


def test_a_view_that_cannot_be_materialised_gives_the_reason_each_time():
    a = grid(3, 4)
    row, rows = a[2], a[2:3]
    a.reshape(1, 12)
    for _ in range(2):
        with refused(IndexError, "index has an invalid value: 10"):
            row.clone()
        for use in (rows.clone, lambda: str(rows)):
            with refused(RuntimeError, "unable to set list item."):
                use()
    a.reshape(3, 4)
    assert nested(row.clone()) == nested(rows.clone()) == [[2.0, 5.0, 8.0, 11.0]]


def test_parts_that_come_out_beyond_the_limit_are_refused():
    pairs = orvane.int64([[1, 2]], is_complex=True)
    pairs[0][1] = 2**63 - 1  # an int is stored exactly; read back, it is 2.0**63
    for _ in range(2):
        with refused(
            OverflowError, "value (9.22337e+18) cannot be stored in a variable of type int64."
        ):
            pairs.clone()
    with refused(RuntimeError, "null data pointer."):
        memoryview(pairs[0])
    assert nested(pairs[0][0:1].clone()) == [[1 + 0j]]
