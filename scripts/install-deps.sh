#!/usr/bin/env bash
# Installs the Debian 12 packages Tessoly builds, runs and tests with.
# Skips apt entirely when everything is already there.
set -euo pipefail

packages=(
  qt6-base-dev qt6-declarative-dev qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-window qml6-module-qtquick-templates qml6-module-qtqml-workerscript
  qml6-module-qtquick-dialogs qml6-module-qttest qt6-webengine-dev qcoro-qt6-dev libssl-dev
  libgtest-dev libgmock-dev cmake ninja-build ccache lld g++ xvfb xauth poppler-utils trash-cli
  libplist-dev libplist-utils jdupes rdfind pkg-config dbus-daemon libqt6svg6 qml6-module-qt-labs-folderlistmodel fonts-inter fonts-material-design-icons-iconfont dosfstools exfatprogs strace e2fsprogs exfat-fuse fusefat
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  sudo="sudo"
fi
echo "Installing: ${missing[*]}" >&2
$sudo apt-get update -q
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
