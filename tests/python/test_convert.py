"""What other libraries have as arrays, and arrays as what they have."""

import gc
from contextlib import suppress
from pathlib import Path

import pytest

import orvane
from support import answered_by, each_kind, evaluate, grid, nested, parts_of, python, table

np = pytest.importorskip("numpy", "1.26")

FLAT = {"Zd": "c16", "Zf": "c8"}
GAPS = "they do not lie in column-major order without gaps"


def dtype_of(kind):
    part = kind.format[-1]
    pair = np.dtype([("real", part), ("imag", part)])
    return np.dtype(FLAT.get(kind.format, pair if kind.is_complex else part))


def numbers(kind):
    """NumPy's array of 2 by 3 by 2 different elements, row by row."""
    shown = orvane.to_numpy(grid(2, 3, 2, kind=kind))
    assert (shown.dtype, shown.flags.writeable) == (dtype_of(kind), False)
    return np.array(shown, order="C")


def misaligned(x):
    block = np.frombuffer(bytearray(b"\0" + x.tobytes("F")), "B")[1:]
    return block.view(x.dtype).reshape(x.shape, order="F")


def in_buffer(**told):
    of_two = {"shape": (2,), "typestr": "|i1", "data": b"abc", "offset": 1, "version": 3}
    return type("A", (), {"__array_interface__": of_two | told})()


def read_only(x):
    x = np.asfortranarray(x)
    x.flags.writeable = False
    return x


LAYOUTS = {
    "column-major": (np.asfortranarray, None),
    "row": (lambda x: x[0, :, 1].copy(), None),
    "number": (lambda x: np.array(x[1, 2, 1]), None),
    "empty": (lambda x: x[:, :0, 0], None),
    "row-major": (lambda x: x, GAPS),
    "strided": (lambda x: np.asfortranarray(np.repeat(x, 2, 0))[::2], GAPS),
    "reversed": (lambda x: x[0, ::-1, 0], GAPS),
    "read-only": (read_only, "they are read-only"),
    "misaligned": (misaligned, "they are not aligned"),
    "swapped": (lambda x: np.asfortranarray(x).astype(x.dtype.newbyteorder()), "their bytes are"),
}


@pytest.mark.parametrize("through", ["NumPy", "memoryview"])
@pytest.mark.parametrize("layout", LAYOUTS)
@each_kind
def test_memory_of_any_layout_is_read_and_shared_where_it_can_be(kind, layout, through):
    lay, reason = LAYOUTS[layout]
    x = lay(numbers(kind))
    if kind.element.size == 1 and layout in ("misaligned", "swapped"):
        reason = None
    source = x if through == "NumPy" else memoryview(x)
    array, copied = orvane.asarray(source), orvane.asarray(source, copy=True)
    assert (type(array).__name__, array._is_complex) == (kind.name, kind.is_complex)
    for each in (array, copied):
        shown = orvane.to_numpy(each)
        assert shown.shape == each.size == (1,) * (2 - x.ndim) + x.shape
        assert np.array_equal(shown.reshape(x.shape), x)
        assert np.shares_memory(shown, x) == (each is array and reason is None and x.size > 0)
    if reason is None:
        orvane.asarray(source, copy=False)
    else:
        with pytest.raises(ValueError, match=f"the elements cannot be shared: {reason}"):
            orvane.asarray(source, copy=False)
        return
    x[...] = x.flat[-1] if x.size else 0
    del source, x
    gc.collect()
    shown = orvane.to_numpy(array)
    assert not shown.size or (shown == shown.flat[-1]).all()
    with orvane.writable(array) as lent:
        lent[...] = orvane.to_numpy(copied)
    assert array == copied


