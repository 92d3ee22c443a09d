"""From measured values to verdicts, and from there to text and JSON."""

from __future__ import annotations

import datetime
import json
import math
import platform
import statistics
from dataclasses import dataclass
from importlib.metadata import version

import pyperf

from .growth import GrowthResult
from .inside import InsideResult
from .processor import Processor
from .rows.row import Row
from .texts import aligned, bytes_text, measure_text, seconds_text
from .timing import benchmark_name, sides_of


@dataclass(frozen=True)
class Setting:
    """What the figures depend on."""

    date: str
    machine: str
    interpreter: str
    peers: str

    @classmethod
    def of(cls, suite: pyperf.BenchmarkSuite, processor: Processor) -> Setting:
        known = suite.get_benchmarks()[0].get_metadata()
        return cls(
            date=datetime.datetime.now(datetime.timezone.utc).date().isoformat(),
            machine=f"{processor} x {known.get('cpu_count', '?')}, {known.get('platform', '')}",
            interpreter=f"CPython {platform.python_version()}, {platform.python_compiler()}",
            peers=f"NumPy {version('numpy')}; array.array, list and pickle of the interpreter",
        )

    def lines(self) -> list[str]:
        return [f"{self.date}, {self.machine}", f"{self.interpreter}; beside {self.peers}"]


@dataclass(frozen=True)
class RowResult:
    row: Row
    ours: float
    peer: float
    memcpy: float | None
    quartiles: tuple[float, float]
    """Of the ratios of values that were taken in turn: how steady the ratio is."""

    @property
    def ratio(self) -> float:
        return self.peer / self.ours

    @property
    def holds(self) -> bool | None:
        """None for rows that are only told."""
        if self.row.at_least is None:
            return None
        return self.ratio >= self.row.at_least and (
            self.row.at_most is None or self.ours <= self.row.at_most
        )

    @property
    def verdict(self) -> str:
        """What falls short does so within the noise where a quarter of the ratios do not."""
        if self.holds is None:
            return ""
        if self.holds:
            return "holds"
        return "noise" if self.quartiles[1] >= (self.row.at_least or 0) else "MISSED"


def results_of(suite: pyperf.BenchmarkSuite, rows: list[Row]) -> list[RowResult]:
    results = []
    for row in rows:
        values = {
            side: suite.get_benchmark(benchmark_name(row, side)).get_values()
            for side in sides_of(row)
        }
        ratios = [peer / ours for ours, peer in zip(values["ours"], values["peer"], strict=True)]
        low, _, high = (
            statistics.quantiles(ratios, n=4, method="inclusive") if len(ratios) > 1 else ratios * 3
        )
        medians = {side: statistics.median(taken) for side, taken in values.items()}
        results.append(
            RowResult(row, medians["ours"], medians["peer"], medians.get("memcpy"), (low, high))
        )
    return results


# --- text --------------------------------------------------------------------------------


def rows_text(results: list[RowResult]) -> list[str]:
    table = [
        ["work", "ours", "peer", "ratio", "quartiles", "at least", "verdict", "memcpy", "peer is"]
    ]
    for result in results:
        row = result.row
        low, high = result.quartiles
        table.append(
            [
                row.name,
                measure_text(result.ours, row.meter),
                measure_text(result.peer, row.meter),
                f"{result.ratio:.2f}",
                f"{low:.2f} to {high:.2f}",
                "" if row.at_least is None else f"{row.at_least:g}",
                result.verdict,
                "" if result.memcpy is None else seconds_text(result.memcpy),
                row.peer_is or row.peer,
            ]
        )
    judged = [result for result in results if result.holds is not None]
    held = sum(bool(result.holds) for result in judged)
    close = sum(result.verdict == "noise" for result in results)
    summary = f"{held} of {len(judged)} rows hold, {close} fall short within the noise."
    return [*aligned(table), "", summary]


def growth_text(results: list[GrowthResult]) -> list[str]:
    counts = sorted({point.count for result in results for point in result.points})
    powers = [f"10^{round(math.log10(count))}" for count in counts]
    table = [["work", *powers, *(f"peak, {power}" for power in powers), "time grows", "verdict"]]
    for result in results:
        by_count = {point.count: point for point in result.points}
        table.append(
            [
                result.row.name,
                *(
                    seconds_text(by_count[count].seconds) if count in by_count else ""
                    for count in counts
                ),
                *(
                    bytes_text(by_count[count].peak) if count in by_count else ""
                    for count in counts
                ),
                f"n^{result.order:.2f}",
                "holds" if result.holds else "MISSED",
            ]
        )
    return aligned(table)


def inside_text(results: list[InsideResult]) -> list[str]:
    table = [["inside, C++", "time", "bytes a second", "of memcpy"]]
    for result in results:
        rate = "" if result.bytes_per_second is None else f"{result.bytes_per_second / 1e9:.2f} GB"
        share = "" if result.share_of_memcpy is None else f"{result.share_of_memcpy:.0%}"
        table.append([result.name, seconds_text(result.seconds), rate, share])
    return aligned(table)


@dataclass(frozen=True)
class Report:
    setting: Setting
    rows: list[RowResult]
    growth: list[GrowthResult]
    inside: list[InsideResult]

    def text(self) -> str:
        lines = [
            *self.setting.lines(),
            "ratio = peer's median / our median; above 1 the arrays are ahead",
            "",
        ]
        lines += rows_text(self.rows)
        if self.growth:
            lines += ["", *growth_text(self.growth)]
        if self.inside:
            lines += ["", *inside_text(self.inside)]
        return "\n".join(lines) + "\n"

    def json(self) -> str:
        content = {
            "setting": vars(self.setting),
            "rows": [
                {
                    "name": result.row.name,
                    "measure": result.row.meter.value,
                    "ours": {"code": result.row.ours, "median": result.ours},
                    "peer": {"code": result.row.peer, "median": result.peer},
                    "memcpy": result.memcpy,
                    "ratio": result.ratio,
                    "quartiles": result.quartiles,
                    "at_least": result.row.at_least,
                    "at_most_seconds": result.row.at_most,
                    "holds": result.holds,
                    "verdict": result.verdict,
                }
                for result in self.rows
            ],
            "growth": [
                {
                    "name": result.row.name,
                    "points": [vars(point) for point in result.points],
                    "exponent": result.order,
                    "in_proportion": result.row.in_proportion,
                    "holds": result.holds,
                }
                for result in self.growth
            ],
            "inside": [
                vars(result) | {"share_of_memcpy": result.share_of_memcpy} for result in self.inside
            ],
        }
        return json.dumps(content, indent=1) + "\n"
