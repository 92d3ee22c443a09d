"""Elements of one type as elements of another; what does not fit is refused with its place.

Whole numbers fit where they are in range, be they written as integers or not. Numbers become
floating-point ones by rounding, but never infinite. A real number is a complex one, and a complex
one without an imaginary part is real. Everything has a truth value.
"""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from .kinds import Kind
from .places import first_place, refuse_misfit


def fit(numbers: NDArray[Any], kind: Kind) -> NDArray[Any]:
    """The numbers as elements of the kind; the very array where they are that."""
    dtype = kind.dtype
    if numbers.dtype == dtype:
        return numbers
    real, imag = _parts(numbers)
    if kind.code == "b":
        truth: NDArray[np.bool_] = real != 0 if imag is None else (real != 0) | (imag != 0)
        return truth
    if not kind.is_complex:
        if imag is not None:
            _refuse_where(imag != 0, numbers, kind)
        return _fit_part(real, kind, numbers)
    if np.can_cast(numbers.dtype, dtype, "safe") and not dtype.names:
        return numbers.astype(dtype, order="F")
    fitted = np.zeros(numbers.shape, dtype, order="F")
    for name, part in (("real", real), ("imag", imag)):
        if part is not None:
            target = fitted[name] if dtype.names else getattr(fitted, name)
            target[...] = _fit_part(part, kind, numbers)
    return fitted


def _parts(numbers: NDArray[Any]) -> tuple[NDArray[Any], NDArray[Any] | None]:
    if numbers.dtype.names:
        return numbers["real"], numbers["imag"]
    if numbers.dtype.kind == "c":
        return np.real(numbers), np.imag(numbers)
    return numbers, None


def _fit_part(part: NDArray[Any], kind: Kind, whole: NDArray[Any]) -> NDArray[Any]:
    """Real numbers as the parts of the kind; `whole` is what a refusal shows of them."""
    dtype = kind.part_dtype
    if np.can_cast(part.dtype, dtype, "safe"):
        return part.astype(dtype, order="F")
    if dtype.kind == "f":
        with np.errstate(over="ignore"):
            fitted = part.astype(dtype, order="F")
        infinite = np.isinf(fitted)
        if infinite.any():
            _refuse_where(infinite & np.isfinite(part), whole, kind)
        return fitted
    info = np.iinfo(dtype)
    if part.dtype.kind == "f":
        with np.errstate(over="ignore", invalid="ignore"):
            fitted = part.astype(dtype, order="F")
            fits = fitted == part
            # Some machines make the last integer of what exceeds it; as a double that is the bound.
            if dtype.itemsize == 8:
                fits &= part < part.dtype.type(float(int(info.max) + 1))
        if not fits.all():
            _refuse_where(~fits, whole, kind)
        return fitted
    if part.size and not info.min <= int(part.min()) <= int(part.max()) <= info.max:
        _refuse_where((part < info.min) | (part > info.max), whole, kind)
    return part.astype(dtype, order="F")


def _refuse_where(chosen: NDArray[np.bool_], numbers: NDArray[Any], kind: Kind) -> None:
    if chosen.any():
        place = first_place(chosen)
        value = numbers[place]
        raise refuse_misfit(kind, complex(*value) if numbers.dtype.names else value, place)