@table("""
asarray([[1, 2], [3, 4]]) -> int64([[1, 2], [3, 4]])
asarray([[1, 2.5], (True, 4)]) -> double([[1, 2.5], [1, 4]])
asarray([True, False]) -> logical([True, False])
asarray([1j, 2]) -> double([1j, 2], is_complex=True)
asarray([2**63, 1]) -> uint64([2**63, 1])
asarray([range(2), [3, 4]], "single") -> single([[0, 1], [3, 4]])
asarray([2.0, True], type=int8) -> int8([2, 1])
asarray([2, 3j], "int8") -> int8([2, 3j], is_complex=True)
asarray([2, 3 + 0j], int, is_complex=False) -> int64([2, 3])
asarray([2, 3], "complex64") -> single([2, 3], is_complex=True)
asarray([[0, 2j], [nan, 0]], bool) -> logical([[False, True], [True, False]])
asarray(2**62 + 1) -> int64(2**62 + 1)
asarray([]) -> double([])
asarray(b"ab", is_complex=True) -> uint8([97, 98], is_complex=True)
asarray(memoryview(bytes(6)).cast("B", (2, 3))) -> uint8(size=(2, 3))
asarray(memoryview(bytes(48)).cast("d", (2, 3))[::-1]) -> double(size=(2, 3))
asarray((ctypes.c_double * 2 * 2)((1, 2), (3, 4))) -> double([[1, 2], [3, 4]])
asarray((ctypes.c_short.__ctype_be__ * 2)(1, 2)) -> int16([1, 2])
asarray(array.array("l", [1, 2])) -> int64([1, 2])
asarray(int8([1, 2])[0], "double") -> double([1, 2])
asarray(int8([1, 2])[0][::-1], copy=True) -> int8([2, 1])
asarray([1, 300], "int8") -> ValueError: the element at [1], 300, does not fit into orvane.int8
asarray([[1, 2], [3, 0.5]], int) ->
 ValueError: the element at [1][1], 0.5, does not fit into orvane.int64
asarray([[1, 2e39], [1e39, 1]], single) ->
 ValueError: the element at [0][1], 2e+39, does not fit into orvane.single
asarray([nan], uint8) -> ValueError: the element at [0], nan, does not fit into orvane.uint8
asarray([1, 2j], is_complex=False) ->
 ValueError: the element at [1], 2j, does not fit into orvane.double
asarray([[1], [2**64]]) ->
 ValueError: the element at [1][0], 18446744073709551616, does not fit into orvane.uint64
asarray([2**63, -1]) -> ValueError: the element at [1], -1, does not fit into orvane.uint64
asarray([2**64], "int8") ->
 ValueError: the element at [0], 18446744073709551616, does not fit into orvane.int8
asarray([10**999]) ->
 ValueError: the element at [0], an integer of 3319 bits, does not fit into orvane.uint64
asarray([2**64, 0.5]) -> double([2.0**64, 0.5])
asarray([2**64], "logical") -> logical([True])
tolist(asarray([-inf, 3.4028235677973362e38], "single")) -> [[-inf, 3.4028234663852886e38]]
asarray([2**53 + 1, 1.0], "int64") -> int64([2**53 + 1, 1])
asarray([[1.0, 2], [2**53 + 1, 1 + 0j]], int, is_complex=False) -> int64([[1, 2], [2**53 + 1, 1]])
list(asarray([2**53 + 1, 2j], "int64").real()) -> [2**53 + 1, 0]
list(asarray([2**63 - 1], is_complex=True).real()) -> [2**63 - 1]
asarray([array.array("q", [2**53 + 1]), [1.0]], "int64") -> int64([[2**53 + 1], [1]])
asarray([array.array("q", [1]), (300,)], "int8") ->
 ValueError: the element at [1][0], 300, does not fit into orvane.int8
asarray([[int64([300]), [[1]]], [[[2**63]], [[1]]]], "int8") ->
 ValueError: the element at [0][0][0][0], 300, does not fit into orvane.int8
asarray([int8([1, 2])[0], double([3, 4])[0]]) -> double([[1, 2], [3, 4]])
asarray([int8([[1], [2]]), int8([[3], [4]])], "double") -> double([[[1], [2]], [[3], [4]]])
asarray([int8([1j], is_complex=True), [[3]]], "int8") -> int8([[[1j]], [[3]]], is_complex=True)
asarray([b"ab", bytearray(b"cd")]) -> uint8([[97, 98], [99, 100]])
asarray(endless()) -> int64([1, 1])
asarray([[1, {1: 2}]]) -> TypeError: the value at [0][1], {1: 2}, is no number
asarray([1, slice(2)]) ->
 TypeError: the value at [1]: no numbers can be read from an object of type slice
asarray([1, 2], "f4"), asarray([1], "D") -> single([1, 2]), double([1], is_complex=True)
asarray([1], copy=2) -> TypeError: copy must be True, False or None, not 2
asarray([1, None]) ->
 ValueError: the value at [1] is missing (None): put a number there, float('nan') for example
asarray([[1], ["2"]]) -> TypeError: the value at [1][0], '2', is no number
asarray("12") -> TypeError: no numbers can be read from an object of type str
asarray({1: 2}) -> TypeError: no numbers can be read from an object of type dict
asarray([1], "text") -> TypeError: 'text' names no type of elements that arrays can have
asarray([1], ",f8") -> TypeError: ',f8' names no type of elements that arrays can have
asarray([1], float, is_complex=True) ->
 ValueError: is_complex=True contradicts the type <class 'float'>
asarray([True], is_complex=True) -> TypeError: logical arrays must not be complex.
asarray([1], copy=False) ->
 ValueError: the elements cannot be shared: a sequence of numbers has no memory to share
asarray(int8([1]), "double", copy=False) ->
 ValueError: the elements cannot be shared: they are of type orvane.int8 and become orvane.double
tolist(int8([[1, 2], [3, 4]])[::-1]) -> [[3, 4], [1, 2]]
tolist(int8([[1, 2], [3, 4j]], is_complex=True)[1]) -> [3 + 0j, 4j]
tolist([1]) -> TypeError: expected an orvane array, got list
writable([1]) -> TypeError: expected an orvane array, got list
""")
def test_what_is_made_of_python_s_own(expression, answer):
    holds(expression, answer)
    WITHOUT_NUMPY.append((expression, answer))


