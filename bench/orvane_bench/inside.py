"""Runs the C++ benchmarks.

They are linked into an extension module, since some of what they measure needs the interpreter.
"""

from __future__ import annotations

import json
import re
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

RUN = "import sys, orvane_inside_benchmarks; sys.exit(orvane_inside_benchmarks.run(sys.argv[1:]))"


@dataclass(frozen=True)
class InsideResult:
    name: str
    seconds: float
    bytes_per_second: float | None
    memcpy_bytes_per_second: float | None

    @property
    def share_of_memcpy(self) -> float | None:
        """The rate, as a share of that of `memcpy` over as many bytes in the same run."""
        if self.bytes_per_second is None or self.memcpy_bytes_per_second is None:
            return None
        return self.bytes_per_second / self.memcpy_bytes_per_second


def measure_inside(repetitions: int) -> list[InsideResult]:
    with tempfile.TemporaryDirectory() as directory:
        file = Path(directory) / "inside.json"
        arguments = [
            f"--benchmark_out={file}",
            "--benchmark_out_format=json",
            f"--benchmark_repetitions={repetitions}",
            "--benchmark_enable_random_interleaving=true",
            "--benchmark_report_aggregates_only=true",
            "--benchmark_min_time=0.05",
        ]
        subprocess.run(
            [sys.executable, "-c", RUN, *arguments], check=True, stdout=subprocess.DEVNULL
        )
        measured = json.loads(file.read_text())["benchmarks"]

    medians = [entry for entry in measured if entry.get("aggregate_name") == "median"]
    memcpy = {
        entry["moved"]: entry["bytes_per_second"]
        for entry in medians
        if entry["run_name"].startswith("memcpy/")
    }
    return [
        InsideResult(
            entry["run_name"],
            entry["cpu_time"] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[entry["time_unit"]],
            entry.get("bytes_per_second"),
            memcpy.get(entry.get("moved")),
        )
        for entry in sorted(medians, key=place_in_table)
    ]


def place_in_table(entry: dict[str, object]) -> tuple[object, ...]:
    """They come in random order. Numbers in names count as numbers; memcpy goes last."""
    name = str(entry["run_name"])
    parts = [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", name)]
    return name.startswith("memcpy/"), parts
