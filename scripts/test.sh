#!/usr/bin/env bash
# Builds everything and runs all tests. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/test.sh [--all] [--libraries] [--python EXECUTABLE] [-- PYTEST_ARGUMENT...]
       scripts/test.sh --sanitize | --sanitize-threads | --valgrind [--python EXECUTABLE] [-- PYTEST_ARGUMENT...]

Checks format and style, builds the package with its C++ tests, runs those, installs the package into an
environment of its own and runs the Python tests against it, on CPython 3.10 where there is one, else the next later.

  --all                the same on the newest installed CPython too, there with the libraries that arrays are converted
                       from and to, as far as they have a release for it; the documentation site; and some thousand
                       runs of each target of libFuzzer
  --libraries          with those libraries on the first interpreter
  --sanitize           instead: C++ and Python tests under AddressSanitizer and UndefinedBehaviorSanitizer
  --sanitize-threads   instead: C++ tests and what threads do in Python, under ThreadSanitizer
  --valgrind           instead: C++ tests under valgrind's memcheck
  --python             the interpreter to use in place of the preferred one
TEXT
}

read_options "all libraries sanitize sanitize-threads valgrind" "$@"

prepare_environment() { # PYTHON ENVIRONMENT
    local groups
    mapfile -t groups < <(build_groups)
    make_environment "$1" "$2" "${groups[@]}" test
}

run_cpp_tests() { # ENVIRONMENT BUILD_DIRECTORY
    "$1/bin/ctest" --test-dir "$2" --output-on-failure --parallel 2
}

python_tests=("$root/tests/python")
run_python_tests() { # ENVIRONMENT BUILD_DIRECTORY [BUILD_DIRECTORY_OF_THE_CPP_TESTS]
    ORVANE_REPLACEMENT_LIBRARY=${3:-$2}/replacement/libOrvaneDataArray.so ORVANE_NATIVE_BUILD=$2/native-clients \
        "$1/bin/python" -m pytest "${python_tests[@]}" -q "${rest[@]}"
}

build_on() { # PYTHON WITH_CPP_TESTS
    local version environment
    version=$(version_of "$1")
    environment=$root/.venv/$version
    say "CPython $version: environment"
    prepare_environment "$1" "$environment"
    if [[ $1 == "$with_libraries" ]]; then
        say "CPython $version: libraries that arrays are converted from and to"
        install_libraries "$environment"
    fi
    say "CPython $version: build (the first time this takes some minutes)"
    install_package "$environment" "$root/build/$version" "ORVANE_BUILD_TESTS=$2" "${strictness[@]}"
}

build_and_run_cpp_tests_on() { # PYTHON
    local version
    version=$(version_of "$1")
    build_on "$1" ON
    say "C++ tests"
    run_cpp_tests "$root/.venv/$version" "$root/build/$version"
}

test_on() { # PYTHON PYTHON_OF_THE_CPP_TESTS
    local version
    version=$(version_of "$1")
    say "CPython $version: Python tests"
    run_python_tests "$root/.venv/$version" "$root/build/$version" "$root/build/$(version_of "$2")"
}

# Marks in build/ by which the two jobs below know of each other.
note_failure() {
    local status=$?
    [[ $status == 0 ]] || touch "$root/build/failed"
}

wait_until_built() { # VERSION
    until [[ -e $root/build/$1.built ]]; do
        [[ ! -e $root/build/failed ]] || die "CPython $1: what is needed could not be built"
        sleep 1
    done
}

