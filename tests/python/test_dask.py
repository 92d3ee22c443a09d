"""Arrays as blocks of Dask's: on its schedulers of one process, and on a cluster of processes."""

import functools
import operator
import sys
from array import array as row_of_numbers
from itertools import product
from pathlib import Path

import pytest

import orvane
from native_clients import ROOT, run
from support import check, each_kind, grid, table

np = pytest.importorskip("numpy", "1.26")
da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")
dask = sys.modules["dask"]

pytestmark = pytest.mark.timeout(120)  # a cluster asks for what it cannot read again and again

NUMBERS = np.arange(60.0).reshape(10, 6)


@pytest.fixture(scope="module")
def client():
    pytest.importorskip("cloudpickle").register_pickle_by_value(sys.modules[__name__])
    options = {"n_workers": 2, "threads_per_worker": 1, "dashboard_address": None}
    with (
        distributed.LocalCluster(silence_logs=60, **options) as cluster,
        distributed.Client(cluster) as client,
    ):
        yield client


def twice(a):
    with orvane.writable(a) as shown:
        shown *= 2
    return a


def added(a, b, sign=1):
    return orvane.asarray(np.asfortranarray(orvane.to_numpy(a) + sign * orvane.to_numpy(b)))


def gram(a):
    return orvane.asarray(orvane.to_numpy(a).T @ orvane.to_numpy(a))


def sums(a):
    return orvane.double([sum(column) for column in zip(*a, strict=True)])


def beside(a, b):
    return orvane.asarray(np.hstack([orvane.to_numpy(a), orvane.to_numpy(b)]))


def tagged(a, block_id):
    return orvane.double([[10 * sum(block_id)]])


def with_sum(a):
    return a.clone(), orvane.double([sum(map(sum, a))])


def each_added(one, other):
    return tuple(map(added, one, other))


def fails(a, b=None):
    raise KeyError("no such thing")


def lists(a, b=None):
    return [a]


def views(a):
    return a[1]


@each_kind
def test_every_kind_of_elements_goes_there_and_back(kind, client):
    array = grid(4, 3, 2, kind=kind)
    for chunks, part in product(((4, 3, 1), (3, 2, 2)), (array, array[1], array[1][2])):
        x = orvane.dask.to_dask(part, chunks[3 - len(part.size) :])
        y = orvane.dask.map_blocks(operator.methodcaller("clone"), x, name="clone")
        assert (y.shape, y.chunks, y.dtype) == (part.size, x.chunks, orvane.to_numpy(part).dtype)
        for scheduler in ("sync", client):
            with dask.config.set(scheduler=scheduler):
                back = orvane.dask.from_dask(y)
                shown = orvane.to_numpy(back).reshape(part.size, order="F")
                assert type(back) is type(array)
                assert np.array_equal(shown, orvane.to_numpy(part))
                (block,) = dask.compute(x.to_delayed().ravel()[0])
                assert (block.flags.f_contiguous, block.flags.writeable) == (True, False)


@pytest.mark.parametrize("scheduler", ["sync", "threads", "cluster"])
def test_every_scheduler(scheduler, client):
    x = da.from_array(NUMBERS, (4, 6))
    with dask.config.set(scheduler=client if scheduler == "cluster" else scheduler):
        assert np.array_equal(orvane.dask.map_blocks(twice, x).compute(), 2 * NUMBERS)
        kept = orvane.dask.map_blocks(added, x, x).persist()  # in column-major order: not copied
        assert np.array_equal(orvane.dask.map_blocks(twice, kept).compute(), 4 * NUMBERS)
        assert np.array_equal(kept.compute(), 2 * NUMBERS)  # what was written to was a copy
        assert np.array_equal(orvane.to_numpy(orvane.dask.from_dask(x.T, "int8")), NUMBERS.T)
        target = sys.modules["orvane.dask.collecting"].Target  # may come to lie where one has lain
        assert len({dask.base.tokenize(target(NUMBERS, None, x)) for _ in range(9)}) == 9
        total = orvane.dask.tree_reduce(sums, added, x, finish=twice, split_every=2)
        assert np.array_equal(orvane.to_numpy(total.compute()), [2 * NUMBERS.sum(axis=0)])
        known = {"type": "double", "chunks": x.chunks}
        y = orvane.dask.map_blocks(added, x, total, sign=-1, **known)
        z = orvane.dask.map_blocks(added, y, b=orvane.double([range(6)]))
        assert np.array_equal(z.compute(), NUMBERS - 2 * NUMBERS.sum(axis=0) + np.arange(6))
        with pytest.raises(KeyError, match="no such thing") as caught:
            orvane.dask.from_dask(orvane.dask.map_blocks(fails, x, **known))
        assert "fails, block (" in "".join(getattr(caught.value, "__notes__", ["fails, block ("]))


