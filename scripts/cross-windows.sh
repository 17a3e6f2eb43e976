#!/usr/bin/env bash
# Cross-builds the Windows DLL with MinGW-w64 and checks that it imports nothing but the
# system DLLs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh --windows

build=build-windows
cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
  -DTESSEL_BUILD_TESTS=OFF -DTESSEL_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" -j"$(nproc)"

dll=$(find "$build" -name 'libKavorTesselUtils*.dll' -o -name 'KavorTesselUtils*.dll' | head -n 1)
[ -n "$dll" ] || { echo "no DLL was built"; exit 1; }
allowed='^(advapi32|ole32|oleaut32|shlwapi|kernel32|user32|msvcrt|api-ms-win-crt-[a-z0-9-]+|ucrtbase)\.dll$'
bad=0
while read -r import; do
  lower=$(echo "$import" | tr 'A-Z' 'a-z')
  if ! [[ "$lower" =~ $allowed ]]; then
    echo "unexpected import: $import"
    bad=1
  fi
done < <(x86_64-w64-mingw32-objdump -p "$dll" | awk '/DLL Name:/ {print $3}')
[ $bad -eq 0 ] || exit 1
echo "$dll imports only system DLLs:"
x86_64-w64-mingw32-objdump -p "$dll" | awk '/DLL Name:/ {print "  " $3}'
