#!/bin/bash
# Installs what zorutils needs on a Debian bookworm machine (as root), with
# apt-get only, and only what is missing.
set -euo pipefail

packages=(
  cmake ninja-build python3
  g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix
  googletest
  wine wine64
  xvfb xauth
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

echo "setup: installing ${missing[*]}"
if [ "$(id -u)" -ne 0 ]; then
  echo "setup: run as root (or install: ${missing[*]})" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq "${missing[@]}" >/dev/null
echo "setup: done"
