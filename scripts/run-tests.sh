#!/bin/sh
# Builds and runs every test twice: a normal build, then with the address and
# undefined-behaviour sanitizers. Warnings are errors in both.
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
