"""Arrays between four ranks. Run by mpiexec, this file is the program of each of them."""

import json
import os
import re
import sys
import time
from contextlib import suppress
from pathlib import Path
from unittest.mock import Mock, patch

import pytest

import orvane
from native_clients import run, tool
from support import ERRORS, KINDS, check, grid, refused, table

np = pytest.importorskip("numpy")
pytest.importorskip("mpi4py", "4")

CASES = table("""
parts_of_all_kinds() -> None
from_rank_to_rank() -> None
interrupted() -> None
the_page() -> None
scatter(a, counts=[3, 0, 2, 1]).size, scatter(a, out=int8(size=(2, r))).size -> ((2, [3, 0, 2, 1][r]), (2, r))
allgather(a, axis=2).size, allgather(a[r % 2][1:], axis=0).size -> ((2, 6, 4), (4, 5))
allreduce(z), reduce(z, root=2) -> (total, total if r == 2 else None)
[{*allreduce(t([[n] * 40]))[0]} for t, n in sums] -> [{{-112}}, {{32}}, {{-11072}}, {{3392}}]
[*{*allreduce(int8([[100 + 1j] * 40], is_complex=True))[0]}] -> [-112 + 4j]
allreduce(b[::2], MPI.MIN, out=b[1:4]) and b -> [[r], [0], [2], [4], [4 + r]]
(lambda w: allgather(int8([[r], [r + 4]]), out=w[::-1]) and w)(int8(size=(2, 4))) -> [[4, 5, 6, 7], [0, 1, 2, 3]]
scatter(int8([[i] for i in range(12)])[::-1] if r == 0 else None, axis=0) -> [[11 - 3 * r], [10 - 3 * r], [9 - 3 * r]]
scatter(a, axis=r) -> RankError: scatter: rank 1: axis is 1, on rank 0 it is 0
scatter(a, axis=2) -> RankError: scatter: rank 0: axis is 2, and there are 2 dimensions
scatter(a, counts=[6]) -> RankError: scatter: rank 0: counts are [6], to divide {a} along axis 1 among 4 ranks
scatter(a, out=z) -> RankError: scatter: rank 0: all out together are [2, 2, 2, 2], to divide {a} along axis 1 among 4 ranks
scatter(a, out=None if r < 3 else z) -> RankError: scatter: rank 3: out is {z}, what comes is orvane.int8 of size (2, 1)
without_room_on_rank_2(scatter, a) -> RankError: scatter: rank 2: MemoryError: no room
gather([1] if r == 2 else a) -> RankError: gather: rank 2: TypeError: expected an orvane array, got list
(gather if r == 3 else allgather)(a) -> RankError: rank 3 calls gather, rank 0 allgather
allgather(a if r else z) -> RankError: allgather: rank 1: {a} does not fit to {z} of rank 0 along axis 1
bcast(a, 4) -> RankError: bcast: rank 0: ValueError: root is 4, and there are 4 ranks
bcast(long if r == 1 else a) -> RankError: bcast: rank 1: out is orvane.int8 of size {long}, what comes is {a}
allreduce(a if r else z) -> RankError: allreduce: rank 1: {a} does not fit to {z} of rank 0
allreduce(a, MPI.MAX if r else None) -> RankError: allreduce: rank 1: op is MAX, on rank 0 it is SUM
allreduce(z, MPI.MAX) -> RankError: allreduce: rank 0: TypeError: for elements of complex orvane.int16 there are SUM, not MAX
reduce(single(), MPI.OP_NULL if r == 2 else None) -> RankError: reduce: rank 2: TypeError: for elements of orvane.single there are MAX, MIN, SUM, PROD, not OP_NULL
without_rank_3(bcast, a) -> RankError: bcast: no word from rank 3 within the time that ORVANE_MPI_TIMEOUT gives
""")  # noqa: E501


PICKS = (
    lambda x: x,
    lambda x: x[1],
    lambda x: x[::-2],
    lambda x: x[1:4],
    lambda x: x[::-1],
    lambda x: x[4:0:-1],
)


