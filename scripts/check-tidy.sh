#!/usr/bin/env bash
# Runs clang-tidy over the device code and the tools of a configured build folder (default: build/dev).
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/dev}
git ls-files 'app/*.cpp' 'platform/*.cpp' 'pieces/*.cpp' 'verify/*.cpp' 'tools/*.cpp' |
  xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build"
