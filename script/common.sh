# Shared by the scripts: where the project is, how missing packages come in, how it is built.
# Meant to be sourced by a bash script.

set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '\n== %s\n' "$*"; }

# packages_for PURPOSE: what script/packages lists for it.
packages_for() {
  awk -v purpose="$1:" '/^#/ { next } /:$/ { on = $1 == purpose; known = known || on; next } on
    END { exit !known }' "$project/script/packages" ||
    { echo "script/packages does not know \"$1\"." >&2 && return 1; }
}

# install_missing PURPOSE...: installs the Debian packages for these that are not installed yet.
# Quiet when there is nothing to do; shows the package manager's words only when it fails.
install_missing() {
  local purpose names wanted=() missing=()
  for purpose in "$@"; do
    names=$(packages_for "$purpose")
    # shellcheck disable=SC2206
    wanted+=($names)
  done
  for package in "${wanted[@]}"; do
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

# quietly LOG COMMAND...: shows what the command prints, which goes to LOG, only when it fails.
quietly() {
  local log=$1
  shift
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    echo "Failed: $*" >&2
    return 1
  fi
}

# build PRESET [TARGET...]: builds the configured preset, all of it unless targets are named.
build() {
  quietly "$project/build/$1.log" cmake --build --preset "$1" ${2:+--target "${@:2}"}
}
