# Functions that the scripts share: system packages, the choice of an interpreter, virtual environments, the build.
# Sourced, never run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export PIP_DISABLE_PIP_VERSION_CHECK=1
export PYTHONUTF8=1
# Where there is a cache of compilations, one checkout finds what another has compiled.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=true
unset PYTHONHOME PYTHONPATH

# The interpreters that are looked for, the preferred one first.
readonly maintained_minors=(10 11 12 13 14 15)

say() { printf '\n== %s\n' "$*"; }

die() {
    printf '\nerror: %s\n' "$*" >&2
    exit 1
}

# read_options "FLAG..." ARGUMENT...: ${option[FLAG]} becomes yes where --FLAG is given and no otherwise; `chosen` what
# follows --python, and `rest` what follows --. The script's function `usage` tells of them all.
declare -A option
chosen=''
read_options() {
    local flags flag
    read -ra flags <<<"$1"
    shift
    for flag in "${flags[@]}"; do
        option[$flag]=no
    done
    chosen='' rest=()
    while [[ $# -gt 0 ]]; do
        case $1 in
        --python)
            [[ $# -ge 2 ]] || die "--python needs the path of an interpreter"
            chosen=$2
            shift
            ;;
        --)
            shift
            rest=("$@")
            return
            ;;
        --help)
            usage
            exit 0
            ;;
        *)
            flag=${1#--}
            if [[ $1 != --?* || -z ${option[$flag]:-} ]]; then
                usage >&2
                exit 2
            fi
            option[$flag]=yes
            ;;
        esac
        shift
    done
}

# --- system packages -------------------------------------------------------------------------------------------

# What a script may need of the machine: whether it is there is told by the function has_NEED.
declare -rA need_title=(
    [python]="CPython 3.10 or later with its headers"
    [compiler]="a C++20 compiler (GCC 11, Clang 14 or later)"
    [googletest]="GoogleTest"
    [google_benchmark]="Google Benchmark"
    [lapack]="LAPACK, which the native example computes with"
    [eigen]="Eigen, whose matrices native modules take"
    [libfuzzer]="Clang with libFuzzer"
    [doxygen]="Doxygen, which reads the headers for native modules"
    [valgrind]="valgrind"
    [debug_python]="a debugging CPython with its headers"
)
declare -rA need_packages=(
    [python]="python3 python3-dev python3-venv"
    [compiler]="g++ libc6-dev"
    [googletest]="libgtest-dev"
    [google_benchmark]="libbenchmark-dev"
    [lapack]="libopenblas-dev"
    [eigen]="libeigen3-dev"
    [libfuzzer]="clang libclang-rt-dev"
    [doxygen]="doxygen"
    [valgrind]="valgrind"
    [debug_python]="python3-dbg python3-dev python3-venv"
)
# A package that is too old on the machine's release is not worth the minutes that installing takes.
declare -rA need_release=([python]="python3 3.10" [compiler]="g++ 11")

# ensure NEED...: installs all that is missing at once, by apt-get, as root or through sudo; tells what to do where that
# cannot be.
ensure() {
    local need missing=() titles='' packages='' as_root=() lacking advice
    for need in "$@"; do
        "has_$need" && continue
        missing+=("$need")
        titles+=${titles:+, }${need_title[$need]}
        packages+=${packages:+ }${need_packages[$need]}
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0
    lacking="Missing on this machine: $titles.$(unfit_tools "${missing[@]}")"
    advice="Please install the equivalent of these Debian packages and start again: $packages"
    command -v apt-get >/dev/null || die "$lacking"$'\n'"There is no apt-get here to install it. $advice"
    refuse_old_releases "${missing[@]}" # as far as is known without asking
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null ||
            die "$lacking"$'\n'"There is neither root nor sudo here to install it. $advice"
        as_root=(sudo)
    fi
    say "$lacking"
    "${as_root[@]}" apt-get update -qq || echo "apt-get could not read all that there is to install; going on without."
    refuse_old_releases "${missing[@]}"
    printf 'Installing %s (this takes a minute or two)\n' "$packages"
    # shellcheck disable=SC2086 # the names of packages are words
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $packages \
        >/dev/null || die "apt-get could not install what is missing. $advice"
    for need in "${missing[@]}"; do
        "has_$need" || die "After installing ${need_packages[$need]}, this is still missing:" \
            "${need_title[$need]}.$(unfit_tools "$need")"
    done
}

# refuse_old_releases NEED...: ends the script where the machine's packages are older than what is needed.
refuse_old_releases() {
    local need package wanted offered old=''
    for need in "$@"; do
        read -r package wanted <<<"${need_release[$need]:-}"
        [[ -n $package ]] || continue
        offered=$(LC_ALL=C apt-cache policy "$package" | sed -n 's/^ *Candidate: \([0-9]*:\)\?\([0-9.]*\).*/\2/p')
        if [[ -n $offered ]] && ! printf '%s\n' "$wanted" "$offered" | sort --check=quiet --version-sort; then
            old+=$'\n'"  ${need_title[$need]} is needed, and $package of this system is $offered."
        fi
    done
    [[ -z $old ]] || die "The packages of this system are too old; nothing was installed.$old"$'\n'"Please install" \
        "later ones yourself: a CPython on the PATH, among the versions of pyenv or named by --python; a compiler on" \
        "the PATH or named by the variable CXX."
}

# unfit_tools NEED...: of interpreters and compilers, those that were found and why they do not do.
unfit_tools() {
    local need candidate fault
    for need in "$@"; do
        case $need in
        python)
            for candidate in $(compgen -c python3 | grep -E '^python3(\.[0-9]+)?$' | sort -uV); do
                fault=$(python_fault "$(command -v "$candidate")")
                [[ -z $fault || $fault == "does not run" ]] ||
                    printf '\n  Found %s, which %s.' "$(command -v "$candidate")" "$fault"
            done
            ;;
        compiler)
            for candidate in $(compiler_names); do
                ! command -v "$candidate" >/dev/null ||
                    printf '\n  Found %s, which does not compile what GCC 11 and Clang 14 do.' "$(command -v "$candidate")"
            done
            ;;
        esac
    done
}