TRIED = "they could not be found out with ones of 4 x 6: KeyError: 'no such thing'"
KNOWN = 'type="double", chunks=u.chunks'


@table(f"""
map(twice, x).chunks -> ((4, 4, 2), (6,))
map(gram, x).chunks -> ((6, 6, 6), (6,))
map(twice, v).compute().tolist() -> [0, 2, 4, 6, 8, 10]
map(added, x, v).compute()[3].tolist() -> [18.0, 20.0, 22.0, 24.0, 26.0, 28.0]
map(tagged, x).compute().tolist() -> [[0.0], [10.0], [20.0]]
map(sums, x, drop_axis=0).compute().tolist() -> [270.0, 280.0, 290.0, 300.0, 310.0, 320.0]
map(beside, x, x).shape -> (10, 12)
map(twice, x, new_axis=2).compute().shape -> (10, 6, 1)
collect(da.from_array(np.float16([[1, 2]]))) -> [[1.0, 2.0]]
reduce(sums, beside, x[:3, :2].rechunk((1, 2))).compute() -> [[0.0, 1.0, 6.0, 7.0, 12.0, 13.0]]
reduce(with_sum, each_added, x[:8])[1].compute() -> [[1128.0]]
name(reduce(sums, added, x, finish=partial(twice)).key) -> "twice"
name(map(partial(added, sign=-1), x, x).name) -> "added"
map(numbers("d", [2]).count, u, {KNOWN}).name == map(numbers("d", [2]).count, u, {KNOWN}).name -> True
map(gram, u, chunks=np.array([6, 6])).chunks -> ((6,), (6,))
collect(listed) -> [[1.0, 2.0]]
map(fails, x) -> ValueError: map_blocks, fails: give type= and chunks=, as {TRIED}
map(gram, x.rechunk((5, 3))) -> ValueError: map_blocks, gram: give chunks=, as dimension 0 of the result is neither the same for all blocks nor as long as theirs: of ones of 5 x 3 come 3 x 3, of ones of 6 x 4 4 x 4
map(twice, x, d) -> ValueError: map_blocks, twice: give type= and chunks=, as they cannot be found out before argument 2 is computed
map(lists, x) -> TypeError: map_blocks, lists: tried on ones of 4 x 6, the function gave an object of type list, not an array of orvane
map(lists, u, {KNOWN}).compute() -> TypeError: lists, block (0, 0): the function gave an object of type list, not an array of orvane
map(views, u, {KNOWN}).compute() -> ValueError: views, block (0, 0): the function gave 1 x 6, where 10 x 6 was to come
map(twice, u, type="int8", chunks=u.chunks).compute() -> TypeError: twice, block (0, 0): the function gave orvane.double, where orvane.int8 was to come
map(added, x, x.rechunk((5, 6))) -> ValueError: map_blocks, added: the chunks of arguments 1 and 2 do not fit: along dimension 0 of the latter, block 0 has 4 and 5; call its rechunk() first
map(twice, x, chunks=(4,)) -> ValueError: map_blocks, twice: chunks=(4,) tells of 1 dimensions, and the result has 2; say which it has besides by new_axis, and which not by drop_axis
map(twice, x, chunks=((4, 4), 6)) -> ValueError: map_blocks, twice: chunks=((4, 4), 6) tells of 2 blocks along dimension 0, where there are 3
map(twice, x, chunks=(4.5, 6)) -> ValueError: map_blocks, twice: chunks=(4.5, 6) gives block 0 along dimension 0 the extent 4.5; it has to be a number of elements
map(twice, unknown) -> ValueError: map_blocks, twice, argument 1: the extents of block (0, 0) of x are not known before it is computed; call its compute_chunk_sizes() first
map(twice, o) -> TypeError: map_blocks, twice, argument 1: block (0,) of o, as all others: arrays have no elements of NumPy's type object: give numbers, or the type to convert them to by .astype
collect(t) -> TypeError: from_dask: block (0, 0) of t, as all others: arrays have no elements of NumPy's type datetime64[s]: convert dates to numbers first: .astype('int64'), or a difference of them
collect(big, "int8") -> ValueError: block (0, 0) of big: the element at [2][1], 130.0, does not fit into orvane.int8
collect(lie) -> ValueError: block (0, 0) of lie is 10 x 6, where its chunk is 4 x 6
reduce(lists, added, u).compute() -> TypeError: lists, block (0, 0): the function gave an object of type list, not an array of orvane
reduce(sums, lists, x).compute() -> TypeError: lists, blocks (0, 0) to (2, 0): the function gave an object of type list, not an array of orvane
""")  # noqa: E501
def test_answers(expression, answer):
    names = {
        "numbers": row_of_numbers,
        "x": da.from_array(NUMBERS, (4, 6), name="x"),
        "v": da.arange(6, chunks=6),
    }
    names["o"] = da.from_array(np.array([None]), 1, name="o")
    names["t"] = da.from_array(NUMBERS.astype("M8[s]"), (4, 6), name="t")
    names["big"] = da.from_array(10 * NUMBERS, -1, name="big")
    names["u"] = da.from_array(NUMBERS, -1)
    names["unknown"] = da.Array(names["x"].dask, "x", ((float("nan"),) * 3, (6,)), float)
    names["d"] = dask.delayed(orvane.double)([1])
    names["lie"] = da.Array({("lie", 0, 0): NUMBERS}, "lie", ((4,), (6,)), float)
    names["listed"] = da.Array({("listed", 0, 0): [[1.0, 2.0]]}, "listed", ((1,), (2,)), float)
    ours = {"map": "map_blocks", "reduce": "tree_reduce", "collect": "from_dask"}
    names |= {short: getattr(orvane.dask, name) for short, name in ours.items()}
    names["name"] = dask.utils.key_split
    names["partial"] = functools.partial
    with dask.config.set(scheduler="sync"):
        check(expression, answer, **globals(), **names)


