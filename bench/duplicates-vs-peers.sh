#!/bin/sh
# duplicates-vs-peers.sh [warm|cold|check] [RUNS]
# Times `tallyfin --duplicates DIR` (sampled, and with --full) against rmlint,
# jdupes and fdupes (and rdfind when installed) on the same 3.7 GB duplicate
# data set and the same size floor (files of 1 MB and more), round by round, and
# prints wall time, bytes read (rchar) and peak memory side by side. sha256sum of
# every candidate file is the yardstick for --full.
#   warm   one untimed warm-up round, then RUNS rounds (default 5)
#   cold   caches dropped before every run (needs root), default 3 rounds
#   check  one run of tallyfin, scored against the data set's known answer
# Tallyfin's hash cache is removed before every run, so each run reads afresh.
# Needs: a bench build (cmake --preset bench && cmake --build --preset bench),
# scripts/install-deps.sh --bench for the peers, and ../shared/bench beside the repo.
set -eu
MODE=${1:-warm}
RUNS=${2:-}
HERE=$(cd "$(dirname "$0")" && pwd)
REPO=$(dirname "$HERE")
SHARED=$REPO/../shared/bench
WORK=${TFBENCH:-/tmp/tfbench}
DATA=$WORK/dups
OUT=$WORK/dupout
STORE=$WORK/dupstore
TALLYFIN=$REPO/build/bench/cli/tallyfin

[ -x "$TALLYFIN" ] || { echo "duplicates-vs-peers: build the bench preset first" >&2; exit 1; }
mkdir -p "$WORK" "$OUT"
if [ ! -d "$DATA" ]; then
  echo "duplicates-vs-peers: building the 3.7 GB duplicate data set in $DATA" >&2
  python3 "$SHARED/make-dups.py" "$DATA" >&2
fi

TF="$TALLYFIN --store $STORE --duplicates $DATA --min-size 1 --json"
# rmlint renames an existing result file out of the way, so it writes to a real file.
set -- \
  sha256sum-all "sh -c 'find $DATA -type f -size +1048575c -print0 | xargs -0 sha256sum >/dev/null'" \
  tallyfin "$TF" \
  tallyfin-full "$TF --full" \
  rmlint "rmlint -T df -s 1MB -o fdupes:$OUT/rmlint.txt $DATA" \
  jdupes "jdupes -r -q -X size+=:1MiB $DATA" \
  fdupes "fdupes -r -q -G 1048576 $DATA"
if command -v rdfind >/dev/null; then
  set -- "$@" rdfind "rdfind -minsize 1048576 -makeresultsfile true -outputname $OUT/rdfind.txt $DATA"
fi

case $MODE in
warm) exec python3 "$SHARED/bench.py" -n "${RUNS:-5}" -w 1 --prep "rm -rf $STORE" \
  --json "$WORK/duplicates-warm.json" "$@" ;;
cold) exec python3 "$SHARED/bench.py" -n "${RUNS:-3}" -w 0 --cold --prep "rm -rf $STORE" \
  --json "$WORK/duplicates-cold.json" "$@" ;;
check)
  rm -rf "$STORE"
  $TF > "$OUT/tallyfin.json"
  # The groups as blank-line separated path lists, the format the scorer reads.
  python3 -c 'import json,sys
for g in json.load(open(sys.argv[1]))["groups"]:
    print("\n".join(f["path"] for f in g["files"])); print()' "$OUT/tallyfin.json" > "$OUT/tallyfin.txt"
  python3 "$SHARED/check-dups.py" "$DATA/../$(basename "$DATA")-truth.json" "$DATA" fdupes "$OUT/tallyfin.txt" ;;
*) echo "usage: duplicates-vs-peers.sh [warm|cold|check] [RUNS]" >&2; exit 64 ;;
esac
