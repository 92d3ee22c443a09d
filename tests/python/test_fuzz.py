"""Short runs of the fuzzer, from seeds that stay, and of the load: `scripts/fuzz.sh` takes longer.

`ORVANE_FUZZ_PROGRAMS` sets how many programs run.
"""

import os
import subprocess
import sys

import pytest

from native_clients import ROOT

PROGRAMS = os.environ.get("ORVANE_FUZZ_PROGRAMS", 30 if "ORVANE_SANITIZED" in os.environ else 300)
RUNS = f"--seed 0 --programs {PROGRAMS} --as-it-is", "--load --minutes 0.05"


@pytest.mark.parametrize("words", RUNS)
def test_programs(words):
    command = [sys.executable, str(ROOT / "scripts" / "fuzz.py"), *words.split()]
    done = subprocess.run(command, capture_output=True, text=True, timeout=1000)
    assert done.returncode == 0, done.stdout + done.stderr
