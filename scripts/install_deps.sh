#!/usr/bin/env bash
# Installs the Debian packages Telva builds with, if any is missing.
set -euo pipefail
pkgs=(g++ cmake make zlib1g-dev libopenblas-dev liblapack-dev libgtest-dev libbenchmark-dev)
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
