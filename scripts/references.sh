#!/usr/bin/env bash
# Runs the Python tests again and again on an interpreter that counts references. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/references.sh [--python EXECUTABLE] [-- PYTEST_ARGUMENT...]

Builds the package for a debugging CPython and runs each test in this process again and again: none may leave references,
blocks of the interpreter's or bytes behind. Tests that need NumPy, whose releases do not count, are skipped.

  --python   the interpreter to use in place of the system's python3-dbg
TEXT
}

read_options "" "$@"
ensure debug_python compiler eigen
version=$(version_of "$debug_python")
environment=$root/.venv/$version
build=$root/build/$version

# Headers of the system are known to GCC by where symbolic links lead: on Debian, from the headers for debugging to those
# that count nothing.
flag=-fno-canonical-system-headers
if compiles '' -fsyntax-only "$flag" -Werror; then
    export CFLAGS="${CFLAGS:-} $flag" CXXFLAGS="${CXXFLAGS:-} $flag"
fi

say "CPython $version: environment"
mapfile -t groups < <(build_groups)
make_environment "$debug_python" "$environment" "${groups[@]}" test
say "CPython $version: build"
install_package "$environment" "$build"
mapfile -t modules < <("$environment/bin/python" -c 'import orvane._bridge as b, orvanemultidimarrayforpython as o
print(b.__file__, o.__file__, sep="\n")')
for module in "${modules[@]}"; do
    nm -D --undefined-only "$module" | grep -qE '_Py_(RefTotal|(INCREF_)?IncRefTotal)' || die "$module counts no references."
done

# What such an interpreter warns of and others do not is not asked about. Nor are tests whose work is done by other processes.
say "CPython $version: tests"
tests=$root/tests/python
PYTHONWARNINGS=ignore::DeprecationWarning,ignore::PendingDeprecationWarning,ignore::ImportWarning,ignore::ResourceWarning \
    PYTHONPATH=$tests ORVANE_NATIVE_BUILD=$build/native-clients \
    "$environment/bin/python" -m pytest "$tests" -q -p references --ignore "$tests/test_packaging.py" \
    --ignore "$tests/test_scarce_memory.py" --ignore "$tests/test_typing.py" --ignore "$tests/test_fuzz.py" \
    --ignore "$tests/test_native_example.py" --ignore "$tests/test_scale.py" "${rest[@]}"
