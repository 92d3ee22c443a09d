"""What goes into a program: shapes, subscripts, right sides, and exporters that lie."""

import array
import math
import random
from contextlib import suppress
from fractions import Fraction
from typing import Any

import numpy

from impostors import Exporter, Index, Sequence
from reference.array import View
from reference.elements import KINDS, Kind
from reference.nested import without_trailing_ones
from support import BIG, counted

Chance = random.Random
FAR = 2**63 - 1

at = numpy.s_
USUAL = at[:], at[1:], at[:-1], at[:2], at[1:3], at[2:4], at[3::-2], at[::-1], at[-1:0:-1], at[::2]
RAGGED = [[[], []], [[1], [2]]], [[1, 2], [3]], [1, []], [[[]], [1]], [[], 1]
BLOCKS = array.array | bytes | bytearray | memoryview | numpy.ndarray | numpy.generic
PARAMETERS = "initializer", "size", "vector", "is_complex", "x", 1
# fmt: off
STRANGE = (
    BIG, -BIG, FAR, -FAR - 1, None, 1.0, (0, 1), "x", ..., True, False, slice(None, None, 0),
    slice("x"), slice(None, None, "x"), slice(1.5, None), slice(0, b"", None),
)
SCALARS = (
    0, 1, -1, 2, 77, 127, 128, 255, 300, 2**31, 2**40, 2**53 + 1, FAR, 2**63, 2**64 - 1, 2**64,
    -(2**63), -(2**64), 1.5, -0.75, 3.5e38, 1e300, math.inf, -math.inf, True, 1j, 3 - 4j,
    complex(500, 1), complex(2.0**63, 0), None, "5", b"7", [], {}, (), object, numpy.float32(1),
)
ODD = (
    *STRANGE, *SCALARS, object(), math, NotImplemented, Fraction(1, 3), int, "", {1, 2}, Index(1),
)
# fmt: on


def kind(chance: Chance) -> Kind:
    return chance.choice([*KINDS, *KINDS[:2] * 4])


def shape(chance: Chance) -> list[int]:
    roll = chance.random()
    if roll < 0.4:
        dims = chance.choices(range(1, 7), k=2)
    elif roll < 0.8:
        dims = chance.choices(range(1, 5), k=chance.choice([3, 3, 4]))
    elif roll < 0.87:  # more dimensions than short cuts make room for
        dims = chance.choices([1, 2, 2], k=chance.randint(5, 10))
    elif roll < 0.92:
        dims = chance.choices(range(4), k=chance.randint(2, 4))
    elif roll < 0.97:
        dims = chance.choice([[40, 30], [3, 300], [300, 3], [17, 9, 8], [1, 1000], [65, 1, 9]])
    else:
        dims = [0, *chance.choice([[2**62], [2**31, 3], [3, 2**40], [2**62, 2**62]])]
    return without_trailing_ones(dims)


