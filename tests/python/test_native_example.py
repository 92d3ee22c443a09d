"""The example of a native module and that of the guide, built from the installed package alone."""

import _thread
import functools
import math
import re
import signal
import sys
import threading
from pathlib import Path
from typing import Any

import pytest

import orvane
from native_clients import ROOT, ask_package, built, cmake_build, run, tool
from support import check, stored_bytes, table

np = pytest.importorskip("numpy")


def from_numpy(matrix: Any) -> Any:
    vector = matrix.ravel(order="F").tolist()
    return orvane.double(vector=vector, size=matrix.shape, is_complex=np.iscomplexobj(matrix))


def to_numpy(result: Any) -> Any:
    data = np.frombuffer(stored_bytes(result), complex if result._is_complex else float)
    return data.reshape(result.size, order="F")


@pytest.mark.parametrize("shape", [(5, 3), (3, 5), (4, 4), (1, 3), (3, 1), (0, 2)])
@pytest.mark.parametrize("is_complex", [False, True])
def test_decompositions(spectral, shape, is_complex):
    matrix = np.arange(1.0, 1 + np.prod(shape)).reshape(shape) % 7
    if is_complex:
        matrix = matrix + 1j * np.cos(matrix)
    a = from_numpy(matrix)
    left, values, right = map(to_numpy, spectral.svd(a))
    k = min(shape)
    assert (left.shape, values.shape, right.shape) == ((shape[0], k), (1, k), (k, shape[1]))
    np.testing.assert_allclose(left * values @ right, matrix, atol=1e-12)
    np.testing.assert_allclose(values[0], np.linalg.svd(matrix, compute_uv=False), atol=1e-12)
    np.testing.assert_allclose(to_numpy(spectral.singular_values(a)), values, atol=1e-12)
    means, components, scores = map(to_numpy, spectral.principal_components(a, k))
    np.testing.assert_allclose(means + scores @ components, matrix, atol=1e-12)
    np.testing.assert_allclose(components @ components.conj().T, np.eye(k), atol=1e-12)
    assert stored_bytes(a) == matrix.tobytes(order="F")
    taller = from_numpy(np.vstack([matrix, matrix, matrix]))
    place, rows = taller.buffer_info(), [str(row) for row in taller]
    spent = slice(shape[0], 2 * shape[0])
    _, values_in_place, _ = spectral.svd(taller[spent], overwrite=True)
    np.testing.assert_allclose(to_numpy(values_in_place), values, atol=1e-12)
    changed = {i for i, row in enumerate(taller) if str(row) != rows[i]}
    assert changed <= {*range(3 * shape[0])[spent]}
    assert (bool(changed), taller.buffer_info()) == (matrix.size > 0, place)


@table("""
svd(single([[1, 2]])) -> TypeError: expected a real orvane.double array, got orvane.single
singular_values(double(size=(2, 2, 2))) -> ValueError: a matrix has two dimensions
principal_components(double([[1, 2]]), 2) -> ValueError: there are not that many components
moments(double([1, 2])[0]) -> ValueError: a matrix has two dimensions
merge_moments(double(size=(2, 2)), double(size=(3, 3))) ->
 ValueError: the moments are of different numbers of variables
merge_moments(double(size=(2, 3)), double(size=(2, 3))) -> ValueError: moments are a square matrix
components_of_moments(double(size=(3, 3)), 3) -> ValueError: there are not that many components
svd(double([[1, 2], [3, 4]])[::-1], overwrite=True) ->
 ValueError: LAPACK works in place on whole columns or on neighbouring rows
""")
def test_refusals(spectral, expression, answer):
    check(f"spectral.{expression}", answer, spectral=spectral)
    with pytest.raises(RuntimeError):
        spectral.svd(orvane.double([[float("nan"), 1], [2, 3]]))


