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

# The guard-page heap of the test builds gives every live block two memory
# mappings of its own (its pages and the guard page behind them); Linux's
# default limit of 65530 mappings a process makes allocations fail near
# 32,000 live blocks. Raise it where we may.
want_maps=1048576
if [ "$(cat /proc/sys/vm/max_map_count 2>/dev/null || echo "$want_maps")" -lt "$want_maps" ]; then
  if [ "$(id -u)" -eq 0 ] && sysctl -q -w vm.max_map_count=$want_maps 2>/dev/null; then
    echo "setup: vm.max_map_count raised to $want_maps for the guard-heap tests"
  else
    echo "setup: vm.max_map_count is $(cat /proc/sys/vm/max_map_count); guard-heap allocations fail beyond about 32,000 live blocks" >&2
  fi
fi

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
