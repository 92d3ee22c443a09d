"""What is installed: names, symbols, the library, how it is found, and another in its place."""

import ctypes
import importlib.metadata
import os
import re
import shutil
from pathlib import Path

import pytest

import orvane
import orvane._bridge as bridge
import orvanemultidimarrayforpython as extension
import ovexceptions
from native_clients import run
from support import NAMES, python

UNLIKE = {"double": "double", "single": "float", "logical": "bool"}
ELEMENT_TYPES = {name: UNLIKE.get(name, f"{name}_t") for name in NAMES}
EXTENSION = Path(extension.__file__)
LIBRARY = EXTENSION.parent / "orvane" / "lib" / "libOrvaneDataArray.so"
REPLACEMENT = Path(os.environ.get("ORVANE_REPLACEMENT_LIBRARY", "nowhere"))

PROLOGUE = f"import sys; sys.path.insert(0, {str(EXTENSION.parent)!r})\n"


def dynamic_section(file: Path) -> dict[str, list[str]]:
    section: dict[str, list[str]] = {}
    text = run("readelf", "--dynamic", "--wide", file)
    for tag, value in re.findall(r"\((\w+)\).*\[(.*)\]", text):
        section.setdefault(tag, []).append(value)
    return section


def test_the_module_and_the_packages_have_exactly_their_names():
    exceptions = {"ShapeError", "SizeError"}
    names = [name for name in vars(extension) if not name.startswith("__")]
    assert names == [*ELEMENT_TYPES, "OCPyIter", "ShapeError", "SizeError", "_capi"]
    assert set(ovexceptions.__all__) == exceptions
    conversions = {"asarray", "from_dlpack", "to_dlpack", "to_numpy", "tolist", "writable"}
    others = {"AnyArray", "ARRAY_TYPES", "enable_binary_pickles", "get_include", "__version__"}
    assert set(orvane.__all__) == {*ELEMENT_TYPES, *exceptions, *conversions, *others}
    assert set(orvane.__all__) <= set(dir(orvane))
    assert tuple(orvane.ARRAY_TYPES) == orvane.AnyArray.__args__


def test_version_is_that_of_the_distribution():
    try:
        distribution = importlib.metadata.distribution("orvane")
    except importlib.metadata.PackageNotFoundError:
        pytest.skip("the package runs from a build tree")
    assert orvane.__version__ == distribution.version


def test_import_loads_nothing_that_is_not_needed():
    loaded = python(PROLOGUE + "import orvane; print(*sys.modules)", "-I", "-S").split()
    parts = {f"orvane.{name}" for name in ("_bridge", "convert", "transport")}
    assert not {"importlib.metadata", "numpy", "re", *parts} & set(loaded)


def test_exported_data_symbols():
    library = ctypes.CDLL(str(EXTENSION))

    def address(symbol: str) -> int:
        return ctypes.addressof(ctypes.c_char.in_dll(library, symbol))

    types = [getattr(orvane, name) for name in ELEMENT_TYPES]
    assert (ctypes.c_char * 11).in_dll(library, "TypeAsChar").raw == b"dfbBhHiIqQ?"
    pointers = (ctypes.c_void_p * 11).in_dll(library, "TypeObjectPointers")
    assert list(pointers) == list(map(id, types))
    for array_type, element in zip(types, ELEMENT_TYPES.values(), strict=True):
        assert address(f"OCPyArray_Type_{element}") == id(array_type)
    assert address("OCPyIter_Type") == id(extension.OCPyIter)
    getters = ctypes.c_char_p.in_dll(library, "OCPyArray_GetSetMethods")
    assert getters.value == b"size"


