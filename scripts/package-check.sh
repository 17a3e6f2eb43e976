#!/usr/bin/env bash
# Installs the package into a scratch prefix and builds a client project against it with
# find_package(KavorTesselUtils CONFIG), then runs that client on a scratch store.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S examples/consumer -B "$scratch/consumer" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" -j"$(nproc)" >/dev/null
mkdir -p "$scratch/store"
TESSEL_REGISTRY_DIR="$scratch/store" LD_LIBRARY_PATH="$scratch/prefix/lib:${LD_LIBRARY_PATH:-}" \
  "$scratch/consumer/tessel-consumer"
echo "package check: a client built with find_package(KavorTesselUtils) works"
