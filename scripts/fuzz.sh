#!/usr/bin/env bash
# Builds the package and runs the stateful fuzzer on it. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/fuzz.sh [--sanitize] [--python EXECUTABLE] [-- ARGUMENT...]

Runs random programs on arrays and all that is derived from them, against the reference model, for ten minutes or
as long as is told. A program that fails or dies is told by its seed, and by those of its operations that it takes.

  --sanitize   under AddressSanitizer and UndefinedBehaviorSanitizer
  --python     the interpreter to use in place of the preferred one
  -- --minutes M           how long (10)
  -- --programs N          how many programs instead
  -- --seed S              the first program; with --programs 1, or with --operations 3,7,9, that one again
  -- --faults N            stop after so many (1)
TEXT
}

read_options "sanitize" "$@"
ensure python compiler
preferred=$(chosen_or_preferred_python)
version=$(version_of "$preferred")
environment=$root/.venv/$version
build=$root/build/$version

say "CPython $version: environment"
mapfile -t groups < <(build_groups)
make_environment "$preferred" "$environment" "${groups[@]}" test
say "CPython $version: build"
if [[ ${option[sanitize]} == yes ]]; then
    build=$build-sanitize
    build_sanitized "$environment" "$build"
    use_sanitized "$build"
else
    install_package "$environment" "$build"
fi
say "CPython $version: programs"
export ORVANE_NATIVE_BUILD=$build/native-clients PATH=$environment/bin:$PATH
"$environment/bin/python" "$root/scripts/fuzz.py" "${rest[@]}"