def tasks(dask_scheduler):
    return {prefix.name for prefix in dask_scheduler.task_prefixes.values()}


def sent(dask_worker):
    return dask_worker.transfer_outgoing_log[-1]


def test_the_cluster_knows_what_it_carries(client):
    one, other = client.scheduler_info()["workers"]
    array = grid(512, 512)
    there = client.submit(array.clone, workers=[one], pure=False)
    client.submit(orvane.double.clone, there, workers=[other], pure=False).result()
    travelled = client.run(sent)[one]
    assert travelled["total"] == dask.sizeof.sizeof(array)
    assert 0 <= travelled["compressed"] - 8 * 512**2 < 2000
    x = orvane.dask.map_blocks(twice, da.from_array(NUMBERS, (4, 6)))
    total = orvane.dask.tree_reduce(gram, added, x).persist()
    distributed.wait([total, x.persist()])
    assert {"array-twice", "gram", "added"} <= client.run_on_scheduler(tasks)
    with dask.config.set(scheduler="processes", num_workers=1):
        assert np.array_equal(orvane.to_numpy(orvane.dask.from_dask(x)), 2 * NUMBERS)


def test_the_first_program_of_the_page(tmp_path):
    page = (ROOT / "docs" / "cluster.md").read_text("utf-8")
    program = tmp_path / "program.py"
    program.write_text(page.partition("```python\n")[2].partition("```")[0])
    run(sys.executable, program)


def test_the_example_survives_the_death_of_a_worker(spectral):
    program = ROOT / "examples" / "cluster" / "principal_components.py"
    path = f"{Path(spectral.__file__).parent}:{Path(orvane.__file__).parents[1]}"
    told = run(sys.executable, program, "--data=40MB", "--block=1MB", "--kill-one", PYTHONPATH=path)
    assert "killed the worker" in told
    assert told.count("checked: ") == 2
