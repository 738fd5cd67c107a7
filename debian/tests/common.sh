# Shared by the tests, each of which tries what is installed below the prefix that it is given, /usr by
# default, and says only what is wrong.

. "$(dirname "${BASH_SOURCE[0]}")/../../script/common.sh"

prefix=${1:-/usr}
name=$(basename "$0")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$name: $*" >&2
  exit 1
}

# silently COMMAND...: as quietly, with a log that goes.
silently() { quietly "$scratch/log" "$@"; }

# proved POS: how many verdicts "Proved" the status file holds.
proved() { grep -o '<Driver [^>]*status="Proved"' "$1" | wc -l; }

# flags WORD...: what pkg-config says of the kelvarune that is installed there.
flags() {
  PKG_CONFIG_PATH=$(dirname "$(find "$prefix/lib" -name kelvarune.pc)") pkg-config "$@" kelvarune
}
