"""What type checkers see: the stubs against the built module, and what they say of typical use."""

import json
import os
import sys
from importlib.util import find_spec
from pathlib import Path

import pytest

import orvane
from native_clients import run
from reference.elements import TYPES

PACKAGES = ("orvanemultidimarrayforpython", "orvane", "orvane_carriers", "ovexceptions")
INSTALLED = Path(orvane.__file__).parents[1]

reason = "no native code is tested here"
pytestmark = pytest.mark.skipif("ORVANE_SANITIZED" in os.environ, reason=reason)
pytest.importorskip("mypy", reason="the type checker is not installed")


@pytest.fixture(scope="module")
def directory(tmp_path_factory):
    """A place away from the sources, from which a type checker sees only what is installed."""
    directory = tmp_path_factory.mktemp("typing")
    libraries = "[mypy-dask.*]\nignore_missing_imports = True\n"
    (directory / "running.ini").write_text(f"[mypy]\nstrict = True\n{libraries}")
    settings = f"[mypy]\nstrict = True\npython_version = 3.10\n{libraries}"
    (directory / "mypy.ini").write_text(settings)
    return directory


def check(directory, module, *arguments):
    return run(sys.executable, "-m", module, *arguments, cwd=directory, PYTHONPATH=str(INSTALLED))


def check_by_pyright(directory, mode):
    """Everything in the directory, which is to have no errors."""
    pytest.importorskip("pyright", reason="the type checker is not installed")
    settings = {"typeCheckingMode": mode, "extraPaths": [str(INSTALLED)], "pythonVersion": "3.10"}
    settings["include"] = [path.name for path in directory.iterdir()]  # links only if named
    settings["reportMissingImports"] = mode == "strict"  # of libraries that need not be there
    # What mypy needs a comment for may be nothing to complain of here, in the packages.
    settings["reportUnnecessaryTypeIgnoreComment"] = mode == "strict"
    (directory / "pyrightconfig.json").write_text(json.dumps(settings))
    told = check(directory, "pyright", "--outputjson", "--pythonpath", sys.executable)
    assert json.loads(told)["summary"]["filesAnalyzed"] >= len(settings["include"])


def test_the_stubs_tell_what_the_module_has_and_are_typed_throughout(directory):
    unloadable = "" if find_spec("dask") else r"orvane\.dask.*"  # without its library
    (directory / "unloadable").write_text(unloadable)
    options = (
        "--mypy-config-file=running.ini",
        "--allowlist=unloadable",
        "--ignore-unused-allowlist",
    )
    check(directory, "mypy.stubtest", *options, *PACKAGES)
    check(directory, "mypy", *(f"--package={package}" for package in PACKAGES))
    linked = directory / "packages"  # as pyright looks into no folder such as .venv
    linked.mkdir()
    for package in ("orvanemultidimarrayforpython-stubs", *PACKAGES[1:]):
        (linked / package).symlink_to(INSTALLED / package)
    check_by_pyright(linked, "standard")


# A line that must be refused says so. Where it is not, the comment that it is turned into is of no
# use, and strict checking complains of that.

