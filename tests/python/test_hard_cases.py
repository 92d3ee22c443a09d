"""What ended the process, hung, or told less than it knew: each row did so once."""

import pytest

import orvane
from orvane.transport import array_from_elements
from support import check, grid, python, refused, table

PROLOGUE = """
import array, gc, io, resource, signal, sys
make, array.array = array.array, lambda *given: make(*given)
import orvane
from orvane import double, int8, single
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

class Items:
    def __init__(self, item, length=2): self.item, self.length = item, length
    def __len__(self): return self.length
    def __getitem__(self, i): return self.item(self)
class Bound:
    def __init__(self, use): self.use = use
    def __index__(self): return self.use(self) and 0
def told(use):
    try: return str(use())
    except BaseException as error: return f"{type(error).__name__}: {error}".strip(": ")
"""


def run(program):
    """What a program says in a process of its own, one line a thing."""
    return python(PROLOGUE + program).splitlines()


REENTRANT = """
a.__setitem__(0, Items(lambda s: a.__setitem__(0, s)))
a.__setitem__(slice(1), Items(lambda s: a.__setitem__(slice(1), s)))
double(Items(lambda s: double(s)))
double(Items(lambda s: double(s, is_complex=True)), is_complex=True)
double(vector=Items(lambda s: double(vector=s)))
double(size=Items(lambda s: double(size=s)))
a.reshape(Items(lambda s: a.reshape(s)))
a[Bound(lambda s: a[s:]):]
a[::Bound(lambda s: a[::s])]
a.__setitem__(slice(Bound(lambda s: a.__setitem__(slice(s), 5))), 5)
row.toarray()
""".strip().splitlines()


@pytest.mark.parametrize("limit", [2_000, 50_000])
def test_code_that_comes_back_meets_the_limit_of_recursion(limit):
    assert run(f"""
make = lambda *_: row.toarray()
sys.stderr = io.StringIO()  # toarray says there what failed
sys.setrecursionlimit({limit})
a, row = double(size=(2, 2)), double(size=(2, 2))[0]
for text in {REENTRANT}:
    print(told(lambda: eval(text))[:14])
""") == ["RecursionError"] * len(REENTRANT)


PASSED_ON = """
double([Items(fail)])
double(Items(fail))
double(Items(fail, 1))
double(vector=Items(fail))
double(size=Items(fail))
double(size=(2, 2))[Bound(fail):]
double(size=(2, 2))[::Bound(fail)]
double(size=(2, 2)).__setitem__(0, Items(fail))
double(size=(2, 2)).reshape(Items(fail))
""".strip().splitlines()


@pytest.mark.parametrize(
    "error", ["MemoryError", "RecursionError", "KeyboardInterrupt", "SystemExit"]
)
def test_errors_that_no_words_of_ours_replace(error):
    assert run(f"""
class Own({error}): pass
def fail(_): raise Own("mine")
for text in {PASSED_ON}:
    print(told(lambda: eval(text)))
""") == ["Own: mine"] * len(PASSED_ON)


INTERRUPTED = """
partial(double, size=(5, 2)), [range(10**18)]
str, double(size=(10**8, 0))
double.__reduce__, double(size=(10**8, 0))
int8, flat
int8, flat.cast("b", (2**15, 2**15))
int8, [flat]
int8.clone, int8(size=(2**30, 1))[::-1]
""".strip().splitlines()


def test_interrupts_are_answered_on_the_way_and_leave_nothing():
    assert run(f"""
from functools import partial
from mmap import mmap
def answer(*_): raise KeyboardInterrupt
def size(): return int(open("/proc/self/statm").read().split()[0])
signal.signal(signal.SIGPROF, answer)
flat = memoryview(mmap(-1, 2**30)).cast("b")
for text in {INTERRUPTED}:
    use, value = eval(text)
    before = size()
    signal.setitimer(signal.ITIMER_PROF, 0.03)
    # What is not interrupted goes on to the next without a step in Python.
    print(told(lambda: list(map(use, [value, object()]))), size() - before < 2**17)
""") == ["KeyboardInterrupt True"] * len(INTERRUPTED)


