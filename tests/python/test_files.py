"""Files that orvane writes and reads itself: nothing is lost or copied, or it says what."""

import os
from contextlib import suppress
from pathlib import Path
from unittest.mock import Mock

import pytest

import orvane
from orvane import files
from orvane.files.whole import written_whole
from support import check, each_kind, grid, table

np = pytest.importorskip("numpy")


def sources(kind):
    """Arrays and views, contiguous and not, some of them without elements."""
    for shape in ((3, 4, 2), (1, 5), (4, 0)):
        whole = grid(*shape, kind=kind)
        yield from (whole, whole[0], whole[::-2])


def mapped(name):
    numbers = np.load(name, mmap_mode="c" if name.stat().st_size > 128 else None)
    assert numbers.flags.f_contiguous
    return repr(orvane.asarray(numbers, copy=False))


@each_kind
def test_npy_files_keep_everything_in_column_major_order(kind, tmp_path):
    for array in sources(kind):
        files.save_npy(tmp_path / "x.npy", array)
        assert mapped(tmp_path / "x.npy") == repr(orvane.asarray(array, copy=True))
    assert [each.name for each in tmp_path.iterdir()] == ["x.npy"]


@each_kind
@pytest.mark.filterwarnings("ignore")  # of processes that are forked
def test_dask_arrays_are_written_by_blocks_in_whatever_process(kind, tmp_path):
    dask, da = pytest.importorskip("dask"), pytest.importorskip("dask.array")
    for array in sources(kind):
        numbers = orvane.to_numpy(array)
        if numbers.ndim == 1 and numbers.size:
            numbers = numbers[:1].reshape(()).astype(numbers.dtype.newbyteorder(">"))
        is_once = kind.format == "Zi" and numbers.ndim == 3
        with dask.config.set(scheduler="processes" if is_once else "threads", num_workers=2):
            files.save_npy(tmp_path / "x.npy", da.from_array(numbers, chunks=2))
        assert mapped(tmp_path / "x.npy") == repr(orvane.asarray(numbers))


@each_kind
def test_arrow_files_are_read_where_they_lie(kind, tmp_path):
    pytest.importorskip("pyarrow")
    name = tmp_path / "x.arrow"
    for array in (grid(3, 4, 2, kind=kind), grid(3, 4, kind=kind)[1]):
        if kind.is_complex or kind.name == "logical":
            words = "complex numbers" if kind.is_complex else "tensors of truth values"
            with pytest.raises(TypeError, match=f"Arrow has no {words}"):
                files.save_arrow(name, array)
            continue
        files.save_arrow(name, array)
        ours, others = files.open_arrow(name), files.open_arrow(name)
        saved = repr(orvane.asarray(array, copy=True))
        assert (repr(ours), str(name) in Path("/proc/self/maps").read_text()) == (saved, True)
        ours[0] = ours.clone()[::-1][0]
        assert repr(others) == repr(files.open_arrow(name)) == saved


@pytest.mark.parametrize("form", ["npy", "arrow"])
def test_files_are_replaced_as_a_whole(form, tmp_path):
    pytest.importorskip("pyarrow")
    save = files.save_npy if form == "npy" else files.save_arrow
    read = (lambda n: orvane.asarray(np.load(n, "c"))) if form == "npy" else files.open_arrow
    name, link = tmp_path / "x", tmp_path / "link"
    save(name, grid(3, 4))
    name.chmod(0o600)
    link.symlink_to(name)
    lies_there = read(name)
    save(link, lies_there[::-1])
    assert (lies_there, read(name)) == (grid(3, 4), grid(3, 4)[::-1].clone())
    assert (link.is_symlink(), name.stat().st_mode & 0o777) == (True, 0o600)


def test_an_interrupt_after_a_fault_leaves_no_part_behind(tmp_path, monkeypatch):
    with suppress(ZeroDivisionError), written_whole(tmp_path / "x"):
        monkeypatch.setattr(Path, "__fspath__", Mock(side_effect=KeyboardInterrupt))
        raise ZeroDivisionError
    monkeypatch.undo()
    assert not [*tmp_path.iterdir()]


@table("""
save_npy(n, [1]) -> TypeError: expected an orvane array or a Dask array, got list
save_npy(n, x.astype("f2")) -> TypeError: arrays have no elements of type float16
save_npy(n, x[x > 0]) -> ValueError: not all chunks know how long they are: call compute_chunk_sizes() first
save_npy(n, x.map_blocks(lambda b: b[:1], dtype=float, chunks=x.chunks)) -> ValueError:
 the block at (slice(0, 4, None), slice(0, 2, None)) is float64 of size (1, 2), announced was float64 of size (4, 2)
save_npy(n, x.map_blocks(lambda b: b > 1, dtype=float)) -> ValueError:
 the block at (slice(0, 4, None), slice(0, 2, None)) is bool of size (4, 2), announced was float64 of size (4, 2)
save_npy(n, da.ma.masked_less(x, 2)) -> ValueError: the block at (slice(0, 4, None), slice(0, 2, None)):
 the value at [0][0] is missing (one of 8 that are masked): give x.filled(value), or x.compressed() for those that are there
save_npy("p", x) -> FileExistsError: [Errno 17] This is no regular file: 'p'
save_arrow("p", orvane.double()) -> FileExistsError: [Errno 17] This is no regular file: 'p'
open_arrow(row_major) -> ValueError: t: the elements are not in column-major order: orvane.asarray(pyarrow.ipc.read_tensor(...)) copies them
""")  # noqa: E501
def test_refusals(expression, answer, tmp_path, monkeypatch):
    da, pa = pytest.importorskip("dask.array"), pytest.importorskip("pyarrow")
    monkeypatch.chdir(tmp_path)
    with pa.OSFile("t", "wb") as file:
        pa.ipc.write_tensor(pa.Tensor.from_numpy(np.ones((2, 3))), file)
    os.mkfifo("p")
    names = {"n": "n.npy", "x": da.ones((4, 2)), "row_major": "t", "da": da, "orvane": orvane}
    check(expression, answer, **names, **vars(files))
    assert sorted(each.name for each in tmp_path.iterdir()) == ["p", "t"]