# --- the compiler ----------------------------------------------------------------------------------------------

# compiles SOURCE [ARGUMENT...]: whether the C++ compiler accepts the text as C++20.
compiles() {
    local source=$1 command
    shift
    read -ra command <<<"${CXX:-c++}"
    [[ $# -gt 0 ]] || set -- -fsyntax-only
    printf '%s\n' "$source" | "${command[@]}" -std=c++20 -x c++ - "$@" >/dev/null 2>&1
}

# What the sources use and earlier compilers do not have.
readonly compiler_probe='
#include <algorithm>
#include <bit>
#include <compare>
#include <concepts>
#include <span>
enum class Answer { Yes };
consteval bool yes(Answer answer) {
    using enum Answer;
    return answer == Yes;
}
constinit bool answer = yes(Answer::Yes);
struct Pair {
    int first, second;
    auto operator<=>(const Pair&) const = default;
};
template <class T> requires std::integral<T>
bool all(std::span<const T> values) {
    return std::ranges::all_of(values, []<class U>(U value) { return std::bit_cast<U>(value) != 0; });
}
bool some(std::span<const int> values) { return all<int>(values) && Pair{1, 2} < Pair{2, 1}; }'

# compiler_names: the usual name first, then those with a version, the latest first.
compiler_names() {
    printf '%s\n' c++ g++ clang++
    { compgen -c g++- || true; compgen -c clang++-; } | grep -E '^[a-z]+\+\+-[0-9]+$' | sort -uVr
}

# has_compiler: chooses the first that compiles the probe, unless CXX names one. All that is built afterwards is built
# with it, whatever the interpreter was built with; so the choice is exported, and the C compiler beside it.
has_compiler() {
    local candidate
    if [[ -n ${CXX:-} ]]; then
        compiles "$compiler_probe" ||
            die "'$CXX', which the variable CXX names, does not compile C++20 as GCC 11, Clang 14 and later do."
    else
        for candidate in $(compiler_names); do
            if CXX=$candidate compiles "$compiler_probe"; then
                CXX=$candidate
                break
            fi
        done
        [[ -n ${CXX:-} ]] || return
    fi
    export CXX
    case $CXX in
    *clang++*) candidate=${CXX/clang++/clang} ;;
    *g++*) candidate=${CXX/g++/gcc} ;;
    *) candidate=${CXX/c++/cc} ;;
    esac
    if [[ -z ${CC:-} ]] && command -v "${candidate##* }" >/dev/null; then
        export CC=$candidate
    fi
}

