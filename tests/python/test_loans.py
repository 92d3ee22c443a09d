"""Elements lent to native modules, and blocks of theirs that become arrays."""

from __future__ import annotations

import gc
import os
import sys
from threading import Thread
from typing import Any

import pytest

import orvane
from native_clients import build_directory, client
from support import evaluate, python, refused, table


@pytest.fixture(scope="module")
def loans() -> Any:
    return client("loan_client")


def rows() -> orvane.double:
    return orvane.double([[1, 2, 3], [4, 5, 6]])


def flat(part: Any) -> list[float]:
    return [x for row in part for x in (row if hasattr(row, "__iter__") else [row])]


@table("""
a -> [2, 3], [1, 2], 21
a[1] -> [3], [2], 15
a[::-1] -> [2, 3], [-1, 2], 21
a[0][::2] -> [2], [4], 4
a[0:1] -> [1, 3], [1, 2], 6
a[2:] -> [0, 3], [0, 0], 0
""")
def test_what_is_lent_is_what_python_sees(loans, expression, answer):
    array = rows()
    part = evaluate(expression, a=array)
    extents, strides, total = eval(answer)
    loan = loans.lend(part, False, False)
    gapless = loans.lend(part, False, True)
    assert (loan.shape(), sum(gapless.values())) == ((extents, strides), total)
    assert total == 0 or (loan.address() - array.buffer_info()[0]) // 8 in range(6)
    array[0][0] = array[1][0] = 7
    assert sum(loans.lend(part, False, True).values()) == sum(flat(part))


def test_refusals(loans):
    array = rows()
    row = array[1]
    for wrong in ([1.0], orvane.double([1j], is_complex=True), orvane.single([1])):
        with pytest.raises(TypeError, match=r"expected a real orvane\.double array, got "):
            loans.lend(wrong, False, False)
    with pytest.raises(ValueError, match="do not lie next to each other in column-major order"):
        loans.lend(row, True, True)
    array.reshape(1, 6)
    with refused(IndexError, "index has an invalid value: 5"):
        loans.lend(row, False, False)
    edge = array.reshape(1, 2, 3)[0][0]
    array.reshape(3, 2)
    with refused(RuntimeError, "too many indices."):
        loans.lend(edge, True, False)


@pytest.mark.parametrize(("read_only", "too_large"), [(False, 2**62), (True, 2**63)])
def test_blocks_of_others(loans, read_only, too_large):
    before = loans.released()
    array = loans.adopted(read_only, [2, 3, 1])
    assert array == orvane.double([[1, 3, 5], [2, 4, 6]])
    exported, loan = memoryview(array), loans.lend(array, False, False)
    array[0][0] = 10
    shown = 1 if read_only else 10
    assert (array[0][0], exported[0, 0], loan.values()[0]) == (10, shown, shown)
    assert loans.adopted_block()[0] == shown
    assert loans.handed_out(array)[0] == 10
    del array, exported
    gc.collect()
    assert (loans.released(), loan.values()[1:]) == (before, [2, 3, 4, 5, 6])
    loan.give_back_elsewhere()
    assert (
        sum(loans.lend(rows(), False, False).values()) == 21
    )  # whoever comes next does what is left
    assert loans.released() == before + 1
    with refused(ValueError, "the block cannot be as large as its extents make it."):
        loans.adopted(read_only, [too_large, 4])
    assert loans.released() == before + 2


def test_what_is_given_up_is_not_copied(loans):
    for array, address in (loans.moved([1, 2, 3, 4, 5, 6], [2, 3]), loans.given_up(6)):
        assert array.buffer_info() == (address, 6)
        array[0][1] = 9
        assert loans.handed_out(array).count(9) == 1
        assert array.buffer_info() == (address, 6)
    with refused(ValueError, "the vector has another number of elements than the extents make"):
        loans.moved([1, 2], [3])
    assert loans.moved_beside([1, 2, 3, 4], [1, 2, 3, 4]) == (orvane.double([[1, 3], [2, 4]]),) * 2


