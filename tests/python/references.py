"""A plugin that runs every test again and again on an interpreter that counts references: none may
be left behind, no block of the interpreter's and no byte, be it an array's.

NumPy's releases do not count the references they take: it is hidden from the tests, and what
imports it all the same is run once.
"""

import builtins
import gc
import sys
from array import array
from itertools import pairwise
from types import ModuleType

import pytest

from memory_use import in_use

KINDS = "references", "blocks", "bytes"


class Hidden(ModuleType):
    asked = False

    def __getattr__(self, name):
        if name.startswith("__"):
            raise AttributeError(name)
        Hidden.asked = True
        pytest.skip("NumPy does not count references", allow_module_level=True)


strangers = []  # what was done by other processes, or with NumPy, during a test


def note_stranger(event, arguments):
    if event == "subprocess.Popen":
        strangers.append(arguments[0])


def noting_import(name, *arguments, imported=builtins.__import__, **keywords):
    if name.partition(".")[0] == "numpy":
        strangers.append(name)
    return imported(name, *arguments, **keywords)


def pytest_configure():
    sys.modules["numpy"] = Hidden("numpy")
    sys.addaudithook(note_stranger)


def pytest_collection_finish():
    del sys.modules["numpy"]
    builtins.__import__ = noting_import
    gc.freeze()


@pytest.hookimpl(tryfirst=True)
def pytest_pyfunc_call(pyfuncitem):
    names = pyfuncitem._fixtureinfo.argnames
    arguments = {name: pyfuncitem.funcargs[name] for name in names}
    Hidden.asked = False
    strangers.clear()
    try:
        pyfuncitem.obj(**arguments)
    except AssertionError:  # of a test that expects another error
        if Hidden.asked:
            pytest.skip("NumPy does not count references")
        raise
    if strangers:  # what processes do is not seen here, and takes long
        return True
    changes = [value for value in arguments.values() if isinstance(value, pytest.MonkeyPatch)]
    for times in (6, 20, 60):  # what grows by chance, or for a while, is looked at longer
        marks = array("q", [0] * 3 * times)  # which leaves nothing itself
        for i in range(times):
            try:
                pyfuncitem.obj(**arguments)
            except AssertionError:
                pytest.skip("changes what it is given, so that it cannot be repeated")
            for change in changes:
                change.undo()
            marks[3 * i + 1 : 3 * i + 3] = array("q", in_use())
            marks[3 * i] = sys.gettotalrefcount()
        growth = [min(b - a for a, b in pairwise(marks[i + 6 :: 3])) for i in range(3)]
        if max(growth) <= 0:
            return True
    pytest.fail(f"each run leaves {dict(zip(KINDS, growth, strict=True))}")
