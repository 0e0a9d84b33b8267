#!/usr/bin/env bash
# Every header of the device code compiles by itself.
set -euo pipefail
cd "$(dirname "$0")/.."
git ls-files 'app/*.h' 'platform/*.h' 'pieces/*.h' 'verify/*.h' |
  xargs -P "$(nproc)" -I{} sh -c \
    'echo "#include \"{}\"" | g++ -std=c++20 -fno-exceptions -fno-rtti -Wall -Wextra -Werror -I. -fsyntax-only -x c++ -'
