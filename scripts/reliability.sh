#!/usr/bin/env bash
# Builds the reliability drivers (reliability/) against the package installed from a build tree,
# as a client builds, and runs them.
#   scripts/reliability.sh --short [build]   the short runs, through CTest (part of scripts/test.sh)
#   scripts/reliability.sh [build]           the long runs, then a table of what they measured
# The long runs take their sizes from the environment: KILLS (plain crash loop; the variants get
# a share of it), SOAK_SECONDS (split among the soak's configurations), RACE_ROUNDS (8 processes
# each into an empty store), FORKS.
set -euo pipefail
cd "$(dirname "$0")/.."
short=false
if [ "${1:-}" = "--short" ]; then
  short=true
  shift
fi
build=$(realpath "${1:-build}")
prefix="$build/reliability-package"
drivers="$build/reliability"

cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S reliability -B "$drivers" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTESSEL_WERROR="${TESSEL_WERROR:-OFF}" >/dev/null
cmake --build "$drivers" -j"$(nproc)" >/dev/null

if $short; then
  echo "== reliability drivers, short runs =="
  ctest --test-dir "$drivers" --output-on-failure -j"$(nproc)"
  exit 0
fi

kills=${KILLS:-300}
soak=${SOAK_SECONDS:-240}
forks=${FORKS:-200}
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
status=0
run() {
  local name=$1
  shift
  echo "== $name: $*"
  local started=$SECONDS
  if ! "$drivers/$@" >"$logs/$name.log" 2>&1; then
    status=1
    grep -E '^FAILED' "$logs/$name.log" | head -20 || true
  fi
  tail -1 "$logs/$name.log"
  echo "   ($((SECONDS - started)) s)"
}
run crash-loop tessel-crash-loop --kills "$kills"
run crash-loop-reader tessel-crash-loop --kills "$((kills * 2 / 3))" --variant reader
run crash-loop-first-write tessel-crash-loop --kills "$((kills / 3))" --variant first-write
run soak tessel-soak --seconds "$soak"
run first-write-race tessel-soak --first-write-race "${RACE_ROUNDS:-300}"
run fork tessel-fork --forks "$forks"
run faults tessel-faults
run bad-input tessel-bad-input

echo
# errors: calls that gave a status the store does not document for them.
printf '%-24s %7s %10s %6s %6s %6s %8s %7s %10s %11s\n' driver kills calls lost torn stale crashes errors \
  "calls/s" "slowest ms"
grep -h '^metrics:' "$logs"/*.log | while read -r _ fields; do
  declare -A m=()
  for field in $fields; do
    m[${field%%=*}]=${field#*=}
  done
  printf '%-24s %7s %10s %6s %6s %6s %8s %7s %10s %11s\n' "${m[driver]}" "${m[kills]:--}" "${m[calls]:--}" \
    "${m[lost]:--}" "${m[torn]:--}" "${m[stale]:--}" "${m[crashes]:--}" "${m[errors]:--}" "${m[throughput]:--}" \
    "${m[slowest_ms]:--}"
  unset m
done
exit $status
