#!/bin/sh
# scale.sh [RUNS] TREE...
# Whether a scan's cost grows linearly with the number of files: for each tree
# (for example the 1, 3 and 5 million-file trees of make-tree.py, or of
# make-sparse-tree.py beside this script), the walk alone (tallyfin-scan, page
# cache warm after one untimed run, median of RUNS, default 3) with its time per
# file and peak memory, then one whole scan by the command line into a store of
# its own, with the size of its report.json and how long that takes to load.
# Prints one JSON line per tree.
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench).
set -eu
RUNS=3
case ${1:-} in [0-9]*) RUNS=$1; shift ;; esac
[ $# -gt 0 ] || { echo "usage: scale.sh [RUNS] TREE..." >&2; exit 64; }
HERE=$(cd "$(dirname "$0")" && pwd)
BUILD=$(dirname "$HERE")/build/bench
for tool in bench/tallyfin-scan bench/tallyfin-report-load cli/tallyfin; do
  [ -x "$BUILD/$tool" ] || { echo "scale: build the bench preset first" >&2; exit 1; }
done

echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) load $(cut -d' ' -f1-3 /proc/loadavg) cores $(nproc)"
for tree in "$@"; do
  "$BUILD/bench/tallyfin-scan" "$tree" >/dev/null
  walks=$(i=0; while [ "$i" -lt "$RUNS" ]; do "$BUILD/bench/tallyfin-scan" "$tree"; i=$((i + 1)); done)
  state=$(mktemp -d)
  /usr/bin/time -f '%e %M' -o "$state/time" env HOME="$tree" XDG_DATA_HOME="$state/data" \
    "$BUILD/cli/tallyfin" --store "$state/store" --root "$tree" >/dev/null
  read -r scanSeconds scanKilobytes <"$state/time"
  load=$(HOME="$tree" "$BUILD/bench/tallyfin-report-load" "$state/store" 5)
  reportBytes=$(stat -c %s "$state/store/report.json")
  timings=$(python3 -c 'import json,sys; print(len(json.load(open(sys.argv[1]))))' "$state/store/timings.json")
  rm -rf "$state"
  printf '%s\n' "$walks" | python3 -c '
import json, statistics, sys
tree, scan_s, scan_kb, report_bytes, timings, load = sys.argv[1:7]
walks = [json.loads(line) for line in sys.stdin if line.strip()]
seconds = statistics.median(w["seconds"] for w in walks)
files = walks[0]["files"]
print(json.dumps(dict(tree=tree, files=files, walkSeconds=round(seconds, 3),
    walkMicrosecondsPerFile=round(seconds / files * 1e6, 3),
    walkPeakRssMB=round(statistics.median(w["peakRssMB"] for w in walks), 1), tasks=walks[0]["tasks"],
    wholeScanSeconds=float(scan_s), wholeScanPeakRssMB=round(int(scan_kb) / 1024, 1),
    reportBytes=int(report_bytes), timingsEntries=int(timings), reportLoadMs=json.loads(load)["loadMs"])))
' "$tree" "$scanSeconds" "$scanKilobytes" "$reportBytes" "$timings" "$load"
done
