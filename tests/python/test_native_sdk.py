"""Arrays in and out of native modules through the C++ headers, pybind11 and nanobind."""

import gc
import os
import shlex
import shutil
import sys
import sysconfig
from array import array
from pathlib import Path
from typing import Any

import pytest

import native_clients
import orvane
import orvanemultidimarrayforpython
from impostors import Exporter, from_stored
from native_clients import COMPILER, ROOT, ask_package, build_directory, run, samples
from support import KINDS, answered_by, check, each_kind, evaluate, refused, stored_bytes, table

REPLACEMENT = Path(os.environ.get("ORVANE_REPLACEMENT_LIBRARY", "nowhere"))


def doubles(described: tuple[Any, ...]) -> list[float]:
    """The elements in what the typed client tells of an array."""
    return array("d", described[2]).tolist()


@each_kind
def test_every_kind_goes_in_and_comes_out_unchanged(typed, kind):
    data = b"".join(map(kind.pack, samples(kind)))
    made, place = typed.make(kind.format, (3, 2), data)
    assert type(made) is getattr(orvane, kind.name)
    assert (made._is_complex, made.size, stored_bytes(made)) == (kind.is_complex, (3, 2), data)
    assert typed.take(kind.format, made) == ((3, 2), (1, 3), data, place)
    python_made = from_stored(kind, samples(kind), 1, 3, 2)
    assert typed.take(kind.format, python_made)[:3] == ((1, 3, 2), (1, 1, 3), data)
    assert typed.take_any(python_made) == typed.take(kind.format, python_made)
    elements, matrix = [*map(kind.pack, samples(kind))], python_made[0]
    for view, places in (matrix[::2], (0, 2, 3, 5)), (matrix[:2], (0, 1, 3, 4)):
        assert typed.take_gapless(kind.format, view) == b"".join(elements[i] for i in places)
    for other in KINDS:
        if other != kind:
            with pytest.raises(TypeError):
                typed.take(other.format, made)


def test_blocks_live_as_long_as_anybody_who_holds_them(typed):
    typed.count_freed_buffers()
    made, _ = typed.make("d", (2, 2), array("d", [1, 2, 3, 4]))
    view, exported = made[0], memoryview(made)
    references = sys.getrefcount(made)
    typed.keep(made, False)
    assert sys.getrefcount(made) == references + 1
    made[0][0] = 10
    del made, view
    exported.release()
    gc.collect()
    assert typed.count_freed_buffers() == 0
    assert doubles(typed.describe_kept()) == [10, 2, 3, 4]
    typed.drop_kept_elsewhere(False)
    assert typed.count_freed_buffers() == 1


def test_a_kept_copy_is_independent(typed):
    a = orvane.double([[1, 2]])
    references = sys.getrefcount(a)
    copy = typed.keep(a, True)
    assert sys.getrefcount(a) == references
    a[0][0] = 9
    a.reshape(2, 1)
    assert (copy, copy[0], doubles(copy)) == (typed.describe_kept(), (1, 2), [1, 2])
    typed.drop_kept_elsewhere(False)


@table("""
'd', [1.0] -> a real orvane.double array, got list
'd', None -> a real orvane.double array, got NoneType
'?', uint8() -> an orvane.logical array, got orvane.uint8
'Zf', double -> a complex orvane.single array, got type
'd', double(is_complex=True) -> a real orvane.double array, got a complex orvane.double array
'Zh', int16([[1, 2]])[0] -> a complex orvane.int16 array, got a real orvane.int16 array
""")
def test_what_is_no_such_array(typed, expression, answer):
    with refused(TypeError, f"expected {answer}"):
        typed.take(*evaluate(expression))


@table("""
take_null(False) -> TypeError: expected a real orvane.double array, got null
take_null(True) -> KeyError: 'the true reason'
take_any({}) -> TypeError: expected an orvane array, got dict
from_buffer('text') -> TypeError: expected an object with a buffer, got str
from_buffer(Exporter(bytes(8), '>d', 8, (1,))) -> RuntimeError: format character not supported: >
from_buffer(b'ab') -> [[97, 98]]
throw_fault('memory') -> MemoryError: NO WORDS
throw_fault('refusal') -> RuntimeError: Can't convert the Array to this TypedArray
throw_fault('bytes') -> RuntimeError: caf\\xe9
throw_fault('other') -> RuntimeError: a fault of the client's own
""")
def test_faults_become_errors_of_python(typed, expression, answer):
    check(f"typed.{expression}", answer.replace("NO WORDS", ""), typed=typed, Exporter=Exporter)


def test_bound_functions_take_and_return_arrays(bound):
    a = orvane.double([[1, 2], [3, 4]])
    references = sys.getrefcount(a)
    assert bound.doubled(a) == orvane.double([[2, 4], [6, 8]])
    assert bound.doubled(a[1]) == orvane.double([[6, 8]])
    assert bound.doubled(orvane.single([1j], is_complex=True))[0][0] == 2j
    assert bound.negated(orvane.logical([True, False])) == orvane.logical([False, True])
    back = bound.handed_back(a)
    a[0][0] = 5
    assert (str(back), bound.sum(a)) == ("[[1.0,2.0],[3.0,4.0]]", 14)
    for wrong in ([1.0], None, orvane.int8(), orvane.double(is_complex=True)):
        with pytest.raises(TypeError, match=r"orvane\.double\b.*-> float"):
            bound.sum(wrong)
    with pytest.raises(TypeError):
        bound.negated(a)
    assert "orvane.single[complex]" in bound.doubled.__doc__
    assert sys.getrefcount(a) == references