# has_libfuzzer: `fuzzing_compiler` becomes the first Clang that can link a fuzz target.
has_libfuzzer() {
    local probe='extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }'
    for fuzzing_compiler in $(compiler_names); do
        [[ $fuzzing_compiler == clang* ]] || continue
        CXX=$fuzzing_compiler compiles "$probe" -fsanitize=fuzzer,address,undefined -o /dev/null && return
    done
    return 1
}

has_doxygen() { command -v doxygen >/dev/null; }

has_googletest() { compiles '#include <gtest/gtest.h>'; }

has_google_benchmark() { compiles '#include <benchmark/benchmark.h>'; }

has_valgrind() { command -v valgrind >/dev/null; }

has_eigen() { compiles '#include <eigen3/Eigen/Core>' || compiles '#include <Eigen/Core>'; }

# Whether a program that calls LAPACK can be linked, by either of the usual names.
has_lapack() {
    local library
    for library in lapack openblas; do
        compiles 'extern "C" void dgesdd_(); int main() { dgesdd_(); }' -o /dev/null "-l$library" && return
    done
    return 1
}

# --- interpreters ----------------------------------------------------------------------------------------------

# python_fault EXECUTABLE: what keeps it from being used, in words; nothing if it is a CPython of a known version with
# its headers and the means to make an environment.
python_fault() {
    "$1" - "${maintained_minors[@]}" 2>/dev/null <<'PY' || echo "does not run"
import os, platform, sys, sysconfig

def fault():
    if platform.python_implementation() != "CPython":
        return "is no CPython"
    if sys.version_info[0] != 3 or str(sys.version_info[1]) not in sys.argv[1:]:
        return "is CPython %d.%d, not one of 3.%s to 3.%s" % (sys.version_info[:2] + (sys.argv[1], sys.argv[-1]))
    if not os.path.exists(os.path.join(sysconfig.get_paths()["include"], "Python.h")):
        return "has no headers (Python.h)"
    try:
        import ensurepip, venv
    except ImportError:
        return "lacks the module venv or ensurepip"

answer = fault()
if answer:
    print(answer)
PY
}

# find_python MINOR...: the first usable interpreter, in the order of the minor versions given; nothing if there is none.
find_python() {
    local minor candidate
    for minor in "$@"; do
        for candidate in "$(command -v "python3.$minor" || true)" \
            "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3."$minor".*/bin/python /usr/bin/python3."$minor"; do
            if [[ -x $candidate && -z $(python_fault "$candidate") ]]; then
                "$candidate" -c 'import sys; print(sys.executable)'
                return
            fi
        done
    done
}

# has_python: whether there is one to take; one that --python names has to be usable.
has_python() {
    local fault
    if [[ -n $chosen ]]; then
        command -v "$chosen" >/dev/null || die "There is no interpreter $chosen."
        fault=$(python_fault "$chosen")
        [[ -z $fault ]] || die "The interpreter $chosen $fault."
    else
        [[ -n $(find_python "${maintained_minors[@]}") ]]
    fi
}

# has_debug_python: `debug_python` becomes the one that --python names, else the first that counts references.
has_debug_python() {
    for debug_python in ${chosen:-python3-dbg $(compgen -c python3. | grep -E '^python3\.[0-9]+-?d(bg)?$' | sort -uV)}; do
        [[ -z $(python_fault "$debug_python") ]] || continue
        debug_python=$("$debug_python" -c 'import sys; print(hasattr(sys, "gettotalrefcount") and sys.executable or "")')
        [[ -z $debug_python ]] || return 0
    done
    return 1
}

