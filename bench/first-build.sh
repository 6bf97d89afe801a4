#!/bin/sh
# first-build.sh [JOBS]
# What a new user waits for: the release preset configured and built from scratch
# in a fresh folder, without a compiler cache, with JOBS parallel jobs (default 2).
# Prints the wall time, the compilers' CPU time (user+sys of every job; on a busy
# machine CPU / JOBS is what the wall time would be with the cores to itself) and
# the load average before and after, then removes the folder (made under $TFBUILD,
# default /tmp).
set -eu
JOBS=${1:-2}
HERE=$(cd "$(dirname "$0")" && pwd)
REPO=$(dirname "$HERE")
build=$(mktemp -d "${TFBUILD:-/tmp}/tallyfin-first-build.XXXXXX")
trap 'rm -rf "$build"' EXIT
unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER

echo "# $(date -u +%Y-%m-%dT%H:%M:%SZ) cores $(nproc) jobs $JOBS load before $(cut -d' ' -f1-3 /proc/loadavg)"
times=$build.times
/usr/bin/time -f '%e %U %S' -o "$times" sh -c \
  "cmake -S '$REPO' -B '$build' --preset release >/dev/null && cmake --build '$build' -j '$JOBS' >'$build.log' 2>&1" ||
  { tail -n 20 "$build.log" >&2; rm -f "$times" "$build.log"; exit 1; }
read -r wall user system <"$times"
rm -f "$times" "$build.log"
targets=$(find "$build" -maxdepth 3 -type f \( -name '*.a' -o -name 'tallyfin*' -perm -u+x \) | sed "s#$build/##" | sort | tr '\n' ' ')
echo "# load after $(cut -d' ' -f1-3 /proc/loadavg)"
echo "wall ${wall} s, cpu $(echo "$user + $system" | bc) s (user $user, sys $system), cpu/jobs $(echo "scale=1; ($user + $system) / $JOBS" | bc) s"
echo "built: $targets"
