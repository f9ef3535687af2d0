#!/usr/bin/env bash
# Builds the Debian package (preset "package", cpack -G DEB), checks it with lintian (any error
# fails), unpacks it into a temporary folder and runs every installed program's --help from
# there. Prints the package's path at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

export CMAKE_CXX_COMPILER_LAUNCHER="${CMAKE_CXX_COMPILER_LAUNCHER:-$(command -v ccache || true)}"
jobs="${TAVIX_JOBS:-$(nproc)}"

echo "== package: configure, build, cpack"
cmake --preset package >/dev/null
cmake --build --preset package -j "$jobs"
rm -f build/package/*.deb
(cd build/package && cpack -G DEB >/dev/null)
deb=$(ls build/package/*.deb)

echo "== package: lintian"
lintian --fail-on error --suppress-tags-from-file /dev/null "$deb"

echo "== package: programs from an unpacked copy"
unpacked=$(mktemp -d)
trap 'rm -rf "$unpacked"' EXIT
dpkg-deb -x "$deb" "$unpacked"
for file in \
  usr/share/applications/tavix-settings.desktop \
  usr/share/icons/hicolor/scalable/apps/tavix-settings.svg \
  etc/xdg/autostart/tavix-touch-setting-utility.desktop \
  usr/share/bash-completion/completions/tavix-panelctl \
  usr/share/doc/tavix-touch-settings/copyright \
  "lib/systemd/system/tavix-panel-metrics@.service" \
  "lib/systemd/system/tavix-panel-metrics@.timer" \
  usr/libexec/tavix/tavix-panel-metrics \
  usr/share/tavix/prometheus/tavix-panel.rules.yml \
  "usr/share/tavix/Library/Preferences/TavixTouchPanel/DeviceList.plist" \
  "usr/share/tavix/Library/Application Support/TavixTouchPanel/StatusBarApp/TavixTouchSettingUtility.app"; do
  [ -e "$unpacked/$file" ] || { echo "package.sh: $file is missing" >&2; exit 1; }
done
ls "$unpacked"/usr/lib/*/tavix/TavixTouchPanelPref.so >/dev/null
for program in "$unpacked"/usr/bin/*; do
  name=$(basename "$program")
  [ -e "$unpacked/usr/share/man/man1/$name.1.gz" ] || { echo "package.sh: no man page for $name" >&2; exit 1; }
  QT_QPA_PLATFORM=offscreen "$program" --help >/dev/null ||
    { echo "package.sh: $name --help failed from the unpacked package" >&2; exit 1; }
  echo "   $name --help: ok"
done
promtool check rules "$unpacked/usr/share/tavix/prometheus/tavix-panel.rules.yml" >/dev/null
if command -v systemd-analyze >/dev/null; then
  # The units must name a program that exists; checked against the unpacked copy.
  sed "s|/usr/libexec|$unpacked/usr/libexec|" "$unpacked/lib/systemd/system/tavix-panel-metrics@.service" \
    >"$unpacked/tavix-panel-metrics@.service"
  cp "$unpacked/lib/systemd/system/tavix-panel-metrics@.timer" "$unpacked/"
  systemd-analyze verify --man=no "$unpacked/tavix-panel-metrics@kiosk.timer" "$unpacked/tavix-panel-metrics@kiosk.service"
fi
echo "package: $deb"
