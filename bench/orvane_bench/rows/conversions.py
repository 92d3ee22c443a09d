"""What is made of other libraries' arrays, what they see of ours, and how arrays go to others."""

from __future__ import annotations

from .operands import DOUBLES
from .row import Row

MATRIX = (
    "x = np.asfortranarray(np.random.default_rng(1).random((1000, 1000)))\na = orvane.double(x)\n"
)
ROW_MAJOR = MATRIX + "y = np.ascontiguousarray(x)\n"
BINARY = MATRIX + "import copy\norvane.enable_binary_pickles()\n"
OUT_OF_BAND = (
    BINARY
    + """
def there(array):
    buffers = []
    return pickle.loads(pickle.dumps(array, 5, buffer_callback=buffers.append), buffers=buffers)
"""
)
# The worker takes an item out of a list that has but that one.
POOL = (
    "import multiprocessing, operator\n"
    + BINARY
    + "pool = multiprocessing.get_context('fork').Pool(1)\n"
)

READING = [
    Row(
        "asarray of a million, shared",
        MATRIX,
        "orvane.asarray(x)",
        "np.asarray(memoryview(x))",
        None,
    ),
    Row(
        "asarray of a million, row-major",
        ROW_MAJOR,
        "orvane.asarray(y)",
        "np.asfortranarray(y)",
        0.83,
        moved_bytes=DOUBLES,
    ),
    Row(
        "asarray of a million, row-major, byte-swapped",
        ROW_MAJOR + "y = y.astype('>f8')\n",
        "orvane.asarray(y)",
        "y.astype('f8', order='F')",
        0.83,
        moved_bytes=DOUBLES,
    ),
    Row(
        "asarray of a quarter of a million, every second of rows and columns",
        ROW_MAJOR + "y = y[::2, ::2]\n",
        "orvane.asarray(y)",
        "np.asfortranarray(y)",
        0.83,
    ),
    Row(
        "asarray of a million, singles to doubles",
        MATRIX + "y = x.astype('f4')\n",
        "orvane.asarray(y, 'double')",
        "y.astype('f8', order='F')",
        0.83,
    ),
    Row(
        "asarray of a million, doubles to int32, each tested",
        MATRIX + "y = np.floor(1000 * x)\n",
        "orvane.asarray(y, 'int32')",
        "y.astype('i4', order='F')",
        None,
    ),
    Row(
        "asarray of a list of a million floats",
        MATRIX + "y = x.ravel().tolist()\n",
        "orvane.asarray(y)",
        "np.array(y)",
        2.0,
    ),
    Row(
        "asarray of a list of ten thousand NumPy scalars",
        MATRIX + "y = list(x.ravel()[:10000])\n",
        "orvane.asarray(y)",
        "np.array(y)",
        None,
    ),
    Row(
        "asarray of a list of a thousand rows of a thousand",
        ROW_MAJOR + "y = list(y)\n",
        "orvane.asarray(y)",
        "np.asfortranarray(np.array(y))",
        None,
    ),
    Row(
        "asarray of a list of a thousand views of a thousand",
        MATRIX + "y, peer = list(a), list(x)\n",
        "orvane.asarray(y)",
        "np.asfortranarray(np.array(peer))",
        None,
    ),
]

SHOWING = [
    Row("to_numpy(a)", MATRIX, "orvane.to_numpy(a)", "np.asarray(memoryview(x))", 0.2),
    Row("to_numpy(a[0])", MATRIX, "orvane.to_numpy(a[0])", "np.asarray(memoryview(x[0]))", 0.2),
    Row(
        "with writable(a) as w: w[0, 0] = 1",
        MATRIX,
        "with orvane.writable(a) as w: w[0, 0] = 1",
        "x.view()[0, 0] = 1",
        None,
    ),
    Row("tolist of a million", MATRIX, "orvane.tolist(a)", "x.tolist()", 0.83),
]

TRANSPORT = [
    Row(
        "deepcopy of a million, with binary pickles",
        BINARY,
        "copy.deepcopy(a)",
        "copy.deepcopy(x)",
        0.5,
        moved_bytes=DOUBLES,
    ),
    Row(
        "pickle.dumps of a million, binary",
        BINARY,
        "pickle.dumps(a, 5)",
        "pickle.dumps(x, 5)",
        0.83,
        moved_bytes=DOUBLES,
    ),
    Row(
        "pickle.loads of it, binary",
        BINARY + "ours, peer = pickle.dumps(a, 5), pickle.dumps(x, 5)\n",
        "pickle.loads(ours)",
        "pickle.loads(peer)",
        0.83,
    ),
    Row("pickled and read, out of band", OUT_OF_BAND, "there(a)", "there(x)", None),
    Row(
        "to another process and back, a million",
        POOL,
        "pool.apply(operator.getitem, ([a], 0))",
        "pool.apply(operator.getitem, ([x], 0))",
        0.83,
    ),
]

CONVERSIONS = [*READING, *SHOWING, *TRANSPORT]