WITHOUT_NUMPY: list[tuple[str, str]] = []
NAMES = ["asarray", "to_numpy", "tolist", "to_dlpack", "from_dlpack", "writable"]


def holds(expression, answer, **names):
    import array
    import ctypes

    endless = type("Endless", (), {"__len__": lambda _: 2, "__getitem__": lambda *_: 1})
    names |= {"array": array, "ctypes": ctypes, "endless": endless}
    names |= {name: getattr(orvane, name) for name in NAMES}
    with answered_by(answer) as is_value:
        value = evaluate(expression, **names)
        if is_value:
            assert repr(value) == repr(evaluate(answer, **names)), expression


def test_the_same_without_numpy():
    rows = WITHOUT_NUMPY or pytest.skip("no rows have been run")
    program = f"""
import sys
sys.path[:0] = {[str(Path(orvane.__file__).parents[1]), str(Path(__file__).parent)]!r}
sys.modules["numpy"] = None
import copy, ctypes, array, orvane, pytest
from support import answered_by, evaluate
NAMES = {NAMES}
{_source(holds)}
for row in {rows!r}:
    holds(*row)
a = orvane.double([[1, 2], [3, 4]])
with orvane.writable(a) as view:
    view[1, 1] = 7
assert a[1][1] == 7 and not sys.modules["numpy"]
orvane.enable_binary_pickles()
assert copy.deepcopy(a) == a
foreign = type("Foreign", (), {{"__array__": print}})()
for call in (lambda: orvane.to_numpy(a), lambda: orvane.asarray([foreign])):
    with pytest.raises(ImportError, match="NumPy"):
        call()
"""
    python(program)


def _source(function):
    import inspect

    return inspect.getsource(function)


