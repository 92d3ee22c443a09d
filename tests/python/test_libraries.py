"""The lines that the documentation gives for each library, run with the library itself."""

import gc
import re
from importlib.util import find_spec
from pathlib import Path

import pytest

import orvane
from support import evaluate, execute, python, table

np = pytest.importorskip("numpy", "1.26")

MODULES = {
    "dask": "dask.array",
    "feather": "pyarrow.feather",
    "h5py": "h5py",
    "image": "PIL.Image",
    "io": "scipy.io",
    "jax": "jax",
    "joblib": "joblib",
    "json": "json",
    "linalg": "scipy.linalg",
    "numba": "numba",
    "pa": "pyarrow",
    "pd": "pandas",
    "pl": "polars",
    "plt": "matplotlib.figure",
    "scaler": "sklearn.preprocessing",
    "torch": "torch",
    "xr": "xarray",
    "zarr": "zarr",
}
OURS = ("asarray", "from_dlpack", "to_dlpack", "to_numpy", "tolist", "writable")
NUMBERS = [[1.0, 2.0, 3.0], [4.0, 5.0, 6.0]]


def names_in(line):
    """What the line speaks of; skipped where a library is not installed."""
    names = {"np": np, "a": orvane.double(NUMBERS), "b": orvane.double(size=(2, 3))}
    for name in re.findall(r"\b(\w+)\.", line):
        if name in MODULES:
            names[name] = pytest.importorskip(MODULES[name], exc_type=ImportError)
    return names | {name: getattr(orvane, name) for name in OURS}


@pytest.mark.filterwarnings("ignore")  # each library has some to come of its own
@table("""
pd.DataFrame(to_numpy(a), copy=False).to_numpy() -> shared
np.column_stack([pd.Series(to_numpy(c)) for c in (a[0], a[1])]).T -> copied
[c.chunk(0).to_numpy() for c in pa.table([pa.array(c) for c in to_numpy(a).T], "xyz").columns] -> shared
pa.Tensor.from_numpy(to_numpy(a)).to_numpy() -> shared
pl.from_numpy(to_numpy(a)).to_numpy() -> shared
[pl.Series(c).to_numpy() for c in to_numpy(a).T] -> shared
xr.DataArray(to_numpy(a)).values -> shared
dask.from_array(to_numpy(a)).compute() -> copied
torch.from_dlpack(to_dlpack(a)).numpy() -> shared
torch.asarray(to_numpy(a)).numpy() -> shared
torch.asarray(to_numpy(a), copy=True).numpy() -> copied
np.asarray(jax.numpy.asarray(to_numpy(a))) -> copied
np.asarray(jax.dlpack.from_dlpack(to_dlpack(a, writable=True))) -> copied
np.asarray(image.fromarray(to_numpy(asarray(a, "single")))) -> copied
np.asarray(image.frombuffer("F", (2, 3), to_numpy(asarray(a, "single")).T, "raw", "F", 0, 1)).T -> copied
numba.njit(lambda x: x * 1)(to_numpy(a)) -> copied
scaler.StandardScaler(copy=False).fit(to_numpy(a)).inverse_transform([[-1] * 3, [1] * 3]) -> copied
linalg.solve(np.eye(2), to_numpy(a)) -> copied
np.vstack([line.get_ydata() for part in a for line in plt.Figure().subplots().plot(to_numpy(part))]) -> copied
""")  # noqa: E501
def test_what_libraries_make_of_arrays(expression, answer):
    names = names_in(expression)
    made = evaluate(expression, **names)
    columns = list(made.T) if hasattr(made, "T") else made
    ours = orvane.to_numpy(names.pop("a"))
    assert np.array_equal(columns, ours.T)
    assert {np.shares_memory(c, ours) for c in columns} == {answer == "shared"}
    if answer == "shared" and "torch" not in expression:
        assert not any(column.flags.writeable for column in columns)
    del made, ours, names
    gc.collect()
    np.full((2, 3), 7.0), orvane.double(np.full((2, 3), 7.0))
    assert np.array_equal(columns, np.transpose(NUMBERS))


@pytest.mark.filterwarnings("ignore")
@table("""
np.save("f.npy", to_numpy(a)) -> asarray(np.load("f.npy", mmap_mode="c"), copy=False)
np.save("f.npy", to_numpy(a)) -> asarray(np.load("f.npy"), copy=False)
np.savez("f.npz", x=to_numpy(a)) -> asarray(np.load("f.npz")["x"], copy=False)
io.savemat("f.mat", {"x": to_numpy(a)}) -> asarray(io.loadmat("f.mat")["x"], copy=False)
h5py.File("f", "w")["x"] = to_numpy(a) -> asarray(h5py.File("f")["x"])
h5py.File("f", "w").create_dataset("x", data=np.tile(to_numpy(a), (9**6, 1)), chunks=(1000, 3)) -> asarray(h5py.File("f")["x"])[-2:].clone()
h5py.File("f", "w")["x"] = to_numpy(a).T -> [h5py.File("f")["x"].read_direct(x.T) for x in [to_numpy(b, writable=True)]] and b
h5py.File("f", "w")["x"] = to_numpy(a).astype(">i2") -> asarray(h5py.File("f")["x"], float)
zarr.save_array("f", to_numpy(a)) -> asarray(zarr.open_array("f"))
zarr.create_array("f", data=np.tile(to_numpy(a).astype(">f4"), (9**6, 1)), chunks=(10**5, 3)) -> asarray(zarr.open_array("f"), float)[-2:].clone()
dask.from_array(to_numpy(a), chunks=2).to_zarr("f") -> asarray(dask.from_zarr("f"))
feather.write_feather(pa.table([pa.array(c) for c in to_numpy(a).T], [*"xyz"]), "f") -> asarray(feather.read_table("f"))
joblib.dump(a, "f") -> joblib.load("f")
json.dump(tolist(a), open("f", "w")) -> asarray(json.load(open("f")))
1 -> asarray(xr.DataArray(np.asfortranarray(tolist(a))), copy=False)
1 -> asarray(torch.tensor(tolist(a), dtype=torch.float16), float)
1 -> asarray(jax.numpy.asarray(tolist(a), dtype="bfloat16"), float)
1 -> numba.njit("void(float64[::1, :], float64[::1, :])")(copied)(to_numpy(b, writable=True), to_numpy(a, copy=True)) or b
1 -> asarray(dask.from_array(to_numpy(a), chunks=1))
1 -> asarray(image.fromarray(to_numpy(asarray(a, "uint8"))), float)
""")  # noqa: E501
def test_there_and_back(expression, answer, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    names = names_in(f"{expression} {answer}") | {"copied": copied}
    execute(expression, **names)
    assert repr(evaluate(answer, **names)) == repr(names["a"])


def copied(x, y):
    x[:] = y


@pytest.mark.skipif(find_spec("mpi4py") is None, reason="mpi4py is not installed")
def test_messages_are_received_in_place():
    """In a process of its own, as that starts the whole machinery of messages."""
    program = f"""
import sys
sys.path.insert(0, {str(Path(orvane.__file__).parents[1])!r})
from mpi4py.MPI import COMM_SELF
import orvane
a, b = orvane.double({NUMBERS}), orvane.double(size=(2, 3))
with orvane.writable(b) as x:
    COMM_SELF.Sendrecv(orvane.to_numpy(a), 0, recvbuf=x, source=0)
print(a == b)
"""
    assert python(program) == "True\n"
