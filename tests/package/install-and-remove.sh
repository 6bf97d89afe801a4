#!/bin/sh
# Builds the Debian package, installs it with apt-get as a user would, checks that it holds
# everything `cmake --install` installs and that the installed program, desktop entry and
# metainfo work and validate, then removes and purges it and checks that nothing is left.
# It changes the system, so it needs root (CI runs as root); anywhere else it skips.
set -eu
cd "$(dirname "$0")/../.."

skip() {
  echo "package test: skipped — $*"
  exit 0
}
fail() {
  echo "package test: $*" >&2
  exit 1
}
[ "$(id -u)" -eq 0 ] || skip "installing a package needs root (CI runs as root)"
command -v apt-get >/dev/null || skip "there is no apt-get to install with"
if dpkg-query -W -f='${Status}' tallyfin 2>/dev/null | grep -q 'ok installed'; then
  skip "tallyfin is installed on this machine already, and the test would remove it"
fi

package=$(scripts/package.sh)
# The upstream version: the file name's second field, without the Debian revision.
version=$(basename "$package" | cut -d_ -f2 | sed 's/-[^-]*$//')
work=$(mktemp -d)
trap 'dpkg --purge tallyfin >/dev/null 2>&1 || true; rm -rf "$work"' EXIT
export DEBIAN_FRONTEND=noninteractive

echo "== package test: install $(basename "$package")"
apt-get install -y -qq "$package" >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; fail "apt-get install failed"; }
dpkg-query -L tallyfin | sort >"$work/packaged"

# The package holds exactly what an install of the same build puts under /usr.
DESTDIR="$work/staged" cmake --install build/package --prefix /usr >/dev/null
(cd "$work/staged" && find . ! -type d | sed 's|^\.||' | sort) >"$work/installed"
missing=$(comm -23 "$work/installed" "$work/packaged")
[ -z "$missing" ] || fail "the package lacks what cmake --install installs: $missing"

[ "$(command -v tallyfin)" = /usr/bin/tallyfin ] || fail "tallyfin is not /usr/bin/tallyfin on PATH"
# The test's own home, so the program never reads or writes the machine's real one.
HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local/share" \
  tallyfin --version | grep -qx "tallyfin $version" || fail "the installed tallyfin --version does not say $version"
[ -f /usr/share/man/man1/tallyfin.1.gz ] || fail "the package installed no tallyfin(1) man page"
for program in /usr/bin/tallyfin /usr/bin/tallyfin-app; do
  unresolved=$(ldd "$program" | grep 'not found' || true)
  [ -z "$unresolved" ] || fail "$program needs libraries the package's Depends did not bring: $unresolved"
done
entry=/usr/share/applications/com.morvek.Tallyfin.desktop
desktop-file-validate "$entry" || fail "desktop-file-validate rejects $entry"
grep -qx 'Exec=/usr/bin/tallyfin-app' "$entry" || fail "$entry does not start /usr/bin/tallyfin-app"
appstreamcli validate --no-net /usr/share/metainfo/com.morvek.Tallyfin.metainfo.xml ||
  fail "appstreamcli rejects the installed metainfo"

echo "== package test: remove and purge"
apt-get remove -y -qq tallyfin >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; fail "apt-get remove failed"; }
# With no configuration files to keep, the removal may have forgotten the package already.
dpkg --purge tallyfin >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; fail "dpkg --purge failed"; }
if dpkg-query -W -f='${Status}' tallyfin 2>/dev/null | grep -qv 'not-installed'; then
  fail "dpkg still knows tallyfin after the purge: $(dpkg-query -W -f='${Status}' tallyfin)"
fi
# Folders that other packages own or fill (/usr/bin, /usr/share/…) stay; the package's own go.
left=
while read -r path; do
  if [ "$path" = /. ]; then
    continue
  elif [ -d "$path" ] && [ ! -L "$path" ]; then
    if [ -z "$(ls -A "$path")" ] && ! dpkg-query -S "$path" >/dev/null 2>&1; then
      left="$left $path"
    fi
  elif [ -e "$path" ] || [ -L "$path" ]; then
    left="$left $path"
  fi
done <"$work/packaged"
[ -z "$left" ] || fail "left behind after the purge:$left"
echo "package test: $(wc -l <"$work/installed") installed files checked, installed and removed cleanly"
