#!/usr/bin/env bash
# Builds the fuzz targets (fuzz/) with clang, the library and the platform layer instrumented as
# well, and runs them on their seed corpora.
#   scripts/fuzz.sh [RUNS]                 every target for RUNS runs (default 2000): what CI runs
#   scripts/fuzz.sh --campaign SECONDS [NAME...]
#                                          each named target (default all) for SECONDS, growing a
#                                          corpus in build-fuzz/corpus/NAME; prints the coverage
# A finding leaves its input as build-fuzz/findings/NAME/crash-* and fails the script.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
scripts/bootstrap.sh --clang

campaign=0
runs=2000
if [ "${1:-}" = "--campaign" ]; then
  campaign=$2
  shift 2
elif [ -n "${1:-}" ]; then
  runs=$1
  shift
fi

build=build-fuzz
instrument="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer"
CC=clang CXX=clang++ cmake -S . -B "$build" -DTESSEL_BUILD_FUZZERS=ON -DBUILD_TESTING=OFF \
  -DTESSEL_BUILD_EXAMPLES=OFF -DTESSEL_BUILD_BENCHMARKS=OFF -DTESSEL_WERROR="${TESSEL_WERROR:-OFF}" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS=$instrument" "-DCMAKE_C_FLAGS=$instrument" \
  "-DCMAKE_EXE_LINKER_FLAGS=-fsanitize=address,undefined" \
  "-DCMAKE_SHARED_LINKER_FLAGS=-fsanitize=address,undefined" >/dev/null
cmake --build "$build" -j"$(nproc)" >/dev/null

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for corpus in fuzz/corpus/*/; do
    targets+=("$(basename "$corpus")")
  done
fi

# The targets' stores live in memory where the machine allows: a commit's flush to disk would
# cost more than the run itself.
if [ -z "${TMPDIR:-}" ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
status=0
for name in "${targets[@]}"; do
  program="$build/fuzz/${name}_fuzzer"
  findings="$build/findings/$name"
  mkdir -p "$findings"
  # New inputs go to the first corpus folder: never the seeds in the source tree.
  corpus="$build/corpus/$name"
  if [ "$campaign" -gt 0 ]; then
    limit=(-max_total_time="$campaign")
  else
    rm -rf "$corpus"
    limit=(-runs="$runs")
  fi
  mkdir -p "$corpus"
  dictionary=()
  if [ -f "fuzz/$name.dict" ]; then
    dictionary=(-dict="fuzz/$name.dict")
  fi
  log="$findings/log"
  started=$SECONDS
  if "$program" "${limit[@]}" "${dictionary[@]}" -artifact_prefix="$findings/" -print_final_stats=1 \
      "$corpus" "fuzz/corpus/$name" >"$log" 2>&1; then
    result=ok
  else
    result=FAILED
    status=1
    grep -E 'ERROR|SUMMARY|==[0-9]+==' "$log" | head -20 || true
  fi
  runs_done=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  cover=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)
  echo "$name: $result, ${runs_done:-?} runs in $((SECONDS - started)) s, ${cover:-no coverage line}"
done
exit $status
