#!/usr/bin/env bash
# Builds everything and runs every test, the examples, the package check and the short runs of
# the reliability drivers. With --sanitize, the same tests built with AddressSanitizer and
# UndefinedBehaviorSanitizer; with --tsan, built with clang's ThreadSanitizer. Warnings are
# errors when TESSEL_WERROR=ON is in the environment, as in CI.
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
elif [ "${1:-}" = "--tsan" ]; then
  scripts/bootstrap.sh --clang
  build=build-tsan
  export CC=clang CXX=clang++
  flags+=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSEL_BUILD_BENCHMARKS=OFF
          "-DCMAKE_CXX_FLAGS=-fsanitize=thread -fno-omit-frame-pointer"
          "-DCMAKE_C_FLAGS=-fsanitize=thread -fno-omit-frame-pointer"
          "-DCMAKE_EXE_LINKER_FLAGS=-fsanitize=thread"
          "-DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=thread")
  # Forked children that start threads are part of the store's contract, so they must run on.
  export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:die_after_fork=0:exitcode=66${TSAN_OPTIONS:+:$TSAN_OPTIONS}"
fi

cmake -S . -B "$build" "${flags[@]}" >/dev/null
cmake --build "$build" -j"$(nproc)"
if [ "$build" = build ]; then
  scripts/package-check.sh "$build"
fi
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
if [ "$build" = build ]; then
  scripts/reliability.sh --short "$build"
fi