PROGRAMS = {
    "an iterator that has passed the end of a layout that comes back": """
a = double(size=(4000, 2))
row = iter(a[0]); a.buffer_info(); next(row)
a.reshape(2, 4000)
for _ in range(3000): next(row)
a.reshape(4000, 2)
print(told(lambda: next(row)))
> IndexError: index has an invalid value: 3001
""",
    "a stale view of enormous length": """
A = single(size=(10**18, 0)); s = A[:]; A.reshape(0, 2)
for use in (lambda: double(s), lambda: double([s]), lambda: double(size=(2, 2)).__setitem__(0, s)):
    print(told(use)[:26], end=" ")
> RuntimeError: null data po RuntimeError: null data po RuntimeError: null data po
""",
    "values beyond what size can take": """
print(told(lambda: double(range(10**18), size=(5, 2)))[:61])
print(told(lambda: int8(range(10**18), size=(5, 2)))[:26])
> ShapeError: dimensions of initializer (1000000000000000000) d
> OverflowError: value (128)
""",
    "an array class that leaves": """
def make(*_): raise SystemExit(3)
sys.stderr = io.StringIO()
print(told(double([1.0])[0].toarray))
print(sys.stderr.getvalue().splitlines()[-1])
> RuntimeError: toarray() failed.
> SystemExit: 3
""",
    "arrays each of which is the last to hold the one before": """
a = double([[1, 2]])
for _ in range(200_000): a = orvane.from_dlpack(orvane.to_dlpack(a, writable=True))
first = orvane.from_dlpack(orvane.to_dlpack(a, writable=True))
first[0] = [3, 4]
print(a)
del a, first
print(orvane.double(5))
> [[3.0,4.0]]
> [[5.0]]
""",
    "what is let go of, or exported once more, in the midst of an operation": """
import pickle, weakref
def drop(*_): global dirt; items.clear(); dirt = [bytearray([255] * 40) for _ in range(99)]
def export(*_): kept.append(pickle.PickleBuffer(items[0]))
for use, handle in ((repr, drop), (b"".join, drop), (lambda items: memoryview(items[0]), export)):
    items, kept = [double(size=(2**21, 1, 1, 1, 1, 2))[:]], []
    signal.signal(signal.SIGALRM, handle); signal.setitimer(signal.ITIMER_REAL, 0.002)
    told(lambda: len(use(items)))
others = [double(size=(3 + i, 2, 1, 1, 1, 2)) for i in range(300)]
print(all(buffer.raw().nbytes == 2**25 for buffer in kept))
for threshold in range(1, 60):
    gc.disable(); gc.collect(); gc.set_threshold(threshold)
    items, cycle = [2**70], Items(None); cycle.item, watch = cycle, weakref.ref(cycle, drop)
    try: del cycle; raise ValueError
    except ValueError: gc.enable(); told(lambda: orvane.uint64(items))
> True
""",
    "keys that empty the dictionary in which they are looked up": """
class Key(str):
    __hash__ = str.__hash__
    def __eq__(self, other):
        for d in gc.get_objects():
            if type(d) is dict and any(type(key) is Key for key in d): d.clear()
        early.extend(gone)
        return str.__eq__(self, other)
class Values(list):
    def __del__(self): gone.append("gone")
for call in (lambda d: double(**d), double):
    gone, early = [], []
    print(told(lambda: call({"initializer": Values([1.0]), Key("size"): (1, 1)})), early)
> [[1.0]] []
> [[1.0]] []
""",
}


@pytest.mark.parametrize("text", PROGRAMS.values(), ids=PROGRAMS)
def test_programs(text):
    program, *answers = text.split("\n>")
    assert [line.strip() for line in run(program)] == [answer.strip() for answer in answers]


@table("""
str(a[1:0:-2**60]) -> '[[1.0,3.0]]'
str(int16([[1, 2], [3, 4]])[::2**62]) -> '[[1,2]]'
a[0][1:0:-2**59].toarray().tolist() -> [2.0]
a[1:0:-2**60] == a[1:0:-1] -> True
a[1:0:-2**60].clone() -> [[1.0, 3.0]]
a[1:0:-2**60].__reduce__()[1][1] -> [[0.0, 2.0], [1.0, 3.0]]
str(int8(size=(10, 10**18, 2, 0))[9][9]) -> '[[],[]]'
double(size=(10**9, 10**18, 0))[-1][-1].__reduce__()[1][1] -> []
double([int.from_bytes(bytes(4), 'big')]) -> [[0.0]]
read(int8, (1, 2), False, b'12', 'big') -> [[49, 50]]
""")
def test_places_and_numbers_that_need_care(expression, answer):
    check(expression, answer, a=grid(2, 2), read=array_from_elements)


def test_a_composed_step_beyond_64_bits_leads_outside():
    try:
        a = orvane.int8(size=(3_100_000_000, 1))
    except MemoryError:
        pytest.skip("needs an address space of 3 GB")
    step = 3_050_000_000
    with refused(RuntimeError, "unable to set value."):
        a[::step][::step] = [1, 2]
    assert (a[0][0], a[1][0], a[step][0]) == (1, 0, 0)
