#!/usr/bin/env bash
# Builds everything and runs every test, the examples and the package check. With --sanitize,
# the same tests built with AddressSanitizer and UndefinedBehaviorSanitizer. Warnings are errors
# when TESSEL_WERROR=ON is in the environment, as in CI.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh

build=build
flags=(-DTESSEL_WERROR="${TESSEL_WERROR:-OFF}")
if [ "${1:-}" = "--sanitize" ]; then
  build=build-sanitize
  flags+=(-DCMAKE_BUILD_TYPE=Debug -DTESSEL_BUILD_BENCHMARKS=OFF
          "-DCMAKE_CXX_FLAGS=-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
          "-DCMAKE_EXE_LINKER_FLAGS=-fsanitize=address,undefined"
          "-DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=address,undefined")
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
fi

cmake -S . -B "$build" "${flags[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"
if [ "$build" = build ]; then
  scripts/package-check.sh "$build"
fi
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
