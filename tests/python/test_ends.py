"""Ends and beginnings: threads that the interpreter ends, last holds under an error, starts."""

import re
import sys
from array import array
from contextlib import suppress
from sysconfig import get_config_var

import pytest

import orvane
from native_clients import build_directory, run
from support import FREE_THREADED, nested, refused
from test_native_capsule import capsule, object_at


def python(program: str, *arguments: object) -> str:
    return run(sys.executable, "-c", program, *map(str, arguments), timeout=100)


CALLERS_CODE = """
import sys, threading, time
sys.path.insert(0, sys.argv[1])
import orvane
def later(answer): time.sleep(0.02); return answer
class S:
    __len__ = lambda self: 5
    __getitem__ = lambda self, i: later(1)
class Items:
    __len__ = lambda self: 2
    __getitem__ = lambda self, i: Late()
class Late:
    __del__ = __index__ = lambda self: later(1)
class Exporter:
    __buffer__ = lambda self, flags: later(memoryview(bytes(8)).cast("d"))
    __release_buffer__ = lambda self, view: later(None)
a = orvane.double(size=(5, 5))
def work():
    while True:
        try: exec(sys.argv[2])
        except Exception: later(None) # or it would be the interpreter that dies, on some versions
"""


STATEMENTS = """
orvane.double(S()) | orvane.single(vector=S()) | orvane.int8(size=S()) | orvane.double(Items())
orvane.int16([S(), S()], is_complex=True) | orvane.double(size=Items()) | orvane.double(Exporter())
a.reshape(S()) | a[0] = S() | a[:] = S() | a[0][:] = S() | a[0] = Items() | a[Late():]
c.hold(a, None) | c.hold(a, lambda: later(None))
c.set_when_freed(lambda: later(None)); c.make('d', (1, 1), bytes(8))
"""


@pytest.mark.parametrize("statement", re.split(r"\n| \| ", STATEMENTS.strip()))
def test_threads_that_wait_in_callers_code_when_the_interpreter_ends(statement):
    directory = build_directory() if "c." in statement else ""
    program = "import typed_client as c\n" if directory else ""
    program += "for _ in '123': threading.Thread(target=work, daemon=True).start()\n"
    python(CALLERS_CODE + program + "time.sleep(0.1)", directory, statement)


def test_a_lent_handle_is_dropped_anywhere(typed):
    for holding_lock in (True, False):
        a = orvane.double([[1, 2]])
        references = sys.getrefcount(a)
        typed.keep(a, False)
        typed.drop_kept_elsewhere(holding_lock)
        typed.take("d", orvane.double(1))
        now = sys.getrefcount(a)
        assert now == references


def test_a_deleter_may_run_code_while_an_error_is_pending(typed, monkeypatch):
    left, reported = [], []

    def run_code():
        with suppress(KeyError):
            raise KeyError("cleared")
        left.append(OSError("left behind"))
        raise left[-1]

    monkeypatch.setattr(sys, "unraisablehook", lambda told: reported.append(told.exc_value))
    typed.set_when_freed(run_code)
    for kind in ("character", "one dimension"):
        with refused(RuntimeError, "invalid type."):
            capsule.array_from_impl(typed.foreign_impl(kind))
    for use in (iter, memoryview, lambda made: made[0]):
        with refused(ZeroDivisionError, "division by zero"):
            [use(typed.make("d", (2, 1), bytes(16))[0]), 1 / 0]
    with refused(TypeError, "expected a real orvane.double array, got list"):
        typed.drop_array([1])
    typed.drop_array(orvane.double())
    typed.set_when_freed(None)
    assert (reported, len(left)) == (left, 7)


def test_a_deleter_may_use_the_array_whose_block_it_gives_back(typed):
    made, _ = typed.make("d", (2, 3), array("d", range(6)))

    typed.set_when_freed(lambda: made.reshape(6, 1).__setitem__(5, [9]))
    made.reshape(3, 2)
    taken = typed.take("d", made)
    typed.set_when_freed(None)
    assert (made.size, taken[0]) == ((6, 1), (6, 1))
    assert array("d", taken[2]).tolist() == [item[0] for item in made] == [0, 1, 2, 3, 4, 9]


def test_an_empty_block_may_be_null(typed):
    empty = object_at(capsule.array_from_impl(typed.foreign_impl("null block")))
    assert empty.reshape(3, 0).size == (3, 0)
    assert (nested(empty), memoryview(empty).nbytes) == ([[], [], []], 0)
    assert typed.take("d", empty)[:3] == ((3, 0), (1, 3), b"")


@pytest.mark.skipif(FREE_THREADED, reason="it refuses at once")
def test_a_failed_start_in_another_interpreter_leaves_the_process_free():
    program = """
try:
    import _interpreters as interpreters
    other, run = interpreters.create("legacy"), interpreters.exec
except ImportError:
    import _xxsubinterpreters as interpreters
    other, run = interpreters.create(isolated=False), interpreters.run_string
failed = run(other, '''
import sys
sys.modules["array"] = None
try: import orvanemultidimarrayforpython
except RuntimeError as error: assert str(error) == "unable to import array module.", error
else: raise AssertionError
''')
interpreters.destroy(other)
import orvane
print(failed, orvane.double([1.5])[0].toarray().typecode)
"""
    assert python(program) == "None d\n"


@pytest.mark.skipif(sys.version_info[:2] == (3, 13), reason="PyType_Ready dies of it itself")
def test_a_start_that_runs_short_of_memory_can_be_tried_again():
    pytest.importorskip("_testcapi")
    program = """
import array, importlib.util, os
from _testcapi import set_nomemory, remove_mem_hooks
spec = importlib.util.find_spec("orvanemultidimarrayforpython")
def start(failing):
    module = importlib.util.module_from_spec(spec)
    set_nomemory(failing, failing + 1)
    try: spec.loader.exec_module(module)
    finally: remove_mem_hooks()
    return len([name for name in vars(module) if not name.startswith("__")])
def start_twice(failing):
    try: return 7 if start(failing) == 15 else 2
    except MemoryError: return 0 if start(10**6) == 15 else 3
ends = set()
for failing in (*range(40), *range(40, 1400, 9)):
    child = os.fork()
    if child == 0: os._exit(start_twice(failing))
    ends.add(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
print(ends)
"""
    assert python(program) == "{0, 7}\n"


@pytest.mark.skipif(not get_config_var("Py_GIL_DISABLED"), reason="this one always has its lock")
def test_a_free_threaded_interpreter_enables_its_lock_or_is_refused():
    program = "import sys, orvane; print(sys._is_gil_enabled())"
    assert run(sys.executable, "-W", "ignore", "-c", program) == "True\n"
    program = "try: import orvane\nexcept ImportError as error: print(error)"
    assert "PYTHON_GIL=0 or -X gil=0" in run(sys.executable, "-X", "gil=0", "-c", program)


def test_an_import_anew_offers_the_same_objects():
    program = """
import sys, orvanemultidimarrayforpython as first
del sys.modules["orvanemultidimarrayforpython"]
import orvanemultidimarrayforpython as second
names = [name for name in vars(first) if not name.startswith("__")]
print(first is second, len(names), all(getattr(first, n) is getattr(second, n) for n in names))
"""
    assert python(program) == "False 15 True\n"
