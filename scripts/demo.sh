#!/usr/bin/env bash
# Builds the package and runs the demo on the handwritten digits. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/demo.sh [--python EXECUTABLE]

Builds the package into an environment under .venv/, and the native example against it; runs examples/digits/demo.py,
whose pictures go to output/.

  --python   the interpreter to use in place of the preferred one
TEXT
}

read_options "" "$@"
[[ ${#rest[@]} -eq 0 ]] || die "demo.sh takes nothing behind --"

prepare_for_example demo
exec "$environment/bin/python" "$root/examples/digits/demo.py" --output "$root/output"