def test_the_sdk_is_found_where_the_python_files_lie_elsewhere(tmp_path):
    """As in an editable install, here in a checkout whose path needs quoting."""
    checkout = tmp_path / "my (own) checkout"
    (checkout / "orvane").mkdir(parents=True)
    for file in Path(orvane.__file__).parent.glob("*.py"):
        shutil.copy(file, checkout / "orvane")
    source = f"""sys.path.insert(0, {str(checkout)!r})
import orvane, orvane._sdk as sdk
print(orvane.__file__, sdk.get_include(), sdk.get_cmake_dir(), sdk.get_library_dir(), sep="\\n")
"""
    package, *folders = map(Path, python(PROLOGUE + source).splitlines())
    assert package.parent == checkout / "orvane"
    assert [folder.parent for folder in folders] == [EXTENSION.parent / "orvane"] * 3
    assert all(any(folder.iterdir()) for folder in folders)


@pytest.mark.skipif(not shutil.which("readelf"), reason="readelf is not installed")
def test_the_library_stands_alone_and_is_found_by_a_relative_run_path():
    section = dynamic_section(EXTENSION)
    assert section["RUNPATH"] == ["$ORIGIN/orvane/lib"]
    assert "RPATH" not in section
    assert "libOrvaneDataArray.so" in section["NEEDED"]
    assert not [name for name in section["NEEDED"] if name.startswith("libpython")]
    section = dynamic_section(LIBRARY)
    assert section["SONAME"] == ["libOrvaneDataArray.so"]
    assert not [name for name in section["NEEDED"] if "python" in name]


PARTS = "Type", "MappingMethods", "SequenceMethods"
EXPORTS = {
    LIBRARY: {"get_function_ptr"},
    Path(bridge.__file__): {"PyInit__bridge"},
    EXTENSION: {
        "PyInit_orvanemultidimarrayforpython", "init_types", "TypeAsChar", "TypeObjectPointers",
        "OCPyArray_BufferProcs", "OCPyArray_GetSetMethods", "OCPyIter_Type",
        "_ZN9OCPyError8shapeErrE", "_ZN9OCPyError7sizeErrE",
        *(f"OCPyArray_{part}_{element}" for part in PARTS for element in ELEMENT_TYPES.values()),
    },
}  # fmt: skip


@pytest.mark.skipif(not shutil.which("readelf"), reason="readelf is not installed")
@pytest.mark.parametrize("file", EXPORTS, ids=lambda file: file.name.partition(".")[0])
def test_shared_objects_export_what_is_meant_and_are_hardened(file):
    symbols = run("readelf", "--dyn-syms", "--wide", file)
    assert set(re.findall(r" DEFAULT +\d+ (\S+)", symbols)) == EXPORTS[file]
    assert "__stack_chk_fail" in symbols
    assert "GNU_RELRO" in run("readelf", "--program-headers", "--wide", file)
    assert "BIND_NOW" in run("readelf", "--dynamic", "--wide", file)


USE = """
import orvane
assert str(orvane.double([[1, 2], [3, 4]])) == "[[1.0,2.0],[3.0,4.0]]"
maps = [line.split(maxsplit=5)[-1] for line in open("/proc/self/maps")]
print(*{line for line in maps if "libOrvaneDataArray" in line}, sep="", end="")
"""


def test_the_library_of_the_package_is_the_one_that_is_loaded():
    assert python(PROLOGUE + USE) == f"{LIBRARY.resolve()}\n"


@pytest.mark.skipif(not REPLACEMENT.exists(), reason="no other library has been built")
def test_another_library_can_take_its_place():
    """One that was written from the header for C alone, and ends the process on misuse."""
    environment = {"LD_LIBRARY_PATH": str(REPLACEMENT.parent)}
    loaded = python(PROLOGUE + USE, **environment)
    assert loaded == f"{REPLACEMENT.resolve()}\n"
    names = "buffers construction export fuzz lifecycle methods protocols roads"
    files = [str(Path(__file__).with_name(f"test_{name}.py")) for name in names.split()]
    options = ["-q", "-x", "-p", "no:cacheprovider"]
    tests = f"import pytest; sys.exit(pytest.main({options + files}))"
    python(PROLOGUE + tests, ORVANE_FUZZ_PROGRAMS="60", **environment)