ALL_TYPES = """
from array import array
from typing import Any
from typing_extensions import assert_type
import copy
import numpy as np
import orvane
from numpy.typing import NDArray
from orvane import {name}

a = {name}([[{one}, {one}], [{one}, {one}]])
assert_type(a, {name}[{whole}])
assert_type(a[-1:], {name}[{whole}])
assert_type(a[0][1], Any)
assert_type(a[0][::-1], {name}[{view}])
for row in a:
    assert_type(row, {name}[{view}])
assert_type(a[0].clone(), {name}[{whole}])
assert_type(copy.deepcopy(a), {name}[{whole}])
assert_type(a.reshape((2, 2)), {name}[{whole}])
assert_type(a._data, {name}[{row}])
assert_type(list(a.noncomplex()), list[{element}])
assert_type(a[0].toarray(), array[{stored}])
assert_type(a.size, tuple[int, ...])
assert_type(a == [[1]], bool)
np.asarray(memoryview(a))
asked: NDArray[np.{dtype}] = np.asarray(a, np.{dtype})
a[0] = [{one}, {one}]
a[0] = a[1]
a[0][1] = {one}
a[0][1] = 1j  # refused
a[0][1] = "1"  # refused
a[0, 1]  # refused
a[0.5]  # refused
del a[0]  # refused
a + a  # refused
a < a  # refused
a.reshape(4)  # refused
a.size = (1, 4)  # refused
{name}(range(4), size=[2, 2])
{name}(vector=a[0])
{name}([a[0], [{one}, {one}], b"ab"])
{name}(np.zeros((2, 3)))
assert_type({name}({{"size": (2, 2)}}), {name}[{whole}])
assert_type({name}({{"is_complex": False}}, [{one}, {one}]), {name}[{whole}])
def other_keywords(keywords: dict[str, Any]) -> None:
    {name}(**keywords)
    {name}(keywords)  # refused
{name}({{"sizes": (2, 3)}})  # refused
{name}({{"size": 3}})  # refused
{name}({{"vector": ["1"]}})  # refused
{name}(["1"])  # refused
{name}(size=3)  # refused
{name}(vector=a)  # refused
class Derived({name}): ...  # refused
assert_type(orvane.to_numpy(a[0]), NDArray[np.{dtype}])
typed: {name}[Any] = orvane.asarray(np.zeros(3), {name})
assert_type(orvane.asarray([1], "{name}"), {name}[Any])
with orvane.writable(a) as lent:
    lent[0] = 1
for each in orvane.ARRAY_TYPES:
    converted: orvane.AnyArray = orvane.asarray(a, each, copy=True)
    orvane.from_dlpack(orvane.to_dlpack(converted))
orvane.asarray(a, copy="yes")  # refused
orvane.to_numpy([1])  # refused
orvane.conversion  # refused
"""

NUMERIC_TYPES = """
from typing import Any
from typing_extensions import assert_type
from orvane import {name}

c = {name}([1, 2.5, 3j], is_complex=True)
assert_type(c, {name}[complex, {name}[complex]])
assert_type(c[0].clone(), {name}[complex, {name}[complex]])
assert_type(c.imag(), {name}[{element}, {element}])
c[0][1] = 1j
assert_type({name}({{"is_complex": True}}, [1, 2j]), {name}[complex, {name}[complex]])
{name}({{"vector": [1j]}})  # refused
{name}([1j])  # refused
def either(flag: bool) -> {name}[Any]:
    assert_type({name}({{"is_complex": flag}}), {name}[Any, {name}[Any]])
    return {name}([1], is_complex=flag)
def only_real(array: {name}) -> None: ...
def only_complex(array: {name}[complex]) -> None: ...
only_complex(c)
only_complex({name}([[None, 1j]], None, [None], True))
only_real(c)  # refused
only_real(either(True))
"""


@pytest.fixture(scope="module")
def samples(directory):
    """Typical use of every type."""
    samples = directory / "samples"
    samples.mkdir()

    def write(name: str, sample: str) -> None:
        (samples / name).write_text(sample.replace("# refused", "# type: ignore"))

    for element_type in TYPES:
        name = element_type.name
        element = {"double": "float", "single": "float", "logical": "bool"}.get(name, "int")
        words = {"name": name, "element": element, "one": "True" if name == "logical" else "1"}
        words["dtype"] = {"double": "float64", "single": "float32", "logical": "bool_"}.get(
            name, name
        )
        if name == "logical":
            words |= {"whole": f"{name}[Any]", "view": "Any", "row": element, "stored": "int"}
        else:
            words |= {"whole": f"{element}, {name}[{element}]", "view": f"{element}, Any"}
            words |= {"row": f"{element}, {element}", "stored": element}
            write(f"complex_{name}.py", NUMERIC_TYPES.format_map(words))
        write(f"use_of_{name}.py", ALL_TYPES.format_map(words))
    return samples


def test_typical_use(directory, samples):
    check(directory, "mypy", *map(str, samples.glob("*.py")))
    check_by_pyright(samples, "strict")
