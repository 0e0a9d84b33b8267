#!/usr/bin/env bash
# Runs clang-tidy over the device code and the tools of a configured build folder (default: build/dev). The static
# analyzer looks at the device code only: in host code it spends its time inside the headers of the option parser and
# the JSON library.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/dev}
git ls-files 'app/*.cpp' 'platform/*.cpp' 'pieces/*.cpp' 'verify/*.cpp' |
  xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build"
git ls-files 'tools/*.cpp' |
  xargs -P "$(nproc)" -n 1 clang-tidy --quiet --checks='-clang-analyzer-*' -p "$build"
