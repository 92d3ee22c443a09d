"""The exceptions of the arrays, under the module name by which they are shown and pickled."""

from orvanemultidimarrayforpython import ShapeError, SizeError

__all__ = ["ShapeError", "SizeError"]
