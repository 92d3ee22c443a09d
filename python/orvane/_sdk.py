"""Where the files lie that native modules are built against."""

# ruff: noqa: PTH118, PTH120
# os.path is loaded at every start; importing arrays shall load nothing more.
from os.path import dirname, join

import orvanemultidimarrayforpython as _extension

# They lie beside the extension. In an editable install this file stays in the checkout instead.
_PACKAGE = join(dirname(_extension.__file__), "orvane")


def get_include() -> str:
    """The folder of the headers: ``#include <orvane/capsule.h>`` and ``<orvane/python.hpp>``."""
    return join(_PACKAGE, "include")


def get_cmake_dir() -> str:
    """The folder of the CMake package, for ``find_package(Orvane)``."""
    return join(_PACKAGE, "cmake")


def get_library_dir() -> str:
    """The folder of the data-array library."""
    return join(_PACKAGE, "lib")
