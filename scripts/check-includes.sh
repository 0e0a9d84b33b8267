#!/usr/bin/env bash
# The folders' arrows point one way: what each folder may include of ours, and that verify/ includes nothing of the
# platform at all.
set -euo pipefail
cd "$(dirname "$0")/.."
fail=0

# check FOLDER ALLOWED: every include of ours from FOLDER must match ALLOWED.
check() {
  local bad
  bad=$(git ls-files "$1/*.cpp" "$1/*.h" | xargs grep -nE '^#include "' | grep -vE "#include \"($2)" || true)
  [ -z "$bad" ] || { echo "includes that $1/ must not have:"; echo "$bad"; fail=1; }
}
check verify 'verify/'
check platform 'platform/|verify/lumo\.h|verify/asn1/lumo_asn1_def\.h'
check pieces 'pieces/|platform/bounded\.h|app/BspDebug\.h|app/stub\.h'
check app 'app/|pieces/|platform/|verify/lumo\.h'

bad=$(git ls-files 'verify/*.cpp' 'verify/*.h' | xargs grep -nE '#include <(c?string|c?stdio|c?stdlib|string\.h|stdio\.h|stdlib\.h|openssl/.*|iostream|fstream|new|memory|vector|map)>' || true)
[ -z "$bad" ] || { echo "verify/ reaches the platform only through callbacks:"; echo "$bad"; fail=1; }
exit $fail
