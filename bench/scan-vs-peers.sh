#!/bin/sh
# scan-vs-peers.sh [warm|cold|threads] [RUNS]
# Times a whole scan of a 1,000,000-file fixture by Tallyfin's scanner, du, gdu,
# ncdu and the raw floor probe (parallel getdents64 + statx that does nothing
# else), round by round, and prints medians with each one's ratio to the floor
# (the first command of each mode).
#   warm     page cache warm, one untimed warm-up round (default)
#   cold     caches dropped before every run (needs root)
#   threads  warm, Tallyfin with 2, 4, 8 and 16 worker threads
#   TFTREE   the fixture (default $TFBENCH/h1m, $TFBENCH default /tmp/tfbench)
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench),
# scripts/install-deps.sh --bench for gdu and ncdu, and ../shared/bench beside the repo.
set -eu
MODE=${1:-warm}
RUNS=${2:-5}
HERE=$(cd "$(dirname "$0")" && pwd)
REPO=$(dirname "$HERE")
SHARED=$REPO/../shared/bench
WORK=${TFBENCH:-/tmp/tfbench}
TREE=${TFTREE:-$WORK/h1m}
SCAN=$REPO/build/bench/bench/tallyfin-scan

[ -x "$SCAN" ] || { echo "scan-vs-peers: build the bench preset first" >&2; exit 1; }
mkdir -p "$WORK"
if [ ! -d "$TREE" ]; then
  echo "scan-vs-peers: building the 1,000,000-file fixture in $TREE (about a minute)" >&2
  python3 "$SHARED/make-tree.py" "$TREE" --files 1000000 --quiet >&2
fi
[ -x "$WORK/floor" ] || cc -O2 -pthread -o "$WORK/floor" "$SHARED/floor.c"

case $MODE in
warm) exec python3 "$SHARED/bench.py" -n "$RUNS" -w 1 --json "$WORK/tallyfin-warm.json" \
  floor-statx-t2 "$WORK/floor -t 2 -m statx $TREE" \
  tallyfin "$SCAN $TREE" \
  du "du -s $TREE" \
  gdu "gdu -n -p -s $TREE" \
  ncdu "ncdu -0 -o /dev/null $TREE" ;;
cold) exec python3 "$SHARED/bench.py" -n "$RUNS" -w 0 --cold --json "$WORK/tallyfin-cold.json" \
  floor-statx-t16 "$WORK/floor -t 16 -m statx $TREE" \
  tallyfin "$SCAN $TREE" \
  floor-statx-t8 "$WORK/floor -t 8 -m statx $TREE" \
  du "du -s $TREE" \
  gdu "gdu -n -p -s $TREE" ;;
threads) exec python3 "$SHARED/bench.py" -n "$RUNS" -w 1 --json "$WORK/tallyfin-threads.json" \
  floor-statx-t2 "$WORK/floor -t 2 -m statx $TREE" \
  tallyfin-t2 "$SCAN -t 2 $TREE" \
  tallyfin-t4 "$SCAN -t 4 $TREE" \
  tallyfin-t8 "$SCAN -t 8 $TREE" \
  tallyfin-t16 "$SCAN -t 16 $TREE" ;;
*) echo "usage: scan-vs-peers.sh [warm|cold|threads] [RUNS]" >&2; exit 64 ;;
esac
