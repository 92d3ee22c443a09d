"""The benchmark command. `scripts/bench.sh` prepares what it needs and calls it."""

from __future__ import annotations

import argparse
import sys
from pathlib import Path

from .chart import svg
from .growth import measure_growth
from .inside import measure_inside
from .processor import Processor
from .results import Report, Setting, results_of
from .rows import ROWS
from .timing import QUICK, THOROUGH, measure_all


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="bench", description="Measures the arrays beside their peers."
    )
    parser.add_argument(
        "rows", nargs="*", metavar="TEXT", help="only rows whose name contains one of these"
    )
    parser.add_argument(
        "--quick", action="store_true", help="few samples, no growth beyond 10^7 elements"
    )
    parser.add_argument(
        "--output", type=Path, required=True, help="folder for the table, the JSON and the chart"
    )
    parser.add_argument(
        "--keep",
        type=Path,
        metavar="FOLDER",
        help="where table, JSON and chart are to stay as well",
    )
    arguments = parser.parse_args()
    if arguments.keep and arguments.rows:
        parser.error("only whole tables are kept")
    return arguments


def progress(message: str) -> None:
    """Shows what is being measured: in place on a terminal, else line by line."""
    before, after = ("\r\x1b[K", "") if sys.stderr.isatty() else ("", "\n")
    print(f"{before}{message}", end=after, file=sys.stderr, flush=True)


def main() -> None:
    arguments = parse_arguments()
    wanted = arguments.rows
    chosen = [
        (i, row)
        for i, row in enumerate(ROWS)
        if not wanted or any(text in row.name for text in wanted)
    ]
    if not chosen:
        sys.exit("no row has such a name")

    suite = measure_all(chosen, QUICK if arguments.quick else THOROUGH, progress)
    growth, inside = [], []
    if not wanted:
        growth = list(measure_growth(progress, 10**7 if arguments.quick else 10**8))
        progress("inside")
        inside = measure_inside(repetitions=3 if arguments.quick else 9)
    processor = Processor.here()
    report = Report(
        Setting.of(suite, processor), results_of(suite, [row for _, row in chosen]), growth, inside
    )

    # A set for each kind of machine and each interpreter: a run replaces none but its own.
    place = Path(processor.slug, f"cpython-{sys.version_info.major}.{sys.version_info.minor}")
    for folder in filter(None, (arguments.output, arguments.keep)):
        files = folder / place
        files.parent.mkdir(parents=True, exist_ok=True)
        for suffix, content in (
            (".txt", report.text()),
            (".json", report.json()),
            (".svg", svg(report)),
        ):
            Path(f"{files}{suffix}").write_text(content, encoding="utf-8")
    suite.dump(f"{arguments.output / place}-values.json", replace=True)
    print(report.text(), end="")


main()
