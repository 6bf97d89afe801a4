#!/bin/sh
# Builds the release configuration and packs what it installs into a Debian package,
# checked by lintian (an error fails); prints the package's path on standard output.
# Usage: scripts/package.sh
set -eu
cd "$(dirname "$0")/.."
build=build/package

if ! command -v lintian >/dev/null; then
  echo "package: lintian is not installed (scripts/install-deps.sh installs it)" >&2
  exit 1
fi

# The release preset's settings in a folder of its own without tests or benchmarks: the
# package needs only what is installed, and build/release stays as its user set it up.
cmake --preset release -B "$build" -DTALLYFIN_BUILD_TESTS=OFF -DTALLYFIN_BUILD_BENCH=OFF >&2
cmake --build "$build" -j "$(nproc)" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! (cd "$build" && cpack -G DEB) >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi
cat "$log" >&2
package=$(sed -n 's/^CPack: - package: \(.*\.deb\) generated\.$/\1/p' "$log")
if [ ! -f "$package" ]; then
  echo "package: cpack named no .deb it made" >&2
  exit 1
fi

echo "== lintian $(basename "$package")" >&2
lintian --fail-on error "$package" >&2
echo "$package"
