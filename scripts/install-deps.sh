#!/bin/sh
# Installs the Debian 12 packages Tallyfin builds, tests and benchmarks with.
# Usage: scripts/install-deps.sh [--bench]
#   --bench  also installs the peer disk tools and duplicate finders the benchmarks
#            compare against.
set -eu

packages="build-essential cmake ninja-build python3 pkg-config
  nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev libplist-dev libssl-dev
  libpcre2-dev libsystemd-dev libcurl4-openssl-dev openssl dbus-daemon trash-cli nodejs clang libclang-rt-14-dev"
bench_packages="gdu ncdu rmlint jdupes fdupes"

if [ "${1:-}" = "--bench" ]; then
  packages="$packages $bench_packages"
fi

sudo_if_needed() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

export DEBIAN_FRONTEND=noninteractive
sudo_if_needed apt-get update -qq
# shellcheck disable=SC2086
sudo_if_needed apt-get install -y -qq --no-install-recommends $packages >/dev/null
