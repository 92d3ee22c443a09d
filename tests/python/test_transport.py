"""Arrays from process to process: by pickles, by those who carry objects, and who is told when."""

import copy
import copyreg
import math
import pickle
from pathlib import Path

import pytest

import orvane
from orvane_carriers import dask as carriers
from support import each_kind, grid, make, nested, parts_of, python

np = pytest.importorskip("numpy", "1.26")

CHANNELS = {
    **{f"pickle {p}": lambda a, p=p: pickle.loads(pickle.dumps(a, p)) for p in (0, 2, 4, 5)},
    "out of band": lambda a: through_buffers(a, lambda buffers: buffers),
    "misaligned": lambda a: through_buffers(
        a, lambda buffers: [memoryview(b"\0" + bytes(b.raw()))[1:] for b in buffers]
    ),
    "copy": copy.copy,
    "deepcopy": copy.deepcopy,
    "multiprocessing": lambda a: pickle.loads(loaded("multiprocessing").ForkingPickler.dumps(a)),
    "loky": lambda a: pickle.loads(loaded("loky").dumps(a)),
    "dask": lambda a: through_dask(a),
}
CARRIERS = {
    "multiprocessing": "multiprocessing.reduction",
    "loky": "joblib.externals.loky.backend.reduction",
    "dask": "distributed.protocol",
}


def loaded(carrier):
    return pytest.importorskip(CARRIERS[carrier])


def through_buffers(array, change):
    buffers = []
    stream = pickle.dumps([array], 5, buffer_callback=buffers.append)
    assert len(stream) < 200
    return pickle.loads(stream, buffers=change(buffers))[0]


def through_dask(array):
    sizeof = pytest.importorskip("dask.sizeof").sizeof
    carriers.register(sizeof)
    assert sizeof(array) >= math.prod(array.size) * array.itemsize
    header, frames = loaded("dask").serialize(array)
    assert header["serializer"] == "dask"
    return loaded("dask").deserialize(header, [bytes(frame) for frame in frames])


@pytest.fixture
def plain_again():
    yield
    for array_type in orvane.ARRAY_TYPES:
        copyreg.dispatch_table.pop(array_type, None)


@pytest.mark.parametrize("channel", CHANNELS)
@each_kind
def test_arrays_travel_as_what_they_show(kind, channel, plain_again):
    columns = 2**12 if kind.name == "double" else 2  # streams treat large blocks in another way
    array = grid(2, 3, columns, kind=kind)
    plain = pickle.dumps(array)
    if channel in CARRIERS:
        loaded(channel)
    else:
        orvane.enable_binary_pickles()
    if kind.format in ("Zq", "ZQ"):  # which would be rounded on the way through Python's numbers
        with orvane.writable(array) as lent:
            lent["real"] += 2**62 + 1
    for name, part in parts_of(array).items():
        there = CHANNELS[channel](part)
        shown, seen = orvane.to_numpy(part), orvane.to_numpy(there)
        assert (type(there), there._is_complex) == (type(part), part._is_complex)
        assert np.array_equal(orvane.to_numpy(there).reshape(shown.shape), shown), name
        assert len(there.size) >= 2
        assert not np.shares_memory(orvane.to_numpy(there), shown) or channel == "out of band"
        if there.size[0] and len(part.size) == 3:
            there[0] = nested(make(kind, size=(2, *part.size[1:])))[0]
            assert not orvane.to_numpy(there)[0].tobytes().strip(b"\0")
            assert not seen[0].tobytes().strip(b"\0") or channel in ("misaligned", "dask")
    assert (pickle.dumps(grid(2, 3, columns, kind=kind)) == plain) == (channel in CARRIERS)


def test_who_is_told_when():
    """Whoever is there, before or after, without a word; nobody is loaded for it."""
    site = f"import sys; sys.path.insert(0, {str(Path(orvane.__file__).parents[1])!r})\n"
    ask = "print(orvane.double in reduction.ForkingPickler._extra_reducers)"
    for both in "multiprocessing, orvane", "orvane, multiprocessing":
        program = f"{site}import {both}\nfrom multiprocessing import reduction\n{ask}"
        assert python(program) == "True\n"
    pytest.importorskip("distributed")
    register = "from orvane_carriers import dask as ours; ours.register(dask.sizeof.sizeof)"
    for order in (
        "orvane, dask.sizeof, REGISTER, distributed",
        "dask.sizeof, REGISTER, orvane, distributed",
        "dask.sizeof, REGISTER, distributed, orvane",
    ):
        program = site + "\n".join(f"import {name}" for name in order.split(", "))
        program = program.replace("import REGISTER", register)
        check = """
from dask.tokenize import normalize_token, tokenize
from distributed.protocol.serialize import dask_deserialize
ours = normalize_token.dispatch(orvane.double), dask_deserialize.dispatch(orvane.double)
a, b = orvane.double([[1, 2], [3, 4]]), orvane.single([[1, 2], [3, 4]])
tokens = [tokenize(each) for each in (a, a.clone(), b, a[0], a[1], a[1][::-1], orvane.double([1]))]
print(*(each.__module__ for each in ours), tokens[0] == tokens[1], len(set(tokens)))
"""
        told = python(program + check, "-W", "ignore")
        assert told == 2 * "orvane.transport.dask " + "True 6\n"


SERIALIZE = """
import sys
class Dispatch(dict):
    register_lazy = dict.__setitem__
if "begun" in sys.argv:
    sys.argv.remove("begun")
    sys.modules["__main__"].register()
    import colorsys
dask_serialize, dask_deserialize = Dispatch(), Dispatch()
if "fail" in sys.argv:
    sys.argv.remove("fail")
    raise ImportError
"""
OBSERVED = """
import importlib, importlib.util, sys, threading
sys.path[:0] = {path!r}
def register():
    from orvane_carriers import dask
    dask.register(type("S", (), {{"register_lazy": lambda self, top, call: None}})())
name = "distributed.protocol.serialize"
{before}
module = importlib.import_module(name)
import cmd  # of the many modules that come after it
{after}
assert set(module.dask_serialize) == set(module.dask_deserialize) == {{"orvane"}}
assert module.__spec__.loader is module.__loader__
assert "orvane" not in sys.modules
"""
BEFORE = {
    "at once": "register()",
    "from within": 'sys.argv.append("begun")',
    "looked for": "register(); importlib.util.find_spec(name)",
    "failed": """
register()
sys.argv.append("fail")
try: importlib.import_module(name)
except ImportError: assert name not in sys.modules
else: assert False""",
    "others in front": """
register()
class Other:
    def find_spec(self, *arguments):
        return next(filter(None, (each.find_spec(*arguments) for each in sys.meta_path[1:])), None)
sys.meta_path.insert(0, Other())""",
    "twice": "register(); register()",
    "threads": """
register()
sys.setswitchinterval(1e-6)
threads = [threading.Thread(target=importlib.import_module, args=[name]) for _ in range(8)]
for each in threads: each.start()
for each in threads: each.join()""",
}


def test_dask_s_serialisation_is_told_however_it_is_imported(tmp_path):
    package = tmp_path / "distributed"
    (package / "protocol").mkdir(parents=True)
    for name in ("__init__", "protocol/__init__"):
        (package / f"{name}.py").touch()
    (package / "protocol" / "serialize.py").write_text(SERIALIZE)
    path = [str(tmp_path), str(Path(orvane.__file__).parents[1])]
    for before in BEFORE.values():
        for after in ("", "importlib.reload(module)"):
            python(OBSERVED.format(path=path, before=before, after=after))
