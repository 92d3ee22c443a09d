"""Runs programs of the fuzzer for a time, in processes of their own, and tells the seeds of those
that failed or died, shortened to the operations that it takes. Started by `scripts/fuzz.sh`."""

import argparse
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

TESTS = Path(__file__).parents[1] / "tests" / "python"
BATCH = 150  # programs a process
PATIENCE = 600.0  # seconds that one may take

# Every other process sees freed memory changed at once, so that what still reads it is found out.
WATCHFUL = {"PYTHONMALLOC": "debug", "MALLOC_PERTURB_": "165", "ORVANE_KEEP_BLOCKS": "0"}


def attempt(seed: int, programs: int, operations: str = "") -> tuple[int, str]:
    """Runs programs in a process; gives the seed that failed, or -1, and what was said."""
    environment = os.environ | {"PYTHONHASHSEED": "0"}
    if seed // BATCH % 2 and "ORVANE_SANITIZED" not in environment:
        environment |= WATCHFUL
    with tempfile.NamedTemporaryFile() as place:
        words = [str(seed), str(programs), operations, place.name]
        command = [sys.executable, "-X", "faulthandler", "-m", "fuzzing", *words]
        quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.PIPE}
        try:
            done = subprocess.run(command, **quiet, env=environment, cwd=TESTS, timeout=PATIENCE)
            said, code = done.stderr.decode(errors="replace"), done.returncode
        except subprocess.TimeoutExpired:
            said, code = "", "none: it hangs"
        failed = int(Path(place.name).read_text() or seed) if code else -1
    return failed, f"{said}exit code {code}"


def shorten(seed: int, length: int) -> str:
    """A program's operations without those, whole stretches first, without which it still fails."""
    kept = list(range(length))
    size = len(kept) // 2
    while size:
        for first in range(0, len(kept), size):
            fewer = kept[:first] + kept[first + size :]
            if fewer and attempt(seed, 1, ",".join(map(str, fewer)))[0] == seed:
                kept = fewer
                break
        else:
            size //= 2
    return ",".join(map(str, kept))


def build_native_clients() -> None:
    """Once for all processes; without the tools for it, programs do without native code."""
    build = "import native_clients; print(native_clients.build_directory())"
    command = [sys.executable, "-c", build]
    done = subprocess.run(command, cwd=TESTS, capture_output=True, text=True, check=False)
    if done.returncode == 0:
        os.environ["ORVANE_FUZZ_NATIVE"] = done.stdout.strip()
    else:
        print("without native code:", done.stderr.strip().rpartition("\n")[2])


def main() -> int:
    parser = argparse.ArgumentParser(prog="scripts/fuzz.sh --", description=__doc__)
    parser.add_argument("--minutes", type=float, default=10.0, help="how long (10)")
    parser.add_argument("--programs", type=int, help="how many instead")
    parser.add_argument("--seed", type=int, help="of the first program; else told by the clock")
    parser.add_argument("--operations", default="", help="of the program, only these: 1,4,7")
    parser.add_argument("--faults", type=int, default=1, help="after how many to stop (1)")
    parser.add_argument("--load", action="store_true", help="eight threads at the same arrays")
    parser.add_argument("--soak", action="store_true", help="the same programs, memory watched")
    parser.add_argument("--as-it-is", action="store_true", help="does not shorten what fails")
    options = parser.parse_args()
    if options.operations:
        options.programs = 1
    if "ORVANE_FUZZ_NATIVE" not in os.environ:
        build_native_clients()
    if options.load or options.soak:
        work = "fuzzing.load" if options.load else "fuzzing.leaks"
        command = [sys.executable, "-X", "faulthandler", "-m", work, str(options.minutes)]
        return subprocess.call(command, cwd=TESTS, env=os.environ | {"PYTHONHASHSEED": "0"})
    start = time.monotonic()
    first = seed = int(time.time()) * BATCH if options.seed is None else options.seed
    end = first + (options.programs or sys.maxsize)
    until = start + (sys.maxsize if options.programs else 60 * options.minutes)
    faults = 0
    while seed < end and time.monotonic() < until and faults < options.faults:
        count = min(end - seed, BATCH - seed % BATCH)
        failed, said = attempt(seed, count, options.operations)
        if failed >= 0:
            faults += 1
            print(
                f"{said}\nseed {failed} failed after {time.monotonic() - start:.0f} s", flush=True
            )
            if attempt(failed, 1, options.operations)[0] < 0:
                print(f"alone it does not: --seed {seed} --programs {failed - seed + 1}")
            elif not options.as_it_is:
                print(f"again: --seed {failed} --operations {shorten(failed, 61)}", flush=True)
        seed = failed + 1 if failed >= 0 else seed + count
    told = f"{seed - first} programs from seed {first} in {time.monotonic() - start:.0f} s"
    print(f"{told}, {faults} failed")
    return int(faults > 0)


if __name__ == "__main__":
    sys.exit(main())
