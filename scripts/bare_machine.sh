#!/usr/bin/env bash
# Shows what a new user meets: makes a system with nothing in it and runs the README's two commands there.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

usage() {
    cat <<'TEXT'
usage: scripts/bare_machine.sh SUITE [--compiler PACKAGE] [--python PACKAGE] [--mirror URL] [--components LIST]
                               [--path DIRECTORY] [--bind DIRECTORY]... [--only demo|test] [-- PYTEST_ARGUMENT...]

Makes a change root of a Debian or Ubuntu suite (debootstrap --variant=minbase), clones the last commit into it, runs
scripts/demo.sh and scripts/test.sh there and prints a row of a table: compiler, interpreter, results, minutes. What the
commands said is kept in output/bare_machines/. Needs root, debootstrap and git.

  --compiler    a package that is installed first, such as clang-14; the suite's own g++ then stays away
  --python      an interpreter that is installed first and that scripts/test.sh then takes, such as python3.15
  --mirror      where the suite's packages come from; unless given, this machine's own source of packages
  --components  the parts of the archive, main unless given; Ubuntu needs main,universe
  --path        where the clone stands in the change root, /home/newcomer/orvane unless given
  --bind        a folder of this machine that the change root sees too, such as a local package index or another
                interpreter's home. Repeatable
  --only        one of the two commands
  --            what follows is handed to scripts/test.sh, such as -k native where time is short

The change root inherits this machine's network set-up: names, certificates, proxies, the settings of apt and pip. Bases
are kept in the folder that the variable ORVANE_BASES names, or /var/tmp/orvane-bases, and made once.
TEXT
}

suite='' compiler='' python='' mirror='' components=main path=/home/newcomer/orvane only='' binds=() chosen_tests=()
while [[ $# -gt 0 ]]; do
    [[ $# -ge 2 || $1 != --?* || $1 == --help ]] || die "$1 needs a value"
    case $1 in
    --help) usage && exit ;;
    --compiler) compiler=$2 && shift ;;
    --python) python=$2 && shift ;;
    --mirror) mirror=$2 && shift ;;
    --components) components=$2 && shift ;;
    --path) path=$2 && shift ;;
    --bind) binds+=("$2") && shift ;;
    --only) only=$2 && shift ;;
    --) chosen_tests=("$@") && break ;;
    -*) usage >&2 && exit 2 ;;
    *) suite=$1 ;;
    esac
    shift
done
[[ -n $suite ]] || { usage >&2 && exit 2; }
[[ $(id -u) -eq 0 ]] || die "A change root can only be made by root."
for program in debootstrap git chroot unshare; do
    command -v "$program" >/dev/null || die "$program is missing; please install it."
done

# The first source of packages that apt on this machine knows.
# shellcheck disable=SC2016 # apt-get expands
[[ -n $mirror ]] || mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | sed -n 1p)
[[ -n $mirror ]] || die "apt on this machine knows no source of packages; please name one by --mirror."

bases=${ORVANE_BASES:-/var/tmp/orvane-bases}
base=$bases/$suite.tar
output=$root/output/bare_machines/$suite${compiler:+-$compiler}${python:+-$python}
mkdir -p "$bases" "$output"
machine=$(mktemp -d "$bases/$suite.XXXXXX")
chmod 755 "$machine"
trap 'rm -rf --one-file-system "$machine"' EXIT

if [[ ! -f $base ]]; then
    say "Making a base of $suite from $mirror"
    # A suite that is younger than this machine's debootstrap is made as its distribution's earlier ones are.
    recipe=()
    if [[ ! -e ${DEBOOTSTRAP_DIR:-/usr/share/debootstrap}/scripts/$suite ]]; then
        recipe=(sid)
        [[ $mirror != *ubuntu* ]] || recipe=(gutsy)
    fi
    debootstrap --variant=minbase --components="$components" "$suite" "$machine" "$mirror" "${recipe[@]}" \
        >"$output/debootstrap.log" ||
        die "debootstrap failed; what it said stands in $output/debootstrap.log"
    tar -C "$machine" --one-file-system -cf "$base.part" .
    mv "$base.part" "$base"
