#!/usr/bin/env bash
# Makes what is released, and tries it as users will have it. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/wheels.sh [--python EXECUTABLE]

Makes the source distribution and, from it, a wheel for each CPython that is installed; has auditwheel check each and give
it the platform tag of the oldest systems that it runs on; installs each into an empty environment and tries it there. At
last an editable install of this checkout is tried in the same way. All of it is left in output/wheels/.

  --python   for that interpreter alone
TEXT
}

read_options "" "$@"

output=$root/output/wheels
work=$root/build/wheels

# In a folder where the package does not lie, and without anything of the user's.
try_installed() { # ENVIRONMENT
    (cd / && "$1/bin/python" -I - <<'PY'
import copy
import json
import pickle
import subprocess
import sys
from importlib.metadata import entry_points, version
from pathlib import Path

import orvane

a = orvane.double([[1, 2, 3], [4, 5, 6]])
a[0][1] = 20
assert orvane.__version__ == version("orvane")
assert memoryview(a).tolist() == [[1, 20, 3], [4, 5, 6]] == json.loads(str(a))
assert pickle.loads(pickle.dumps(a)) == a == orvane.asarray(memoryview(a)) == copy.deepcopy(a)
with orvane.writable(orvane.asarray([[1, 2], [3, 4]])) as view:
    view[0, 0] = 7
try:
    orvane.int8([1, 2], size=(3, 3))
except orvane.ShapeError as error:
    assert type(error).__module__ == "ovexceptions"
orvane.enable_binary_pickles()
assert pickle.loads(pickle.dumps(a, 5)) == a
assert [each.value for each in entry_points(group="dask.sizeof")] == ["orvane_carriers.dask:register"]
assert (Path(orvane.get_include()) / "orvane" / "python.hpp").is_file()
for question in ("--version", "--cmake-dir", "--includes", "--libs"):
    subprocess.run([sys.executable, "-m", "orvane", question], check=True, capture_output=True)
missing = [name for name in orvane.__all__ if not hasattr(orvane, name)]
assert not missing, missing
print("tried:", orvane.__version__, "on", sys.version.split()[0])
PY
    )
}

# make_empty PYTHON ENVIRONMENT: without even pip; that of another environment installs into it.
make_empty() {
    rm -rf "$2"
    "$1" -m venv --without-pip "$2"
}

build_wheel() { # PYTHON SOURCE
    local version environment built wheel
    version=$(version_of "$1")
    environment=$work/$version
    say "CPython $version: wheel"
    make_environment "$1" "$environment" "${groups[@]}" wheels
    rm -rf "$work/$version-"*
    PATH=$environment/bin:$PATH with_progress "$work/$version.log" "$environment/bin/python" -m pip wheel --verbose \
        --no-build-isolation --no-deps "--config-settings=build-dir=$work/$version-build" \
        --wheel-dir "$work/$version-wheel" "$2"
    built=("$work/$version-wheel"/*.whl)
    PATH=$environment/bin:$PATH "$environment/bin/python" -m auditwheel repair --strip \
        --wheel-dir "$work/$version-repaired" "${built[0]}" >>"$work/$version.log" 2>&1 ||
        die "auditwheel refuses the wheel; what it said stands in $work/$version.log"
    wheel=("$work/$version-repaired"/*.whl)
    "$environment/bin/python" -m auditwheel show "${wheel[0]}"
    cp "${wheel[0]}" "$output"
    make_empty "$1" "$work/$version-empty"
    "$environment/bin/python" -m pip --python "$work/$version-empty/bin/python" install -qq --no-index "${wheel[0]}"
    try_installed "$work/$version-empty"
}

try_editable() { # PYTHON
    local version environment
    version=$(version_of "$1")
    environment=$work/$version-editable
    say "CPython $version: editable install"
    rm -rf "$environment" "$work/$version-editable-build"
    make_environment "$1" "$environment" "${groups[@]}"
    PATH=$environment/bin:$PATH with_progress "$environment.log" "$environment/bin/python" -m pip install --verbose \
        --no-build-isolation --no-deps "--config-settings=build-dir=$work/$version-editable-build" --editable "$root"
    try_installed "$environment"
}

ensure python compiler
mapfile -t groups < <(build_groups)
preferred=$(chosen_or_preferred_python)
interpreters=("$preferred")
if [[ -z $chosen ]]; then
    interpreters=()
    for minor in "${maintained_minors[@]}"; do
        mapfile -t -O "${#interpreters[@]}" interpreters < <(find_python "$minor")
    done
fi

rm -rf "$output" "$work/source"
mkdir -p "$output" "$work/source"
say "Source distribution"
make_environment "$preferred" "$work/$(version_of "$preferred")" "${groups[@]}" wheels
"$work/$(version_of "$preferred")/bin/python" -m build --sdist --no-isolation --outdir "$output" "$root" >"$work/sdist.log" 2>&1 ||
    die "The source distribution could not be made; what was said stands in $work/sdist.log"
sdist=("$output"/*.tar.gz)
tar -xf "${sdist[0]}" -C "$work/source" --strip-components 1
for python in "${interpreters[@]}"; do
    build_wheel "$python" "$work/source"
done
try_editable "$preferred"
say "Made and tried:"
(cd "$output" && ls -l)