def other_shape(chance: Chance, view: View) -> list[Any]:
    """Other extents for the same elements, or what is none."""
    dims, count = list(view.shape), len(view.storage.elements)
    chance.shuffle(dims)
    first = chance.choice([d for d in range(1, min(count, 50) + 1) if count % d == 0] or [0])
    wrong = chance.choice([[2, 1.5], [2**32, 2**32], [-1, 2], [6], [], [True, True], [None]])
    merged, flat = [dims[0] * dims[1], 1, *dims[2:], 1], [dims[0], math.prod(dims[1:])]
    halves = [first, count // max(first, 1)]
    (dims,) = chance.choices([dims, merged, flat, halves, wrong], [30, 15, 30, 20, 5])
    if count == 0 and max(view.shape) > 10_000:
        dims.sort(key=bool)  # nothing may be walked that long: what is empty comes first
    return dims


def subscript(chance: Chance, view: View) -> Any:
    roll, pick, extents = chance.random(), chance.choice, view.shape[len(view.fixed) :]
    if roll < 0.1 and extents:
        return extents[0] - pick([0, 1, 1, 2])
    if roll < 0.5:
        return pick([-3, -2, -1, 0, 0, 0, 1, 1, 1, 2, 2, 3, 4, 5])
    if roll < 0.75:
        return pick(USUAL)
    if roll > 0.96:
        return pick(STRANGE)
    near, steps = [None, *range(-3, 7)], [None, None, 1, -1, 2, -2]
    if roll > 0.9:
        near += [-7, 7, BIG, -BIG, FAR, -FAR - 1] * 2
        steps = [None, 1, -1, 3, -3, FAR, 2**62, -BIG]
    return slice(pick(near), pick(near), pick(steps))


def fitting_shape(view: View, subscript: Any) -> list[int]:
    """The shape of the right side that an assignment would most likely take."""
    length, *rest = view.shape[len(view.fixed) :] or [0]
    with suppress(AttributeError, TypeError, ValueError):
        return [len(range(*subscript.indices(length))), *rest]
    return rest


def right_side(chance: Chance, kind: Kind, shape: list[int]) -> Any:
    """A value for a place of this shape, mostly one that fits."""
    first, count, pick = chance.randrange(120), math.prod(shape), chance.choice
    if count > 2000 or max(shape, default=0) > 10_000 or (not shape and chance.random() < 0.5):
        return pick(SCALARS)

    def elements(count: int, start: int = 0) -> list[Any]:
        numbers = counted(kind, count, first + start)
        if kind.is_complex:
            numbers[::3] = [int(x.real) for x in numbers[::3]]
        return numbers

    def nest(dims: list[int], make: Any = list, start: int = 0) -> Any:
        if len(dims) < 2:
            return make(elements(*dims, start)) if dims else elements(1, start)[0]
        below = math.prod(dims[1:])
        return make([nest(dims[1:], make, start + i * below) for i in range(dims[0])])

    return pick(
        [lambda: nest(shape)] * 10
        + [
            lambda: pick([list, tuple])(elements(count)),
            lambda: pick([list, tuple])(elements(max(0, count + pick([-2, -1, 1, 2])))),
            lambda: pick(SCALARS),
            lambda: nest(chance.choices(range(4), k=chance.randint(1, 3))),
            lambda: pick(RAGGED),
            lambda: nest(shape, lambda row: [pick(SCALARS) for _ in row]),
            lambda: nest([*shape, 1]),
            lambda: nest(shape, lambda row: pick([list, tuple, Sequence])(row)),
            *[lambda: block(chance, shape)] * 5,
        ]
    )()


def block(chance: Chance, shape: list[int]) -> Any:
    """Numbers that something else than a list holds."""
    count, code, pick = math.prod(shape), chance.choice("bBhHiIlLqQfdd"), chance.choice
    many = [i % 100 for i in range(2 * count)]
    numbers = numpy.array(many[:count]).astype(pick("ddddDDqf?")).reshape(shape, order=pick("CF"))
    if shape and chance.random() < 0.3:
        numbers = numpy.concatenate([numbers, numbers])[::-2][: shape[0]]
    start = chance.randint(-3, 90) if chance.random() < 0.8 else pick(SCALARS[:16]) - pick([1, 3])
    return pick(
        [
            *[numbers, numbers, pick([list, tuple])(numbers) if shape else numbers],
            *[range(start, start + count), pick([bytes, bytearray])(many[:count])],
            array.array(code, many[:count]),
            memoryview(array.array(code, many))[:: pick([2, -2])],
        ]
    )


def anything(chance: Chance, depth: int = 3) -> Any:
    """Any object at all."""
    roll = chance.random()
    if depth == 0 or roll < 0.5:
        return chance.choice(ODD)
    if roll < 0.65:
        return block(chance, [2, 2]) if roll < 0.6 else liar(chance, kind(chance))
    items = [anything(chance, depth - 1) for _ in range(chance.randrange(4))]
    if roll < 0.7:
        return dict(zip(chance.sample(PARAMETERS, len(items)), items, strict=True))
    if roll < 0.75:
        return Sequence(items, chance.randrange(5))
    return chance.choice([list, tuple])(items)


def liar(chance: Chance, kind: Kind) -> Exporter:
    """An exporter that tells the truth but for a field or two; what can be believed lies inside."""
    dims = chance.choice([[6], [2, 3], [3, 2], [2, 2, 2], [1, 6], [0, 3], [4, 1]])
    size, length = kind.size, kind.size * math.prod(dims)
    columns = tuple(size * math.prod(dims[:d]) for d in range(len(dims)))
    rows = tuple(size * math.prod(dims[d + 1 :]) for d in range(len(dims)))
    told: dict[str, Any] = {
        "format_": chance.choice("B?") if kind.name == "logical" else kind.format,
        "strides": chance.choice([columns, rows, None]),
        "itemsize": size,
        "shape": tuple(dims),
        "length": length,
        "ndim": len(dims),
    }
    # fmt: off
    lies: dict[str, Any] = {
        "format_": [None, "", "Z", "Zd", "d", "<d", "=d", "b", "B", "?", "q", "é", "dd", "T{d:x:}"],
        "itemsize": [0, 1, size + 1, size * 2, -size, 2**62, -(2**63)],
        "shape": [None, (2**62, 4), (-1, 6), (6, -1), (FAR, 2), (2, 3, 0), (0, FAR), (7,), (5, 5)],
        "length": [0, -1, -size, size, 7, length + 1, length + size, 2**61 + 8],
        "strides": [(0,) * 3, (-size, -size, -size), (2**62,) * 3, (1,) * 3, rows],
        "ndim": [0, 1, 2, 65, -1],
        "misaligned": [True],
    }
    # fmt: on
    for name in chance.sample(list(lies), k=chance.choice([0, 1, 1, 1, 2, 2, 3])):
        told[name] = chance.choice(lies[name])
    for name in ("shape", "strides"):  # there are as many numbers as are told, or none
        given, most = told[name], max(told["ndim"], 1)
        told[name] = given[:most] if given and len(given) >= most else None
    return Exporter(bytes(range(100)) * 41, **told)
