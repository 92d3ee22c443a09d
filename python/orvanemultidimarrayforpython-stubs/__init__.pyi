"""What type checkers know of the extension module; `docs/arrays.md` tells it to readers.

The eleven types share no base at run time. Here they have one, `_Array`, which says once what all
of them offer. A type has two parameters of its own:

- the element that Python sees: `float`, `int` or `bool` by the type, `complex` in a complex array.
  A plain `double` in an annotation is a real one;
- what an integer subscript and each step of an iteration give. An array that has just been made has
  two dimensions or more, so that is a view. What a view gives, another view or an element, depends
  on the number of its dimensions, which no type tells: it is `Any`.

The types cannot be subscripted at run time: `double[complex]` stands in quotes, or in a file with
`from __future__ import annotations`.
"""

# ruff: noqa: N801

from array import array
from typing import (
    Any,
    ClassVar,
    Generic,
    Literal,
    Protocol,
    TypeAlias,
    final,
    overload,
    type_check_only,
)

from typing_extensions import Buffer, CapsuleType, Required, Self, TypedDict, TypeVar

_T_co = TypeVar("_T_co", covariant=True)
_Element = TypeVar("_Element")
_Floating = TypeVar("_Floating", float, complex, default=float)
_Integral = TypeVar("_Integral", int, complex, default=int)
_Item_co = TypeVar("_Item_co", covariant=True, default=Any)
_Whole_co = TypeVar("_Whole_co", covariant=True)
_Row_co = TypeVar("_Row_co", covariant=True)
_Number = TypeVar("_Number")

# --- what can be given --------------------------------------------------------------------------

@type_check_only
class _Items(Protocol[_T_co]):
    """Anything with a length and items by number; a view of one dimension is an example."""

    def __len__(self) -> int:
        """The extent of the first dimension that is left."""
    def __getitem__(self, index: int, /) -> _T_co: ...

@type_check_only
class _ItemsButNoText(_Items[_T_co], Protocol[_T_co]):
    """The same without `str`, whose items are `str` again, and which contains nothing but `str`."""

    def __contains__(self, value: object, /) -> bool: ...

_Nested: TypeAlias = (
    _Number | _ItemsButNoText[_Nested[_Number]] | _Array[Any, Any, Any] | bytes | bytearray
)
_Initializer: TypeAlias = _Nested[_Number] | Buffer | None
_Vector: TypeAlias = _Items[_Number] | None
_Size: TypeAlias = _Items[int] | None

# A dictionary in first place stands for the keywords of a call, as in pickles; other values may
# follow it. What is computed elsewhere, a `dict[str, Any]`, is passed as `**keywords`.

@type_check_only
class _Keywords(TypedDict, Generic[_Number], total=False):
    initializer: _Initializer[_Number]
    size: _Size
    vector: _Vector[_Number]

@type_check_only
class _RealKeywords(_Keywords[_Number], Generic[_Number], total=False):
    is_complex: Literal[False]

@type_check_only
class _ComplexKeywords(_Keywords[complex | None], total=False):
    is_complex: Required[Literal[True]]

@type_check_only
class _EitherKeywords(_Keywords[_Number], Generic[_Number], total=False):
    is_complex: Required[bool]

# --- what all arrays offer ----------------------------------------------------------------------

@type_check_only
class _Array(Generic[_Element, _Whole_co, _Row_co, _Item_co]):
    """`_Whole_co`: an array of the type that gives views. `_Row_co`: a real one; gives elements."""

    @property
    def size(self) -> tuple[int, ...]:
        """The extents that are left: of the whole array, or of what a view selects."""
    @property
    def _size(self) -> tuple[int, ...]:
        """The same as `size`."""
    @property
    def itemsize(self) -> int:
        """Bytes of an element; of both parts together in a complex array."""
    @property
    def _real(self) -> _Row_co:
        """The same as `real()`."""
    @property
    def _imag(self) -> _Row_co:
        """The same as `imag()`."""
    @property
    def _data(self) -> _Row_co:
        """The same as `noncomplex()`."""
    @property
    def _is_complex(self) -> bool:
        """Whether the elements are complex."""
    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int, /) -> _Item_co:
        """One dimension less: a view of the same elements, or a number when none is left."""
    @overload
    def __getitem__(self, index: slice, /) -> Self:
        """A view of the same elements that keeps the dimension."""
    def __setitem__(self, index: int | slice, value: _Nested[_Element], /) -> None:
        """Write a number, nested values of the shape left, or as many as a slice selects."""
    def __iter__(self) -> OCPyIter[_Item_co]: ...
    def __eq__(self, other: object, /) -> bool: ...
    def __ne__(self, other: object, /) -> bool: ...
    __hash__: ClassVar[None]  # type: ignore[assignment]

    @overload
    def reshape(self, dimensions: _Items[int], /) -> Self:
        """Give the elements other extents, in place, for all views too; their number must stay."""
    @overload
    def reshape(self, first: int, second: int, /, *others: int) -> Self:
        """Give the elements other extents, in place, for all views too; their number must stay."""
    def clone(self) -> _Whole_co:
        """A copy of the selected elements; later calls on one object answer as the first did."""
    def real(self) -> _Row_co:
        """The real parts of the whole array, in storage order, as a view of one dimension."""
    def imag(self) -> _Row_co:
        """The imaginary parts of the whole array, in storage order, as a view of one dimension."""
    def noncomplex(self) -> _Row_co:
        """The elements of the whole real array, in storage order, as a view of one dimension."""
    def buffer_info(self) -> tuple[int, int]:
        """The address of the elements of the whole array, and their number."""
    def get_bytewise_strides(self) -> tuple[int, ...]:
        """Bytes from one element of the whole array to the next, in each dimension."""
    def tomemoryview(self) -> memoryview:
        """The same as `memoryview(a)`: read-only, column-major; no copy of a whole array."""
    def __buffer__(self, flags: int, /) -> memoryview: ...
    def __release_buffer__(self, buffer: memoryview, /) -> None: ...
    def __reduce__(self) -> tuple[type[Any], tuple[dict[str, bool], list[Any]]]: ...

