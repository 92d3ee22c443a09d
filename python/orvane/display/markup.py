"""Arrays in a notebook: the heading, and for each plane a heat map and the corners.

Text and tables have the colours of the page that they stand on, be it light or dark.
"""

from __future__ import annotations

import html
from base64 import b64encode

from .. import AnyArray, logical
from .glance import Plane, heading_of, planes_of, words_of
from .heat import RAMP, HeatMap, heat_map_of

_EDGE = 3
_POINTS = 64
_SIDE = 256
_CELLS = (4, 20)

_LINE = "display:flex;flex-wrap:wrap;align-items:flex-start;gap:.5em 1.5em;margin:.5em 0"
_PICTURE = "display:block;image-rendering:pixelated;outline:1px solid rgba(128,128,128,.6)"
_SMALL = "font-size:85%;margin-top:.4em"
_SWATCH = "display:inline-block;height:.8em;outline:1px solid rgba(128,128,128,.6);margin:0 .4em"
_CELL = "text-align:right;font-family:monospace"


def markup_of(array: AnyArray) -> str:
    parts = [f"<div>{html.escape(heading_of(array))}</div>"]
    for plane in planes_of(array):
        name = f"<div>{plane.name}</div>" if plane.name else ""
        has_map = (
            min(plane.height, plane.width) > 1 or max(plane.height, plane.width) > 2 * _EDGE + 1
        )
        picture = _heat_map(plane, array) if has_map else ""
        parts.append(f'<div style="{_LINE}">{name}{picture}{_table(plane)}</div>')
    return f"<div>{''.join(parts)}</div>"


def _table(plane: Plane) -> str:
    rows = (
        "".join(f'<td style="{_CELL}">{words_of(cell)}</td>' for cell in row)
        for row in plane.corners(_EDGE)
    )
    body = "".join(f"<tr>{row}</tr>" for row in rows)
    return f'<table style="margin:0"><tbody>{body}</tbody></table>'


def _heat_map(plane: Plane, array: AnyArray) -> str:
    heat = heat_map_of(plane.sample(_POINTS))
    width, height = (_pixels(count) for count in (len(heat.rows[0]), len(heat.rows)))
    picture = b64encode(heat.png()).decode()
    if isinstance(array, logical):
        legend = f"{_swatch(RAMP[0])}False {_swatch(RAMP[-1])}True"
    else:
        legend = _scale(heat) + " (magnitude)" * array._is_complex
        legend += "".join(f" {_swatch(colour)}{name}" for name, colour in heat.outside)
    return (
        f'<div><img alt="heat map" width="{width}" height="{height}"'
        f' style="{_PICTURE};width:{width}px;height:{height}px"'
        f' src="data:image/png;base64,{picture}">'
        f'<div style="{_SMALL}">{legend}{_told_steps(plane)}</div></div>'
    )


def _pixels(count: int) -> int:
    least, most = _CELLS
    return count * max(least, min(most, _SIDE // count))


def _told_steps(plane: Plane) -> str:
    """What of a large plane the map shows: who looks for one odd element may not find it there."""
    down, along = plane.steps(_POINTS)
    told = [
        f"one {what} of {step}" for step, what in ((down, "row"), (along, "column")) if step > 1
    ]
    return f"<div>shows {', '.join(told)}</div>" if told else ""


def _scale(heat: HeatMap) -> str:
    if heat.least is None:
        return ""
    if heat.least == heat.greatest:
        return _swatch(RAMP[len(RAMP) // 2]) + words_of(heat.least)
    ramp = ",".join(map(_css, RAMP))
    style = f"{_SWATCH};width:6em;background:linear-gradient(to right,{ramp})"
    return f'{words_of(heat.least)}<span style="{style}"></span>{words_of(heat.greatest)}'


def _swatch(colour: tuple[int, ...]) -> str:
    return f'<span style="{_SWATCH};width:.8em;background:{_css(colour)}"></span>'


def _css(colour: tuple[int, ...]) -> str:
    return "#{:02x}{:02x}{:02x}".format(*colour)
