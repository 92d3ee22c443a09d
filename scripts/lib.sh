# Functions that the scripts share: system packages, the choice of an interpreter, virtual environments, the build.
# Sourced, never run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export PIP_DISABLE_PIP_VERSION_CHECK=1
export PYTHONUTF8=1
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

# install_system_packages REASON PACKAGE...: by apt-get, as root or through sudo.
install_system_packages() {
    local reason=$1
    shift
    local as_root=()
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null || die "$reason, and there is neither root nor sudo here to install it." \
            "Please install the equivalent of these Debian packages and start again: $*"
        as_root=(sudo)
    fi
    command -v apt-get >/dev/null || die "$reason, and this machine has no apt-get to install it." \
        "Please install the equivalent of these Debian packages and start again: $*"
    say "$reason: installing $*"
    if ! { "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"; }; then
        die "$reason, and apt-get could not install it. Please install these packages and start again: $*"
    fi
}

# compiles SOURCE: whether the C++ compiler accepts the text as C++20.
compiles() {
    printf '%s\n' "$1" | "${CXX:-c++}" -std=c++20 -fsyntax-only -x c++ - >/dev/null 2>&1
}

ensure_compiler() {
    local probe='#include <bit>
#include <concepts>
#include <span>
static_assert(std::integral<int> && std::has_single_bit(4u));'
    compiles "$probe" && return
    install_system_packages "A C++20 compiler is missing" g++ libc6-dev
    compiles "$probe" || die "The C++ compiler '${CXX:-c++}' does not know C++20." \
        "Please install GCC 11 or Clang 14 or later, or name one in the variable CXX."
}

ensure_googletest() {
    compiles '#include <gtest/gtest.h>' && return
    install_system_packages "GoogleTest is missing" libgtest-dev
}

ensure_google_benchmark() {
    compiles '#include <benchmark/benchmark.h>' && return
    install_system_packages "Google Benchmark is missing" libbenchmark-dev
}

# links_lapack: whether a program that calls LAPACK can be linked, by either of the usual names.
links_lapack() {
    local library
    for library in lapack openblas; do
        printf '%s\n' 'extern "C" void dgesdd_(); int main() { dgesdd_(); }' |
            "${CXX:-c++}" -x c++ - -o /dev/null "-l$library" >/dev/null 2>&1 && return
    done
    return 1
}

ensure_lapack() {
    links_lapack && return
    install_system_packages "LAPACK, which the native example computes with, is missing" libopenblas-dev
    links_lapack || die "LAPACK cannot be linked. Please install it with its development files."
}

# --- interpreters ----------------------------------------------------------------------------------------------

# python_is_usable EXECUTABLE: a CPython of a known version with its headers and the means to make an environment.
python_is_usable() {
    "$1" - "${maintained_minors[@]}" >/dev/null 2>&1 <<'PY'
import ensurepip, os, platform, sys, sysconfig, venv
assert platform.python_implementation() == "CPython"
assert sys.version_info[0] == 3 and str(sys.version_info[1]) in sys.argv[1:]
assert os.path.exists(os.path.join(sysconfig.get_paths()["include"], "Python.h"))
PY
}

# find_python MINOR...: the first usable interpreter, in the order of the minor versions given; nothing if there is none.
find_python() {
    local minor candidate
    for minor in "$@"; do
        for candidate in "$(command -v "python3.$minor" || true)" \
            "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3."$minor".*/bin/python /usr/bin/python3."$minor"; do
            if [[ -x $candidate ]] && python_is_usable "$candidate"; then
                "$candidate" -c 'import sys; print(sys.executable)'
                return
            fi
        done
    done
}

# preferred_python: the first that is found; installs the system's where there is none at all.
preferred_python() {
    local found
    found=$(find_python "${maintained_minors[@]}")
    if [[ -z $found ]]; then
        install_system_packages "No CPython 3.10 or later with its headers was found" \
            python3 python3-dev python3-venv >&2
        found=$(find_python "${maintained_minors[@]}")
    fi
    [[ -n $found ]] || die "No CPython 3.10 or later with its headers and the module venv was found." \
        "Please install one (on Debian: python3 python3-dev python3-venv)."
    printf '%s\n' "$found"
}

newest_python() {
    local descending=() minor
    for minor in "${maintained_minors[@]}"; do
        descending=("$minor" "${descending[@]}")
    done
    find_python "${descending[@]}"
}

# chosen_or_preferred_python: the one of the option --python, else the preferred one.
chosen_or_preferred_python() {
    local python=${chosen:-$(preferred_python)}
    python_is_usable "$python" ||
        die "$python is not a CPython 3.10 or later with its headers and the module venv"
    printf '%s\n' "$python"
}

version_of() { "$1" -c 'import sys; print("%d.%d" % sys.version_info[:2])'; }

# --- virtual environments and the build ------------------------------------------------------------------------

# make_environment PYTHON DIRECTORY GROUP...: an environment with the dependency groups of pyproject.toml. It is made
# anew when the interpreter has changed; packages are asked for only when pyproject.toml has.
make_environment() {
    local python=$1 directory=$2
    shift 2
    local wanted present
    wanted=$("$python" -c 'import sys; print(sys.version)')
    present=$("$directory/bin/python" -c 'import sys; print(sys.version)' 2>/dev/null || true)
    if [[ $present != "$wanted" ]]; then
        rm -rf "$directory"
        "$python" -m venv "$directory"
        "$directory/bin/python" -m pip install -qq --upgrade 'pip>=25.1'
    fi
    local group stamp
    for group in "$@"; do
        stamp=$directory/installed-$group
        if ! cmp -s "$root/pyproject.toml" "$stamp"; then
            "$directory/bin/python" -m pip install -qq --group "$root/pyproject.toml:$group"
            cp "$root/pyproject.toml" "$stamp"
        fi
    done
}

# build_groups: the dependency groups that a build needs on this machine.
build_groups() {
    echo build
    compiles '#include <boost/numeric/conversion/cast.hpp>' || echo boost-headers
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
    PATH=$environment/bin:$PATH "$environment/bin/python" -m pip install -qq --no-build-isolation --no-deps \
        --force-reinstall "--config-settings=build-dir=$build" "${settings[@]}" "$root"
}

# build_native_example ENVIRONMENT BUILD_DIRECTORY: builds the module `spectral` against the installed package, as
# someone would who has nothing but that.
build_native_example() {
    local environment=$1 build=$2
    PATH=$environment/bin:$PATH cmake -S "$root/examples/native_client" -B "$build" -G Ninja \
        "-DPython_EXECUTABLE=$environment/bin/python" \
        "-DOrvane_DIR=$("$environment/bin/python" -m orvane --cmake-dir)" >/dev/null
    PATH=$environment/bin:$PATH cmake --build "$build"
}
