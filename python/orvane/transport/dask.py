"""Arrays for Dask: how large they are, what names them, and how they go from process to process."""

from __future__ import annotations

import math
import sys
from pickle import PickleBuffer
from typing import Any

from .. import ARRAY_TYPES, AnyArray
from .reduction import Carried, array_from_elements

_AHEAD = memoryview(bytearray(1))
_OWN_FRAME = 1 << 17
"""Bytes from which on a message comes in several reads: the first of its buffers with all headers,
at whatever address is next to them, and each of the others into a block of its own. So one is sent
ahead of the elements, which then are aligned where they arrive, and need not be copied."""


def register_sizes(sizeof: Any) -> None:
    for array_type in ARRAY_TYPES:
        sizeof.register(array_type, size_of)


def register_tokens() -> None:
    """Needs ``dask.tokenize`` among the loaded modules."""
    normalize_token: Any = sys.modules["dask.tokenize"].normalize_token
    for array_type in ARRAY_TYPES:
        normalize_token.register(array_type, token_of)


def register_serialization() -> None:
    """Needs ``distributed.protocol.serialize`` among the loaded modules."""
    serialization: Any = sys.modules["distributed.protocol.serialize"]
    for array_type in ARRAY_TYPES:
        serialization.dask_serialize.register(array_type, serialize)
        serialization.dask_deserialize.register(array_type, deserialize)


def size_of(array: AnyArray) -> int:
    return sys.getsizeof(array) + math.prod(array.size) * array.itemsize


def token_of(array: AnyArray) -> tuple[Any, ...]:
    """What is the same for arrays that show the same; Dask would pickle them to find out."""
    hashing: Any = sys.modules["dask.hashing"]
    told = type(array).__name__, array.size, array._is_complex
    return "orvane", *told, hashing.hash_buffer_hex(Carried(array).block())


def serialize(array: AnyArray) -> tuple[dict[str, Any], list[Any]]:
    told = {"type": type(array).__name__, "size": array.size, "is_complex": array._is_complex}
    elements = PickleBuffer(Carried(array).block())
    frames = [_AHEAD, elements] if elements.raw().nbytes >= _OWN_FRAME else [elements]
    return told | {"byteorder": sys.byteorder}, frames


def deserialize(header: dict[str, Any], frames: list[Any]) -> AnyArray:
    name = header["type"]
    array_type = next((each for each in ARRAY_TYPES if each.__name__ == name), None)
    if array_type is None:
        raise ValueError(f"no array type has the name {name!r}")
    size, is_complex = tuple(header["size"]), header["is_complex"]
    elements = frames[-1] if frames else b""
    return array_from_elements(array_type, size, is_complex, elements, header["byteorder"])