# Pytest ends with 5 where no test is left of those that were chosen.
chosen_are_elsewhere() {
    [[ $? == 5 && ${#rest[@]} -gt 0 ]]
}

# Two jobs side by side, as neither tests nor pip keep more than one core busy. The second is about the newest interpreter,
# the site and libFuzzer; the first takes the preferred one, and then what the newest is asked of libraries, for which it
# finds the native clients built. What the C++ tests are about knows no Python, so they are built and run once, and so is
# the library that stands in for ours.
# shellcheck disable=SC2030,SC2031 # each job has tests of its own
test_on_both() { # PREFERRED NEWEST
    local of_libraries=("$root"/tests/python/test_{convert,dask,files,fuzz,libraries,mpi,transport}.py)
    local log=$root/build/newest.log old new first second status=0
    old=$(version_of "$1")
    new=$(version_of "$2")
    mkdir -p "$root/build"
    rm -f "$root"/build/{"$old.built","$new.built",failed}
    set -m # so that both can be interrupted, each by itself
    trap 'kill -TERM -- "-$first" "-$second"' INT TERM
    {
        trap note_failure EXIT
        build_and_run_cpp_tests_on "$1"
        touch "$root/build/$old.built"
        test_on "$1" "$1"
        wait_until_built "$new"
        python_tests=("${of_libraries[@]}")
        test_on "$2" "$1" || chosen_are_elsewhere
    } &
    first=$!
    {
        trap note_failure EXIT
        build_on "$2" OFF
        touch "$root/build/$new.built"
        wait_until_built "$old"
        python_tests+=("${of_libraries[@]/#/--ignore=}")
        test_on "$2" "$1" || chosen_are_elsewhere
        "$root/scripts/docs.sh" --python "$2"
        "$root/scripts/fuzz.sh" --native -- --runs 20000
    } >"$log" 2>&1 &
    second=$!
    wait "$first" || status=$?
    wait "$second" || status=$?
    trap - INT TERM
    set +m
    cat "$log"
    return "$status"
}

# What the tests ask for beyond all memory has to come back as a null pointer, as it does without the sanitizers.
sanitize_on() { # PYTHON SANITIZER
    local kind=$2 version environment build
    version=$(version_of "$1")
    environment=$root/.venv/$version
    build=$root/build/$version-$kind
    say "CPython $version: environment"
    prepare_environment "$1" "$environment"
    say "CPython $version: build under the sanitizers"
    build_sanitized "$kind" "$environment" "$build" ORVANE_BUILD_TESTS=ON
    say "CPython $version: C++ tests under the sanitizers"
    ASAN_OPTIONS=allocator_may_return_null=1 TSAN_OPTIONS=allocator_may_return_null=1 \
        run_cpp_tests "$environment" "$build"
    say "CPython $version: Python tests under the sanitizers"
    use_sanitized "$build"
    run_python_tests "$environment" "$build"
}

# What is still reachable at the end is what statics and the runtimes keep.
check_with_valgrind() { # PYTHON
    local version environment build launcher
    version=$(version_of "$1")
    environment=$root/.venv/$version
    build=$root/build/$version-valgrind
    launcher="valgrind;--quiet;--error-exitcode=9;--leak-check=full;--errors-for-leak-kinds=definite,indirect,possible"
    say "CPython $version: environment"
    prepare_environment "$1" "$environment"
    say "CPython $version: build of the C++ tests"
    clear_foreign_build "$build" "$root"
    PATH=$environment/bin:$PATH cmake -S "$root" -B "$build" -G Ninja "-DPython_EXECUTABLE=$environment/bin/python" \
        -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVANE_BUILD_TESTS=ON "-DCMAKE_TEST_LAUNCHER=$launcher" >/dev/null
    PATH=$environment/bin:$PATH with_progress "$build.log" cmake --build "$build" --target tests/cpp/all
    say "CPython $version: C++ tests under valgrind"
    run_cpp_tests "$environment" "$build"
}

# Compilers to come warn of more than those of today: where that is found out, in continuous integration, it is an error.
strictness=()
[[ ${CI:-false} == false ]] || strictness=(CMAKE_COMPILE_WARNING_AS_ERROR=ON)

needs=(python compiler googletest lapack eigen)
[[ ${option[all]} == no ]] || needs+=(doxygen libfuzzer)
ensure "${needs[@]}"
preferred=$(chosen_or_preferred_python)

if [[ ${option[valgrind]} == yes ]]; then
    ensure valgrind
    check_with_valgrind "$preferred"
    exit
fi
kind=$(sanitizer)
if [[ -n $kind ]]; then
    [[ $kind == address ]] || python_tests=("$root"/tests/python/test_{fuzz,lifecycle,loans}.py)
    sanitize_on "$preferred" "$kind"
    exit
fi

newest=$(newest_python)
with_libraries=''
[[ ${option[all]} == no ]] || with_libraries=$newest
[[ ${option[libraries]} == no ]] || with_libraries=$preferred

"$root/scripts/lint.sh"
if [[ ${option[all]} == yes && $(version_of "$newest") != "$(version_of "$preferred")" ]]; then
    test_on_both "$preferred" "$newest"
    exit
fi
build_and_run_cpp_tests_on "$preferred"
test_on "$preferred" "$preferred"
if [[ ${option[all]} == yes ]]; then
    "$root/scripts/docs.sh" --python "$newest"
    "$root/scripts/fuzz.sh" --native -- --runs 20000
fi
