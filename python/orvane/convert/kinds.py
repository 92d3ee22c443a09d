"""The kinds of elements, by the names that other libraries have for them.

The eleven types themselves tell their formats and sizes; nothing of that is written down here.
"""

from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any, NamedTuple

from .. import ARRAY_TYPES, AnyArray
from .._numpy import has_numpy

if TYPE_CHECKING:
    import numpy as np

_LETTERS: dict[type, str] = {each: memoryview(each()).format for each in ARRAY_TYPES}
_SIZES: dict[type, int] = {each: each().itemsize for each in ARRAY_TYPES}
_CODES: dict[type, str] = {
    each: {"?": "b", "d": "f", "f": "f"}.get(letter, "i" if letter.islower() else "u")
    for each, letter in _LETTERS.items()
}
_TYPES_BY_CODE = {(_CODES[each], _SIZES[each]): each for each in ARRAY_TYPES}
_TYPES_BY_NAME = {each.__name__: each for each in ARRAY_TYPES}


class Kind(NamedTuple):
    """The elements of an array: its type, and whether they are complex."""

    array_type: type[AnyArray]
    is_complex: bool = False

    @property
    def code(self) -> str:
        """ "f", "i", "u" or "b", as NumPy calls kinds of numbers; of complex ones, of a part."""
        return _CODES[self.array_type]

    @property
    def letter(self) -> str:
        """The format of an element, or of a part of a complex one."""
        return _LETTERS[self.array_type]

    @property
    def format(self) -> str:
        return "Z" * self.is_complex + self.letter

    @property
    def part_size(self) -> int:
        return _SIZES[self.array_type]

    @property
    def part_dtype(self) -> np.dtype[Any]:
        return Kind(self.array_type).dtype if self.is_complex else self.dtype

    @property
    def dtype(self) -> np.dtype[Any]:
        """NumPy's; complex integers, which it does not have, are structures of two parts."""
        dtype = _DTYPES.get(self)
        if dtype is None:
            dtype = _DTYPES[self] = _make_dtype(self)
        return dtype

    def make(self, *values: Any, **keywords: Any) -> AnyArray:
        """An array, by the constructor."""
        constructor: Any = self.array_type
        array: AnyArray = constructor(*values, **keywords, is_complex=self.is_complex)
        return array

    def __str__(self) -> str:
        name = f"orvane.{self.array_type.__name__}"
        return f"complex {name}" if self.is_complex else name


_DTYPES: dict[Kind, np.dtype[Any]] = {}


def _make_dtype(kind: Kind) -> np.dtype[Any]:
    import numpy as np

    part = np.dtype(f"{kind.code}{kind.part_size}")
    if not kind.is_complex:
        return part
    if kind.code == "f":
        return np.dtype(f"c{2 * kind.part_size}")
    return np.dtype([("real", part), ("imag", part)])


def kind_of(array: AnyArray) -> Kind:
    return Kind(type(array), array._is_complex)


def kind_by_code(code: str, size: int, is_complex: bool = False) -> Kind | None:
    """The kind whose elements, or their parts, have that code and size."""
    array_type = _TYPES_BY_CODE.get((code, size))
    return None if array_type is None else Kind(array_type, is_complex)


