#!/bin/sh
# duplicates-vs-peers.sh [warm|cold|cache|check] [RUNS]
# Times `tallyfin --duplicates DIR` (sampled, and with --full) against jdupes
# (the baseline of every ratio) and rmlint on the same 3.7 GB duplicate data set
# and the same size floor (files of 1 MB and more), round by round, and prints
# wall time, bytes read (rchar), bytes fetched from storage and peak memory side
# by side; TFPEERS=all adds fdupes, rdfind (when installed) and sha256sum of every
# candidate, the yardstick of --full. Every timed mode ends with `check`.
#   warm   every file cached first (one untimed round), then RUNS rounds (default 5)
#   cold   caches dropped before every run of every tool (needs root), 3 rounds
#   cache  whether a search leaves the page cache as it found it: half the files
#          cached, the rest not; after each search (sampled, then --full) fincore
#          must show the cached half still cached and the other half not
#   check  one run of jdupes and of tallyfin sampled and --full: their groups
#          side by side, and each scored against the data set's known answer
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
DATA=${TFDUPS:-$WORK/dups}
OUT=$WORK/dupout
STORE=$WORK/dupstore
TALLYFIN=$REPO/build/bench/cli/tallyfin

[ -x "$TALLYFIN" ] || { echo "duplicates-vs-peers: build the bench preset first" >&2; exit 1; }
mkdir -p "$WORK" "$OUT"
if [ ! -d "$DATA" ]; then
  echo "duplicates-vs-peers: building the 3.7 GB duplicate data set in $DATA" >&2
  python3 "$SHARED/make-dups.py" "$DATA" >&2
fi
TRUTH=$(dirname "$DATA")/$(basename "$DATA")-truth.json

TF="$TALLYFIN --store $STORE --duplicates $DATA --min-size 1 --json"
JDUPES="jdupes -r -q -X size+=:1MiB $DATA"
# rmlint renames an existing result file out of the way, so it writes to a real file.
set -- \
  jdupes "$JDUPES" \
  tallyfin "$TF" \
  tallyfin-full "$TF --full" \
  rmlint "rmlint -T df -s 1MB -o fdupes:$OUT/rmlint.txt $DATA"
if [ "${TFPEERS:-}" = all ]; then
  set -- "$@" \
    fdupes "fdupes -r -q -G 1048576 $DATA" \
    sha256sum-all "sh -c 'find $DATA -type f -size +1048575c -print0 | xargs -0 sha256sum >/dev/null'"
  if command -v rdfind >/dev/null; then
    set -- "$@" rdfind "rdfind -minsize 1048576 -makeresultsfile true -outputname $OUT/rdfind.txt $DATA"
  fi
fi

# Tallyfin's groups as blank-line separated path lists, the format jdupes writes.
tallyfin_groups() {
  rm -rf "$STORE"
  $TF "$@" | python3 -c 'import json,sys
for g in json.load(sys.stdin)["groups"]:
    print("\n".join(f["path"] for f in g["files"])); print()' > "$OUT/tallyfin${1:-}.txt"
}

check() {
  $JDUPES > "$OUT/jdupes.txt"
  tallyfin_groups
  tallyfin_groups --full
  python3 - "$OUT" "$DATA" <<'EOF'
import os, sys
out, root = sys.argv[1:3]
def groups(name):
    found, current = set(), []
    for line in open(os.path.join(out, name + ".txt"), encoding="utf-8", errors="surrogateescape"):
        line = line.rstrip("\n")
        if line: current.append(os.path.relpath(line, root))
        elif current: found.add(frozenset(current)); current = []
    if current: found.add(frozenset(current))
    return found
jdupes = groups("jdupes")
for name in ("tallyfin", "tallyfin--full"):
    mine = groups(name)
    print(f"{name}: {len(mine)} groups, jdupes {len(jdupes)}; same {len(mine & jdupes)}, "
          f"only {name} {sorted(map(sorted, mine - jdupes))}, only jdupes {sorted(map(sorted, jdupes - mine))}")
EOF
  for name in jdupes tallyfin tallyfin--full; do
    printf '%s against the known answer: ' "$name"
    python3 "$SHARED/check-dups.py" "$TRUTH" "$DATA" fdupes "$OUT/$name.txt"
  done
}

# The candidates' pages in the cache, as "cached/total" per half, from fincore.
cached_pages() {
  find "$DATA" -type f -size +1048575c | sort | awk -v half="$1" 'NR % 2 == half' |
    xargs fincore -b -n -o RES,SIZE | awk '{ cached += $1; size += $2 } END { printf "%d of %d MB", cached / 1e6, size / 1e6 }'
}

cache() {
  sync
  echo 3 > /proc/sys/vm/drop_caches
  find "$DATA" -type f -size +1048575c | sort | awk 'NR % 2 == 0' | xargs cat > /dev/null
  echo "before: cached half $(cached_pages 0) cached, other half $(cached_pages 1) cached"
  for flag in "" --full; do
    rm -rf "$STORE"
    $TF $flag > /dev/null
    echo "after tallyfin $flag: cached half $(cached_pages 0) cached, other half $(cached_pages 1) cached"
  done
}

echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) load $(cut -d' ' -f1-3 /proc/loadavg) cores $(nproc)"
case $MODE in
warm) python3 "$SHARED/bench.py" -n "${RUNS:-5}" -w 1 --prep "rm -rf $STORE" \
  --json "$WORK/duplicates-warm.json" "$@"
  check ;;
cold) python3 "$SHARED/bench.py" -n "${RUNS:-3}" -w 0 --cold --prep "rm -rf $STORE" \
  --json "$WORK/duplicates-cold.json" "$@"
  check ;;
cache) cache ;;
check) check ;;
*) echo "usage: duplicates-vs-peers.sh [warm|cold|cache|check] [RUNS]" >&2; exit 64 ;;
esac
