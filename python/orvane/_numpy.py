"""NumPy, where it is installed."""

from importlib.util import find_spec


def has_numpy() -> bool:
    return find_spec("numpy") is not None


def require_numpy(purpose: str) -> None:
    """ImportError that says what to install."""
    if not has_numpy():
        raise ImportError(f"{purpose} needs NumPy: pip install orvane[numpy]")
