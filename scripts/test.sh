#!/usr/bin/env bash
# Installs what is missing, builds the dev preset and runs all tests.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_deps.sh
cmake --preset dev
cmake --build --preset dev --parallel "$(nproc)"
ctest --preset dev --parallel "$(nproc)"
