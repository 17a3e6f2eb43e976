#!/usr/bin/env bash
# Cross-builds the Windows DLL with MinGW-w64 and checks that it imports nothing but the
# system DLLs. Warnings are errors when TESSEL_WERROR=ON is in the environment, as in CI.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh --windows

build=build-windows
cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DCMAKE_BUILD_TYPE=Release \
  -DBUILD_TESTING=OFF -DTESSEL_BUILD_BENCHMARKS=OFF \
  -DTESSEL_WERROR="${TESSEL_WERROR:-OFF}" >/dev/null
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

# The export table, demangled: every public entry point is there, and nothing of the exception
# classes, which clients build from the headers.
exports=$(x86_64-w64-mingw32-objdump -p "$dll" | sed -n '/Ordinal\/Name Pointer/,/^$/p' |
  awk 'NF >= 3 && $1 == "[" {print $3} NF == 2 && $1 ~ /^\[[0-9]+\]$/ {print $2}' |
  x86_64-w64-mingw32-c++filt | sed 's/(.*//')
while read -r pattern; do
  case "$pattern" in ''|'#'*) continue ;; esac
  if ! grep -Eq -- "$pattern" <<<"$exports"; then
    echo "missing export: $pattern"
    bad=1
  fi
done < scripts/windows-exports.txt
if grep -Eq 'Tessel::(ErrorStorage|ExceptionBase|ExceptionCOM|InternalError)\b' <<<"$exports"; then
  echo "the exception classes must not be exported"
  bad=1
fi
[ $bad -eq 0 ] || exit 1
echo "the DLL exports every public entry point ($(wc -l <<<"$exports") names)"
