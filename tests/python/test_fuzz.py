"""A short run of the fuzzer, from seeds that stay; `scripts/fuzz.sh` runs it for a time.

`ORVANE_FUZZ_PROGRAMS` sets how many programs run.
"""

import os
import subprocess
import sys

from native_clients import ROOT

PROGRAMS = os.environ.get("ORVANE_FUZZ_PROGRAMS", 30 if "ORVANE_SANITIZED" in os.environ else 300)


def test_programs():
    words = "--seed", "0", "--programs", str(PROGRAMS), "--as-it-is"
    command = [sys.executable, str(ROOT / "scripts" / "fuzz.py"), *words]
    done = subprocess.run(command, capture_output=True, text=True, timeout=1000)
    assert done.returncode == 0, done.stdout + done.stderr
