"""Measures one statement in an interpreter that has done nothing else.

Called with a measure, the setup and the statement. Prints a JSON value: seconds ("first time"),
bytes ("peak memory", "held memory"), or an object with both ("growth"). It imports what it needs
only after the statement has run, so that a measured import finds nothing done before.
"""

# ruff: noqa: PTH123

import sys
import time


def memory_status(field):
    """VmRSS or VmHWM of this process, in bytes."""
    with open("/proc/self/status") as status:
        for line in status:
            if line.startswith(field + ":"):
                return int(line.split()[1]) * 1024
    raise LookupError(field)


def forget_peak():
    with open("/proc/self/clear_refs", "w") as control:
        control.write("5")


def first_time(names, statement):
    code = compile(statement, "statement", "exec")
    start = time.process_time()
    exec(code, names)
    return time.process_time() - start


def peak_memory(names, statement):
    code = compile(statement, "statement", "exec")
    forget_peak()
    before = memory_status("VmRSS")
    exec(code, names)
    return memory_status("VmHWM") - before


def held_memory(names, statement):
    import ctypes

    class HeapUse(ctypes.Structure):
        """The `mallinfo2` of glibc."""

        _fields_ = tuple((f"field{i}", ctypes.c_size_t) for i in range(10))

    heap_use = ctypes.CDLL(None).mallinfo2
    heap_use.restype = HeapUse

    def in_use():
        heap = heap_use()
        return heap.field7 + heap.field4  # in the heap, and in mappings

    code = compile(statement, "statement", "exec")
    before = in_use()
    exec(code, names)
    return in_use() - before


def growth(names, statement):
    peak = peak_memory(names, statement)
    import statistics
    import timeit

    timer = timeit.Timer(statement, timer=time.process_time, globals=names)
    taken = timer.timeit(1)
    loops = max(1, int(0.01 / max(taken, 1e-7)))
    repeats = 3 if taken > 0.5 else 7
    seconds = statistics.median(timer.repeat(repeats, loops)) / loops
    return {"seconds": seconds, "peak": peak}


if __name__ == "__main__":
    measure, setup, statement = sys.argv[1:]
    names = {}
    exec(setup, names)
    if measure == "first time":
        result = first_time(names, statement)
    elif measure == "peak memory":
        result = peak_memory(names, statement)
    elif measure == "held memory":
        result = held_memory(names, statement)
    else:
        result = growth(names, statement)
    import json

    print(json.dumps(result))
