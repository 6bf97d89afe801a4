#!/bin/sh
# Builds every test and fuzzer once, with clang and the address and undefined-behaviour
# sanitizers (warnings are errors), runs the tests, then each fuzzer for a bounded time.
# One build serves both so that the whole run fits a small CI machine.
set -eu
cd "$(dirname "$0")/.."
jobs=$(nproc)
echo "== include layering"
python3 scripts/check-layering.py
echo "== asan build"
cmake --preset asan >/dev/null
cmake --build --preset asan -j "$jobs"
echo "== asan tests"
# The app's windows are drawn offscreen: the tests need no display and touch none.
QT_QPA_PLATFORM=offscreen ctest --preset asan -j "$jobs"

for fuzzer in mcp_request config_text; do
  echo "== fuzzing $fuzzer for ${TALLYFIN_FUZZ_SECONDS:-20} s"
  found=$(mktemp -d)
  # New inputs go to the temporary folder; the checked-in seeds stay as they are.
  if ! build/asan/fuzz/${fuzzer}_fuzzer -max_total_time="${TALLYFIN_FUZZ_SECONDS:-20}" \
      "$found" "fuzz/corpus/$fuzzer" >"$found.log" 2>&1; then
    tail -n 40 "$found.log"
    exit 1
  fi
  tail -n 1 "$found.log"
  rm -rf "$found" "$found.log"
done

# The Debian package, built from a release build of the installed programs only: as root it
# is installed with apt-get, checked and removed again; as anyone else the test skips.
echo "== package"
tests/package/install-and-remove.sh