@table("""
np.float32([1, 2]) -> single([1, 2])
np.float16([1, 2]) -> single([1, 2])
np.longdouble([1, 2]) ->
 TypeError: arrays have no elements of NumPy's type {long}: give a type, such as type='double'
np.array([[1, 2], [3, 4]], object) -> int64([[1, 2], [3, 4]])
np.float64(2) -> double(2)
np.ones((2, 2)).astype(np.dtype(float).newbyteorder("<")) -> double([[1, 1], [1, 1]])
[np.float32(1), np.arange(1)[0]] -> double([1, 0])
[np.arange(2), [3, 4]] -> int64([[0, 1], [3, 4]])
[np.arange(2), [3]] -> ValueError: the parts differ in shape: (1,) and (2,)
[int8([1, 2])[0], array.array("b", [3, 4])] -> int8([[1, 2], [3, 4]])
[orvane.to_dlpack(double([1])), [[2]]] -> double([[[1]], [[2]]])
type("A", (), {{"__array__": lambda *_, **__: np.arange(2)}})() -> int64([0, 1])
type("A", (), {{"__array__": property(lambda _: np.arange(2).__array__)}})() -> int64([0, 1])
type("A", (), {{"a": (a := np.eye(2)), "__array_interface__": a.__array_interface__}})() ->
 double([[1, 0], [0, 1]])
type("A", (), {{"a": (a := np.eye(2)), "__array_interface__": property(
    lambda _, told=iter([a.__array_interface__]): next(told))}})() -> double([[1, 0], [0, 1]])
in_buffer(strides=(-1,)) -> int8([98, 97])
in_buffer(shape=(0, 9), strides=(2**62, 1)) -> int8(size=(0, 9))
in_buffer(shape=(3,)) -> {beyond}1 to 4 of a buffer of 3
type("A", (np.lib.mixins.NDArrayOperatorsMixin, type(in_buffer(shape=(3,)))), {{}})() ->
 {beyond}1 to 4 of a buffer of 3
in_buffer(offset=-1) -> {beyond}-1 to 1 of a buffer of 3
in_buffer(strides=(2**63 - 1,)) -> {beyond}1 to 9223372036854775809 of a buffer of 3
(lambda b: (asarray(in_buffer(data=b)), b.clear()))(bytearray(3)) ->
 BufferError: Existing exports of data: object cannot be re-sized
in_buffer(typestr="|O", data=bytes(32)) ->
 ValueError: an object of type A contradicts itself:
 no extent is negative, and no object lies in a buffer
np.ma.masked_array([1, 2], [0, 0]) -> int64([1, 2])
np.ma.masked_array([[1, 2], [3, 4]], [[0, 0], [1, 1]]) ->
 ValueError: the value at [1][0] is missing (one of 2 that are masked): {unmask}
[np.ma.masked_array([1], [1]), [2]] ->
 ValueError: the value at [0][0] is missing (one of 1 that are masked): {unmask}
[[1, np.ma.masked]] ->
 ValueError: the value at [0][1] is missing (one of 1 that are masked): {unmask}
np.ma.array(np.zeros(2, [("real", "i4"), ("imag", "i4")]), mask=[(0, 0), (0, 1)]) ->
 ValueError: the value at [1] is missing (one of 1 that are masked): {unmask}
np.float16([-inf]), "int64" -> ValueError: the element at [0], -inf, does not fit into orvane.int64
[np.int64(2**53 + 1), np.uint64(1), 2.0], "int64" -> int64([2**53 + 1, 1, 2])
[np.array([2**53 + 1]), np.array([1.0])], "int64" -> int64([[2**53 + 1], [1]])
[np.array([1]), np.array([1.5])], "int64" ->
 ValueError: the element at [1][0], 1.5, does not fit into orvane.int64
[[np.float32(1), np.float32(2)], (np.float32(3), np.float32(4))] -> single([[1, 2], [3, 4]])
np.array([1, 2**70], object) ->
 ValueError: the element at [1], 1180591620717411303424, does not fit into orvane.uint64
np.array(["a"]) -> TypeError: arrays have no elements of NumPy's type <U1: give numbers
np.uint64([1, 2**63]), "int64" ->
 ValueError: the element at [1], 9223372036854775808, does not fit into orvane.int64
np.array([[1, 2**63.0]]), int ->
 ValueError: the element at [0][1], 9.223372036854775808e18, does not fit into orvane.int64
np.array([[1, -2**63.0]]), int -> int64([[1, -2**63]])
np.arange(4)[1:], np.dtype(">f4") -> single([1, 2, 3])
pd.DataFrame([[1., 2, 3], [3., 4, 5]]) -> double([[1, 2, 3], [3, 4, 5]])
pd.DataFrame({{"a": [1, 2], "b": [0.5, nan]}}), copy=False ->
 ValueError: the elements cannot be shared: those of an object of type DataFrame have to be gathered
np.asfortranarray([[1, 2], [3, 4]]).view(type("A", (np.ndarray,), {{}})), copy=False ->
 int64([[1, 2], [3, 4]])
pd.DataFrame({{"a": [1, 2], "b": [0.5, nan]}}) -> double([[1, 0.5], [2, nan]])
pd.DataFrame({{"a": [2**53 + 1], "b": [1.0]}}), "int64" -> int64([[2**53 + 1, 1]])
pd.DataFrame({{"a": [0.5, 1], "b": [1, 2], "c": [1, 0.5]}}), "int64" ->
 ValueError: the element at [0][0], 0.5, does not fit into orvane.int64
[1, pd.NaT] -> ValueError: the value at [1] is missing (NaT): {fill}
pd.DataFrame({{"a": [True, False], "b": pd.array([1, 2], "Int8")}}) -> int8([[1, 1], [0, 2]])
pd.Series([1., 2, 3], index=[2, 1, 0]) -> double([1, 2, 3])
[[1.0, 2], pd.Series([3.0, 4], index=[1, 0])] -> double([[1, 2], [3, 4]])
pd.Series([1, None], dtype="Int64") ->
 ValueError: the value at [1] is missing (null): {fill}
pd.DataFrame({{"a": [1, 2], "b": ["x", "y"]}}) ->
 TypeError: the value at [0][1], 'x', is no number
pd.DataFrame({{"a": [1], "b": pd.to_datetime([0])}}) ->
 TypeError: column 1: arrays have no elements of NumPy's type datetime64[ns]: {dates}
pl.LazyFrame({{"a": [1]}}) ->
 TypeError: no numbers can be read from an object of type LazyFrame; give x.collect()
pa.table({{"a": [2**53 + 1], "b": [1.0]}}), "int64" -> int64([[2**53 + 1, 1]])
[pa.scalar(1, pa.int8()), pa.scalar(2, pa.int8())] -> int8([1, 2])
[1, pa.scalar(None)] -> ValueError: the value at [1] is missing (null): {fill}
pl.DataFrame({{"a": [1, 2], "b": [True, False]}}) -> int64([[1, 1], [2, 0]])
pl.Series([1, None]) ->
 ValueError: the value at [1] is missing (null): {fill}
pa.table({{"a": [1, 2], "b": [0.5, 1]}}) -> double([[1, 0.5], [2, 1]])
pa.chunked_array([[1], [None]]) ->
 ValueError: the value at [1] is missing (null): {fill}
pa.Tensor.from_numpy(np.arange(6.).reshape(2, 3)) -> double([[0, 1, 2], [3, 4, 5]])
jnp.array([1, 2], "int4") -> int8([1, 2])
jnp.arange(3) * 1j -> single([0, 1j, 2j], is_complex=True)
torch.arange(6).reshape(2, 3).T -> int64([[0, 3], [1, 4], [2, 5]])
torch.tensor([1., 2]).requires_grad_() ->
 ValueError: Can't export tensors that require gradient, use tensor.detach()
torch.tensor([1.5], dtype=torch.bfloat16) -> single([1.5])
torch.tensor([1j]).conj().imag ->
 ValueError: the tensor has not computed its elements yet: give t.resolve_neg()
[sparse.csr_array([[1]])] -> TypeError: the value at [0]: {csr}
sparse.eye_array(2) -> TypeError: no numbers can be read from {sparse}; give x.toarray()
""")
def test_what_is_made_of_others(expression, answer):
    modules = {"pd": "pandas", "pl": "polars", "pa": "pyarrow", "jnp": "jax.numpy"}
    modules |= {"torch": "torch", "sparse": "scipy.sparse"}
    names = {"np": np, "orvane": orvane, "in_buffer": in_buffer}
    for short, module in modules.items():
        if f"{short}." in expression:
            names[short] = pytest.importorskip(module, exc_type=ImportError)
    words = {"long": np.dtype(np.longdouble)}
    words["beyond"] = "ValueError: an object of type A contradicts itself: bytes "
    words["fill"] = (
        "fill it first (.fillna, .fill_null) or drop it (.dropna, .drop_nulls, .drop_null)"
    )
    words["dates"] = "convert dates to numbers first: .astype('int64'), or a difference of them"
    words["unmask"] = "give x.filled(value), or x.compressed() for those that are there"
    words["csr"] = "no numbers can be read from an object of type csr_array; give x.toarray()"
    words["sparse"] = "an object of type dia_array"
    answer = answer.format(**words).replace("9.223372036854775808e18", "9.223372036854776e+18")
    holds(f"asarray({expression.format()})", answer, **names)