@final
class OCPyIter(Generic[_Item_co]):
    """An iteration over the first dimension that is left."""

    def __iter__(self) -> Self: ...
    def __next__(self) -> _Item_co: ...

# --- the eleven types ---------------------------------------------------------------------------

@final
class double(
    _Array[_Floating, double[_Floating, double[_Floating]], double[float, float], _Item_co],
    Generic[_Floating, _Item_co],
):
    """Floating point numbers of double precision, 8 bytes each.

    `double([[1, 2], [3, 4]])`, `double(size=(2, 3))`, `double([1, 2, 3, 4], size=(2, 2))`,
    `double([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[float] = None,
        size: _Size = None,
        vector: _Vector[float] = None,
        is_complex: Literal[False] = False,
    ) -> double[float, double[float]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> double[complex, double[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[float] = None,
        size: _Size = None,
        vector: _Vector[float] = None,
        *,
        is_complex: bool,
    ) -> double[Any, double[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> double[complex, double[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[float], initializer: _Initializer[float] = None, /
    ) -> double[float, double[float]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> double[complex, double[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[float], initializer: _Initializer[float] = None, /
    ) -> double[Any, double[Any]]: ...
    def toarray(self) -> array[float]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class single(
    _Array[_Floating, single[_Floating, single[_Floating]], single[float, float], _Item_co],
    Generic[_Floating, _Item_co],
):
    """Floating point numbers of single precision, 4 bytes each.

    `single([[1, 2], [3, 4]])`, `single(size=(2, 3))`, `single([1, 2, 3, 4], size=(2, 2))`,
    `single([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[float] = None,
        size: _Size = None,
        vector: _Vector[float] = None,
        is_complex: Literal[False] = False,
    ) -> single[float, single[float]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> single[complex, single[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[float] = None,
        size: _Size = None,
        vector: _Vector[float] = None,
        *,
        is_complex: bool,
    ) -> single[Any, single[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> single[complex, single[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[float], initializer: _Initializer[float] = None, /
    ) -> single[float, single[float]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> single[complex, single[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[float], initializer: _Initializer[float] = None, /
    ) -> single[Any, single[Any]]: ...
    def toarray(self) -> array[float]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class int8(
    _Array[_Integral, int8[_Integral, int8[_Integral]], int8[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Signed integers of 8 bits; values that do not fit are refused.

    `int8([[1, 2], [3, 4]])`, `int8(size=(2, 3))`, `int8([1, 2, 3, 4], size=(2, 2))`,
    `int8([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> int8[int, int8[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> int8[complex, int8[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> int8[Any, int8[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> int8[complex, int8[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int8[int, int8[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> int8[complex, int8[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int8[Any, int8[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class uint8(
    _Array[_Integral, uint8[_Integral, uint8[_Integral]], uint8[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Unsigned integers of 8 bits; values that do not fit are refused.

    `uint8([[1, 2], [3, 4]])`, `uint8(size=(2, 3))`, `uint8([1, 2, 3, 4], size=(2, 2))`,
    `uint8([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> uint8[int, uint8[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> uint8[complex, uint8[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> uint8[Any, uint8[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> uint8[complex, uint8[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint8[int, uint8[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> uint8[complex, uint8[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint8[Any, uint8[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class int16(
    _Array[_Integral, int16[_Integral, int16[_Integral]], int16[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Signed integers of 16 bits; values that do not fit are refused.

    `int16([[1, 2], [3, 4]])`, `int16(size=(2, 3))`, `int16([1, 2, 3, 4], size=(2, 2))`,
    `int16([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> int16[int, int16[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> int16[complex, int16[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> int16[Any, int16[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> int16[complex, int16[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int16[int, int16[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> int16[complex, int16[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int16[Any, int16[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class uint16(
    _Array[_Integral, uint16[_Integral, uint16[_Integral]], uint16[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Unsigned integers of 16 bits; values that do not fit are refused.

    `uint16([[1, 2], [3, 4]])`, `uint16(size=(2, 3))`, `uint16([1, 2, 3, 4], size=(2, 2))`,
    `uint16([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> uint16[int, uint16[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> uint16[complex, uint16[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> uint16[Any, uint16[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> uint16[complex, uint16[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint16[int, uint16[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> uint16[complex, uint16[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint16[Any, uint16[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class int32(
    _Array[_Integral, int32[_Integral, int32[_Integral]], int32[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Signed integers of 32 bits; values that do not fit are refused.

    `int32([[1, 2], [3, 4]])`, `int32(size=(2, 3))`, `int32([1, 2, 3, 4], size=(2, 2))`,
    `int32([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> int32[int, int32[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> int32[complex, int32[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> int32[Any, int32[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> int32[complex, int32[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int32[int, int32[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> int32[complex, int32[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int32[Any, int32[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class uint32(
    _Array[_Integral, uint32[_Integral, uint32[_Integral]], uint32[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Unsigned integers of 32 bits; values that do not fit are refused.

    `uint32([[1, 2], [3, 4]])`, `uint32(size=(2, 3))`, `uint32([1, 2, 3, 4], size=(2, 2))`,
    `uint32([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> uint32[int, uint32[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> uint32[complex, uint32[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> uint32[Any, uint32[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> uint32[complex, uint32[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint32[int, uint32[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> uint32[complex, uint32[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint32[Any, uint32[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class int64(
    _Array[_Integral, int64[_Integral, int64[_Integral]], int64[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Signed integers of 64 bits; values that do not fit are refused.

    `int64([[1, 2], [3, 4]])`, `int64(size=(2, 3))`, `int64([1, 2, 3, 4], size=(2, 2))`,
    `int64([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> int64[int, int64[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> int64[complex, int64[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> int64[Any, int64[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> int64[complex, int64[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int64[int, int64[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> int64[complex, int64[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> int64[Any, int64[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class uint64(
    _Array[_Integral, uint64[_Integral, uint64[_Integral]], uint64[int, int], _Item_co],
    Generic[_Integral, _Item_co],
):
    """Unsigned integers of 64 bits; values that do not fit are refused.

    `uint64([[1, 2], [3, 4]])`, `uint64(size=(2, 3))`, `uint64([1, 2, 3, 4], size=(2, 2))`,
    `uint64([1j], is_complex=True)`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        is_complex: Literal[False] = False,
    ) -> uint64[int, uint64[int]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None] = None,
        size: _Size = None,
        vector: _Vector[complex | None] = None,
        *,
        is_complex: Literal[True],
    ) -> uint64[complex, uint64[complex]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[int] = None,
        size: _Size = None,
        vector: _Vector[int] = None,
        *,
        is_complex: bool,
    ) -> uint64[Any, uint64[Any]]: ...
    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex | None],
        size: _Size,
        vector: _Vector[complex | None],
        is_complex: Literal[True],
    ) -> uint64[complex, uint64[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint64[int, uint64[int]]: ...
    @overload
    def __new__(
        cls, keywords: _ComplexKeywords, initializer: _Initializer[complex | None] = None, /
    ) -> uint64[complex, uint64[complex]]: ...
    @overload
    def __new__(
        cls, keywords: _EitherKeywords[int], initializer: _Initializer[int] = None, /
    ) -> uint64[Any, uint64[Any]]: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

@final
class logical(_Array[bool, logical[logical[Any]], logical[bool], _Item_co], Generic[_Item_co]):
    """Truth values, a byte each; never complex.

    `logical([[True, False], [False, True]])`, `logical(size=(2, 3))`, `logical([True, False],
    size=(2, 1))`. A flat list with a size is the storage, column by column.
    """

    @overload
    def __new__(
        cls,
        initializer: _Initializer[complex] = None,
        size: _Size = None,
        vector: _Vector[complex] = None,
        is_complex: Literal[False] = False,
    ) -> logical[logical]: ...
    @overload
    def __new__(
        cls, keywords: _RealKeywords[complex], initializer: _Initializer[complex] = None, /
    ) -> logical[logical]: ...
    def __setitem__(self, index: int | slice, value: _Nested[int], /) -> None: ...
    def toarray(self) -> array[int]:
        """An `array.array` of the elements of a real view of one dimension."""

class ShapeError(Exception):
    """The number of elements is wrong."""

class SizeError(Exception):
    """The number of elements is right, and the dimensions are not."""

_capi: CapsuleType
