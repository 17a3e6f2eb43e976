#!/usr/bin/env bash
# Rebuilds platform/registry/UpperCaseRuns.inc, the upper-case table by which the registry store
# matches key and value names, from the Unicode Character Database's UnicodeData.txt, and fails
# if the result differs from the checked-in table.
#
#   scripts/generate-case-table.sh [UnicodeData.txt]          compare (the default input is
#                                                             Debian's unicode-data package)
#   scripts/generate-case-table.sh --print [UnicodeData.txt]  write the rebuilt table to stdout
#
# The table is part of every hive's unique indexes: a name's folded form is its key, so a table
# that folds one more letter makes two stored names collide. It is pinned: moving to another
# Unicode version is a deliberate change that migrates existing hives, never a side effect.
#
# Unicode 15.0.0 (Debian 12's unicode-data 15.0.0-1) reproduces the table byte for byte. The
# header names Unicode 14, from which it was first made: 15.0 added two characters to the basic
# plane (U+0CF3 and U+0ECE, see DerivedAge.txt), neither with a case mapping, so both give the
# same runs.
#
# Exit status: 0 when the table matches, 1 when it would differ, 77 when the input is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

print=0
if [ "${1:-}" = "--print" ]; then
  print=1
  shift
fi
input=${1:-/usr/share/unicode/UnicodeData.txt}
table=platform/registry/UpperCaseRuns.inc

if [ ! -r "$input" ]; then
  echo "no $input: install Debian's unicode-data package, or name the file" >&2
  exit 77
fi

# Field 1 is the code point, field 13 its simple upper-case mapping. Only the basic plane is
# folded. Consecutive mappings with one delta form a run, with a stride of 1 (a block of
# letters) or 2 (alternating capital and small letters); output lines stay within 109 columns.
generate() {
  echo "// Generated from the Unicode simple upper-case mapping (Unicode 14, BMP only): runs of code units"
  echo "// {first, count, stride, delta}; unit first + i*stride maps to itself + delta. Do not edit by hand."
  awk -F ';' '
    function hex(text,   i, value) {
      value = 0
      for (i = 1; i <= length(text); i++)
        value = value * 16 + index("0123456789ABCDEF", toupper(substr(text, i, 1))) - 1
      return value
    }
    $13 != "" {
      unit = hex($1); upper = hex($13)
      if (unit <= 65535 && upper <= 65535) { n++; code[n] = unit; delta[n] = upper - unit }
    }
    END {
      line = ""
      for (i = 1; i <= n; i += count) {
        stride = 1; count = 1
        step = code[i + 1] - code[i]
        if (i < n && delta[i + 1] == delta[i] && (step == 1 || step == 2)) {
          stride = step
          for (j = i + 1; j <= n && delta[j] == delta[i] && code[j] == code[i] + stride * (j - i); j++) {}
          count = j - i
        }
        item = sprintf("{0x%04X, %d, %d, %d},", code[i], count, stride, delta[i])
        if (line != "" && length(line) + 1 + length(item) > 109) { print line; line = "" }
        line = line == "" ? item : line " " item
      }
      if (line != "") print line
    }' "$input"
}

if [ $print -eq 1 ]; then
  generate
  exit 0
fi
if cmp -s "$table" <(generate); then
  echo "$table matches $input"
  exit 0
fi
# One run a line, so that the runs that changed stand out from the rewrapped lines.
runs() { grep -o '{[^}]*}' || true; }
diff -u --label "$table" --label "from $input" <(runs <"$table") <(generate | runs) >&2 || true
echo "$input gives a different case table from $table: the table is pinned, and a new" >&2
echo "Unicode version needs a deliberate change that migrates existing hives." >&2
exit 1
