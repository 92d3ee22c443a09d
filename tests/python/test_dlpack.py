"""Arrays as DLPack tensors and DLPack tensors as arrays, by a native module."""

from __future__ import annotations

import ctypes
import gc
from typing import Any

import pytest

import orvane
from native_clients import client
from support import check, each_kind, evaluate, grid, nested, refused, stored_bytes, table

np = pytest.importorskip("numpy", "2.1")

IF_NEEDED, ALWAYS, NEVER = range(3)
TOLD = {"shape": [2, 3], "strides": [1, 2], "dtype": (0, 8, 1), "device": 1, "byte_offset": 0}
TOLD |= {"null": False, "major": 1, "flags": 0}


@pytest.fixture(scope="module")
def dlpack() -> Any:
    return client("dlpack_client")


class Producer:
    """What has DLPack's protocol, by the client."""

    def __init__(self, dlpack: Any, array: Any, *request: Any):
        self.make = lambda: dlpack.capsule(array, *request)

    def __dlpack__(self, **_: Any) -> Any:
        return self.make()

    def __dlpack_device__(self) -> tuple[int, int]:
        return 1, 0


@each_kind
def test_every_kind_goes_to_numpy_and_back(dlpack, kind):
    array = grid(2, 3, 2, kind=kind)
    if kind.is_complex and kind.element.is_integer:
        with refused(BufferError, "DLPack has no complex integers and no characters"):
            dlpack.capsule(array, True, False, IF_NEEDED)
        return
    for part in (array, array[1], array[1][::-1], array[0][1], array[2:]):
        shared = np.from_dlpack(Producer(dlpack, part, True, False, IF_NEEDED))
        older = np.from_dlpack(Producer(dlpack, part, False, True, IF_NEEDED))
        copied = np.from_dlpack(Producer(dlpack, part, True, False, ALWAYS))
        assert [x.tolist() for x in (shared, older, copied)] == [nested(part)] * 3
        assert (shared.flags.writeable and shared.size, copied.flags.writeable) == (0, True)
        assert np.shares_memory(shared, np.asarray(array)) == bool(shared.size)
        assert not np.shares_memory(copied, shared)
        back = dlpack.array(copied.__dlpack__(max_version=(1, 0)), NEVER)
        assert nested(back) == (nested(part) if shared.ndim > 1 else [nested(part)])


def test_writing_shows_on_the_other_side_unless_that_is_read_only(dlpack):
    array = orvane.double([[1, 2], [3, 4]])
    other = np.from_dlpack(Producer(dlpack, array, True, True, IF_NEEDED))
    other[0, 1] = 20
    array[1][0] = 30
    assert other.tolist() == nested(array) == [[1, 20], [30, 4]]
    back = dlpack.array(other.__dlpack__(max_version=(1, 0)), NEVER)
    back[1][1] = 40
    assert other[1, 1] == array[1][1] == 40
    older = np.array(other)
    other.flags.writeable = False
    for source, words in ((other, {"max_version": (1, 0)}), (older, {})):
        apart = dlpack.array(source.__dlpack__(**words), NEVER)
        apart[0][0] = 9
        assert (apart[0][0], source[0, 0]) == (9, 1)
    del array, back
    assert other.tolist() == [[1, 20], [30, 40]]
    assert dlpack.array(dlpack.of_own(), NEVER) == orvane.single([[0, 0, 0], [0, 0, 5]])


def test_tensors_are_dropped_on_any_thread(dlpack):
    before = dlpack.dropped()
    told = TOLD | {"ndim": 2, "shape": [2, 2], "dtype": (2, 64, 1)}
    array = dlpack.through(True, True, told, NEVER)
    dlpack.drop_elsewhere(array)
    del array
    dlpack.drop_elsewhere(orvane.double())  # whoever lends next does what is left
    assert dlpack.dropped() == before + 1


