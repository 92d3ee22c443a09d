"""Dask's entry to arrays: it calls `register` when it is imported.

This package stands beside `orvane`, so that Dask does not load the arrays where nobody has any.
"""

import sys
from collections.abc import Callable, Sequence
from importlib.abc import Loader, MetaPathFinder
from importlib.machinery import ModuleSpec
from types import ModuleType
from typing import Any

__all__ = ["register"]

_SERIALIZATION = "distributed.protocol.serialize"
#: What else than sizes Dask keeps for each type of objects, and in which of its modules.
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
    loaded = [sys.modules[name] for name in _REGISTRIES if name in sys.modules]
    begun = [module for module in loaded if not _tell(module)]
    if not any(isinstance(finder, _Observer) for finder in sys.meta_path):
        sys.meta_path.insert(0, _Observer(begun))


def _tell(module: ModuleType) -> bool:
    """Has it ask for the arrays' functions at the first array that it meets.

    False for a module that does not have the registries, or not yet. No error: this runs inside the
    import of Dask's modules, which are not to fail for it.
    """

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


class _Observer(MetaPathFinder):
    """Sees those modules of Dask's being imported, and tells them of arrays when that is done.

    Dask measures sizes without them, and they have no entry points of their own; to import them
    from here would have everybody who uses Dask pay for it, or go round in a circle. So this stands
    in front of the other finders for as long as the process lives. It finds nothing itself: for
    those names it asks those behind it, and puts itself between the import and the loader that they
    give. It keeps no state of that: a module may be looked for without being imported, fail and be
    tried again, be reloaded, and be wanted by several threads at once, which the interpreter's lock
    of the module keeps apart. The module itself gets its own loader.

    In some versions of Dask it is one of these modules that imports the sizes first, so this comes
    when that has begun. It is told then as soon as a next module is imported; there are many.
    """

    def __init__(self, begun: list[ModuleType]) -> None:
        self._begun = begun

    def find_spec(
        self, fullname: str, path: Sequence[str] | None, target: ModuleType | None = None
    ) -> ModuleSpec | None:
        if self._begun:
            self._begun = [module for module in self._begun if not _tell(module)]
        if fullname not in _REGISTRIES:
            return None
        finders = list(sys.meta_path)
        behind = finders.index(self) + 1 if self in finders else 0
        for finder in finders[behind:]:
            ask = getattr(finder, "find_spec", None)
            spec: ModuleSpec | None = ask(fullname, path, target) if ask is not None else None
            if spec is not None:
                if hasattr(spec.loader, "exec_module"):
                    spec.loader = _Between(spec.loader, _tell)
                return spec
        return None


class _Between(Loader):
    """A loader that tells of a module once it has been executed; all else is as the other says."""

    def __init__(self, loader: Any, tell: Callable[[ModuleType], object]) -> None:
        self._loader, self._tell = loader, tell

    def __getattr__(self, name: str) -> Any:
        return getattr(self._loader, name)

    def create_module(self, spec: ModuleSpec) -> ModuleType | None:
        module: ModuleType | None = self._loader.create_module(spec)
        return module

    def exec_module(self, module: ModuleType) -> None:
        module.__loader__ = self._loader
        if module.__spec__ is not None:
            module.__spec__.loader = self._loader
        self._loader.exec_module(module)
        self._tell(module)
