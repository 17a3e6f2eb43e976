#!/usr/bin/env bash
# Installs what building and testing need, when the machine lacks it (Debian packages).
#   scripts/bootstrap.sh                 build and test on this system
#   scripts/bootstrap.sh --windows       cross-build for Windows
#   scripts/bootstrap.sh --unicode-data  Debian's copy of the Unicode data, for the case table check
set -euo pipefail

packages=(cmake make g++ pkg-config libsqlite3-dev sqlite3 libgtest-dev libgmock-dev libbenchmark-dev locales)
case "${1:-}" in
  --windows) packages=(cmake make g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64) ;;
  --unicode-data) packages=(unicode-data) ;;
esac

sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}" >/dev/null
fi

# The tests of what the README says about locales run under these two.
if [ -z "${1:-}" ]; then
  for locale in de_DE tr_TR; do
    if ! locale -a | grep -qx "$locale.utf8"; then
      echo "generating the locale $locale.UTF-8"
      $sudo_cmd localedef -i "$locale" -f UTF-8 "$locale.UTF-8"
    fi
  done
fi
