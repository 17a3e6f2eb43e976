#!/usr/bin/env bash
# Compiles every C++ sample of the given pages on its own, as a reader would copy it:
#   CompileDocSamples.sh <c++ compiler> <include dir>;<include dir>... <page.md>...
# Each ```cpp block must be a whole translation unit.
set -euo pipefail
compiler=$1
IFS=';' read -r -a includes <<<"$2"
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

flags=(-std=c++17 -fsyntax-only -Wall -Wextra -Werror)
for dir in "${includes[@]}"; do
  flags+=(-I "$dir")
done

status=0
for page in "$@"; do
  name=$(basename "$page" .md)
  awk -v out="$scratch/$name" '
    /^```cpp$/ { inside = 1; count++; file = out "-" count ".cpp"; next }
    /^```$/ { inside = 0; next }
    inside { print > file }' "$page"
  samples=("$scratch/$name"-*.cpp)
  if [ ! -e "${samples[0]}" ]; then
    echo "$page: no C++ sample" >&2
    status=1
    continue
  fi
  for sample in "${samples[@]}"; do
    if ! "$compiler" "${flags[@]}" "$sample"; then
      echo "$page: the sample in $(basename "$sample") does not compile" >&2
      status=1
    fi
  done
done
exit $status