def test_the_example_installs_beside_the_package(spectral, tmp_path):
    """The installed module finds the library without any help, even if it is imported first."""
    package, build = Path(orvane.__file__).parent, Path(spectral.__file__).parent
    run(tool("cmake"), "--install", build, "--prefix", tmp_path)
    for part in package.parent.glob("orvane*"):
        (tmp_path / part.name).symlink_to(part)
    use = "import spectral, orvane; print(spectral.singular_values(orvane.double([[3, 4]])))"
    path = f"import sys; sys.path.insert(0, {str(tmp_path)!r})"
    assert run(sys.executable, "-I", "-c", f"{path}; {use}").startswith("[[5.0")


def test_a_native_thread_fills_an_array(tmp_path):
    pytest.importorskip("pybind11")
    recorder = built("recorder", "native_producer", tmp_path)
    array = orvane.double(size=(2, 50))
    finished = recorder.Recording(array, interval=0)
    assert (finished.wait(), finished.columns, finished.running) == (True, 50, False)
    array = orvane.double(size=(2, 10**6))
    signal.signal(signal.SIGINT, signal.default_int_handler)  # ignored in a shell's background
    for end in ("stop", "interrupt", "drop"):
        recording = recorder.Recording(array, interval=1e-3)
        while recording.columns < 2:
            assert not recording.wait(1e-3)
        seen = recording.columns - 1
        assert array[1][seen] == pytest.approx(math.sin(0.02 * seen))
        if end == "interrupt":
            threading.Timer(0.1, _thread.interrupt_main).start()
            with pytest.raises(KeyboardInterrupt):
                recording.wait()
        elif end == "stop":
            recording.stop()
        assert end == "drop" or recording.wait()
        assert recording.columns < 10**6
        del recording
        array[1][seen] = 2
        assert array[1][seen] == 2
    with pytest.raises(ValueError, match="more dimensions"):
        recorder.Recording(orvane.double(size=(2, 2, 2)), 0)


@pytest.fixture(scope="module")
def followed(tmp_path_factory):
    """A guide's text, and where the module lies that it leads to from an empty folder."""
    pybind11 = pytest.importorskip("pybind11").get_cmake_dir()
    settings = f"-DOrvane_DIR={ask_package('--cmake-dir')}", f"-Dpybind11_DIR={pybind11}"

    @functools.cache
    def follow(page: str, name: str) -> tuple[str, Path]:
        folder = tmp_path_factory.mktemp(name)
        guide = (ROOT / "docs" / page).read_text("utf-8")
        files = dict(re.findall(r"`([\w.]+)`:\n\n```\w+\n(.*?)```", guide, re.DOTALL))
        assert list(files) == ["CMakeLists.txt", f"{name}.cpp"]
        for file, text in files.items():
            (folder / file).write_text(text)
        return guide, cmake_build(folder, folder / "build", *settings)

    return follow


@pytest.mark.parametrize(("page", "name"), [("native.md", "columns"), ("start.md", "first")])
def test_the_guides_lead_from_an_empty_folder_to_a_module(page, name, followed):
    guide, build = followed(page, name)
    (command,) = re.findall(r'PYTHONPATH=build python -c "(.*?)"\n```', guide, re.DOTALL)
    prologue = f"import sys; sys.path.append({str(build)!r})\n"
    result = run(sys.executable, "-c", prologue + command)
    assert f"prints `{result.strip()}`" in guide
    ((call, error),) = re.findall(rf"`({name}\.[^`]*)` raises `(TypeError.*?)`", guide)
    check = f"import {name}\ntry: {call}\nexcept TypeError as error: print('TypeError:', error)"
    assert run(sys.executable, "-c", prologue + check).startswith(error)


def test_the_function_of_the_guide_works_on_a_cluster(followed, tmp_path):
    pytest.importorskip("distributed")
    page = (ROOT / "docs" / "cluster.md").read_text("utf-8")
    pattern = r"```python\n([^`]*import first\n[^`]*)```.*?prints `(.*?)`"
    ((program, printed),) = re.findall(pattern, page, re.DOTALL)
    (tmp_path / "on_cluster.py").write_text(program)
    path = f"{followed('start.md', 'first')[1]}:{Path(orvane.__file__).parents[1]}"
    told = run(sys.executable, tmp_path / "on_cluster.py", PYTHONPATH=path)
    assert told.strip() == printed
