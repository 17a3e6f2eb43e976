#!/usr/bin/env bash
# Installs what building and testing need, when the machine lacks it (Debian packages).
set -euo pipefail

packages=(cmake make g++ pkg-config libsqlite3-dev sqlite3 libgtest-dev libgmock-dev libbenchmark-dev)
if [ "${1:-}" = "--windows" ]; then
  packages=(cmake make g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}" >/dev/null
fi
