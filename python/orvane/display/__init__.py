"""How IPython and Jupyter show arrays: at a glance, however large they are.

``%load_ext orvane`` switches it on, ``%unload_ext orvane`` off, and for every session the line
``c.InteractiveShellApp.extensions.append("orvane")`` in ``ipython_config.py``. What is shown is
type, size, bytes and the corners; in notebooks a heat map beside them. As many elements are read as
are shown. ``repr`` and ``print`` stay as they are.
"""

from .shell import load_ipython_extension, unload_ipython_extension

__all__ = ["load_ipython_extension", "unload_ipython_extension"]
