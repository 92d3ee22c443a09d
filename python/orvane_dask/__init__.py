"""Dask's entry to arrays: it calls `register` when it is imported.

This package stands beside `orvane`, so that Dask does not load the arrays where nobody has any.
"""

import sys
from collections.abc import Sequence
from importlib.abc import MetaPathFinder
from importlib.machinery import ModuleSpec
from importlib.util import find_spec
from types import ModuleType
from typing import Any

__all__ = ["register"]

_SERIALIZATION = "distributed.protocol.serialize"


def register(sizeof: Any) -> None:
    """Has Dask know how large arrays are, once it meets one."""

    def register_types() -> None:
        from orvane.transport.dask import register_serialization, register_sizes

        register_sizes(sizeof)
        if _SERIALIZATION in sys.modules:
            register_serialization()

    sizeof.register_lazy("orvane", register_types)
    if "orvane" in sys.modules and _SERIALIZATION not in sys.modules:
        # Arrays may come from a worker before this process has measured any of its own. (Who
        # imports orvane later finds Dask's part loaded.)
        sys.meta_path.insert(0, _Observer())


class _Observer(MetaPathFinder):
    """Sees Dask's serialisation being imported, once, and registers arrays there."""

    def find_spec(
        self, fullname: str, path: Sequence[str] | None, target: ModuleType | None = None
    ) -> ModuleSpec | None:
        if fullname != _SERIALIZATION:
            return None
        sys.meta_path.remove(self)
        spec = find_spec(fullname)
        if spec is not None and spec.loader is not None:
            execute = spec.loader.exec_module

            def execute_and_register(module: ModuleType) -> None:
                execute(module)
                from orvane.transport.dask import register_serialization

                register_serialization()

            spec.loader.exec_module = execute_and_register  # type: ignore[method-assign]
        return spec
