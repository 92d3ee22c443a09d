"""The ratios as a bar chart in SVG, on a logarithmic axis."""

from __future__ import annotations

import math
from html import escape

from .results import Report, RowResult
from .texts import measure_text

LABEL_WIDTH = 400
PLOT_WIDTH = 470
TIMES_WIDTH = 190
MARGIN = 16
ROW_HEIGHT = 19
HEAD_HEIGHT = 92
FOOT_HEIGHT = 46

HELD = "#2e7d5b"
MISSED = "#c0452c"
TOLD = "#7d8794"
INK = "#1f2630"
FAINT = "#d5dae0"


def text(
    x: float,
    y: float,
    content: str,
    *,
    size: int = 11,
    fill: str = INK,
    anchor: str = "start",
    **more: str,
) -> str:
    attributes = {"font-size": size, "fill": fill, "text-anchor": anchor, **more}
    written = "".join(f' {name.replace("_", "-")}="{value}"' for name, value in attributes.items())
    return f'<text x="{x:.1f}" y="{y:.1f}"{written}>{escape(content)}</text>'


def line(x1: float, y1: float, x2: float, y2: float, stroke: str, width: float = 1) -> str:
    return (
        f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
        f'stroke="{stroke}" stroke-width="{width}"/>'
    )


def box(x: float, y: float, width: float, height: float, fill: str) -> str:
    return (
        f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" height="{height:.1f}" fill="{fill}"/>'
    )


class Axis:
    """Ratios to x coordinates. Shows 1 and every ratio and threshold."""

    def __init__(self, results: list[RowResult]) -> None:
        shown = (
            [result.ratio for result in results]
            + [result.row.at_least or 1 for result in results]
            + [1]
        )
        self._low = math.log2(min(shown)) - 0.3
        self._high = math.log2(max(shown)) + 0.7
        self.left = MARGIN + LABEL_WIDTH

    def x(self, ratio: float) -> float:
        return self.left + PLOT_WIDTH * (math.log2(ratio) - self._low) / (self._high - self._low)

    def ticks(self) -> list[float]:
        return [2.0**power for power in range(math.ceil(self._low), math.floor(self._high) + 1)]


def bar(result: RowResult, axis: Axis, y: float) -> list[str]:
    color = {True: HELD, False: MISSED, None: TOLD}[result.holds]
    start, end = sorted((axis.x(1), axis.x(result.ratio)))
    middle = y + ROW_HEIGHT * 0.68
    meter = result.row.meter
    parts = [
        text(axis.left - 8, middle, result.row.name, anchor="end"),
        box(start, y + 4, max(end - start, 1), ROW_HEIGHT - 8, color),
        text(
            max(end, axis.x(1)) + 6, middle, f"{result.ratio:.2f}", fill=color, font_weight="bold"
        ),
        text(
            axis.left + PLOT_WIDTH + TIMES_WIDTH,
            middle,
            f"{measure_text(result.ours, meter)} : {measure_text(result.peer, meter)}",
            anchor="end",
        ),
    ]
    if result.row.at_least is not None:
        x = axis.x(result.row.at_least)
        parts.append(line(x, y + 2, x, y + ROW_HEIGHT - 2, INK, 2))
    return parts


def svg(report: Report) -> str:
    axis = Axis(report.rows)
    width = 2 * MARGIN + LABEL_WIDTH + PLOT_WIDTH + TIMES_WIDTH
    bottom = HEAD_HEIGHT + ROW_HEIGHT * len(report.rows)
    parts = [box(0, 0, width, bottom + FOOT_HEIGHT, "#ffffff")]
    parts.append(
        text(
            MARGIN,
            26,
            "Orvane arrays beside their peers: peer's time / ours",
            size=16,
            font_weight="bold",
        )
    )
    parts += [
        text(MARGIN, 46 + 16 * i, content) for i, content in enumerate(report.setting.lines())
    ]
    parts.append(
        text(
            axis.left + PLOT_WIDTH + TIMES_WIDTH,
            HEAD_HEIGHT - 8,
            "ours : peer, medians",
            anchor="end",
        )
    )
    for tick in axis.ticks():
        x = axis.x(tick)
        parts.append(line(x, HEAD_HEIGHT, x, bottom, INK if tick == 1 else FAINT))
        parts.append(text(x, bottom + 16, f"{tick:g}", anchor="middle"))
    for i, result in enumerate(report.rows):
        parts += bar(result, axis, HEAD_HEIGHT + ROW_HEIGHT * i)
    legend = (
        "Right of 1 the arrays are ahead. Black marks: the ratio to be reached. "
        "Green: reached; red: missed; grey: only told."
    )
    parts.append(text(MARGIN, bottom + 36, legend))
    body = "\n".join(parts)
    height = bottom + FOOT_HEIGHT
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'viewBox="0 0 {width} {height}" font-family="DejaVu Sans, Verdana, sans-serif">\n'
        f"{body}\n</svg>\n"
    )
