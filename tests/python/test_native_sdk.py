"""Arrays in and out of native modules through the C++ headers, pybind11 and nanobind."""

from __future__ import annotations

import gc
import os
import shlex
import shutil
import sys
from array import array
from pathlib import Path
from typing import Any

import pytest

import orvane
import orvanemultidimarrayforpython
from native_clients import ROOT, ask_package, build_directory, client, cmake_build, run, samples
from reference.elements import Kind
from support import (
    KINDS,
    Exporter,
    each_kind,
    evaluate,
    from_stored,
    refused,
    stored_bytes,
    table,
)

REPLACEMENT = Path(os.environ.get("ORVANE_REPLACEMENT_LIBRARY", "nowhere"))


@pytest.fixture(scope="module")
def typed() -> Any:
    return client("typed_client")


def doubles(data: bytes) -> list[float]:
    return array("d", data).tolist()


# --- in and out ----------------------------------------------------------------------------------


@each_kind
def test_every_kind_goes_in_and_comes_out_unchanged(typed: Any, kind: Kind) -> None:
    data = b"".join(map(kind.pack, samples(kind)))
    made, _ = typed.make(kind.format, (3, 2), data)
    assert type(made) is getattr(orvane, kind.name)
    assert (made._is_complex, made.size, stored_bytes(made)) == (kind.is_complex, (3, 2), data)
    assert typed.take(kind.format, made) == ((3, 2), (1, 3), data)
    python_made = from_stored(kind, samples(kind), 1, 3, 2)
    assert typed.take(kind.format, python_made) == ((1, 3, 2), (1, 1, 3), data)
    assert typed.take_any(python_made) == typed.take(kind.format, python_made)


def test_what_is_handed_over_is_the_very_block(typed: Any) -> None:
    typed.count_freed_buffers()
    made, address = typed.make("d", (2, 2), array("d", [1, 2, 3, 4]))
    assert typed.address_of(made) == address
    view = made[0]
    exported = memoryview(made)
    del made
    assert typed.count_freed_buffers() == 0
    del view
    assert exported.tolist() == [[1, 3], [2, 4]]
    exported.release()
    assert typed.count_freed_buffers() == 1


def test_python_writes_reach_the_block_and_copies_are_apart(typed: Any) -> None:
    made, _ = typed.make("d", (2, 2), array("d", [1, 2, 3, 4]))
    back = typed.hand_back(made)
    made[0][0] = 10
    assert doubles(typed.take("d", made)[2]) == [10, 2, 3, 4]
    assert str(back) == "[[1.0,3.0],[2.0,4.0]]"


def test_writing_through_a_lent_handle_leaves_python_alone(typed: Any) -> None:
    for a in (
        orvane.double([[1, 2], [3, 4]]),
        typed.make("d", (2, 2), array("d", [1, 3, 2, 4]))[0],
    ):
        assert str(typed.increment(a)) == "[[2.0,3.0],[4.0,5.0]]"
        assert str(a) == "[[1.0,2.0],[3.0,4.0]]"
        assert doubles(typed.take("d", a)[2]) == [1, 3, 2, 4]


def test_a_kept_handle_keeps_the_object_alive(typed: Any) -> None:
    typed.count_freed_buffers()
    a, _ = typed.make("d", (1, 2), array("d", [1, 2]))
    references = sys.getrefcount(a)
    typed.keep(a)
    assert sys.getrefcount(a) == references + 1
    del a
    gc.collect()
    assert typed.count_freed_buffers() == 0
    assert doubles(typed.describe_kept()[2]) == [1, 2]
    typed.drop_kept_elsewhere()
    assert typed.count_freed_buffers() == 1


def test_a_kept_copy_is_independent(typed: Any) -> None:
    a = orvane.double([[1, 2]])
    references = sys.getrefcount(a)
    typed.keep_copy(a)
    assert sys.getrefcount(a) == references
    a[0][0] = 9
    a.reshape(2, 1)
    assert (typed.describe_kept()[0], doubles(typed.describe_kept()[2])) == ((1, 2), [1, 2])
    typed.drop_kept_elsewhere()


# --- refusals ------------------------------------------------------------------------------------


@table("""
'd', [1.0] -> a real orvane.double array, got list
'd', None -> a real orvane.double array, got NoneType
'd', int8() -> a real orvane.double array, got orvane.int8
'?', uint8() -> an orvane.logical array, got orvane.uint8
'Zf', double -> a complex orvane.single array, got type
'd', double(is_complex=True) -> a real orvane.double array, got a complex orvane.double array
'Zh', int16([[1, 2]])[0] -> a complex orvane.int16 array, got a real orvane.int16 array
""")
def test_what_is_no_such_array(typed: Any, expression: str, answer: str) -> None:
    with refused(TypeError, f"expected {answer}"):
        typed.take(*evaluate(expression))


def test_only_the_kind_itself_is_taken(typed: Any) -> None:
    for kind in KINDS:
        made = from_stored(kind, samples(kind), 2, 3)
        for other in KINDS:
            if other != kind:
                with pytest.raises(TypeError):
                    typed.take(other.format, made)


def test_null_and_other_kinds_of_nothing(typed: Any) -> None:
    with refused(TypeError, "expected a real orvane.double array, got null"):
        typed.take_null(False)
    with refused(KeyError, "'the true reason'"):
        typed.take_null(True)
    with refused(TypeError, "expected an orvane array, got dict"):
        typed.take_any({})
    with refused(TypeError, "expected an object with a buffer, got str"):
        typed.from_buffer("text")
    with refused(RuntimeError, "format character not supported: >"):
        typed.from_buffer(Exporter(bytes(8), ">d", 8, (1,)))
    assert typed.from_buffer(b"ab") == orvane.uint8([[97, 98]])


