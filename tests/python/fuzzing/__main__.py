"""`python -m fuzzing SEED PROGRAMS [OPERATIONS] [PLACE]` runs programs in this process.

`scripts/fuzz.py` starts it, and reads in the file at PLACE which seed was at work when it ended.
"""

import contextlib
import gc
import os
import resource
import sys
import traceback

from .leaks import check_leaks
from .program import Program, run

MOST_MEMORY = 8 << 30  # bytes; a single altered one of a pickle has the interpreter ask for 25 GB


def main(first: str, programs: str, only: str = "", place: str = os.devnull) -> int:
    operations = [int(number) for number in only.split(",")] if only else None
    told = os.open(place, os.O_WRONLY)
    gc.freeze()  # what programs collect is theirs
    if "ORVANE_SANITIZED" not in os.environ:  # sanitizers reserve more than there is
        resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    for seed in range(int(first), int(first) + int(programs)):
        with contextlib.suppress(OSError):
            os.pwrite(told, b"%20d" % seed, 0)
        try:
            run(seed, operations)
            if seed % 10 == 0 or programs == "1":
                check_leaks(seed, operations)
        except BaseException:
            traceback.print_exc()
            print(f"seed {seed}", *Program.present.trail, sep="\n", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
