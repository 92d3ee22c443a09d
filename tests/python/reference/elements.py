"""The eleven element types: what they accept, what they store, what they give back."""

import ctypes
import math
import struct
from dataclasses import dataclass
from typing import Any

Stored = Any
"""A stored element: a Python number, or a pair of them for a complex kind."""

LARGEST_SINGLE = 3.4028234663852886e38
TOO_LARGE = "Python int too large to convert to C long long"


@dataclass(frozen=True)
class ElementType:
    """One of the eleven types. `low` and `high` bound the integers."""

    name: str
    format: str

    @property
    def size(self) -> int:
        return struct.calcsize("=" + self.format)

    @property
    def is_integer(self) -> bool:
        return self.format not in "df?"

    @property
    def low(self) -> int:
        return 0 if self.name.startswith("u") else -(2 ** (8 * self.size - 1))

    @property
    def high(self) -> int:
        return self.low + 2 ** (8 * self.size) - 1


_NAMES = "double single int8 uint8 int16 uint16 int32 uint32 int64 uint64 logical"
TYPES = tuple(map(ElementType, _NAMES.split(), "dfbBhHiIqQ?"))


def is_sequence(value: object) -> bool:
    """What the interpreter's `PySequence_Check` says of a value."""
    return bool(ctypes.pythonapi.PySequence_Check(ctypes.py_object(value)))


def single_from_float(value: float) -> float:
    """Rounds to 32 bits. What lies beyond the largest single, on either side, is plus infinity."""
    if abs(value) > LARGEST_SINGLE:
        return math.inf
    return struct.unpack("f", struct.pack("f", value))[0]


def single_from_int(value: int) -> float:
    """Rounds an integer to 24 significant bits at once, ties to even."""
    if not -(2**63) <= value < 2**63:
        return math.inf
    magnitude = abs(value)
    shift = max(0, magnitude.bit_length() - 24)
    kept, rest = divmod(magnitude, 1 << shift)
    half = (1 << shift) / 2
    if rest > half or (rest == half and shift and kept % 2):
        kept += 1
    return math.copysign(kept << shift, value)


@dataclass(frozen=True)
class Kind:
    """An element type in its real or its complex form."""

    element: ElementType
    is_complex: bool = False

    @property
    def name(self) -> str:
        return self.element.name

    @property
    def format(self) -> str:
        return ("Z" if self.is_complex else "") + self.element.format

    @property
    def size(self) -> int:
        return self.element.size * (2 if self.is_complex else 1)

    @property
    def zero(self) -> Stored:
        zero: Any = {"d": 0.0, "f": 0.0, "?": False}.get(self.element.format, 0)
        return (zero, zero) if self.is_complex else zero

    def read(self, stored: Stored) -> Any:
        """The Python number that a stored element reads back as."""
        if self.is_complex:
            return complex(float(stored[0]), float(stored[1]))
        return stored

    def pack(self, stored: Stored) -> bytes:
        parts = stored if self.is_complex else (stored,)
        return struct.pack("=" + self.element.format * len(parts), *parts)

    def unpack(self, data: bytes) -> list[Stored]:
        """The stored elements in a block of memory; bytes of logical elements count by truth."""
        if self.element.format == "?":
            return [byte != 0 for byte in data]
        parts = list(struct.unpack(f"={len(data) // self.element.size}{self.element.format}", data))
        return list(zip(parts[::2], parts[1::2], strict=True)) if self.is_complex else parts

    def convert(self, value: object, constructing: bool) -> Stored:
        """Makes an element of a Python value, or raises what the value is refused with."""
        if self.is_complex:
            return self._complex(value)
        if isinstance(value, int):
            return self._from_int(value)
        if isinstance(value, float) and self.name in ("double", "single"):
            return self._from_part(float(value))
        if isinstance(value, float | complex) and self.name == "logical" and constructing:
            return bool(value != 0)
        refusals = {
            float: f"orvane.{self.name} does not accept floating-point values.",
            complex: f"orvane.{self.name} does not accept complex values "
            "if 'is_complex' is not set to 'True'.",
            str: "value is not numeric.",
            type(None): "value must not be 'None'.",
        }
        known = [words for kind, words in refusals.items() if isinstance(value, kind)]
        sequence = ["sequence passed when scalar was expected."] * is_sequence(value)
        raise TypeError([*known, *sequence, "type does not match."][0])

    def _refused(self, value: int | float) -> OverflowError:
        written = f"{value:g}" if isinstance(value, float) else str(int(value))
        return OverflowError(
            f"value ({written}) cannot be stored in a variable of type {self.name}."
        )

    def _from_int(self, value: int) -> Stored:
        value = int(value)
        if self.name == "single":
            return single_from_int(value)
        if not -(2**63) <= value < 2 ** (64 if self.element.format in "BHIQ" else 63):
            raise OverflowError(TOO_LARGE)
        if not self.element.is_integer:
            return float(value) if self.name == "double" else value != 0
        if not self.element.low <= value <= self.element.high:
            raise self._refused(value)
        return value

    def _from_part(self, part: float) -> Stored:
        if self.name == "double":
            return part
        if self.name == "single":
            return single_from_float(part)
        if math.isnan(part):
            return 0
        # Both ends are open and rounded to double, so that the lowest int64 is beyond the limit.
        if not float(self.element.low - 1) < part < float(self.element.high + 1):
            raise self._refused(part)
        return math.trunc(part)

    def _complex(self, value: object) -> Stored:
        if isinstance(value, complex):
            value = complex(value)  # NumPy's have parts of NumPy's
            return self._from_part(value.real), self._from_part(value.imag)
        if isinstance(value, float):
            return self._from_part(float(value)), self.zero[1]
        if isinstance(value, int):
            return self._from_int(value), self.zero[1]
        return self.zero


_FORMS = ((element, is_complex) for element in TYPES for is_complex in (False, True))
KINDS = tuple(Kind(*form) for form in _FORMS if form != (TYPES[-1], True))