@table("""
 -> [[1, 3, 5], [2, 4, 6]]
"strides": [] -> [[1, 2, 3], [4, 5, 6]]
"strides": [-1, -2], "byte_offset": 5 -> [[6, 4, 2], [5, 3, 1]]
"strides": [0, 1] -> [[1, 2, 3], [1, 2, 3]]
"shape": [3, 1, 1], "strides": [] -> [[1], [2], [3]]
"shape": [4], "strides": [] -> [[1, 2, 3, 4]]
"shape": [], "strides": [], "byte_offset": 2 -> [[3]]
"shape": [0, 3], "null": True -> []
"shape": [2], "strides": [], "dtype": (1, 16, 1), "byte_offset": 1 -> [[0x302, 0x504]]
"dtype": (6, 8, 1), "byte_offset": 6, "shape": [3, 1] -> [[False], [True], [True]]
"dtype": (6, 8, 1), "byte_offset": 7, "shape": [3, 1] -> [[True], [True], [False]]
"flags": 1 -> [[1, 3, 5], [2, 4, 6]]
""")
def test_what_tensors_become(dlpack, expression, answer):
    told = TOLD | evaluate(f"{{{expression}}}")
    for versioned, in_capsule, copy in ((x, y, z) for x in (0, 1) for y in (0, 1) for z in (0, 1)):
        before = dlpack.dropped()
        array = dlpack.through(versioned, in_capsule, told | {"ndim": len(told["shape"])}, copy)
        assert nested(array) == evaluate(answer)
        assert type(array) is not orvane.logical or set(stored_bytes(array)) == {0, 1}
        del array
        gc.collect()
        assert dlpack.dropped() == before + 1


@table("""
"major": 2 -> version 2 of DLPack is not known
"device": 2 -> the DLPack tensor lies on a device of type 2, not in the CPU's memory
"dtype": (0, 8, 2) -> arrays have no elements of DLPack's type 0 with 8 bits and 2 lanes
"dtype": (2, 16, 1) -> arrays have no elements of DLPack's type 2 with 16 bits and 1 lanes
"dtype": (5, 32, 1) -> arrays have no elements of DLPack's type 5 with 32 bits and 1 lanes
"ndim": -1 -> the DLPack tensor does not tell its extents
"shape": [-1, 0] -> the DLPack tensor has a negative extent
"shape": [2**62, 4] -> the DLPack tensor is too large
"null": True -> the DLPack tensor has elements outside of the memory
"byte_offset": 2**64 - 1 -> the DLPack tensor has elements outside of the memory
"strides": [1, 2**62] -> the DLPack tensor has elements outside of the memory
"strides": [1, -2**60] -> the DLPack tensor has elements outside of the memory
"dtype": (6, 8, 1) -> the elements of the DLPack tensor cannot be had without a copy
"strides": [3, 1] -> the elements of the DLPack tensor cannot be had without a copy
""")
def test_refused_tensors_are_dropped_once(dlpack, expression, answer):
    told = TOLD | {"ndim": 2} | evaluate(f"{{{expression}}}")
    for in_capsule in (False, True):
        before = dlpack.dropped()
        with refused(BufferError, answer):
            dlpack.through(True, in_capsule, told, NEVER)
        assert dlpack.dropped() == before + 1


def test_tensors_among_others_are_looked_at_before_numpy_sees_them():
    class Nowhere(Producer):
        def __init__(self, device: int) -> None:
            self.device = device
            self.make = lambda: np.ones(2).__dlpack__(max_version=(1, 0))

        def __dlpack__(self, **_: Any) -> Any:
            capsule, address = self.make(), ctypes.pythonapi.PyCapsule_GetPointer
            address.restype, address.argtypes = ctypes.c_void_p, (ctypes.py_object, ctypes.c_char_p)
            of_data = address(capsule, b"dltensor_versioned") + 32
            ctypes.c_void_p.from_address(of_data).value = None
            ctypes.c_int32.from_address(of_data + 8).value = self.device
            return capsule

    for device in (1, 3):  # NumPy reads that of CUDA's hosts, too
        with refused(ValueError, "the DLPack tensor has elements outside of the memory"):
            orvane.asarray([Nowhere(device)])


@table("""
array(used, 0) -> ValueError: the DLPack capsule has been used already
array([], 0) -> TypeError: expected a DLPack capsule, got list
capsule([], True, False, 0) -> TypeError: expected an orvane array, got list
capsule(double(), False, False, 0) ->
 BufferError: only version 1 of DLPack can say that a tensor must not be written to
""")
def test_refused_objects_and_capsules(dlpack, expression, answer):
    capsule = dlpack.capsule(orvane.double([[1]]), True, False, IF_NEEDED)
    assert nested(dlpack.array(capsule, IF_NEEDED)) == [[1.0]]
    check(f"dlpack.{expression}", answer, dlpack=dlpack, used=capsule)
