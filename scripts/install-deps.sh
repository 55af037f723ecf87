#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Quillfen needs.
# Idempotent: packages already present are left alone, and apt is only asked
# to refresh its lists when something is actually missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev libgl-dev
  qt6-httpserver-dev qt6-websockets-dev
  libplist-dev libsqlite3-dev libcurl4-openssl-dev libxml2-dev libzip-dev libcmark-dev libssl-dev
  clang libclang-rt-14-dev llvm-14
  tzdata
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "install-deps: installing ${missing[*]}"
$SUDO apt-get update -qq
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
