"""Files that have their name when they are complete, and not before."""

from __future__ import annotations

import errno
import os
import stat
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path
from uuid import uuid4


@contextmanager
def written_whole(name: str | os.PathLike[str]) -> Iterator[Path]:
    """The path of an empty file beside the one that is meant, which it replaces in the end.

    Who has the old file open or mapped keeps it, and when something fails it is still there. Of a
    link, the file that it leads to is replaced; the new one has the old one's permissions.
    FileExistsError where there is something else than a file, such as a device.
    """
    final = Path(os.path.realpath(os.fsdecode(name)))
    part = final.with_name(f"{final.name}.{uuid4().hex[:12]}.part")  # nobody else's, on any machine
    try:
        old = final.stat()
    except FileNotFoundError:
        old = None
    if old and not stat.S_ISREG(old.st_mode):
        raise FileExistsError(errno.EEXIST, "This is no regular file", os.fsdecode(name))
    part_name = str(part)  # asked now: that runs code in which an interrupt may come
    try:
        part.open("xb").close()
        if old:
            part.chmod(stat.S_IMODE(old.st_mode))
        yield part
        part.replace(final)
    finally:
        try:  # noqa: SIM105
            os.unlink(part_name)  # noqa: PTH108  # in one step, before which no interrupt comes
        except OSError:  # it has its name by now, or what went wrong before is told
            pass
