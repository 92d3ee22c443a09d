"""The version of the package; the build and the wheel's metadata read it from this line."""

__version__ = "0.1.0"
