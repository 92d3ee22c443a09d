#!/usr/bin/env bash
# Makes the documentation site. Does all its own set-up; asks for nothing.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/docs.sh [--python EXECUTABLE]

Makes the documentation as a site in output/docs/, whose first page is index.html; it needs no server. The package is
not built for it: the reference comes from the sources, the stubs and the headers. A warning is an error.

  --python   the interpreter to use in place of the newest installed
TEXT
}

read_options "" "$@"
[[ ${#rest[@]} -eq 0 ]] || die "docs.sh takes nothing behind --"

ensure python doxygen
python=${chosen:-$(newest_python)}
environment=$root/.venv/docs
output=$root/output/docs

say "CPython $(version_of "$python"): environment"
make_environment "$("$python" -c 'import sys; print(sys.executable)')" "$environment" docs
say "Site"
cd "$root"
rm -rf build/docs
mkdir -p build/docs "$output"
doxygen docs/site/Doxyfile
# What is left of pages that have gone would be found by the search.
"$environment/bin/sphinx-build" --quiet --fresh-env --fail-on-warning --keep-going --conf-dir docs/site \
    --doctree-dir build/docs/doctrees "$root" build/docs/site
rm -rf "$output"
mv build/docs/site "$output"
printf '%s\n' "$output/index.html"