else
    tar -C "$machine" -xf "$base"
fi

# --- what the machine inherits ---------------------------------------------------------------------------------

inherit_file() { # FILE: at the same place
    [[ -f $1 ]] || return 0
    mkdir -p "$machine$(dirname "$1")"
    cp -L "$1" "$machine$1"
}

environment=(PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root)
while IFS= read -r variable; do
    environment+=("$variable=${!variable}")
    inherit_file "${!variable}"
done < <(compgen -e | grep -iE '^((https?|ftp|no|all)_proxy|PIP_.*|SSL_CERT_FILE|(REQUESTS|CURL)_CA_BUNDLE)$')
for file in /etc/resolv.conf /etc/hosts /etc/ssl/certs/ca-certificates.crt /usr/local/share/ca-certificates/*.crt \
    /etc/pip.conf; do
    inherit_file "$file"
done
for file in "${XDG_CONFIG_HOME:-$HOME/.config}/pip/pip.conf" "$HOME/.pip/pip.conf"; do
    [[ ! -f $file ]] || install -D -m 644 "$file" "$machine/root/.config/pip/pip.conf"
done
apt-config dump | grep -E '^Acquire::(https?|ftp|Retries|Check)' >"$machine/etc/apt/apt.conf.d/90inherited" || true

mkdir -p "$machine$(dirname "$path")"
git -c safe.directory="$root" clone --quiet --no-hardlinks "$root" "$machine$path"

# in_machine COMMAND...: with the file systems that every machine has. The mounts go with the process.
in_machine() {
    # shellcheck disable=SC2016 # the inner shell expands
    unshare --mount --propagation private bash -c '
        set -e
        machine=$1
        shift
        mount -t proc proc "$machine/proc"
        mount --rbind /dev "$machine/dev"
        while [[ $1 != -- ]]; do
            mkdir -p "$machine$1"
            mount --bind "$1" "$machine$1"
            shift
        done
        shift
        exec env -i "$@"
    ' bash "$machine" "${binds[@]}" -- "${environment[@]}" chroot "$machine" "$@"
}

install_first() { # PACKAGE...
    say "Installing $*"
    # shellcheck disable=SC2016 # the inner shell expands
    in_machine sh -c 'apt-get update -qq && apt-get install -y -qq --no-install-recommends "$@"' sh "$@" \
        >"$output/packages.log" 2>&1 || die "It could not be installed: see $output/packages.log"
}
[[ -z $compiler ]] || install_first "$compiler" libc6-dev
[[ -z $python ]] || install_first "$python" "$python-dev" "$python-venv"

# --- the two commands ------------------------------------------------------------------------------------------

row="| $suite${compiler:+ with $compiler}"
results=''
for name in ${only:-demo test}; do
    say "$suite: scripts/$name.sh"
    started=$SECONDS result=passes
    arguments=()
    [[ $name == demo ]] || arguments=(${python:+--python "$python"} "${chosen_tests[@]}")
    in_machine "$path/scripts/$name.sh" "${arguments[@]}" </dev/null 2>&1 | tee "$output/$name.log" || result=fails
    results+=" | $result${arguments[*]:+ ${arguments[*]}} ($(((SECONDS - started + 30) / 60)) min)"
done
# shellcheck disable=SC2016 # the inner shell expands
facts=$(in_machine bash -c 'source "$1/scripts/lib.sh"
    has_compiler && echo "$("$CXX" --version | head -n 1),"
    chosen=$2 python=$(chosen_or_preferred_python) && [[ -n $python ]] && "$python" -c "import sys; print(\"CPython\", sys.version.split()[0])"
    ' bash "$path" "$python" | paste -s -d ' ') || true
say "machine, tools, ${only:-demo, test}"
printf '%s | %s%s |\n' "$row" "${facts:-nothing of use}" "$results" | tee "$output/row.md"
[[ $results != *fails* ]]
