"""A function of arrays, called with blocks."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any

from .. import ARRAY_TYPES
from ..transport.reduction import Carried, arrived
from .blocks import array_of_block, noted, shared
from .library import Delayed, HighLevelGraph, has_keyword, tokenize


class Caller:
    """The function under its name, as Dask calls it and reports of it."""

    def __init__(
        self, function: Callable[..., Any], called: str, blocks_at: tuple[bool, ...]
    ) -> None:
        self.__name__ = called
        self._function = function
        self._blocks_at = blocks_at
        self._wants_id = has_keyword(function, "block_id")

    def _call(self, given: tuple[Any, ...], where: str, keywords: dict[str, Any]) -> Any:
        """What the function gives for blocks, and for arguments that are no blocks."""
        taken = [
            array_of_block(each, f"{where}, argument {place}") if is_block else shared(each)
            for place, (each, is_block) in enumerate(zip(given, self._blocks_at, strict=True), 1)
        ]
        if not self._wants_id:
            del keywords["block_id"]
        keywords = {word: shared(value) for word, value in keywords.items()}
        with noted(where):
            return self._function(*taken, **keywords)

    def __dask_tokenize__(self) -> tuple[Any, ...]:
        return type(self).__name__, self._function, self._blocks_at


def held(value: Any) -> Any:
    """An array that all tasks are given, as a task of its own: it travels once, as a block."""
    if not isinstance(value, ARRAY_TYPES):
        return value
    name = f"{type(value).__name__}-{tokenize(value)}"
    layer = {name: (arrived, Carried(value))}
    return Delayed(name, HighLevelGraph.from_collections(name, layer, dependencies=()))
