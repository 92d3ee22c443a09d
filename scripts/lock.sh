#!/usr/bin/env bash
# Chooses the versions of what the scripts install, and writes them to requirements/ with their hashes.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/lock.sh [--upgrade]

Writes, for each dependency group of pyproject.toml that the scripts install, requirements/GROUP.txt: the versions for all
interpreters from the oldest on, and the hashes that pip compares. Versions stay as they are while they do.

  --upgrade   takes the newest of all
TEXT
}

read_options "upgrade" "$@"

groups=(installer lock build boost-headers test bench coverage wheels demo mpi cluster docs lint)
arguments=(--quiet --universal --python-version "3.${maintained_minors[0]}" --generate-hashes --no-header)
[[ ${option[upgrade]} == no ]] || arguments+=(--upgrade)

ensure python
environment=$root/.venv/lock
make_environment "$(chosen_or_preferred_python)" "$environment" lock
cd "$root"
for group in "${groups[@]}"; do
    printf '%s\n' "$group"
    "$environment/bin/uv" pip compile "${arguments[@]}" --group "pyproject.toml:$group" --output-file "requirements/$group.txt"
done
