"""What the tests share: arrays of every kind, and exact refusals."""

import math
import os
import re
import subprocess
import sys
import sysconfig
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import pytest

import orvane
from ovexceptions import ShapeError, SizeError
from reference.elements import KINDS, TYPES, Kind

NAMES = [element.name for element in TYPES]
KIND_OF = {kind.format: kind for kind in KINDS}
DOUBLE, COMPLEX = KIND_OF["d"], KIND_OF["Zd"]

each_type = pytest.mark.parametrize("name", NAMES)
each_kind = pytest.mark.parametrize("kind", KINDS, ids=lambda kind: f"{kind.name}-{kind.format}")

BIG = 2**70
WORDS = {
    "NUMERIC": "value passed to initializer must be numeric.",
    "RECTANGULAR": "arrays must be rectangular.",
    "SIBLINGS": "elements of array are of different lengths or types.",
    "SHAPE": "unable to perform assignment because the left and right sides have a"
    " different shape.",
    "SUBSCRIPT": "index is not an integer or slice.",
    "TOO_MANY": "too many indices.",
    "NULL": "null data pointer.",
    "NONE": "value must not be 'None'.",
    "TYPE": "type does not match.",
    "LARGE": "Python int too large to convert to C long long",
    "SSIZE": "Python int too large to convert to C ssize_t",
    "STEP": "slice step cannot be zero.",
}

ERRORS = {
    **{e.__name__: e for e in (TypeError, ValueError, IndexError, OverflowError, RuntimeError)},
    **{
        e.__name__: e
        for e in (BufferError, FileExistsError, KeyError, MemoryError, ZeroDivisionError)
    },
    **{e.__name__: e for e in (ShapeError, SizeError)},
}
NAMESPACE = {name: getattr(orvane, name) for name in NAMES} | {"BIG": BIG}
NAMESPACE |= {"inf": math.inf, "nan": math.nan}


def evaluate(expression: str, **names: Any) -> Any:
    """The value of an expression in which the eleven types stand under their short names."""
    return eval(expression, {**NAMESPACE, **names})


def execute(statement: str, **names: Any) -> None:
    exec(statement, {**NAMESPACE, **names})


def table(text: str) -> Any:
    """Rows of `expression -> answer`; an indented line continues the row above it."""
    rows = re.sub(r"\n +", " ", text.strip("\n")).splitlines()
    split = [tuple(part.strip() for part in row.split(" -> ")) for row in rows]
    return pytest.mark.parametrize(("expression", "answer"), split, ids=[row[0] for row in split])


@contextmanager
def answered_by(answer: str) -> Iterator[bool]:
    """An answer like `ValueError: words` must be raised by the block, as `refused` says. Any other
    answer is no error: gives true, and the block compares."""
    kind, _, words = answer.partition(": ")
    if kind not in ERRORS:
        yield True
        return
    with refused(ERRORS[kind], words):
        yield False


def check(expression: str, answer: str, **names: Any) -> None:
    """Holds one row of a table: arrays are compared by what they show."""
    with answered_by(answer) as expects_value:
        value = evaluate(expression, **names)
        if expects_value:
            value = nested(value) if hasattr(value, "_is_complex") else value
            expected = evaluate(answer, **names)
            assert (type(value), repr(value)) == (type(expected), repr(expected))


@contextmanager
def refused(exception: type[BaseException], message: str) -> Iterator[None]:
    """The block must raise exactly this type with exactly these words, or those under that key."""
    with pytest.raises(BaseException) as caught:  # noqa: PT011
        yield
    assert (type(caught.value), str(caught.value)) == (exception, WORDS.get(message, message))


def make(kind: Kind, *values: Any, **keywords: Any) -> Any:
    if kind.is_complex:
        keywords["is_complex"] = True
    return getattr(orvane, kind.name)(*values, **keywords)


def counted(kind: Kind, count: int, first: int = 0) -> list[Any]:
    """Numbers that every kind can hold; of a complex one, both parts tell the place."""
    numbers = range(first, first + count)
    if kind.is_complex:
        return [complex(i % 120, i * 7 % 100) for i in numbers]
    return [i % 2 == 0 if kind.name == "logical" else i % 120 for i in numbers]


def grid(*shape: int, kind: Kind = DOUBLE, first: int = 0) -> Any:
    """An array counting up in storage order."""
    return make(kind, vector=counted(kind, math.prod(shape), first), size=shape)


def nested(array: Any) -> Any:
    """What an array shows, as nested lists, by iteration."""
    return [nested(item) if hasattr(item, "_is_complex") else item for item in array]


def parts_of(array: Any) -> dict[str, Any]:
    """Views of an array of three dimensions, by what they are."""
    return {
        "whole": array,
        "row": array[1],
        "line": array[0][1],
        "slice": array[1:],
        "reversed": array[1][::-1],
        "nothing": array[2:],
    }


def stored_bytes(array: Any) -> bytes:
    """The exported elements in storage order."""
    return memoryview(array).tobytes(order="A")


def outcome(call: Callable[[], Any]) -> tuple[Any, ...]:
    """What a call gave or raised, in a form that can be compared with another call's."""
    try:
        value = call()
    except Exception as error:
        return "raised", type(error), str(error)
    return "gave", type(value).__name__, value


#: Such an interpreter warns of a module that has it enable its lock, unless told to do so itself.
FREE_THREADED = bool(sysconfig.get_config_var("Py_GIL_DISABLED"))


def python(program: str, *options: str, **environment: str) -> str:
    """What a fresh interpreter prints that runs the program, without an error or a complaint."""
    options = ("-Xgil=1", *options) if FREE_THREADED else options
    command, environment = [sys.executable, *options, "-c", program], os.environ | environment
    done = subprocess.run(command, capture_output=True, text=True, env=environment, timeout=1000)
    told = re.sub(r"==\d+==WARNING: AddressSanitizer failed to allocate .*\n", "", done.stderr)
    assert (done.returncode, told) == (0, ""), done.stdout + done.stderr
    return done.stdout
