#!/usr/bin/env bash
# Installs the Debian packages that building, running and testing need. Quiet and quick when
# everything is already there. Run as root, or it uses sudo.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config ccache
  qt6-base-dev qt6-base-private-dev qt6-base-dev-tools qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools libgl-dev
  libplist-dev libgtest-dev libgmock-dev libbenchmark-dev
  dbus dbus-daemon xvfb xauth python3 clang-format fonts-dejavu-core
  dpkg-dev lintian help2man
  prometheus prometheus-node-exporter curl
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "deps.sh: need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo=sudo
fi
echo "Installing Debian packages: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
