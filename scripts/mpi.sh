#!/usr/bin/env bash
# Builds the package and computes principal components with it on several ranks, or measures what goes between two. Does all
# its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/mpi.sh [--bench] [--python EXECUTABLE] [-- RANKS]

Builds the package into an environment under .venv/, the native example against it, and installs mpi4py and an MPI library
beside them; runs examples/mpi/principal_components.py on 4 ranks of this machine, or as many as are given.

  --bench    measures orvane.mpi beside mpi4py on 2 ranks, or as many as are given, instead: bench/mpi.py
  --python   the interpreter to use in place of the preferred one
TEXT
}

read_options "bench" "$@"
[[ ${#rest[@]} -le 1 && ${rest[0]:-4} =~ ^[1-9][0-9]*$ ]] || die "mpi.sh takes the number of ranks behind --"

prepare_for_example mpi
program=examples/mpi/principal_components.py count=${rest[0]:-4}
[[ ${option[bench]} == no ]] || program=bench/mpi.py count=${rest[0]:-2}
say "$program on $count ranks"
# More ranks than processors, and root as in a container, are what Open MPI asks about.
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1 PRTE_MCA_rmaps_default_mapping_policy=:oversubscribe
exec "$environment/bin/mpiexec" -n "$count" "$environment/bin/python" -m mpi4py "$root/$program"
