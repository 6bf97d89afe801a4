#!/bin/sh
# app-speed.sh [RUNS]
# How the desktop app feels with a 1,000,000-file report: RUNS scans of the fixture
# from the window (longest main-thread stall, and how much of it was the main
# thread's own work), then RUNS cold starts of the app until the window has drawn
# the report that the scans saved. Prints one JSON line per run.
# The fixture is $TFTREE, or else built under $TFBENCH (default /tmp/tfbench) and
# removed afterwards unless it was there before (it takes about 24 GB).
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench)
# and ../shared/bench beside the repository.
set -eu
RUNS=${1:-5}
HERE=$(cd "$(dirname "$0")" && pwd)
REPO=$(dirname "$HERE")
SHARED=$REPO/../shared/bench
WORK=${TFBENCH:-/tmp/tfbench}
TREE=${TFTREE:-$WORK/h1m}
SPEED=$REPO/build/bench/bench/tallyfin-app-speed

[ -x "$SPEED" ] || { echo "app-speed: build the bench preset first" >&2; exit 1; }
mkdir -p "$WORK"
made=no
if [ ! -d "$TREE" ]; then
  echo "app-speed: building the 1,000,000-file fixture in $TREE (about a minute)" >&2
  python3 "$SHARED/make-tree.py" "$TREE" --files 1000000 --quiet >&2
  made=yes
fi
# The app's own folders for this run only: its report, settings and runtime socket.
state=$(mktemp -d)
trap 'rm -rf "$state"; if [ "$made" = yes ]; then rm -rf "$TREE"; fi' EXIT
mkdir -m 700 "$state/run"
export HOME="$TREE" XDG_DATA_HOME="$state/data" XDG_CONFIG_HOME="$state/config" XDG_RUNTIME_DIR="$state/run"

echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) load $(cut -d' ' -f1-3 /proc/loadavg) cores $(nproc)"
i=0
while [ "$i" -lt "$RUNS" ]; do "$SPEED" scan "$TREE" 2>/dev/null; i=$((i + 1)); done
i=0
while [ "$i" -lt "$RUNS" ]; do "$SPEED" startup 2>/dev/null; i=$((i + 1)); done
