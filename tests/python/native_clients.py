"""Builds native modules against the installed package, with its own tools only, and loads them."""

import fcntl
import functools
import importlib.util
import os
import shlex
import shutil
import subprocess
import sys
import sysconfig
import tempfile
from pathlib import Path
from types import ModuleType

import pytest

from reference.elements import Kind, Stored

ROOT = Path(__file__).parents[2]
COMPILER = shlex.split(os.environ.get("CXX", "c++"))


def tool(name: str) -> str:
    """A build tool, of this environment or of the system; skips where there is none."""
    found = shutil.which(name, path=sysconfig.get_path("scripts")) or shutil.which(name)
    if not found:
        pytest.skip(f"{name} is not installed")
    return found


def run(
    *command: str | Path, timeout: float = 1000, cwd: Path | None = None, **environment: str
) -> str:
    """What a program prints that must succeed."""
    inherited = dict(os.environ)
    if Path(command[0]).name in ("cmake", "cc", Path(COMPILER[0]).name):
        # The sanitizers' runtimes are for what loads sanitized libraries, not for compilers.
        inherited.pop("LD_PRELOAD", None)
    options = {"timeout": timeout, "cwd": cwd, "env": inherited | environment}
    done = subprocess.run(command, capture_output=True, text=True, **options)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def ask_package(option: str) -> str:
    return run(sys.executable, "-m", "orvane", option).strip()


def cmake_build(source: Path, build: Path, *definitions: str) -> Path:
    """Configures and builds; an earlier build in the same folder is brought up to date."""
    tools = f"-DCMAKE_MAKE_PROGRAM={tool('ninja')}", f"-DPython_EXECUTABLE={sys.executable}"
    run(tool("cmake"), "-S", source, "-B", build, "-G", "Ninja", *tools, *definitions)
    run(tool("cmake"), "--build", build)
    return build


@functools.cache
def outcome_of_building() -> Path | AssertionError:
    """Where the clients of tests/native lie, or what went wrong: it is not tried twice in a run."""
    for module in ("pybind11", "nanobind"):
        pytest.importorskip(module)
    build = Path(os.environ.get("ORVANE_NATIVE_BUILD") or tempfile.mkdtemp(prefix="orvane-native-"))
    definition = f"-DOrvane_DIR={ask_package('--cmake-dir')}"
    build.mkdir(parents=True, exist_ok=True)
    with (build / "lock").open("w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)  # two runs of tests may share them
        try:
            return cmake_build(ROOT / "tests" / "native", build, definition)
        except AssertionError as error:
            return error


def build_directory() -> Path:
    """The built clients; builds them at the first call."""
    outcome = outcome_of_building()
    if isinstance(outcome, AssertionError):
        raise outcome
    return outcome


@functools.cache
def client(name: str) -> ModuleType:
    """One of the clients, imported."""
    return load(name, build_directory())


def built(name: str, example: str, build: Path) -> ModuleType:
    """The module of one of the examples, imported."""
    settings = ["-DCMAKE_BUILD_TYPE=None", f"-DOrvane_DIR={ask_package('--cmake-dir')}"]
    return load(name, cmake_build(ROOT / "examples" / example, build, *settings))


def load(name: str, directory: Path) -> ModuleType:
    (file,) = directory.glob(f"{name}.*so")
    spec = importlib.util.spec_from_file_location(name, file)
    assert spec and spec.loader  # noqa: PT018
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def samples(kind: Kind) -> list[Stored]:
    """Six different elements, the extremes of the type among them; of logical, both values."""
    element = kind.element
    parts: list[Stored] = [0.5, -0.0, 1e30, -3.0, 7.0, 2.0]
    if element.is_integer:
        parts = [0, 1, element.low, element.high, 2, 100]
    elif element.name == "logical":
        parts = [True, False, False, True, True, True]
    return list(zip(parts, reversed(parts), strict=True)) if kind.is_complex else parts