def test_a_reshape_loses_no_writes_of_another_thread(loans):
    np, a = pytest.importorskip("numpy"), orvane.double(size=(1000, 1000))
    loans.handed_out(a)
    with orvane.writable(a) as n:
        adding = Thread(target=lambda: [np.add(n, 1, out=n) for _ in range(50)])
        adding.start()
        while adding.is_alive():
            a.reshape(500, 2000).reshape(1000, 1000)
        assert n.min() == 50


WITHOUT_TABLE = """
import ctypes, orvane, orvanemultidimarrayforpython
ctypes.pythonapi.PyCapsule_SetContext(ctypes.py_object(orvanemultidimarrayforpython._capi), None)
import pybind11_client
print(pybind11_client.halved(orvane.double([1])))
for use in ('pybind11_client.halve(orvane.double(), False)', 'import newer_client'):
    try:
        exec(use)
    except ImportError as error:
        print(error)
"""


def test_modules_built_against_another_version_of_the_table():
    older, newer = client("older_client"), client("newer_client")
    (old, present), (new, met) = older.sizes(), newer.sizes()
    assert old < present == met < new
    assert older.count(rows()) == newer.count(rows()) == 6
    assert older.require()
    words = (
        "the installed orvane is older than this module needs, it has no '{}': please install a"
        " newer one"
    )
    with refused(ImportError, words.format("countOf")):
        newer.require()
    without_table = python(
        WITHOUT_TABLE, PYTHONPATH=os.pathsep.join([str(build_directory()), *sys.path])
    )
    assert without_table.splitlines() == ["[[0.5]]", words.format("lend"), words.format("lend")]


# --- parameters of bound functions ---------------------------------------------------------------


@pytest.mark.parametrize("select", ["a", "a[1]", "a[::-1]", "a[0][1:]", "a[:]", "a[2:]"])
def test_bound_functions_work_in_place_or_on_a_copy(bound, select):
    a = rows()
    place, before, exported = a.buffer_info(), a.clone(), memoryview(a)
    part = evaluate(select, a=a)
    halves = [element / 2 for element in flat(part)]
    assert flat(bound.halved(part)) == halves
    assert a == before
    a_part = evaluate(select, a=a)
    bound.halve(a_part, False)
    assert flat(evaluate(select, a=a)) == halves
    assert (a.buffer_info(), before, exported.tolist()) == (place, rows(), [list(r) for r in a])


@table("""
kind_of(a[0]) -> 'real matrix'
kind_of(double(size=(1, 1, 2))) -> 'other'
kind_of(double([1j], is_complex=True)) -> 'complex'
first_of_either(a) -> (1+0j)
first_of_either(double([2j], is_complex=True)) -> 2j
""")
def test_overloads_are_told_apart(bound, expression, answer):
    assert repr(evaluate(f"bound.{expression}", a=rows(), bound=bound)) == answer


@table(r"""
halve(double(size=(1, 1, 1, 2)), False) -> a real orvane.double array of rank 3 at most, got .* 4
halve(single(), False) -> arg0: orvane.double, arg1: bool
halve(double(is_complex=True), False) -> arg0: orvane.double, arg1: bool
halved([1.0]) -> arg0?: orvane.double\b.*orvane.double
""")
def test_refusals_of_bound_functions(bound, expression, answer):
    with pytest.raises(TypeError, match=answer):
        evaluate(f"bound.{expression}", bound=bound)


def test_what_was_lent_for_a_call_is_given_back(bound, loans):
    before = loans.released()
    array = loans.adopted(False, [2, 3])
    for call in (bound.kind_of, bound.halved, lambda a: bound.halve(a, False)):
        call(array)
    with refused(RuntimeError, "after the work"):
        bound.halve(array, True)
    assert loans.adopted_block()[0] == 0.25
    row = array[1]
    array.reshape(1, 6)
    for call in (bound.halved, lambda a: bound.halve(a, False)):
        with refused(IndexError, "index has an invalid value: 5"):
            call(row)
    del array, row, call
    gc.collect()
    assert loans.released() == before + 1