def test_exceptions_of_cpp_become_errors_of_python(typed: Any) -> None:
    with pytest.raises(MemoryError):
        typed.throw_fault("memory")
    with refused(RuntimeError, "Can't convert the Array to this TypedArray"):
        typed.throw_fault("refusal")
    with refused(RuntimeError, "a fault of the client's own"):
        typed.throw_fault("other")


# --- binding libraries ---------------------------------------------------------------------------


@pytest.fixture(params=["pybind11_client", "nanobind_client"])
def bound(request: pytest.FixtureRequest) -> Any:
    return client(request.param)


def test_bound_functions_take_and_return_arrays(bound: Any) -> None:
    a = orvane.double([[1, 2], [3, 4]])
    assert bound.doubled(a) == orvane.double([[2, 4], [6, 8]])
    assert bound.doubled(a[1]) == orvane.double([[6, 8]])
    assert bound.doubled(orvane.single([1 + 2j], is_complex=True)) == orvane.single(
        [2 + 4j], is_complex=True
    )
    assert bound.negated(orvane.logical([True, False])) == orvane.logical([False, True])
    assert (bound.sum(a), str(a)) == (10, "[[1.0,2.0],[3.0,4.0]]")


def test_bound_functions_refuse_with_their_signatures(bound: Any) -> None:
    for wrong in ([1.0], None, orvane.int8(), orvane.double(is_complex=True)):
        with pytest.raises(TypeError, match=r"orvane\.double\b.*-> float"):
            bound.sum(wrong)
    assert "orvane.single" in bound.doubled.__doc__


def test_arguments_do_not_stay_referenced(bound: Any) -> None:
    a = orvane.double([[1, 2]])
    references = sys.getrefcount(a)
    for _ in range(10):
        bound.sum(a)
        bound.doubled(a)
        with pytest.raises(TypeError):
            bound.negated(a)
    assert sys.getrefcount(a) == references


# --- what is installed ---------------------------------------------------------------------------


def test_the_client_classes_work_without_python() -> None:
    run(build_directory() / "span_client")


def test_flags_for_other_build_systems(tmp_path: Path) -> None:
    source = tmp_path / "by_hand.cpp"
    source.write_text(
        "#include <orvane/python.hpp>\n"
        "static PyObject* first(PyObject*, PyObject* a) { return orvane::python::guarded([&] {\n"
        "    return PyFloat_FromDouble(*orvane::python::fromPython<double>(a).cbegin()); }); }\n"
        'static PyMethodDef methods[] = {{"first", first, METH_O, nullptr}, {}};\n'
        "static PyModuleDef definition = {.m_base = PyModuleDef_HEAD_INIT,\n"
        '    .m_name = "by_hand", .m_methods = methods};\n'
        "PyMODINIT_FUNC PyInit_by_hand() { return PyModule_Create(&definition); }\n"
    )
    flags = [*shlex.split(ask_package("--includes")), *shlex.split(ask_package("--libs"))]
    module = tmp_path / "by_hand.so"
    run("c++", "-std=c++20", "-shared", "-fPIC", source, *flags, "-o", module)
    use = "import orvane, by_hand; print(by_hand.first(orvane.double([[7, 8]])))"
    assert run(sys.executable, "-c", f"import sys; sys.path.append({str(tmp_path)!r}); {use}") == (
        "7.0\n"
    )
    assert f"-I{orvane.get_include()}" in flags


USE_OF_BUILT_CLIENTS = """
import orvane, capsule_client, nanobind_client, pybind11_client, typed_client
a, address = typed_client.make("d", (2, 2), bytes(32))
a[1][0] = 2
assert typed_client.address_of(a) == address
assert str(typed_client.increment(a)) == "[[1.0,1.0],[3.0,1.0]]"
assert str(pybind11_client.doubled(a[1])) == str(nanobind_client.doubled(a[1])) == "[[4.0,0.0]]"
assert typed_client.take("Zh", orvane.int16([1j], is_complex=True))[2] == bytes([0, 0, 1, 0])
assert str(capsule_client.array_from_buffer(b"ab")) == "[[97,98]]"
print(orvane.__file__)
"""


def use_clients_with(package: Path, **environment: str) -> None:
    """Runs the clients that were built against the package under test with another one."""
    used = run(
        *(sys.executable, "-c"),
        f"import sys; sys.path[:0] = [{str(package)!r}, {str(build_directory())!r}]\n"
        + USE_OF_BUILT_CLIENTS,
        **({"PYTHONPATH": ""} | environment),
    )
    assert used.strip() == str(package / "orvane" / "__init__.py")


@pytest.mark.skipif(not REPLACEMENT.exists(), reason="no other library has been built")
def test_built_clients_work_with_a_package_elsewhere_and_another_library(tmp_path: Path) -> None:
    installed = Path(orvanemultidimarrayforpython.__file__)
    shutil.copy(installed, tmp_path)
    for package in ("orvane", "ovexceptions"):
        shutil.copytree(installed.parent / package, tmp_path / package)
    use_clients_with(tmp_path)
    shutil.copy(REPLACEMENT, tmp_path / "orvane" / "lib")
    use_clients_with(tmp_path)


@pytest.mark.skipif("ORVANE_TEST_REBUILD" not in os.environ, reason="takes a minute")
@pytest.mark.timeout(1200)
def test_built_clients_work_with_an_extension_that_is_built_anew(tmp_path: Path) -> None:
    """Without optimisation, so that it is another binary through and through."""
    build = cmake_build(ROOT, tmp_path, "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O0")
    use_clients_with(build / "package")
