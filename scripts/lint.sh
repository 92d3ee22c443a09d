#!/usr/bin/env bash
# Checks the format and the style of everything: C++, Python, shell. With --fix it rewrites what can be rewritten.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

case ${1:-} in
"" | --fix) ;;
*)
    echo "usage: scripts/lint.sh [--fix]"
    exit 2
    ;;
esac

ensure python
python=$(chosen_or_preferred_python)
environment=$root/.venv/lint
make_environment "$python" "$environment" lint
PATH=$environment/bin:$PATH
cd "$root"

mapfile -t cpp_sources < <(find bridge data_array src sdk tests examples bench -name '*.[ch]pp' -o -name '*.[ch]')
mapfile -t shell_sources < <(find scripts .ci -type f ! -name '*.py')

if [[ ${1:-} == --fix ]]; then
    clang-format -i "${cpp_sources[@]}"
    ruff check --quiet --fix .
    ruff format --quiet .
fi
say "Format and style"
clang-format --dry-run --Werror "${cpp_sources[@]}"
ruff check .
ruff format --check .
shellcheck --external-sources --source-path=SCRIPTDIR "${shell_sources[@]}"
