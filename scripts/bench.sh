#!/usr/bin/env bash
# Builds the package with its benchmarks and measures it beside its peers. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/bench.sh [--all] [--quick] [--keep] [--python EXECUTABLE] [-- TEXT...]
       scripts/bench.sh --page

Measures the arrays beside NumPy, array.array, lists and the arrays of pybind11 and nanobind, prints the table of
ratios, and leaves it as text, JSON and SVG in output/benchmarks/. Takes about twenty minutes an interpreter on an idle
machine.

  --all      on CPython 3.10, or the next later one, and on the newest installed
  --quick    few samples: for a first look
  --keep     puts text, JSON and chart into docs/benchmarks/, in place of those of the same kind of processor and the
             same interpreter, and renews the page
  --page     renews the tables of docs/benchmarks.md from the kept figures; measures nothing
  --python   the interpreter to use in place of the preferred one
  -- TEXT    only rows whose name contains one of the texts; no growth table, no C++ benchmarks
TEXT
}

read_options "all keep page quick" "$@"

output=$root/output/benchmarks
kept=$root/docs/benchmarks
[[ ${option[keep]} == no ]] || rest=(--keep "$kept" "${rest[@]}")
[[ ${option[quick]} == no ]] || rest=(--quick "${rest[@]}")

renew_page() { # PYTHON
    PYTHONPATH=$root/bench "$1" -m orvane_bench.page "$root/docs/benchmarks.md" "$kept"
}

bench_on() { # PYTHON
    local version environment build groups
    version=$(version_of "$1")
    environment=$root/.venv/$version
    build=$root/build/$version-bench
    say "CPython $version: environment"
    mapfile -t groups < <(build_groups)
    make_environment "$1" "$environment" "${groups[@]}" bench
    say "CPython $version: build"
    install_package "$environment" "$build" ORVANE_BUILD_BENCH=ON
    say "CPython $version: measuring"
    PYTHONPATH=$root/bench:$build/bench "$environment/bin/python" -m orvane_bench --output "$output" "${rest[@]}"
}

if [[ ${option[page]} == yes ]]; then
    ensure python
    renew_page "$(chosen_or_preferred_python)"
    exit
fi
ensure python compiler google_benchmark
preferred=$(chosen_or_preferred_python)
bench_on "$preferred"
newest=$(newest_python)
if [[ ${option[all]} == yes && $(version_of "$newest") != "$(version_of "$preferred")" ]]; then
    bench_on "$newest"
fi
if [[ ${option[keep]} == yes ]]; then
    renew_page "$preferred"
fi
