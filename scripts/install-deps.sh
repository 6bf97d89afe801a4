#!/bin/sh
# Installs the Debian 12 packages Tallyfin builds, tests and benchmarks with.
# Usage: scripts/install-deps.sh [--bench] [--screenshots]
#   --bench        also installs the peer disk tools and duplicate finders the benchmarks
#                  compare against.
#   --screenshots  also installs the virtual display and ImageMagick that
#                  scripts/screenshots.sh renders the app's screens with.
set -eu

packages="build-essential cmake ninja-build python3 pkg-config
  nlohmann-json3-dev libsimdjson-dev libgtest-dev libgmock-dev libbenchmark-dev libplist-dev libssl-dev
  libpcre2-dev libsystemd-dev libcurl4-openssl-dev openssl dbus-daemon trash-cli man-db nodejs clang libclang-rt-14-dev
  qt6-base-dev qt6-svg-dev fonts-dejavu-core desktop-file-utils appstream lintian
  btrfs-progs"
bench_packages="gdu ncdu rmlint jdupes fdupes"
screenshot_packages="xvfb xauth imagemagick"

for option in "$@"; do
  case $option in
    --bench) packages="$packages $bench_packages" ;;
    --screenshots) packages="$packages $screenshot_packages" ;;
    *) echo "usage: scripts/install-deps.sh [--bench] [--screenshots]" >&2; exit 64 ;;
  esac
done

sudo_if_needed() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

export DEBIAN_FRONTEND=noninteractive
sudo_if_needed apt-get update -qq
# shellcheck disable=SC2086
sudo_if_needed apt-get install -y -qq --no-install-recommends $packages >/dev/null
