"""What is measured in fresh interpreters: an import, a peak of memory."""

from __future__ import annotations

from .row import Meter, Row

PROCESSES = [
    Row("import orvane", "", "import orvane", "import numpy", 10, meter=Meter.FIRST_TIME),
    Row(
        "peak memory of a million doubles from a buffer",
        "import array, orvane, numpy as np\n"
        "buf = array.array('d', range(1_000_000))\n"
        "warm = orvane.double(buf[:10]), np.array(buf[:10])\n",
        "result = orvane.double(buf)",
        "result = np.array(buf)",
        0.95,
        meter=Meter.PEAK_MEMORY,
    ),
]
