#!/usr/bin/env bash
# Fails when a code of the library or the piece files is named in no test and not listed, with its reason, in
# tests/docs/unprovoked-codes.txt; and when a listed one is named in a test after all. The tests of the tables name
# every code and provoke none: they do not count.
set -euo pipefail
cd "$(dirname "$0")/.."
list=tests/docs/unprovoked-codes.txt
fail=0
while read -r code name; do
  tested=$(grep -rliE "\b$name\b|\b0x0*${code#0x}u?\b" tests --include='*_test.cpp' --include='*_test.c' \
    --exclude='*_errors_test.cpp' | head -1 || true)
  listed=$(grep -cE "^$name: " "$list" || true)
  if [ -z "$tested" ] && [ "$listed" -eq 0 ]; then echo "$name ($code) is in no test"; fail=1; fi
  if [ -n "$tested" ] && [ "$listed" -ne 0 ]; then echo "$name is listed as unprovoked, but $tested names it"; fail=1; fi
done < <(sed -nE 's/^(LUMO|PIECE)_ERROR\((0x[0-9A-Fa-f]+)u, ([A-Z0-9_]+),.*/\2 \3/p' verify/lumo_errors.def pieces/piece_errors.def)
exit $fail
