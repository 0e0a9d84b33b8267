#!/usr/bin/env bash
# check-symbols.sh ARCHIVE [NM]: fails when the library wants anything of the platform beyond what compilers call by
# themselves: block copies, stack protection, and the instrumentation of sanitizer and coverage builds.
set -euo pipefail
archive=$1
nm=${2:-nm}
allowed='^(mem(cpy|set|move|cmp)|__mem(cpy|set|move)_chk|__stack_chk_fail|__(asan|ubsan|lsan|sanitizer|sancov|gcov|llvm)_.*|_GLOBAL_OFFSET_TABLE_)$'
defined=$("$nm" -g --defined-only "$archive" | awk 'NF == 3 { print $3 }' | sort -u)
wanted=$("$nm" -g --undefined-only "$archive" | awk '$1 == "U" || $1 == "w" { print $2 }' | sort -u)
if ! grep -qx lumo_verify_create_ctx <<<"$defined"; then
  echo "$archive is not the library"
  exit 1
fi
# The undefined-behaviour sanitizer of clang describes function types by the C++ runtime's records.
if grep -q '^__ubsan_' <<<"$wanted"; then allowed="$allowed|^_ZTVN10__cxxabiv1"; fi
stray=$(comm -13 <(echo "$defined") <(echo "$wanted") | grep -vE "$allowed" || true)
if [ -n "$stray" ]; then
  echo "the library wants these of the platform:"
  echo "$stray"
  exit 1
fi
