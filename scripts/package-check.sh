#!/usr/bin/env bash
# Installs the package into a scratch prefix and uses it as a newcomer would: the installed
# tessel-reg runs with no environment at all, the examples build against the package with
# find_package(KavorTesselUtils), one example builds through pkg-config alone, and each runs.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/prefix"
store="$scratch/store"

cmake --install "$build" --prefix "$prefix" >/dev/null

# No LD_LIBRARY_PATH, no PATH, no store directory: the installed tool finds its libraries itself.
tool="$prefix/bin/tessel-reg"
env -i "$tool" --version | grep -q "KavorTesselUtils"
env -i "$tool" /? >/dev/null
env -i TESSEL_REGISTRY_DIR="$store" "$tool" add 'HKCU\Software\PackageCheck' /v Installed /d yes /f >/dev/null
env -i TESSEL_REGISTRY_DIR="$store" "$tool" query 'HKCU\Software\PackageCheck' /v Installed | grep -q yes

cmake -S examples -B "$scratch/examples" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/examples" -j"$(nproc)" >/dev/null

pc=$(find "$prefix" -name KavorTesselUtils.pc)
export PKG_CONFIG_PATH="$(dirname "$pc")"
# The package's libraries are not on the system's search path: the program records where they are.
c++ -std=c++17 examples/first_steps.cpp -o "$scratch/first-steps-by-pkg-config" \
  $(pkg-config --cflags --libs KavorTesselUtils) -Wl,-rpath,"$(pkg-config --variable=libdir KavorTesselUtils)"

for program in "$scratch"/examples/tessel-example-* "$scratch/first-steps-by-pkg-config"; do
  env -i TESSEL_REGISTRY_DIR="$store" "$program" >/dev/null
done
echo "package check: the installed tessel-reg runs; the examples build with find_package and pkg-config, and run"
