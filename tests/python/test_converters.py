"""Vectors and Eigen's matrices as parameters and results of bound functions."""

from __future__ import annotations

import importlib
from pathlib import Path
from sysconfig import get_path
from typing import Any

import pytest

import orvane
from native_clients import COMPILER, run
from support import evaluate, table

EIGEN = [Path(root) / "include" / "eigen3" for root in ("/usr", "/usr/local")]


@pytest.fixture
def names(bound: Any) -> dict[str, Any]:
    if not hasattr(bound, "transposed"):
        pytest.skip("Eigen is not installed")
    arrays = {
        "a": orvane.double([[3, 1, 2], [6, 5, 4]]),
        "b": orvane.double(size=(2, 1, 2)),
        "c": orvane.single([[1 + 2j, 1, 1], [1, 1, 1]], is_complex=True),
        "i": orvane.int32([[1, 2, 3]]),
    }
    return vars(bound) | arrays | {"double": orvane.double, "logical": orvane.logical}


def outcome(expression: str, names: dict[str, Any]) -> str:
    """The result, or the refusal; of the binding libraries' own words the first ones."""
    try:
        return str(evaluate(expression, **names))
    except (TypeError, ValueError) as error:
        return str(error).split(" arguments")[0]


def test_an_array_comes_back_as_the_object_that_it_is(names):
    array, doubled = names["a"], names["doubled_in_place"]
    view = array[1][::-1]
    assert doubled(view) is view
    assert array == orvane.double([[3, 1, 2], [12, 10, 8]])
    assert str(doubled(array[2:])) == "[]"
    for other in (array.tomemoryview(), names["i"], orvane.double([1j], is_complex=True), None):
        with pytest.raises(TypeError, match="orvane\\.double"):
            doubled(other)


def test_a_list_is_taken_when_every_array_in_it_is(names):
    array, sizes = names["a"], names["sizes"]
    assert sizes([array, array[1]]) == [6, 3]
    for other in (None, names["i"], names["b"]):
        with pytest.raises(TypeError, match="orvane\\.double"):
            sizes([array, other])


LINE, GOT = "with one extent other than 1 at most", "elements, got one of"


@table(f"""
sorted(a[0]) -> [[1.0,2.0,3.0]]
nothing() -> expected a real orvane.double array, got null
sorted(double([3, 1, 2], size=(1, 1, 3))) -> [[1.0,2.0,3.0]]
sorted(double([])) -> [[]]
sorted(a) -> expected a real orvane.double array {LINE}, got one of 2 x 3 elements
sorted([1.0]) -> sorted(): incompatible function
in_columns(a[0], 2) -> the vector has another number of elements than the extents make
transposed(a) -> [[3.0,6.0],[1.0,5.0],[2.0,4.0]]
transposed(a[0]) -> [[3.0,1.0,2.0]]
transposed(b) -> expected a real orvane.double array of rank 2 at most, got one of rank 3
transposed(i) -> transposed(): incompatible function
conjugated(c) -> [[(1-2j),(1-0j),(1-0j)],[(1-0j),(1-0j),(1-0j)]]
conjugated(c[1:]) -> expected a complex orvane.single array of 2 x 3 {GOT} 1 x 3 elements
small(a) -> expected a real orvane.double array of rank 2 at most and of 2 x 2 elements at most,
  got one of 2 x 3 elements
small(a[0][1:]) + short(a[0][1:]) -> 6.0
short(a[0]) -> expected a real orvane.double array {LINE} and of 2 x 1 elements at most,
  got one of 3 elements
reversed(i[0]) -> [[3],[2],[1]]
reversed(i[0][1:]) -> expected a real orvane.int32 array {LINE} and 3 {GOT} 2 elements
flipped(logical([True, False])) -> [[False,True]]
total(a[::-1]) -> 21.0
total(b) -> the array has more dimensions than a matrix
""")
def test_what_functions_take_and_return(names, expression, answer):
    assert outcome(expression, names) == answer


@table("""
read_map(a) -> in place: 21.0
read_map(a[1:]) -> a copy: 15.0
read_ref(a[0:1]) -> in place: 6.0
read_line(a[1]) -> a copy: 15.0
read_map(double(size=(0, 3))) -> a copy: 0.0
scale_map(a) -> [[6.0,2.0,4.0],[12.0,10.0,8.0]]
scale_map(a[1:]) -> without gaps between its elements, got one with the strides 1, 2
scale_ref(a[1:]) -> [[3.0,1.0,2.0],[12.0,10.0,8.0]]
scale_ref(a[0]) -> without gaps within its columns, got one with the strides 2
scale_ref(b[0:0]) -> of rank 2 at most, got one of rank 3
scale_any(a[0]) -> [[6.0,2.0,4.0],[6.0,5.0,4.0]]
scale_any(a[::-1]) -> in ascending order, got one with the strides -1, 2
scale_line(a[1][1:]) -> [[3.0,1.0,2.0],[6.0,10.0,8.0]]
""")
def test_elements_in_place(names, expression, answer):
    seen = outcome(expression, names)
    if seen.startswith("("):
        address, total = eval(seen)
        is_inside = 0 <= address - names["a"].buffer_info()[0] < 48
        seen = f"{'in place' if is_inside else 'a copy'}: {total}"
    elif seen == "None":
        seen = str(names["a"])
    assert seen.removeprefix("expected a real orvane.double array ") == answer


def test_results_are_moved_out(names):
    for expression in ("sorted(a[0])", "transposed(a)"):
        result = evaluate(expression, **names)
        assert names["returned_address"]() == result.buffer_info()[0]


@pytest.mark.parametrize("library", ["pybind11", "nanobind"])
def test_a_file_that_binds_eigen_in_two_ways_does_not_compile(tmp_path, library):
    theirs = {"pybind11": "pybind11/eigen.h", "nanobind": "nanobind/eigen/dense.h"}[library]
    eigen = [place for place in EIGEN if (place / "Eigen" / "Core").exists()]
    if not eigen:
        pytest.skip("Eigen is not installed")
    folders = f"{importlib.import_module(library).__path__[0]}/include", get_path("include")
    includes = [f"-I{folder}" for folder in (*folders, eigen[0], orvane.get_include())]
    file = tmp_path / "bound.cpp"
    headers = f"orvane/{library}.hpp", theirs, "orvane/eigen.hpp"
    file.write_text("".join(f"#include <{header}>\n" for header in headers))
    with pytest.raises(AssertionError, match=f"{theirs} (not at all|exclude)|and {theirs}"):
        run(*COMPILER, "-std=c++20", "-fsyntax-only", *includes, file)