# chosen_or_preferred_python: the one of the option --python, else the first that is found.
chosen_or_preferred_python() {
    if [[ -n $chosen ]]; then
        "$chosen" -c 'import sys; print(sys.executable)'
    else
        find_python "${maintained_minors[@]}"
    fi
}

newest_python() {
    local descending=() minor
    for minor in "${maintained_minors[@]}"; do
        descending=("$minor" "${descending[@]}")
    done
    find_python "${descending[@]}"
}

# version_of PYTHON: with the letter of its kind, as in 3.14t without the lock or 3.14d for debugging, as neither runs what is
# built for another.
version_of() { "$1" -c 'import sys; print("%d.%d" % sys.version_info[:2] + sys.abiflags)'; }

# --- virtual environments and the build ------------------------------------------------------------------------

# make_environment PYTHON DIRECTORY GROUP...: an environment with dependency groups of pyproject.toml, of which
# requirements/ names the versions and the hashes. It is made anew when the interpreter or the place of the checkout has
# changed; packages are asked for only when their list has. What is done is written down when it is done, so that a run
# that broke off is made up for by the next.
make_environment() {
    local python=$1 directory=$2
    shift 2
    local identity group stamp
    identity=$("$python" -c 'import sys; print(sys.version, sys.executable, sys.argv[1])' "$directory")
    if [[ $(cat "$directory/made-for" 2>/dev/null) != "$identity" || ! -x $directory/bin/python ]]; then
        rm -rf "$directory"
        "$python" -m venv "$directory"
        install_locked "$directory" installer
        printf '%s\n' "$identity" >"$directory/made-for"
    fi
    for group in "$@"; do
        stamp=$directory/installed-$group
        if ! cmp -s "$root/requirements/$group.txt" "$stamp"; then
            install_locked "$directory" "$group"
            cp "$root/requirements/$group.txt" "$stamp"
        fi
    done
}

install_locked() { # ENVIRONMENT GROUP
    "$1/bin/python" -m pip install -qq --require-hashes --requirement "$root/requirements/$2.txt" ||
        die "pip could not install what requirements/$2.txt names; is the network there? Starting again takes up the" \
            "work where it stopped."
}

# install_libraries ENVIRONMENT: the dependency group `libraries`, at once or, where one of them has no release for the
# interpreter, each that has. Nothing is compiled. The tests skip what is not there, and say so.
install_libraries() {
    local python=$1/bin/python stamp=$1/installed-libraries requirement
    local install=("$python" -m pip install -qq --only-binary ':all:')
    ! cmp -s "$root/pyproject.toml" "$stamp" || return 0
    if ! "${install[@]}" --group "$root/pyproject.toml:libraries" 2>/dev/null; then
        while read -r requirement; do
            "${install[@]}" "$requirement" 2>/dev/null || echo "not to be had for this interpreter: $requirement"
        done < <("$python" - "$root/pyproject.toml" <<'PY'
import sys

try:
    import tomllib
except ImportError:
    from pip._vendor import tomli as tomllib

with open(sys.argv[1], "rb") as file:
    print(*tomllib.load(file)["dependency-groups"]["libraries"], sep="\n")
PY
        )
    fi
    cp "$root/pyproject.toml" "$stamp"
}

# build_groups: the dependency groups that a build needs on this machine.
build_groups() {
    echo build
    compiles '#include <boost/numeric/conversion/cast.hpp>' || echo boost-headers
}

# clear_foreign_build BUILD_DIRECTORY SOURCE: removes a build directory that another compiler has filled, or that lay
# elsewhere, as CMake will not work with either.
clear_foreign_build() {
    local cache=$1/CMakeCache.txt home compiler
    [[ -f $cache ]] || return 0
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:[A-Z]*=//p' "$cache")
    compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$cache")
    [[ $home == "$2" && $compiler -ef $(command -v "${CXX%% *}") ]] || rm -rf "$1"
}

# with_progress LOG COMMAND...: runs a build. Its words go to the file; the terminal sees how far it is, and what went
# wrong.
with_progress() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    if ! "$@" 2>&1 | tee "$log" | show_steps; then
        if grep -q 'FAILED:' "$log"; then
            sed -n '/FAILED:/,$p' "$log" >&2
        else
            tail -n 40 "$log" >&2
        fi
        die "The build failed; all that it said stands in $log"
    fi
}

