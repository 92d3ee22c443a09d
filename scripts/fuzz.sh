#!/usr/bin/env bash
# Builds the package and runs the stateful fuzzer on it. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/fuzz.sh [--load | --soak] [--sanitize | --sanitize-threads | --native] [--python EXECUTABLE]
                       [-- ARGUMENT...]

Runs random programs on arrays and all that is derived from them, against the reference model, for ten minutes or
as long as is told. A program that fails or dies is told by its seed, and by those of its operations that it takes.

  --load               instead: eight threads at the same arrays
  --soak               instead: the same programs over and over in one process, of which the memory must stay where the
                       first minute has left it
  --sanitize           under AddressSanitizer and UndefinedBehaviorSanitizer
  --sanitize-threads   under ThreadSanitizer
  --native             instead: each program of tests/fuzz_targets under libFuzzer, for a minute, or as long as --minutes
                       says, or for the number of --runs, 20 seconds at most
  --python             the interpreter to use in place of the preferred one
  -- --minutes M           how long (10)
  -- --programs N          how many programs instead
  -- --seed S              the first program; with --programs 1, or with --operations 3,7,9, that one again
  -- --faults N            stop after so many (1)
TEXT
}

# What libFuzzer finds stands in a file beside the inputs that reached something new, which the next run begins with.
run_fuzz_targets() {
    local build=$root/build/fuzz-targets corpora=$root/output/fuzz limits=(-max_total_time=60) target
    case ${rest[*]} in
    '') ;;
    '--minutes '[0-9]*) limits=("-max_total_time=$((rest[1] * 60))") ;;
    '--runs '[0-9]*) limits=("-runs=${rest[1]}" -max_total_time=20) ;;
    *) die "After --native -- stands only --minutes or --runs, and a whole number." ;;
    esac
    ensure libfuzzer
    export CXX=$fuzzing_compiler
    clear_foreign_build "$build" "$root/tests/fuzz_targets"
    PATH=$environment/bin:$PATH cmake -S "$root/tests/fuzz_targets" -B "$build" -G Ninja \
        "-DPython_EXECUTABLE=$environment/bin/python" >/dev/null
    PATH=$environment/bin:$PATH with_progress "$build.log" cmake --build "$build"
    for target in subscripts reorder number_text data_array; do
        say "$target: ${limits[*]#-}"
        mkdir -p "$corpora/$target"
        # Of what it says, all but what is of no use to who reads it here.
        "$build/$target" "${limits[@]}" "-artifact_prefix=$corpora/$target." -print_final_stats=1 -verbosity=0 -print_funcs=0 \
            "$corpora/$target" 2>&1 | sed -E '/AddressSanitizer failed to allocate|^INFO: |ecommended dictionary|^"/d'
    done
}

read_options "load soak sanitize sanitize-threads native" "$@"
ensure python compiler
preferred=$(chosen_or_preferred_python)
version=$(version_of "$preferred")
environment=$root/.venv/$version
build=$root/build/$version

say "CPython $version: environment"
mapfile -t groups < <(build_groups)
make_environment "$preferred" "$environment" "${groups[@]}" test
if [[ ${option[native]} == yes ]]; then
    run_fuzz_targets
    exit
fi
say "CPython $version: build"
kind=$(sanitizer)
if [[ -n $kind ]]; then
    build=$build-$kind
    build_sanitized "$kind" "$environment" "$build"
    use_sanitized "$build"
else
    install_package "$environment" "$build"
fi
work=()
for one in load soak; do
    [[ ${option[$one]} == no ]] || work+=("--$one")
done
say "CPython $version: ${work[*]:-programs}"
export ORVANE_NATIVE_BUILD=$build/native-clients PATH=$environment/bin:$PATH
"$environment/bin/python" "$root/scripts/fuzz.py" "${work[@]}" "${rest[@]}"
