#!/bin/sh
# Builds and runs every test twice: a normal build, then with the address and
# undefined-behaviour sanitizers. Warnings are errors in both. Then the fuzzers
# run for a bounded time each.
set -eu
cd "$(dirname "$0")/.."
jobs=$(nproc)
for preset in dev asan; do
  echo "== $preset build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset tests"
  ctest --preset "$preset" -j "$jobs"
done

echo "== fuzz build"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$jobs"
for fuzzer in mcp_request config_text; do
  echo "== fuzzing $fuzzer for ${TALLYFIN_FUZZ_SECONDS:-20} s"
  found=$(mktemp -d)
  # New inputs go to the temporary folder; the checked-in seeds stay as they are.
  if ! build/fuzz/fuzz/${fuzzer}_fuzzer -max_total_time="${TALLYFIN_FUZZ_SECONDS:-20}" \
      "$found" "fuzz/corpus/$fuzzer" >"$found.log" 2>&1; then
    tail -n 40 "$found.log"
    exit 1
  fi
  tail -n 1 "$found.log"
  rm -rf "$found" "$found.log"
done
