"""How refusals name the first element that they are about."""

from __future__ import annotations

from collections.abc import Iterable
from typing import TYPE_CHECKING, Any

if TYPE_CHECKING:
    import numpy as np


def subscripts(place: Iterable[Any]) -> str:
    """ "[1][2]"; nothing where there is but one element."""
    return "".join(f"[{int(index)}]" for index in place)


def first_place(chosen: np.ndarray[Any, np.dtype[Any]]) -> tuple[Any, ...]:
    """Where the first truth stands, last dimension fastest."""
    import numpy as np

    return tuple(np.unravel_index(int(np.argmax(chosen)), chosen.shape))


def refuse_misfit(kind: object, value: object, place: Iterable[Any]) -> ValueError:
    return ValueError(f"{_located('the element', place)}, {value}, does not fit into {kind}")


def refuse_missing(word: object, place: Iterable[Any], advice: str) -> ValueError:
    return ValueError(f"{_located('the value', place)} is missing ({word}): {advice}")


def _located(noun: str, place: Iterable[Any]) -> str:
    where = subscripts(place)
    return f"{noun} at {where}" if where else noun
