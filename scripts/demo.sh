#!/usr/bin/env bash
# Builds the package and runs the demo on the handwritten digits. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/demo.sh [--python EXECUTABLE]

Builds the package into an environment under .venv/, and the native example against it; runs examples/digits/demo.py,
whose pictures go to output/.

  --python   the interpreter to use in place of the preferred one
TEXT
}

read_options "" "$@"
[[ ${#rest[@]} -eq 0 ]] || die "demo.sh takes nothing behind --"

ensure python compiler lapack
python=$(chosen_or_preferred_python)
version=$(version_of "$python")
environment=$root/.venv/$version

say "Environment for CPython $version"
mapfile -t groups < <(build_groups)
make_environment "$python" "$environment" "${groups[@]}" demo
say "Building the package (the first time this takes some minutes)"
install_package "$environment" "$root/build/$version" ORVANE_BUILD_TESTS=OFF
say "Building the native example against it"
build_native_example "$environment" "$root/build/$version-native-example"
export PYTHONPATH=$root/build/$version-native-example
exec "$environment/bin/python" "$root/examples/digits/demo.py" --output "$root/output"
