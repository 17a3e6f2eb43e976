#!/usr/bin/env bash
# The main job: builds tessel-reg, writes a small tree of values of several types into a demo
# store under the build tree, and queries it back, showing each command as it runs.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh

build=build
cmake -S . -B "$build" >/dev/null
cmake --build "$build" -j"$(nproc)" --target tessel-reg

tool="$PWD/$build/tools/tessel-reg/tessel-reg"
[ -x "$tool" ] || { echo "tessel-reg was not built"; exit 1; }

# A store of its own, started afresh each run, so the demo never touches the user's hives.
export TESSEL_REGISTRY_DIR="$PWD/$build/demo-store"
rm -rf "$TESSEL_REGISTRY_DIR"
mkdir -p "$TESSEL_REGISTRY_DIR"
echo "demo store: $TESSEL_REGISTRY_DIR"

# Shows each command as one would type it, then runs it.
run() {
  local line="tessel-reg" arg
  for arg in "$@"; do
    if [[ "$arg" =~ ^[A-Za-z0-9_./,:=+-]+$ ]]; then
      line+=" $arg"
    else
      line+=" '$arg'"
    fi
  done
  printf '\n$ %s\n' "$line"
  "$tool" "$@"
}

key='HKCU\Software\KavorTessel\Demo'
run add "$key" /ve /d "Demo settings" /f
run add "$key" /v Greeting /t REG_SZ /d "Grüße aus dem Speicher" /f
run add "$key" /v Retries /t REG_DWORD /d 3 /f
run add "$key" /v MaxBytes --type REG_QWORD --data 0x100000000 --force
run add "$key" /v Signature /t REG_BINARY /d 4B54A001 /f
run add "$key" /v LogPath /t REG_EXPAND_SZ /d '%TMPDIR%/demo.log' /f
run add "$key\\Servers" /v Hosts /t REG_MULTI_SZ /d 'alpha\0beta\0gamma' /f
run add "$key\\Servers" /v Ports /t REG_MULTI_SZ /s , /d '8080,8443' /f
run add "$key\\Servers\\Backup" /v Enabled /t REG_DWORD /d 0 /f
run add "$key\\Empty" /f

run query "$key" /s
run query "$key" /v Retries
run query "$key" /v Enabled /s

run delete "$key" /v Signature /f
run delete "$key\\Empty" /f
run query "$key"

echo
echo "The store stays in $TESSEL_REGISTRY_DIR; query it with:"
echo "  TESSEL_REGISTRY_DIR=$TESSEL_REGISTRY_DIR $tool query '$key' /s"
