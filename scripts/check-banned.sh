#!/usr/bin/env bash
# What the device code does without, by name; comments and texts do not count.
set -euo pipefail
cd "$(dirname "$0")/.."
banned='\b(goto|throw|try|catch|dynamic_cast|typeid|strcpy|strcat|sprintf|vsprintf|gets|alloca|system|popen)\b|std::(cout|cerr)'
fail=0
for file in $(git ls-files 'app/*.cpp' 'app/*.h' 'platform/*.cpp' 'platform/*.h' 'pieces/*.cpp' 'pieces/*.h' 'verify/*.cpp' 'verify/*.h'); do
  sed -E 's@//.*@@; s@"([^"\\]|\\.)*"@@g; s@^ ?/?\*.*@@' "$file" | grep -nE "$banned" | sed "s@^@$file:@" && fail=1
done
exit $fail
