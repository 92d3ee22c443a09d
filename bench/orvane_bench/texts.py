"""Measures and tables as text."""

from __future__ import annotations

from .rows.row import Meter


def measure_text(value: float, meter: Meter = Meter.REPEATED) -> str:
    return bytes_text(value) if meter.unit == "byte" else seconds_text(value)


def seconds_text(value: float) -> str:
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6)):
        if value >= size:
            return (
                f"{value / size:.3g} {unit}"
                if value < 999.5 * size
                else f"{value / size:.0f} {unit}"
            )
    return f"{value / 1e-9:.3g} ns"


def bytes_text(value: float) -> str:
    if value < 1e4:
        return f"{value:.0f} B"
    return f"{value / 1e6:.2f} MB" if value < 1e9 else f"{value / 1e9:.2f} GB"


def aligned(table: list[list[str]]) -> list[str]:
    """Columns of equal width; the first to the left, the others to the right."""
    widths = [max(map(len, column)) for column in zip(*table, strict=True)]
    rule = ["-" * width for width in widths]
    lines = []
    for cells in [table[0], rule, *table[1:]]:
        first, *others = (
            cell.ljust(width) if i == 0 else cell.rjust(width)
            for i, (cell, width) in enumerate(zip(cells, widths, strict=True))
        )
        lines.append("  ".join([first, *others]).rstrip())
    return lines
