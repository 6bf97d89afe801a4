#!/bin/sh
# report-load.sh [ROUNDS]
# How long a saved report takes to load (the tree and every list, what the app and
# the MCP server read) and the MCP server's disk_status, beside the plain read of
# report.json and nlohmann's parse of it, in one process: first the report of a
# scan of the 1,000,000-file fixture (scanned once into a store of its own), then
# a report of about 30 MB whose tree keeps 250,000 folders (a big disk's report
# with many kept children).
#   TFTREE   the fixture (default $TFBENCH/h1m, built when missing)
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench)
# and ../shared/bench beside the repository.
set -eu
ROUNDS=${1:-9}
HERE=$(cd "$(dirname "$0")" && pwd)
REPO=$(dirname "$HERE")
SHARED=$REPO/../shared/bench
WORK=${TFBENCH:-/tmp/tfbench}
TREE=${TFTREE:-$WORK/h1m}
BUILD=$REPO/build/bench
LOAD=$BUILD/bench/tallyfin-report-load

[ -x "$LOAD" ] || { echo "report-load: build the bench preset first" >&2; exit 1; }
if [ ! -d "$TREE" ]; then
  echo "report-load: building the 1,000,000-file fixture in $TREE (about a minute)" >&2
  python3 "$SHARED/make-tree.py" "$TREE" --files 1000000 --quiet >&2
fi
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
HOME="$TREE" XDG_DATA_HOME="$state/data" "$BUILD/cli/tallyfin" --store "$state/store" --root "$TREE" >/dev/null
echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) load $(cut -d' ' -f1-3 /proc/loadavg) cores $(nproc)"
HOME="$TREE" "$LOAD" "$state/store" "$ROUNDS"
HOME="$TREE" "$LOAD" --write-large 250000 "$state/large" "$ROUNDS"