def program() -> None:
    """Holds every row, and prints what went wrong by rank."""
    from mpi4py import MPI

    from orvane import mpi

    world, r, a = MPI.COMM_WORLD, MPI.COMM_WORLD.rank, orvane.int8(size=(2, 6))
    forms, to_numpy = sys.modules["orvane.mpi.blocks"].Form, orvane.to_numpy
    z, total = (orvane.int16([i * (2 + 3j), i], is_complex=True) for i in (1, 4))
    sums = *((orvane.int8, 100), (orvane.uint8, 200), (orvane.int16, 30000)), (orvane.uint16, 50000)
    b, long = orvane.int8([[i + r] for i in range(5)]), orvane.int8(size=(*[1] * 60, 0))
    ERRORS["RankError"] = mpi.RankError

    def the_page():
        page = Path(__file__).parents[2] / "docs" / "mpi.md"
        exec("\n".join(re.findall(r"```python\n(.*?)```", page.read_text("utf-8"), re.DOTALL)), {})

    def same(array, numbers):
        ours = to_numpy(array)
        return (ours.dtype, ours.tolist()) == (numbers.dtype, numbers.reshape(ours.shape).tolist())

    def parts_of_all_kinds():
        for number, kind in enumerate(KINDS):
            root, whole = number % 4, grid(5, 3, 6, kind=kind)
            for pick in PICKS:
                view, numbers = pick(whole), to_numpy(pick(whole), copy=True)

                def fills(call, *settings, kind=kind, pick=pick, numbers=numbers, **keywords):
                    """Whether it comes into a view, and nothing beside it is written to."""
                    room = grid(5, 3, 6, kind=kind, first=1)
                    wanted, out = to_numpy(room, copy=True), pick(room)
                    pick(wanted)[...] = numbers
                    return call(*settings, out=out, **keywords) is out and same(room, wanted)

                assert same(mpi.bcast(view if r == root else None, root), numbers)
                assert r == root or fills(lambda out, root=root: mpi.bcast(out, root))
                assert r != root or mpi.bcast(view, root) is view
                assert fills(mpi.sendrecv, view, r ^ 1, 5, r ^ 1, 5)
                last = len(view.size)
                four = mpi.allgather(view, axis=last)
                assert fills(mpi.scatter, four if r == root else None, root, axis=last)
                for axis, extent in enumerate(view.size):
                    part = mpi.scatter(view if r == root else None, root, axis=axis)
                    assert same(part, numbers.take(mpi.share(extent), axis))
                    assert (mpi.gather(part, root, axis=axis) is None) == (r != root)
                    assert fills(mpi.allgather, part, axis=axis)
            mine = whole[1:3]
            mine[0][0][0] = r % 2
            assert mpi.sendrecv(mine, r ^ 1, 5, r ^ 1, 5, out=mine) is mine
            assert mine[0][0][0] == (r + 1) % 2

    def from_rank_to_rank():
        array, out, status = orvane.single([[1, 2]]), orvane.double([[1, 2]]), MPI.Status()
        if r == 0:
            mpi.send(array, 1, 7)
            mpi.send(array, 1, 7)
            world.Send(b"123", 1, 7)
            mpi.send(orvane.int8(), 1, 9)
        elif r == 1:
            assert (mpi.recv(status=status), status.source, status.tag) == (array, 0, 7)
            with pytest.raises(mpi.RankError, match="0: out is"):
                mpi.recv(0, out=out)
            with refused(mpi.RankError, "recv: rank 0 has sent no array with tag 7"):
                mpi.recv(0, 7)
            assert mpi.recv().size == (0, 0)
            assert mpi.recv(MPI.PROC_NULL, out=out) is out is not array

    def interrupted():
        limit = patch.dict(os.environ, ORVANE_MPI_TIMEOUT="9")
        with limit, patch("time.sleep", side_effect=KeyboardInterrupt), suppress(KeyboardInterrupt):
            assert r or mpi.send(orvane.int8(np.full((1, 2**20), 7, "b")), 1, 3)
        others = [orvane.int8(size=(1, 2**20)) for _ in range(2)]  # not where MPI still reads
        world.Barrier()
        assert r != 1 or ({*mpi.recv(0, 3)[0]} == {7} and others)
        between = patch("orvane.mpi.blocks.Block.message", side_effect=KeyboardInterrupt)
        with between, suppress(KeyboardInterrupt):
            assert r or mpi.send(others[0], 1, 3)
        assert r or not mpi.send(others[0], 1, 3)
        for _ in range(2 * (r == 1)):
            with refused(mpi.RankError, "recv: rank 0 has sent no array with tag 3"):
                mpi.recv(0, 3)

    def without_room_on_rank_2(scatter, a):
        refuse = Mock(side_effect=MemoryError("no room"))
        with patch.object(forms, "make", refuse if r == 2 else forms.make):
            scatter(a)

    def without_rank_3(bcast, a):
        os.environ["ORVANE_MPI_TIMEOUT"] = "1"
        if r < 2:
            words = ("send: rank 1 has received nothing", "recv: nothing has come from rank 0")[r]
            words += f" with tag {r} within the time that ORVANE_MPI_TIMEOUT gives"
            with refused(mpi.RankError, words):
                mpi.recv(0, 1) if r else mpi.send(a, 1, 0)
        time.sleep(4 * (r == 3))
        return bcast(a)

    names = vars(mpi) | locals()
    told = {"a": "orvane.int8 of size (2, 6)", "z": "complex orvane.int16 of size (1, 2)"}
    faults = {}
    for expression, answer in CASES.args[1]:
        try:
            check(expression, answer.format(**told, long=long.size), **names)
        except BaseException as error:
            faults[expression] = f"rank {r}: {error!r}"
    Path(sys.argv[1], str(r)).write_text(json.dumps(faults))


@pytest.fixture(scope="module")
def faults(tmp_path_factory):
    """What went wrong on each rank, by the row."""
    folder = tmp_path_factory.mktemp("ranks")
    settings = dict.fromkeys(("OMPI_ALLOW_RUN_AS_ROOT", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM"), "1")
    settings["PRTE_MCA_rmaps_default_mapping_policy"] = ":oversubscribe"
    settings["PYTHONPATH"] = str(Path(orvane.__file__).parents[1])
    command = [tool("mpiexec"), "-n", "4", sys.executable, "-m", "mpi4py", __file__, str(folder)]
    run(*command, timeout=120, **settings)
    return [json.loads((folder / str(rank)).read_text()) for rank in range(4)]


@CASES
def test_four_ranks(faults, expression, answer):
    assert [each[expression] for each in faults if expression in each] == []


if __name__ == "__main__":
    program()