@table("""
'typed', [1.0] -> TypeError: expected a real orvane.double array, got list
'any', {} -> TypeError: expected an orvane array, got dict
'own', [] -> BufferError: of the client's own
'memory', [] -> MemoryError
""")
def test_errors_inside_bound_functions_arrive_as_they_are(bound, expression, answer):
    with answered_by(answer):
        bound.fails(*evaluate(expression))


def test_any_array_and_either_kind(bound):
    for kind in KINDS:
        a = from_stored(kind, samples(kind), 3, 2)
        assert str(bound.copy_of_any(a)) == str(a)
        if kind.format == "Zq":
            assert bound.length(a) == 6
            with pytest.raises(OverflowError):  # the row of the extremes cannot be gathered
                [bound.length(row) for row in a]
    assert bound.elements_of_either(orvane.double(size=(2, 3))) == 6
    assert bound.elements_of_either(orvane.double([1j], is_complex=True)) == 1


USE_OF_STUBS = """
import orvane
from nanobind_client import doubled, sum
from typing_extensions import assert_type
z = orvane.single([1j], is_complex=True)
assert_type(doubled(z), "orvane.single[complex]")
assert_type(doubled(orvane.double()), orvane.double)
sum(z)  # type: ignore[arg-type]
"""


def test_stubs_tell_real_from_complex(tmp_path):
    pytest.importorskip("mypy")
    path = os.pathsep.join([str(build_directory()), str(Path(orvane.__file__).parents[1])])
    stub, use = tmp_path / "nanobind_client.pyi", tmp_path / "use.py"
    use.write_text(USE_OF_STUBS)
    make_stub = "nanobind.stubgen", "-m", stub.stem, "-o", stub
    for call in (make_stub, ("mypy", "--strict", stub, use)):
        run(sys.executable, "-m", *call, PYTHONPATH=path, MYPYPATH=str(tmp_path))


def test_the_client_classes_work_without_python():
    run(build_directory() / "span_client")


def test_flags_for_other_build_systems(tmp_path):
    """They suffice for the smallest of the clients, without CMake."""
    flags = [*shlex.split(ask_package("--includes")), *shlex.split(ask_package("--libs"))]
    source, module = ROOT / "tests" / "native" / "typed_client.cpp", tmp_path / "typed_client.so"
    run(*COMPILER, "-std=c++20", "-shared", "-fPIC", source, *flags, "-o", module)
    stable = ["-DPy_LIMITED_API=0x030A0000", "-include", "orvane/dlpack.hpp", "-x", "c++"]
    if not sysconfig.get_config_var("Py_GIL_DISABLED"):  # where the headers have no stable ABI
        run(*COMPILER, "-std=c++20", "-fsyntax-only", *flags, *stable, os.devnull)
    use = "import orvane, typed_client; print(typed_client.make('d', (1, 2), bytes(16))[0])"
    path = f"import sys; sys.path.append({str(tmp_path)!r}); "
    assert run(sys.executable, "-c", path + use) == "[[0.0,0.0]]\n"
    assert f"-I{orvane.get_include()}" in flags


@pytest.mark.parametrize("name", ["pybind11_client", "nanobind_client"])
def test_a_module_tells_which_package_is_missing(name):
    found = f"import sys; sys.path[:0] = [{str(build_directory())!r}]\n"
    missing = "sys.modules['orvanemultidimarrayforpython'] = None\n"
    load = f"try:\n  import {name}\nexcept ImportError as error:\n  print(error)"
    told = run(sys.executable, "-c", found + missing + load)
    assert "orvanemultidimarrayforpython" in told, told


USE_OF_BUILT_CLIENTS = """
import orvane, capsule_client, nanobind_client, pybind11_client, typed_client
a, address = typed_client.make("d", (2, 2), bytes(32))
assert typed_client.take("d", a)[3] == address
a[1][0] = 2
assert str(pybind11_client.doubled(a[1])) == str(nanobind_client.doubled(a[1])) == "[[4.0,0.0]]"
assert typed_client.take("Zh", orvane.int16([1j], is_complex=True))[2] == bytes([0, 0, 1, 0])
assert str(capsule_client.array_from_buffer(b"ab")) == "[[97,98]]"
print(orvane.__file__)
"""


def use_clients_with(package: Path) -> None:
    """Runs the clients that were built against the package under test with another one."""
    path = f"import sys; sys.path[:0] = [{str(package)!r}, {str(build_directory())!r}]\n"
    used = run(sys.executable, "-c", path + USE_OF_BUILT_CLIENTS, PYTHONPATH="")
    assert used.strip() == str(package / "orvane" / "__init__.py")


@pytest.mark.skipif(not REPLACEMENT.exists(), reason="no other library has been built")
def test_built_clients_work_with_a_package_elsewhere_and_another_library(tmp_path):
    installed = Path(orvanemultidimarrayforpython.__file__)
    shutil.copy(installed, tmp_path)
    for package in ("orvane", "orvane_carriers", "ovexceptions"):
        shutil.copytree(installed.parent / package, tmp_path / package)
    use_clients_with(tmp_path)
    shutil.copy(REPLACEMENT, tmp_path / "orvane" / "lib")
    use_clients_with(tmp_path)


@pytest.mark.skipif("ORVANE_TEST_REBUILD" not in os.environ, reason="takes a minute")
def test_built_clients_work_with_an_extension_that_is_built_anew(tmp_path):
    """Without optimisation, so that it is another binary through and through."""
    native_clients.cmake_build(ROOT, tmp_path, "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0")
    use_clients_with(tmp_path / "package")
