#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer and runs them.
#
#   tests/fuzz/run.sh [--runs N | --time SECONDS] [--build DIRECTORY] [TARGET...]
#
# Targets are pos, mechanism, resource, smt and tptp; all of them by default. New inputs that reach new code
# are kept in the build tree (DIRECTORY/corpus/TARGET), inputs that crash in DIRECTORY/crashes.

set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
project=$(cd "$here/../.." && pwd)
build=$project/build/fuzz
limit=(-runs=20000)
targets=()

while [ $# -gt 0 ]; do
  case $1 in
    --runs) limit=("-runs=$2"); shift 2 ;;
    --time) limit=("-max_total_time=$2"); shift 2 ;;
    --build) build=$2; shift 2 ;;
    -*) sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 2 ;;
    *) targets+=("$1"); shift ;;
  esac
done
[ ${#targets[@]} -gt 0 ] || targets=(pos mechanism resource smt tptp)

launcher=$(command -v ccache || true)
cmake -S "$project" -B "$build" -G Ninja --log-level=WARNING -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG="-g1 -O1" -DCMAKE_CXX_COMPILER="${CLANGXX:-clang++}" \
  -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher" -DKELVARUNE_FUZZ=ON \
  -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 \
  -DKELVARUNE_SANITIZE=fuzzer-no-link,address,undefined
cmake --build "$build" --target "${targets[@]/#/fuzz_}"

failed=0
for target in "${targets[@]}"; do
  mkdir -p "$build/crashes" "$build/corpus/$target"
  # What the program itself prints is closed; the fuzzer reports on a standard error of its own.
  (cd "$build" && "bin/fuzz_$target" "${limit[@]}" -seed=1 -max_len=4096 -timeout=20 \
    -rss_limit_mb=2048 -close_fd_mask=3 -artifact_prefix="crashes/$target-" \
    -dict="$here/$target.dict" -verbosity=0 -print_final_stats=1 \
    "corpus/$target" "$here/corpus/$target") || failed=1
done
exit $failed
