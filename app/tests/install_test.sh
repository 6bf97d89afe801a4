#!/bin/sh
# install_test.sh BUILD_DIR: `cmake --install` into a temporary prefix puts the app,
# its desktop entry (starting the app by its installed path), metainfo and icon where
# desktops look, and each passes its validator.
set -eu
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >/dev/null
entry=$prefix/share/applications/com.morvek.Tallyfin.desktop
test -x "$prefix/bin/tallyfin-app"
test -f "$prefix/share/icons/hicolor/scalable/apps/com.morvek.Tallyfin.svg"
desktop-file-validate "$entry"
appstreamcli validate --no-net "$prefix/share/metainfo/com.morvek.Tallyfin.metainfo.xml" >/dev/null
grep -qx "Exec=$prefix/bin/tallyfin-app" "$entry"
grep -qx "Exec=$prefix/bin/tallyfin-app --route cleanup" "$entry"
echo "installed and valid"
