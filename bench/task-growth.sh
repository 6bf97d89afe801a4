#!/bin/sh
# task-growth.sh TREE [SCANS] [cold]
# Scans TREE SCANS times (default 30) into one store, as a user's scans follow each
# other, and prints after each scan the walk tasks it planned, the entries of
# timings.json that the next scan plans with, and the sizes of the files that grow
# with every scan. With `cold`, caches are dropped before every scan (needs root):
# slow scans are the ones that make planning split folders.
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench).
set -eu
TREE=${1:?usage: task-growth.sh TREE [SCANS] [cold]}
SCANS=${2:-30}
HERE=$(cd "$(dirname "$0")" && pwd)
TALLYFIN=$(dirname "$HERE")/build/bench/cli/tallyfin
[ -x "$TALLYFIN" ] || { echo "task-growth: build the bench preset first" >&2; exit 1; }
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT

echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) load $(cut -d' ' -f1-3 /proc/loadavg) cores $(nproc)"
echo "scan tasks timings_entries history_bytes folder_history_bytes seconds"
i=1
while [ "$i" -le "$SCANS" ]; do
  if [ "${3:-}" = cold ]; then sync; echo 3 > /proc/sys/vm/drop_caches; fi
  HOME="$TREE" XDG_DATA_HOME="$state/data" "$TALLYFIN" --store "$state/store" --root "$TREE" >/dev/null
  python3 - "$state/store" "$i" <<'PY'
import json, os, sys
store, scan = sys.argv[1:3]
report = json.load(open(os.path.join(store, "report.json")))
timings = json.load(open(os.path.join(store, "timings.json")))
size = lambda name: os.path.getsize(os.path.join(store, name))
print(scan, report["taskCount"], len(timings), size("history.json"), size("folder-history.json"),
      round(report["duration"], 2))
PY
  i=$((i + 1))
done
