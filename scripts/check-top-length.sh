#!/usr/bin/env bash
# Lists the ten longest functions of the device code and the tools; fails when one is longer than 60 lines.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files 'app/*.cpp' 'platform/*.cpp' 'pieces/*.cpp' 'verify/*.cpp' 'tools/*.cpp' | xargs awk '
  FNR == 1 { inside = 0 }
  !inside && /^[A-Za-z_]/ { header = FNR; name = $0; type = /^(class|struct|union|enum|namespace) / }
  !inside && !type && /\)( const)?( noexcept)? \{$/ { inside = 1; first = header; title = name }
  inside && /^}/ { printf "%5d %s:%d %s\n", FNR - first + 1, FILENAME, first, title; inside = 0 }
' | sort -rn | awk 'NR <= 10 { print } $1 > 60 { long = 1 } END { exit long }'
