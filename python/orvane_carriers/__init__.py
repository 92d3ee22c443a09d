"""Tells those who carry objects between processes of arrays, as soon as both are there.

This package stands beside `orvane`, so that Dask can ask it without loading the arrays where nobody
has any, and loads nothing itself.
"""

import sys

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Callable, Sequence
    from importlib.machinery import ModuleSpec
    from types import ModuleType
    from typing import Any, TypeAlias

    _Tell: TypeAlias = Callable[[ModuleType], bool]

__all__ = ["when_imported"]


def when_imported(name: str, tell: "_Tell") -> None:
    """Has `tell` called with the module of that name whenever it has been imported.

    At once where it is there. `tell` gives False for a module that does not have what is asked for,
    or not yet, since its import has only begun; it is called again then at a later import, of which
    there are many. It must not raise: it runs inside the imports of others.
    """
    observer = next((each for each in sys.meta_path if isinstance(each, _Observer)), None)
    if observer is None:
        observer = _Observer()
        sys.meta_path.insert(0, observer)
    tells = observer.wanted.setdefault(name, [])
    if tell not in tells:
        tells.append(tell)
    if name in sys.modules:
        observer.tell(sys.modules[name], [tell])


class _Observer:
    """Sees modules being imported, and has them told when that is done.

    They have no entry points of their own, and to import them from here would have everybody pay
    for it, or go round in a circle. So this stands in front of the other finders for as long as the
    process lives. It finds nothing itself: for those names it asks those behind it, and puts itself
    between the import and the loader that they give. It keeps no state of that: a module may be
    looked for without being imported, fail and be tried again, be reloaded, and be wanted by
    several threads at once, which the interpreter's lock of the module keeps apart. The module
    itself gets its own loader.
    """

    def __init__(self) -> None:
        self.wanted: dict[str, list[_Tell]] = {}
        self._begun: list[tuple[ModuleType, _Tell]] = []

    def tell(self, module: "ModuleType", those: "Sequence[_Tell]") -> None:
        self._begun += [(module, each) for each in those if not each(module)]

    def find_spec(
        self, fullname: str, path: "Sequence[str] | None", target: "ModuleType | None" = None
    ) -> "ModuleSpec | None":
        if self._begun:
            begun, self._begun = self._begun, []
            for module, tell in begun:
                self.tell(module, [tell])
        if fullname not in self.wanted:
            return None
        finders: list[Any] = list(sys.meta_path)
        behind = finders.index(self) + 1 if self in finders else 0
        for finder in finders[behind:]:
            ask = getattr(finder, "find_spec", None)
            spec: ModuleSpec | None = ask(fullname, path, target) if ask is not None else None
            if spec is not None:
                if hasattr(spec.loader, "exec_module"):
                    between: Any = _Between(spec.loader, self)
                    spec.loader = between
                return spec
        return None


class _Between:
    """A loader that has a module told once it has been executed; all else is as the other says."""

    def __init__(self, loader: "Any", observer: _Observer) -> None:
        self._loader, self._observer = loader, observer

    def __getattr__(self, name: str) -> "Any":
        return getattr(self._loader, name)

    def create_module(self, spec: "ModuleSpec") -> "ModuleType | None":
        module: ModuleType | None = self._loader.create_module(spec)
        return module

    def exec_module(self, module: "ModuleType") -> None:
        module.__loader__ = self._loader
        if module.__spec__ is not None:
            module.__spec__.loader = self._loader
        self._loader.exec_module(module)
        self._observer.tell(module, self._observer.wanted.get(module.__name__, ()))
