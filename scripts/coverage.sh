#!/usr/bin/env bash
# Which lines and branches of the C++ the tests or the fuzzer reach. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/coverage.sh [--fuzz] [--python EXECUTABLE] [-- ARGUMENT...]

Builds with GCC's counters, runs C++ and Python tests and prints a table of src/ and data_array/; output/coverage/ tells
the rest, line by line.

  --fuzz     the fuzzer alone, for ten minutes or as long as is told: -- --minutes M
  --python   the interpreter to use in place of the preferred one
TEXT
}

read_options "fuzz" "$@"
ensure python compiler googletest lapack eigen
preferred=$(chosen_or_preferred_python)
version=$(version_of "$preferred")
environment=$root/.venv/$version
build=$root/build/$version-coverage
output=$root/output/coverage

say "CPython $version: environment"
mapfile -t groups < <(build_groups)
make_environment "$preferred" "$environment" "${groups[@]}" test coverage
say "CPython $version: build"
clear_foreign_build "$build" "$root"
PATH=$environment/bin:$PATH cmake -S "$root" -B "$build" -G Ninja "-DPython_EXECUTABLE=$environment/bin/python" \
    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DCMAKE_CXX_FLAGS=--coverage -DORVANE_BUILD_TESTS=ON >/dev/null
PATH=$environment/bin:$PATH with_progress "$build.log" cmake --build "$build"
find "$build" -name '*.gcda' -delete

export PYTHONPATH=$build/package ORVANE_NATIVE_BUILD=$build/native-clients PATH=$environment/bin:$PATH
if [[ ${option[fuzz]} == yes ]]; then
    say "CPython $version: programs"
    "$environment/bin/python" "$root/scripts/fuzz.py" "${rest[@]}" || echo "The fuzzer has found something."
else
    say "CPython $version: tests"
    ctest --test-dir "$build" --parallel 2 >/dev/null || echo "C++ tests failed."
    "$environment/bin/python" -m pytest "$root/tests/python" -q "${rest[@]}" || echo "Python tests failed."
fi
say "Coverage"
mkdir -p "$output"
gcovr --root "$root" --filter "$root/src/" --filter "$root/data_array/" --exclude-throw-branches \
    --exclude-unreachable-branches --txt-metric branch --txt - --html-details "$output/index.html" "$build"