# show_steps: of ninja's words how many steps are done, on a terminal in one line, else now and then.
show_steps() {
    local line told=$SECONDS
    while IFS= read -r line; do
        [[ $line =~ \[([0-9]+)/([0-9]+)\]\  ]] || continue
        if [[ -t 1 ]]; then
            printf '\r%s of %s steps' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
            [[ ${BASH_REMATCH[1]} != "${BASH_REMATCH[2]}" ]] || echo
        elif [[ $((SECONDS - told)) -ge 15 || ${BASH_REMATCH[1]} == "${BASH_REMATCH[2]}" ]]; then
            told=$SECONDS
            printf '%s of %s steps\n' "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}"
        fi
    done
}

# install_package ENVIRONMENT BUILD_DIRECTORY [CMAKE_DEFINITION...]: builds the wheel in a lasting build directory,
# so that a second time only what has changed is compiled, and installs it.
install_package() {
    local environment=$1 build=$2
    shift 2
    local definition settings=()
    for definition in "$@"; do
        settings+=("--config-settings=cmake.define.$definition")
    done
    clear_foreign_build "$build" "$root"
    PATH=$environment/bin:$PATH with_progress "$build.log" "$environment/bin/python" -m pip install --verbose \
        --no-build-isolation --no-deps --force-reinstall "--config-settings=build-dir=$build" "${settings[@]}" "$root"
}

# sanitizer: what the options of the script ask for, as ORVANE_SANITIZE of the build names it; nothing without one.
sanitizer() {
    [[ ${option[sanitize]} == no ]] || echo address
    [[ ${option[sanitize-threads]} == no ]] || echo thread
}

# build_sanitized SANITIZER ENVIRONMENT BUILD_DIRECTORY [CMAKE_DEFINITION...]: a build tree under it, not installed.
build_sanitized() {
    local kind=$1 environment=$2 build=$3
    shift 3
    clear_foreign_build "$build" "$root"
    PATH=$environment/bin:$PATH cmake -S "$root" -B "$build" -G Ninja "-DPython_EXECUTABLE=$environment/bin/python" \
        -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O1 "-DORVANE_SANITIZE=$kind" "${@/#/-D}" >/dev/null
    PATH=$environment/bin:$PATH with_progress "$build.log" cmake --build "$build"
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
}

# use_sanitized BUILD_DIRECTORY: has Python import from there, in the environment that the build has written down, as it
# knows the compiler's runtimes.
use_sanitized() {
    local settings
    mapfile -t settings <"$1/python-test-environment"
    export PYTHONPATH=$1/package "${settings[@]}"
}

# build_native_example ENVIRONMENT BUILD_DIRECTORY: builds the module `spectral` against the installed package, as
# someone would who has nothing but that.
build_native_example() {
    local environment=$1 build=$2 source=$root/examples/native_client
    clear_foreign_build "$build" "$source"
    PATH=$environment/bin:$PATH cmake -S "$source" -B "$build" -G Ninja \
        "-DPython_EXECUTABLE=$environment/bin/python" \
        "-DOrvane_DIR=$("$environment/bin/python" -m orvane --cmake-dir)" >/dev/null
    PATH=$environment/bin:$PATH with_progress "$build.log" cmake --build "$build"
}

# prepare_for_example GROUP: all that a script needs which runs an example: `environment` is set to one that has the
# package and the dependency group, and Python imports the native example's module.
prepare_for_example() {
    local python version groups
    ensure python compiler lapack
    python=$(chosen_or_preferred_python)
    version=$(version_of "$python")
    environment=$root/.venv/$version
    say "Environment for CPython $version"
    mapfile -t groups < <(build_groups)
    make_environment "$python" "$environment" "${groups[@]}" "$1"
    say "Building the package (the first time this takes some minutes)"
    install_package "$environment" "$root/build/$version" ORVANE_BUILD_TESTS=OFF
    say "Building the native example against it"
    build_native_example "$environment" "$root/build/$version-native-example"
    export PYTHONPATH=$root/build/$version-native-example
}