@each_kind
def test_what_others_see_of_views(kind):
    for name, part in parts_of(grid(2, 3, 2, kind=kind)).items():
        shown = orvane.to_numpy(part)
        assert (shown.shape, shown.dtype) == (part.size, dtype_of(kind)), name
        listed = orvane.tolist(part)
        assert listed == nested(part)
        pairs = kind.is_complex and kind.element.is_integer
        told = shown["real"] + 1j * shown["imag"] if pairs else shown
        assert told.tolist() == listed
        apart = orvane.to_numpy(part, copy=True, writable=True)
        assert apart.flags.writeable and not np.shares_memory(apart, shown)  # noqa: PT018
        before, cloned = apart.copy(), part[:].clone()
        with orvane.writable(part) as lent:
            assert lent.shape == part.size
            lent[...] = lent[::-1].copy()
        assert not lent.flags.writeable
        assert np.array_equal(orvane.to_numpy(part), before[::-1])
        assert np.array_equal(orvane.to_numpy(cloned).reshape(before.shape), before)
        if pairs:
            with pytest.raises(BufferError):
                np.from_dlpack(orvane.to_dlpack(part))
            continue
        if np.lib.NumpyVersion(np.__version__) >= "2.1.0":
            taken = np.from_dlpack(orvane.to_dlpack(part))
            assert np.array_equal(taken, before[::-1]) and min(taken.strides, default=0) >= 0  # noqa: PT018
        if name == "reversed":
            with pytest.raises(BufferError, match="in reverse"):
                orvane.to_dlpack(part, writable=True).__dlpack__()
        with suppress(BufferError):  # of older ones, which do not know what is read-only
            tensor = orvane.to_dlpack(part, writable=True)
            tensor.__dlpack__(copy=True), orvane.from_dlpack(tensor)
            now = nested(part)
            assert orvane.tolist(orvane.from_dlpack(tensor.__dlpack__())) in (now, [now])


