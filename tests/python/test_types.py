"""The module's types and exceptions, and how its import fails."""

import sys

import pytest

import orvane
import orvanemultidimarrayforpython as native
import ovexceptions
from support import each_type, evaluate, grid, python

DOCSTRINGS = """
size: dimensions
_size: dimensions
itemsize: size of an element in bytes
_real: real part of elements; equivalent to real()
_imag: imaginary part of elements; equivalent to imag()
_data: elements in storage order; equivalent to noncomplex()
_is_complex: whether array is complex
reshape: reshape changes the dimensions of an N-dimensional array while preserving the values
buffer_info: buffer_info returns a two-element tuple containing the address of the buffer and\
 the number of elements
get_bytewise_strides: get_bytewise_strides returns a tuple containing the bytewise strides
clone: clone returns an independent copy of the input object
real: real returns the real part of the input object as a 1-by-N array
imag: imag returns the imaginary part of the input object as a 1-by-N array
noncomplex: noncomplex returns the the input object (which must be noncomplex) as a 1-by-N array
toarray: toarray returns an array.array initialized from the input object
tomemoryview: tomemoryview returns a memoryview initialized from the input object
__reduce__: __reduce__ pickles the input object
"""


@each_type
def test_a_type_and_what_it_offers(name):
    array_type = getattr(native, name)
    assert array_type is getattr(orvane, name)
    assert (array_type.__name__, array_type.__doc__) == (name, name)
    assert (array_type.__module__, repr(array_type)) == ("orvane", f"<class 'orvane.{name}'>")
    ordinary = {n for n in vars(array_type) if not n.startswith("__")} | {"__reduce__"}
    docs = {f"{n}: {getattr(array_type, n).__doc__}" for n in ordinary}
    assert docs == set(DOCSTRINGS.strip().splitlines())
    with pytest.raises(TypeError, match="not an acceptable base type"):
        type("Derived", (array_type,), {})
    array = array_type([1])
    for expression in ("a + a", "-a", "a * 2", "hash(a)", "a()", "abs(a)", "a @ a"):
        with pytest.raises(TypeError):
            evaluate(expression, a=array)
    for attribute in ("size", "_size", "itemsize", "_real", "_imag", "_data", "_is_complex", "x"):
        with pytest.raises(AttributeError):
            setattr(array, attribute, (1,))
    array.__init__(5, 6, 7)  # that of `object`, which leaves the array alone
    assert array[0][0] == 1


def test_the_iterator_type_is_internal():
    iterator_type = type(iter(grid(1, 1)))
    assert iterator_type is native.OCPyIter
    assert repr(iterator_type) == "<class 'orvane.OCPyIter'>"
    assert iterator_type.__doc__ == "Internal iterator object"
    with pytest.raises(TypeError, match="cannot create"):
        iterator_type()


@pytest.mark.parametrize("name", ["ShapeError", "SizeError"])
def test_the_exceptions_are_one_wherever_they_are_named(name):
    exception = getattr(native, name)
    assert getattr(orvane, name) is getattr(ovexceptions, name) is exception
    assert exception.__bases__ == (Exception,)
    assert (exception.__module__, exception.__qualname__) == ("ovexceptions", name)


def test_an_import_that_fails_can_be_tried_again():
    program = """
import array, sys, types
for replacement, message in (
    (None, "unable to import array module."),
    (types.ModuleType("array"), "unable to retrieve array.array class."),
    (types.SimpleNamespace(array=5), "array.array class is not callable."),
):
    sys.modules["array"] = replacement
    try: import orvanemultidimarrayforpython
    except RuntimeError as error: assert str(error) == message, error
    else: raise SystemExit("the import went through")
sys.modules["array"] = array
import orvane
assert orvane.double([1.5])[0].toarray() == array.array("d", [1.5])
try: orvane.double([1, 2], size=(3,))
except orvane.ShapeError: print("well")
"""
    assert python(program) == "well\n"


def test_a_second_interpreter_is_refused_in_words():
    program = """
try: import orvanemultidimarrayforpython
except ImportError as error: assert 'interpreter' in str(error), error
else: raise AssertionError('imported twice')
"""
    new = sys.version_info >= (3, 13)
    interpreters = pytest.importorskip("_interpreters" if new else "_xxsubinterpreters")
    other = interpreters.create()
    try:
        assert (interpreters.exec if new else interpreters.run_string)(other, program) is None
    finally:
        interpreters.destroy(other)
    assert type(iter(grid(1, 1))) is native.OCPyIter
