#!/usr/bin/env bash
# Builds the package and computes principal components with it on a cluster of processes, or measures what a cluster does
# with arrays. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/cluster.sh [--bench] [--python EXECUTABLE] [-- OPTION...]

Builds the package into an environment under .venv/, the native example against it, and installs Dask beside them; runs
examples/cluster/principal_components.py on two worker processes of this machine.

  --bench    measures bytes and seconds beside blocks of NumPy's instead: bench/cluster.py
  --python   the interpreter to use in place of the preferred one
  -- OPTION  goes to the program; --help tells which there are: -- --kill-one, for example
TEXT
}

read_options "bench" "$@"

prepare_for_example cluster
say "On a cluster of processes"
program=examples/cluster/principal_components.py
[[ ${option[bench]} == no ]] || program=bench/cluster.py
exec "$environment/bin/python" "$root/$program" "${rest[@]}"
