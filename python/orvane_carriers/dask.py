"""Dask's entry to arrays: it calls `register` when it is imported."""

from __future__ import annotations

import sys
from types import ModuleType
from typing import Any

from . import when_imported

__all__ = ["register"]

_SERIALIZATION = "distributed.protocol.serialize"
#: What else than sizes Dask keeps for each type of objects, and in which of its modules. It
#: measures sizes without those, and in some versions it is one of them that imports the sizes.
_REGISTRIES = {
    _SERIALIZATION: ("dask_serialize", "dask_deserialize"),
    "dask.tokenize": ("normalize_token",),
}


def register(sizeof: Any) -> None:
    """Has Dask know of arrays, once it meets one: how large, how they travel, what names them."""

    def register_types() -> None:
        from orvane.transport.dask import register_serialization, register_sizes

        register_sizes(sizeof)
        if _SERIALIZATION in sys.modules:
            register_serialization()

    sizeof.register_lazy("orvane", register_types)
    for name in _REGISTRIES:
        when_imported(name, _tell)


def _tell(module: ModuleType) -> bool:
    """Has it ask for the arrays' functions at the first array that it meets."""

    def register_types() -> None:
        from orvane.transport.dask import register_serialization, register_tokens

        if module.__name__ == _SERIALIZATION:
            register_serialization()
        else:
            register_tokens()

    registries: list[Any] = [vars(module).get(name) for name in _REGISTRIES[module.__name__]]
    if None in registries:
        return False
    for registry in registries:
        registry.register_lazy("orvane", register_types)
    return True
