#!/usr/bin/env bash
# check-symbols.sh ARCHIVE [NM]: fails when the library wants anything of the platform beyond what compilers call by
# themselves: block copies, stack protection, and the instrumentation of sanitizer and coverage builds.
set -euo pipefail
archive=$1
nm=${2:-nm}
allowed='^(mem(cpy|set|move|cmp)|__memcpy_chk|__memset_chk|__stack_chk_fail|__(asan|ubsan|lsan|sanitizer|sancov|gcov|llvm)_.*|__gxx_personality_v0|_Unwind_.*|_GLOBAL_OFFSET_TABLE_|__cxa_pure_virtual)$'
defined=$("$nm" -g --defined-only "$archive" 2>/dev/null | awk 'NF == 3 { print $3 }' | sort -u)
wanted=$("$nm" -g --undefined-only "$archive" 2>/dev/null | awk '$1 == "U" { print $2 }' | sort -u)
stray=$(comm -13 <(echo "$defined") <(echo "$wanted") | grep -vE "$allowed" || true)
if [ -n "$stray" ]; then
  echo "the library wants these of the platform:"
  echo "$stray"
  exit 1
fi
