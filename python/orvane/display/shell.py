"""What is registered with IPython.

An error of the array, such as that of a view which a reshape has left behind, is shown in the place
of its elements: a traceback would hide what was to be looked at.
"""

from __future__ import annotations

from typing import Any

from .. import ARRAY_TYPES, AnyArray
from .glance import SMALL, count_of, heading_of
from .markup import markup_of
from .text import lines_of


def load_ipython_extension(ipython: Any) -> None:
    """Called by ``%load_ext orvane``."""
    for mime_type, show in _SHOWN_BY.items():
        for array_type in ARRAY_TYPES:
            ipython.display_formatter.formatters[mime_type].for_type(array_type, show)


def unload_ipython_extension(ipython: Any) -> None:
    """Called by ``%unload_ext orvane``; leaves what somebody else has registered since."""
    for mime_type, show in _SHOWN_BY.items():
        formatter = ipython.display_formatter.formatters[mime_type]
        for array_type in ARRAY_TYPES:
            if formatter.type_printers.get(array_type) is show:
                formatter.pop(array_type)


def _show_text(array: AnyArray, printer: Any, cycle: bool) -> None:
    """Alone, an array has lines of its own; among the items of something, one or its ``repr``."""
    try:
        if len(printer.stack) <= 1:
            lines = lines_of(array, printer.max_width)
        elif count_of(array) <= SMALL:
            lines = [repr(array)]
        else:
            lines = [f"<{heading_of(array)}>"]
    except Exception as error:
        lines = [f"<orvane.{type(array).__name__}: {type(error).__name__}: {error}>"]
    for number, line in enumerate(lines):
        if number:
            printer.break_()
        printer.text(line)


def _show_markup(array: AnyArray) -> str | None:
    try:
        return markup_of(array)
    except Exception:
        return None  # the text says what is wrong


_SHOWN_BY = {"text/plain": _show_text, "text/html": _show_markup}
