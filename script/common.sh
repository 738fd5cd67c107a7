# Shared by the scripts: where the project is, and how missing packages come in.
# Meant to be sourced by a bash script.

set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\n== %s\n' "$*"; }

# install_missing PACKAGE...: installs those Debian packages that are not installed yet. Quiet when
# there is nothing to do; shows the package manager's words only when it fails.
install_missing() {
  local missing=()
  for package in "$@"; do
    dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed$' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "Installing ${missing[*]}"
  local as_root=()
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  local log
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    echo "Could not install ${missing[*]}; see above." >&2
    return 1
  fi
  rm -f "$log"
}

# What it takes to build the programs, and to run the example.
build_packages=(g++ cmake ninja-build qtbase5-dev)
example_packages=(python3 z3 cvc5)
test_packages=(libgtest-dev libgmock-dev libbenchmark-dev clang clang-format clang-tidy
  libclang-rt-14-dev chromium slurm-wlm munge)

# build PRESET [CMAKE-OPTION...]: configures and builds; prints the log only when that fails.
build() {
  local preset=$1
  shift
  mkdir -p "$project/build"
  local log="$project/build/$preset.log"
  if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset"; } >"$log" 2>&1; then
    cat "$log" >&2
    return 1
  fi
}
