"""What leaves an array as text, as a pickle and as an `array.array`."""

from __future__ import annotations

from .operands import DOUBLES, MATRICES, ROW
from .row import Row

TEXT_AND_PICKLE = [
    Row("str(a) of a million doubles", MATRICES, "str(a)", "str(x.tolist())", 4),
    Row("pickle.dumps(a)", MATRICES, "pickle.dumps(a)", "pickle.dumps(x.tolist())", 1),
    Row(
        "pickle.loads of it",
        MATRICES + "ours = pickle.dumps(a)\npeer = pickle.dumps(x.tolist())\n",
        "pickle.loads(ours)",
        "np.array(pickle.loads(peer))",
        1,
    ),
    Row(
        "a[0].toarray() of a million",
        ROW,
        "a[0].toarray()",
        "array.array('d', x.tobytes())",
        0.9,
        moved_bytes=DOUBLES,
    ),
]