def test_a_context_ends_whatever_happens_in_it():
    array = orvane.double([[1, 2], [3, 4]])
    with pytest.raises(ZeroDivisionError), orvane.writable(array) as lent:  # noqa: PT012
        array.reshape(4, 1)
        lent[0, 1] = 1 / 0
    array[0] = [9]
    assert (lent.tolist(), lent.flags.writeable) == ([[9, 2], [3, 4]], False)
    del array
    gc.collect()
    assert lent.tolist() == [[9, 2], [3, 4]]


@table("""
adopt(np.zeros((2, 3)), "d", (2, 2)) -> ValueError: the memory is not as large as the array
adopt(np.zeros(4)[::2], "d", (1, 2)) -> ValueError: the memory has gaps
adopt(memoryview(bytes(9))[1:], "d", (1, 1)) ->
 ValueError: the block is not aligned as its elements have to be.
adopt(bytes(8), "d", (2**40, 2**40)) -> ValueError: the memory is not as large as the array
adopt(bytes(8), "d", (-1, 1)) -> OverflowError: can't convert negative value to size_t
adopt(bytes(8), "g", (1, 1)) -> TypeError: arrays have no elements of the format 'g'
adopt(3, "d", (1, 1)) -> TypeError: a bytes-like object is required, not 'int'
copy_memory(np.zeros((2, 3))[:, 1], "d", (1, 2)) -> ValueError: the memory has gaps
copy_memory(bytes(8), "d", (2, 1)) -> ValueError: the memory is not as large as the array
copy(3) -> TypeError: expected an orvane array, got int
Elements(3) -> RuntimeError: object not initialized.
from_capsule(3, None) -> TypeError: expected a DLPack capsule, got int
""")
def test_refusals_of_the_bridge(expression, answer):
    from orvane import _bridge

    with answered_by(answer):
        evaluate(f"bridge.{expression}", bridge=_bridge, np=np)