def kind_of_dtype(dtype: np.dtype[Any]) -> Kind | None:
    """The kind of NumPy's elements, in whatever order of bytes; None where no type has them."""
    if dtype.kind == "c":
        return kind_by_code("f", dtype.itemsize // 2, is_complex=True)
    if dtype.names == ("real", "imag"):
        real, imag = dtype["real"], dtype["imag"]
        is_pair = real == imag and dtype.itemsize == 2 * real.itemsize and real.kind in "iu"
        return kind_by_code(real.kind, real.itemsize, is_complex=True) if is_pair else None
    return kind_by_code(dtype.kind, dtype.itemsize)


def common_kind(kinds: Iterable[Kind]) -> Kind:
    """The kind that holds what all of them do, as NumPy has it: for int64 and uint64, double."""
    kinds = list(kinds)
    sizes: dict[str, int] = {}
    for kind in kinds:
        sizes[kind.code] = max(kind.part_size, sizes.get(kind.code, 0))
    truth = sizes.pop("b", None)
    if "f" in sizes:
        integers = max(sizes.get("i", 0), sizes.get("u", 0))
        told = "f", max(sizes["f"], 8 if integers > 2 else 0)
    elif len(sizes) == 2:
        size = max(sizes["i"], 2 * sizes["u"])
        told = ("i", size) if size <= 8 else ("f", 8)
    else:
        told = next(iter(sizes.items()), ("b", truth or 1))
    return Kind(_TYPES_BY_CODE[told], any(kind.is_complex for kind in kinds))


class Wish(NamedTuple):
    """What a caller has said of the array to come; nothing of what is None."""

    array_type: type[AnyArray] | None
    is_complex: bool | None
    copy: bool | None

    def kind_for(self, source: Kind) -> Kind:
        """The kind of the array that is made of elements of a kind."""
        array_type = self.array_type or source.array_type
        is_complex = source.is_complex if self.is_complex is None else self.is_complex
        if is_complex and _CODES[array_type] == "b":
            if self.is_complex:
                raise TypeError("logical arrays must not be complex.")
            is_complex = False
        return Kind(array_type, is_complex)


def read_wish(named: Any, is_complex: bool | None, copy: bool | None) -> Wish:
    """The wish that the arguments of `asarray` make.

    A name, or an array type, says nothing of complex or real. A type of NumPy's or of Python's says
    both.
    """
    array_type: type[AnyArray] | None = None
    if is_complex is not None:
        is_complex = _choice("is_complex", is_complex)
    if copy is not None:
        copy = _choice("copy", copy)
    if named is None:
        return Wish(None, is_complex, copy)
    if isinstance(named, str):
        array_type = _TYPES_BY_NAME.get(named.removeprefix("orvane."))
    elif isinstance(named, type) and named in ARRAY_TYPES:
        array_type = named
    if array_type is None:
        kind = _kind_by_name(named)
        if kind is None:
            raise TypeError(f"{named!r} names no type of elements that arrays can have")
        if is_complex is not None and is_complex != kind.is_complex:
            raise ValueError(f"is_complex={is_complex} contradicts the type {named!r}")
        array_type, is_complex = kind
    return Wish(array_type, is_complex, copy)


def _choice(word: str, value: Any) -> bool:
    if type(value).__name__ not in ("bool", "bool_"):  # NumPy's have one of these names
        raise TypeError(f"{word} must be True, False or None, not {value!r}")
    return bool(value)


def _kind_by_name(named: Any) -> Kind | None:
    """What one of NumPy's or Python's names for a type says."""
    if isinstance(named, (str, type)) and named in _KINDS_BY_NAME:
        return _KINDS_BY_NAME[named]
    if not has_numpy():
        return None
    import numpy as np

    try:
        return kind_of_dtype(np.dtype(named))
    except (SyntaxError, TypeError):
        return None


def _kinds_by_name() -> dict[Any, Kind]:
    """Names that are known also where NumPy is not installed."""
    words = {"f": "float", "i": "int", "u": "uint"}
    kinds: dict[Any, Kind] = {}
    for (code, size), array_type in _TYPES_BY_CODE.items():
        word = f"{words[code]}{8 * size}" if code in words else "bool"
        letter = _LETTERS[array_type]
        kinds |= dict.fromkeys((word, letter, f"{code}{size}"), Kind(array_type))
        if code == "f":
            pair = f"complex{16 * size}", letter.upper(), f"c{2 * size}"
            kinds |= dict.fromkeys(pair, Kind(array_type, True))
    pythons = {float: "float64", complex: "complex128", int: "int64", bool: "bool"}
    kinds |= {each: kinds[word] for each, word in pythons.items()}
    return kinds | {each.__name__: kinds[each] for each in pythons}


_KINDS_BY_NAME = _kinds_by_name()
