"""Draws images of digits: as text for the terminal and as a sheet in a PNG file."""

from collections.abc import Iterable
from pathlib import Path

import numpy as np
from PIL import Image

from digits import INK, SIDE

SHADES = " ░▒▓█"


def as_text(rows: Iterable[Iterable[int]]) -> str:
    """An image as lines of shades; a pixel is two characters wide, which makes it about square."""
    return "\n".join(
        "".join(SHADES[round(pixel / INK * (len(SHADES) - 1))] * 2 for pixel in row) for row in rows
    )


def side_by_side(pictures: list[str], gap: str = "   ") -> str:
    """Pictures of equal height in one row."""
    return "\n".join(gap.join(lines) for lines in zip(*map(str.splitlines, pictures), strict=True))


def write_sheet(images: np.ndarray, path: Path, *, columns: int, zoom: int = 5) -> None:
    """Writes images, given as rows x columns x count, onto one sheet, dark on light."""
    count = images.shape[2]
    lines = -(-count // columns)
    cell = SIDE + 2
    sheet = np.zeros((lines * cell, columns * cell))
    for i in range(count):
        top, left = i // columns * cell + 1, i % columns * cell + 1
        sheet[top : top + SIDE, left : left + SIDE] = images[:, :, i]
    grey = (255 * (1 - np.clip(sheet / INK, 0, 1))).astype(np.uint8)
    size = (grey.shape[1] * zoom, grey.shape[0] * zoom)
    path.parent.mkdir(parents=True, exist_ok=True)
    Image.fromarray(grey).resize(size, Image.Resampling.NEAREST).save(path)
